#include "cli_shell/interactive.hpp"

#include <cstdio>
#include <iostream>
#include <string>

namespace cli_shell {

int run_interactive(Shell &shell) {
  std::string line;
  while (!shell.leave_requested()) {
    std::fputs(shell.prompt().c_str(), stdout);
    std::fflush(stdout);
    if (!std::getline(std::cin, line)) break;
    shell.execute(line);
  }
  return shell.output_lost() ? 1 : 0;
}

}  // namespace cli_shell
