#include "cli_engine/document.hpp"

#include <charconv>
#include <cstring>

#include "cli_engine/json_ref.hpp"
#include "libglobal/report.hpp"

namespace cli_engine {
namespace {

constexpr const char *kSource = "cli_engine/loader";

json_t *existing(json_t *value) {
  if (value == nullptr) {
    libglobal::report_exhausted(LIBGLOBAL_CALLER(kSource));
  }
  return value;
}

json_t *real_of(std::string_view digits) {
  return existing(json_loadb(digits.data(), digits.size(), JSON_DECODE_ANY, nullptr));
}

}  // namespace

json_int_t Value::integer() const {
  if (text_ == nullptr) {
    return json_integer_value(json());
  }
  json_int_t number = 0;
  if (shape() == Shape::kInteger) {
    std::from_chars(text_ + item()->offset, text_ + item()->offset + item()->extent, number);
  }
  return number;
}

Value Value::member(const char *name) const {
  if (text_ == nullptr) {
    return Value(json_object_get(json(), name));
  }
  Value found;
  for_each_member([&](const Member &member) {
    if (std::strcmp(member.name, name) == 0) {
      found = member.value;
    }
  });
  return found;
}

std::size_t Value::items() const {
  if (text_ == nullptr) {
    return json_array_size(json());
  }
  std::size_t count = 0;
  for_each_item([&](std::size_t, const Value &) { count++; });
  return count;
}

bool Value::has_members() const {
  return text_ == nullptr ? json_object_size(json()) > 0 : is(Shape::kObject) && item()->extent > 0;
}

json_t *Value::to_json() const {
  if (text_ == nullptr) {
    return json_incref(json());
  }
  const std::string_view digits{text_ + item()->offset, item()->extent};
  json_t *made = nullptr;
  switch (shape()) {
    case Shape::kObject:
      made = existing(json_object());
      for_each_member(
          [made](const Member &member) { json_object_set_new_nocheck(made, member.name, member.value.to_json()); });
      return made;
    case Shape::kArray:
      made = existing(json_array());
      for_each_item([made](std::size_t, const Value &item) { json_array_append_new(made, item.to_json()); });
      return made;
    case Shape::kString:
      return existing(json_stringn_nocheck(text(), length()));
    case Shape::kInteger:
      return existing(json_integer(integer()));
    case Shape::kReal:
      return real_of(digits);
    case Shape::kTrue:
      return json_true();
    case Shape::kFalse:
      return json_false();
    case Shape::kNull:
      break;
  }
  return json_null();
}

const char *in_words(Shape shape) {
  static constexpr const char *kWords[] = {"an object",     "an array", "a string", "an integer",
                                           "a real number", "true",     "false",    "null"};
  return kWords[static_cast<std::size_t>(shape)];
}

}  // namespace cli_engine
