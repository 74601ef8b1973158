/* Bounded conversion of text to 32-bit numbers.
 *
 * Each function converts exactly len bytes and stores the number. base is 0, 10 or 16, by the convention of strtol:
 * base 0 takes "0x" or "0X" for hexadecimal, another leading "0" for octal and anything else for decimal; base 16
 * allows the "0x". The signed functions take a leading "-"; none takes white space, a leading "+" or a bare "0x".
 * The result is 0, or -1 (nothing stored) when a byte is left over, when there is no digit, when the number does not
 * fit or when the base is another one. */
#ifndef LIBGLOBAL_STRNTO_H
#define LIBGLOBAL_STRNTO_H

#include <stddef.h>
#include <stdint.h>

#include "libglobal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* To a signed number. */
CLI_API int strntoi(const char *text, size_t len, int base, int32_t *out);

/* To an unsigned number. */
CLI_API int strntou(const char *text, size_t len, int base, uint32_t *out);

/* As strntoi, by the name of the C library's wider conversion. */
CLI_API int strntol(const char *text, size_t len, int base, int32_t *out);

/* As strntou, likewise. */
CLI_API int strntoul(const char *text, size_t len, int base, uint32_t *out);

#ifdef __cplusplus
}
#endif

#endif
