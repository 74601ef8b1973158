#include "cli_shell/terminal_signals.hpp"

#include <poll.h>
#include <termios.h>

#include <cerrno>
#include <ctime>

namespace cli_shell {

namespace {

// What the handlers see: the only state of the session outside its objects.
struct HandlerState {
  volatile std::sig_atomic_t interrupt = 0;
  volatile std::sig_atomic_t stop = 0;
  volatile std::sig_atomic_t resumed = 0;
  volatile std::sig_atomic_t window_changed = 0;
  volatile std::sig_atomic_t ending = 0;
  volatile std::sig_atomic_t editing = 0;
  int terminal = -1;
  bool has_modes = false;
  termios modes{};
};
HandlerState state;

constexpr int kNoted[] = {SIGINT, SIGTSTP, SIGCONT, SIGWINCH, SIGHUP, SIGTERM};

void set_modes_back(int when) {
  if (state.has_modes) {
    while (tcsetattr(state.terminal, when, &state.modes) != 0 && errno == EINTR) {
    }
  }
}

// Ends the process by the signal whose handler is running, as soon as that returns.
void end_by(int signal) {
  struct sigaction action {};
  action.sa_handler = SIG_DFL;
  sigaction(signal, &action, nullptr);
  raise(signal);
}

void note(int signal) {
  const int error = errno;
  switch (signal) {
    case SIGINT:
      state.interrupt = 1;
      break;
    case SIGTSTP:
      state.stop = 1;
      break;
    case SIGCONT:
      state.resumed = 1;
      break;
    case SIGWINCH:
      state.window_changed = 1;
      break;
    case SIGHUP:
    case SIGTERM:
      if (state.editing) {
        state.ending = signal;
      } else {
        set_modes_back(TCSANOW);  // a terminal that is held with Ctrl-S must not delay the end
        end_by(signal);
      }
      break;
    default:  // SIGQUIT asks for nothing
      break;
  }
  errno = error;
}

bool anything_noted() {
  return state.interrupt || state.stop || state.resumed || state.window_changed || state.ending;
}

bool take(volatile std::sig_atomic_t &flag) {
  const bool was_set = flag != 0;
  flag = 0;
  return was_set;
}

struct sigaction noting() {
  struct sigaction action {};
  action.sa_handler = note;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  return action;
}

sigset_t noted_signals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : kNoted) sigaddset(&set, signal);
  return set;
}

}  // namespace

TerminalSignals::TerminalSignals(int terminal) {
  state.terminal = terminal;
  state.has_modes = tcgetattr(terminal, &state.modes) == 0;
  take_notes();
  const struct sigaction action = noting();
  for (size_t i = 0; i < sizeof kHandled / sizeof *kHandled; i++) {
    saved_[i].signal = kHandled[i];
    sigaction(kHandled[i], &action, &saved_[i].action);
    // Who started us with nohup wants no hangup.
    if (kHandled[i] == SIGHUP && saved_[i].action.sa_handler == SIG_IGN) sigaction(SIGHUP, &saved_[i].action, nullptr);
  }
}

TerminalSignals::~TerminalSignals() {
  for (const Saved &saved : saved_) sigaction(saved.signal, &saved.action, nullptr);
}

TerminalSignals::Wake TerminalSignals::wait_for_input(int timeout_ms) {
  // Blocked but while polling: a signal between the look at the notes and the wait would be slept over.
  const sigset_t watched = noted_signals();
  sigset_t before;
  sigprocmask(SIG_BLOCK, &watched, &before);
  sigset_t while_waiting = before;
  for (const int signal : kNoted) sigdelset(&while_waiting, signal);

  Wake wake = Wake::kSignal;
  while (!anything_noted()) {
    pollfd input{state.terminal, POLLIN, 0};
    const timespec limit{timeout_ms / 1000, timeout_ms % 1000 * 1'000'000L};
    const int ready = ppoll(&input, 1, timeout_ms < 0 ? nullptr : &limit, &while_waiting);
    if (ready < 0 && errno == EINTR) continue;
    if (!anything_noted()) {
      wake = ready == 0 ? Wake::kTimeout : Wake::kInput;
      break;
    }
  }
  sigprocmask(SIG_SETMASK, &before, nullptr);
  return wake;
}

SignalNotes TerminalSignals::take_notes() {
  SignalNotes notes;
  notes.interrupt = take(state.interrupt);
  notes.stop = take(state.stop);
  notes.resumed = take(state.resumed);
  notes.window_changed = take(state.window_changed);
  notes.ending = state.ending;
  state.ending = 0;
  return notes;
}

void TerminalSignals::forget_interrupt() {
  state.interrupt = 0;
}

void TerminalSignals::stop_process() {
  struct sigaction fatal {};
  struct sigaction before {};
  fatal.sa_handler = SIG_DFL;
  sigaction(SIGTSTP, &fatal, &before);
  raise(SIGTSTP);  // without effect where no shell could resume the process
  sigaction(SIGTSTP, &before, nullptr);
  state.resumed = 0;
}

void TerminalSignals::restore_terminal() {
  set_modes_back(TCSADRAIN);
}

TerminalSignals::Editing::Editing() {
  const struct sigaction action = noting();
  sigaction(SIGTSTP, &action, &stop_before_);
  state.editing = 1;
}

TerminalSignals::Editing::~Editing() {
  state.editing = 0;
  sigaction(SIGTSTP, &stop_before_, nullptr);
}

}  // namespace cli_shell
