#include "cli_shell/check_json.hpp"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <type_traits>
#include <unordered_set>

namespace cli_check {

std::span<const JsonValue> JsonValue::items() const {
  return is(JsonKind::kArray) ? std::span(items_, count_) : std::span<const JsonValue>();
}

std::span<const JsonMember> JsonValue::members() const {
  return is_object() ? std::span(members_, count_) : std::span<const JsonMember>();
}

const JsonValue *JsonValue::find(std::string_view name) const {
  for (const JsonMember &member : members()) {
    if (member.name == name) {
      return &member.value;
    }
  }
  return nullptr;
}

void JsonValue::set_text(std::string_view text) {
  kind = JsonKind::kString;
  text_ = text.data();
  count_ = static_cast<uint32_t>(text.size());
}

void JsonValue::set_real(std::string_view digits) {
  set_text(digits);
  kind = JsonKind::kReal;
}

void JsonValue::set_integer(int64_t integer) {
  kind = JsonKind::kInteger;
  integer_ = integer;
}

void JsonValue::set_items(std::span<const JsonValue> items) {
  kind = JsonKind::kArray;
  items_ = items.data();
  count_ = static_cast<uint32_t>(items.size());
}

void JsonValue::set_members(std::span<const JsonMember> members) {
  kind = JsonKind::kObject;
  members_ = members.data();
  count_ = static_cast<uint32_t>(members.size());
}

namespace {

constexpr std::size_t kDeepest = 2048;  // levels, the outermost value and the innermost scalar included

bool is_digit(int byte) {
  return byte >= '0' && byte <= '9';
}

bool is_blank(int byte) {
  return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r';
}

// The length of the UTF-8 sequence at the start of the text, or 0: no overlong forms, no surrogates, at most U+10FFFF.
std::size_t utf8_length(std::string_view text) {
  const auto byte = [text](std::size_t at) { return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U; };
  struct Row {
    unsigned first, last;  // range of the leading byte
    unsigned low, high;    // range of the second byte; the others are 80 to BF
    std::size_t length;
  };
  static constexpr Row kRows[] = {
      {0x00, 0x7F, 0, 0, 1},       {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
      {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
      {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
  };
  for (const Row &row : kRows) {
    if (byte(0) < row.first || byte(0) > row.last) {
      continue;
    }
    bool good = row.length == 1 || (byte(1) >= row.low && byte(1) <= row.high);
    for (std::size_t at = 2; at < row.length; ++at) {
      good = good && (byte(at) & 0xC0U) == 0x80U;
    }
    return good ? row.length : 0;
  }
  return 0;
}

void append_utf8(std::string &out, uint32_t code) {
  const auto byte = [&out](uint32_t bits) { out.push_back(static_cast<char>(bits)); };
  if (code < 0x80) {
    byte(code);
  } else if (code < 0x800) {
    byte(0xC0 | code >> 6);
    byte(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    byte(0xE0 | code >> 12);
    byte(0x80 | (code >> 6 & 0x3F));
    byte(0x80 | (code & 0x3F));
  } else {
    byte(0xF0 | code >> 18);
    byte(0x80 | (code >> 12 & 0x3F));
    byte(0x80 | (code >> 6 & 0x3F));
    byte(0x80 | (code & 0x3F));
  }
}

// A real overflows when it rounds to infinity, whatever decimal point the process's locale has.
bool overflows(const std::string &number) {
  static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
  return std::isinf(strtod_l(number.c_str(), nullptr, plain));
}

// Moves what lies in the scratch vector from `start` on into the document's memory.
template <class T>
std::span<const T> settle(JsonDocument &document, std::vector<T> &scratch, std::size_t start) {
  static_assert(std::is_trivially_destructible_v<T>);
  const std::size_t count = scratch.size() - start;
  if (count == 0) {
    return {};
  }
  auto *place = static_cast<T *>(document.memory.allocate(count * sizeof(T), alignof(T)));
  std::uninitialized_copy_n(scratch.begin() + static_cast<std::ptrdiff_t>(start), count, place);
  scratch.resize(start);
  return {place, count};
}

// Objects are small as a rule; a set would cost more than it saves there.
void mark_repeated(std::span<JsonMember> members) {
  constexpr std::size_t kFew = 16;
  if (members.size() <= kFew) {
    for (auto later = members.begin(); later != members.end(); ++later) {
      later->repeated = std::any_of(members.begin(), later, [&](const auto &m) { return m.name == later->name; });
    }
    return;
  }
  std::unordered_set<std::string_view> names;
  for (JsonMember &member : members) {
    member.repeated = !names.insert(member.name).second;
  }
}

class Reader {
 public:
  Reader(JsonDocument &document, JsonFault &fault) : document_(document), text_(document.bytes), fault_(fault) {}

  bool read() {
    skip_blanks();
    if (at_end()) {
      return fail("the document is empty");
    }
    if (peek() != '{' && peek() != '[') {
      return fail("a document begins with \"{\"");
    }
    if (!value(document_.root)) {
      return false;
    }
    skip_blanks();
    return at_end() || fail("text after the end of the document");
  }

 private:
  [[nodiscard]] bool at_end() const { return at_ == text_.size(); }
  [[nodiscard]] int peek() const { return at_end() ? -1 : static_cast<unsigned char>(text_[at_]); }
  [[nodiscard]] uint32_t here() const { return static_cast<uint32_t>(at_); }

  bool take(char byte) {
    const bool there = peek() == static_cast<unsigned char>(byte);
    at_ += there ? 1 : 0;
    return there;
  }

  void skip_blanks() {
    while (is_blank(peek())) {
      ++at_;
    }
  }

  bool fail_at(std::size_t offset, std::string text) {
    fault_ = {static_cast<uint32_t>(offset), std::move(text)};
    return false;
  }
  bool fail(std::string text) { return fail_at(at_, std::move(text)); }

  bool fail_expecting(const char *what) {
    return fail(at_end() ? std::string("the text ends where ") + what + " is due" : std::string("expected ") + what);
  }

  // An array or object that is not closed yet.
  struct Open {
    JsonKind kind;
    uint32_t offset;
    std::size_t start;  // of its children in items_ or members_
  };

  // A value with all that it holds. Nesting takes no stack.
  // long.
  bool value(JsonValue &out) {
    for (;;) {
      if (open_.size() == kDeepest) {
        return fail("nested deeper than 2048 levels");
      }
      JsonValue read;
      read.offset = here();
      const int first = peek();
      if (first == '{' || first == '[') {
        bool is_empty = false;
        if (!begin_container(first == '{' ? JsonKind::kObject : JsonKind::kArray, is_empty)) {
          return false;
        }
        if (!is_empty) {
          continue;
        }
        read = end_container();
      } else if (!scalar(read)) {
        return false;
      }
      bool is_complete = false;
      if (!place(read, is_complete)) {
        return false;
      }
      if (is_complete) {
        out = read;
        return true;
      }
    }
  }

  // Puts a value where it belongs, and each container that it completes. is_complete tells that nothing is open;
  // otherwise the next value is due.
  bool place(JsonValue &value, bool &is_complete) {
    while (!open_.empty()) {
      const bool in_object = open_.back().kind == JsonKind::kObject;
      if (in_object) {
        members_.back().value = value;
      } else {
        items_.push_back(value);
      }
      skip_blanks();
      if (take(',')) {
        return next_child(in_object);
      }
      if (peek() != (in_object ? '}' : ']')) {
        return fail_expecting(in_object ? "\",\" or \"}\"" : "\",\" or \"]\"");
      }
      value = end_container();
    }
    is_complete = true;
    return true;
  }

  bool begin_container(JsonKind kind, bool &is_empty) {
    const bool is_object = kind == JsonKind::kObject;
    open_.push_back({kind, here(), is_object ? members_.size() : items_.size()});
    ++at_;
    skip_blanks();
    is_empty = peek() == (is_object ? '}' : ']');
    return is_empty || !is_object || member_name();
  }

  bool next_child(bool in_object) {
    skip_blanks();
    if (peek() == (in_object ? '}' : ']')) {
      return fail(in_object ? "a comma before \"}\"" : "a comma before \"]\"");
    }
    return !in_object || member_name();
  }

  // At the closing bracket.
  JsonValue end_container() {
    const Open closed = open_.back();
    open_.pop_back();
    ++at_;
    JsonValue container;
    container.offset = closed.offset;
    if (closed.kind == JsonKind::kObject) {
      mark_repeated(std::span(members_).subspan(closed.start));
      container.set_members(settle(document_, members_, closed.start));
    } else {
      container.set_items(settle(document_, items_, closed.start));
    }
    return container;
  }

  bool scalar(JsonValue &out) {
    switch (peek()) {
      case '"':
        return string_value(out);
      case 't':
        return literal(out, "true", JsonKind::kTrue);
      case 'f':
        return literal(out, "false", JsonKind::kFalse);
      case 'n':
        return literal(out, "null", JsonKind::kNull);
      default:
        return peek() == '-' || is_digit(peek()) ? number(out) : fail_expecting("a value");
    }
  }

  bool literal(JsonValue &out, std::string_view word, JsonKind kind) {
    if (text_.substr(at_, word.size()) != word) {
      return fail_expecting("a value");
    }
    at_ += word.size();
    out.kind = kind;
    return true;
  }

  bool digits() {
    const std::size_t start = at_;
    while (is_digit(peek())) {
      ++at_;
    }
    return at_ > start || fail_expecting("a digit");
  }

  bool number(JsonValue &out) {
    const std::size_t start = at_;
    take('-');
    if (take('0')) {
      if (is_digit(peek())) {
        return fail_at(start, "a number does not begin with 0");
      }
    } else if (!digits()) {
      return false;
    }
    bool real = false;
    if (take('.')) {
      real = true;
      if (!digits()) {
        return false;
      }
    }
    if (peek() == 'e' || peek() == 'E') {
      real = true;
      ++at_;
      if (!take('+')) {
        take('-');
      }
      if (!digits()) {
        return false;
      }
    }
    const std::string_view digits_read = text_.substr(start, at_ - start);
    return real ? real_value(out, start, digits_read) : integer_value(out, start, digits_read);
  }

  bool real_value(JsonValue &out, std::size_t start, std::string_view number) {
    out.set_real(number);
    return !overflows(std::string(number)) || fail_at(start, "the number is too large");
  }

  bool integer_value(JsonValue &out, std::size_t start, std::string_view number) {
    int64_t integer = 0;
    if (std::from_chars(number.data(), number.data() + number.size(), integer).ec != std::errc()) {
      return fail_at(start, "the integer does not fit 64 bits");
    }
    out.set_integer(integer);
    return true;
  }

  bool string_value(JsonValue &out) {
    std::string_view text;
    if (!string(text)) {
      return false;
    }
    out.set_text(text);
    return true;
  }

  // A string without escapes is a view of the document; one with escapes is put together elsewhere.
  bool string(std::string_view &out) {
    const std::size_t open = at_++;
    const std::size_t start = at_;
    bool escaped = false;
    decoded_.clear();
    for (;;) {
      const std::size_t run = at_;
      if (!plain_run(open)) {
        return false;
      }
      if (peek() == '"') {
        if (!escaped) {
          out = text_.substr(start, at_++ - start);
          return true;
        }
        decoded_.append(text_, run, at_++ - run);
        out = keep(decoded_);
        return true;
      }
      escaped = true;
      decoded_.append(text_, run, at_ - run);
      if (!escape()) {
        return false;
      }
    }
  }

  // Up to the next quote or backslash.
  bool plain_run(std::size_t open) {
    for (;;) {
      const int byte = peek();
      if (byte < 0) {
        return fail_at(open, "the string has no closing quote");
      }
      if (byte == '"' || byte == '\\') {
        return true;
      }
      if (byte == '\n') {
        return fail_at(open, "the string has no closing quote on its line");
      }
      if (byte < 0x20) {
        return fail("a control character in a string is written \\u00" + std::string(byte < 0x10 ? "0" : "1") +
                    "0123456789abcdef"[byte & 0xF]);
      }
      const std::size_t length = utf8_length(text_.substr(at_, 4));
      if (length == 0) {
        return fail("the text is not UTF-8");
      }
      at_ += length;
    }
  }

  std::string_view keep(const std::string &text) {
    auto *place = static_cast<char *>(document_.memory.allocate(text.size() + 1, 1));
    std::memcpy(place, text.c_str(), text.size() + 1);
    return {place, text.size()};
  }

  bool escape() {
    static constexpr std::string_view kLetters = "\"\\/bfnrt";
    static constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
    const std::size_t start = at_++;
    const std::size_t letter = at_end() ? std::string_view::npos : kLetters.find(text_[at_]);
    if (letter != std::string_view::npos) {
      decoded_.push_back(kMeanings[letter]);
      ++at_;
      return true;
    }
    return take('u') ? unicode_escape(start) : fail_at(start, "no such escape in a string");
  }

  bool unicode_escape(std::size_t start) {
    std::optional<uint32_t> code = four_hex_digits();
    if (code && *code >= 0xD800 && *code <= 0xDBFF) {
      const bool paired = take('\\') && take('u');
      const std::optional<uint32_t> low = paired ? four_hex_digits() : std::nullopt;
      if (!low || *low < 0xDC00 || *low > 0xDFFF) {
        return fail_at(start, "half of a surrogate pair");
      }
      code = 0x10000 + ((*code & 0x3FF) << 10 | (*low & 0x3FF));
    } else if (code && *code >= 0xDC00 && *code <= 0xDFFF) {
      return fail_at(start, "half of a surrogate pair");
    }
    if (!code) {
      return fail_at(start, "\\u needs four hexadecimal digits");
    }
    if (*code == 0) {
      return fail_at(start, "\\u0000 cannot stand in a string");
    }
    append_utf8(decoded_, *code);
    return true;
  }

  std::optional<uint32_t> four_hex_digits() {
    const std::string_view digits = text_.substr(at_, 4);
    uint32_t code = 0;
    const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), code, 16).ptr;
    if (digits.size() < 4 || end != digits.data() + 4) {
      return std::nullopt;
    }
    at_ += 4;
    return code;
  }

  // A member's name and colon; the value that is due comes to it later.
  bool member_name() {
    JsonMember member{};
    member.offset = here();
    if (peek() != '"') {
      return fail_expecting("a member's name in quotes");
    }
    if (!string(member.name)) {
      return false;
    }
    skip_blanks();
    if (!take(':')) {
      return fail_expecting("\":\" after a member's name");
    }
    skip_blanks();
    members_.push_back(member);
    return true;
  }

  JsonDocument &document_;
  std::string_view text_;
  JsonFault &fault_;
  std::size_t at_ = 0;
  std::vector<Open> open_;           // innermost last
  std::vector<JsonValue> items_;     // of the open arrays
  std::vector<JsonMember> members_;  // of the open objects
  std::string decoded_;              // the string being read
};

}  // namespace

bool read_json(JsonDocument &document, JsonFault &fault) {
  return Reader(document, fault).read();
}

}  // namespace cli_check
