#include "libglobal/report.hpp"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

void log_assert(const char *expression, const char *source, const char *function) {
  const int error = errno;
  std::fflush(stdout);
  std::fprintf(stderr, "%s:%s: assertion \"%s\" failed\n", source, function, expression);
  errno = error;
  std::abort();
}

void log_assert_fmt(const char *expression, const char *source, const char *function, const char *format, ...) {
  const int error = errno;
  std::fflush(stdout);
  std::fprintf(stderr, "%s:%s: assertion \"%s\" failed: ", source, function, expression);
  va_list args;
  va_start(args, format);
  std::vfprintf(stderr, format, args);
  va_end(args);
  std::fputc('\n', stderr);
  errno = error;
  std::abort();
}

namespace libglobal {
namespace {

[[noreturn]] void report(const char *wrapper, const char *format_name, const Caller &caller) {
  errno = ENOMEM;
  log_assert_fmt("pointer != NULL", caller.source, wrapper, "%s failed at func %s:%zu (%s)", format_name,
                 caller.function, caller.line, caller.source);
}

void *checked(void *pointer, const char *wrapper, const char *format_name, const Caller &caller) {
  if (pointer == nullptr) [[unlikely]] {
    report(wrapper, format_name, caller);
  }
  return pointer;
}

std::size_t at_least_one(std::size_t size) {
  return size == 0 ? 1 : size;
}

}  // namespace

void *xmalloc(std::size_t size, const Caller &caller) {
  return checked(std::malloc(at_least_one(size)), "_xmalloc", "xmalloc", caller);
}

void *xcalloc(std::size_t count, std::size_t size, const Caller &caller) {
  return checked(std::calloc(at_least_one(count), at_least_one(size)), "_xcalloc", "xcalloc", caller);
}

void *xrealloc(void *block, std::size_t size, const Caller &caller) {
  return checked(std::realloc(block, at_least_one(size)), "_xrealloc", "xrealloc", caller);
}

void *xmemdup(const void *from, std::size_t size, const Caller &caller) {
  void *copy = checked(std::malloc(at_least_one(size)), "_xmemdup", "xmemdup", caller);
  if (size != 0) {
    std::memcpy(copy, from, size);
  }
  return copy;
}

void report_exhausted(const Caller &caller) {
  report("_xmalloc", "xmalloc", caller);
}

}  // namespace libglobal
