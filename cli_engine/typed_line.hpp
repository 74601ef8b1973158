// A line as it was typed, quotes and backslashes included: tokens do not know where they stood in it.
#ifndef CLI_ENGINE_TYPED_LINE_HPP
#define CLI_ENGINE_TYPED_LINE_HPP

#include <cstddef>
#include <string_view>

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
    if (c > '\'' && c != '\\') {  // most: neither blanks nor quotes
      counts = true;
      continue;
    }
    const bool at_end = at == line.size();
    const bool blank = c == ' ' || (c >= '\t' && c <= '\r');
    if (at_end || (blank && quote == '\0')) {
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

}  // namespace cli_engine

#endif
