// Invariants and allocations whose failure ends the process through the assertion report.
#ifndef LIBGLOBAL_REPORT_HPP
#define LIBGLOBAL_REPORT_HPP

#include <cstddef>
#include <cstdlib>

#include "libglobal/log_assert.h"

namespace libglobal {

// Reports the expression unless ok. The source is the module family's fixed name, not a file's.
inline void require(bool ok, const char *expression, const char *source, const char *function) {
  if (!ok) [[unlikely]] {
    log_assert(expression, source, function);
  }
}

// Who asks for memory: named in the report when there is none.
struct Caller {
  const char *source;
  const char *function;
  std::size_t line;
};

// None returns null, also for a size of 0.
[[nodiscard]] void *xmalloc(std::size_t size, const Caller &caller);
[[nodiscard]] void *xcalloc(std::size_t count, std::size_t size, const Caller &caller);
[[nodiscard]] void *xrealloc(void *block, std::size_t size, const Caller &caller);
[[nodiscard]] void *xmemdup(const void *from, std::size_t size, const Caller &caller);

// Reports memory that Jansson did not get on behalf of the caller.
[[noreturn]] void report_exhausted(const Caller &caller);

// For the standard containers: their growth is reported like every other allocation and never throws.
template <class T>
struct ReportingAllocator {
  using value_type = T;
  ReportingAllocator() = default;
  template <class U>
  explicit constexpr ReportingAllocator(const ReportingAllocator<U> &) noexcept {}  // NOLINT
  [[nodiscard]] T *allocate(std::size_t count) {
    // NOLINTNEXTLINE(bugprone-sizeof-expression): elements may well be pointers
    return static_cast<T *>(xcalloc(count, sizeof(T), {"libglobal/container", "allocate", __LINE__}));
  }
  void deallocate(T *block, std::size_t) noexcept { std::free(block); }
  friend bool operator==(const ReportingAllocator &, const ReportingAllocator &) { return true; }
};

}  // namespace libglobal

// The calling function as a Caller of the module family `source`.
#define LIBGLOBAL_CALLER(source) (::libglobal::Caller{(source), __func__, __LINE__})

#endif
