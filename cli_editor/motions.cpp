#include "cli_editor/motions.hpp"

#include <algorithm>

namespace cli_editor {

namespace {

bool is_blank(char c) {
  return c == ' ' || c == '\t';
}

bool is_letter(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= 0x80 || (byte >= '0' && byte <= '9') || ((byte | 0x20) >= 'a' && (byte | 0x20) <= 'z');
}

// 0 for what separates words; characters of one word have the same number.
int kind_at(const Line &line, size_t place, Words words) {
  const char c = line.at(place);
  if (words == Words::kLetters) return is_letter(c) ? 1 : 0;
  if (is_blank(c) || place >= line.size()) return 0;
  return words == Words::kBlanks || is_letter(c) || c == '_' ? 1 : 2;
}

}  // namespace

size_t word_start_before(const Line &line, size_t from, Words words) {
  while (from > 0 && kind_at(line, line.before(from), words) == 0) from = line.before(from);
  if (from == 0) return 0;
  const int kind = kind_at(line, line.before(from), words);
  while (from > 0 && kind_at(line, line.before(from), words) == kind) from = line.before(from);
  return from;
}

size_t word_end_behind(const Line &line, size_t from, Words words) {
  while (from < line.size() && kind_at(line, from, words) == 0) from = line.after(from);
  const int kind = kind_at(line, from, words);
  while (from < line.size() && kind_at(line, from, words) == kind) from = line.after(from);
  return from;
}

size_t word_start_behind(const Line &line, size_t from, Words words) {
  const int kind = kind_at(line, from, words);
  while (from < line.size() && kind != 0 && kind_at(line, from, words) == kind) from = line.after(from);
  while (from < line.size() && kind_at(line, from, words) == 0) from = line.after(from);
  return from;
}

size_t last_of_word_behind(const Line &line, size_t from, Words words) {
  return std::max(from, line.before(word_end_behind(line, line.after(from), words)));
}

std::optional<size_t> find_character(const Line &line, size_t from, std::string_view character, bool back, size_t nth) {
  for (size_t place = from; back ? place > 0 : place < line.size();) {
    place = back ? line.before(place) : line.after(place);
    if (place < line.size() && line.part(place, line.after(place)) == character && --nth == 0) return place;
  }
  return std::nullopt;
}

std::optional<size_t> matching_bracket(const Line &line, size_t from) {
  constexpr std::string_view kBrackets = "()[]{}";
  const size_t open = line.text().find_first_of(kBrackets, from);
  if (open == std::string::npos) return std::nullopt;
  const size_t number = kBrackets.find(line.at(open));
  const char partner = kBrackets[number ^ 1];
  const bool back = (number & 1) != 0;
  size_t depth = 0;
  for (size_t at = open;; back ? --at : ++at) {
    if (line.at(at) == line.at(open)) ++depth;
    if (line.at(at) == partner && --depth == 0) return at;
    if (at == (back ? 0 : line.size())) return std::nullopt;
  }
}

std::string_view last_word(std::string_view line) {
  size_t begin = 0;
  size_t end = 0;
  char quote = 0;
  for (size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (quote == 0 && is_blank(c)) continue;
    if (quote == 0 && i > 0 && end < i) begin = i;
    if (c == '\\') {
      ++i;
    } else if (quote != 0) {
      if (c == quote) quote = 0;
    } else if (c == '"' || c == '\'') {
      quote = c;
    }
    end = std::min(i + 1, line.size());
  }
  return line.substr(begin, end - begin);
}

}  // namespace cli_editor
