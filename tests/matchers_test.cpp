// What each built-in type takes for a value: complete, incomplete, or none; and the JSON values of what it took.
#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <string_view>

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
  explicit Declared(std::string_view type, const std::string &facets = "", const validator_type *custom = nullptr)
      : needs_nul_(type == "FQDN" || custom != nullptr), types_(validator_typesystem_new()) {
    if (custom != nullptr) {
      validator_typesystem_add_custom_type(types_.get(), custom);
    }
    std::string text = R"({"#type": ")" + std::string(type) + '"';
    text += facets.empty() ? "}" : ", " + facets + '}';
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

TEST(Values, OfEachTypeAreCompleteIncompleteOrNone) {
  std::ifstream file(TEST_DATA_DIR "/values.txt");
  std::optional<Declared> declared;
  int texts = 0;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    SCOPED_TRACE(line);
    std::istringstream rest(line);
    std::string first;
    rest >> first;
    const int result = first == "+" ? MATCH_COMPLETE : first == "~" ? MATCH_INCOMPLETE : MATCH_NONE;
    if (first == "=") {
      const std::size_t arrow = line.find(" => ");
      EXPECT_EQ(declared->value(line.substr(2, arrow - 2)), line.substr(arrow + 4));
    } else if (first.size() > 1) {
      declared.emplace(first, line.substr(std::min(first.size() + 1, line.size())));
    } else {
      for (std::string text; rest >> text; ++texts) {
        EXPECT_EQ(declared->check(text == "''" ? "" : text), result) << text;
      }
    }
  }
  EXPECT_GT(texts, 300);
}

const std::string kLabel(63, 'x');
const std::string kLongestName = kLabel + '.' + kLabel + '.' + kLabel + '.' + std::string(61, 'x');

TEST(Values, OfOtherLengthsAndBytes) {
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

TEST(NodeValue, ComesFromTheTypesConverterUnlessThatDeclines) {
  EXPECT_EQ(Declared("string").value("a\xff"), "") << "not UTF-8";
  validator_type flag{};
  flag.name = "flag";
  flag.value_fn = [](const validator *, const char *text, std::size_t len) {
    return std::string_view(text, len) == "yes" ? json_array() : nullptr;
  };
  Declared declared("flag", R"("#enum": ["yes", "no"])", &flag);
  EXPECT_EQ(declared.value("y"), "[]");
  EXPECT_EQ(declared.value("n"), R"("no")");
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
