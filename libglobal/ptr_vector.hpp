// The inside of PtrVector, for the library's own modules.
#ifndef LIBGLOBAL_PTR_VECTOR_HPP
#define LIBGLOBAL_PTR_VECTOR_HPP

#include <cstddef>
#include <memory>
#include <span>

#include "libglobal/ptr_vector.h"

struct PtrVector {
  void **items;
  std::size_t size;
  std::size_t capacity;
};

namespace libglobal {

void grow(PtrVector &v);

inline void append(PtrVector &v, void *item) {
  if (v.size == v.capacity) [[unlikely]] {
    grow(v);
  }
  v.items[v.size++] = item;
}

inline void clear(PtrVector &v) {
  v.size = 0;
}

inline std::span<void *> items(PtrVector &v) {
  return {v.items, v.size};
}

struct PtrVectorRelease {
  void operator()(PtrVector *v) const { ptr_vector_free(v); }
};
using PtrVectorOwner = std::unique_ptr<PtrVector, PtrVectorRelease>;

}  // namespace libglobal

#endif
