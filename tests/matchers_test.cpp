// What each built-in type takes for a value: complete, incomplete, or none; and the JSON values of what it took.
#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli_engine/cli_engine.h"
#include "cli_engine/json_ref.hpp"
#include "cli_engine/matchers.hpp"

namespace {

using cli_engine::JsonRef;
using cli_engine::validator_check;

struct TypesRelease {
  void operator()(validator_typesystem *types) const { validator_typesystem_free(types); }
};
using Types = std::unique_ptr<validator_typesystem, TypesRelease>;

// A validator of the declaration {"#type": TYPE, FACETS}. Texts are checked in blocks of their exact size, so that the
// sanitizers see a byte read too many; only host names and the types of these tests may count on the NUL.
class Declared {
 public:
  explicit Declared(std::string_view type, std::string_view facets = "", const validator_type *custom = nullptr)
      : needs_nul_(type == "FQDN" || custom != nullptr), types_(validator_typesystem_new()) {
    if (custom != nullptr) {
      validator_typesystem_add_custom_type(types_.get(), custom);
    }
    std::string text = R"({"#type": ")" + std::string(type) + '"';
    text += facets.empty() ? "}" : ", " + std::string(facets) + '}';
    declaration_.reset(json_loads(text.c_str(), 0, nullptr));
    EXPECT_EQ(validator_open(types_.get(), &validator_, declaration_.get()), 0) << text;
  }
  Declared(const Declared &) = delete;
  Declared &operator=(const Declared &) = delete;
  ~Declared() { validator_close(&validator_); }

  // The value of a node that was matched to the text, as JSON; "" when there is none.
  std::string value(std::string text) {
    cli_node node{};
    token given{};
    given.text = text.data();
    given.len = static_cast<std::uint32_t>(text.size());
    node.type = TYPE_VALUE;
    node.token = &given;
    node.value.validator = validator_;
    const JsonRef value(cli_node_value(&node));
    EXPECT_EQ(cli_node_value(&node), value.get()) << "it stays the same";
    node.token = nullptr;
    EXPECT_EQ(cli_node_value(&node), nullptr) << "what is kept alone is no value";
    char encoded[100];
    return {encoded, value == nullptr ? 0 : json_dumpb(value.get(), encoded, sizeof encoded, JSON_ENCODE_ANY)};
  }

  int check(std::string_view text) const {
    const auto block = std::make_unique<char[]>(text.size() + (needs_nul_ ? 1 : 0));
    text.copy(block.get(), text.size());
    const int result = validator_check(&validator_, block.get(), text.size());
    EXPECT_EQ(validator_match(&validator_, block.get(), text.size()), result == MATCH_COMPLETE);
    EXPECT_EQ(validator_match_partial(&validator_, block.get(), text.size()), result != MATCH_NONE);
    return result;
  }

 private:
  bool needs_nul_;
  Types types_;
  JsonRef declaration_;
  validator validator_{};
};

// Space-separated texts of one type and one result; "''" is the empty text.
struct Row {
  const char *type;
  const char *facets;
  int result;
  const char *texts;
};

std::vector<std::string> words(std::string_view text) {
  std::vector<std::string> out;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(' '), text.size());
    if (end != 0) {
      out.emplace_back(text.substr(0, end) == "''" ? "" : text.substr(0, end));
    }
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return out;
}

void expect_rows(std::span<const Row> rows) {
  for (const Row &row : rows) {
    const Declared declared(row.type, row.facets);
    for (const std::string &text : words(row.texts)) {
      EXPECT_EQ(declared.check(text), row.result) << row.type << " {" << row.facets << "} \"" << text << '"';
    }
  }
}

