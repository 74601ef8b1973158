// How words are written in a line: the inverse of what the tokenizer does.
#ifndef CLI_ENGINE_WORDS_HPP
#define CLI_ENGINE_WORDS_HPP

#include <cstddef>
#include <string_view>

#include "libglobal/dyn_string.h"

namespace cli_engine {

inline bool is_blank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

// The word that goes on at the end of a line.
struct OpenWord {
  std::size_t start;  // the first byte of the word as typed, quotes included; the line's end when none is begun
  char quote;         // the quote that is open, or NUL
};
OpenWord open_word(std::string_view line);

// Appends a text so that a line takes it for one word: in quotes of the kind given or, for NUL, where it must be.
void append_word(DynString &out, std::string_view text, char quote);

}  // namespace cli_engine

#endif
