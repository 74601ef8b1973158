#include "cli_shell/output.hpp"

#include <fcntl.h>
#include <stdio_ext.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "cli_shell/display.hpp"
#include "cli_shell/file_descriptor.hpp"
#include "cli_shell/raw_write.hpp"

namespace cli_shell {
namespace {

// Set by SIGINT while a body runs in an interactive session.
volatile std::sig_atomic_t interrupt_seen = 0;

void note_interrupt(int) {
  interrupt_seen = 1;
}

// A handler that does nothing, where ignoring the signal would be passed on to the programs that handlers start.
void do_nothing(int) {}

class InterruptGuard {
 public:
  explicit InterruptGuard(bool active) : active_(active) {
    interrupt_seen = 0;
    if (!active_) return;
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

// ---- A filter's process

class DescriptorSink : public LineSink {
 public:
  explicit DescriptorSink(int fd) : fd_(fd) {}

  void line(std::string_view text, bool ended) override {
    pending_ += text;
    if (ended) pending_ += '\n';
  }

  // False when nobody takes the output any more.
  bool flush() {
    if (error_ == 0 && !write_all(fd_, pending_)) error_ = errno;
    pending_.clear();
    return error_ == 0;
  }

  int error() const { return error_; }

 private:
  int fd_;
  std::string pending_;
  int error_ = 0;
};

// Cuts what it reads into lines for the filter. The first `unfiltered` bytes go to `aside`.
bool filter_lines(int in, int aside, size_t unfiltered, LineFilter &filter, DescriptorSink &sink) {
  std::string text;
  char block[65536];
  for (;;) {
    const ssize_t count = read(in, block, sizeof block);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    std::string_view piece(block, static_cast<size_t>(count));
    if (unfiltered > 0) {
      const std::string_view head = piece.substr(0, unfiltered);
      write_all(aside, head);
      unfiltered -= head.size();
      piece.remove_prefix(head.size());
    }
    for (size_t end; (end = piece.find('\n')) != std::string_view::npos; piece.remove_prefix(end + 1)) {
      text += piece.substr(0, end);
      const bool more = filter.line(text, true, sink);
      text.clear();
      if (!more) {
        filter.end(sink);
        return sink.flush();
      }
    }
    text += piece;
    if (!sink.flush()) return false;
  }
  if (!text.empty()) filter.line(text, false, sink);
  filter.end(sink);
  return sink.flush();
}

// Returns the exit status. `last`: the output is the program's own, whose loss is to be said.
int run_filter(int in, int out, int aside, size_t unfiltered, LineFilter &filter, bool last) {
  std::signal(SIGINT, SIG_DFL);
  DescriptorSink sink(out);
  if (filter_lines(in, aside, unfiltered, filter, sink) || !last) return 0;
  say_output_lost(sink.error());
  return 1;
}

// ---- The chain of processes

using Stage = std::function<int(int in, int out, int end)>;  // `end`: where the last stage that reads a pipe writes

// Child processes, each reading what the one before writes; descriptor 1 leads into the first while this lives.
class Chain {
 public:
  // False, with nothing changed, when no process or pipe can be had.
  bool start(const std::vector<Stage> &stages, bool display_is_last) {
    standard_output_ = FileDescriptor(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3));
    if (!standard_output_) return false;
    if (!open_pipes(stages.size())) return give_up();
    // What passes by the filters goes where they all lead: into the display, or out.
    const int end = display_is_last ? pipes_.back().write.get() : standard_output_.get();
    for (size_t i = 0; i < stages.size(); ++i) {
      const pid_t pid = fork();
      if (pid < 0) return give_up();
      if (pid == 0) _exit(run_stage(stages, i, end));
      children_.push_back(pid);
    }
    dup2(pipes_[0].write.get(), STDOUT_FILENO);
    pipes_.clear();
    return true;
  }

  // Puts standard output back and waits for the children; the exit status of the last of them.
  int finish() {
    dup2(standard_output_.get(), STDOUT_FILENO);
    standard_output_.reset();
    return wait_for_children();
  }

 private:
  struct Pipe {
    FileDescriptor read;
    FileDescriptor write;
  };

  bool open_pipes(size_t count) {
    for (size_t i = 0; i < count; ++i) {
      int ends[2];
      if (pipe2(ends, O_CLOEXEC) != 0) return false;
      pipes_.push_back({FileDescriptor(ends[0]), FileDescriptor(ends[1])});
    }
    return true;
  }

  // In the child: keeps its own ends only, or the pipes would never end.
  int run_stage(const std::vector<Stage> &stages, size_t i, int end) {
    const bool last = i + 1 == stages.size();
    const int in = pipes_[i].read.get();
    const int out = last ? standard_output_.get() : pipes_[i + 1].write.get();
    for (Pipe &pipe : pipes_) {
      if (pipe.read.get() != in) pipe.read.reset();
      const bool used = pipe.write.get() == out || (i == 0 && !last && pipe.write.get() == end);
      if (!used) pipe.write.reset();
    }
    try {
      return stages[i](in, out, end);
    } catch (...) {
      return 1;
    }
  }

  bool give_up() {
    pipes_.clear();
    standard_output_.reset();
    wait_for_children();
    return false;
  }

  int wait_for_children() {
    int status = 0;
    for (const pid_t child : children_)
      while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
      }
    children_.clear();
    return WIFEXITED(status) ? WEXITSTATUS(status) : 0;
  }

