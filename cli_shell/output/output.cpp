#include "cli_shell/output/output.hpp"

#include <fcntl.h>
#include <stdio_ext.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "cli_shell/output/raw_write.hpp"

namespace cli_shell {
namespace {

// ---- What signal handlers and the end of the process see

// Set by SIGINT while a body runs in an interactive session.
volatile std::sig_atomic_t interrupt_seen = 0;

// Raised with it. It lives as long as the process.
const Event &interrupt_event() {
  static const Event event;
  return event;
}

// The printer at work and where its output goes, for a body that ends the process: what it printed is shown before the
// process is gone.
struct Running {
  Printer *printer = nullptr;
  int standard_output = -1;
  int standard_error = -1;
};
Running running;

void note_interrupt(int) {
  const int error = errno;
  interrupt_seen = 1;
  interrupt_event().raise();
  errno = error;
}

// A handler that does nothing, where ignoring the signal would be passed on to the programs that handlers start.
void do_nothing(int) {}

struct sigaction abort_before = {};

void show_before_dying(int signal) {
  const int error = errno;
  if (running.printer) running.printer->finish_in_handler();
  errno = error;
  if (abort_before.sa_handler != SIG_DFL && abort_before.sa_handler != SIG_IGN) abort_before.sa_handler(signal);
  raise(signal);  // whoever sent it
}

void finish_output_at_exit() {
  if (std::fflush(stdout) != 0 && !running.printer) say_output_lost(errno);
  if (!running.printer) return;
  dup2(running.standard_output, STDOUT_FILENO);
  if (running.standard_error >= 0) dup2(running.standard_error, STDERR_FILENO);
  running.printer->finish(interrupt_event(), false);
  running = {};
}

void handle_signals() {
  struct sigaction action = {};
  action.sa_handler = do_nothing;
  action.sa_flags = SA_RESTART;
  sigaction(SIGPIPE, &action, nullptr);
  sigaction(SIGXFSZ, &action, nullptr);
  action.sa_handler = show_before_dying;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  struct sigaction before = {};
  sigaction(SIGABRT, &action, &before);
  if (before.sa_handler != show_before_dying) abort_before = before;
}

class InterruptGuard {
 public:
  explicit InterruptGuard(bool active) : active_(active) {
    interrupt_seen = 0;
    if (!active_) return;
    interrupt_event().clear();
    struct sigaction action = {};
    action.sa_handler = note_interrupt;
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, &previous_);
  }
  ~InterruptGuard() {
    if (active_) sigaction(SIGINT, &previous_, nullptr);
  }
  InterruptGuard(const InterruptGuard &) = delete;
  InterruptGuard &operator=(const InterruptGuard &) = delete;

 private:
  bool active_;
  struct sigaction previous_ = {};
};

// ---- Standard output

// Output that nobody takes any more is dropped, or it would come out behind the prompt.
void drop_unwritten() {
  if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return;
  __fpurge(stdout);
  std::clearerr(stdout);
}

bool is_set(const char *variable) {
  const char *const value = std::getenv(variable);
  return value && *value;
}

DisplayPolicy policy_for(ColourChoice choice) {
  const bool terminal = isatty(STDOUT_FILENO) == 1;
  const char *const type = std::getenv("TERM");
  const bool fitting = terminal && !is_set("NO_COLOR") && type && std::strcmp(type, "dumb") != 0;
  const bool colours = choice == ColourChoice::kAuto ? fitting : choice == ColourChoice::kAlways;
  return {.colours = colours, .terminal = terminal, .raw = colours && !terminal};
}

// Nothing but a full kernel refuses this, and not for long. A body must not print past the display.
void send_to(int fd, int standard) {
  for (int attempt = 0; dup2(fd, standard) < 0; ++attempt) {
    if (attempt < 1000) continue;
    say_output_lost(errno);
    std::_Exit(EXIT_FAILURE);
  }
}

FileDescriptor opened(int fd) {
  if (fd < 0) throw UserError(std::string("cannot prepare the output: ") + std::strerror(errno));
  return FileDescriptor(fd);
}

FileDescriptor duplicate(int fd) {
  return opened(fcntl(fd, F_DUPFD_CLOEXEC, 3));
}

}  // namespace

