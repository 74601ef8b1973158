// A document that is being loaded: values of a JSON document that the host built, or of a text that was read, behind
// one small class. Neither way makes copies.
#ifndef CLI_ENGINE_DOCUMENT_HPP
#define CLI_ENGINE_DOCUMENT_HPP

#include <jansson.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace cli_engine {

enum class Shape : std::uint8_t {
  kObject,
  kArray,
  kString,
  kInteger,
  kReal,
  kTrue,
  kFalse,
  kNull
};  // json_type's order

// What a text was read into: every value, in the order of the text. A member is its name, a kString, and its value.
struct TextItem {
  std::uint32_t offset;       // in the text, of the first byte
  std::uint32_t shape : 4;    // Shape
  std::uint32_t extent : 28;  // bytes of a string or number; of an object or array, items that stand in it
};
inline constexpr std::size_t kLongestText = (std::size_t{1} << 28U) - 1;  // what offsets and extents reach

struct Member;

// A value, or nothing. Valid as long as the document is.
class Value {
 public:
  Value() = default;
  explicit Value(const json_t *json) : at_(json) {}
  Value(const TextItem *item, const char *text) : at_(item), text_(text) {}

  [[nodiscard]] bool is_given() const { return at_ != nullptr; }
  [[nodiscard]] Shape shape() const {
    return text_ == nullptr ? static_cast<Shape>(json_typeof(json())) : static_cast<Shape>(item()->shape);
  }
  [[nodiscard]] bool is(Shape asked) const { return is_given() && shape() == asked; }
  [[nodiscard]] bool is_true() const { return is(Shape::kTrue); }

  // NUL-terminated; null for what is no string.
  [[nodiscard]] const char *text() const {
    return text_ == nullptr ? json_string_value(json()) : is(Shape::kString) ? text_ + item()->offset + 1 : nullptr;
  }
  [[nodiscard]] std::size_t length() const { return text_ == nullptr ? json_string_length(json()) : item()->extent; }
  [[nodiscard]] std::string_view view() const {
    return text() == nullptr ? std::string_view{} : std::string_view{text(), length()};
  }

  // 0 for what is no integer.
  [[nodiscard]] json_int_t integer() const;

  // The member of an object, or nothing.
  [[nodiscard]] Value member(const char *name) const;

  // Calls visit(Member) for the members of an object and visit(index, Value) for the items of an array, in their order;
  // for nothing of any other value.
  template <class Visit>
  void for_each_member(Visit visit) const;
  template <class Visit>
  void for_each_item(Visit visit) const;

  [[nodiscard]] std::size_t items() const;  // of an array; 0 of any other value
  [[nodiscard]] bool has_members() const;   // an object with any

  // A new reference to the value as JSON; null for nothing.
  [[nodiscard]] json_t *to_json() const;

  [[nodiscard]] bool is_from_text() const { return text_ != nullptr; }
  [[nodiscard]] json_t *json() const { return static_cast<json_t *>(const_cast<void *>(at_)); }  // of one from JSON
  [[nodiscard]] const TextItem *item() const { return static_cast<const TextItem *>(at_); }      // of one from text

 private:
  // The item behind a value with all that stands in it.
  static const TextItem *behind(const TextItem *item) {
    return item + 1 + (item->shape <= static_cast<std::uint32_t>(Shape::kArray) ? item->extent : 0);
  }

  const void *at_ = nullptr;    // json_t or TextItem
  const char *text_ = nullptr;  // decoded in place: strings end in a NUL; null for JSON
};

struct Member {
  const char *name;  // NUL-terminated
  Value value;
  const TextItem *name_item;  // null in JSON
};

template <class Visit>
void Value::for_each_member(Visit visit) const {
  if (text_ == nullptr) {
    json_t *object = json();
    for (void *at = json_object_iter(object); at != nullptr; at = json_object_iter_next(object, at)) {
      visit(Member{json_object_iter_key(at), Value(json_object_iter_value(at)), nullptr});
    }
  } else if (shape() == Shape::kObject) {
    const TextItem *const end = behind(item());
    for (const TextItem *at = item() + 1; at != end; at = behind(at + 1)) {
      visit(Member{text_ + at->offset + 1, Value(at + 1, text_), at});
    }
  }
}

template <class Visit>
void Value::for_each_item(Visit visit) const {
  std::size_t index = 0;
  if (text_ == nullptr) {
    for (const std::size_t size = json_array_size(json()); index < size; index++) {
      visit(index, Value(json_array_get(json(), index)));
    }
  } else if (shape() == Shape::kArray) {
    const TextItem *const end = behind(item());
    for (const TextItem *at = item() + 1; at != end; at = behind(at)) {
      visit(index++, Value(at, text_));
    }
  }
}

// What a message calls a value of that shape.
[[nodiscard]] const char *in_words(Shape shape);

}  // namespace cli_engine

#endif
