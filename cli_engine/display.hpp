// The notation of one node, for the library's own modules.
#ifndef CLI_ENGINE_DISPLAY_HPP
#define CLI_ENGINE_DISPLAY_HPP

#include "cli_engine/cli_engine.h"

namespace cli_engine {

// As cli_print_node.
int print_node(const cli_node &node, const token *tok, DynString &out, bool colour);

// What print_node returns for the node's syntax; scratch is left as it was.
int visible_width(const cli_node &node, DynString &scratch);

// Appends a word with its arguments in the dump's notation, a blank before it where one is due.
void append_word_syntax(const cli_node &node, DynString &buffer);

}  // namespace cli_engine

#endif
