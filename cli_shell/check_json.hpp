// JSON documents whose values know where they stand.
//
// The reader takes exactly what Jansson takes when it refuses duplicate members (UTF-8 only, no NUL, 64-bit integers,
// finite reals, at most 2048 levels, an object or array outermost), so that a document that is clean here also loads.
#ifndef CLI_SHELL_CHECK_JSON_HPP
#define CLI_SHELL_CHECK_JSON_HPP

#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace cli_check {

enum class JsonKind : uint8_t { kNull, kFalse, kTrue, kInteger, kReal, kString, kArray, kObject };

struct JsonMember;

// A value of a document, which owns its text and its children. Small, because a document may hold millions.
class JsonValue {
 public:
  JsonKind kind = JsonKind::kNull;
  uint32_t offset = 0;  // of its first byte in the document

  [[nodiscard]] bool is(JsonKind wanted) const { return kind == wanted; }
  [[nodiscard]] bool is_object() const { return is(JsonKind::kObject); }
  [[nodiscard]] bool is_string() const { return is(JsonKind::kString); }

  // Each is empty, or 0, for a value of another kind.
  [[nodiscard]] std::string_view text() const { return is_string() ? std::string_view(text_, count_) : ""; }
  [[nodiscard]] std::string_view real_digits() const {
    return is(JsonKind::kReal) ? std::string_view(text_, count_) : "";
  }
  [[nodiscard]] int64_t integer() const { return is(JsonKind::kInteger) ? integer_ : 0; }
  [[nodiscard]] std::span<const JsonValue> items() const;
  [[nodiscard]] std::span<const JsonMember> members() const;

  // The member of that name of an object, or null.
  [[nodiscard]] const JsonValue *find(std::string_view name) const;

  void set_text(std::string_view text);
  void set_real(std::string_view digits);
  void set_integer(int64_t integer);
  void set_items(std::span<const JsonValue> items);
  void set_members(std::span<const JsonMember> members);

 private:
  uint32_t count_ = 0;
  union {
    const char *text_ = nullptr;
    int64_t integer_;
    const JsonValue *items_;
    const JsonMember *members_;
  };
};

struct JsonMember {
  std::string_view name;
  uint32_t offset;  // of the name's opening quote
  bool repeated;    // an earlier member of the object has this name
  JsonValue value;
};

// What keeps a text from being the document it should be.
struct JsonFault {
  uint32_t offset;
  std::string text;
};

struct JsonDocument {
  std::string file;   // its name, for messages
  std::string bytes;  // the text; strings without escapes are views into it
  JsonValue root;
  std::pmr::monotonic_buffer_resource memory;  // the children, and the strings with escapes

  JsonDocument(std::string file_name, std::string text) : file(std::move(file_name)), bytes(std::move(text)) {}
};

// Largest document, in bytes, that offsets are sure to reach.
constexpr std::size_t kLargestDocument = std::size_t{1} << 30;

// Parses the bytes into the root. False, with the fault, when they are no document.
[[nodiscard]] bool read_json(JsonDocument &document, JsonFault &fault);

}  // namespace cli_check

#endif
