/* The engine: a command language, declared by a JSON document, that lines are executed against.
 *
 * House rules for all headers of the library:
 *  - Results are 0 for success and -1 for failure, or a pointer that is null for "not found".
 *  - `_open`/`_close` work on a record in the caller's memory, `_new`/`_free` on the heap; `_free` of null is harmless.
 *  - One engine belongs to one thread. Several engines may exist.
 *  - What cannot be answered changes nothing and gives -1, 0, null or nothing: a call for a null engine, node or
 *    string, for an engine that is not up, and one from inside a handler that would run, complete or explain a line
 *    of its own engine, give it another language or free it.
 *  - Texts are NUL-terminated bytes, lengths and widths are in bytes.
 *  - What is printed goes to standard output, or through `write` of the engine once a host preset that.
 *  - A fault of the host's documents ends the process with a message (exit status 1 or the assertion report of
 *    libglobal/log_assert.h), and so does exhausted memory. A line that a user types never does.
 *  - Handlers, matchers, converters and comparisons must not throw.
 *
 * The life of an engine:
 *
 *     cli engine = {0};                                   // all of it zero
 *     engine.exit_handler = leave_mode;                   // and other presets, see `cli`
 *     validator_typesystem *types = validator_typesystem_new();
 *     if (!cli_init(&engine, types, definitions, NULL, NULL)) return 1;
 *     while (read_line(engine.prompt_text, line)) cli_execute(&engine, line);
 *     cli_free(&engine);
 *     validator_typesystem_free(types);
 */
#ifndef CLI_ENGINE_CLI_ENGINE_H
#define CLI_ENGINE_CLI_ENGINE_H

#include <jansson.h>
#include <stddef.h>
#include <stdint.h>

#include "cli_engine/arguments.h"
#include "cli_engine/completion.h"
#include "cli_engine/language.h"
#include "cli_engine/node.h"
#include "cli_engine/outcome.h"
#include "cli_engine/pager.h"
#include "cli_engine/parser.h"
#include "cli_engine/tokenizer.h"
#include "cli_engine/validator.h"
#include "cli_engine/version.h"
#include "libglobal/dyn_string.h"
#include "libglobal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Takes a piece of what the engine prints: bytes as they come, cut anywhere. 0, or -1: nobody takes output any more,
 * and the rest of the present command's output is dropped. It must not call the engine, except for cli_interrupt and
 * cli_last_outcome: while a line runs, `node` is already what it selected, and `kind` is CLI_FAILED or CLI_LISTED when
 * what is written tells that. The first piece of a command that is echoed is its echo, before its handler
 * runs. It may take itself off by clearing `write`; what follows is then printed on standard output. */
typedef int (*cli_write)(void *data, const char *text, size_t len);

/* Appends to the array `result`, as strings, whole words that the value could be; `text` is what was typed of it. */
typedef void (*cli_complete_value)(cli *engine, cli_node *value, const char *text, json_t *result);

/* What `flags` of the engine record holds. */
enum {
  CLI_NO_COLOUR = 1U << 0U, /* no escape sequence in anything that the engine writes, tables included */
  CLI_NO_ECHO = 1U << 1U,   /* a command's line is not written before its output */
  CLI_HANDLERS_ONLY =
      1U << 2U,        /* handlers come from `handlers` alone: a name missing there is a fault of the document */
  CLI_DATA = 1U << 3U, /* commands write data: one JSON document each, see cli_engine/table.h */
  CLI_SHORT_ERRORS = 1U << 4U,  /* a failed line lists only what resembles the blamed word, ten rows at most */
  CLI_EXPLAIN_LEVELS = 1U << 5U /* cli_explain may name a word that the user's level does not reach, and its level */
};

