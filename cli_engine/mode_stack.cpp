// Entering and leaving modes. The line that entered a mode is kept with the mode it was typed in, so that its arguments
// stay readable.
#include "cli_engine/mode_stack.hpp"

#include <cstdlib>
#include <cstring>

#include "cli_engine/engine_state.hpp"
#include "cli_engine/node.hpp"
#include "cli_engine/prompt.hpp"
#include "cli_engine/tokenizer.hpp"
#include "libglobal/chain.hpp"
#include "libglobal/report.hpp"

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

void bind_line(cli_node *mode, const token_list &line) {
  cli_engine::Marks &marks = cli_engine::marks_of(mode);
  for (token *tok = line.first; tok != nullptr; tok = next_token(tok)) {
    if (tok->node != nullptr) {
      marks.bind(*tok->node, tok);
    }
  }
}

// Leaves the innermost mode, of which there must be one; the prompt stays.
void leave(cli *engine) {
  engine->current = pop(engine);
  token_list &line = engine->current->subconfig.tokens;
  for (const token *tok = line.first; tok != nullptr; tok = next_token(tok)) {
    if (tok->node != nullptr) {
      tok->node->token = nullptr;
    }
  }
  tokenizer_destroy_list(&line);
}

// A mode of the engine's language that is not open: the root is always, and a mode is no second time.
bool can_be_entered(const cli *engine, cli_node *node) {
  return node != nullptr && cli_engine::is_mode(node) && node->parent != nullptr &&
         node->subconfig.stack_link.prev_link == nullptr &&
         cli_engine::tree_root(node) == cli_engine::tree_root(engine->current);
}

}  // namespace

namespace cli_engine {

// An open mode, and the line that was typed in it and entered the next one.
struct OpenModes::Mode {
  cli_node *node;
  token_list line;
};

OpenModes::OpenModes(cli *engine) : engine_(engine) {
  own_language(engine);
  for (const cli_node *mode = engine->mode_stack.first; mode != nullptr; mode = mode->subconfig.stack_link.next) {
    count_++;
  }
  std::memcpy(prompt_, engine->prompt_mode, sizeof prompt_);
  if (count_ == 0) {
    return;
  }
  modes_ = static_cast<Mode *>(libglobal::xcalloc(count_, sizeof(Mode), LIBGLOBAL_CALLER(kEngineSource)));
  const cli_node *outer = &engine->root;
  cli_node *mode = engine->mode_stack.first;
  for (std::size_t i = 0; i < count_; i++, outer = mode, mode = mode->subconfig.stack_link.next) {
    modes_[i].node = mode;
    copy_tokens(&engine->tokenizer, outer->subconfig.tokens.first, modes_[i].line);
  }
}

OpenModes::~OpenModes() {
  for (std::size_t i = 0; i < count_; i++) {
    tokenizer_destroy_list(&modes_[i].line);
  }
  std::free(modes_);
}

void OpenModes::restore() {
  own_language(engine_);
  while (engine_->mode_stack.first != nullptr) {
    leave(engine_);
  }
  engine_->current = &engine_->root;
  for (std::size_t i = 0; i < count_; i++) {
    push(engine_, modes_[i].node);
    token_list &line = engine_->current->subconfig.tokens;
    libglobal::make_empty(line);
    libglobal::join(line, modes_[i].line);
    bind_line(modes_[i].node, line);
    engine_->current = modes_[i].node;
  }
  // Conditions of prompts look at the last line, which is not the one that entered the mode.
  cli_set_prompt(engine_, nullptr, nullptr, prompt_, 0);
  parser_set_root(&engine_->parser, engine_->current);
}

}  // namespace cli_engine

void cli_push_subconfig(cli *engine, cli_node *node) {
  if (cli_engine::state_if_up(engine) == nullptr) {
    return;
  }
  cli_engine::own_language(engine);
  if (!can_be_entered(engine, node)) {
    return;
  }
  push(engine, node);
  token_list &line = engine->current->subconfig.tokens;
  tokenizer_copy_list(&engine->tokenizer, &line);
  bind_line(node, line);
  engine->current = node;
  cli_engine::refresh_prompt(engine);
}

void cli_pop_subconfig(cli *engine) {
  if (cli_engine::state_if_up(engine) == nullptr) {
    return;
  }
  cli_engine::own_language(engine);
  if (engine->mode_stack.first == nullptr) {
    return;
  }
  leave(engine);
  cli_engine::refresh_prompt(engine);
}

void cli_reset_subconfig(cli *engine) {
  if (cli_engine::state_if_up(engine) == nullptr) {
    return;
  }
  while (engine->mode_stack.first != nullptr) {
    cli_pop_subconfig(engine);
  }
  engine->current = &engine->root;
}
