#include "cli_engine/capture.hpp"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

extern char **environ;  // NOLINT(readability-redundant-declaration): not every C library declares it

namespace cli_engine {
namespace {

// An interrupt comes from anywhere and wakes nobody: it is looked for this often.
constexpr int kPatienceMs = 50;

// What a program is asked to end with, and for how long each is left to work before the next.
constexpr int kEndings[] = {SIGINT, SIGTERM, SIGKILL};
constexpr long kEndingMs = 1000;

long now_ms() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * 1000 + now.tv_nsec / 1000000;
}

class Attributes {
 public:
  Attributes() {
    posix_spawnattr_init(&attributes_);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGINT);
    sigset_t mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    for (const int ending : kEndings) {
      sigdelset(&mask, ending);
    }
    posix_spawnattr_setsigdefault(&attributes_, &defaults);
    posix_spawnattr_setsigmask(&attributes_, &mask);
    posix_spawnattr_setpgroup(&attributes_, 0);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  }
  ~Attributes() { posix_spawnattr_destroy(&attributes_); }
  Attributes(const Attributes &) = delete;
  Attributes &operator=(const Attributes &) = delete;

  [[nodiscard]] const posix_spawnattr_t *get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_{};
};

class FileActions {
 public:
  explicit FileActions(int output) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  }
  ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
  FileActions(const FileActions &) = delete;
  FileActions &operator=(const FileActions &) = delete;

  [[nodiscard]] const posix_spawn_file_actions_t *get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

// Starts the command and returns its process, or -1.
pid_t start(const char *command, int output) {
  const Attributes attributes;
  const FileActions actions(output);
  char shell[] = "sh";
  char option[] = "-c";
  char *const arguments[] = {shell, option, const_cast<char *>(command), nullptr};
  pid_t process = -1;
  return posix_spawn(&process, "/bin/sh", actions.get(), attributes.get(), arguments, environ) == 0 ? process : -1;
}

// A command that runs, from the read end of its output to its status.
class Program {
 public:
  Program(pid_t process, int output_end, Output &output)
      : process_(process), end_(output_end), output_(output), heeded_(output.answered) {}
  ~Program() { close(end_); }
  Program(const Program &) = delete;
  Program &operator=(const Program &) = delete;

  // Feeds the lines until the output ends, or until whoever holds it open after the program was killed is given up.
  void feed(pager *p) {
    const libglobal::DynStringOwner line{dyn_string_new()};
    std::array<char, 4096> buffer;
    for (;;) {
      const ssize_t size = read_some(buffer.data(), buffer.size());
      if (size <= 0) {
        break;
      }
      feed_lines(p, *line, {buffer.data(), static_cast<std::size_t>(size)});
    }
    if (line->len != 0) {
      end_line(p, *line);
    }
  }

  int status() {
    int status = -1;
    for (int wait_ms = 1;; wait_ms = std::min(2 * wait_ms, kPatienceMs)) {
      const pid_t ended = waitpid(process_, &status, WNOHANG);
      if (ended == process_) {
        return status;
      }
      if (ended < 0 && errno != EINTR) {
        return -1;
      }
      poll(nullptr, 0, wait_ms);
      heed_interrupts();
    }
  }

 private:
  static void end_line(pager *p, DynString &line) {
    pager_feed(p, line.data);
    pager_newline(p);
    libglobal::clear(line);
  }

  static void feed_lines(pager *p, DynString &line, std::string_view text) {
    for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
      libglobal::append(line, text.substr(0, end));
      end_line(p, line);
      text.remove_prefix(end + 1);
    }
    libglobal::append(line, text);
  }

  // As read; 0 also for what comes too late.
  ssize_t read_some(char *buffer, std::size_t size) {
    for (;;) {
      heed_interrupts();
      pollfd ready = {end_, POLLIN, 0};
      if (poll(&ready, 1, kPatienceMs) > 0) {
        const ssize_t count = read(end_, buffer, size);
        if (count >= 0 || errno != EINTR) {
          return count;
        }
      } else if (stage_ == std::size(kEndings)) {
        return 0;
      }
    }
  }

  // The first interrupt asks the program to end, and what it has to say is still printed; each further one, or a
  // second without an answer, asks it less politely.
  void heed_interrupts() {
    const unsigned interrupts = output_.interrupts.load(std::memory_order_relaxed);
    const bool again = interrupts != heeded_;
    heeded_ = interrupts;
    if (stage_ == 0 && again) {
      output_.answered = interrupts;
    }
    const bool due = again || (stage_ > 0 && now_ms() - asked_ms_ >= kEndingMs);
    if (due && stage_ < std::size(kEndings)) {
      kill(-process_, kEndings[stage_++]);
      asked_ms_ = now_ms();
    }
  }

  pid_t process_;
  int end_;
  Output &output_;
  unsigned heeded_;  // the interrupts that were seen
  std::size_t stage_ = 0;
  long asked_ms_ = 0;
};

}  // namespace

int capture(pager *p, Output &output, const char *command) {
  std::array<int, 2> ends{};
  if (output.is_cut() || pipe2(ends.data(), O_CLOEXEC) != 0) {
    return -1;
  }
  const pid_t process = start(command, ends[1]);
  close(ends[1]);
  if (process < 0) {
    close(ends[0]);
    return -1;
  }
  Program program(process, ends[0], output);
  program.feed(p);
  return program.status();
}

}  // namespace cli_engine
