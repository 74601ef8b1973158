#include "cli_engine/pager.h"

#include <sys/types.h>

#ifdef __GLIBC__
#include <malloc.h>
#endif

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

#include "cli_engine/capture.hpp"
#include "cli_engine/output.hpp"
#include "libglobal/chain.hpp"
#include "libglobal/dyn_string.hpp"
#include "libglobal/report.hpp"

using cli_engine::Output;
using cli_engine::output_of;
using cli_engine::write_out;

namespace {

constexpr const char *kSource = "cli_engine/pager";

// What a finished line may keep unused: less would not pay for moving it, more would show when there are many lines.
constexpr std::size_t kUnusedBytes = 24;

// A cleared pager keeps no more than this for its next lines, and none of them that grew larger than that.
constexpr std::size_t kKeptBytes = std::size_t{64} * 1024;
constexpr std::size_t kKeptLine = 4096;
constexpr std::size_t kMuch = std::size_t{4} * 1024 * 1024;
constexpr std::size_t kLineOverhead = sizeof(pager_line_entry) + sizeof(DynString);

// Lines are handed to an engine's `write` in pieces of about so many bytes.
constexpr std::size_t kWrittenAtOnce = 4096;

// The one thing that the signal handler sees, common to all pagers that print on standard output: SIGINT came since the
// last InterruptWatch began.
volatile std::sig_atomic_t interrupted = 0;

extern "C" void record_interrupt(int /*signal*/) {
  interrupted = 1;
}

// While it lives, SIGINT is let through and only recorded; then the host's mask and handler are put back. The handler
// is kept with its flags, and system calls are restarted after it. A host that asks for it is sent the signal that was
// recorded, once its handler is back and before its mask is.
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
    if (passes_on_ && interrupted != 0 && has_host_handler()) {
      sigaction(SIGINT, &previous_action_, nullptr);
      raise(SIGINT);
    }
    sigprocmask(SIG_SETMASK, &previous_mask_, nullptr);
    sigaction(SIGINT, &previous_action_, nullptr);
  }
  void pass_on() { passes_on_ = true; }
  InterruptWatch(const InterruptWatch &) = delete;
  InterruptWatch &operator=(const InterruptWatch &) = delete;

 private:
  // A signal that the host ignores, or that would end it, goes no further.
  [[nodiscard]] bool has_host_handler() const {
    return (previous_action_.sa_flags & SA_SIGINFO) != 0 ||
           (previous_action_.sa_handler != SIG_DFL && previous_action_.sa_handler != SIG_IGN);
  }

  struct sigaction previous_action_ = {};
  sigset_t previous_mask_ = {};
  bool passes_on_ = false;
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

// Runs a command with standard output watched for SIGINT.
int capture_watched(pager *p, const char *command) {
  Pipe pipe;
  {
    const InterruptWatch watch;
    pipe.reset(popen(command, "r"));  // NOLINT(cert-env33-c): a shell command is what the host gives
    if (pipe != nullptr) {
      feed_output(p, pipe.get());
    }
    if (Output *const output = output_of(*p); output != nullptr && interrupted != 0) {
      output->signalled = true;
    }
  }
  return pipe == nullptr ? -1 : pclose(pipe.release());
}

// ---- Printing ----

// The lines that are printed, with their numbers from 1 on.
struct Range {
  unsigned first;
  unsigned last;
};

struct Printed {
  int lines;
  bool interrupted;
};

// Calls print for each line of the range, until it returns false; returns how many were printed.
template <class Print>
int for_each_line(const pager &p, Range range, Print print) {
  int printed = 0;
  unsigned number = 1;
  for (const pager_line_entry *entry = p.lines.first; entry != nullptr; entry = entry->next, ++number) {
    const bool shown = range.first <= number && number <= range.last && !is_open_line(*entry);
    if (!print(shown ? entry->text : nullptr)) {
      break;
    }
    printed += shown ? 1 : 0;
  }
  return printed;
}

Printed print_watched(const pager &p, Range range) {
  Output *const output = output_of(p);
  InterruptWatch watch;
  const int printed = for_each_line(p, range, [output](const DynString *line) {
    if (interrupted != 0 || (output != nullptr && output->is_cut())) {
      return false;
    }
    if (line != nullptr) {
      std::puts(line->data);
    }
    return true;
  });
  watch.pass_on();
  if (output != nullptr && interrupted != 0) {
    output->signalled = true;
  }
  return {printed, interrupted != 0};
}

