// A line as it was typed, quotes and backslashes included: tokens do not know where they stood in it.
#ifndef CLI_ENGINE_TYPED_LINE_HPP
#define CLI_ENGINE_TYPED_LINE_HPP

#include <cstddef>
#include <string_view>

#include "cli_engine/words.hpp"

namespace cli_engine {

struct TypedWord {
  std::size_t column;
  std::size_t length;
};

// Calls visit(index, word) for each word that the tokenizer makes a token of, until it returns false.
template <class Visit>
void for_each_typed_word(std::string_view line, Visit visit) {
  std::size_t index = 0;
  std::size_t begin = 0;
  bool counts = false;  // there is a word, if only an empty one in quotes
  char quote = '\0';
  for (std::size_t at = 0; at <= line.size(); at++) {
    const char c = at < line.size() ? line[at] : ' ';
    const bool at_end = at == line.size();
    if (at_end || (is_blank(c) && quote == '\0')) {
      if (counts && !visit(index++, TypedWord{begin, at - begin})) {
        return;
      }
      begin = at + 1;
      counts = false;
    } else if (c == '\\') {
      if (at + 1 < line.size()) {
        counts = true;
        at++;
      }
    } else {
      counts = true;
      if (c == quote) {
        quote = '\0';
      } else if (quote == '\0' && (c == '"' || c == '\'')) {
        quote = c;
      }
    }
  }
}

// The word that has so many others behind it.
inline TypedWord typed_word_from_end(std::string_view line, std::size_t behind) {
  TypedWord found{line.size(), 0};
  const auto stands_in = [line](char c) { return line.find(c) != std::string_view::npos; };
  if (stands_in('"') || stands_in('\'') || stands_in('\\')) {
    std::size_t count = 0;
    for_each_typed_word(line, [&count](std::size_t index, TypedWord) {
      count = index + 1;
      return true;
    });
    for_each_typed_word(line, [&](std::size_t index, TypedWord word) {
      found = word;
      return index + behind + 1 != count;
    });
    return found;
  }
  // Words are what stands between blanks, and most often the last one is asked for.
  for (std::size_t words = 0, end = line.size(); words <= behind && end > 0; words++) {
    while (end > 0 && is_blank(line[end - 1])) {
      end--;
    }
    const std::size_t last = end;
    while (end > 0 && !is_blank(line[end - 1])) {
      end--;
    }
    found = {end, last - end};
  }
  return found;
}

}  // namespace cli_engine

#endif
