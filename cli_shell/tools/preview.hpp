// Handlers that show how they were called, in the place of a language's own.
#ifndef CLI_SHELL_TOOLS_PREVIEW_HPP
#define CLI_SHELL_TOOLS_PREVIEW_HPP

#include <vector>

#include "cli_shell/handlers_library.hpp"

namespace cli_shell {

// For every "#handler": prints the name that stands there and the arguments of the line, each by its path. Modes agree
// to be entered; cli_shell_exit and cli_shell_end do what they say.
extern const cli_handler_entry kPreviewHandlers[];

// Libraries of which nothing but the value types is used: their handlers do not run.
std::vector<HandlersLibrary> types_only(std::vector<HandlersLibrary> libraries);

}  // namespace cli_shell

#endif
