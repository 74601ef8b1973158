#include "cli_engine/words.hpp"

#include <algorithm>

#include "libglobal/dyn_string.hpp"

namespace cli_engine {
namespace {

bool is_quote(char c) {
  return c == '"' || c == '\'';
}

bool is_plain(std::string_view text) {
  const auto special = [](char c) { return is_blank(c) || is_quote(c) || c == '\\'; };
  return !text.empty() && std::none_of(text.begin(), text.end(), special);
}

char best_quote(std::string_view text) {
  return text.find('"') != std::string_view::npos && text.find('\'') == std::string_view::npos ? '\'' : '"';
}

}  // namespace

OpenWord open_word(std::string_view line) {
  OpenWord word{0, '\0'};
  for (std::size_t i = 0; i < line.size(); i++) {
    const char c = line[i];
    if (c == '\\') {
      i++;  // and what it takes as it is
    } else if (word.quote != '\0') {
      word.quote = c == word.quote ? '\0' : word.quote;
    } else if (is_quote(c)) {
      word.quote = c;
    } else if (is_blank(c)) {
      word.start = i + 1;
    }
  }
  return word;
}

void append_word(DynString &out, std::string_view text, char quote) {
  if (quote == '\0') {
    if (is_plain(text)) {
      libglobal::append(out, text);
      return;
    }
    quote = best_quote(text);
  }
  libglobal::append(out, quote);
  for (const char c : text) {
    if (c == quote || c == '\\') {
      libglobal::append(out, '\\');
    }
    libglobal::append(out, c);
  }
  libglobal::append(out, quote);
}

}  // namespace cli_engine
