// The text of a document that was loaded: where the parts of a declaration stand. What the library has read is read
// again only to point into it; a text that is no JSON, or has changed since, gives places that mean nothing and no
// more.
#ifndef CLI_CHECK_TEXT_HPP
#define CLI_CHECK_TEXT_HPP

#include <jansson.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace cli_check {

struct JsonRelease {
  void operator()(json_t *value) const { json_decref(value); }
};
using JsonRef = std::unique_ptr<json_t, JsonRelease>;  // owns one reference

struct Place {
  uint32_t line = 1, column = 1;  // columns count bytes

  auto operator<=>(const Place &) const = default;
};

class Text;
struct Entry;

// A value of a document, or nothing.
class Part {
 public:
  Part() = default;
  Part(const Text *text, std::size_t offset) : text_(text), offset_(offset) {}

  explicit operator bool() const { return text_ != nullptr; }
  [[nodiscard]] std::size_t offset() const { return offset_; }
  [[nodiscard]] json_type type() const;  // JSON_NULL for nothing
  [[nodiscard]] bool is(json_type wanted) const { return text_ != nullptr && type() == wanted; }

  // Empty for a value of another type.
  [[nodiscard]] std::vector<Entry> members() const;
  [[nodiscard]] std::vector<Part> items() const;
  [[nodiscard]] Part find(std::string_view name) const;
  [[nodiscard]] std::string string() const;
  [[nodiscard]] json_int_t integer() const;

  // The part of it, or itself: where a finding about the part stands.
  [[nodiscard]] Part at(std::string_view name) const;
  [[nodiscard]] Part at(std::size_t index) const;

  [[nodiscard]] Place place() const;
  [[nodiscard]] const Text *text() const { return text_; }

 private:
  const Text *text_ = nullptr;
  std::size_t offset_ = 0;
};

struct Entry {
  std::string name;
  Part key;
  Part value;
};

class Text {
 public:
  Text(std::string file, std::string bytes);
  Text(const Text &) = delete;
  Text &operator=(const Text &) = delete;

  [[nodiscard]] const std::string &file() const { return file_; }
  [[nodiscard]] Part root() const { return {this, skip_blanks(0)}; }
  [[nodiscard]] Place place(std::size_t offset) const;
  // What stands at a place; of a key, the value behind it.
  [[nodiscard]] Part part_at(const Place &place) const;

 private:
  friend class Part;
  [[nodiscard]] char byte(std::size_t at) const { return at < bytes_.size() ? bytes_[at] : '\0'; }
  [[nodiscard]] std::size_t skip_blanks(std::size_t at) const;
  [[nodiscard]] std::size_t end_of(std::size_t value) const;
  [[nodiscard]] std::size_t end_of_string(std::size_t at) const;
  [[nodiscard]] std::size_t end_of_container(std::size_t at) const;
  [[nodiscard]] std::size_t behind_key(std::size_t key) const;
  [[nodiscard]] std::string_view between(std::size_t start, std::size_t end) const;

  std::string file_;
  std::string bytes_;
  std::vector<std::size_t> lines_;                             // where each begins
  mutable std::unordered_map<std::size_t, std::size_t> ends_;  // of long containers, passed over once
};

// "an array", "true" and so on.
[[nodiscard]] std::string_view in_words(json_type type);

}  // namespace cli_check

#endif
