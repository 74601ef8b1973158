// Bringing an engine up, taking it down, exchanging its language.
#define CLI_ENGINE_NO_LAYOUT_CHECK  // this is what the check stands before
#include "cli_engine/cli_engine.h"

#include <cstdlib>
#include <new>

#include "cli_engine/engine_state.hpp"
#include "cli_engine/loader.hpp"
#include "cli_engine/node.hpp"
#include "cli_engine/parser.hpp"
#include "libglobal/log_assert.h"
#include "libglobal/report.hpp"

namespace cli_engine {

void open_state(cli *engine) {
  void *const block = libglobal::xmalloc(sizeof(EngineState), LIBGLOBAL_CALLER(kEngineSource));
  auto *const state = new (block) EngineState;
  state->output.engine = engine;
  engine->internal = state;
}

void close_state(cli *engine) {
  if (cli_engine::EngineState *const state = cli_engine::state_of(engine)) {
    cli_engine::drop_data(state->output.data);
  }
  std::free(engine->internal);
  engine->internal = nullptr;
  engine->pager.internal = nullptr;
}

}  // namespace cli_engine

cli *cli_init(cli *engine, validator_typesystem *types, json_t *definitions, void *context, json_t *privileges) {
  if (engine == nullptr) {
    return nullptr;
  }
  cli_engine::open_state(engine);
  tokenizer_open(&engine->tokenizer);
  if (cli_load_commands(engine, types, definitions, privileges) != 0) {
    cli_engine::close_state(engine);
    return nullptr;
  }
  return cli_engine::bring_up(engine, context);
}

cli *cli_engine::bring_up(cli *engine, void *context) {
  engine->initialized = 1;
  engine->context = context;
  if (engine->level == 0) {
    engine->level = -1;
  }
  parser_open(&engine->parser);
  pager_open(&engine->pager, -1, -1);
  engine->pager.internal = &state_of(engine)->output;
  list_init(engine->mode_stack);
  cli_reset_subconfig(engine);
  parser_set_root(&engine->parser, &engine->root);
  cli_set_prompt(engine, nullptr, engine->prompt_name[0] == '\0' ? "cli" : nullptr, nullptr,
                 engine->prompt_end == 0 ? '>' : '\0');
  return engine;
}

void cli_free(cli *engine) {
  const cli_engine::EngineState *const state = cli_engine::state_if_up(engine);
  if (state == nullptr || (state->busy && state->deferral != cli_engine::Deferral::kPending)) {
    return;
  }
  cli_reset_subconfig(engine);
  pager_close(&engine->pager);
  parser_close(&engine->parser);
  cli_unload_commands(engine);
  tokenizer_close(&engine->tokenizer);
  cli_engine::close_state(engine);
  engine->initialized = 0;
}

int cli_load_commands(cli *engine, validator_typesystem *types, json_t *definitions, json_t *privileges) {
  if (engine == nullptr) {
    return -1;
  }
  if (cli_engine::state_of(engine) != nullptr && cli_engine::state_of(engine)->session != nullptr) {
    cli_unload_commands(engine);  // others may use the language: nothing is added to it
  }
  engine->current = &engine->root;
  if (!json_is_object(definitions)) {
    cli_engine::write_out(engine, "Cannot load command DM\n");
    return -1;
  }
  cli_engine::load_tree(engine, {types, cli_engine::Value(definitions), cli_engine::Value(privileges), engine->handlers,
                                 engine->flags, nullptr});
  return 0;
}

void cli_unload_commands(cli *engine) {
  if (engine == nullptr) {
    return;
  }
  cli_reset_subconfig(engine);  // a host that forgot it must not be left in a mode that is gone
  for (token *tok = engine->tokenizer.tokens.first; tok != nullptr; tok = tok->next) {
    tok->node = nullptr;
  }
  cli_engine::forget_nodes(engine->parser);
  if (cli_engine::EngineState *const state = cli_engine::state_of(engine)) {
    state->outcome.node = nullptr;
  }
  cli_engine::leave_language(engine);
  cli_engine::node_free(&engine->root);
}

const char *cli_engine_version(void) {
  return CLI_ENGINE_VERSION;
}

void cli_engine_check_layout(unsigned layout, size_t record_size) {
  if (layout != CLI_ENGINE_LAYOUT || record_size != sizeof(cli)) {
    log_assert_fmt(
        "layout == CLI_ENGINE_LAYOUT && record_size == sizeof(cli)", cli_engine::kEngineSource, __func__,
        "the host was built for layout %u with %zu bytes, the library %s has layout %d with %zu: rebuild the host",
        layout, record_size, CLI_ENGINE_VERSION, CLI_ENGINE_LAYOUT, sizeof(cli));
  }
}
