// What an engine keeps for itself behind its record, from cli_init to cli_free.
#ifndef CLI_ENGINE_ENGINE_STATE_HPP
#define CLI_ENGINE_ENGINE_STATE_HPP

#include "cli_engine/language.hpp"
#include "cli_engine/output.hpp"

namespace cli_engine {

// How far the present command's handler has put its end off.
enum class Deferral : std::uint8_t {
  kImpossible,  // no command's handler runs
  kPossible,    // one runs
  kDeferred,    // it called cli_defer
  kFinished,    // and then cli_finish
  kPending      // it returned after cli_defer
};

struct EngineState {
  Output output{};
  bool busy = false;  // a line or a text is being run, or a line is pending: no other one may be run
  bool replaying = false;
  Deferral deferral = Deferral::kImpossible;
  std::int32_t finish_result = 0;  // what cli_finish was given before the handler returned
  cli_outcome outcome{};           // of the last line
  Session *session = nullptr;      // of an engine on a language that others may use too
};

// Null for an engine that is not up.
inline EngineState *state_of(const cli *engine) {
  return static_cast<EngineState *>(engine->internal);
}

// The state of an engine that answers calls; null for a null engine and one that is not up.
inline EngineState *state_if_up(const cli *engine) {
  return engine == nullptr || engine->initialized == 0 ? nullptr : state_of(engine);
}

// Whether an engine is up and no line of it runs or is pending.
inline bool is_ready(const cli *engine) {
  const EngineState *const state = state_if_up(engine);
  return state != nullptr && !state->busy;
}

// What is printed from here on belongs to a call of the host's, unless it is made while a line is on its way.
inline void begin_output(const cli *engine) {
  EngineState *const state = state_of(engine);
  if (state != nullptr && !state->busy) {
    state->output.begin();
  }
}

// Before marks, modes or the root's words are read or written for an engine: makes them its own. Costs nothing for an
// engine with a tree of its own.
inline void own_language(cli *engine) {
  const EngineState *const state = state_of(engine);
  if (state != nullptr && state->session != nullptr) [[unlikely]] {
    take_over(engine);
  }
}

// Makes and releases it.
void open_state(cli *engine);
void close_state(cli *engine);

// What cli_init does when the tree is there.
cli *bring_up(cli *engine, void *context);

}  // namespace cli_engine

#endif
