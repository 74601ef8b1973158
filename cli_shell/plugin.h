/* What a handlers library of cli-shell (option --handlers) may export besides its handlers. All of it is optional.
 *
 * The library is loaded before the definition document, so that every "#handler" name is found in it. The calls come
 * in this order, for each library in the order of the options:
 *
 *     cli_shell_register_types    before the documents are loaded
 *     cli_shell_start             after cli_init, before the first line
 *     cli_shell_secrets           once, after cli_shell_start
 *     cli_shell_complete          whenever a value is to be completed
 *     cli_shell_stop              after the last line, before cli_free
 *
 * The engine's `context` is null when cli_shell_start is called and belongs to the handlers libraries. A handler that
 * sets the environment variable CLI_SHELL_MORE to "0" or "1" turns paging of long output off or on for the lines that
 * follow. A handler whose result is not 0 refused the line: it counts as failed and is told so to --audit. What
 * handlers and their programs write on standard output and, while that is a terminal, on standard error reaches the
 * terminal harmless: of control sequences, only colours on standard output pass. A handler whose program the user ended
 * by Ctrl-C, which system(3) keeps from everybody else, says so by cli_interrupt: the rest of a paste is then dropped.
 * None of these functions may throw.
 *
 * A library that other hosts load, too, declares cli_shell_ask weak: it is null there. */
#ifndef CLI_SHELL_PLUGIN_H
#define CLI_SHELL_PLUGIN_H

#include "cli_engine/cli_engine.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Adds value types of the library's own with validator_typesystem_add_custom_type. */
CLI_API void cli_shell_register_types(validator_typesystem *types);

/* Called once with the engine ready for lines: the place to read a saved configuration through cli_execute. */
CLI_API void cli_shell_start(cli *engine);

/* Called once before the engine is taken down; not when the process ends by a signal or by exit. */
CLI_API void cli_shell_stop(cli *engine);

/* Appends to the array `result`, as strings, whole words that the value node could be given; no blank follows them.
 * `text` is what was typed of the word, "" for nothing; words that do not begin with it may be appended, they are not
 * offered. The node's argument type and name tell what is due: value->value.validator.type->name, value->name. */
CLI_API void cli_shell_complete(cli *engine, cli_node *value, const char *text, json_t *result);

/* Names of argument types and of arguments whose values are secret, the last entry null; borrowed for as long as the
 * library is loaded. A line with such a value is kept out of the history. "password" and "secret" always count. */
CLI_API const char *const *cli_shell_secrets(void);

/* ---- What cli-shell itself exports: a question, and handlers for a definition document to name ---- */

/* What cli_shell_ask came to. */
enum {
  CLI_SHELL_ANSWERED = 0,
  CLI_SHELL_CANCELLED = 1, /* the user left the question with Ctrl-C or Ctrl-D, or the terminal is gone */
  CLI_SHELL_NOBODY = -1    /* there is nobody to ask: lines come from a pipe, or the output is not on the terminal */
};

/* Asks the user at the terminal for a line, in a handler that cli-shell runs; call it for no other engine. The question
 * (without a line break; borrowed) stands on a line of its own below what was printed or flushed so far. The answer is
 * edited with the keys of the prompt and written to the `size` bytes at `answer` with a NUL; keys beyond them are
 * refused, so none is ever cut. It is never kept in the history, and lines of a paste that wait do not answer. With
 * `echo` 0 nothing of it is shown, and cli-shell wipes what it held of it; the caller wipes `answer` after use. Returns
 * one of the above; but for CLI_SHELL_ANSWERED, `answer` is "". */
CLI_API int cli_shell_ask(cli *engine, const char *question, int echo, char *answer, size_t size);

/* Leaves the present mode; at the top level, leaves the shell after this line. Also behind the built-in "exit". */
CLI_API int cli_shell_exit(cli *engine, cli_node *node);

/* Leaves all modes. Also behind the built-in "end". */
CLI_API int cli_shell_end(cli *engine, cli_node *node);

#ifdef __cplusplus
}
#endif

#endif
