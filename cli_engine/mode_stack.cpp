// Entering and leaving modes. The line that entered a mode is kept with the mode it was typed in, so that its arguments
// stay readable.
#include "cli_engine/node.hpp"
#include "cli_engine/prompt.hpp"
#include "cli_engine/tokenizer.hpp"

namespace {

using cli_engine::next_token;

void push(cli *engine, cli_node *node) {
  cli_node_list &stack = engine->mode_stack;
  node->subconfig.stack_link.next = nullptr;
  node->subconfig.stack_link.prev_link = stack.last_link;
  *stack.last_link = node;
  stack.last_link = &node->subconfig.stack_link.next;
}

// Unlinks the innermost mode and returns the one that it was entered from. A host that loads definitions inside a mode
// has made the root the present one, so what is unlinked need not be that.
cli_node *pop(cli *engine) {
  cli_node_list &stack = engine->mode_stack;
  cli_node *before = &engine->root;
  cli_node *last = stack.first;
  for (; last->subconfig.stack_link.next != nullptr; last = last->subconfig.stack_link.next) {
    before = last;
  }
  stack.last_link = last->subconfig.stack_link.prev_link;
  *stack.last_link = nullptr;
  last->subconfig.stack_link = {nullptr, nullptr};
  return before;
}

}  // namespace

void cli_push_subconfig(cli *engine, cli_node *node) {
  push(engine, node);
  token_list &line = engine->current->subconfig.tokens;
  tokenizer_copy_list(&engine->tokenizer, &line);
  cli_engine::Marks &marks = cli_engine::marks_of(node);
  for (token *tok = line.first; tok != nullptr; tok = next_token(tok)) {
    if (tok->node != nullptr) {
      marks.bind(*tok->node, tok);
    }
  }
  engine->current = node;
  cli_engine::refresh_prompt(engine);
}

void cli_pop_subconfig(cli *engine) {
  if (engine->mode_stack.first == nullptr) {
    return;
  }
  engine->current = pop(engine);
  token_list &line = engine->current->subconfig.tokens;
  for (const token *tok = line.first; tok != nullptr; tok = next_token(tok)) {
    if (tok->node != nullptr) {
      tok->node->token = nullptr;
    }
  }
  tokenizer_destroy_list(&line);
  cli_engine::refresh_prompt(engine);
}

void cli_reset_subconfig(cli *engine) {
  while (engine->mode_stack.first != nullptr) {
    cli_pop_subconfig(engine);
  }
  engine->current = &engine->root;
}
