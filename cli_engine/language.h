/* A language of its own: loaded once, from text or from JSON, with every fault told and nothing ended, and used by any
 * number of engines. Hosts include cli_engine/cli_engine.h, which includes this.
 *
 *     cli_language_source source = {.definitions = "edge.json", .handlers = table, .exit_handler = leave_mode};
 *     cli_language *language = cli_language_load(types, &source, print_fault, NULL);
 *     if (language == NULL) return 1;                     // print_fault was called for each fault
 *     cli one = {0}, other = {0};
 *     cli_init_language(&one, language, NULL);
 *     cli_init_language(&other, language, NULL);
 *     ...
 *     cli_free(&one);
 *     cli_free(&other);
 *     cli_language_free(language);
 */
#ifndef CLI_ENGINE_LANGUAGE_H
#define CLI_ENGINE_LANGUAGE_H

#include <jansson.h>
#include <stddef.h>
#include <stdint.h>

#include "cli_engine/node.h"
#include "cli_engine/validator.h"
#include "libglobal/dyn_string.h"
#include "libglobal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A loaded language (opaque). One thread uses it and all its engines. */
typedef struct cli_language cli_language;

/* How grave a fault is. */
enum {
  CLI_ERROR = 0,   /* the documents cannot be loaded */
  CLI_WARNING = 1, /* they load, but cannot be meant so */
  CLI_NOTE = 2     /* worth knowing */
};

/* What is wrong with a document, and where. All texts are borrowed for the call of the report. */
typedef struct cli_fault {
  int32_t severity; /* CLI_ERROR, CLI_WARNING, CLI_NOTE */
  const char *file; /* as given, or null for documents handed over as JSON */
  uint32_t line;    /* 1-based; 0 when unknown */
  uint32_t column;  /* 1-based, in bytes; 0 when unknown */
  const char *path; /* the keys down to the place: "configure terminal / interface / #args[0]"; "" for the document */
  const char *rule; /* a stable name: "unknown-type" */
  const char *text; /* one sentence that names the definition and says how to mend it */
} cli_fault;

/* Takes one fault. It must not use the language that is being loaded. */
typedef void (*cli_report)(void *data, const cli_fault *fault);

/* Where a language comes from and whom it calls. All of it is borrowed for the call that takes it; of `handlers` only
 * the functions are kept. */
typedef struct cli_language_source {
  const char *definitions;           /* file name */
  const char *privileges;            /* file name; null for no privilege table */
  const cli_handler_entry *handlers; /* as in the engine's record: asked before the process's symbols; null for none */
  uint32_t flags;                    /* CLI_HANDLERS_ONLY; other bits are not read */
  cli_handler exit_handler;          /* behind "exit" in every mode; null for no "exit" */
  cli_handler end_handler;           /* behind "end" in every mode; null for no "end" */
} cli_language_source;

/* Reads both files and loads them. Every fault is reported, as far as reading on is of use; `report` may be null. Null
 * when there was an error; warnings tell what will not be in the tree: words that an equal one before them hides, and
 * entries of the privilege table without a command. Prints nothing and never ends the process, but for exhausted
 * memory. The registry must outlive the language. Nodes have no `definition`: see cli_node_definition. The file of the
 * definitions stays open: definitions and places are read from it again when they are asked for. One that is replaced
 * by a new file (as good tools write) stays what it was; of one that is written over, nothing is told any more. A
 * number that comes near the end of a double's range is a fault, also one like 0e999. */
CLI_API cli_language *cli_language_load(validator_typesystem *types, const cli_language_source *source,
                                        cli_report report, void *data);

/* The same with documents that the host has as JSON; the source's file names are not read. The documents are borrowed
 * for the call, the tree takes references to what it needs; privileges may be null. */
CLI_API cli_language *cli_language_from_json(validator_typesystem *types, json_t *definitions, json_t *privileges,
                                             const cli_language_source *source, cli_report report, void *data);

/* Releases a language whose engines are freed, or have another one. Null is harmless. */
CLI_API void cli_language_free(cli_language *language);

/* Brings up an engine whose record is zero-filled but for the presets, on a language: cli_init without loading. The
 * presets `handlers`, `exit_handler` and `end_handler` are not read. Returns the engine; null for a null language.
 *
 * What the last line marked, `engine->root`'s words and their parents, and the modes' part of the tree belong to the
 * engine that was used last; calls on another engine take them over, and give it back what its own last line left. A
 * host that keeps nodes of one engine reads their marks before it uses another one. cli_load_commands and
 * cli_unload_commands first part the engine from the language. */
CLI_API cli *cli_init_language(cli *engine, cli_language *language, void *context);

/* Gives a running engine another language. Open modes stay open, with the lines that entered them, as far as modes of
 * the same names stand in the new one; returns how many were closed, or -1, and nothing changed, for a null language.
 * Not to be called while the engine runs a line. An engine that was brought up by cli_init gives up its own tree. */
CLI_API int cli_exchange_language(cli *engine, cli_language *language);

/* The JSON object that declared a node: borrowed, as long as the node lives. For a node of a language from text it is
 * made when first asked for. Null for the root, built-in nodes, the group around a command's arguments, and when the
 * text cannot be read again. */
CLI_API json_t *cli_node_definition(cli_node *node);

/* Where a node of a language from text was declared: its key, or its argument's declaration; with a member, that
 * member's value. `member` is a name or a path from it into its value, with members behind points and items of arrays,
 * counted from 0, in brackets: "#help", "#enum[3]", "#prompt[1].if", "#args[0].#enum[2]", "#commands.show ip.#help". A
 * whole name goes before what it could be as a path. 0, or -1 and nothing written for a node or member without a place.
 * `file` is borrowed from the language; each of the three may be null. */
CLI_API int cli_node_position(const cli_node *node, const char *member, const char **file, uint32_t *line,
                              uint32_t *column);

/* Appends a node's syntax: for a command, mode or word the line that the dump writes for it, from the top level on; for
 * an argument its own part of that line. A nonzero colour adds terminal colours. Returns the visible width. */
CLI_API int cli_print_syntax(const cli_node *node, DynString *out, int colour);

#ifdef __cplusplus
}
#endif

#endif
