// Where a command's output goes: through filters, a display that makes it harmless, and a pager program.
//
// The library and the handlers print to standard output. While they run, descriptor 1 is a pipe into child processes,
// one for each filter and one for the display, so that nothing is held back and nothing can block; programs that a
// handler starts print into the same pipe. When nothing needs changing (no filter, colours on, no terminal) there is
// neither pipe nor process.
#ifndef CLI_SHELL_OUTPUT_HPP
#define CLI_SHELL_OUTPUT_HPP

#include <functional>
#include <memory>
#include <vector>

#include "cli_shell/display_text.hpp"
#include "cli_shell/filters.hpp"
#include "cli_shell/options.hpp"

namespace cli_shell {

class Output {
 public:
  // How the output of one body is treated.
  struct Route {
    std::vector<std::unique_ptr<LineFilter>> filters = {};
    size_t unfiltered = 0;  // bytes at the beginning that pass by the filters
    bool paged = false;     // may go to the pager program when long
  };

  // `interactive`: SIGINT ends the output of a body, not the process.
  Output(ColourChoice choice, bool interactive);
  ~Output();
  Output(const Output &) = delete;
  Output &operator=(const Output &) = delete;

  // Runs the body with its standard output routed; returns when all of it has been written. Bodies do not nest.
  void run(const std::function<void()> &body, Route route);
  void run(const std::function<void()> &body) { run(body, Route()); }

  // For a body that goes on for long: whether it may stop, since nobody reads any more.
  static bool interrupted();

  bool colours() const { return policy_.colours; }
  bool terminal() const { return policy_.terminal; }

  // Standard output could not be written; that was said on standard error.
  bool lost() const { return lost_; }

 private:
  void note_loss();

  DisplayPolicy policy_;
  bool interactive_;
  bool lost_ = false;
};

}  // namespace cli_shell

#endif
