#include "cli_shell/output/display_text.hpp"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace cli_shell {
namespace {

constexpr char kEscape = '\x1b';
constexpr size_t kLongestSequence = 256;  // a longer one is no sequence but rubbish

bool in_range(char c, unsigned char low, unsigned char high) {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= low && byte <= high;
}

bool is_plain(char c) {
  return in_range(c, 0x20, 0x7e) || c == '\n' || c == '\t';
}

// Lengths found at the start of a text; what is still open when the text ends may go on in the next piece.
struct Extent {
  enum class Kind { kWhole, kOpen, kNone } kind;
  size_t length = 0;
};

// A control sequence: ESC [ parameters, intermediates, one final byte.
Extent control_sequence(std::string_view text) {
  size_t i = 1;
  if (i < text.size() && text[i] != '[') return {Extent::Kind::kNone};
  ++i;
  while (i < text.size() && in_range(text[i], 0x30, 0x3f)) ++i;
  while (i < text.size() && in_range(text[i], 0x20, 0x2f)) ++i;
  if (i > kLongestSequence) return {Extent::Kind::kNone};
  if (i >= text.size()) return {Extent::Kind::kOpen};
  if (!in_range(text[i], 0x40, 0x7e)) return {Extent::Kind::kNone};
  return {Extent::Kind::kWhole, i + 1};
}

bool is_colour_sequence(std::string_view sequence) {
  return sequence.back() == 'm' && std::all_of(sequence.begin() + 2, sequence.end() - 1,
                                               [](char c) { return in_range(c, '0', '9') || c == ';'; });
}

// Lead bytes with the range of their first continuation byte, which keeps out overlong forms, surrogates and what lies
// above U+10FFFF.
struct Utf8Lead {
  size_t length;
  unsigned char first, last;
  unsigned char low, high;
};
constexpr Utf8Lead kUtf8Leads[] = {
    {2, 0xc2, 0xdf, 0x80, 0xbf}, {3, 0xe0, 0xe0, 0xa0, 0xbf}, {3, 0xe1, 0xec, 0x80, 0xbf}, {3, 0xed, 0xed, 0x80, 0x9f},
    {3, 0xee, 0xef, 0x80, 0xbf}, {4, 0xf0, 0xf0, 0x90, 0xbf}, {4, 0xf1, 0xf3, 0x80, 0xbf}, {4, 0xf4, 0xf4, 0x80, 0x8f},
};

Extent utf8_character(std::string_view text) {
  for (const Utf8Lead &lead : kUtf8Leads) {
    if (!in_range(text[0], lead.first, lead.last)) continue;
    for (size_t i = 1; i < lead.length; ++i) {
      if (i == text.size()) return {Extent::Kind::kOpen};
      if (!in_range(text[i], i == 1 ? lead.low : 0x80, i == 1 ? lead.high : 0xbf)) return {Extent::Kind::kNone};
    }
    return {Extent::Kind::kWhole, lead.length};
  }
  return {Extent::Kind::kNone};
}

// The controls U+0080 to U+009F, among them a one-character ESC [.
bool is_c1_control(std::string_view character) {
  return character.size() == 2 && character[0] == '\xc2' && in_range(character[1], 0x80, 0x9f);
}

// Characters that nobody sees, or that make others stand in another order than they have.
bool is_deceptive(std::string_view character) {
  constexpr struct {
    char32_t first, last;
  } kRanges[] = {{0xad, 0xad},     {0x61c, 0x61c},   {0x180e, 0x180e}, {0x200b, 0x200f},  {0x2028, 0x202e},
                 {0x2060, 0x206f}, {0xfeff, 0xfeff}, {0xfff9, 0xfffb}, {0xe0000, 0xe0fff}};
  char32_t code = static_cast<unsigned char>(character[0]) & (0x7fU >> character.size());
  for (const char c : character.substr(1)) code = code << 6 | (static_cast<unsigned char>(c) & 0x3fU);
  return std::any_of(std::begin(kRanges), std::end(kRanges),
                     [code](const auto &range) { return range.first <= code && code <= range.last; });
}

void show_byte(char c, std::string &out) {
  constexpr char kDigits[] = "0123456789abcdef";
  const auto byte = static_cast<unsigned char>(c);
  out += "\\x";
  out += kDigits[byte >> 4];
  out += kDigits[byte & 15];
}

}  // namespace

void DisplayText::feed(std::string_view piece, std::string &out) {
  if (kept_.empty()) return convert(piece, false, out);
  std::string text = std::move(kept_);
  kept_.clear();
  text += piece;
  convert(text, false, out);
}

void DisplayText::finish(std::string &out) {
  const std::string text = std::move(kept_);
  kept_.clear();
  convert(text, true, out);
}

// Takes the control sequence or lone escape byte at the start of the text; the bytes taken, 0 when more must be seen.
size_t DisplayText::take_escape(std::string_view text, bool at_end, std::string &out) const {
  const Extent sequence = control_sequence(text);
  if (sequence.kind == Extent::Kind::kOpen && !at_end) return 0;
  if (sequence.kind == Extent::Kind::kWhole) {
    const std::string_view whole = text.substr(0, sequence.length);
    const bool colour = is_colour_sequence(whole);
    if (colour && policy_.colours) out += whole;
    if (colour || !policy_.terminal) return whole.size();
  }
  show_byte(text[0], out);
  return 1;
}

// Takes the control byte or character at the start of the text; as take_escape.
size_t DisplayText::take_character(std::string_view text, bool at_end, std::string &out) const {
  Extent character = {Extent::Kind::kNone};
  if (in_range(text[0], 0x80, 0xff)) character = utf8_character(text);
  if (character.kind == Extent::Kind::kOpen && !at_end) return 0;
  const std::string_view whole = text.substr(0, character.length);
  if (character.kind == Extent::Kind::kWhole && !is_c1_control(whole) && !(policy_.terminal && is_deceptive(whole))) {
    out += whole;
    return whole.size();
  }
  if (character.kind == Extent::Kind::kWhole && policy_.terminal) {
    for (const char c : whole) show_byte(c, out);
    return whole.size();
  }
  if (policy_.terminal)
    show_byte(text[0], out);
  else
    out += text[0];
  return 1;
}

void DisplayText::convert(std::string_view text, bool at_end, std::string &out) {
  while (!text.empty()) {
    const auto plain = static_cast<size_t>(std::find_if_not(text.begin(), text.end(), is_plain) - text.begin());
    out += text.substr(0, plain);
    text.remove_prefix(plain);
    if (text.empty()) return;
    const size_t taken = text[0] == kEscape ? take_escape(text, at_end, out) : take_character(text, at_end, out);
    if (taken == 0) break;
    text.remove_prefix(taken);
  }
  kept_ = text;
}

std::string harmless(std::string_view text) {
  DisplayText display({.colours = false, .terminal = true});
  std::string out;
  display.feed(text, out);
  display.finish(out);
  return out;
}

std::string_view without_sequences(std::string_view line, std::string &buffer) {
  if (line.find(kEscape) == std::string_view::npos) return line;
  buffer.clear();
  while (!line.empty()) {
    const size_t start = std::min(line.find(kEscape), line.size());
    buffer += line.substr(0, start);
    line.remove_prefix(start);
    if (line.empty()) break;
    const Extent sequence = control_sequence(line);
    if (sequence.kind != Extent::Kind::kWhole) buffer += line[0];
    line.remove_prefix(sequence.kind == Extent::Kind::kWhole ? sequence.length : 1);
  }
  return buffer;
}

}  // namespace cli_shell
