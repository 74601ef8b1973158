/* The engine: a command language, declared by a JSON document, that lines are executed against.
 *
 * House rules for all headers of the library:
 *  - Results are 0 for success and -1 for failure, or a pointer that is null for "not found".
 *  - `_open`/`_close` work on a record in the caller's memory, `_new`/`_free` on the heap; `_free` of null is harmless.
 *  - One engine belongs to one thread. Several engines may exist.
 *  - Texts are NUL-terminated bytes, lengths and widths are in bytes.
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

typedef struct cli cli;
typedef struct cli_node cli_node;

/* A host's function behind a "#handler" name: called with the engine and the node that owns it. For a command the
 * result is ignored; for a mode a result other than 0 refuses the entry. Arguments are read with cli_node_find and
 * cli_node_value, output goes to engine->pager. It must not call cli_execute, cli_help or cli_autocomplete on the same
 * engine, nor unload its commands. */
typedef int (*cli_handler)(cli *engine, cli_node *node);

/* Kinds of node (node_type). The numbers are part of the interface. */
typedef enum node_type {
  TYPE_SUBCONFIG = 0, /* a command that enters a mode; the root too */
  TYPE_COMMAND = 1,   /* a command word with a handler */
  TYPE_WORD = 2,      /* a command word without one */
  TYPE_KEY = 3,       /* a keyword argument, which may take one value */
  TYPE_VALUE = 4,     /* a typed value */
  TYPE_CONTAINER = 5, /* a group of arguments */
  TYPE_ALIAS = 6      /* a word that stands for another line */
} node_type;

/* How a group's members may be given (`mode` of a container). */
enum { CONTAINER_SEQUENTIAL = 0, CONTAINER_SELECTIVE = 1, CONTAINER_EXCLUSIVE = 2 };

/* What a value's notation in the dump says (`repeat`): bit 0 several, bit 1 a range. */
enum { REPEAT_NONE = 0, REPEAT_MULTI = 1, REPEAT_RANGE = 2, REPEAT_MULTI_RANGE = 3 };

/* An ordered set of child words; walk it with cli_node_first_choice. */
struct cli_node_set {
  cli_node *root; /* null when empty */
};

/* Nodes in declaration order (or, for the mode stack, outermost first). */
struct cli_node_list {
  cli_node *first;      /* null when empty */
  cli_node **last_link; /* the link of the last node, or `first` when empty */
};

/* TYPE_SUBCONFIG and TYPE_COMMAND */
struct cli_node_subconfig {
  cli_handler handler;         /* null for a mode that needs none */
  struct cli_node_set choices; /* the words below */
  struct cli_node_list args;   /* at most one: a group stands for several */
  json_t *prompt;              /* modes: reference to the "#prompt" value */
  struct {
    cli_node *next;
    cli_node **prev_link;
  } stack_link;             /* modes: place in the mode stack */
  struct token_list tokens; /* modes: the line, typed in this mode, that entered the next deeper one */
};

/* TYPE_WORD */
struct cli_node_word {
  struct cli_node_set choices; /* the words below */
  cli_node *link;              /* borrowed: matching goes on there after this word ("do": the root); else null */
  struct cli_node_list args;   /* at most one: a group stands for several */
};

/* TYPE_KEY */
struct cli_node_key {
  struct cli_node_list args; /* the key's value, or nothing */
  int32_t required;          /* 1 or 0 */
};

/* TYPE_CONTAINER */
struct cli_node_container {
  struct cli_node_list args; /* members */
  int32_t required;          /* 1 or 0 */
  int32_t mode;              /* CONTAINER_... */
};

/* TYPE_VALUE */
struct cli_node_value_part {
  struct validator validator; /* what it accepts */
  int32_t required;           /* 1 or 0 */
  int32_t repeat;             /* REPEAT_... */
  json_t *value;              /* owned cache of cli_node_value */
};

/* TYPE_ALIAS */
struct cli_node_alias {
  char *alias;                    /* owned: the text it stands for */
  struct token_list alias_tokens; /* owned: its words */
};

