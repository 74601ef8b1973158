// What the benchmarks share: a hot path that is measured at several sizes, by time or by instructions, and checks
// itself.
#ifndef BENCH_HARNESS_HPP
#define BENCH_HARNESS_HPP

#include <jansson.h>

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "bench/language.hpp"
#include "cli_engine/cli_engine.h"

namespace bench {

// A hot path at one size. The constructor sets up what is not measured.
class Path {
 public:
  Path() = default;
  Path(const Path &) = delete;
  Path &operator=(const Path &) = delete;
  virtual ~Path() = default;

  // The operation of that number. Numbers count up from 0, and on from one measurement to the next.
  virtual void run(std::size_t number) = 0;

  // Takes back one operation, unmeasured, when has_undo.
  virtual void undo() {}
  [[nodiscard]] virtual bool has_undo() const { return false; }

  // How many lines, nodes or cells an operation deals with: figures are given for one of them.
  [[nodiscard]] virtual double units() const { return 1; }

  // How many operations instructions are counted over; one when each is taken back.
  [[nodiscard]] virtual std::size_t sample() const { return 1000; }

  // Whether that many operations had the effect that they should have had.
  [[nodiscard]] virtual bool holds(std::size_t operations) = 0;

  // The memory that a unit takes beyond its texts, and with them; 0 where that is no question.
  [[nodiscard]] virtual double bytes_per_unit() const { return 0; }
  [[nodiscard]] virtual double whole_bytes_per_unit() const { return 0; }
};

struct Registration {
  Registration(std::string name, std::vector<int> sizes, std::unique_ptr<Path> (*make)(int));
};

template <class T>
std::unique_ptr<Path> make_path(int size) {
  return std::make_unique<T>(size);
}

// ---- Engines ----

struct JsonRelease {
  void operator()(json_t *value) const { json_decref(value); }
};
using Json = std::unique_ptr<json_t, JsonRelease>;

// Reads a document or ends the process.
Json read_json(const std::string &text);

// How often "bench_handler" was called.
std::size_t &handled();

// An engine with handlers for "exit" and "end".
class Engine {
 public:
  explicit Engine(const Shape &shape);
  Engine(json_t *definitions, json_t *privileges);
  Engine(const Engine &) = delete;
  Engine &operator=(const Engine &) = delete;
  ~Engine();

  cli *get() { return &engine_; }
  cli *operator->() { return &engine_; }
  validator_typesystem *types() { return types_; }
  void execute(const std::string &line) { cli_execute(&engine_, line.c_str()); }

 private:
  validator_typesystem *types_ = validator_typesystem_new();
  cli engine_{};
};

// Lines in rotation.
class Lines {
 public:
  Lines() = default;
  explicit Lines(std::vector<std::string> lines) : lines_(std::move(lines)) {}
  [[nodiscard]] const char *at(std::size_t number) const { return lines_[number % lines_.size()].c_str(); }
  [[nodiscard]] std::size_t size() const { return lines_.size(); }

 private:
  std::vector<std::string> lines_;
};

// Bytes that the process has allocated.
double allocated();

// How many different lines a path runs through: enough that at the largest size they do not stay in the cache.
inline constexpr int kMostLines = 4096;

inline constexpr int kSiblings[] = {100, 1000, 10000, 100000};
inline std::vector<int> siblings() {
  return {std::begin(kSiblings), std::end(kSiblings)};
}

}  // namespace bench

#endif
