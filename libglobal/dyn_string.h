/* A growable text that is always NUL-terminated.
 *
 * Appending functions return 0, or -1 when the arguments are unusable (a null string or text, a length that no
 * memory could hold, a format that the C library refuses); the text is then as it was. Exhausted memory ends the
 * process through the assertion report (log_assert.h). Lengths are in bytes, the closing NUL not counted. */
#ifndef LIBGLOBAL_DYN_STRING_H
#define LIBGLOBAL_DYN_STRING_H

#include <stdarg.h>
#include <stddef.h>

#include "libglobal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct DynString DynString; /* opaque */

/* A new, empty string, owned by the caller until dyn_string_free. */
CLI_API DynString *dyn_string_new(void);

/* Releases the string; a null pointer is harmless. */
CLI_API void dyn_string_free(DynString *s);

/* Empties the string and keeps its memory for reuse. */
CLI_API void dyn_string_clear(DynString *s);

/* Appends a NUL-terminated text, which is copied and may not lie inside the string itself. */
CLI_API int dyn_string_append(DynString *s, const char *text);

/* Appends the first len bytes of text. */
CLI_API int dyn_string_append_n(DynString *s, const char *text, size_t len);

/* Appends formatted text, as printf would write it. */
CLI_API int dyn_string_appendf(DynString *s, const char *format, ...) CLI_PRINTF(2, 3);

/* The same, the arguments as vprintf takes them. */
CLI_API int dyn_string_vappendf(DynString *s, const char *format, va_list args) CLI_PRINTF(2, 0);

/* The text: borrowed until the string is next changed or freed; never null, "" for a null string. */
CLI_API const char *dyn_string_text(const DynString *s);

/* The length of the text; 0 for a null string. */
CLI_API size_t dyn_string_len(const DynString *s);

#ifdef __cplusplus
}
#endif

#endif
