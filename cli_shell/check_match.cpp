#include "cli_shell/check_match.hpp"

#include <cstdlib>

namespace cli_check {

namespace {

json_t *convert(const JsonValue &value);

json_t *convert_object(const JsonValue &value) {
  json_t *object = json_object();
  for (const JsonMember &member : value.members()) {
    if (!member.repeated && member.name != "#handler") {
      json_object_setn_new(object, member.name.data(), member.name.size(), convert(member.value));
    }
  }
  return object;
}

json_t *convert_array(const JsonValue &value) {
  json_t *array = json_array();
  for (const JsonValue &item : value.items()) {
    json_array_append_new(array, convert(item));
  }
  return array;
}

json_t *convert(const JsonValue &value) {
  switch (value.kind) {
    case JsonKind::kNull:
      return json_null();
    case JsonKind::kFalse:
      return json_false();
    case JsonKind::kTrue:
      return json_true();
    case JsonKind::kInteger:
      return json_integer(value.integer());
    case JsonKind::kReal:
      return json_loadb(value.real_digits().data(), value.real_digits().size(), JSON_DECODE_ANY, nullptr);
    case JsonKind::kString:
      return json_stringn(value.text().data(), value.text().size());
    case JsonKind::kArray:
      return convert_array(value);
    case JsonKind::kObject:
      return convert_object(value);
  }
  return nullptr;
}

}  // namespace

JsonRef to_engine(const JsonValue &value) {
  return JsonRef(convert(value));
}

std::optional<BaseType> base_type(validator_typesystem *types, std::string_view name) {
  const JsonRef declaration(json_pack("{ss#}", "#type", name.data(), name.size()));
  validator opened;
  if (validator_open(types, &opened, declaration.get()) != 0) {
    return std::nullopt;
  }
  const int basetype = validator_get_basetype(&opened);
  validator_close(&opened);
  switch (basetype) {
    case BASETYPE_INT:
      return BaseType::kInt;
    case BASETYPE_UINT:
      return BaseType::kUnsigned;
    default:
      return BaseType::kText;
  }
}

std::string entry_text(const JsonValue &entry) {
  if (entry.is_string()) {
    return std::string(entry.text());
  }
  const std::unique_ptr<char, decltype(&std::free)> text(json_dumps(to_engine(entry).get(), JSON_ENCODE_ANY),
                                                         &std::free);
  return text == nullptr ? "" : text.get();
}

Acceptance::Acceptance(validator_typesystem *types, const Node &value) : declaration_(to_engine(*value.definition)) {
  validator_open(types, &validator_, declaration_.get());
}

Acceptance::~Acceptance() {
  validator_close(&validator_);
}

}  // namespace cli_check
