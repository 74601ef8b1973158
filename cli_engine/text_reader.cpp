#include "cli_engine/text_reader.hpp"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "cli_engine/language_table.hpp"
#include "cli_engine/privilege_index.hpp"
#include "libglobal/report.hpp"

#ifdef CLI_ENGINE_TEXT_READER

// A name of its own: a host may hold another version of the same headers.
#define RAPIDJSON_NAMESPACE cli_engine_rapidjson
#define RAPIDJSON_NAMESPACE_BEGIN namespace cli_engine_rapidjson {
#define RAPIDJSON_NAMESPACE_END }
#define RAPIDJSON_ASSERT(expression) static_cast<void>(0)
#define RAPIDJSON_HAS_STDSTRING 0
#include <rapidjson/reader.h>

namespace cli_engine {
namespace {

namespace rapid = cli_engine_rapidjson;

constexpr const char *kSource = "cli_engine/loader";

// ---- Bytes that no document holds ----

bool continues(unsigned char c) {
  return (c & 0xC0U) == 0x80U;
}

// The bytes of the character at `at`, or 0 when it is none: broken off, longer than it needs to be, half of a pair.
std::size_t character_size(const unsigned char *at, std::size_t left) {
  const unsigned char first = at[0];
  if (first < 0x80) {
    return first == 0 ? 0 : 1;
  }
  const std::size_t size = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || size > left) {
    return 0;
  }
  for (std::size_t i = 1; i < size; i++) {
    if (!continues(at[i])) {
      return 0;
    }
  }
  const bool is_overlong = (first == 0xE0 && at[1] < 0xA0) || (first == 0xF0 && at[1] < 0x90);
  const bool is_outside = (first == 0xED && at[1] > 0x9F) || (first == 0xF4 && at[1] > 0x8F);
  return is_overlong || is_outside ? 0 : size;
}

// The place of the first byte that is NUL or no UTF-8; the size when there is none.
std::size_t sound_bytes(const char *text, std::size_t size) {
  const auto *bytes = reinterpret_cast<const unsigned char *>(text);
  std::size_t at = 0;
  while (at < size) {
    std::uint64_t eight = 0;
    if (size - at >= sizeof eight) {
      std::memcpy(&eight, bytes + at, sizeof eight);
      constexpr std::uint64_t kOnes = 0x0101010101010101U;
      if (((eight | (eight - kOnes)) & (0x80 * kOnes)) == 0) {  // ASCII, and none of them NUL
        at += sizeof eight;
        continue;
      }
    }
    const std::size_t character = character_size(bytes + at, size - at);
    if (character == 0) {
      return at;
    }
    at += character;
  }
  return at;
}

// By the backslashes, which most texts hold few of.
bool holds_numbered_escape(const char *text, std::size_t size) {
  const char *const end = text + size;
  while (text < end) {
    const auto *const at = static_cast<const char *>(std::memchr(text, '\\', static_cast<std::size_t>(end - text)));
    if (at == nullptr || at[1] == 'u') {
      return at != nullptr;
    }
    text = at + 2;
  }
  return false;
}

// ---- Events of the reader -> items ----

struct Allocator {
  [[maybe_unused]] static const bool kNeedFree = true;
  static void *Malloc(std::size_t size) {
    return size == 0 ? nullptr : libglobal::xmalloc(size, LIBGLOBAL_CALLER(kSource));
  }
  static void *Realloc(void *block, std::size_t /*old*/, std::size_t size) {
    if (size == 0) {
      std::free(block);
      return nullptr;
    }
    return libglobal::xrealloc(block, size, LIBGLOBAL_CALLER(kSource));
  }
  static void Free(void *block) { std::free(block); }
};

using Stream = rapid::GenericInsituStringStream<rapid::UTF8<>>;

class Handler {
 public:
  Handler(const char *text, std::size_t size, Stream &stream, TextItems &items, Vector<std::uint32_t> &repeated)
      : text_(text),
        has_numbered_escapes_(holds_numbered_escape(text, size)),
        stream_(stream),
        items_(items),
        repeated_(repeated) {}

  [[nodiscard]] const ReadFault &fault() const { return fault_; }

  bool Null() { return add_before(Shape::kNull, 4); }
  bool Bool(bool value) { return add_before(value ? Shape::kTrue : Shape::kFalse, value ? 4 : 5); }
  bool Int(int) { return false; }  // numbers come as they are written
  bool Uint(unsigned) { return false; }
  bool Int64(std::int64_t) { return false; }
  bool Uint64(std::uint64_t) { return false; }
  bool Double(double) { return false; }

