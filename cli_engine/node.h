/* The records of a command tree: what a language's words, values, groups and modes are to a host that walks the tree or
 * reads what a line matched. Hosts include cli_engine/cli_engine.h, which includes this. */
#ifndef CLI_ENGINE_NODE_H
#define CLI_ENGINE_NODE_H

#include <jansson.h>
#include <stddef.h>
#include <stdint.h>

#include "cli_engine/tokenizer.h"
#include "cli_engine/validator.h"

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

/* A row of a host's own table of handlers; a row with a null name ends the table. */
typedef struct cli_handler_entry {
  const char *name;    /* as "#handler" names it; "*" for every name that no other row has */
  cli_handler handler; /* not null */
} cli_handler_entry;

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
  cli_node *link;              /* borrowed: matching goes on there after this word ("do": the root, or in a shared
                                  language one that stands for it); else null */
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

#ifdef __cplusplus
}
#endif

#endif
