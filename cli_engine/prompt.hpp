// The prompt's mode part.
#ifndef CLI_ENGINE_PROMPT_HPP
#define CLI_ENGINE_PROMPT_HPP

#include "cli_engine/cli_engine.h"
#include "cli_engine/document.hpp"
#include "cli_engine/faults.hpp"

namespace cli_engine {

// Rebuilds the mode part from the present mode and what the last line matched.
void refresh_prompt(cli *engine);

// The text of a "#prompt" value whose condition holds now: null when it holds one without a text. What is wrong with it
// is reported, and "" returned, or it ends the process. The name is for messages.
[[nodiscard]] const char *select_prompt(cli *engine, const Value &prompt, const char *name, const Reporter *reporter);

}  // namespace cli_engine

#endif