Printed print_through(const Output &output, const pager &p, Range range) {
  const libglobal::DynStringOwner piece{dyn_string_new()};
  const int printed = for_each_line(p, range, [&](const DynString *line) {
    if (output.is_cut()) {
      return false;
    }
    if (line != nullptr) {
      libglobal::append_all(*piece, libglobal::view(*line), "\n");
      if (piece->len >= kWrittenAtOnce) {
        write_out(output.engine, *piece);
      }
    }
    return true;
  });
  write_out(output.engine, *piece);
  return {printed, output.is_cut()};
}

Printed print_lines(const pager &p, Range range) {
  if (!has_output(p)) {
    return {0, false};
  }
  const Output *const output = output_of(p);
  return output != nullptr && output->engine->write != nullptr ? print_through(*output, p, range)
                                                               : print_watched(p, range);
}

constexpr Range kAllLines = {0, std::numeric_limits<unsigned>::max()};

// ---- Keeping memory ----

void free_entry(pager_line_entry *entry) {
  dyn_string_free(entry->text);
  std::free(entry);
}

// The C library keeps what was given back to it; of much, the system gets its pages.
void return_to_system([[maybe_unused]] std::size_t released) {
#ifdef __GLIBC__
  if (released >= kMuch) {
    malloc_trim(0);
  }
#endif
}

// Takes off the list what is more than a cleared pager keeps.
void release_surplus(pager_line_list &lines) {
  std::size_t kept = 0;
  std::size_t released = 0;
  pager_line_entry **link = &lines.first;
  while (pager_line_entry *const entry = *link) {
    const std::size_t size = kLineOverhead + entry->text->capacity;
    if (entry->text->capacity <= kKeptLine && kept + size <= kKeptBytes) {
      kept += size;
      link = &entry->next;
    } else {
      *link = entry->next;
      free_entry(entry);
      released += size;
    }
  }
  lines.last_link = link;
  return_to_system(released);
}

// The lines that served last serve first again: those behind them are seldom reached and stay as small as they are.
[[gnu::noinline]] void put_aside(pager &p) {
  release_surplus(p.lines);
  libglobal::join(p.lines, p.spare);
  libglobal::join(p.spare, p.lines);
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
  Output *const output = output_of(*p);
  return output != nullptr && output->engine->write != nullptr ? cli_engine::capture(p, *output, command)
                                                               : capture_watched(p, command);
}

void pager_show(pager *p) {
  if (cli_engine::writes_data(*p)) {
    return;  // the lines go into the command's document
  }
  print_lines(*p, kAllLines);
  pager_clear(p);
}

int pager_flush(pager *p) {
  if (p == nullptr) {
    return -1;
  }
  if (cli_engine::writes_data(*p)) {
    return output_of(*p)->was_interrupted() ? -1 : 0;
  }
  const bool interrupted_now = print_lines(*p, kAllLines).interrupted;
  pager_clear(p);
  Output *const output = output_of(*p);
  if (output == nullptr || output->engine->write == nullptr) {
    std::fflush(stdout);  // whoever reads it need not wait for the next piece
  }
  if (output == nullptr) {
    return interrupted_now ? -1 : 0;
  }
  output->refused = output->was_interrupted();
  return output->refused ? -1 : 0;
}

int pager_show_line(pager *p, unsigned first, unsigned last) {
  return print_lines(*p, {first, last}).lines;
}

int pager_line_count(pager *p) {
  int count = 0;
  for (const pager_line_entry *entry = p->lines.first; entry != nullptr && !is_open_line(*entry); entry = entry->next) {
    ++count;
  }
  return count;
}

void pager_clear(pager *p) {
  if (p->lines.first != nullptr) {
    put_aside(*p);
  }
  p->cur_line = nullptr;
}

void pager_close(pager *p) {
  pager_clear(p);
  for (pager_line_entry *entry = p->spare.first; entry != nullptr;) {
    pager_line_entry *const next = entry->next;
    free_entry(entry);
    entry = next;
  }
  libglobal::make_empty(p->spare);
}
