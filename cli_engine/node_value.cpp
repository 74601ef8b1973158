#include "cli_engine/node_value.hpp"

#include "cli_engine/matchers.hpp"
#include "libglobal/strnto.h"

namespace cli_engine {

std::string_view given_text(const validator &v, const token &given) {
  const std::string_view text{given.text, given.len};
  return (v.flags & VALIDATOR_ENUM) != 0 ? enum_text(v.enum_array, text).text : text;
}

std::int64_t number_of(const validator &v, std::string_view text) {
  if (v.type->basetype == BASETYPE_INT) {
    std::int32_t number = 0;
    strntol(text.data(), text.size(), v.base, &number);
    return number;
  }
  std::uint32_t number = 0;
  strntoul(text.data(), text.size(), v.base, &number);
  return number;
}

namespace {

json_t *convert(const validator &v, std::string_view text) {
  if (v.type->basetype == BASETYPE_INT || v.type->basetype == BASETYPE_UINT) {
    return json_integer(number_of(v, text));
  }
  return json_stringn(text.data(), text.size());  // null when it is not UTF-8
}

json_t *value_of(const validator &v, const token &given) {
  const std::string_view text = given_text(v, given);
  json_t *value = v.type->value_fn != nullptr ? v.type->value_fn(&v, text.data(), text.size()) : nullptr;
  return value != nullptr ? value : convert(v, text);
}

}  // namespace
}  // namespace cli_engine

json_t *cli_node_value(cli_node *node) {
  if (node == nullptr) {
    return nullptr;
  }
  if (node->type == TYPE_KEY) {
    return json_boolean(node->token != nullptr);
  }
  if (node->type != TYPE_VALUE || node->token == nullptr) {
    return nullptr;
  }
  if (node->value.value == nullptr) {
    node->value.value = cli_engine::value_of(node->value.validator, *node->token);
  }
  return node->value.value;
}
