// Executing a line: the handler runs, the mode is entered, or the user is told where and why the line failed and what
// may come there.
#include <string_view>

#include "cli_engine/display.hpp"
#include "cli_engine/engine_state.hpp"
#include "cli_engine/line.hpp"
#include "cli_engine/node.hpp"
#include "cli_engine/parser.hpp"
#include "cli_engine/resemblance.hpp"
#include "cli_engine/tokenizer.hpp"
#include "libglobal/dyn_string.hpp"
#include "libglobal/ptr_vector.hpp"
#include "libglobal/report.hpp"

namespace cli_engine {
namespace {

constexpr const char *kSource = "cli_engine/executor";

constexpr const char *kMessages[] = {"success", "Invalid argument", "Ambiguous input", "Extra input at end of command",
                                     "Incomplete command"};

// The rows of a list that is kept short.
constexpr std::size_t kShortList = 10;

const char *message_of(int code) {
  return code >= E_OK && code <= E_INCOMPLETE ? kMessages[code] : "UNKNOWN";
}

// Leaves modes until `mode` is the present one; false when it is none of the enclosing ones.
bool leave_modes_to(cli *engine, const cli_node *mode) {
  while (engine->current != mode && engine->mode_stack.first != nullptr) {
    cli_pop_subconfig(engine);
  }
  return engine->current == mode;
}

void echo_line(cli *engine) {
  DynString &echo = *state_of(engine->parser).text;
  echo.len = 0;
  cli_print_command(first_token(&engine->tokenizer), &echo, has_colours(*engine) ? 1 : 0, nullptr);
  libglobal::append(echo, '\n');
  write_out(engine, libglobal::view(echo));
  if (echo.capacity > kKeptText) [[unlikely]] {
    libglobal::release(echo);
  }
}

// Leaves the modes around which the command was found; behind "do" none is left. False when that mode is not open.
bool leave_modes_for_command(cli *engine) {
  if (engine->parser.root == engine->current) [[likely]] {
    return true;
  }
  const token *const first = first_token(&engine->tokenizer);
  libglobal::require(first != nullptr && first->node != nullptr, "first_node", kSource, "run_command");
  const cli_node &word = *first->node;
  const bool is_do = word.type == TYPE_WORD && word.word.link != nullptr;
  return is_do || leave_modes_to(engine, engine->parser.root);
}

// Output that a handler of a mode or the host fed before the line.
void clear_leftover(pager &p) {
  if (p.lines.first != nullptr) {
    pager_clear(&p);
  }
}

// The handler put the end off: whatever it fed stays in the pager, unless it was quick enough to end the line itself.
[[gnu::noinline]] void put_off(cli *engine, EngineState &state, int result) {
  if (state.deferral == Deferral::kFinished) {
    state.deferral = Deferral::kImpossible;
    end_command(engine, state, state.finish_result);
    return;
  }
  state.deferral = Deferral::kPending;
  state.outcome.kind = CLI_PENDING;
  state.outcome.result = result;
  state.outcome.interrupted = state.output.was_interrupted() ? 1 : 0;
}

void call_handler(cli *engine, EngineState &state, cli_node *command) {
  clear_leftover(engine->pager);
  state.deferral = Deferral::kPossible;
  const int result = command->subconfig.handler(engine, command);
  if (state.deferral != Deferral::kPossible) [[unlikely]] {
    put_off(engine, state, result);
    return;
  }
  state.deferral = Deferral::kImpossible;
  end_command(engine, state, result);
}

// What the handlers of "exit" and "end" do.
[[gnu::noinline]] void follow_way_out(cli *engine, const cli_node &command) {
  if (is_way_out(command, "exit")) {
    cli_pop_subconfig(engine);
  } else if (is_way_out(command, "end")) {
    cli_reset_subconfig(engine);
  }
}

void run_command(cli *engine, EngineState &state, cli_node *command, unsigned options) {
  const bool dry = (options & CLI_DRY_RUN) != 0;
  if (!dry && (engine->flags & CLI_DATA) != 0) [[unlikely]] {
    begin_data(engine, state.output.data);
  } else if (!dry && (engine->flags & CLI_NO_ECHO) == 0) {
    echo_line(engine);
  }
  if (!leave_modes_for_command(engine)) {
    drop_data(state.output.data);
    state.outcome.kind = CLI_FAILED;
    return;
  }
  if (!dry) {
    call_handler(engine, state, command);
    return;
  }
  follow_way_out(engine, *command);
  state.outcome.kind = CLI_RAN;
}

void enter_mode(cli *engine, cli_outcome &outcome, cli_node *mode, unsigned options) {
  outcome.kind = CLI_REFUSED;
  if ((options & CLI_DRY_RUN) == 0 && mode->subconfig.handler != nullptr) {
    outcome.result = mode->subconfig.handler(engine, mode);
    if (outcome.result != 0) {
      return;
    }
  }
  if (!leave_modes_to(engine, cli_get_parent_subconfig(mode))) {
    return;
  }
  cli_push_subconfig(engine, mode);
  parser_set_root(&engine->parser, engine->current);
  outcome.kind = CLI_ENTERED;
}

// The name of the node at which matching failed, or of the nearest one around it that has a name.
const char *place_of(const cli_node *node) {
  while (node != nullptr && node->name == nullptr) {
    node = node->parent;
  }
  return node == nullptr ? "" : node->name;
}

void describe_error(cli *engine, DynString &text) {
  const parser_error &error = *engine->parser.error;
  if (error.errcode == E_OK) {
    libglobal::append_all(text, message_of(error.errcode), "\n");
    return;
  }
  const bool colour = has_colours(*engine);
  token *rest = nullptr;
  const int width = cli_print_command(tokenizer_first(&engine->tokenizer), &text, colour ? 1 : 0, &rest);
  libglobal::append(text, colour ? kErrorColour : "");
  for (const token *tok = rest; tok != nullptr; tok = next_token(tok)) {
    libglobal::append_all(text, text_of(*tok), " ");
  }
  libglobal::append(text, '\n');
  libglobal::fill(text, ' ', static_cast<std::size_t>(width));
  const std::string_view blamed = rest == nullptr ? std::string_view{} : text_of(*rest);
  libglobal::append_all(text, "^\n", colour ? kMessageColour : "", message_of(error.errcode), colour ? kReset : "",
                        " at '", blamed, "': '", place_of(error.node), "'\n");
}

// Prints what the text holds, and what may come at the place that the line reached.
void list_available(cli *engine, DynString &text, bool failed) {
  ParserState &state = state_of(engine->parser);
  PtrVector &nodes = *state.nodes;
  const parser_error outcome = *engine->parser.error;
  get_available_nodes(engine->parser, &nodes, {});
  *engine->parser.error = outcome;  // the host may ask how the line ended
  if (failed && (engine->flags & CLI_SHORT_ERRORS) != 0) {
    keep_resembling(nodes, outcome.token == nullptr ? std::string_view{} : text_of(*outcome.token), kShortList);
  }
  if (nodes.size == 0) {
    write_out(engine, text);
    return;
  }
  libglobal::append(text, "Available: \n");
  const NodeTable table{engine, text, nodes};
  table.print("\t", ":", [](const cli_node &node) { return node.type != TYPE_ALIAS; });
}

// Enters the mode, or says why the line failed and what may follow: all that is no command.
[[gnu::noinline]] void perform_other(cli *engine, EngineState &state, const char *line, cli_node *selected,
                                     unsigned options) {
  cli_outcome &outcome = state.outcome;
  const bool failed = selected == nullptr || (selected->type != TYPE_WORD && outcome.errcode != E_OK);
  if (!failed && selected->type == TYPE_SUBCONFIG && selected->parent != nullptr) {
    enter_mode(engine, outcome, selected, options);
    return;
  }
  outcome.kind = failed ? CLI_FAILED : CLI_LISTED;
  if (failed) {
    outcome.node = engine->parser.error->node;
    blame(*engine, line, outcome);
  }
  if ((options & CLI_DRY_RUN) == 0) {
    DynString &text = *state_of(engine->parser).text;
    libglobal::clear(text);
    if (failed) {
      describe_error(engine, text);
    }
    list_available(engine, text, failed);
    outcome.interrupted = state.output.was_interrupted() ? 1 : 0;
  }
}

cli_node *match_line(cli *engine, const char *line, int cursor) {
  own_language(engine);
  tokenizer_run(&engine->tokenizer, line, cursor);
  engine->parser.root = engine->current;  // the run marks it
  parser_error &error = state_of(engine->parser).error;
  error.token = nullptr;
  error.node = nullptr;
  return parser_run(&engine->parser, &engine->tokenizer, nullptr);
}

}  // namespace

cli_node *parse_line(cli *engine, const char *line, int cursor) {
  begin_output(engine);
  return match_line(engine, line, cursor);
}

void perform(cli *engine, EngineState &state, const char *line, cli_node *selected, unsigned options) {
  state.outcome.errcode = engine->parser.error->errcode;
  state.outcome.node = selected;
  if (is_command(selected)) [[likely]] {
    run_command(engine, state, selected, options);
  } else {
    perform_other(engine, state, line, selected, options);
  }
}

void end_command(cli *engine, EngineState &state, int result) {
  if (state.output.data.command != nullptr) [[unlikely]] {
    end_data(engine, state.output.data);
  } else if (engine->pager.lines.first != nullptr) {
    pager_show(&engine->pager);
  }
  state.outcome.kind = CLI_RAN;
  state.outcome.result = result;
  state.outcome.interrupted = state.output.was_interrupted() ? 1 : 0;
}

void run_line(cli *engine, EngineState &state, const char *line, unsigned options) {
  state.outcome = {};
  if (is_comment(line, options)) {
    return;
  }
  state.busy = true;
  state.output.begin();
  perform(engine, state, line, match_line(engine, line, -1), options);
  state.busy = state.deferral == Deferral::kPending;
}

}  // namespace cli_engine

void cli_execute(cli *engine, const char *line) {
  cli_engine::EngineState *const state = cli_engine::state_if_up(engine);
  if (state != nullptr && line != nullptr && !state->busy) {
    cli_engine::run_line(engine, *state, line, 0);
  }
}
