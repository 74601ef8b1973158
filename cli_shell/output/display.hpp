// The end of the way of all output: makes it fit for where it is shown, and starts the pager program for long output.
#ifndef CLI_SHELL_OUTPUT_DISPLAY_HPP
#define CLI_SHELL_OUTPUT_DISPLAY_HPP

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli_shell/output/display_text.hpp"
#include "cli_shell/output/file_descriptor.hpp"
#include "cli_shell/output/pager_program.hpp"

namespace cli_shell {

class Display {
 public:
  // `out` is borrowed. Writing is given up when `cancel` becomes readable.
  Display(int out, int cancel, DisplayPolicy policy) : out_(out), cancel_(cancel), text_(policy), policy_(policy) {}

  void begin();

  // From here on the output goes to the pager program once more than a screenful of it has come without a pause.
  void page(PagerCommand pager) { command_ = std::move(pager); }

  // Takes a piece; false when no further one will be shown.
  bool feed(std::string_view piece);

  // Whether something is kept back until it is known whether it fits the screen; then pauses are to be told.
  bool holds() const { return !held_.empty(); }
  void pause() { write_held(); }

  // Shows what is held and ends the last row; false when a pager program has the terminal.
  bool settle();

  // Ends the output and waits for the pager program. `cancelled`: what is not shown yet is dropped.
  void finish(bool cancelled);

  // Why `out` cannot be written any more, as errno; 0 when it can.
  int error() const { return error_; }

  PagerProgram &pager() { return pager_; }

 private:
  bool show();
  bool write_held();
  bool wait_for_room(int fd);

  int out_;
  int cancel_;
  DisplayText text_;
  DisplayPolicy policy_;
  PagerCommand command_;
  PagerProgram pager_;
  std::string held_;
  char last_shown_ = '\n';
  bool ended_ = false;  // nobody looks any more
  int error_ = 0;
};

}  // namespace cli_shell

#endif
