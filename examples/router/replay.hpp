// Reading a configuration file, line by line, as if it were typed.
#ifndef EXAMPLES_ROUTER_REPLAY_HPP
#define EXAMPLES_ROUTER_REPLAY_HPP

#include <string>

#include "cli_engine/cli_engine.h"

namespace router {

// Executes the lines of a text with the full privilege level and without output, then is back at the top level. A line
// that is damaged, or does not belong to a configuration, is reported on standard error as "NAME:NUMBER: reason", and
// the rest is still applied. Returns how many lines were reported. Not for handlers: they may not execute lines.
int replay(cli *engine, const std::string &name, const std::string &content);

}  // namespace router

#endif
