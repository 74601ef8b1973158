/* A command's output, collected as lines and then printed in one pass that Ctrl-C cuts short.
 *
 * Texts are copied. Line strings are borrowed from the pager and stay valid until it is cleared, shown, flushed or
 * closed.
 *
 * A pager prints on standard output. While lines are shown or a command's output is captured, SIGINT is unblocked and
 * only recorded; the host's handler and mask are back in place when the function returns. A handler function that the
 * host installed for SIGINT is called once the printing was cut (it must return); a capture is not cut and calls none.
 *
 * The pager of an engine whose `write` is set prints through it and touches neither signal handlers nor the mask;
 * cli_interrupt cuts it short. Between a line's beginning and its end, cli_interrupt does so for every engine. */
#ifndef CLI_ENGINE_PAGER_H
#define CLI_ENGINE_PAGER_H

#include <stdint.h>

#include "libglobal/dyn_string.h"
#include "libglobal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct pager pager;
typedef struct pager_line_entry pager_line_entry;
typedef struct pager_line_list pager_line_list;

/* A line. */
struct pager_line_entry {
  DynString *text;        /* owned; without the line break */
  pager_line_entry *next; /* null at the end */
};

/* Lines; appending takes constant time. */
struct pager_line_list {
  pager_line_entry *first;      /* null when empty */
  pager_line_entry **last_link; /* the `next` of the last entry, or `first` when empty */
};

/* The lines of one command's output. */
struct pager {
  int32_t window[2];     /* as given; not read by the library */
  int32_t indent;        /* spaces that begin each line when its first text is fed; 0 or less for none */
  DynString *cur_line;   /* borrowed from the last line; null when there is none */
  pager_line_list lines; /* owned, in output order; an empty last line is open and is not output */
  pager_line_list spare; /* owned: entries for reuse */
  void *internal;        /* the library's own */
};

/* Opens a pager in zero-filled memory. */
CLI_API void pager_open(pager *p, int first, int second);

/* Replaces the two window values, which only the host reads. */
CLI_API void pager_set_window(pager *p, int first, int second);

/* Sets the indentation and returns the one before. */
CLI_API int pager_set_indent(pager *p, int indent);

/* Adds to the indentation and returns the one before. */
CLI_API int pager_change_indent(pager *p, int delta);

/* Ends the present line and opens an empty one, which is returned. */
CLI_API DynString *pager_newline(pager *p);

/* The present line; the first one is opened when there is none. */
CLI_API DynString *pager_line(pager *p);

/* Appends to the present line; a line break is made by pager_newline alone. 0, or -1 as dyn_string_append. */
CLI_API int pager_feed(pager *p, const char *text);

/* The same with formatted text, as printf would write it. */
CLI_API int pager_feedfmt(pager *p, const char *format, ...) CLI_PRINTF(2, 3);

/* Runs a shell command and feeds each line of its output. Returns its termination status as pclose gives it, or -1 when
 * it could not be started. For an engine whose `write` is set the command runs with an empty standard input and in a
 * process group of its own, which cli_interrupt ends: with SIGINT, and with SIGTERM and SIGKILL when it is asked again
 * or a second goes by. What the command printed until then is fed, and shown or flushed once more after the first
 * interrupt. No command is started, -1, when the output was interrupted before. */
CLI_API int pager_feed_popen(pager *p, const char *command);

/* Prints the lines until the user interrupts, then clears the pager. */
CLI_API void pager_show(pager *p);

/* Prints the lines as pager_show does and empties the pager, so that a long command's output appears while it runs: an
 * unfinished line is ended too. 0, or -1 when the output of the present line was interrupted or nobody takes it any
 * more: what is fed from then on is dropped, and the handler does well to end. Null: -1. */
CLI_API int pager_flush(pager *p);

/* Prints the lines with the numbers first to last, counted from 1, and keeps them; returns how many were printed. */
CLI_API int pager_show_line(pager *p, unsigned first, unsigned last);

/* The number of lines, the open one not counted. */
CLI_API int pager_line_count(pager *p);

/* Forgets the lines and keeps some memory, 64 KiB at most, for reuse. */
CLI_API void pager_clear(pager *p);

/* Releases all lines; the pager may be opened again. */
CLI_API void pager_close(pager *p);

#ifdef __cplusplus
}
#endif

#endif
