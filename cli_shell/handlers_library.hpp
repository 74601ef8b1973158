// Shared objects with handlers (plugin.h).
#ifndef CLI_SHELL_HANDLERS_LIBRARY_HPP
#define CLI_SHELL_HANDLERS_LIBRARY_HPP

#include <string>
#include <vector>

#include "cli_shell/plugin.h"

namespace cli_shell {

// What one library exports; null what it does not. A library stays loaded until the process ends: the command tree
// and values that it made point into it.
struct HandlersLibrary {
  decltype(&cli_shell_register_types) register_types;
  decltype(&cli_shell_start) start;
  decltype(&cli_shell_stop) stop;
  decltype(&cli_shell_complete) complete;
  decltype(&cli_shell_secrets) secrets;
};

// Loads the libraries into the global scope, where the engine looks for handlers; throws UserError.
std::vector<HandlersLibrary> load_handlers_libraries(const std::vector<std::string> &paths);

}  // namespace cli_shell

#endif
