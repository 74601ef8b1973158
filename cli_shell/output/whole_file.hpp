// A file that is written whole or not at all: what was there before stays until all of the new one is on disk.
#ifndef CLI_SHELL_OUTPUT_WHOLE_FILE_HPP
#define CLI_SHELL_OUTPUT_WHOLE_FILE_HPP

#include <string>
#include <string_view>

#include "cli_shell/output/file_descriptor.hpp"

namespace cli_shell {

// Written beside its place, as ".NAME.new", which a process that is killed leaves for the next one to take over. A new
// file is readable by its owner alone; one that was there keeps its mode. A symbolic link is followed.
class WholeFile {
 public:
  WholeFile() = default;
  ~WholeFile();
  WholeFile(const WholeFile &) = delete;
  WholeFile &operator=(const WholeFile &) = delete;

  // Each is false with errno set. What is no regular file is refused, and so is one that another process writes.
  [[nodiscard]] bool open(const std::string &path);
  [[nodiscard]] bool write(std::string_view text);
  [[nodiscard]] bool put_in_place();

 private:
  [[nodiscard]] bool open_beside();
  void discard();

  std::string path_;
  std::string beside_;
  FileDescriptor file_;
};

}  // namespace cli_shell

#endif
