// Shared objects with handlers (plugin.h).
#ifndef CLI_SHELL_HANDLERS_LIBRARY_HPP
#define CLI_SHELL_HANDLERS_LIBRARY_HPP

#include <deque>
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
  void *handle;

  // The function of that name which the library itself exports; null for none, and for what is no function.
  cli_handler handler(const char *name) const;
};

// The handlers that a definition document names, as far as the libraries export them: what else has such a name in the
// process, "write" in the C library, is not meant. For the preset of an engine, which borrows it.
class HandlerTable {
 public:
  HandlerTable(json_t *definitions, const std::vector<HandlersLibrary> &libraries);
  const cli_handler_entry *entries() const { return entries_.data(); }

 private:
  void add_named_in(json_t *value, const std::vector<HandlersLibrary> &libraries);

  std::deque<std::string> names_;
  std::vector<cli_handler_entry> entries_;
};

// Loads the libraries into the global scope, where the engine looks for handlers; throws UserError.
std::vector<HandlersLibrary> load_handlers_libraries(const std::vector<std::string> &paths);

}  // namespace cli_shell

#endif
