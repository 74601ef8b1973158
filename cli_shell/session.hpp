// The lines of a session: from the options, from standard input or from a user.
#ifndef CLI_SHELL_SESSION_HPP
#define CLI_SHELL_SESSION_HPP

#include <vector>

#include "cli_shell/options.hpp"
#include "cli_shell/output/file_descriptor.hpp"
#include "cli_shell/shell.hpp"

namespace cli_shell {

class Session {
 public:
  // Opens the files of -f, so that all that can be missing is found missing before the first line runs; throws
  // UserError. The options are borrowed.
  explicit Session(const Options &options);

  // Whether a user will type the lines.
  bool at_prompt() const;

  // Executes the lines; the exit status.
  int run(Shell &shell) const;

 private:
  const std::vector<Action> &actions_;
  std::vector<FileDescriptor> files_;  // of the actions that name one
};

}  // namespace cli_shell

#endif
