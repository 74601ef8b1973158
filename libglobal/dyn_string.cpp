#include "libglobal/dyn_string.hpp"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "libglobal/report.hpp"

namespace {

constexpr const char *kSource = "libglobal/dyn_string";

// The text of every string that holds no memory yet; never written to.
char empty_text[1] = "";

// An allocator's block holds 16 n - 8 bytes; asking for just that wastes nothing.
std::size_t block_size(std::size_t bytes) {
  return ((bytes + 8 + 15) & ~std::size_t{15}) - 8;
}

constexpr std::size_t kLongest = SIZE_MAX / 4;

}  // namespace

namespace libglobal {

// A first text gets a block of its own size, since most strings are written once; a string that grows again gets half
// as much more.
void grow(DynString &s, std::size_t more) {
  if (more > kLongest - s.len) [[unlikely]] {
    require(false, "length fits", kSource, __func__);
  }
  const std::size_t needed = s.len + more + 1;
  const std::size_t wanted = s.capacity == 0 ? needed : s.capacity + s.capacity / 2;
  const std::size_t size = block_size(wanted > needed ? wanted : needed);
  char *old = s.capacity == 0 ? nullptr : s.data;
  s.data = static_cast<char *>(xrealloc(old, size, LIBGLOBAL_CALLER(kSource)));
  s.capacity = size;
  s.data[s.len] = '\0';
}

void release(DynString &s) {
  if (s.capacity != 0) {
    std::free(s.data);
  }
  s = {empty_text, 0, 0};
}

}  // namespace libglobal

DynString *dyn_string_new(void) {
  auto *s = static_cast<DynString *>(libglobal::xmalloc(sizeof(DynString), LIBGLOBAL_CALLER(kSource)));
  *s = {empty_text, 0, 0};
  return s;
}

void dyn_string_free(DynString *s) {
  if (s == nullptr) {
    return;
  }
  libglobal::release(*s);
  std::free(s);
}

void dyn_string_clear(DynString *s) {
  if (s != nullptr) {
    libglobal::clear(*s);
  }
}

int dyn_string_append(DynString *s, const char *text) {
  return text == nullptr ? -1 : dyn_string_append_n(s, text, std::strlen(text));
}

int dyn_string_append_n(DynString *s, const char *text, size_t len) {
  if (s == nullptr || text == nullptr || len > kLongest - s->len) {
    return -1;
  }
  libglobal::append(*s, {text, len});
  return 0;
}

int dyn_string_appendf(DynString *s, const char *format, ...) {
  va_list args;
  va_start(args, format);
  const int result = dyn_string_vappendf(s, format, args);
  va_end(args);
  return result;
}

int dyn_string_vappendf(DynString *s, const char *format, va_list args) {
  if (s == nullptr || format == nullptr) {
    return -1;
  }
  const std::size_t room = s->capacity - s->len;  // 0 while there is no memory yet
  va_list again;
  va_copy(again, args);
  const int written = std::vsnprintf(room == 0 ? nullptr : s->data + s->len, room, format, args);
  int result = -1;
  if (written >= 0 && static_cast<std::size_t>(written) < room) {
    s->len += static_cast<std::size_t>(written);
    result = 0;
  } else if (written >= 0) {
    const auto length = static_cast<std::size_t>(written);
    std::vsnprintf(libglobal::room_for(*s, length), length + 1, format, again);
    s->len += length;
    result = 0;
  } else if (room != 0) {
    s->data[s->len] = '\0';
  }
  va_end(again);
  return result;
}

const char *dyn_string_text(const DynString *s) {
  return s == nullptr ? "" : s->data;
}

size_t dyn_string_len(const DynString *s) {
  return s == nullptr ? 0 : s->len;
}
