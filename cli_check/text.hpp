// The text of a document as the library's reader reads it, whether it loads or not: the parts of declarations and their
// places.
#ifndef CLI_CHECK_TEXT_HPP
#define CLI_CHECK_TEXT_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli_engine/text_reader.hpp"

namespace cli_check {

using cli_engine::Shape;
using cli_engine::Value;

struct Place {
  uint32_t line = 1, column = 1;  // columns count bytes

  auto operator<=>(const Place &) const = default;
};

class Text;
struct Entry;

// A value of a document, or nothing.
class Part : public Value {
 public:
  Part() = default;
  Part(const Text *text, const Value &value) : Value(value), text_(text) {}

  explicit operator bool() const { return is_given(); }
  [[nodiscard]] const Text *document() const { return text_; }
  [[nodiscard]] std::string string() const { return std::string(view()); }  // empty for what is none
  [[nodiscard]] Place place() const;

  // Empty for a value of another type.
  [[nodiscard]] std::vector<Entry> members() const;
  [[nodiscard]] std::vector<Part> parts() const;
  [[nodiscard]] Part find(const char *name) const { return {text_, member(name)}; }

  // The part of it, or itself: where a finding about the part stands.
  [[nodiscard]] Part at(const char *name) const;
  [[nodiscard]] Part at(std::size_t index) const;

 private:
  const Text *text_ = nullptr;
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
  [[nodiscard]] Part root() const;  // nothing for a text that cannot be read
  [[nodiscard]] Place place(std::size_t offset) const;
  // What stands at a place; of a key, the value behind it.
  [[nodiscard]] Part part_at(const Place &place) const;

 private:
  std::string file_;
  std::string bytes_;               // decoded
  std::vector<std::size_t> lines_;  // where each begins
  cli_engine::TextItems items_;
};

}  // namespace cli_check

#endif
