// The terminal of a session: its modes and the signals. Handlers only take note of these; the editor attends to the
// notes while it waits for a key, so that nothing runs at a moment that the editor does not choose.
#ifndef CLI_SHELL_TERMINAL_TERMINAL_SIGNALS_HPP
#define CLI_SHELL_TERMINAL_TERMINAL_SIGNALS_HPP

#include <csignal>

namespace cli_shell {

// Signals noted since they were last asked for.
struct SignalNotes {
  bool interrupt = false;
  bool stop = false;
  bool resumed = false;
  bool window_changed = false;
  int ending = 0;  // SIGHUP or SIGTERM; 0 for none
};

// Handles the session's signals and sets the terminal's modes while it lives; one at a time in a process. However the
// process ends, assertion reports included, the terminal gets back the modes that it had before. SIGINT and SIGQUIT
// never end the session. SIGHUP and SIGTERM end it: at once between lines, after the terminal got back the modes that
// it had when this was made; while a line is edited they are noted, for the editor to return in order.
class TerminalSignals {
 public:
  // Marks for pastes are written to `out`.
  TerminalSignals(int terminal, int out);
  ~TerminalSignals();
  TerminalSignals(const TerminalSignals &) = delete;
  TerminalSignals &operator=(const TerminalSignals &) = delete;

  enum class Wake { kInput, kSignal, kTimeout };

  // Waits until the terminal has input, a signal is noted or the time is over (-1: no limit).
  Wake wait_for_input(int timeout_ms);

  SignalNotes take_notes();
  void forget_interrupt();

  // Stops the process as SIGTSTP does where it is not handled; returns when it goes on.
  void stop_process();

  // Input that waits is kept by every change of modes.
  enum class Modes {
    kBefore,  // as they were when this was made
    kQuiet,   // the same without echo, for the time between lines: what is typed ahead waits unseen, Ctrl-Z is kept
    kRaw,     // every byte comes as it is
  };
  // `pastes`: the terminal marks pasted text.
  void set_modes(Modes modes, bool pastes);

  bool has_input() const;
  bool read_byte(char &byte);  // false when the terminal is gone

  // The time in which a line is edited.
  class Editing {
   public:
    Editing();
    ~Editing();
    Editing(const Editing &) = delete;
    Editing &operator=(const Editing &) = delete;

   private:
    struct sigaction stop_before_ {};
    struct sigaction interrupt_before_ {};
  };

 private:
  struct Saved {
    int signal;
    struct sigaction action;
  };
  static constexpr int kHandled[] = {SIGINT, SIGQUIT, SIGCONT, SIGWINCH, SIGHUP, SIGTERM};

  Saved saved_[sizeof kHandled / sizeof *kHandled];
};

}  // namespace cli_shell

#endif
