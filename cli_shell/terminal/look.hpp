// How a line looks while it is typed: what the engine would take its words for.
#ifndef CLI_SHELL_TERMINAL_LOOK_HPP
#define CLI_SHELL_TERMINAL_LOOK_HPP

#include <string>

#include "cli_shell/terminal/completion.hpp"

namespace cli_shell {

// Words, keywords and values in the colours of their echo, red from where nothing fits, and the rest of the last word
// when only one can be meant. The line is parsed in the present mode at the user's level and nothing is run; the marks
// in the engine are that line's afterwards.
cli_editor::Look look_of(cli *engine, Completer &completer, const std::string &line);

}  // namespace cli_shell

#endif
