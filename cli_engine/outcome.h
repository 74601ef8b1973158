/* Running a line and learning what became of it: outcomes, configuration texts, commands that end later, interrupts.
 * Hosts include cli_engine/cli_engine.h, which includes this.
 *
 * A call that cannot be answered - a null engine or line, an engine that is not up, a line run from inside a handler -
 * fails and changes nothing. */
#ifndef CLI_ENGINE_OUTCOME_H
#define CLI_ENGINE_OUTCOME_H

#include <stddef.h>
#include <stdint.h>

#include "cli_engine/node.h"
#include "libglobal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct cli_outcome cli_outcome;
typedef struct parser_error parser_error;

/* A configuration text that comes line by line. */
typedef struct cli_replay_lines cli_replay_lines;

/* What became of a line (`kind` of its outcome). */
enum {
  CLI_SKIPPED, /* not run: a comment, or left out of a configuration text */
  CLI_RAN,     /* a command: its handler ran */
  CLI_ENTERED, /* a mode was entered */
  CLI_REFUSED, /* a mode was not entered: its handler refused it, or left the modes around it */
  CLI_LISTED,  /* the beginning of commands: what may follow was listed */
  CLI_FAILED,  /* it matches nothing, or could not be run at all */
  CLI_PENDING, /* a command whose handler called cli_defer: cli_finish ends it */
  CLI_BUSY     /* not run: another line is pending, or this one was run from inside a handler */
};

/* What cli_run and cli_replay do differently (`options`). */
enum {
  CLI_DRY_RUN =
      1U << 0U,          /* matches and follows modes, calls no handler, prints nothing; "exit" and "end" leave modes */
  CLI_CONFIG = 1U << 1U, /* blank lines and indented comments are comments */
  CLI_STAY = 1U << 2U    /* cli_replay: nothing outside the mode in which the text began is run */
};

/* What became of a line. */
struct cli_outcome {
  int32_t kind;        /* CLI_SKIPPED ... CLI_BUSY */
  int32_t errcode;     /* E_... of cli_engine/parser.h, of this line */
  int32_t result;      /* the handler's, or what cli_finish was given; 0 when none ran */
  uint8_t interrupted; /* 1: an interrupt came while the line ran, or `write` refused, and output may be cut short */
  size_t column;       /* byte of the typed line at which the word blamed begins; the line's length for its end */
  size_t length;       /* bytes of that word as typed, quotes and backslashes included; 0 at the end of the line, and
                          when nothing is blamed. Of what an alias stands for, the alias is blamed. */
  cli_node *node;      /* borrowed until the next line: the command or mode, or where matching failed; may be null */
};

/* ---- Lines ---- */

/* Executes a line as cli_execute does. 0; -1 when the line failed or was not run because the engine is busy. outcome
 * may be null; it is always written, a call that cannot be answered is CLI_FAILED with E_OK. */
CLI_API int cli_run(cli *engine, const char *line, unsigned options, cli_outcome *outcome);

/* The outcome of the last line that ran, by cli_run, cli_execute or cli_replay: of a deferred one, its final outcome
 * once cli_finish was called. Borrowed until the next line; null for an engine that is not up. */
CLI_API const cli_outcome *cli_last_outcome(const cli *engine);

/* Matches a line as a run would, without any effect but the marks, which then are this line's: the command, mode or
 * word that it selects, or null. error, when not null, receives the parser's error record, borrowed until the next
 * line: E_OK with null is a comment. The engine's mode stays. Null, and null in *error, inside a handler. While a line
 * is pending its marks are lost to this one's. */
CLI_API cli_node *cli_parse(cli *engine, const char *line, parser_error **error);

/* 1 for a node that cli_execute would run as a command, else 0, also for null. */
CLI_API int cli_is_command(const cli_node *node);

/* ---- Commands that end later ---- */

