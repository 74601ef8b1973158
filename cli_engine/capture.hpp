// Capturing a program's output without a look at the process's signals.
#ifndef CLI_ENGINE_CAPTURE_HPP
#define CLI_ENGINE_CAPTURE_HPP

#include "cli_engine/output.hpp"

namespace cli_engine {

// Runs a shell command for an engine with `write` and feeds each line of its output to the pager. The command has a
// process group of its own, which an interrupt ends, and an empty standard input. Returns its status as waitpid gives
// it; -1 when it could not be started, or when the output was cut before.
int capture(pager *p, Output &output, const char *command);

}  // namespace cli_engine

#endif
