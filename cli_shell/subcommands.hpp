// The subcommands of cli-shell. Each lives in a source file of its own and returns the exit status: 0, 1 for what it
// found wrong, 2 (by UserError) when it could not run.
#ifndef CLI_SHELL_SUBCOMMANDS_HPP
#define CLI_SHELL_SUBCOMMANDS_HPP

#include "cli_shell/options.hpp"

namespace cli_shell {

int run_main(const Options &options);    // the shell itself
int check_main(const Options &options);  // what is wrong with the documents

}  // namespace cli_shell

#endif
