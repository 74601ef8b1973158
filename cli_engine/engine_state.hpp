// What an engine keeps for itself behind its record, from cli_init to cli_free.
#ifndef CLI_ENGINE_ENGINE_STATE_HPP
#define CLI_ENGINE_ENGINE_STATE_HPP

#include "cli_engine/cli_engine.h"

namespace cli_engine {

struct EngineState {};

inline EngineState &state_of(cli &engine) {
  return *static_cast<EngineState *>(engine.internal);
}

}  // namespace cli_engine

#endif
