// Loading a language whose handlers are not there: for the dump, the checker and the preview.
#ifndef CLI_SHELL_HANDLERLESS_HPP
#define CLI_SHELL_HANDLERLESS_HPP

#include "cli_shell/documents.hpp"

namespace cli_shell {

// Exported by cli-shell for documents whose handlers are absent: does nothing and refuses nothing.
inline constexpr const char *kAbsentHandler = "cli_shell_absent_handler";

// The member of a definition that keeps the name of the handler that was replaced.
inline constexpr const char *kOriginalHandler = "#original-handler";

// A copy of a definition document in which every "#handler" names the exported function `handler` of this program. The
// order of the members, and all that is not on the way to a "#handler", are shared or kept as they are. Null or a value
// that is no object gives another reference to the same.
JsonRef handlerless(json_t *document, const char *handler = kAbsentHandler);

}  // namespace cli_shell

#endif
