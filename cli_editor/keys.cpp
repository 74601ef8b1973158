#include "cli_editor/keys.hpp"

#include <algorithm>
#include <cstring>

#include "cli_editor/characters.hpp"

namespace cli_editor {

namespace {

constexpr size_t kMostWaiting = size_t{1} << 20;
constexpr size_t kLongestPaste = size_t{1} << 20;  // a longer one comes in pieces
constexpr size_t kLongestSequence = 64;            // a longer one is swallowed as it comes
constexpr char kEscape = '\033';
constexpr char kInterrupt = '\3';
constexpr std::string_view kPasteEnd = "\033[201~";
constexpr unsigned kPasteBegin = 200;

bool between(char c, char low, char high) {
  return c >= low && c <= high;
}

struct Final {
  char final;
  char32_t code;
};
// CSI and SS3 with these last bytes.
constexpr Final kFinals[] = {
    {'A', kUp},
    {'B', kDown},
    {'C', kRight},
    {'D', kLeft},
    {'H', kHome},
    {'F', kEnd},
    {'P', kFunction},
    {'Q', kFunction + 1},
    {'R', kFunction + 2},
    {'S', kFunction + 3},
    {'M', U'\r'},
    {'I', U'\t'},
    {'Z', U'\t' | kShift},
    {'X', U'='},
    {'j', U'*'},
    {'k', U'+'},
    {'l', U','},
    {'m', U'-'},
    {'n', U'.'},
    {'o', U'/'},
    // an older terminal's arrows with Ctrl
    {'a', kUp | kCtrl},
    {'b', kDown | kCtrl},
    {'c', kRight | kCtrl},
    {'d', kLeft | kCtrl},
};
struct Number {
  unsigned number;
  char32_t code;
};
// CSI NUMBER ~
constexpr Number kNumbers[] = {
    {1, kHome},          {2, kInsert},        {3, kDelete},         {4, kEnd},
    {5, kPageUp},        {6, kPageDown},      {7, kHome},           {8, kEnd},
    {11, kFunction},     {12, kFunction + 1}, {13, kFunction + 2},  {14, kFunction + 3},
    {15, kFunction + 4}, {17, kFunction + 5}, {18, kFunction + 6},  {19, kFunction + 7},
    {20, kFunction + 8}, {21, kFunction + 9}, {23, kFunction + 10}, {24, kFunction + 11},
};

struct Parameters {
  unsigned numbers[3] = {};
  bool plain = true;  // digits and separators only
};

Parameters parameters_of(std::string_view text) {
  Parameters parameters;
  size_t place = 0;
  for (const char c : text) {
    if (c == ';') {
      ++place;
    } else if (!between(c, '0', '9')) {
      parameters.plain = false;
    } else if (place < std::size(parameters.numbers)) {
      unsigned &number = parameters.numbers[place];
      number = std::min(number * 10 + static_cast<unsigned>(c - '0'), 0xffffffU / 10);
    }
  }
  return parameters;
}

// As terminals count them: 1 and the sum of 1 for Shift, 2 for Alt, 4 for Ctrl, 8 for Meta.
char32_t modifiers_of(unsigned number) {
  const unsigned bits = number == 0 ? 0 : number - 1;
  return ((bits & 1) != 0 ? kShift : 0) | ((bits & (2 | 8)) != 0 ? kAlt : 0) | ((bits & 4) != 0 ? kCtrl : 0);
}

// A character that a terminal reports by its number, with modifiers: Ctrl makes of a letter what it always did.
char32_t reported(unsigned number, char32_t modifiers) {
  if ((modifiers & kCtrl) != 0 && number >= '@' && number < 0x7f) return (number & 0x1f) | (modifiers & kAlt);
  return number < kByteKeys ? number | (modifiers & kAlt) : kUnknownKey;
}

char32_t code_of(std::string_view parameter_bytes, char final, bool csi) {
  const Parameters given = parameters_of(parameter_bytes);
  if (!given.plain) return kUnknownKey;
  const char32_t modifiers = modifiers_of(csi || given.numbers[1] != 0 ? given.numbers[1] : given.numbers[0]);
  if (final == 'u' && csi) return reported(given.numbers[0], modifiers);
  if (final == '~' && given.numbers[0] == 27) return reported(given.numbers[2], modifiers);
  if (final == '~' || final == '^' || final == '@') {
    const char32_t older = final == '^' ? kCtrl : final == '@' ? kCtrl | kShift : 0;
    for (const Number &row : kNumbers)
      if (row.number == given.numbers[0]) return row.code | modifiers | older;
    return kUnknownKey;
  }
  if (csi && (final == 'M' || final == 'I' || final == 'X' || final >= 'j')) return kUnknownKey;
  if (!csi && between(final, 'p', 'y')) return static_cast<char32_t>(final - 'p' + '0');
  for (const Final &row : kFinals)
    if (row.final == final) return row.code | modifiers;
  return kUnknownKey;
}

}  // namespace

void KeyDecoder::feed(std::string_view bytes) {
  bytes_ += bytes.substr(0, kMostWaiting - std::min(kMostWaiting, rest().size()));
}

void KeyDecoder::drop(size_t count) {
  begin_ += count;
  if (begin_ >= bytes_.size() || begin_ > size_t{1} << 16) {
    bytes_.erase(0, begin_);
    begin_ = 0;
  }
}

void KeyDecoder::forget() {
  bytes_.clear();
  pasted_.clear();
  begin_ = 0;
  in_paste_ = false;
}

void KeyDecoder::wipe() {
  bytes_.erase(0, begin_);
  begin_ = 0;
  explicit_bzero(bytes_.data() + bytes_.size(), bytes_.capacity() - bytes_.size());
}

bool KeyDecoder::skip_to_interrupt() {
  const size_t at = rest().rfind(kInterrupt);
  if (at == std::string_view::npos) return false;
  const std::string after(rest().substr(at + 1));
  forget();
  bytes_ = after;
  return true;
}

std::optional<Key> KeyDecoder::take(size_t count, char32_t code) {
  Key key{code, {}};
  drop(count);
  if (code == U'\t' || (code >= ' ' && code < 0x7f)) key.text = std::string(1, static_cast<char>(code));
  return key;
}

std::optional<Key> KeyDecoder::next(bool expired) {
  if (in_paste_) return take_paste();
  const std::string_view text = rest();
  if (text.empty()) return std::nullopt;
  if (text[0] != kEscape) return take_character(text, 0, 0, expired);
  // An escape before a sequence is Alt with its key.
  const bool doubled = text.size() > 1 && text[1] == kEscape;
  const size_t start = doubled ? 2 : 1;
  if (text.size() <= start) {
    if (!expired) return std::nullopt;
    return take(1, kEscape);
  }
  if (text[start] == '[' || text[start] == 'O') return take_sequence(start, doubled ? kAlt : 0, expired);
  if (doubled) return take(1, kEscape);
  return take_character(text.substr(1), 1, kAlt, expired);
}

std::optional<Key> KeyDecoder::take_character(std::string_view text, size_t skipped, char32_t modifiers, bool expired) {
  bool valid = false;
  const size_t length = character_length(text, valid);
  if (length == 0 && !expired) return std::nullopt;
  Key key;
  key.text = text.substr(0, std::max<size_t>(1, length));
  const auto lead = static_cast<unsigned char>(text[0]);
  if (!valid) {
    key.code = kByteKeys + lead;
  } else {
    key.code = length == 1 ? lead : lead & (0x7fU >> length);
    for (size_t i = 1; i < length; ++i) key.code = key.code << 6 | (static_cast<unsigned char>(text[i]) & 0x3fU);
  }
  key.code |= modifiers;
  drop(skipped + key.text.size());
  return key;
}

// A sequence whose `[` or `O` stands at `start`. A byte that cannot belong to it ends it and is a key of its own.
std::optional<Key> KeyDecoder::take_sequence(size_t start, char32_t modifiers, bool expired) {
  const std::string_view text = rest();
  const bool csi = text[start] == '[';
  size_t at = start + 1;
  if (csi && at < text.size() && text[at] == '[') {  // a console's function keys: one byte more
    if (at + 1 >= text.size()) return std::nullopt;
    const char last = text[at + 1];
    return take(at + (between(last, ' ', '~') ? 2 : 1),
                between(last, 'A', 'E') ? kFunction + static_cast<char32_t>(last - 'A') : kUnknownKey);
  }
  while (at < text.size() && between(text[at], csi ? ' ' : '0', '?')) ++at;
  if (at >= text.size()) {
    if (expired && text.size() == start + 1) return take_character(text.substr(start), start, modifiers | kAlt, true);
    if (at > kLongestSequence) {  // its middle is of no use any more
      const std::string kept(text.substr(0, start + 2));
      bytes_.replace(begin_, at, kept);
    }
    return std::nullopt;
  }
  const char final = text[at];
  const std::string_view parameters = text.substr(start + 1, at - start - 1);
  if (!between(final, '@', '~')) return take(at, kUnknownKey);
  if (csi && final == '~' && parameters_of(parameters).numbers[0] == kPasteBegin) {
    drop(at + 1);
    in_paste_ = true;
    return take_paste();
  }
  return take(at + 1, code_of(parameters, final, csi) | modifiers);
}

// Pasted text is taken whole, so that the lines in it wait together. An interrupt ends a paste whose end was lost.
std::optional<Key> KeyDecoder::take_paste() {
  const std::string_view text = rest();
  const size_t end = text.find(kPasteEnd);
  const size_t interrupt = text.substr(0, end).find(kInterrupt);
  if (interrupt != std::string_view::npos) {
    drop(interrupt);
    in_paste_ = false;
    pasted_.clear();
    return next();
  }
  // The beginning of the mark may have come, its end not yet.
  const size_t safe = end != std::string_view::npos ? end : text.size() - std::min(text.size(), kPasteEnd.size() - 1);
  pasted_ += text.substr(0, safe);
  const bool whole = end != std::string_view::npos;
  drop(safe + (whole ? kPasteEnd.size() : 0));
  if (!whole && pasted_.size() < kLongestPaste) return std::nullopt;
  in_paste_ = !whole;
  Key key{kPaste, std::move(pasted_)};
  pasted_.clear();
  return key;
}

std::optional<Key> KeyDecoder::next_literal() {
  if (in_paste_) return next();
  if (rest().empty()) return std::nullopt;
  return take_character(rest(), 0, 0, false);
}

}  // namespace cli_editor
