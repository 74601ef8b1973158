#include "cli_shell/output/display.hpp"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "cli_shell/output/raw_write.hpp"

namespace cli_shell {
namespace {

constexpr size_t kWrittenAtOnce = 4096;  // what a pipe with room takes without waiting

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

// A pager program reads the keys that were typed for the lines to come.
bool input_waits() {
  pollfd input = {.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
  return isatty(STDIN_FILENO) == 1 && poll(&input, 1, 0) > 0;
}

}  // namespace

void Display::begin() {
  command_ = {};
  held_.clear();
  ended_ = false;
}

bool Display::feed(std::string_view piece) {
  if (policy_.raw)
    held_ += piece;
  else
    text_.feed(piece, held_);
  return show();
}

// Shows what is held, or keeps it until it is known whether it fits the screen; false when showing has ended.
bool Display::show() {
  if (!command_.program.empty() && !pager_.running()) {
    if (rows_of(held_, command_.columns) < command_.rows) return !ended_;
    if (input_waits() || !pager_.start(command_, out_)) command_.program.clear();
  }
  return write_held();
}

// False when there is room no more: nobody looks, or showing was broken off.
bool Display::wait_for_room(int fd) {
  pollfd waits[] = {{.fd = fd, .events = POLLOUT, .revents = 0}, {.fd = cancel_, .events = POLLIN, .revents = 0}};
  while (poll(waits, 2, -1) < 0 && errno == EINTR) {
  }
  return waits[1].revents == 0;
}

bool Display::write_held() {
  const int fd = pager_.running() ? pager_.input() : out_;
  for (std::string_view rest = held_; !rest.empty() && !ended_;) {
    ended_ = !wait_for_room(fd);
    if (ended_) break;
    const ssize_t count = write(fd, rest.data(), std::min(rest.size(), kWrittenAtOnce));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) {
      ended_ = true;  // a user who leaves the pager program has seen enough; anything else is a loss
      if (!pager_.running()) error_ = errno;
      break;
    }
    last_shown_ = rest[static_cast<size_t>(count) - 1];
    rest.remove_prefix(static_cast<size_t>(count));
  }
  held_.clear();
  return !ended_;
}

bool Display::settle() {
  if (pager_.running()) return false;
  write_held();
  if (std::exchange(last_shown_, '\n') != '\n') write_all(out_, "\n");
  return !ended_;
}

void Display::finish(bool cancelled) {
  if (cancelled) {
    text_.forget();
    held_.clear();
  } else {
    text_.finish(held_);
    write_held();
  }
  if (pager_.running()) {
    pager_.finish();
    last_shown_ = '\n';
  } else if (cancelled && error_ == 0 && std::exchange(last_shown_, '\n') != '\n') {
    write_all(out_, "\n");  // the prompt that follows begins a line of its own
  }
}

}  // namespace cli_shell
