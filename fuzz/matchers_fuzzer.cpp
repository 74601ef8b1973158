// Every type with any facets: the verdict depends on the bytes of the text alone, and values are made from what
// matched.
#include <cstring>
#include <memory>
#include <string>

#include "cli_engine/matchers.hpp"
#include "invariants.hpp"
#include "language.hpp"
#include "libglobal/strnto.h"

namespace {

// The text in a block of just its size, so that a byte read past it is seen.
int verdict(const validator &v, const std::string &text) {
  const std::unique_ptr<char[]> block(new char[text.size() + 1]);
  memcpy(block.get(), text.c_str(), text.size() + 1);
  const int result = cli_engine::validator_check(&v, block.get(), text.size());
  FUZZ_REQUIRE(validator_match(&v, block.get(), text.size()) == (result == MATCH_COMPLETE));
  FUZZ_REQUIRE(validator_match_partial(&v, block.get(), text.size()) == (result != MATCH_NONE));
  return result;
}

// Texts of these types and no others never become values again by growing, once they are refused; but for a part of an
// IPv4 address that begins as a hexadecimal number and has no digit yet.
void check_prefixes(const validator &v, const std::string &text) {
  const std::string type = v.type->name;
  if ((type != "time" && type != "IPv6Address") || v.flags != 0) return;
  for (size_t length = 0; length < text.size(); length++) {
    const std::string prefix = text.substr(0, length);
    FUZZ_REQUIRE(verdict(v, prefix) != MATCH_NONE || prefix.ends_with("0x") || prefix.ends_with("0X"));
  }
}

// The conversions agree with the C library's, but for the signs and blanks that they refuse.
void check_conversion(const std::string &text) {
  const bool digits_only = !text.empty() && text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
  for (const int base : {0, 10, 16}) {
    uint32_t number = 0;
    const bool taken = strntou(text.data(), text.size(), base, &number) == 0;
    char *end = nullptr;
    errno = 0;
    const unsigned long long wanted = strtoull(text.c_str(), &end, base);
    const bool whole = errno == 0 && *end == '\0' && !text.empty() && wanted <= UINT32_MAX;
    FUZZ_REQUIRE(!taken || (whole && number == wanted));
    FUZZ_REQUIRE(taken || !digits_only || !whole);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static validator_typesystem *const types = validator_typesystem_new();
  fuzz::Source source(data, size);
  const fuzz::Json declaration(fuzz::Writer(source).value());
  validator v, same;
  FUZZ_REQUIRE(validator_open(types, &v, declaration.get()) == 0);
  FUZZ_REQUIRE(validator_open(types, &same, declaration.get()) == 0);
  while (!source.ended()) {
    const std::string text = source.text(300);
    const int result = verdict(v, text);
    FUZZ_REQUIRE(verdict(same, text) == result);
    if (result != MATCH_NONE) check_prefixes(v, text);
    check_conversion(text);
  }
  validator_close(&same);
  validator_close(&v);
  return 0;
}
