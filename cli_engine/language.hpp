// Engines on a language: whose line was last has the tree.
#ifndef CLI_ENGINE_LANGUAGE_HPP
#define CLI_ENGINE_LANGUAGE_HPP

#include "cli_engine/cli_engine.h"
#include "cli_engine/vector.hpp"

namespace cli_engine {

// An engine's place at its language, and what it had in the tree when another one took it over.
struct Session {
  struct OpenMode {
    cli_node *mode;
    token_list line;  // that was typed in it and entered the next deeper one
  };
  cli_language *language;
  Vector<OpenMode> modes;  // outermost first; of use while another engine has the tree
};

// The record whose handlers are behind the built-in commands: the engine's own, or its language's.
const cli &loaded_by(const cli &engine);

// Gives an engine of a language the tree, as its own last line left it.
void take_over(cli *engine);

// Parts an engine from its language; no mode is open. Nothing happens to an engine without one.
void leave_language(cli *engine);

}  // namespace cli_engine

#endif
