#include "cli_shell/display.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "cli_shell/file_descriptor.hpp"
#include "cli_shell/raw_write.hpp"

namespace cli_shell {
namespace {

constexpr int kPauseMilliseconds = 300;  // output that pauses so long is shown as far as it has come

// Set by SIGINT in the display's own process.
volatile std::sig_atomic_t stop_requested = 0;

std::string environment(const char *name) {
  const char *const value = std::getenv(name);
  return value ? value : "";
}

bool is_installed(const std::string &program) {
  if (program.find('/') != std::string::npos) return access(program.c_str(), X_OK) == 0;
  const std::string path = environment("PATH");
  for (size_t start = 0; start <= path.size();) {
    const size_t end = std::min(path.find(':', start), path.size());
    if (access((path.substr(start, end - start) + "/" + program).c_str(), X_OK) == 0) return true;
    start = end + 1;
  }
  return false;
}

struct Screen {
  size_t rows;
  size_t columns;
};

Screen screen_of(int fd) {
  winsize size = {};
  if (ioctl(fd, TIOCGWINSZ, &size) != 0 || size.ws_row == 0 || size.ws_col == 0) return {24, 80};
  return {size.ws_row, size.ws_col};
}

// The screen rows that a text fills.
size_t rows_of(std::string_view text, size_t columns) {
  std::string buffer;
  size_t rows = 0;
  for (size_t start = 0; start < text.size();) {
    const size_t end = std::min(text.find('\n', start), text.size());
    const std::string_view visible = without_sequences(text.substr(start, end - start), buffer);
    rows += 1 + (visible.empty() ? 0 : (visible.size() - 1) / columns);
    start = end + 1;
  }
  return rows;
}

// The pager program and the pipe into it.
class Pager {
 public:
  bool running() const { return static_cast<bool>(pipe_); }
  int input() const { return pipe_.get(); }

  // False when no process can be had.
  bool start(const std::string &command, int out) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return false;
    FileDescriptor read_end(ends[0]);
    pipe_ = FileDescriptor(ends[1]);
    pid_ = fork();
    if (pid_ == 0) become(command, read_end.get(), out);
    if (pid_ < 0) pipe_.reset();
    return pid_ > 0;
  }

  // Ends its input and waits until the user leaves it.
  void finish() {
    pipe_.reset();
    while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
    }
  }

 private:
  [[noreturn]] static void become(const std::string &command, int in, int out) {
    std::signal(SIGINT, SIG_DFL);
    dup2(in, STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    setenv("LESS", "FRXK", 0);
    // The operator of a device gets a pager, not a way into its system.
    setenv("LESSSECURE", "1", 1);
    execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char *>(nullptr));
    _exit(127);
  }

  FileDescriptor pipe_;
  pid_t pid_ = -1;
};

class Display {
 public:
  Display(int in, int out, DisplayPolicy policy, const std::string &pager)
      : in_(in), out_(out), text_(policy), pager_command_(pager), screen_(screen_of(out)) {}

  int run() {
    char block[65536];
    for (;;) {
      if (!held_.empty() && !input_within_pause() && !stop_requested) write_held();
      const ssize_t count = stop_requested ? 0 : read(in_, block, sizeof block);
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) break;
      text_.feed({block, static_cast<size_t>(count)}, held_);
      if (!show()) break;
    }
    return finish();
  }

 private:
  bool input_within_pause() const {
    pollfd input = {.fd = in_, .events = POLLIN, .revents = 0};
    return poll(&input, 1, kPauseMilliseconds) > 0;
  }

  // Shows what is held, or keeps it until it is known whether it fits the screen; false when showing has ended.
  bool show() {
    if (!pager_command_.empty() && !pager_.running()) {
      if (rows_of(held_, screen_.columns) < screen_.rows) return true;
      if (!pager_.start(pager_command_, out_)) pager_command_.clear();
    }
    return write_held();
  }

  bool write_held() {
    if (error_ != 0) return false;
    const int fd = pager_.running() ? pager_.input() : out_;
    for (std::string_view rest = held_; !rest.empty() && !stop_requested;) {
      const ssize_t count = write(fd, rest.data(), rest.size());
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) return lose(errno);
      last_shown_ = rest[static_cast<size_t>(count) - 1];
      rest.remove_prefix(static_cast<size_t>(count));
    }
    held_.clear();
    return true;
  }

  // A user who leaves the pager program has seen enough; anything else is a loss.
  bool lose(int error) {
    error_ = error;
    lost_ = !pager_.running();
    held_.clear();
    return false;
  }

  int finish() {
    text_.finish(held_);
    if (stop_requested)
      end_interrupted_line();
    else
      write_held();
    if (pager_.running()) pager_.finish();
    if (lost_) say_output_lost(error_);
    return lost_ ? 1 : 0;
  }

  // The prompt that follows begins a line of its own.
  void end_interrupted_line() {
    if (!pager_.running() && error_ == 0 && last_shown_ != '\n') write_all(out_, "\n");
  }

  int in_;
  int out_;
  DisplayText text_;
  std::string pager_command_;
  Screen screen_;
  Pager pager_;
  std::string held_;
  char last_shown_ = '\n';
  int error_ = 0;
  bool lost_ = false;
};

void request_stop(int) {
  stop_requested = 1;
}

}  // namespace

std::string pager_command() {
  const std::string terminal = environment("TERM");
  if (terminal.empty() || terminal == "dumb" || environment("CLI_SHELL_MORE") == "0") return "";
  std::string command = environment("CLI_SHELL_PAGER");
  if (command.empty()) command = environment("PAGER");
  if (command.empty()) command = "less -FRXK";
  const size_t start = std::min(command.find_first_not_of(' '), command.size());
  const std::string program = command.substr(start, command.find(' ', start) - start);
  return program == "cat" || !is_installed(program) ? "" : command;
}

int run_display(int in, int out, DisplayPolicy policy, const std::string &pager) {
  struct sigaction action = {};
  action.sa_handler = request_stop;  // without SA_RESTART: reading and writing end at once
  sigaction(SIGINT, &action, nullptr);
  const int status = Display(in, out, policy, pager).run();
  return status == 0 && stop_requested ? kDisplayInterrupted : status;
}

void say_output_lost(int error) {
  say_on_standard_error(std::string("cannot write standard output") +
                        (error == 0 ? "" : std::string(": ") + std::strerror(error)));
}

}  // namespace cli_shell
