// Which words of a line are secret: one rule for all that shows or keeps lines - echo, reports, help, audit, history.
#ifndef CLI_SHELL_SECRETS_HPP
#define CLI_SHELL_SECRETS_HPP

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli_engine/cli_engine.h"

namespace cli_shell {

// A value is secret when its own name, its type or the key or word that it belongs to has a secret's name. A line that
// fails has no more than its words: there, all behind one that may be meant for such a name is.
class Secrets {
 public:
  void add_name(std::string name) { names_.push_back(std::move(name)); }

  bool is_value(const cli_node *node) const;

  // The secret words of the line that was parsed last. `failed`: it selects nothing.
  std::vector<token *> words(cli *engine, bool failed) const;

  // Whether that line has a secret, or speaks of one.
  bool are_mentioned(cli *engine, bool failed) const;

 private:
  bool is_name(const char *name) const;
  bool is_mention(const token &word, bool failed) const;
  bool resembles_name(const token &word) const;

  std::vector<std::string> names_ = {"password", "secret"};
};

// What stands for a secret word.
inline constexpr std::string_view kHidden = "***";

// Makes words of the present line read so while it lives. The words are borrowed.
class WordsHidden {
 public:
  explicit WordsHidden(const std::vector<token *> &words);
  ~WordsHidden();
  WordsHidden(const WordsHidden &) = delete;
  WordsHidden &operator=(const WordsHidden &) = delete;

 private:
  const std::vector<token *> &words_;
  std::vector<std::pair<decltype(token::text), decltype(token::len)>> typed_;
};

// Secret words as they were typed, to be hidden in what the engine writes about the line.
class HiddenWords {
 public:
  HiddenWords() = default;
  explicit HiddenWords(const std::vector<token *> &words);

  // A report of an error, or a help listing, with the words hidden in the first `lines` lines of it.
  std::string hidden_in(const std::string &text, size_t lines) const;

 private:
  std::vector<std::string> words_;
  std::ptrdiff_t shift_ = 0;  // of the caret below the line
};

// Takes the present line out of the engine's memory.
void forget_line(cli *engine);

}  // namespace cli_shell

#endif