/* Called by a command's handler: its output is not complete when it returns. The line is then pending: the engine runs
 * no other one, its pager is kept, and what is fed to it meanwhile appears by pager_flush; the arguments are best read
 * before the handler returns. Elsewhere, and in the handler of a mode, it does nothing. An engine may be taken down
 * while a line is pending; what it had not printed is dropped. */
CLI_API void cli_defer(cli *engine);

/* Ends the pending line: what the pager still holds is shown, and cli_last_outcome has the result. It may be called
 * before the handler that deferred returns, whose result then does not count. Harmless when nothing is pending. */
CLI_API void cli_finish(cli *engine, int result);

/* Ends the output of the line that runs or is pending: what was not printed yet is dropped, a program that
 * pager_feed_popen runs for an engine with `write` is ended, and the line's outcome says `interrupted`. The handler
 * runs on; pager_flush tells it. It may be called from a signal handler or another thread between cli_init and
 * cli_free, and is harmless when no line runs: the next one begins anew. */
CLI_API void cli_interrupt(cli *engine);

/* ---- Configuration texts ---- */

/* Called for each line of a text: its number from 1 on, the line without its end, borrowed for the call as the outcome
 * is. It may call cli_finish, and wait for the moment when the line is CLI_PENDING; it may not run lines. */
typedef void (*cli_line_report)(void *data, size_t number, const char *line, const cli_outcome *outcome);

/* Runs the lines of a text of len bytes, from the present mode on, with CLI_CONFIG. Lines end in LF or CRLF.
 *
 * Indentation says what belongs together (a tab reaches to the next multiple of eight):
 *  - Lines that are indented deeper than one before them that failed, was refused or only began commands belong to it.
 *    They are left out: CLI_SKIPPED with errcode, result and node of that line (a comment has neither error nor node).
 *    So is an "exit" below them, as far indented as that line.
 *  - A mode that a line of the text entered ends before a line that is indented less than the mode's own first line, or
 *    less than the line that entered it. An "exit" closes the mode whose first line, or whose entering line, it stands
 *    under.
 * A text without indentation is thus run as it stands.
 *
 * "exit" beyond the mode in which the text began does nothing (CLI_SKIPPED), whether there is such a command or not. A
 * line with a zero byte fails there
 * (E_EXTRA_INPUT). With CLI_STAY "end" goes back to that mode, and so does the line that enters it; what stands outside
 * it is CLI_REFUSED and not run.
 *
 * After an interrupt the rest is left out; after a line that stays pending, the rest is CLI_BUSY. Returns how many
 * lines failed, were refused or were left out; -1 when nothing was run. The engine stays in the mode to which the text
 * led, except after a dry run: that ends where it began, so that this applies all or nothing, as far as handlers agree:
 *
 *     if (cli_replay(e, text, len, CLI_DRY_RUN, report, data) == 0) cli_replay(e, text, len, 0, report, data);
 */
CLI_API long cli_replay(cli *engine, const char *text, size_t len, unsigned options, cli_line_report report,
                        void *data);

/* The same for lines that are not at hand as one text: from a terminal or a peer, one by one. Begins a text in the
 * present mode; null when the engine is not up or busy. The caller ends it. The language may not be exchanged
 * meanwhile; other lines may be run between, and modes that they enter or leave are taken as the text's own. */
CLI_API cli_replay_lines *cli_replay_begin(cli *engine, unsigned options);

/* Runs the next line, which has no line end, by the rules of cli_replay. An interrupt ends this line only: whether more
 * follow is the caller's to decide. 0; -1 when the line failed, was refused, was left out, or found the engine busy.
 * outcome may be null; it is always written, a call that cannot be answered is CLI_FAILED with E_OK. */
CLI_API int cli_replay_line(cli_replay_lines *lines, const char *line, cli_outcome *outcome);

/* Ends the text, before the engine is taken down; after a dry run the engine is again in the mode in which it began.
 * Returns how many lines failed, were refused or were left out; -1 for null. */
CLI_API long cli_replay_end(cli_replay_lines *lines);

#ifdef __cplusplus
}
#endif

#endif