/* An engine, in the host's memory. Zero-fill it, preset what is marked so, and call cli_init. */
struct cli {
  uint8_t initialized;             /* 1 from the end of loading to cli_free */
  char prompt_host[32];            /* preset or cli_set_prompt: first part of the prompt */
  char prompt_mode[32];            /* the mode in parentheses, or empty */
  char prompt_name[16];            /* preset or cli_set_prompt; "cli" when empty */
  char prompt_end;                 /* preset or cli_set_prompt; '>' when 0 */
  char prompt_text[120];           /* the whole prompt; print it before reading a line */
  void *context;                   /* the host's, as given to cli_init */
  int32_t level;                   /* the host's; set to -1 when 0 */
  struct tokenizer tokenizer;      /* the words of the last line */
  struct parser parser;            /* parser.error->errcode tells how the last line ended */
  struct pager pager;              /* where handlers write */
  cli_node root;                   /* the top-level mode */
  cli_node *current;               /* the present mode */
  struct cli_node_list mode_stack; /* the entered modes, outermost first */
  cli_handler exit_handler;        /* preset: behind "exit" in every mode; null for no "exit" */
  cli_handler end_handler;         /* preset: behind "end" in every mode; null for no "end" */

  const cli_handler_entry *handlers; /* preset: asked before the process's symbols; null for none */
  cli_write write;                   /* preset: takes everything that the engine prints; null: standard output */
  void *write_data;                  /* preset: handed to `write` */
  cli_complete_value complete;       /* preset: offers what a value could be; null for none; see cli_complete */
  uint32_t flags;                    /* preset: CLI_NO_COLOUR and others; may change between lines */
  void *internal;                    /* the library's own */
};

/* ---- The life of an engine ---- */

/* Brings up an engine whose record is zero-filled but for the presets. The documents are borrowed for the call (the
 * tree takes references to what it needs); the registry must stay valid until the commands are unloaded; privileges may
 * be null. Handlers are found by dlsym among the process's global symbols. Returns the engine, or null, with a message
 * in the output, when the definitions are null or not an object; any other fault in them ends the process. */
CLI_API cli *cli_init(cli *engine, validator_typesystem *types, json_t *definitions, void *context, json_t *privileges);

#ifndef CLI_ENGINE_NO_LAYOUT_CHECK
/* cli_init, after the check that host and library agree about the records. It stands for cli_init in every host, so
 * that one that was built against another layout is told so instead of crashing. */
static inline cli *cli_init_checked(cli *engine, validator_typesystem *types, json_t *definitions, void *context,
                                    json_t *privileges) {
  cli_engine_check_layout(CLI_ENGINE_LAYOUT, sizeof(cli));
  return cli_init(engine, types, definitions, context, privileges);
}

/* The same for an engine on a language. */
static inline cli *cli_init_language_checked(cli *engine, cli_language *language, void *context) {
  cli_engine_check_layout(CLI_ENGINE_LAYOUT, sizeof(cli));
  return cli_init_language(engine, language, context);
}

/* Hosts call it by this name. */
#define cli_init cli_init_checked
/* And this one. */
#define cli_init_language cli_init_language_checked
#endif

/* Takes the engine down; the record stays the host's. Harmless for null and an engine that is not up. */
CLI_API void cli_free(cli *engine);

/* Loads definitions into an engine whose tree is empty; 0, or -1 with a message as for cli_init. Together with
 * cli_reset_subconfig and cli_unload_commands, which go before, this exchanges the language of a running engine. */
CLI_API int cli_load_commands(cli *engine, validator_typesystem *types, json_t *definitions, json_t *privileges);

/* Releases every node below the root. No mode may be entered: call cli_reset_subconfig first. */
CLI_API void cli_unload_commands(cli *engine);

/* ---- Lines ---- */

/* Executes a line: runs a handler, enters a mode, or says why not and what may follow. A null line, an engine that is
 * not up or busy, and a call from inside a handler do nothing; cli_run tells more, and cli_last_outcome afterwards. */
CLI_API void cli_execute(cli *engine, const char *line);

