// The prompt's mode part.
#ifndef CLI_ENGINE_PROMPT_HPP
#define CLI_ENGINE_PROMPT_HPP

#include "cli_engine/cli_engine.h"

namespace cli_engine {

// Rebuilds the mode part from the present mode and what the last line matched.
void refresh_prompt(cli *engine);

}  // namespace cli_engine

#endif
