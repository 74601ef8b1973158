/* A growable array of equally large elements, addressed by byte offset. Offsets and lengths are in bytes and are
 * whole multiples of the element size. Functions that return int give 0, or -1 when the arguments are unusable
 * (nothing is changed then); exhausted memory ends the process through the assertion report (log_assert.h). */
#ifndef LIBGLOBAL_DYN_ARRAY_H
#define LIBGLOBAL_DYN_ARRAY_H

#include <stddef.h>

#include "libglobal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct DynArray DynArray; /* opaque */

/* A new, empty array of elements of that size (at least 1), owned by the caller until dyn_array_free. */
CLI_API DynArray *dyn_array_new(size_t element_size);

/* Releases the array; a null pointer is harmless. */
CLI_API void dyn_array_free(DynArray *a);

/* Makes room for so many bytes beyond the present size. */
CLI_API int dyn_array_reserve(DynArray *a, size_t bytes);

/* Appends that many bytes of elements, which are copied. */
CLI_API int dyn_array_append(DynArray *a, const void *elements, size_t bytes);

/* Inserts that many bytes of elements at the offset (at most the size); what follows moves up. */
CLI_API int dyn_array_insert(DynArray *a, size_t offset, const void *elements, size_t bytes);

/* Removes that many bytes from the offset on; what follows moves down. */
CLI_API int dyn_array_remove(DynArray *a, size_t offset, size_t bytes);

/* The element at the offset, borrowed until the array is next changed or freed; null past the end. */
CLI_API void *dyn_array_at(DynArray *a, size_t offset);

/* The size in bytes; 0 for a null array. */
CLI_API size_t dyn_array_size(const DynArray *a);

#ifdef __cplusplus
}
#endif

#endif
