// The session at a terminal.
#ifndef CLI_SHELL_INTERACTIVE_HPP
#define CLI_SHELL_INTERACTIVE_HPP

#include "cli_shell/shell.hpp"

namespace cli_shell {

// Reads lines from the terminal on standard input and executes them until the user leaves; the exit status.
int run_interactive(Shell &shell);

}  // namespace cli_shell

#endif
