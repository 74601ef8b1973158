// The inside of DynString, for the library's own modules: appending inline.
#ifndef LIBGLOBAL_DYN_STRING_HPP
#define LIBGLOBAL_DYN_STRING_HPP

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

#include "libglobal/dyn_string.h"

struct DynString {
  char *data;            // the text and its NUL; not owned while capacity is 0
  std::size_t len;       // without the NUL
  std::size_t capacity;  // bytes of data
};

namespace libglobal {

// Makes room for `more` bytes beyond the present text and the NUL.
void grow(DynString &s, std::size_t more);

inline char *room_for(DynString &s, std::size_t more) {
  if (s.capacity - s.len <= more || s.capacity == 0) [[unlikely]] {
    grow(s, more);
  }
  return s.data + s.len;
}

inline void append(DynString &s, std::string_view text) {
  char *end = room_for(s, text.size());
  text.copy(end, text.size());  // takes an empty view of nothing too
  end[text.size()] = '\0';
  s.len += text.size();
}

// Several texts, room for which is made in one step.
template <class... Texts>
inline void append_all(DynString &s, const Texts &...texts) {
  const std::string_view views[] = {texts...};
  std::size_t size = 0;
  for (const std::string_view view : views) {
    size += view.size();
  }
  char *end = room_for(s, size);
  for (const std::string_view view : views) {
    view.copy(end, view.size());
    end += view.size();
  }
  *end = '\0';
  s.len += size;
}

inline void append(DynString &s, char c) {
  char *end = room_for(s, 1);
  end[0] = c;
  end[1] = '\0';
  s.len += 1;
}

inline void fill(DynString &s, char c, std::size_t count) {
  char *end = room_for(s, count);
  std::memset(end, c, count);
  end[count] = '\0';
  s.len += count;
}

// Keeps the first `length` bytes, of which there must be so many.
inline void truncate(DynString &s, std::size_t length) {
  s.len = length;
  if (s.capacity != 0) {
    s.data[length] = '\0';
  }
}

inline void clear(DynString &s) {
  truncate(s, 0);
}

// Empties the string and gives its memory back.
void release(DynString &s);

inline std::string_view view(const DynString &s) {
  return {s.data, s.len};
}

struct DynStringRelease {
  void operator()(DynString *s) const { dyn_string_free(s); }
};
using DynStringOwner = std::unique_ptr<DynString, DynStringRelease>;

}  // namespace libglobal

#endif