  bool RawNumber(const char *digits, std::size_t length, bool /*copy*/) {
    const std::string_view number{digits, length};
    if (number.find_first_of(".eE") != std::string_view::npos) {
      if (std::isinf(std::strtod(digits, nullptr))) {
        return refuse(digits, "the number is too large");
      }
      return add(Shape::kReal, digits, length);
    }
    json_int_t value = 0;
    if (std::from_chars(digits, digits + length, value).ec != std::errc{}) {
      return refuse(digits, "the integer is too large");
    }
    return add(Shape::kInteger, digits, length);
  }

  bool String(const char *text, std::size_t length, bool /*copy*/) {
    if (has_numbered_escapes_ && sound_bytes(text, length) != length) {
      return refuse(text - 1, "the string holds an escaped NUL or half of an escaped character");
    }
    return add(Shape::kString, text - 1, length);
  }
  bool Key(const char *text, std::size_t length, bool copy) { return String(text, length, copy); }

  bool StartObject() { return open(Shape::kObject); }
  bool StartArray() { return open(Shape::kArray); }
  bool EndObject(std::size_t members) {
    const std::uint32_t object = close();
    if (members > kFewMembers) {
      find_repeated_among_many(object, members);
    } else if (members > 1) {
      find_repeated_among_few(object);
    }
    return true;
  }
  bool EndArray(std::size_t) {
    close();
    return true;
  }

 private:
  static constexpr std::size_t kFewMembers = 12;

  bool add(Shape shape, const char *at, std::size_t extent) {
    items_.push_back({static_cast<std::uint32_t>(at - text_), static_cast<std::uint32_t>(shape) & 0xFU,
                      static_cast<std::uint32_t>(extent) & ((1U << 28U) - 1)});
    return true;
  }

  // A literal that the reader has just gone over.
  bool add_before(Shape shape, std::size_t length) { return add(shape, text_ + stream_.Tell() - length, length); }

  bool open(Shape shape) {
    const char *at = text_ + stream_.Tell();
    if (open_.size() >= static_cast<std::size_t>(kDeepestText)) {
      return refuse(at, "objects and arrays nest deeper than 2048 levels");
    }
    open_.push_back(static_cast<std::uint32_t>(items_.size()));
    return add(shape, at, 0);
  }

  // Its place among the items.
  std::uint32_t close() {
    const std::uint32_t place = open_.back();
    open_.pop_back();
    items_[place].extent = static_cast<std::uint32_t>(items_.size() - place - 1) & ((1U << 28U) - 1);
    return place;
  }

  bool refuse(const char *at, const char *text) {
    fault_ = {static_cast<std::size_t>(at - text_), text};
    return false;
  }

  [[nodiscard]] std::string_view name_of(const TextItem &item) const { return {text_ + item.offset + 1, item.extent}; }

  // Calls visit with the item of each member's name.
  template <class Visit>
  void for_each_name(std::uint32_t object, Visit visit) {
    std::size_t at = object + 1;
    const std::size_t end = at + items_[object].extent;
    while (at < end) {
      visit(items_[at]);
      const TextItem &value = items_[at + 1];
      at += 2 + (value.shape <= static_cast<std::uint32_t>(Shape::kArray) ? value.extent : 0);
    }
  }

  // Eight bytes tell nearly all names apart.
  [[nodiscard]] std::uint64_t signature(const TextItem &item) const {
    std::uint64_t eight = 0;
    std::memcpy(&eight, text_ + item.offset + 1, item.extent < 8 ? item.extent : 8);
    return eight + (std::uint64_t{item.extent} << 59U) + item.extent;
  }

  void find_repeated_among_few(std::uint32_t object) {
    std::uint64_t signatures[kFewMembers];
    const TextItem *names[kFewMembers];
    std::size_t count = 0;
    for_each_name(object, [&](const TextItem &item) {
      const std::uint64_t own = signature(item);
      for (std::size_t i = 0; i < count; i++) {
        if (signatures[i] == own && name_of(*names[i]) == name_of(item)) [[unlikely]] {
          repeated_.push_back(item.offset);
          break;
        }
      }
      signatures[count] = own;
      names[count++] = &item;
    });
  }

