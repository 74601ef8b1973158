// What the compiler's headers expect of the C++ runtime, so that hosts in C and devices without that runtime can have
// the library. The names stay inside: the joined object of the library makes them local. Containers ask
// ReportingAllocator for memory; what is left here are the faults that they would throw, and new and delete.
#include <cstddef>
#include <cstdlib>
#include <new>

#include "libglobal/report.hpp"

namespace {

constexpr const char *kSource = "libglobal/container";

}  // namespace

namespace std {  // NOLINT(cert-dcl58-cpp): these are declared there

[[noreturn]] void __throw_length_error(const char *what) {  // NOLINT(bugprone-reserved-identifier)
  log_assert_fmt("size <= max_size", kSource, "length", "%s", what);
}

[[noreturn]] void __throw_out_of_range_fmt(const char *, ...) {  // NOLINT
  log_assert("position <= size", kSource, "range");
}

[[noreturn]] void __throw_out_of_range(const char *what) {  // NOLINT(bugprone-reserved-identifier)
  log_assert_fmt("position <= size", kSource, "range", "%s", what);
}

[[noreturn]] void __throw_logic_error(const char *what) {  // NOLINT(bugprone-reserved-identifier)
  log_assert_fmt("valid arguments", kSource, "logic", "%s", what);
}

[[noreturn]] void __throw_bad_function_call() {  // NOLINT(bugprone-reserved-identifier)
  log_assert("function != NULL", kSource, "call");
}

}  // namespace std

void *operator new(std::size_t size) {
  return libglobal::xmalloc(size, LIBGLOBAL_CALLER(kSource));
}

void *operator new[](std::size_t size) {
  return libglobal::xmalloc(size, LIBGLOBAL_CALLER(kSource));
}

void operator delete(void *block) noexcept {
  std::free(block);
}

void operator delete(void *block, std::size_t) noexcept {
  std::free(block);
}

void operator delete[](void *block) noexcept {
  std::free(block);
}

void operator delete[](void *block, std::size_t) noexcept {
  std::free(block);
}
