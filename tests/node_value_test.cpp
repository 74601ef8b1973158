// The JSON value of a matched node.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "cli_engine/cli_engine.h"
#include "cli_engine/json_ref.hpp"

namespace {

using cli_engine::JsonRef;
// A value node of the given declaration, matched to a text.
class Matched {
 public:
  Matched(const char *declaration, std::string text, const validator_type *custom = nullptr)
      : types_(validator_typesystem_new()), declaration_(json_loads(declaration, 0, nullptr)), text_(std::move(text)) {
    if (custom != nullptr) {
      validator_typesystem_add_custom_type(types_, custom);
    }
    node.type = TYPE_VALUE;
    EXPECT_EQ(validator_open(types_, &node.value.validator, declaration_.get()), 0) << declaration;
    token_.text = text_.data();
    token_.len = static_cast<std::uint32_t>(text_.size());
    node.token = &token_;
  }
  Matched(const Matched &) = delete;
  Matched &operator=(const Matched &) = delete;
  ~Matched() {
    json_decref(node.value.value);
    validator_close(&node.value.validator);
    validator_typesystem_free(types_);
  }

  void forget_value() {
    json_decref(node.value.value);
    node.value.value = nullptr;
  }

  cli_node node{};

 private:
  validator_typesystem *types_;
  JsonRef declaration_;
  std::string text_;
  token token_{};
};

std::string encoded(const json_t *value) {
  char text[100];
  const std::size_t size = json_dumpb(value, text, sizeof text, JSON_ENCODE_ANY);
  return {text, size};
}

struct ValueCase {
  const char *declaration;
  const char *text;
  const char *value;  // as JSON
};

constexpr ValueCase kValues[] = {
    {R"({"#type": "int"})", "-0", "0"},
    {R"({"#type": "int"})", "0x1F", "31"},
    {R"({"#type": "int"})", "-2147483648", "-2147483648"},
    {R"({"#type": "int"})", "4294967296", "0"},
    {R"({"#type": "unsignedInt"})", "4294967295", "4294967295"},
    {R"({"#type": "unsignedInt", "#base": 16, "#max_inclusive": 255})", "ff", "255"},
    {R"({"#type": "unsignedInt", "#base": 16})", "ff", "0"},
    {R"({"#type": "unsignedInt", "#enum": ["100", "200"]})", "1", "100"},
    {R"({"#type": "string"})", "two words", R"("two words")"},
    {R"({"#type": "IPv6Prefix"})", "2001:DB8::/032", R"("2001:DB8::/032")"},
    {R"({"#type": "string", "#enum": ["ab", "abc"]})", "ab", R"("ab")"},
    {R"({"#type": "string", "#enum": ["ab", "abc"]})", "abc", R"("abc")"},
    {R"({"#type": "string", "#enum": ["enable", "disable"]})", "dis", R"("disable")"},
    {R"({"#type": "string", "#enum": [5, true]})", "true", R"("true")"},
};

TEST(NodeValue, IsTheConvertedTokenAndStaysTheSame) {
  for (const ValueCase &row : kValues) {
    Matched matched(row.declaration, row.text);
    json_t *value = cli_node_value(&matched.node);
    EXPECT_EQ(encoded(value), row.value) << row.declaration << ' ' << row.text;
    EXPECT_EQ(cli_node_value(&matched.node), value);
    matched.node.token = nullptr;  // not given: the cache alone is no value
    EXPECT_EQ(cli_node_value(&matched.node), nullptr);
  }
}

TEST(NodeValue, OfBrokenUtf8IsTriedAgain) {
  Matched matched(R"({"#type": "string"})", "a\xff");
  EXPECT_EQ(cli_node_value(&matched.node), nullptr);
  matched.node.token->text[1] = 'b';
  EXPECT_EQ(encoded(cli_node_value(&matched.node)), R"("ab")");
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

TEST(NodeValue, ComesFromTheTypesConverterUnlessThatDeclines) {
  validator_type flag{};
  flag.name = "flag";
  flag.value_fn = [](const validator *v, const char *text, std::size_t len) {
    const bool is_yes = v->type->basetype == BASETYPE_STRING && len == 3 && std::strncmp(text, "yes", 3) == 0;
    return is_yes ? json_array() : nullptr;
  };
  constexpr char kDeclaration[] = R"({"#type": "flag", "#enum": ["yes", "no"]})";
  Matched yes(kDeclaration, "y", &flag);
  json_t *value = cli_node_value(&yes.node);
  EXPECT_TRUE(json_is_array(value));
  EXPECT_EQ(cli_node_value(&yes.node), value);
  yes.forget_value();
  yes.node.token->text[0] = 'n';
  EXPECT_EQ(encoded(cli_node_value(&yes.node)), R"("no")");
}

}  // namespace
