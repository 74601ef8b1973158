#include "cli_shell/output/printer.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <system_error>
#include <utility>

#include "cli_shell/options.hpp"

namespace cli_shell {
namespace {

constexpr int kPauseMilliseconds = 300;           // output that pauses so long is shown as far as it has come
constexpr size_t kLongestLine = size_t{1} << 20;  // a longer one reaches the filters in pieces
constexpr std::string_view kMessage = "% ";

[[noreturn]] void refuse(int error) {
  throw UserError(std::string("cannot prepare the output: ") + std::strerror(error));
}

bool is_raised(const Event &event, int timeout_ms) {
  pollfd raised = {.fd = event.descriptor(), .events = POLLIN, .revents = 0};
  return poll(&raised, 1, timeout_ms) > 0;
}

// Signals are for the thread that runs the commands.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked &) = delete;
  SignalsBlocked &operator=(const SignalsBlocked &) = delete;

 private:
  sigset_t before_ = {};
};

}  // namespace

Event::Event() : file_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (!file_) refuse(errno);
}

void Event::raise() const {
  const uint64_t one = 1;
  while (write(file_.get(), &one, sizeof one) < 0 && errno != EAGAIN) {  // it is raised as high as it goes
  }
}

void Event::clear() const {
  uint64_t count = 0;
  while (read(file_.get(), &count, sizeof count) < 0 && errno != EAGAIN) {  // it was not raised
  }
}

// ---- The filters of one line

class Printer::Stages {
 public:
  Stages(Job &job, const std::atomic<size_t> &echo, Display &display) : job_(job), echo_(echo), display_(display) {
    LineSink *next = &shown_;
    for (auto filter = job.filters.rbegin(); filter != job.filters.rend(); ++filter) {
      stages_.push_back(std::make_unique<Stage>(**filter, *next, wanted_));
      next = stages_.back().get();
    }
    first_ = next;
  }

  // False when no further piece can make a difference.
  bool feed(std::string_view piece) {
    note_command();
    if (stages_.empty()) return display_.feed(piece);
    const std::string_view head = piece.substr(0, is_command_ ? echo_left_ : piece.size());
    shown_.text.append(head);
    if (is_command_) echo_left_ -= head.size();
    piece.remove_prefix(head.size());
    for (size_t end; wanted_ && (end = piece.find('\n')) != std::string_view::npos; piece.remove_prefix(end + 1))
      take_line(piece.substr(0, end), true);
    line_ += piece;
    if (line_.size() > kLongestLine) take_line({}, false);
    return show() && wanted_;
  }

  // The output has ended: the filters end theirs. The message when one of them failed.
  std::string finish() {
    note_command();
    if (!line_.empty() && wanted_) take_line({}, false);
    std::string failure;
    // Where nothing but messages came, the command was refused, and its filters have nothing to do.
    if (is_command_ && !(messages_ && !lines_)) {
      for (auto stage = stages_.rbegin(); stage != stages_.rend(); ++stage)
        if (std::string said = (*stage)->end(); failure.empty()) failure = std::move(said);
    }
    show();
    return failure;
  }

 private:
  struct Shown : LineSink {
    void line(std::string_view line, bool ended) override {
      text += line;
      if (ended) text += '\n';
    }
    std::string text;
  };

  class Stage : public LineSink {
   public:
    Stage(LineFilter &filter, LineSink &next, bool &wanted) : filter_(filter), next_(next), wanted_(wanted) {}
    void line(std::string_view text, bool ended) override {
      if (wants_) wants_ = filter_.line(text, ended, next_);
      wanted_ = wanted_ && wants_;
    }
    std::string end() { return filter_.end(next_); }

   private:
    LineFilter &filter_;
    LineSink &next_;
    bool &wanted_;
    bool wants_ = true;
  };

  // What a command is refused with is for the user, whatever the filters look for.
  void take_line(std::string_view rest, bool ended) {
    line_ += rest;
    const bool is_message = line_.starts_with(kMessage);
    (is_message ? messages_ : lines_) = true;
    (is_message ? static_cast<LineSink &>(shown_) : *first_).line(line_, ended);
    line_.clear();
  }

  bool show() {
    const bool going_on = shown_.text.empty() || display_.feed(shown_.text);
    shown_.text.clear();
    return going_on;
  }

  // Nothing is shown of a command before it was told to begin.
  void note_command() {
    const size_t echo = is_command_ ? kNoCommand : echo_.load(std::memory_order_acquire);
    if (echo == kNoCommand) return;
    is_command_ = true;
    echo_left_ = echo;
    display_.page(std::move(job_.pager));
  }

  Job &job_;
  const std::atomic<size_t> &echo_;
  bool is_command_ = false;
  size_t echo_left_ = 0;  // bytes of it that have not come yet
  Display &display_;
  std::vector<std::unique_ptr<Stage>> stages_;  // the last one first
  Shown shown_;
  LineSink *first_ = nullptr;
  std::string line_;  // as far as it has come
  bool wanted_ = true;
  bool messages_ = false;
  bool lines_ = false;
};

// ---- The thread

Printer::Printer(int out, DisplayPolicy policy, int errors)
    : display_(out, cancel_.descriptor(), policy),
      error_display_(errors, cancel_.descriptor(), {.colours = false, .terminal = true}) {
  if (!output_.open() || (errors >= 0 && !errors_.open())) refuse(errno);
  const SignalsBlocked blocked;
  try {
    thread_ = std::thread([this] { serve(); });
  } catch (const std::system_error &error) {
    refuse(error.code().value());
  }
}

