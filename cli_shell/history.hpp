// The lines typed in earlier sessions, in a file that several shells may use at once.
#ifndef CLI_SHELL_HISTORY_HPP
#define CLI_SHELL_HISTORY_HPP

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cli_shell {

constexpr size_t kHistoryLines = 1000;

// One line of text per entry, readable by its owner only. Every append takes the file's lock; the file never grows
// beyond its bound by more than one line.
class HistoryFile {
 public:
  explicit HistoryFile(std::string path) : path_(std::move(path)) {}

  // Under the folder for state that XDG names; nothing when the environment gives no place.
  static std::optional<std::string> default_path();

  // The newest lines, oldest first. A file that is missing or cannot be read holds none.
  std::vector<std::string> load() const;

  // Adds a line unless it repeats the last one in the file, whichever shell wrote that. Folders are made as needed.
  // False with errno set when the file cannot be written.
  [[nodiscard]] bool append(std::string_view line) const;

  const std::string &path() const { return path_; }

 private:
  std::string path_;
};

// Whether a line belongs into the history: some text, of reasonable length, without control bytes but tabs.
bool is_worth_keeping(std::string_view line);

}  // namespace cli_shell

#endif
