// How the library prints: to standard output or, once a host preset it, through the engine's `write`.
//
// Everything that an engine prints goes through write_out, but for the lines of pagers: the pager of an engine leads by
// its `internal` to the engine's Output, pagers that a host opened itself lead nowhere and print on standard output.
#ifndef CLI_ENGINE_OUTPUT_HPP
#define CLI_ENGINE_OUTPUT_HPP

#include <atomic>
#include <cstdio>
#include <string_view>

#include "cli_engine/cli_engine.h"
#include "cli_engine/data.hpp"
#include "libglobal/dyn_string.hpp"

namespace cli_engine {

// What becomes of the output of one engine's present line.
struct Output {
  cli *engine = nullptr;
  bool refused = false;    // `write` takes no more of it
  bool signalled = false;  // SIGINT came while it was printed or captured
  unsigned answered = 0;   // the interrupts that ended a captured program: what it had to say is printed still
  Data data{};             // of a command that writes data
  std::atomic<unsigned> interrupts{0};  // the calls of cli_interrupt, from signal handlers and other threads

  // Called before the first piece of a line's output.
  void begin() {
    refused = false;
    signalled = false;
    answered = 0;
    interrupts.store(0, std::memory_order_relaxed);
  }
  [[nodiscard]] bool is_cut() const { return refused || interrupts.load(std::memory_order_relaxed) != answered; }
  [[nodiscard]] bool was_interrupted() const { return refused || is_interrupted(); }

  // By the user, whether output was lost or not.
  [[nodiscard]] bool is_interrupted() const { return signalled || interrupts.load(std::memory_order_relaxed) != 0; }
};

static_assert(std::atomic<unsigned>::is_always_lock_free, "cli_interrupt is called from signal handlers");

// Where the pager prints; null for standard output alone.
inline Output *output_of(const pager &p) {
  return static_cast<Output *>(p.internal);
}

// Whether what the engine writes may hold escape sequences.
inline bool has_colours(const cli &engine) {
  return (engine.flags & CLI_NO_COLOUR) == 0;
}

// Whether what is drawn into the pager may hold escape sequences.
inline bool has_colours(const pager &p) {
  const Output *output = output_of(p);
  return output == nullptr || has_colours(*output->engine);
}

// A string that serves line after line keeps no more than this.
inline constexpr std::size_t kKeptText = std::size_t{64} * 1024;

// Writes a piece of output, unless the output was cut.
void write_out(cli *engine, std::string_view text);

// The same with what the string holds; it is empty afterwards, and gives an unusual size back.
void write_out(cli *engine, DynString &text);

}  // namespace cli_engine

#endif
