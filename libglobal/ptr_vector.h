/* A growable array of pointers, which it never owns. Exhausted memory ends the process through the assertion
 * report (log_assert.h). */
#ifndef LIBGLOBAL_PTR_VECTOR_H
#define LIBGLOBAL_PTR_VECTOR_H

#include <stddef.h>

#include "libglobal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct PtrVector PtrVector; /* opaque */

/* A new, empty vector, owned by the caller until ptr_vector_free. */
CLI_API PtrVector *ptr_vector_new(void);

/* Releases the vector, not what its items point to; a null pointer is harmless. */
CLI_API void ptr_vector_free(PtrVector *v);

/* Empties the vector and keeps its memory for reuse. */
CLI_API void ptr_vector_clear(PtrVector *v);

/* Appends an item (null allowed); 0, or -1 for a null vector. */
CLI_API int ptr_vector_append(PtrVector *v, void *item);

/* The number of items; 0 for a null vector. */
CLI_API size_t ptr_vector_size(const PtrVector *v);

/* The item at an index counted from 0, or null past the end. */
CLI_API void *ptr_vector_get(const PtrVector *v, size_t index);

#ifdef __cplusplus
}
#endif

#endif
