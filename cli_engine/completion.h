/* What a line editor asks: what can stand for the word at the cursor.
 *
 * The line is parsed as when it is run, without its effects, in the present mode and at the user's level. No handler
 * and no callback may ask this of the engine that is running it. Hosts include cli_engine/cli_engine.h, which includes
 * this. */
#ifndef CLI_ENGINE_COMPLETION_H
#define CLI_ENGINE_COMPLETION_H

#include <jansson.h>
#include <stddef.h>

#include "cli_engine/node.h"
#include "libglobal/dyn_string.h"
#include "libglobal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Appends to the array `result` what can stand for the word that the cursor is in or behind, as far as the word was
 * typed up to the cursor, or for the next word when a blank stands before the cursor; what follows the cursor is not
 * read. An object each, in the order of cli_help:
 *
 *     {"text": "...", "help": "...", "kind": "word" | "keyword" | "value" | "alias"}
 *
 * Words, keywords and aliases are those that cli_help lists (aliases only once a word is begun). Of a value the entries
 * of its enumeration are offered, or, when it has none, what the preset `complete` appends; of these only what begins
 * with what was typed, whatever its case, and what the value takes. `text` is written as the line needs it: a text with
 * blanks, quote characters or backslashes is quoted, and one that goes on an open quote closes it. `help` is the help
 * text of the word or of the value; of an alias without one, what it stands for.
 *
 * Returns the byte of the line at which the word begins: a choice takes the place of the bytes from there to the
 * cursor. cursor is the offset of the cursor in bytes. -1 and nothing appended for a null or uninitialised engine, a
 * null line, a cursor beyond the line's end, and a result that is no array. The marks in the tree are those of the line
 * before the word afterwards. */
CLI_API long cli_complete(cli *engine, const char *line, size_t cursor, json_t *result);

/* Appends what would help a user whose line just failed, a sentence each, each ended by a line break:
 *
 *     did you mean "route"?                                         words that a slip of the fingers makes of the one
 *                                                                   blamed: at most three, the nearest alone
 *     "sh" could be "show" or "shutdown"                            for an ambiguous word; nothing else is said then
 *     Quote text that holds blanks                                  the line would be taken so
 *     "hostname" is a command of mode config: configure terminal    and the lines that lead there; at most three modes
 *     "reload" needs level 15                                       only with CLI_EXPLAIN_LEVELS
 *
 * Each is tried on the line before it is said, and speaks only of what the user's level shows. Returns their number; 0
 * for a line that did not fail or that nothing is known of; -1 and nothing appended for a null or uninitialised engine
 * and a null string. The marks and the error record stay as the failed line left them. To be called before the next
 * line of the engine. */
CLI_API int cli_explain(cli *engine, DynString *out);

#ifdef __cplusplus
}
#endif

#endif
