// A file in memory that takes what this process and its children print.
#ifndef CLI_SHELL_OUTPUT_MEMORY_FILE_HPP
#define CLI_SHELL_OUTPUT_MEMORY_FILE_HPP

#include <functional>
#include <string>

#include "cli_shell/output/file_descriptor.hpp"

namespace cli_shell {

class MemoryFile {
 public:
  MemoryFile();  // throws UserError
  int descriptor() const { return file_.get(); }
  std::string contents() const;
  std::string take_contents();  // and empties it

 private:
  FileDescriptor file_;
};

// What a body prints on standard output; throws UserError.
std::string printed_by(const std::function<void()> &body);

}  // namespace cli_shell

#endif