void say_output_lost(int error) {
  say_on_standard_error(std::string("cannot write standard output") +
                        (error == 0 ? "" : std::string(": ") + std::strerror(error)));
}

Output::Output(ColourChoice choice, bool interactive)
    : policy_(policy_for(choice)),
      interactive_(interactive),
      standard_output_(duplicate(STDOUT_FILENO)),
      standard_error_(isatty(STDERR_FILENO) == 1 ? duplicate(STDERR_FILENO) : FileDescriptor()),
      nowhere_(opened(open("/dev/null", O_WRONLY | O_CLOEXEC))),
      printer_(standard_output_.get(), policy_, standard_error_.get()) {
  interrupt_event();
  // What a handler prints bit by bit reaches a user bit by bit, though descriptor 1 is a pipe by then.
  if (policy_.terminal) std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  handle_signals();
  static const int registered = std::atexit(finish_output_at_exit);
  static_cast<void>(registered);
}

Output::~Output() {
  if (!lost_) note_loss();
}

void Output::run(const std::function<void()> &body, Route route) {
  const InterruptGuard guard(interactive_);
  if (lost_) return run_unheard(body);  // that was said; what still has to run does so
  std::fflush(stdout);
  if (policy_.raw && route.filters.empty() && !standard_error_) {
    body();
    return note_loss();
  }
  Printer::Job job{.filters = std::move(route.filters), .pager = {}};
  if (route.paged && policy_.terminal) job.pager = pager_command(standard_output_.get(), route.length);
  routed_ = !job.filters.empty() || !job.pager.program.empty();
  run_into_printer(body, std::move(job));
}

void Output::run_into_printer(const std::function<void()> &body, Printer::Job job) {
  running = {&printer_, standard_output_.get(), standard_error_.get()};
  if (standard_error_) send_to(printer_.error_input(), STDERR_FILENO);
  send_to(printer_.input(), STDOUT_FILENO);
  printer_.begin(std::move(job));
  const auto end = [&] {
    drop_unwritten();
    send_to(standard_output_.get(), STDOUT_FILENO);
    if (standard_error_) send_to(standard_error_.get(), STDERR_FILENO);
    const Printer::Result result = printer_.finish(interrupt_event(), interrupt_seen != 0);
    running = {};
    routed_ = false;
    return result;
  };
  try {
    body();
  } catch (...) {
    end();
    throw;
  }
  take(end());
}

void Output::begin_command(size_t echo) {
  if (routed_) printer_.begin_command(echo);
}

void Output::run_unheard(const std::function<void()> &body) {
  send_to(nowhere_.get(), STDOUT_FILENO);
  body();
  drop_unwritten();
  send_to(standard_output_.get(), STDOUT_FILENO);
}

void Output::take(const Printer::Result &result) {
  if (result.error == ENOMEM) throw std::bad_alloc();
  if (result.error != 0) {
    say_output_lost(result.error);
    lost_ = true;
  }
  if (result.failure.empty()) return;
  say_on_standard_error(result.failure);
  failed_ = true;
}

bool Output::settle() {
  std::fflush(stdout);
  return !running.printer || running.printer->settle();
}

bool Output::interrupted() {
  return interrupt_seen != 0;
}

void Output::note_interrupted() {
  interrupt_seen = 1;
}

void Output::note_loss() {
  const bool failed_before = std::ferror(stdout) != 0;
  errno = 0;
  if (std::fflush(stdout) == 0 && !failed_before) return;
  say_output_lost(errno);
  drop_unwritten();
  lost_ = true;
}

}  // namespace cli_shell