Printer::~Printer() {
  leaving_ = true;
  begun_.release();
  thread_.join();
}

// The pipe that was there stays when no other can be had.
bool Printer::Pipe::open() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return false;
  FileDescriptor fresh(ends[0]);
  write_end = FileDescriptor(ends[1]);
  read_end = std::move(fresh);
  return fcntl(read_end.get(), F_SETFL, O_NONBLOCK) == 0;
}

void Printer::begin(Job job) {
  end_.clear();
  cancel_.clear();
  done_.clear();
  echo_ = kNoCommand;
  job_ = std::move(job);
  result_ = {};
  begun_.release();
}

bool Printer::settle() {
  settle_.raise();
  pollfd events[] = {{.fd = settled_.descriptor(), .events = POLLIN, .revents = 0},
                     {.fd = done_.descriptor(), .events = POLLIN, .revents = 0}};
  while (poll(events, 2, -1) < 0) {
  }
  const bool settled = events[0].revents != 0;
  settle_.clear();
  settled_.clear();
  return settled && is_free_;
}

Printer::Result Printer::finish(const Event &interrupt, bool cut) {
  int step = 0;
  if (cut) {
    cancel_.raise();
    step = 1;
  }
  end_.raise();
  pollfd events[] = {{.fd = done_.descriptor(), .events = POLLIN, .revents = 0},
                     {.fd = interrupt.descriptor(), .events = POLLIN, .revents = 0}};
  for (;;) {
    if (poll(events, 2, -1) < 0) continue;
    if (events[0].revents != 0) break;
    interrupt.clear();
    if (step == 0) cancel_.raise();
    if (step > 0) display_.pager().end_by(step == 1 ? SIGTERM : SIGKILL);
    ++step;
  }
  return std::move(result_);
}

void Printer::finish_in_handler() const {
  if (std::this_thread::get_id() == thread_.get_id()) return;
  end_.raise();
  while (!is_raised(done_, -1) && errno == EINTR) {
  }
}

void Printer::serve() {
  for (;;) {
    begun_.acquire();
    if (leaving_) return;
    try {
      work();
    } catch (const std::exception &) {  // there is no memory
      display_.finish(true);
      result_.error = ENOMEM;
      if (!output_.open()) discard_rest();
    }
    job_ = {};
    done_.raise();
  }
}

void Printer::work() {
  display_.begin();
  error_display_.begin();
  Stages stages(job_, echo_, display_);
  pollfd events[] = {{.fd = output_.read_end.get(), .events = POLLIN, .revents = 0},
                     {.fd = errors_.read_end.get(), .events = POLLIN, .revents = 0},
                     {.fd = cancel_.descriptor(), .events = POLLIN, .revents = 0},
                     {.fd = end_.descriptor(), .events = POLLIN, .revents = 0},
                     {.fd = settle_.descriptor(), .events = POLLIN, .revents = 0}};
  const auto is_ready = [&events](size_t event) { return events[event].revents != 0; };
  bool going_on = true;
  while (going_on) {
    const int ready = poll(events, 5, display_.holds() ? kPauseMilliseconds : -1);
    if (ready == 0) display_.pause();
    if (ready <= 0) continue;
    if (is_ready(1)) take_errors();
    if (is_ready(2)) break;  // not wanted
    if (is_ready(0)) {
      going_on = take_block(stages);
    } else if (is_ready(4) && !is_ready(1)) {
      settle_.clear();
      is_free_ = display_.settle();
      settled_.raise();
    } else if (!is_ready(1)) {
      break;  // all of it is read
    }
  }
  const bool cancelled = is_raised(cancel_, 0);
  // Who still writes need not, and learns it.
  const bool writes_on = (!going_on || cancelled) && !output_.open();
  if (!cancelled) result_.failure = stages.finish();
  display_.finish(cancelled);
  if (display_.error() != 0) result_.error = display_.error();
  if (writes_on) discard_rest();
  take_errors();
  error_display_.finish(cancelled);
}

// Where there is no other pipe for the next output, this one is read until the end.
void Printer::discard_rest() {
  pollfd events[] = {{.fd = output_.read_end.get(), .events = POLLIN, .revents = 0},
                     {.fd = end_.descriptor(), .events = POLLIN, .revents = 0}};
  char block[4096];
  for (;;) {
    if (poll(events, 2, -1) <= 0) continue;
    if (events[0].revents == 0) return;
    while (read(output_.read_end.get(), block, sizeof block) > 0) {
    }
  }
}

void Printer::take_errors() {
  char block[4096];
  ssize_t count;
  while (errors_.read_end && (count = read(errors_.read_end.get(), block, sizeof block)) > 0)
    error_display_.feed({block, static_cast<size_t>(count)});
}

bool Printer::take_block(Stages &stages) {
  char block[65536];
  const ssize_t count = read(output_.read_end.get(), block, sizeof block);
  if (count < 0 && errno != EINTR && errno != EAGAIN) {
    result_.error = errno;
    return false;
  }
  return count < 0 || stages.feed({block, static_cast<size_t>(count)});
}

}  // namespace cli_shell
