// What an engine keeps for itself behind its record, from cli_init to cli_free.
#ifndef CLI_ENGINE_ENGINE_STATE_HPP
#define CLI_ENGINE_ENGINE_STATE_HPP

#include "cli_engine/output.hpp"

namespace cli_engine {

struct EngineState {
  Output output{};
};

// Null for an engine that is not up.
inline EngineState *state_of(const cli *engine) {
  return static_cast<EngineState *>(engine->internal);
}

// Makes and releases it.
void open_state(cli *engine);
void close_state(cli *engine);

}  // namespace cli_engine

#endif
