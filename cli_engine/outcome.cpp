// What became of a line, for hosts: running and parsing lines, deferring, finishing and interrupting them.
#include "cli_engine/outcome.h"

#include <algorithm>

#include "cli_engine/engine_state.hpp"
#include "cli_engine/line.hpp"
#include "cli_engine/node.hpp"
#include "cli_engine/parser.hpp"
#include "cli_engine/tokenizer.hpp"
#include "cli_engine/typed_line.hpp"

namespace cli_engine {
namespace {

// The number of tokens behind the blamed one that were typed: those of an alias that it came from are not.
std::size_t typed_words_behind(cli &engine, const token *blamed) {
  std::size_t behind = 0;
  for (const token *tok = blamed->next; tok != nullptr; tok = tok->next) {
    behind++;
  }
  return std::min(behind, state_of(engine.parser).behind_alias);
}

// The answer to a call that runs no line.
[[gnu::noinline]] int refuse(std::int32_t kind, cli_outcome *outcome) {
  if (outcome != nullptr) {
    *outcome = {};
    outcome->kind = kind;
  }
  return -1;
}

}  // namespace

void blame(cli &engine, std::string_view line, cli_outcome &outcome) {
  const token *const blamed = engine.parser.error->token;
  outcome.column = line.size();
  if (blamed == nullptr) {
    return;
  }
  const TypedWord word = typed_word_from_end(line, typed_words_behind(engine, blamed));
  outcome.column = word.column;
  outcome.length = word.length;
}

}  // namespace cli_engine

using cli_engine::Deferral;
using cli_engine::EngineState;
using cli_engine::state_if_up;

int cli_run(cli *engine, const char *line, unsigned options, cli_outcome *outcome) {
  EngineState *const state = state_if_up(engine);
  if (state == nullptr || line == nullptr || state->busy) [[unlikely]] {
    return cli_engine::refuse(state != nullptr && line != nullptr ? CLI_BUSY : CLI_FAILED, outcome);
  }
  cli_engine::run_line(engine, *state, line, options);
  if (outcome != nullptr) {
    *outcome = state->outcome;
  }
  return state->outcome.kind == CLI_FAILED ? -1 : 0;
}

const cli_outcome *cli_last_outcome(const cli *engine) {
  const EngineState *const state = state_if_up(engine);
  return state == nullptr ? nullptr : &state->outcome;
}

cli_node *cli_parse(cli *engine, const char *line, parser_error **error) {
  if (error != nullptr) {
    *error = nullptr;
  }
  EngineState *const state = state_if_up(engine);
  if (state == nullptr || line == nullptr || (state->busy && state->deferral != Deferral::kPending)) {
    return nullptr;
  }
  const bool comment = cli_engine::is_comment(line, 0);
  cli_node *const selected = cli_engine::parse_line(engine, comment ? nullptr : line, -1);
  if (comment) {
    engine->parser.error->errcode = E_OK;
  }
  if (error != nullptr) {
    *error = engine->parser.error;
  }
  return selected;
}

int cli_is_command(const cli_node *node) {
  return cli_engine::is_command(node) ? 1 : 0;
}

void cli_defer(cli *engine) {
  EngineState *const state = state_if_up(engine);
  if (state != nullptr && state->deferral == Deferral::kPossible) {
    state->deferral = Deferral::kDeferred;
  }
}

void cli_finish(cli *engine, int result) {
  EngineState *const state = state_if_up(engine);
  if (state == nullptr) {
    return;
  }
  if (state->deferral == Deferral::kDeferred) {
    state->deferral = Deferral::kFinished;
    state->finish_result = result;
  } else if (state->deferral == Deferral::kPending) {
    state->deferral = Deferral::kImpossible;
    state->busy = state->replaying;
    cli_engine::end_command(engine, *state, result);
  }
}

void cli_interrupt(cli *engine) {
  EngineState *const state = engine == nullptr ? nullptr : cli_engine::state_of(engine);
  if (state != nullptr) {
    state->output.interrupts.fetch_add(1, std::memory_order_relaxed);
  }
}
