#include "cli_engine/utf8.hpp"

#include <cstddef>
#include <cstdint>

#include "libglobal/dyn_string.hpp"

namespace cli_engine {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// The characters that begin with a byte from `first` to `last`; what their second byte may be keeps out those that are
// written longer than need be, surrogates and what lies beyond U+10FFFF.
struct Lead {
  std::uint8_t first, last;
  std::uint8_t size;
  std::uint8_t least_second, greatest_second;
};
constexpr Lead kLeads[] = {
    {0x00, 0x7F, 1, 0, 0},       {0xC2, 0xDF, 2, 0x80, 0xBF}, {0xE0, 0xE0, 3, 0xA0, 0xBF},
    {0xE1, 0xEC, 3, 0x80, 0xBF}, {0xED, 0xED, 3, 0x80, 0x9F}, {0xEE, 0xEF, 3, 0x80, 0xBF},
    {0xF0, 0xF0, 4, 0x90, 0xBF}, {0xF1, 0xF3, 4, 0x80, 0xBF}, {0xF4, 0xF4, 4, 0x80, 0x8F},
};

std::uint8_t byte_at(std::string_view text, std::size_t i) {
  return static_cast<std::uint8_t>(text[i]);
}

bool is_character(const Lead &lead, std::string_view text) {
  if (text.size() < lead.size) {
    return false;
  }
  if (lead.size > 1 && (byte_at(text, 1) < lead.least_second || byte_at(text, 1) > lead.greatest_second)) {
    return false;
  }
  for (std::size_t i = 2; i < lead.size; i++) {
    if ((byte_at(text, i) & 0xC0U) != 0x80) {
      return false;
    }
  }
  return true;
}

// The bytes of the character that a text begins with; 0 when it begins with none.
std::size_t character_size(std::string_view text) {
  for (const Lead &lead : kLeads) {
    if (byte_at(text, 0) >= lead.first && byte_at(text, 0) <= lead.last) {
      return is_character(lead, text) ? lead.size : 0;
    }
  }
  return 0;
}

}  // namespace

void append_utf8(DynString &out, std::string_view text) {
  std::size_t good = 0;  // bytes at the front of the text that are as they should be
  while (good < text.size()) {
    const std::size_t size = character_size(text.substr(good));
    if (size != 0) {
      good += size;
      continue;
    }
    libglobal::append_all(out, text.substr(0, good), kReplacement);
    text.remove_prefix(good + 1);
    good = 0;
  }
  libglobal::append(out, text);
}

}  // namespace cli_engine
