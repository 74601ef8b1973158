#include "cli_shell/words.hpp"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>
#include <vector>

namespace cli_shell {

bool is_blank(char c) {
  return std::isspace(static_cast<unsigned char>(c)) != 0;
}

bool WordScanner::separates(char c) {
  if (escaping_) {
    escaping_ = false;
  } else if (c == '\\') {
    escaping_ = true;
  } else if (quote_ != 0) {
    if (c == quote_) quote_ = 0;
  } else if (c == '"' || c == '\'') {
    quote_ = c;
  } else {
    return is_blank(c);
  }
  return false;
}

size_t last_word_start(std::string_view line) {
  WordScanner scanner;
  size_t start = 0;
  for (size_t i = 0; i < line.size(); ++i)
    if (scanner.separates(line[i])) start = i + 1;
  return start;
}

// An edit distance of two at most, without regard to case; a swap of neighbours counts twice and so is within it.
bool differs_by_typing(std::string_view typed, std::string_view meant) {
  constexpr size_t kSlips = 2;
  if (typed.size() > meant.size() + kSlips) return false;
  std::vector<size_t> row(meant.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 0; i < typed.size(); ++i) {
    size_t diagonal = std::exchange(row[0], i + 1);
    for (size_t j = 0; j < meant.size(); ++j) {
      const bool same =
          std::tolower(static_cast<unsigned char>(typed[i])) == std::tolower(static_cast<unsigned char>(meant[j]));
      const size_t replaced = diagonal + (same ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
    }
  }
  return row.back() <= kSlips;
}

std::string quoted(std::string_view word) {
  const bool plain = !word.empty() && word != "|" && std::none_of(word.begin(), word.end(), [](char c) {
    return is_blank(c) || c == '"' || c == '\'' || c == '\\';
  });
  if (plain) return std::string(word);
  std::string text = "\"";
  for (const char c : word) {
    if (c == '"' || c == '\\') text += '\\';
    text += c;
  }
  return text + '"';
}

}  // namespace cli_shell
