// The "#help" texts of a document: plain, or templates with named replacement fields.
#ifndef CLI_ENGINE_HELP_TEMPLATE_HPP
#define CLI_ENGINE_HELP_TEMPLATE_HPP

#include "cli_engine/document.hpp"
#include "cli_engine/faults.hpp"
#include "libglobal/dyn_string.h"
#include "libglobal/export.h"

namespace cli_engine {

// The text of a "#help" value, owned by the caller; null when there is none. A string is taken as it is; an object's
// "fmt" is a template whose fields, "{key}", are replaced by the members of its "args" (strings, integers and
// booleans). Anything else, and a template that cannot be expanded, is the document's fault: it is reported, and what
// was expanded so far returned, or it ends the process.
[[nodiscard]] DynString *get_help(const Value &help, const Reporter *reporter);

// Shows a template with a caret under its offending character and the message, and ends the process.
[[noreturn]] void print_error(const char *text, const char *offending, const char *format, ...) CLI_PRINTF(3, 4);

}  // namespace cli_engine

#endif
