#include "cli_shell/terminal/terminal_signals.hpp"

#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <iterator>

#include "cli_shell/output/raw_write.hpp"

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
  int out = -1;
  bool has_modes = false;
  termios modes{};
  volatile std::sig_atomic_t marks_pastes = 0;
};
HandlerState state;

constexpr int kNoted[] = {SIGINT, SIGTSTP, SIGCONT, SIGWINCH, SIGHUP, SIGTERM};

constexpr std::string_view kPastesOn = "\033[?2004h";
constexpr std::string_view kPastesOff = "\033[?2004l";

void change_modes(const termios &modes, int when) {
  while (tcsetattr(state.terminal, when, &modes) != 0 && errno == EINTR) {
  }
}

void mark_pastes(bool on) {
  if ((state.marks_pastes != 0) == on) return;
  state.marks_pastes = on ? 1 : 0;
  write_all(state.out, on ? kPastesOn : kPastesOff);
}

// In signal handlers, too.
void set_modes_back(int when) {
  if (!state.has_modes) return;
  mark_pastes(false);
  change_modes(state.modes, when);
}

void set_modes_back_at_exit() {
  set_modes_back(TCSANOW);
}

// By these a process dies where it does not handle them.
constexpr int kFatal[] = {SIGABRT, SIGSEGV, SIGBUS,  SIGFPE,    SIGILL,  SIGSYS,  SIGTRAP,
                          SIGALRM, SIGPROF, SIGUSR1, SIGVTALRM, SIGUSR2, SIGXCPU, SIGPOLL};
struct sigaction before_fatal[std::size(kFatal)];

// What else is done before the process dies of it is done after this: the instruction at fault runs again, and what
// somebody sent is sent again.
void set_modes_back_on(int signal, siginfo_t *info, void *) {
  const int error = errno;
  set_modes_back(TCSANOW);
  const auto row = std::find(std::begin(kFatal), std::end(kFatal), signal);
  sigaction(signal, &before_fatal[row - std::begin(kFatal)], nullptr);
  if (info->si_code <= 0) raise(signal);
  errno = error;
}

// A handler that is there already has its reasons, but where it only precedes the end.
bool ends_process(int signal, const struct sigaction &action) {
  const bool is_fault =
      signal == SIGABRT || signal == SIGSEGV || signal == SIGBUS || signal == SIGFPE || signal == SIGILL;
  return is_fault || action.sa_handler == SIG_DFL;
}

// Also where the stack has overflowed.
void handle_fatal_signals() {
  alignas(std::max_align_t) static char spare[size_t{1} << 16];
  stack_t stack{};
  if (sigaltstack(nullptr, &stack) == 0 && (stack.ss_flags & SS_DISABLE) != 0) {
    stack = {};
    stack.ss_sp = spare;
    stack.ss_size = sizeof spare;
    sigaltstack(&stack, nullptr);
  }
  struct sigaction action {};
  action.sa_sigaction = set_modes_back_on;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  for (size_t i = 0; i < std::size(kFatal); ++i) {
    sigaction(kFatal[i], nullptr, &before_fatal[i]);
    if (ends_process(kFatal[i], before_fatal[i])) sigaction(kFatal[i], &action, nullptr);
  }
}

void leave_fatal_signals() {
  for (size_t i = 0; i < std::size(kFatal); ++i) sigaction(kFatal[i], &before_fatal[i], nullptr);
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

TerminalSignals::TerminalSignals(int terminal, int out) {
  state.terminal = terminal;
  state.out = out;
  state.has_modes = tcgetattr(terminal, &state.modes) == 0;
  take_notes();
  static const int registered = std::atexit(set_modes_back_at_exit);
  static_cast<void>(registered);
  handle_fatal_signals();
  const struct sigaction action = noting();
  for (size_t i = 0; i < sizeof kHandled / sizeof *kHandled; i++) {
    saved_[i].signal = kHandled[i];
    sigaction(kHandled[i], &action, &saved_[i].action);
    // Who started us with nohup wants no hangup.
    if (kHandled[i] == SIGHUP && saved_[i].action.sa_handler == SIG_IGN) sigaction(SIGHUP, &saved_[i].action, nullptr);
  }
}

TerminalSignals::~TerminalSignals() {
  set_modes(Modes::kBefore, false);
  state.has_modes = false;
  leave_fatal_signals();
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

void TerminalSignals::set_modes(Modes modes, bool pastes) {
  if (!state.has_modes) return;
  termios wanted = state.modes;
  if (modes == Modes::kQuiet) {
    wanted.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL);
    wanted.c_cc[VSUSP] = _POSIX_VDISABLE;
  } else if (modes == Modes::kRaw) {
    wanted.c_iflag &= ~static_cast<tcflag_t>(BRKINT | ICRNL | INLCR | IGNCR | ISTRIP | IXON);
    wanted.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL | ICANON | ISIG | IEXTEN);
    wanted.c_cc[VMIN] = 1;
    wanted.c_cc[VTIME] = 0;
  }
  if (!pastes) mark_pastes(false);
  change_modes(wanted, TCSADRAIN);
  if (pastes) mark_pastes(true);
}

bool TerminalSignals::has_input() const {
  int waiting = 0;
  return ioctl(state.terminal, FIONREAD, &waiting) == 0 && waiting > 0;
}

// One byte at a time: what follows the line belongs to the command that the line starts.
bool TerminalSignals::read_byte(char &byte) {
  for (;;) {
    const ssize_t count = read(state.terminal, &byte, 1);
    if (count == 1) return true;
    if (count == 0 || (errno != EINTR && errno != EAGAIN)) return false;
  }
}

TerminalSignals::Editing::Editing() {
  const struct sigaction action = noting();
  sigaction(SIGTSTP, &action, &stop_before_);
  sigaction(SIGINT, &action, &interrupt_before_);  // a question stands within a command
  state.editing = 1;
}

TerminalSignals::Editing::~Editing() {
  state.editing = 0;
  sigaction(SIGTSTP, &stop_before_, nullptr);
  sigaction(SIGINT, &interrupt_before_, nullptr);
}

}  // namespace cli_shell
