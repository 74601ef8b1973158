#include "cli_engine/pager.h"

#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string_view>
#include <utility>

#include "libglobal/chain.hpp"
#include "libglobal/dyn_string.hpp"
#include "libglobal/report.hpp"

namespace {

constexpr const char *kSource = "cli_engine/pager";

// What a finished line may keep unused: less would not pay for moving it, more would show when there are many lines.
constexpr std::size_t kUnusedBytes = 24;

// The one thing that the signal handler sees, common to all pagers: SIGINT came since the last InterruptWatch began.
volatile std::sig_atomic_t interrupted = 0;

extern "C" void record_interrupt(int /*signal*/) {
  interrupted = 1;
}

// While it lives, SIGINT is let through and only recorded; then the host's mask and handler are put back. The handler
// is kept with its flags, and system calls are restarted after it.
class InterruptWatch {
 public:
  InterruptWatch() {
    struct sigaction action = {};
    action.sa_handler = record_interrupt;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, &previous_action_);
    interrupted = 0;
    sigset_t unblocked;
    sigemptyset(&unblocked);
    sigaddset(&unblocked, SIGINT);
    sigprocmask(SIG_UNBLOCK, &unblocked, &previous_mask_);
  }
  ~InterruptWatch() {
    sigprocmask(SIG_SETMASK, &previous_mask_, nullptr);
    sigaction(SIGINT, &previous_action_, nullptr);
  }
  InterruptWatch(const InterruptWatch &) = delete;
  InterruptWatch &operator=(const InterruptWatch &) = delete;

 private:
  struct sigaction previous_action_ = {};
  sigset_t previous_mask_ = {};
};

struct PipeClose {
  void operator()(FILE *pipe) const { pclose(pipe); }
};
using Pipe = std::unique_ptr<FILE, PipeClose>;  // from popen

// The buffer that getline grows.
struct ReadBuffer {
  char *data = nullptr;
  std::size_t capacity = 0;

  ReadBuffer() = default;
  ~ReadBuffer() { std::free(data); }
  ReadBuffer(const ReadBuffer &) = delete;
  ReadBuffer &operator=(const ReadBuffer &) = delete;
};

bool is_open_line(const pager_line_entry &entry) {
  return entry.next == nullptr && entry.text->len == 0;
}

bool has_output(const pager &p) {
  return p.lines.first != nullptr && !is_open_line(*p.lines.first);
}

// A line that grew by several appends holds more memory than its text needs. It gets a block of its own size, and the
// roomy one serves the next line, which holds no memory yet. Lines that are reused keep what they have: otherwise the
// same output would allocate each time.
void pass_on_room(DynString &finished, DynString &fresh) {
  if (finished.capacity - finished.len <= kUnusedBytes) {
    return;
  }
  if (finished.len != 0) {
    libglobal::append(fresh, libglobal::view(finished));
  }
  std::swap(finished, fresh);
  libglobal::clear(fresh);
}

// The present line, begun with the indentation when it is still empty; room for the text that follows is made in one
// step with it.
DynString &line_to_feed(pager *p, std::size_t expected) {
  DynString &line = *pager_line(p);
  if (line.len == 0 && p->indent > 0) {
    const auto indent = static_cast<std::size_t>(p->indent);
    libglobal::room_for(line, indent + expected);
    libglobal::fill(line, ' ', indent);
  }
  return line;
}

// Feeds what one getline read. A signal whose handler does not restart system calls can end a read in the middle of a
// line: the part is fed and the line stays open for the rest. Tells whether the line was ended.
bool feed_read(pager *p, char *text, std::size_t len, bool cut_short) {
  const bool whole = text[len - 1] == '\n';
  if (whole) {
    text[len - 1] = '\0';
  }
  pager_feed(p, text);
  if (!whole && cut_short) {
    return false;
  }
  pager_newline(p);
  return true;
}

