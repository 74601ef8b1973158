// Conditions on what the last line matched.
#ifndef CLI_ENGINE_CONDITION_HPP
#define CLI_ENGINE_CONDITION_HPP

#include "cli_engine/cli_engine.h"
#include "cli_engine/document.hpp"
#include "cli_engine/faults.hpp"

namespace cli_engine {

// Whether the conditions "if" and "if-not" of an object hold. One of a wrong type does not hold after it was reported,
// or ends the process.
[[nodiscard]] bool condition_holds(cli *engine, const Value &holder, const Reporter *reporter);

}  // namespace cli_engine

#endif
