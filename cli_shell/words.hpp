// A line's words as the tokenizer cuts them, with their places in the line.
#ifndef CLI_SHELL_WORDS_HPP
#define CLI_SHELL_WORDS_HPP

#include <string>
#include <string_view>

namespace cli_shell {

bool is_blank(char c);

// Reads a line from the left and knows where quotes and backslashes are in force.
class WordScanner {
 public:
  // Takes the next byte; true when it separates words.
  bool separates(char c);

  bool in_quotes() const { return quote_ != 0; }

  // The byte before was a backslash that takes the next one as it is.
  bool escaping() const { return escaping_; }

 private:
  char quote_ = 0;
  bool escaping_ = false;
};

// Where the last word of the line begins; the line's length when the line ends between words.
size_t last_word_start(std::string_view line);

// Whether one word may be the other with a slip or two of the fingers: characters left out, doubled, changed, swapped.
bool differs_by_typing(std::string_view typed, std::string_view meant);

// The word written so that the tokenizer, and a filter's bar, leave it whole.
std::string quoted(std::string_view word);

}  // namespace cli_shell

#endif
