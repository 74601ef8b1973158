// Inside the parser: candidate lookup on the argument side, and the listing of what may follow.
#ifndef CLI_ENGINE_PARSER_HPP
#define CLI_ENGINE_PARSER_HPP

#include <string_view>

#include "cli_engine/cli_engine.h"
#include "cli_engine/marks.hpp"
#include "libglobal/dyn_string.hpp"
#include "libglobal/ptr_vector.hpp"

namespace cli_engine {

inline constexpr const char *kParserSource = "cli_engine/parser";
inline constexpr const char *kLookupSource = "cli_engine/parser_lookup";

// What `parser.internal` points at: the record for callers that bring none, strings and vectors that executing, helping
// and completing reuse from line to line, and how many of the line's words stand behind the last one that was an alias
// (the most there can be while there is none).
struct ParserState {
  parser_error error;
  DynString *text;
  PtrVector *nodes;
  std::size_t behind_alias;
};

inline ParserState &state_of(parser &p) {
  return *static_cast<ParserState *>(p.internal);
}

inline std::string_view text_of(const token &tok) {
  return {tok.text, tok.len};
}

// Adds to the candidates every key and value at or below the node that can take the current token (in list mode, any
// token) and returns how many; records why not in the parser's error record.
int lookup_candidate(parser &p, cli_node *node);

// Marks what an accepted key or value means for the groups above it, up to but without `stop`.
void update_tree_flags(Marks &marks, cli_node *matched, const cli_node *stop);

// Binds what the lines that entered the open modes gave: it stays readable.
void bind_open_lines(Marks &marks, cli_node *current);

// Forgets nodes that are about to be released.
void forget_nodes(parser &p);

// As parser_get_available_nodes, but with the words that begin with the prefix alone.
void get_available_nodes(parser &p, PtrVector *out, std::string_view prefix);

// The keys and values among them. False when no word may follow: one of these is due, or there was no run.
bool get_available_arguments(parser &p, PtrVector *out);

// The words among which the others are, whatever their level; null when there are none.
const cli_node_set *available_choices(const parser &p);

}  // namespace cli_engine

#endif
