// The thread that all output passes: through the filters of a line, then the display. A thread of this process, made
// once: no command depends on a process or a thread that might not be had.
#ifndef CLI_SHELL_OUTPUT_PRINTER_HPP
#define CLI_SHELL_OUTPUT_PRINTER_HPP

#include <atomic>
#include <memory>
#include <semaphore>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "cli_shell/output/display.hpp"
#include "cli_shell/output/file_descriptor.hpp"
#include "cli_shell/output/filters.hpp"

namespace cli_shell {

// An event that any thread, and a signal handler, may raise and poll for.
class Event {
 public:
  Event();  // throws UserError
  int descriptor() const { return file_.get(); }
  void raise() const;
  void clear() const;

 private:
  FileDescriptor file_;
};

class Printer {
 public:
  // How one output is treated.
  struct Job {
    std::vector<std::unique_ptr<LineFilter>> filters = {};
    PagerCommand pager = {};
  };
  struct Result {
    int error = 0;             // standard output cannot be written: errno
    std::string failure = {};  // of a filter, in words
  };

  // `out` and `errors`, where standard error is shown, are borrowed; a negative `errors`: it is not the printer's.
  // Throws UserError when the pipes or the thread cannot be had.
  Printer(int out, DisplayPolicy policy, int errors);
  ~Printer();
  Printer(const Printer &) = delete;
  Printer &operator=(const Printer &) = delete;

  // Begins an output.
  void begin(Job job);

  // Where the output is to be written, until `finish`.
  int input() const { return output_.write_end.get(); }
  int error_input() const { return errors_.write_end.get(); }

  // Says, before they are written, that `echo` more bytes come before the first of a command's output: the job is for
  // that one, what comes before it is shown as it is.
  void begin_command(size_t echo) { echo_.store(echo, std::memory_order_release); }

  // What was written so far has been shown when this returns, and the cursor stands at the start of a row; false when
  // that cannot be: a pager program shows it, or nobody looks any more.
  bool settle();

  // What was written has been shown when this returns. Each time that `interrupt` is raised meanwhile, waiting is given
  // up by a further step: the output is cut, the pager program is asked to leave, is killed. `cut`: the first step was
  // taken already.
  Result finish(const Event &interrupt, bool cut);

  // The same for a process that is about to die of a signal, in the handler.
  void finish_in_handler() const;

 private:
  class Stages;

  struct Pipe {
    [[nodiscard]] bool open();
    FileDescriptor read_end;
    FileDescriptor write_end;
  };
  static constexpr size_t kNoCommand = static_cast<size_t>(-1);

  void serve();
  void work();
  bool take_block(Stages &stages);
  void take_errors();
  void discard_rest();

  Pipe output_;
  Pipe errors_;
  std::atomic<size_t> echo_ = kNoCommand;
  Event end_;     // all has been written
  Event cancel_;  // what is left is not wanted
  Event done_;
  Event settle_;
  Event settled_;
  bool is_free_ = false;  // the terminal, behind settled_
  std::binary_semaphore begun_{0};
  bool leaving_ = false;
  Job job_;
  Result result_;
  Display display_;
  Display error_display_;
  std::thread thread_;
};

}  // namespace cli_shell

#endif