/* A word, keyword, value, group, alias or mode. For reading: hosts change nothing here. All texts and nodes live until
 * the commands are unloaded. */
struct cli_node {
  node_type type;          /* decides which part of the union counts */
  json_t *definition;      /* reference to the JSON object that declared it; null for the root and built-in nodes */
  cli_node *parent;        /* the node that holds it; null for the root */
  char *help;              /* owned; null for a group and the root */
  char *name;              /* owned; null for the root and an unnamed group */
  const char *mode_prompt; /* borrowed: the prompt name of the mode that it was declared in */
  size_t name_len;         /* bytes of the name */
  int32_t privilege;       /* 0 to 15: the level that a user needs */
  __extension__ union {
    struct cli_node_subconfig subconfig;
    struct cli_node_word word;
    struct cli_node_key key;
    struct cli_node_container container;
    struct cli_node_value_part value;
    struct cli_node_alias alias;
  };
  struct {
    cli_node *left;
    cli_node *right;
    cli_node *parent;
    int32_t colour;    /* 1 red, 0 black */
  } choice_link;       /* place in the parent's choices */
  cli_node *arg_link;  /* the next of the parent's arguments */
  uint8_t completed;   /* this and what follows: marks of the last line; can take no further token */
  uint8_t used;        /* the line matched this node or one below it */
  struct token *token; /* borrowed: the token matched, or null */
  void *internal;      /* the library's own */
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
};

/* ---- The life of an engine ---- */

/* Brings up an engine whose record is zero-filled but for the presets. The documents are borrowed for the call (the
 * tree takes references to what it needs); the registry must stay valid until the commands are unloaded; privileges may
 * be null. Handlers are found by dlsym among the process's global symbols. Returns the engine, or null, with a message
 * on standard output, when the definitions are null or not an object; any other fault in them ends the process. */
CLI_API cli *cli_init(cli *engine, validator_typesystem *types, json_t *definitions, void *context, json_t *privileges);

#ifndef CLI_ENGINE_NO_LAYOUT_CHECK
/* cli_init, after the check that host and library agree about the records. It stands for cli_init in every host, so
 * that one that was built against another layout is told so instead of crashing. */
static inline cli *cli_init_checked(cli *engine, validator_typesystem *types, json_t *definitions, void *context,
                                    json_t *privileges) {
  cli_engine_check_layout(CLI_ENGINE_LAYOUT, sizeof(cli));
  return cli_init(engine, types, definitions, context, privileges);
}

/* Hosts call cli_init_checked by this name. */
#define cli_init cli_init_checked
#endif

/* Takes the engine down; the record stays the host's. Null is harmless. */
CLI_API void cli_free(cli *engine);

/* Loads definitions into an engine whose tree is empty; 0, or -1 with a message as for cli_init. Together with
 * cli_reset_subconfig and cli_unload_commands, which go before, this exchanges the language of a running engine. */
CLI_API int cli_load_commands(cli *engine, validator_typesystem *types, json_t *definitions, json_t *privileges);

/* Releases every node below the root. No mode may be entered: call cli_reset_subconfig first. */
CLI_API void cli_unload_commands(cli *engine);

/* ---- Lines ---- */

/* Executes a line: runs a handler, enters a mode, or says on standard output why not and what may follow. */
CLI_API void cli_execute(cli *engine, const char *line);

/* Prints what may follow the line, or complete its last word, with help texts. */
CLI_API void cli_help(cli *engine, const char *line);

/* Appends to the array `result`, as strings that end in a blank, what can complete the line's last word. Where a value
 * is due that cannot be listed, the array is emptied. The cursor is taken to stand at the end of the line; the argument
 * is not read. */
CLI_API void cli_autocomplete(cli *engine, const char *line, int cursor, json_t *result);

/* ---- Modes and prompts ---- */

/* Enters the mode `node`, with the present line as the one that led there. Called by cli_execute. */
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

/* Prints every command and mode with its arguments in bracket notation on standard output. */
CLI_API void cli_debug_dump(cli *engine);

#ifdef __cplusplus
}
#endif

#endif
