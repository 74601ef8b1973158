// Decisions and texts read from an input; where it ends, zeros and empty texts follow.
#ifndef FUZZ_SOURCE_HPP
#define FUZZ_SOURCE_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace fuzz {

class Source {
 public:
  Source(const uint8_t *data, size_t size) : rest_(reinterpret_cast<const char *>(data), size) {}

  [[nodiscard]] bool ended() const { return rest_.empty(); }

  int byte() {
    if (rest_.empty()) return 0;
    const auto value = static_cast<uint8_t>(rest_.front());
    rest_.remove_prefix(1);
    return value;
  }
  // Less than n, which is at most 256.
  int below(int n) { return byte() % n; }
  size_t index(size_t n) { return static_cast<size_t>(byte()) % n; }
  bool often() { return byte() % 4 != 0; }
  bool seldom() { return byte() % 4 == 3; }
  template <class T, size_t n>
  const T &any(const T (&list)[n]) {
    return list[index(n)];
  }

  // What stands before the next newline, or NUL, at the most so much.
  std::string text(size_t longest = 4096) {
    const size_t length = std::min({rest_.find('\n'), rest_.find('\0'), rest_.size(), longest});
    std::string taken(rest_.substr(0, length));
    rest_.remove_prefix(std::min(length + 1, rest_.size()));
    return taken;
  }

  // All that is left, a NUL or not.
  std::string_view rest() {
    const std::string_view all = rest_;
    rest_ = {};
    return all;
  }

 private:
  std::string_view rest_;
};

}  // namespace fuzz

#endif