constexpr Row kNumbers[] = {
    {"int", "", MATCH_COMPLETE, "42 -7 0 -0 0x2A 0X2a 2147483647 -2147483648 0x7fffffff"},
    {"int", "", MATCH_NONE, "'' - 042 00 007 -012 -00 -05 -0x10 0x 2147483648 -2147483649 4294967296 +1 1.0 ff 4a"},
    {"unsignedInt", "", MATCH_COMPLETE, "0 4294967295 0xffffffff"},
    {"unsignedInt", "", MATCH_NONE, "'' -0 -1 4294967296 01 0x1ffffffff ff"},
    {"int", R"("#min_inclusive": 10, "#max_inclusive": 200)", MATCH_COMPLETE, "10 11 199 200"},
    {"int", R"("#min_inclusive": 10, "#max_inclusive": 200)", MATCH_INCOMPLETE, "0 5 9 -0"},
    {"int", R"("#min_inclusive": 10, "#max_inclusive": 200)", MATCH_NONE, "201 300 -5 -10 0x20 010"},
    {"int", R"("#min_inclusive": -50, "#max_inclusive": -10)", MATCH_COMPLETE, "-10 -50"},
    {"int", R"("#min_inclusive": -50, "#max_inclusive": -10)", MATCH_INCOMPLETE, "-5 -9"},
    {"int", R"("#min_inclusive": -50, "#max_inclusive": -10)", MATCH_NONE, "0 5 -51 -60"},
    {"unsignedInt", R"("#base": 16, "#max_inclusive": 255)", MATCH_COMPLETE, "ff FF 0xff 0 1f"},
    {"unsignedInt", R"("#base": 16, "#max_inclusive": 255)", MATCH_NONE, "100 0f fg -1"},
    {"unsignedInt", R"("#min_inclusive": 4294967295)", MATCH_INCOMPLETE, "0 4294967294"},
};

TEST(Numbers, AreConvertedThenBounded) {
  expect_rows(kNumbers);
}

constexpr Row kEnumerations[] = {
    {"string", R"("#min_length": 3, "#max_length": 5)", MATCH_COMPLETE, "abc abcde"},
    {"string", R"("#min_length": 3, "#max_length": 5)", MATCH_NONE, "abcdef"},
    {"string", R"("#enum": ["enable", "disable"])", MATCH_COMPLETE, "e en enable d dis disable"},
    {"string", R"("#enum": ["enable", "disable"])", MATCH_INCOMPLETE, "''"},
    {"string", R"("#enum": ["enable", "disable"])", MATCH_NONE, "x enables Enable disabled"},
    {"string", R"("#enum": ["abc", "abd", "ab"])", MATCH_COMPLETE, "ab abc abd"},
    {"string", R"("#enum": ["abc", "abd", "ab"])", MATCH_INCOMPLETE, "a"},
    {"string", R"("#enum": ["on", "on"])", MATCH_INCOMPLETE, "o"},
    {"string", R"("#enum": [])", MATCH_NONE, "'' a"},
    {"string", R"("#enum": [true, null, 1.5, [1,"x"], "truth"])", MATCH_COMPLETE, "true null 1.5 truth trut"},
    {"string", R"("#enum": [true, null, 1.5, [1,"x"], "truth"])", MATCH_INCOMPLETE, "'' t tru n nul 1 1. [ [1,"},
    {"string", R"("#enum": [true, null, 1.5, [1,"x"], "truth"])", MATCH_NONE, "trues nulls 1.50 [1,x] 2"},
    {"int", R"("#enum": [10, 20])", MATCH_INCOMPLETE, "1 2"},
    {"int", R"("#enum": [1, 500], "#max_inclusive": 100)", MATCH_NONE, "500 2"},
    {"IPv4Address", R"("#enum": ["10.0.0.1", "10.0.0"])", MATCH_COMPLETE, "10.0.0.1 10.0.0."},
    {"IPv4Address", R"("#enum": ["10.0.0.1", "10.0.0"])", MATCH_INCOMPLETE, "10 10.0.0"},
    {"IPv4Address", R"("#enum": ["any"])", MATCH_NONE, "a any"},
};

TEST(Enumerations, TakeAnEntryOrItsOnlyAbbreviation) {
  expect_rows(kEnumerations);
}

constexpr Row kAddresses[] = {
    {"IPv4Address", "", MATCH_COMPLETE, "192.168.1.1 0.0.0.0 255.255.255.255 0x0A.010.0.1"},
    {"IPv4Address", "", MATCH_INCOMPLETE, "'' 1 10. 10.1 10.1.2. 192.168.1 1.2.3"},
    {"IPv4Address", "", MATCH_NONE,
     "192.168.1.256 256 1.2.3.4.5 1.2.3.4. 1..2.3 .1 . 09.1.1.1 1.2.3.a -1.2.3.4 1.2.3.4/8"},
    {"IPv6Address", "", MATCH_COMPLETE,
     ":: ::1 1:: fe80::1 1:2:3:4:5:6:7:8 ABCD:abcd:: 1:2:3:4:5:6:1.2.3.4 ::ffff:192.0.2.1 1:2:3:4:5::1.2.3.4 "
     "1:2:3:4:5:6:7:: 1:2:3:4:5:6:7::8 0001:0002:0003:0004:0005:0006:0377.255.255.255"},
    {"IPv6Address", "", MATCH_INCOMPLETE,
     "'' : 1 abcd 1: 1:2 1:2:3:4:5:6:7 1:2:3:4:5:6:7: fe80::1: ::ffff:192.0.2. ::ffff:192. 1:2:3:4:5:6:1."},
    {"IPv6Address", "", MATCH_NONE,
     "1:2:3:4:5:6:7:8: 1:2:3:4:5:6:7:8:9 1:2:3:4:5:6:7::8: ::2:3:4:5:6:7:8: 1::2::3 ::: ::1:: :1 12345:: 1::g 1.2.3.4 "
     "1:2:3:4:5:1.2.3.4 1:2:3:4:5:6:7:1.2.3.4 1:2:3:4:5:6::1.2.3.4 ::.1 1:. ::ff.1.1.1 ::1.2.3.256 ::1/64 fe80::1%eth0 "
     "::0001:0002:0003:0004:0005:0006:255.255.255.2555 0001:0002:0003:0004:0005:0006:0377.0377.255.255"},
    {"IPv4Prefix", "", MATCH_COMPLETE, "10.0.0.0/8 10.0.0.0/0 10.0.0.0/32 10.0.0.0/08"},
    {"IPv4Prefix", "", MATCH_INCOMPLETE, "'' 10. 10.0.0.0 10.0.0.0/"},
    {"IPv4Prefix", "", MATCH_NONE, "10.0.0.0/33 10.0/8 /8 / 10.0.0.0/0x8 10.0.0.0/8/ 10.0.0.0/-1 10.0.0.256 ::/8"},
    {"IPv4Extended", "", MATCH_COMPLETE, "10.0.0.0 10.0.0.0/8"},
    {"IPv4Extended", "", MATCH_INCOMPLETE, "10.0.0 10.0.0.0/"},
    {"IPv4Extended", "", MATCH_NONE, "10.0.0.0/33 10.0.0/8 ::1"},
    {"IPv6Prefix", "", MATCH_COMPLETE, "2001:db8::/32 ::/0 ::/128 0001:0002:0003:0004:0005:0006:255.255.255.255/128"},
    {"IPv6Prefix", "", MATCH_INCOMPLETE, "'' : 2001: 2001:db8:: ::/"},
    {"IPv6Prefix", "", MATCH_NONE, "2001:db8::/129 2001:db8/32 ::/x /64 10.0.0.0/8"},
    {"IPv6Extended", "", MATCH_COMPLETE, "2001:db8::1 2001:db8::/32"},
    {"IPv6Extended", "", MATCH_INCOMPLETE, "2001:db8 2001:db8::/"},
    {"IPAddress", "", MATCH_COMPLETE, "10.1.2.3 10.1.0.0/16 ::1 fe80::/10"},
    {"IPAddress", "", MATCH_NONE, "'' 10.1.2 10.1.0.0/ 10.1.0.0/33 fe80::/ fe80: fe80::/129 host"},
};

TEST(Addresses, AreCompleteIncompleteOrNone) {
  expect_rows(kAddresses);
}

const std::string kLabel(63, 'x');
const std::string kLongestName = kLabel + '.' + kLabel + '.' + kLabel + '.' + std::string(61, 'x');

constexpr Row kOthers[] = {
    {"time", "", MATCH_COMPLETE, "23:59:59 00:00:00 1:02:03:"},
    {"time", "", MATCH_INCOMPLETE, "'' 2 23 23: 12:3 7:05:00 12:30:4 1:2:3 1:2:3:"},
    {"time", "", MATCH_NONE, "24:00:00 3:60 12:60:00 12:00:60 : 1:: 001:1:1 1:2:3:4 1:2:3:: 12-30 000:00:00 00:00:000"},
    {"MACAddress", "", MATCH_COMPLETE, "00:1a:2B:3c:4D:5e ff:FF:ff:ff:ff:ff"},
    {"MACAddress", "", MATCH_INCOMPLETE,
     "'' 0 00 00: 00:1a 00:1a:2b:3c:4d 00:1a:2b:3c:4d: 00:1a:2b:3c:4d:5 00:1a:2b:3c:4d:05e"},
    {"MACAddress", "", MATCH_NONE,
     "0:1a:2b:3c:4d:5e 00-1a-2b-3c-4d-5e 00:1a:2b:3c:4d:5e: 00:1a:2b:3c:4d:5e:6f :00 00:: 00:1a:2b:3c:4d:5g 0x: 100 "
     "000:1a"},
    {"FQDN", "", MATCH_COMPLETE, "'' router-1.example a host. example- 1.2.3 1.2.3.4.5 256.0.0.1 1.2.3.04 10.0.0.1a"},
    {"FQDN", "", MATCH_INCOMPLETE, "10.0.0.1 255.255.255.255"},
    {"FQDN", "", MATCH_NONE, "-host a-.b a..b . .a a.-b host_1 host/1 \xc3\xa4"},
};

TEST(OtherTypes, AreCompleteIncompleteOrNone) {
  expect_rows(kOthers);
  const Declared name("FQDN");
  EXPECT_EQ(name.check(kLabel), MATCH_COMPLETE);
  EXPECT_EQ(name.check(kLabel + 'x'), MATCH_NONE);
  EXPECT_EQ(name.check(kLongestName), MATCH_COMPLETE);
  EXPECT_EQ(name.check(kLongestName + 'x'), MATCH_NONE);
  EXPECT_EQ(name.check({"a\0b", 3}), MATCH_NONE);
  EXPECT_EQ(Declared("string").check("two words"), MATCH_COMPLETE);
}

// Every address that the system takes is taken, if it is written without leading zeros; drawn from the alphabet of
// addresses so that about one in twenty is one.
TEST(Addresses, OfTheSystemAreComplete) {
  const Declared v4("IPv4Address");
  const Declared v6("IPv6Address");
  std::mt19937 random(1);
  int addresses = 0;
  for (int round = 0; round < 20000; round++) {
    constexpr const char *kPieces[] = {":", ":", "::", "0", "1", "fe80", "Ab", ".", "1.2.3.4", "255"};
    std::string text;
    const std::size_t count = 1 + random() % 16;
    while (text.size() < count) {
      text += kPieces[random() % std::size(kPieces)];
    }
    unsigned char bytes[16];
    if (inet_pton(AF_INET6, text.c_str(), bytes) == 1) {
      EXPECT_EQ(v6.check(text), MATCH_COMPLETE) << text;
      addresses++;
    } else if (inet_pton(AF_INET, text.c_str(), bytes) == 1) {
      EXPECT_EQ(v4.check(text), MATCH_COMPLETE) << text;
      addresses++;
    }
  }
  EXPECT_GT(addresses, 200);
}

TEST(CustomTypes, MatchTheEntryOrTheNumberAfterTheFacets) {
  validator_type even{};
  even.name = "even";
  even.basetype = BASETYPE_INT;
  even.match_fn.number = [](const validator *, std::int64_t value) -> int {
    return value % 2 == 0 ? MATCH_COMPLETE : MATCH_INCOMPLETE;
  };
  const Declared number("even", R"("#max_inclusive": 10)", &even);
  EXPECT_EQ(number.check("-4"), MATCH_COMPLETE);
  EXPECT_EQ(number.check("5"), MATCH_INCOMPLETE);
  EXPECT_EQ(number.check("12"), MATCH_NONE);

  validator_type long_word{};
  long_word.name = "long";
  long_word.match_fn.text = [](const validator *, const char *text, std::size_t len) -> int {
    return len >= 6 && text[len] == '\0' ? MATCH_COMPLETE : MATCH_NONE;
  };
  const Declared word("long", R"("#enum": ["enable", "off"])", &long_word);
  EXPECT_EQ(word.check("en"), MATCH_COMPLETE);  // seen as "enable"
  EXPECT_EQ(word.check("of"), MATCH_NONE);
}

struct ValueCase {
  const char *type;
  const char *facets;
  const char *text;
  const char *value;
};

constexpr ValueCase kValues[] = {
    {"int", "", "-0", "0"},
    {"int", "", "0x1F", "31"},
    {"int", "", "-2147483648", "-2147483648"},
    {"int", "", "4294967296", "0"},
    {"unsignedInt", "", "4294967295", "4294967295"},
    {"unsignedInt", R"("#base": 16, "#max_inclusive": 255)", "ff", "255"},
    {"unsignedInt", R"("#base": 16)", "ff", "0"},
    {"unsignedInt", R"("#enum": ["100", "200"])", "1", "100"},
    {"string", "", "two words", R"("two words")"},
    {"string", "", "a\xff", ""},
    {"IPv6Prefix", "", "2001:DB8::/032", R"("2001:DB8::/032")"},
    {"string", R"("#enum": ["ab", "abc"])", "ab", R"("ab")"},
    {"string", R"("#enum": ["enable", "disable"])", "dis", R"("disable")"},
    {"string", R"("#enum": [5, true])", "true", R"("true")"},
    {"string", R"("#enum": ["one", "on"])", "o", R"("o")"},
};

TEST(NodeValue, IsTheConvertedToken) {
  for (const ValueCase &row : kValues) {
    EXPECT_EQ(Declared(row.type, row.facets).value(row.text), row.value) << row.type << ' ' << row.text;
  }
  validator_type flag{};
  flag.name = "flag";
  flag.value_fn = [](const validator *, const char *text, std::size_t len) {
    return std::string_view(text, len) == "yes" ? json_array() : nullptr;
  };
  Declared declared("flag", R"("#enum": ["yes", "no"])", &flag);
  EXPECT_EQ(declared.value("y"), "[]");
  EXPECT_EQ(declared.value("n"), R"("no")") << "its type's own converter declines";
}

TEST(NodeValue, OfAKeywordTellsWhetherItWasGiven) {
  cli_node key{};
  token given{};
  key.type = TYPE_KEY;
  EXPECT_TRUE(json_is_false(cli_node_value(&key)));
  key.token = &given;
  EXPECT_TRUE(json_is_true(cli_node_value(&key)));
  key.type = TYPE_WORD;
  EXPECT_EQ(cli_node_value(&key), nullptr);
  EXPECT_EQ(cli_node_value(nullptr), nullptr);
}

}  // namespace
