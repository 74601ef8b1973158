// Which words of a line are secret: one rule for all that shows or keeps lines - echo, reports, help, audit, history.
#ifndef CLI_SHELL_SECRETS_HPP
#define CLI_SHELL_SECRETS_HPP

#include <functional>
#include <string>
#include <string_view>
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

// Makes the words of the present line read so, until the next line is parsed.
void hide(const std::vector<token *> &words);

// What a body makes the engine print of the present line, whose secret words are given, with these hidden in the first
// `lines` lines of it. For an engine that runs no handler meanwhile.
std::string print_hidden(cli *engine, const std::vector<token *> &words, size_t lines,
                         const std::function<void()> &body);

// Takes the present line out of the engine's memory.
void forget_line(cli *engine);

}  // namespace cli_shell

#endif
