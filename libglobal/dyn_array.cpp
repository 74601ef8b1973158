#include "libglobal/dyn_array.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "libglobal/report.hpp"

struct DynArray {
  unsigned char *data;
  std::size_t size;      // bytes in use
  std::size_t capacity;  // bytes of data
  std::size_t element_size;
};

namespace {

constexpr const char *kSource = "libglobal/dyn_array";

bool whole(const DynArray *a, std::size_t bytes) {
  return bytes % a->element_size == 0;
}

}  // namespace

DynArray *dyn_array_new(size_t element_size) {
  auto *a = static_cast<DynArray *>(libglobal::xcalloc(1, sizeof(DynArray), LIBGLOBAL_CALLER(kSource)));
  a->element_size = element_size == 0 ? 1 : element_size;
  return a;
}

void dyn_array_free(DynArray *a) {
  if (a != nullptr) {
    std::free(a->data);
    std::free(a);
  }
}

// Grows by half, so that appending one by one costs constant time each and at most a third of the memory is spare.
int dyn_array_reserve(DynArray *a, size_t bytes) {
  if (a == nullptr || bytes > SIZE_MAX / 2 - a->size) {
    return -1;
  }
  const std::size_t needed = a->size + bytes;
  if (needed <= a->capacity) {
    return 0;
  }
  const std::size_t half_more = a->capacity + a->capacity / 2;
  const std::size_t capacity = needed > half_more ? needed : half_more;
  a->data = static_cast<unsigned char *>(libglobal::xrealloc(a->data, capacity, LIBGLOBAL_CALLER(kSource)));
  a->capacity = capacity;
  return 0;
}

int dyn_array_append(DynArray *a, const void *elements, size_t bytes) {
  return a == nullptr ? -1 : dyn_array_insert(a, a->size, elements, bytes);
}

int dyn_array_insert(DynArray *a, size_t offset, const void *elements, size_t bytes) {
  if (a == nullptr || offset > a->size || !whole(a, offset) || !whole(a, bytes) ||
      (elements == nullptr && bytes != 0) || dyn_array_reserve(a, bytes) != 0) {
    return -1;
  }
  if (bytes != 0) {
    std::memmove(a->data + offset + bytes, a->data + offset, a->size - offset);
    std::memcpy(a->data + offset, elements, bytes);
    a->size += bytes;
  }
  return 0;
}

int dyn_array_remove(DynArray *a, size_t offset, size_t bytes) {
  if (a == nullptr || offset > a->size || bytes > a->size - offset || !whole(a, offset) || !whole(a, bytes)) {
    return -1;
  }
  if (bytes != 0) {
    std::memmove(a->data + offset, a->data + offset + bytes, a->size - offset - bytes);
    a->size -= bytes;
  }
  return 0;
}

void *dyn_array_at(DynArray *a, size_t offset) {
  return a == nullptr || offset >= a->size ? nullptr : a->data + offset;
}

size_t dyn_array_size(const DynArray *a) {
  return a == nullptr ? 0 : a->size;
}