  FileDescriptor standard_output_;
  std::vector<Pipe> pipes_;
  std::vector<pid_t> children_;
};

// The chain at work, for a body that ends the process: what it printed is shown before the process is gone.
Chain *running_chain = nullptr;

void finish_output_at_exit() {
  if (std::fflush(stdout) != 0 && !running_chain) say_output_lost(errno);
  if (running_chain) running_chain->finish();
  running_chain = nullptr;
}

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

bool wants_colours(ColourChoice choice, bool terminal) {
  if (choice != ColourChoice::kAuto) return choice == ColourChoice::kAlways;
  const char *const type = std::getenv("TERM");
  return terminal && !is_set("NO_COLOR") && type && std::strcmp(type, "dumb") != 0;
}

}  // namespace

Output::Output(ColourChoice choice, bool interactive) : policy_{}, interactive_(interactive) {
  policy_.terminal = isatty(STDOUT_FILENO) == 1;
  policy_.colours = wants_colours(choice, policy_.terminal);
  // What a handler prints bit by bit reaches a user bit by bit, though descriptor 1 is a pipe by then.
  if (policy_.terminal) std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  std::signal(SIGPIPE, do_nothing);
  static const int registered = std::atexit(finish_output_at_exit);
  static_cast<void>(registered);
}

Output::~Output() {
  if (!lost_) note_loss();
}

void Output::run(const std::function<void()> &body, Route route) {
  std::vector<Stage> stages;
  const bool needs_display = policy_.terminal || !policy_.colours;
  for (size_t i = 0; i < route.filters.size(); ++i) {
    LineFilter &filter = *route.filters[i];
    const size_t unfiltered = i == 0 ? route.unfiltered : 0;
    const bool last = i + 1 == route.filters.size() && !needs_display;
    stages.push_back([&filter, unfiltered, last](int in, int out, int end) {
      return run_filter(in, out, end, unfiltered, filter, last);
    });
  }
  if (needs_display) {
    const std::string pager = route.paged && policy_.terminal ? pager_command() : "";
    stages.push_back([this, pager](int in, int out, int) { return run_display(in, out, policy_, pager); });
  }

  const InterruptGuard guard(interactive_);
  if (lost_) {  // that was said; what still has to run does so unheard
    body();
    return drop_unwritten();
  }
  if (stages.empty()) {
    body();
    return note_loss();
  }
  std::fflush(stdout);
  Chain chain;
  if (!chain.start(stages, needs_display)) {
    say_on_standard_error(std::string("cannot start a process for the output: ") + std::strerror(errno));
    return;
  }
  running_chain = &chain;
  body();
  drop_unwritten();
  running_chain = nullptr;
  const int status = chain.finish();
  if (status == kDisplayInterrupted) {
    interrupt_seen = 1;  // the library's pager handles the signal while it prints, and tells nobody
  } else if (status != 0) {
    lost_ = true;
  }
}

bool Output::interrupted() {
  return interrupt_seen != 0;
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
