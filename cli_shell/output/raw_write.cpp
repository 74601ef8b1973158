#include "cli_shell/output/raw_write.hpp"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "cli_shell/output/display_text.hpp"

namespace cli_shell {

bool write_all(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = write(fd, text.data(), text.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    text.remove_prefix(static_cast<size_t>(count));
  }
  return true;
}

void say_on_standard_error(std::string_view message) {
  std::string line = "cli-shell: " + harmless(message);
  std::replace(line.begin(), line.end(), '\n', ' ');
  line += '\n';
  write_all(STDERR_FILENO, line);
}

}  // namespace cli_shell
