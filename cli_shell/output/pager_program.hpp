// The program that shows long output a screen at a time.
#ifndef CLI_SHELL_OUTPUT_PAGER_PROGRAM_HPP
#define CLI_SHELL_OUTPUT_PAGER_PROGRAM_HPP

#include <sys/types.h>

#include <mutex>
#include <string>
#include <vector>

#include "cli_shell/output/file_descriptor.hpp"

namespace cli_shell {

struct PagerCommand {
  std::string program = {};  // a shell command; "" for no paging
  size_t rows = 0;           // of the screen
  size_t columns = 0;
  std::vector<std::string> environment = {};
};

// The program for output on this terminal: CLI_SHELL_PAGER, PAGER, or less where it is installed. None on a dumb
// terminal, with CLI_SHELL_MORE=0, for a program that is not there, and when `length` is 0; a negative length stands
// for that of the terminal.
PagerCommand pager_command(int terminal, int length);

// The program at work and the pipe into it.
class PagerProgram {
 public:
  bool running() const { return static_cast<bool>(pipe_); }
  int input() const { return pipe_.get(); }

  // False when no process can be had.
  bool start(const PagerCommand &command, int out);

  // Ends its input and waits until the user leaves it.
  void finish();

  // Sends it a signal, if it still runs; from any thread.
  void end_by(int signal);

 private:
  FileDescriptor pipe_;
  std::mutex mutex_;  // over pid_, which names a process only until that is waited for
  pid_t pid_ = -1;
};

}  // namespace cli_shell

#endif
