// The walk over a tokenizer's words, inline for the library's own modules.
#ifndef CLI_ENGINE_TOKENIZER_HPP
#define CLI_ENGINE_TOKENIZER_HPP

#include "cli_engine/tokenizer.h"

namespace cli_engine {

// As tokenizer_first.
inline token *first_token(const tokenizer *t) {
  token *const first = t->tokens.first;
  return t->stop_at_cursor != 0 && first == t->cursor_token ? nullptr : first;
}

// As token_next.
inline token *next_token(const token *tok) {
  if (tok == nullptr || tok->next == nullptr) {
    return nullptr;
  }
  const tokenizer *const t = tok->tokenizer;
  return t->stop_at_cursor != 0 && tok->next == t->cursor_token ? nullptr : tok->next;
}

// Makes dst an independent copy of the walk that begins with `first`, its texts in one block.
void copy_tokens(tokenizer *t, const token *first, token_list &dst);

}  // namespace cli_engine

#endif
