/* The assertion report, for broken invariants, unusable documents of the host and exhausted memory.
 *
 * Standard output is flushed first, so that nothing a user was shown is lost; then one line goes to standard error,
 *     SOURCE:FUNCTION: assertion "EXPRESSION" failed
 * and, for the formatted form, ": MESSAGE" at its end; then abort() is called, with errno as the caller left it: ENOMEM
 * when memory is exhausted. Neither function returns. */
#ifndef LIBGLOBAL_LOG_ASSERT_H
#define LIBGLOBAL_LOG_ASSERT_H

#include "libglobal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Reports a failed assertion. */
CLI_API __attribute__((noreturn)) void log_assert(const char *expression, const char *source, const char *function);

/* Reports a failed assertion with a message, formatted as printf would. */
CLI_API __attribute__((noreturn)) void log_assert_fmt(const char *expression, const char *source, const char *function,
                                                      const char *format, ...) CLI_PRINTF(4, 5);

#ifdef __cplusplus
}
#endif

#endif
