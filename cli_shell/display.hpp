// The last process of the output: makes it fit for where it is shown, and starts the pager program for long output.
#ifndef CLI_SHELL_DISPLAY_HPP
#define CLI_SHELL_DISPLAY_HPP

#include <string>

#include "cli_shell/display_text.hpp"

namespace cli_shell {

// The pager program for long output on a terminal, as a shell command: CLI_SHELL_PAGER, PAGER, or less where it is
// installed. "" for none: a dumb terminal, CLI_SHELL_MORE=0, a program that is not there.
std::string pager_command();

constexpr int kDisplayInterrupted = 130;

// Copies `in` to `out` until the input ends or SIGINT comes. A nonempty pager command is started once more than a
// screenful has come without a pause. The exit status: kDisplayInterrupted after a SIGINT; another than 0, after a
// message, when `out` cannot be written.
int run_display(int in, int out, DisplayPolicy policy, const std::string &pager);

// Says that standard output cannot be written and why.
void say_output_lost(int error);

}  // namespace cli_shell

#endif
