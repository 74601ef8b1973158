#include "cli_shell/words.hpp"

#include <algorithm>
#include <cctype>

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
