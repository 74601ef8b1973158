/* Splitting a line into words.
 *
 * Words are separated by white space. Single and double quotes hold blanks and each other; a backslash takes the next
 * byte as it is, inside quotes too; neither is kept in the word. A quoted part joins the word around it, an empty pair
 * of quotes is an empty word. An open quote runs to the end of the line, a trailing backslash is dropped.
 *
 * The texts of the present words lie in one buffer that the tokenizer owns and reuses; the records come from a pool.
 * What a line of more than 16 KiB took is given back with the next shorter one, when the lists copied from it are gone.
 * Both stay valid until the next tokenizer_run, tokenizer_replace or tokenizer_close. */
#ifndef CLI_ENGINE_TOKENIZER_H
#define CLI_ENGINE_TOKENIZER_H

#include <stddef.h>
#include <stdint.h>

#include "libglobal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct token token;
typedef struct token_list token_list;
typedef struct tokenizer tokenizer;

/* Singly linked; appending takes constant time. A zero-filled record is not yet a list. */
struct token_list {
  token *first;      /* null when empty */
  token **last_link; /* the `next` of the last token, or `first` when empty */
};

/* A word of a line, quotes and backslashes removed. */
struct token {
  char *text;                  /* borrowed: in the tokenizer's buffer, or in the block of a copied list */
  uint32_t len;                /* bytes, the closing NUL not counted */
  int32_t cursor;              /* bytes of the text before the cursor, or -1 when the cursor is elsewhere */
  struct cli_node *node;       /* borrowed: the node that the parser matched it to, or null */
  struct tokenizer *tokenizer; /* the tokenizer whose pool the record returns to */
  token *next;                 /* see token_next */
};

/* One line's words at a time. */
struct tokenizer {
  char *buffer;           /* owned: the texts of `tokens`, each with its NUL, without gaps, in line order */
  uint32_t capacity;      /* bytes of `buffer` */
  token *cursor_token;    /* the token of `tokens` that holds the cursor, or null */
  uint8_t stop_at_cursor; /* when set, walks end before `cursor_token` */
  token_list pool;        /* spare records */
  token_list tokens;      /* the words of the last line */
};

/* Makes an empty tokenizer of any memory; it holds nothing on the heap until the first run. */
CLI_API void tokenizer_open(tokenizer *t);

/* Splits a NUL-terminated line; what the run before left is recycled. cursor is the offset of the user's cursor in
 * the line (its length for the end), or -1 for none. A null line only empties the list. */
CLI_API void tokenizer_run(tokenizer *t, const char *line, int cursor);

/* Makes dst (whatever it held before) an independent copy of the present tokens, nodes included, as far as the walk
 * goes. The copy is owned by the caller and is released by tokenizer_destroy_list before the tokenizer is closed. */
CLI_API void tokenizer_copy_list(tokenizer *t, token_list *dst);

/* Releases a list that tokenizer_copy_list made; the list is empty afterwards. An empty or zero-filled one is
 * harmless. */
CLI_API void tokenizer_destroy_list(token_list *list);

/* Puts copies of a copied list's tokens in the place of `old`, a token of the present list, which is released. Returns
 * the first token put in, or what followed `old` when the replacement is empty. */
CLI_API token *tokenizer_replace(tokenizer *t, token_list *replacement, token *old);

/* Releases the records and the buffer. Lists copied from this tokenizer must have been destroyed before. */
CLI_API void tokenizer_close(tokenizer *t);

/* The walk over the present tokens: the first one, or null when there is none (or when stop_at_cursor is set and the
 * first one holds the cursor). */
CLI_API token *tokenizer_first(tokenizer *t);

/* The token after tok, or null for a null tok, at the end, and before the cursor's token while stop_at_cursor is
 * set. */
CLI_API token *token_next(token *tok);

/* The bytes that the texts from tok to the end of the walk take, each with its NUL; 0 for null. */
CLI_API size_t token_list_size(token *tok);

#ifdef __cplusplus
}
#endif

#endif
