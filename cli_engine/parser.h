/* Matching a tokenized line against the command tree.
 *
 * A run leaves its result in three places: the marks in the tree (`used`, `completed`, `token`; valid until the next
 * run), the fields of the parser, and an error record. */
#ifndef CLI_ENGINE_PARSER_H
#define CLI_ENGINE_PARSER_H

#include <stdint.h>

#include "cli_engine/tokenizer.h"
#include "libglobal/export.h"
#include "libglobal/ptr_vector.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct cli_node cli_node;
typedef struct parser parser;
typedef struct parser_error parser_error;

/* Why a line failed. The numbers are part of the interface. */
enum {
  E_OK = 0,
  E_INVALID_ARGUMENT = 1, /* a required argument does not accept the token */
  E_AMBIGUOUS = 2,        /* the token abbreviates more than one word */
  E_EXTRA_INPUT = 3,      /* a token is left that nothing accepts */
  E_INCOMPLETE = 4        /* a required argument is missing, or the line is empty */
};

/* Written by a run; owned by its caller. */
struct parser_error {
  const char *line;    /* borrowed: the first token's text */
  int32_t errcode;     /* E_... */
  struct token *token; /* borrowed: the token blamed, or null */
  cli_node *node;      /* borrowed: where matching failed, or null */
};

/* What a run reads and leaves. */
struct parser {
  cli_node *root;              /* the mode the line starts in; a run may move it to an enclosing mode */
  uint8_t collect;             /* arguments are listed whatever the token */
  int32_t privilege;           /* words of a higher level are invisible; 1 at first */
  parser_error *error;         /* borrowed: where the last run recorded its outcome; null before the first */
  struct token *current_token; /* the token being matched; null when the line is used up */
  cli_node *last_node;         /* matched the last accepted token */
  cli_node *current_node;      /* whose arguments and words are being matched */
  cli_node *next_choice;       /* the word found for the current token, or null */
  uint8_t required_candidate;  /* a node that is not optional became a candidate */
  PtrVector *candidates;       /* owned: of cli_node *, in the order found */
  void *internal;              /* the library's own */
};

/* Makes a parser of any memory, with privilege 1. */
CLI_API void parser_open(parser *p);

/* Releases what the parser owns; the tree keeps its marks. */
CLI_API void parser_close(parser *p);

/* Sets the mode (a node of TYPE_SUBCONFIG, or null) that lines start in, and marks it and its ancestors used. */
CLI_API void parser_set_root(parser *p, cli_node *node);

/* Sets the user's privilege level. */
CLI_API void parser_set_privilege(parser *p, int level);

/* The user's privilege level. */
CLI_API int parser_get_privilege(const parser *p);

/* Matches the tokenizer's present line from the parser's root. Returns the command, word or mode that the line selects,
 * or null with the reason in *error. The record must stay valid until the next run; with a null one the parser uses its
 * own, which does. */
CLI_API cli_node *parser_run(parser *p, tokenizer *t, parser_error *error);

/* Empties out and fills it with the nodes that may follow what the last run matched: arguments first, then words in
 * name order. Valid only after a run; writes into that run's error record. */
CLI_API void parser_get_available_nodes(parser *p, PtrVector *out);

#ifdef __cplusplus
}
#endif

#endif