  void find_repeated_among_many(std::uint32_t object, std::size_t members) {
    std::size_t places = 2 * kFewMembers;
    while (places < members * 2) {
      places *= 2;
    }
    std::size_t mask = 1;
    while (mask < places) {
      mask *= 2;
    }
    Vector<const TextItem *> table;
    table.resize(mask--);
    for_each_name(object, [&](const TextItem &item) {
      const std::uint64_t hashed = hash(kHashSeed, name_of(item));
      auto place = static_cast<std::size_t>(hashed ^ (hashed >> 32U));
      while (table[place & mask] != nullptr && name_of(*table[place & mask]) != name_of(item)) {
        place++;
      }
      if (table[place & mask] != nullptr) {
        repeated_.push_back(item.offset);
      }
      table[place & mask] = &item;
    });
  }

  const char *text_;
  bool has_numbered_escapes_;  // without them every string is as sound as the text
  Stream &stream_;
  TextItems &items_;
  Vector<std::uint32_t> &repeated_;
  Vector<std::uint32_t> open_;  // places of the objects and arrays that have no end yet
  ReadFault fault_{};
};

const char *message_of(rapid::ParseErrorCode code) {
  switch (code) {
    case rapid::kParseErrorDocumentEmpty:
      return "the text is empty";
    case rapid::kParseErrorObjectMissName:
      return "a member's name in quotes is due here";
    case rapid::kParseErrorObjectMissColon:
      return "a colon is due here";
    case rapid::kParseErrorObjectMissCommaOrCurlyBracket:
      return "a comma or \"}\" is due here";
    case rapid::kParseErrorArrayMissCommaOrSquareBracket:
      return "a comma or \"]\" is due here";
    case rapid::kParseErrorStringUnicodeEscapeInvalidHex:
      return "four hexadecimal digits are due behind \"\\u\"";
    case rapid::kParseErrorStringUnicodeSurrogateInvalid:
      return "the string holds half of an escaped character";
    case rapid::kParseErrorStringEscapeInvalid:
      return "the backslash begins no escape that there is";
    case rapid::kParseErrorStringMissQuotationMark:
      return "the string has no end";
    case rapid::kParseErrorStringInvalidEncoding:
      return "the string holds a line break or another control character: write it as an escape";
    case rapid::kParseErrorNumberTooBig:
      return "the number is too large";
    case rapid::kParseErrorNumberMissFraction:
      return "a digit is due behind the point";
    case rapid::kParseErrorNumberMissExponent:
      return "a digit is due in the exponent";
    default:
      return "a value is due here";
  }
}

}  // namespace

bool read_text(char *text, std::size_t size, bool alone, TextItems &items, Vector<std::uint32_t> &repeated,
               ReadFault &fault) {
  constexpr unsigned kFlags = rapid::kParseInsituFlag | rapid::kParseIterativeFlag | rapid::kParseNumbersAsStringsFlag |
                              rapid::kParseStopWhenDoneFlag;
  if (size >= 3 && std::memcmp(text, "\xEF\xBB\xBF", 3) == 0) {
    fault = {0, "the text begins with a byte order mark: remove it"};
    return false;
  }
  if (const std::size_t sound = alone ? sound_bytes(text, size) : size; sound != size) {
    fault = {sound, text[sound] == '\0' ? "the text holds a NUL byte" : "the text is not UTF-8 here"};
    return false;
  }
  Stream stream(text);
  Handler handler(text, size, stream, items, repeated);
  rapid::GenericReader<rapid::UTF8<>, rapid::UTF8<>, Allocator> reader;
  const rapid::ParseResult result = reader.Parse<kFlags>(stream, handler);
  if (result.IsError()) {
    const bool is_own = result.Code() == rapid::kParseErrorTermination;
    fault = is_own ? handler.fault() : ReadFault{result.Offset(), message_of(result.Code())};
    return false;
  }
  const std::size_t end = stream.Tell();
  const std::size_t rest = end + std::strspn(text + end, " \t\r\n");
  if (alone && rest != size) {
    fault = {rest, "something follows the end of the document"};
    return false;
  }
  return true;
}

}  // namespace cli_engine

#else

namespace cli_engine {

bool read_text(char * /*text*/, std::size_t /*size*/, bool /*alone*/, TextItems & /*items*/,
               Vector<std::uint32_t> & /*repeated*/, ReadFault &fault) {
  fault = {0, "this library was built without the reader of texts"};
  return false;
}

}  // namespace cli_engine

#endif
