#include "libglobal/ptr_vector.hpp"

#include <cstdlib>

#include "libglobal/report.hpp"

namespace {
constexpr const char *kSource = "libglobal/ptr_vector";
}  // namespace

namespace libglobal {

void grow(PtrVector &v) {
  const std::size_t capacity = v.capacity == 0 ? 16 : v.capacity * 2;
  v.items = static_cast<void **>(xrealloc(v.items, capacity * sizeof(void *), LIBGLOBAL_CALLER(kSource)));
  v.capacity = capacity;
}

}  // namespace libglobal

PtrVector *ptr_vector_new(void) {
  return static_cast<PtrVector *>(libglobal::xcalloc(1, sizeof(PtrVector), LIBGLOBAL_CALLER(kSource)));
}

void ptr_vector_free(PtrVector *v) {
  if (v != nullptr) {
    std::free(v->items);
    std::free(v);
  }
}

void ptr_vector_clear(PtrVector *v) {
  if (v != nullptr) {
    libglobal::clear(*v);
  }
}

int ptr_vector_append(PtrVector *v, void *item) {
  if (v == nullptr) {
    return -1;
  }
  libglobal::append(*v, item);
  return 0;
}

size_t ptr_vector_size(const PtrVector *v) {
  return v == nullptr ? 0 : v->size;
}

void *ptr_vector_get(const PtrVector *v, size_t index) {
  return v == nullptr || index >= v->size ? nullptr : v->items[index];
}
