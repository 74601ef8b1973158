/* Running a line and learning what became of it. Hosts include cli_engine/cli_engine.h, which includes this. */
#ifndef CLI_ENGINE_OUTCOME_H
#define CLI_ENGINE_OUTCOME_H

#include <stddef.h>
#include <stdint.h>

#include "cli_engine/node.h"
#include "libglobal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Ends the output of the line that runs: what was not printed yet is dropped, a program that pager_feed_popen runs for
 * an engine with `write` is ended, and the line's outcome says `interrupted`. The handler runs on; pager_flush tells
 * it. It may be called from a signal handler or another thread between cli_init and cli_free, and is harmless when no
 * line runs: the next one begins anew. */
CLI_API void cli_interrupt(cli *engine);

#ifdef __cplusplus
}
#endif

#endif
