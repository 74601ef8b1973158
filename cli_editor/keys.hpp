// Keys out of the bytes that a terminal sends, however they are cut.
#ifndef CLI_EDITOR_KEYS_HPP
#define CLI_EDITOR_KEYS_HPP

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace cli_editor {

// A key's number: a character (controls as they come), a byte that is none, or one of those below; with modifiers.
inline constexpr char32_t kByteKeys = 0x110000;   // and the byte
inline constexpr char32_t kOtherKeys = 0x110100;  // keys that send sequences
inline constexpr char32_t kUp = kOtherKeys, kDown = kUp + 1, kRight = kUp + 2, kLeft = kUp + 3;
inline constexpr char32_t kHome = kUp + 4, kEnd = kUp + 5, kInsert = kUp + 6, kDelete = kUp + 7;
inline constexpr char32_t kPageUp = kUp + 8, kPageDown = kUp + 9;
inline constexpr char32_t kFunction = kUp + 10;    // F1, and the others behind it
inline constexpr char32_t kUnknownKey = kUp + 40;  // a sequence that stands for nothing known here
inline constexpr char32_t kPaste = kUp + 41;       // text that was pasted, whole
inline constexpr char32_t kAlt = 1 << 24, kCtrl = 1 << 25, kShift = 1 << 26;

struct Key {
  char32_t code = kUnknownKey;
  std::string text;  // its bytes, of a character; what was pasted
};

class KeyDecoder {
 public:
  // Bytes beyond what is kept for later are dropped.
  void feed(std::string_view bytes);

  // The next key; none when more bytes must be seen. `expired`: what waits is all there is, a lone escape is a key.
  std::optional<Key> next(bool expired = false);

  // The next character as it is, whatever it would do as a key.
  std::optional<Key> next_literal();

  // Bytes wait that a pause would make a key of.
  bool holds_escape() const { return !in_paste_ && bytes_.size() == begin_ + 1 && bytes_[begin_] == '\033'; }

  // What follows the interrupt key, and whether there was one; bytes before it are forgotten.
  bool skip_to_interrupt();
  void forget();
  void wipe();  // what is not taken yet stays

 private:
  std::string_view rest() const { return std::string_view(bytes_).substr(begin_); }
  void drop(size_t count);
  std::optional<Key> take(size_t count, char32_t code);
  std::optional<Key> take_character(std::string_view text, size_t skipped, char32_t modifiers, bool expired);
  std::optional<Key> take_sequence(size_t start, char32_t modifiers, bool expired);
  std::optional<Key> take_paste();

  std::string bytes_;
  size_t begin_ = 0;  // of what is not taken yet
  bool in_paste_ = false;
  std::string pasted_;
};

}  // namespace cli_editor

#endif
