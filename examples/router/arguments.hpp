// What a line gave: the words that it matched, and arguments by name.
#ifndef EXAMPLES_ROUTER_ARGUMENTS_HPP
#define EXAMPLES_ROUTER_ARGUMENTS_HPP

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli_engine/cli_engine.h"

namespace router {

// One argument as it was given. Abbreviated keywords and choices stand in full.
struct Word {
  std::string group;  // name of the group that declares it, or ""
  std::string name;   // name of the argument
  std::string text;
  bool keyword = false;  // a fixed word, not a value
  bool secret = false;   // not to be kept as it was typed
};

// The arguments that follow the word of `command` on the line that begins with `first`.
std::vector<Word> words_after(token *first, const cli_node *command);

// The command words that lead to a node from the mode that declares it, such as "ip route".
std::string command_path(const cli_node *node);

// Arguments of a command by name. A text that was not given is "", a number `otherwise`.
bool given(cli_node *command, std::string_view name);
std::string text_argument(cli_node *command, std::string_view name);
int64_t number_argument(cli_node *command, std::string_view name, int64_t otherwise);

// A text as it can be typed: in quotes where a blank, a quote, a backslash or another mark of the line would be taken
// for more than itself.
std::string quoted(std::string_view text);

}  // namespace router

#endif
