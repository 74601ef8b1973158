// Where a command's output goes: through filters, a display that makes it harmless, and a pager program.
//
// The library and the handlers print to standard output. While they run, descriptor 1 is a pipe to a thread of this
// process (printer.hpp), so that nothing is held back and nothing can block; programs that a handler starts print into
// the same pipe. When nothing needs changing (no filter, colours on, no terminal) it stays what it is. Standard error
// goes the same way when it is a terminal: what handlers and their programs say there is made harmless, too.
#ifndef CLI_SHELL_OUTPUT_OUTPUT_HPP
#define CLI_SHELL_OUTPUT_OUTPUT_HPP

#include <functional>
#include <memory>
#include <vector>

#include "cli_shell/options.hpp"
#include "cli_shell/output/display_text.hpp"
#include "cli_shell/output/file_descriptor.hpp"
#include "cli_shell/output/filters.hpp"
#include "cli_shell/output/printer.hpp"

namespace cli_shell {

class Output {
 public:
  // How the output of one body is treated.
  struct Route {
    std::vector<std::unique_ptr<LineFilter>> filters = {};
    bool paged = false;  // may go to the pager program when long
    int length = -1;     // the screen's, in rows; -1 for that of the terminal, 0 for no paging
  };

  // `interactive`: SIGINT ends the output of a body, not the process. Throws UserError when there is no pipe or thread.
  Output(ColourChoice choice, bool interactive);
  ~Output();
  Output(const Output &) = delete;
  Output &operator=(const Output &) = delete;

  // Runs the body with its output routed; returns when all of it has been written. Bodies do not nest.
  void run(const std::function<void()> &body, Route route);
  void run(const std::function<void()> &body) { run(body, Route()); }

  // In a body: what is printed behind the next `echo` bytes is a command's output. Only that is filtered and paged.
  void begin_command(size_t echo);

  // For a body that goes on for long: whether it may stop, since nobody reads any more.
  static bool interrupted();

  // A handler, rather than a signal, told that the user broke off the body that has just run.
  static void note_interrupted();

  // What was printed so far is shown, and the terminal is free until more is printed; false when a pager program has
  // it.
  bool settle();
  int standard_output() const { return standard_output_.get(); }

  bool colours() const { return policy_.colours; }
  bool terminal() const { return policy_.terminal; }

  // Standard output could not be written; that was said on standard error.
  bool lost() const { return lost_; }

  // Something else that was asked for failed: a file that was not saved, a line that was not run. That was said, too.
  bool failed() const { return failed_; }

 private:
  void run_unheard(const std::function<void()> &body);
  void run_into_printer(const std::function<void()> &body, Printer::Job job);
  void take(const Printer::Result &result);
  void note_loss();

  DisplayPolicy policy_;
  bool interactive_;
  FileDescriptor standard_output_;
  FileDescriptor standard_error_;  // when it is a terminal
  FileDescriptor nowhere_;
  Printer printer_;
  bool routed_ = false;  // there is a difference between a command's output and what else is printed
  bool lost_ = false;
  bool failed_ = false;
};

// Says that standard output cannot be written and why.
void say_output_lost(int error);

}  // namespace cli_shell

#endif
