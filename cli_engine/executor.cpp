// Executing a line: the handler runs, the mode is entered, or the user is told where and why the line failed and what
// may come there.
#include <string_view>

#include "cli_engine/display.hpp"
#include "cli_engine/engine_state.hpp"
#include "cli_engine/line.hpp"
#include "cli_engine/node.hpp"
#include "cli_engine/parser.hpp"
#include "cli_engine/tokenizer.hpp"
#include "libglobal/dyn_string.hpp"
#include "libglobal/ptr_vector.hpp"
#include "libglobal/report.hpp"

namespace cli_engine {
namespace {

constexpr const char *kSource = "cli_engine/executor";

constexpr const char *kMessages[] = {"success", "Invalid argument", "Ambiguous input", "Extra input at end of command",
                                     "Incomplete command"};

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
  libglobal::clear(echo);
  cli_print_command(tokenizer_first(&engine->tokenizer), &echo, has_colours(*engine) ? 1 : 0, nullptr);
  libglobal::append(echo, '\n');
  write_out(engine, echo);
}

void run_command(cli *engine, cli_node *command) {
  const token *const first = first_token(&engine->tokenizer);
  if ((engine->flags & CLI_NO_ECHO) == 0) {
    echo_line(engine);
  }
  if (engine->parser.root != engine->current) {
    libglobal::require(first != nullptr && first->node != nullptr, "first_node", kSource, __func__);
    const cli_node &word = *first->node;
    const bool is_do = word.type == TYPE_WORD && word.word.link != nullptr;
    if (!is_do && !leave_modes_to(engine, engine->parser.root)) {
      return;
    }
  }
  pager_clear(&engine->pager);
  command->subconfig.handler(engine, command);
  pager_show(&engine->pager);
}

void enter_mode(cli *engine, cli_node *mode) {
  if (mode->subconfig.handler != nullptr && mode->subconfig.handler(engine, mode) != 0) {
    return;
  }
  if (!leave_modes_to(engine, cli_get_parent_subconfig(mode))) {
    return;
  }
  cli_push_subconfig(engine, mode);
  parser_set_root(&engine->parser, engine->current);
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
void list_available(cli *engine, DynString &text) {
  ParserState &state = state_of(engine->parser);
  PtrVector &nodes = *state.nodes;
  const parser_error outcome = *engine->parser.error;
  get_available_nodes(engine->parser, &nodes, {});
  *engine->parser.error = outcome;  // the host may ask how the line ended
  if (nodes.size == 0) {
    write_out(engine, text);
    return;
  }
  libglobal::append(text, "Available: \n");
  const NodeTable table{engine, text, nodes};
  table.print("\t", ":", [](const cli_node &node) { return node.type != TYPE_ALIAS; });
}

}  // namespace

cli_node *parse_line(cli *engine, const char *line, int cursor) {
  if (EngineState *const state = state_of(engine)) {
    state->output.begin();
  }
  tokenizer_run(&engine->tokenizer, line, cursor);
  parser_set_root(&engine->parser, engine->current);
  parser_error &error = state_of(engine->parser).error;
  error = {line, E_OK, nullptr, nullptr};
  return parser_run(&engine->parser, &engine->tokenizer, nullptr);
}

}  // namespace cli_engine

void cli_execute(cli *engine, const char *line) {
  if (*line == '!' || *line == '#') {
    return;
  }
  cli_node *selected = cli_engine::parse_line(engine, line, -1);
  if (selected != nullptr && selected->type == TYPE_COMMAND && selected->parent != nullptr) {
    cli_engine::run_command(engine, selected);
    return;
  }
  const bool failed = selected == nullptr || (selected->type != TYPE_WORD && engine->parser.error->errcode != E_OK);
  if (!failed && selected->type == TYPE_SUBCONFIG && selected->parent != nullptr) {
    cli_engine::enter_mode(engine, selected);
    return;
  }
  DynString &text = *cli_engine::state_of(engine->parser).text;
  libglobal::clear(text);
  if (failed) {
    cli_engine::describe_error(engine, text);
  }
  cli_engine::list_available(engine, text);
}
