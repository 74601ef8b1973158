// The files of a language as those see them who write one: loaded so that a fault is told with its place.
#ifndef CLI_SHELL_LANGUAGE_FILES_HPP
#define CLI_SHELL_LANGUAGE_FILES_HPP

#include <optional>
#include <string>
#include <vector>

#include "cli_shell/documents.hpp"
#include "cli_shell/handlers_library.hpp"

namespace cli_shell {

// The built-in types and those of the libraries.
Types types_of(const std::vector<HandlersLibrary> &libraries);

// A handler that does nothing and refuses nothing, for every name that a document may have.
extern const cli_handler_entry kNoHandlers[];

// The language of the files, with the process's functions as handlers, or those of a table that ends with a null name.
// Throws UserError with the first fault.
Documents load_language(const std::string &definitions, const std::optional<std::string> &privileges,
                        const std::vector<HandlersLibrary> &libraries, const cli_handler_entry *handlers);

}  // namespace cli_shell

#endif