/* Prints what may follow the line, or complete its last word, with help texts; nothing while a line is pending. A null
 * line is an empty one. */
CLI_API void cli_help(cli *engine, const char *line);

/* Appends to the array `result`, as strings that end in a blank, what can complete the line's last word. Where a value
 * is due that cannot be listed, the array is emptied. The cursor is taken to stand at the end of the line; the argument
 * is not read. */
CLI_API void cli_autocomplete(cli *engine, const char *line, int cursor, json_t *result);

/* ---- Modes and prompts ---- */

/* Enters the mode `node`, with the present line as the one that led there. Called by cli_execute. A mode that is open
 * already, and a node that is no mode of the engine's language, change nothing. */
CLI_API void cli_push_subconfig(cli *engine, cli_node *node);

/* Leaves the innermost mode; nothing happens at the top level. */
CLI_API void cli_pop_subconfig(cli *engine);

/* Leaves all modes. */
CLI_API void cli_reset_subconfig(cli *engine);

/* Replaces parts of the prompt: null, or 0 for the end, leaves a part as it is. Host and mode keep at most 31 bytes
 * and whole UTF-8 characters, the name just its first 15 bytes. */
CLI_API void cli_set_prompt(cli *engine, const char *host, const char *name, const char *mode, char end);

/* The text of a "#prompt" value whose condition holds now: borrowed from the document. The name is for messages. */
CLI_API const char *cli_select_prompt(cli *engine, json_t *prompt, const char *name);

/* The first token of the line that led from the mode `node` into a deeper one, or, for the present mode, of the present
 * line; null for a node that is no mode. A null engine reads the saved line. */
CLI_API token *cli_get_subconfig_first_token(cli *engine, cli_node *node);

/* ---- Reading what a line matched ---- */

/* The first node below `node`, arguments before words, that the last line matched and whose name equals the first len
 * bytes of name, in any case; null when there is none. */
CLI_API cli_node *cli_node_getn(cli_node *node, const char *name, size_t len);

/* The node that a path of names, separated by spaces, leads to: each found as by cli_node_getn below the one before. */
CLI_API cli_node *cli_node_find(cli_node *node, const char *path);

/* The mode that encloses the node, the root at the last; null for the root. */
CLI_API cli_node *cli_get_parent_subconfig(cli_node *node);

/* 1 when the conditions "if" and "if-not" of an object hold for what the last line matched, else 0. */
CLI_API int cli_check_parameter_condition(cli *engine, json_t *holder);

/* The value that the line gave: true or false for a keyword; the converted token for a value; null when it was not
 * given. Borrowed: it lives until the next line; take a reference to keep it. */
CLI_API json_t *cli_node_value(cli_node *node);

/* ---- Walking the tree ---- */

/* The first word below a node in name order; null for a node without words. */
CLI_API cli_node *cli_node_first_choice(const cli_node *node);

/* The word after it; null at the end. */
CLI_API cli_node *cli_node_next_choice(const cli_node *choice);

/* The first argument of a node in declaration order; null for a null node and one without arguments. */
CLI_API cli_node *cli_node_first_arg(const cli_node *node);

/* The argument after it; null at the end. */
CLI_API cli_node *cli_node_next_arg(const cli_node *arg);

/* ---- Showing ---- */

/* Appends the notation of a node: with tok, as the line gave it; without, as syntax with bounds and choices. Returns
 * the visible width. A nonzero colour adds terminal colours. Groups have no notation. */
CLI_API int cli_print_node(cli_node *node, token *tok, DynString *out, int colour);

/* Appends the notation of the matched tokens from `first` on, a blank after each, and returns the visible width. rest,
 * when not null, receives the first token that was not matched, or null. */
CLI_API int cli_print_command(token *first, DynString *out, int colour, token **rest);

/* Prints every command and mode with its arguments in bracket notation. */
CLI_API void cli_debug_dump(cli *engine);

#ifdef __cplusplus
}
#endif

#endif
