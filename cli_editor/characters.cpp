#include "cli_editor/characters.hpp"

#include <algorithm>

namespace cli_editor {

namespace {

constexpr size_t kLongestCluster = 32;  // more marks than that on one character are no text
constexpr char32_t kJoiner = 0x200d;
constexpr char32_t kEmojiStyle = 0xfe0f;

unsigned char byte_at(std::string_view text, size_t at) {
  return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

bool between(char32_t c, char32_t low, char32_t high) {
  return c >= low && c <= high;
}

bool is_flag_letter(char32_t c) {
  return between(c, 0x1f1e6, 0x1f1ff);
}

bool is_skin_tone(char32_t c) {
  return between(c, 0x1f3fb, 0x1f3ff);
}

// From here on terminals know or do not know a character and its width.
bool is_pictograph(char32_t c) {
  return c >= 0x1f000 && c < 0x20000;
}

// What would turn the direction of the text around it.
bool is_direction(char32_t c) {
  return between(c, 0x202a, 0x202e) || between(c, 0x2066, 0x2069) || between(c, 0x200e, 0x200f) || c == 0x61c;
}

struct Character {
  char32_t code = 0;
  size_t length = 0;
};

// Length 0 for none: the text's end, a byte that is none, a control.
Character character_at(std::string_view text, size_t at) {
  bool valid = false;
  const size_t length = at < text.size() ? character_length(text.substr(at), valid) : 0;
  if (!valid || length == 0) return {};
  char32_t code = length == 1 ? byte_at(text, at) : byte_at(text, at) & (0x7fU >> length);
  for (size_t i = 1; i < length; ++i) code = code << 6 | (byte_at(text, at + i) & 0x3fU);
  if (code < ' ' || between(code, 0x7f, 0x9f) || is_direction(code)) return {};
  return {code, length};
}

bool joins(Character next, bool pictograph, WidthOf width_of) {
  if (next.length == 0 || is_direction(next.code)) return false;
  return width_of(next.code) == 0 || (pictograph && is_skin_tone(next.code));
}

}  // namespace

size_t character_length(std::string_view text, bool &valid) {
  const unsigned char lead = byte_at(text, 0);
  valid = lead < 0x80;
  if (valid) return 1;
  const size_t length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
  if (lead < 0xc2 || lead > 0xf4) return 1;
  for (size_t i = 1; i < length; ++i) {
    if (i >= text.size()) return 0;
    const unsigned char byte = byte_at(text, i);
    // Overlong forms, surrogates and what lies above U+10FFFF show in the second byte.
    const unsigned char low = i > 1 ? 0x80 : lead == 0xe0 ? 0xa0 : lead == 0xf0 ? 0x90 : 0x80;
    const unsigned char high = i > 1 ? 0xbf : lead == 0xed ? 0x9f : lead == 0xf4 ? 0x8f : 0xbf;
    if (byte < low || byte > high) return 1;
  }
  valid = true;
  return length;
}

Cluster first_cluster(std::string_view text, WidthOf width_of) {
  const unsigned char first = byte_at(text, 0);
  if (first == '\t') return {Cluster::Kind::kTab, 1, 0, 0};
  if (first < ' ' || first == 0x7f) return {Cluster::Kind::kControl, 1, 0, 0};
  const Character base = character_at(text, 0);
  const int base_width = base.length == 0 ? -1 : width_of(base.code);
  if (base_width <= 0) {
    bool valid = false;
    return {Cluster::Kind::kBytes, std::max<size_t>(1, character_length(text, valid)), 0, 0};
  }
  const auto width = static_cast<size_t>(base_width);
  Cluster cluster{is_pictograph(base.code) ? Cluster::Kind::kDoubtful : Cluster::Kind::kPlain, base.length, width,
                  width};
  bool wide = false;
  const auto take = [&](Character next) {
    cluster.length += next.length;
    cluster.reach += static_cast<size_t>(std::max(0, width_of(next.code)));
  };
  Character next = character_at(text, cluster.length);
  if (is_flag_letter(base.code) && is_flag_letter(next.code)) {
    take(next);
    wide = true;
    next = character_at(text, cluster.length);
  }
  while (joins(next, is_pictograph(base.code) || wide, width_of) && cluster.length + next.length <= kLongestCluster) {
    wide = wide || next.code == kEmojiStyle || is_skin_tone(next.code);
    take(next);
    const bool joined = next.code == kJoiner;
    next = character_at(text, cluster.length);
    const bool pictures = base.code >= 0x2000 && next.code >= 0x2000 && width_of(next.code) > 0;
    if (joined && pictures && cluster.length + next.length <= kLongestCluster) {
      take(next);
      wide = true;
      next = character_at(text, cluster.length);
    }
  }
  if (wide) {
    cluster.kind = Cluster::Kind::kDoubtful;
    cluster.width = 2;
    cluster.reach = std::max<size_t>(cluster.reach, 2);
  }
  return cluster;
}

std::string spelling(std::string_view cluster, Cluster::Kind kind) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const char c : cluster) {
    const auto byte = static_cast<unsigned char>(c);
    if (kind == Cluster::Kind::kControl) {
      text += {'^', static_cast<char>(byte ^ 0x40)};
    } else {
      text += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  return text;
}

std::string spelt_out(std::string_view text, WidthOf width_of) {
  std::string out;
  while (!text.empty()) {
    const Cluster cluster = first_cluster(text, width_of);
    const std::string_view bytes = text.substr(0, cluster.length);
    if (cluster.kind == Cluster::Kind::kTab) {
      out += ' ';
    } else if (cluster.kind == Cluster::Kind::kControl || cluster.kind == Cluster::Kind::kBytes) {
      out += spelling(bytes, cluster.kind);
    } else {
      out += bytes;
    }
    text.remove_prefix(cluster.length);
  }
  return out;
}

size_t columns_of(std::string_view text, WidthOf width_of) {
  size_t columns = 0;
  while (!text.empty()) {
    const Cluster cluster = first_cluster(text, width_of);
    columns += cluster.kind == Cluster::Kind::kControl ? 2
               : cluster.kind == Cluster::Kind::kBytes ? 4 * cluster.length
                                                       : cluster.width;
    text.remove_prefix(cluster.length);
  }
  return columns;
}

}  // namespace cli_editor
