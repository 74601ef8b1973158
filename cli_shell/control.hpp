// Lines to the program itself, where a language is tried out: "%level 5". They begin with "%", which is looked for
// before the language is asked, so that no word of a language hides them.
#ifndef CLI_SHELL_CONTROL_HPP
#define CLI_SHELL_CONTROL_HPP

#include <string>

#include "cli_engine/cli_engine.h"
#include "cli_shell/terminal/completion.hpp"

namespace cli_shell {

bool is_control(const std::string &line);

// Carries such a line out and prints its answer on standard output.
void run_control(cli *engine, const std::string &line);

// Prints all there are.
void help_on_controls();

cli_editor::Choices complete_control(const std::string &line);

}  // namespace cli_shell

#endif
