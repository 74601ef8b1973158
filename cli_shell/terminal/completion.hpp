// What Tab puts in the place of the word before the cursor, and which words of a line the engine took for what.
#ifndef CLI_SHELL_TERMINAL_COMPLETION_HPP
#define CLI_SHELL_TERMINAL_COMPLETION_HPP

#include <string>
#include <string_view>
#include <vector>

#include "cli_editor/editor.hpp"
#include "cli_shell/handlers_library.hpp"

namespace cli_shell {

// Asks the engine what fits, and the handlers libraries for values: its `offer_values` must be behind the engine's
// preset `complete`.
class Completer {
 public:
  // Both are borrowed.
  Completer(cli *engine, const std::vector<HandlersLibrary> &libraries) : engine_(engine), libraries_(libraries) {}

  // Completes a line without filters: words as the line needs them, with help and the blank that must follow. Where a
  // word before is ambiguous, what it could be, to be read only. Empty: nothing can be completed, show help. The marks
  // in the engine are those of the line before the word afterwards.
  cli_editor::Choices complete(const std::string &line);

  // What the line's last word, as far as it is typed, may become. Libraries are not asked.
  struct Future {
    std::vector<std::string> words;
    bool value = false;  // and a value that only the user knows
  };
  Future future_of(const std::string &line);

  void offer_values(cli_node *value, const char *text, json_t *result);

 private:
  cli_editor::Choices offered(const std::string &line, size_t cursor);

  cli *engine_;
  const std::vector<HandlersLibrary> &libraries_;
  bool asks_libraries_ = true;
  bool free_value_due_ = false;
};

// Completes the name of a filter; `filter_start` is the place behind the last bar.
cli_editor::Choices complete_filter(const std::string &line, size_t filter_start);

// A word of a line, and what the engine's last parse made of it: null for an alias, whose place others took.
struct TypedWord {
  size_t begin;
  size_t end;
  const token *matched;
};
std::vector<TypedWord> typed_words(cli *engine, std::string_view line);

// The one that the parse blames, or the end.
std::vector<TypedWord>::const_iterator blamed_word(const cli *engine, const std::vector<TypedWord> &words);

}  // namespace cli_shell

#endif