void feed_output(pager *p, FILE *pipe) {
  ReadBuffer buffer;
  bool line_ended = true;
  for (;;) {
    const ssize_t len = getline(&buffer.data, &buffer.capacity, pipe);
    const bool cut_short = std::ferror(pipe) != 0 && errno == EINTR;
    if (len > 0) {
      line_ended = feed_read(p, buffer.data, static_cast<std::size_t>(len), cut_short);
    } else if (!cut_short) {
      break;
    }
    if (cut_short) {
      std::clearerr(pipe);
    }
  }
  if (!line_ended) {
    pager_newline(p);
  }
}

}  // namespace

void pager_open(pager *p, int first, int second) {
  pager_set_window(p, first, second);
  libglobal::make_empty(p->lines);
  libglobal::make_empty(p->spare);
}

void pager_set_window(pager *p, int first, int second) {
  p->window[0] = first;
  p->window[1] = second;
}

int pager_set_indent(pager *p, int indent) {
  return std::exchange(p->indent, indent);
}

int pager_change_indent(pager *p, int delta) {
  using Limits = std::numeric_limits<std::int32_t>;
  const std::int64_t sum = std::int64_t{p->indent} + delta;
  return pager_set_indent(p, static_cast<std::int32_t>(std::clamp<std::int64_t>(sum, Limits::min(), Limits::max())));
}

DynString *pager_newline(pager *p) {
  pager_line_entry *entry = nullptr;
  if (p->spare.first != nullptr) {
    entry = libglobal::take_first(p->spare);
    libglobal::clear(*entry->text);
  } else {
    entry = static_cast<pager_line_entry *>(libglobal::xmalloc(sizeof(pager_line_entry), LIBGLOBAL_CALLER(kSource)));
    entry->text = dyn_string_new();
    if (p->cur_line != nullptr) {
      pass_on_room(*p->cur_line, *entry->text);
    }
  }
  libglobal::link_last(p->lines, entry);
  p->cur_line = entry->text;
  return p->cur_line;
}

DynString *pager_line(pager *p) {
  return p->cur_line != nullptr ? p->cur_line : pager_newline(p);
}

int pager_feed(pager *p, const char *text) {
  if (text == nullptr) {
    return -1;
  }
  const std::string_view fed = text;
  libglobal::append(line_to_feed(p, fed.size()), fed);
  return 0;
}

int pager_feedfmt(pager *p, const char *format, ...) {
  va_list args;
  va_start(args, format);
  const int result = dyn_string_vappendf(&line_to_feed(p, 0), format, args);
  va_end(args);
  return result;
}

int pager_feed_popen(pager *p, const char *command) {
  Pipe pipe;
  {
    const InterruptWatch watch;
    pipe.reset(popen(command, "r"));  // NOLINT(cert-env33-c): a shell command is what the host gives
    if (pipe != nullptr) {
      feed_output(p, pipe.get());
    }
  }
  return pipe == nullptr ? -1 : pclose(pipe.release());
}

void pager_show(pager *p) {
  pager_show_line(p, 0, std::numeric_limits<unsigned>::max());
  pager_clear(p);
}

int pager_show_line(pager *p, unsigned first, unsigned last) {
  if (!has_output(*p)) {
    return 0;
  }
  const InterruptWatch watch;
  int printed = 0;
  unsigned number = 1;
  for (const pager_line_entry *entry = p->lines.first; entry != nullptr && interrupted == 0; entry = entry->next) {
    if (first <= number && number <= last && !is_open_line(*entry)) {
      std::puts(entry->text->data);
      ++printed;
    }
    ++number;
  }
  return printed;
}

int pager_line_count(pager *p) {
  int count = 0;
  for (const pager_line_entry *entry = p->lines.first; entry != nullptr && !is_open_line(*entry); entry = entry->next) {
    ++count;
  }
  return count;
}

void pager_clear(pager *p) {
  libglobal::join(p->spare, p->lines);
  p->cur_line = nullptr;
}

void pager_close(pager *p) {
  pager_clear(p);
  for (pager_line_entry *entry = p->spare.first; entry != nullptr;) {
    pager_line_entry *const next = entry->next;
    dyn_string_free(entry->text);
    std::free(entry);
    entry = next;
  }
  libglobal::make_empty(p->spare);
}
