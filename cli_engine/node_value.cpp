#include "cli_engine/cli_engine.h"
#include "cli_engine/matchers.hpp"
#include "libglobal/strnto.h"

namespace {

std::string_view given_text(const validator &v, const token &given) {
  const std::string_view text{given.text, given.len};
  return (v.flags & VALIDATOR_ENUM) != 0 ? cli_engine::enum_text(v.enum_array, text).text : text;
}

// A text that the matcher did not accept as a number counts as 0.
json_t *convert(const validator &v, std::string_view text) {
  switch (v.type->basetype) {
    case BASETYPE_INT: {
      int32_t number = 0;
      strntol(text.data(), text.size(), v.base, &number);
      return json_integer(number);
    }
    case BASETYPE_UINT: {
      uint32_t number = 0;
      strntoul(text.data(), text.size(), v.base, &number);
      return json_integer(number);
    }
    default:
      return json_stringn(text.data(), text.size());  // null when it is not UTF-8
  }
}

json_t *value_of(const validator &v, const token &given) {
  const std::string_view text = given_text(v, given);
  json_t *value = v.type->value_fn != nullptr ? v.type->value_fn(&v, text.data(), text.size()) : nullptr;
  return value != nullptr ? value : convert(v, text);
}

}  // namespace

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
    node->value.value = value_of(node->value.validator, *node->token);
  }
  return node->value.value;
}
