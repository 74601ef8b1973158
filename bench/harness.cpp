#include "bench/harness.hpp"

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <utility>

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
#define CALLGRIND_START_INSTRUMENTATION
#define CALLGRIND_STOP_INSTRUMENTATION
#define CALLGRIND_ZERO_STATS
#define CALLGRIND_DUMP_STATS_AT(name) static_cast<void>(name)
#endif

extern "C" __attribute__((visibility("default"))) int bench_handler(cli * /*engine*/, cli_node * /*node*/) {
  bench::handled()++;
  return 0;
}

namespace bench {
namespace {

struct Entry {
  std::string name;
  std::vector<int> sizes;
  std::unique_ptr<Path> (*make)(int);
};

std::vector<Entry> &entries() {
  static std::vector<Entry> all;
  return all;
}

int leave_mode(cli *engine, cli_node * /*node*/) {
  cli_pop_subconfig(engine);
  return 0;
}

int leave_all_modes(cli *engine, cli_node * /*node*/) {
  cli_reset_subconfig(engine);
  return 0;
}

// The path that was measured last, with the operations that it has run: a benchmark's function is called several times.
struct Current {
  std::string name;
  std::unique_ptr<Path> path;
  std::size_t operations = 0;

  void set_up(const Entry &entry, int size) {
    const std::string wanted = entry.name + '/' + std::to_string(size);
    if (name != wanted) {
      path = nullptr;
      path = entry.make(size);
      name = wanted;
      operations = 0;
    }
  }
  void run() { path->run(operations++); }
};

Current &current() {
  static Current now;
  return now;
}

bool failed = false;

void measure_time(benchmark::State &state, const Entry &entry) {
  Current &now = current();
  now.set_up(entry, static_cast<int>(state.range(0)));
  const bool has_undo = now.path->has_undo();
  for (const auto _ : state) {
    now.run();
    if (has_undo) {
      state.PauseTiming();
      now.path->undo();
      state.ResumeTiming();
    }
  }
  if (!now.path->holds(now.operations)) {
    failed = true;
    state.SkipWithError("the operations did not do what they should have done");
  }
  state.counters["units"] = now.path->units();
  state.counters["bytes"] = now.path->bytes_per_unit();
  state.counters["whole"] = now.path->whole_bytes_per_unit();
}

// Runs each path under callgrind: once unmeasured, so that everything is bound and pooled, then once measured. A part
// of the profile is named for what was measured: NAME SIZE UNITS, the units being those of all operations together.
int count_instructions(const std::string &filter) {
  for (const Entry &entry : entries()) {
    for (const int size : entry.sizes) {
      if (!filter.empty() && filter.find(' ' + entry.name + '/' + std::to_string(size) + ' ') == std::string::npos) {
        continue;
      }
      Current &now = current();
      now.set_up(entry, size);
      const std::size_t sample = now.path->has_undo() ? 1 : now.path->sample();
      for (std::size_t i = 0; i < sample; i++) {
        now.run();
        now.path->undo();
      }
      std::fflush(stdout);
      CALLGRIND_START_INSTRUMENTATION;
      CALLGRIND_ZERO_STATS;
      for (std::size_t i = 0; i < sample; i++) {
        now.run();
      }
      const std::string label = entry.name + ' ' + std::to_string(size) + ' ' +
                                std::to_string(now.path->units() * static_cast<double>(sample));
      CALLGRIND_DUMP_STATS_AT(label.c_str());
      CALLGRIND_STOP_INSTRUMENTATION;
      now.path->undo();
      if (!now.path->holds(now.operations)) {
        std::fprintf(stderr, "%s: the operations did not do what they should have done\n", label.c_str());
        return 1;
      }
    }
  }
  return 0;
}

}  // namespace

Registration::Registration(std::string name, std::vector<int> sizes, std::unique_ptr<Path> (*make)(int)) {
  entries().push_back({std::move(name), std::move(sizes), make});
}

Json read_json(const std::string &text) {
  json_error_t error;
  Json value{json_loadb(text.data(), text.size(), 0, &error)};
  if (value == nullptr) {
    std::fprintf(stderr, "%s at %d\n", error.text, error.position);
    std::exit(1);
  }
  return value;
}

std::size_t &handled() {
  static std::size_t count = 0;
  return count;
}

Engine::Engine(const Shape &shape) : Engine(read_json(definitions(shape)).get(), read_json(privileges(shape)).get()) {}

Engine::Engine(json_t *definitions, json_t *privileges) {
  engine_.exit_handler = leave_mode;
  engine_.end_handler = leave_all_modes;
  if (cli_init(&engine_, types_, definitions, nullptr, privileges) == nullptr) {
    std::exit(1);
  }
}

Engine::~Engine() {
  cli_free(&engine_);
  validator_typesystem_free(types_);
}

double allocated() {
  const struct mallinfo2 info = mallinfo2();
  return static_cast<double>(info.uordblks + info.hblkhd);
}

}  // namespace bench

// The measured lines write to standard output, so results go to standard error and, with --benchmark_out, to a file.
// --instructions counts instructions under callgrind instead; with a value, of the paths " NAME/SIZE " in it alone.
int main(int argc, char **argv) {
  if (std::freopen("/dev/null", "w", stdout) == nullptr) {
    return 1;
  }
  constexpr const char *kOption = "--instructions";
  if (argc == 2 && std::strncmp(argv[1], kOption, std::strlen(kOption)) == 0) {
    const char *filter = argv[1] + std::strlen(kOption);
    return bench::count_instructions(*filter == '=' ? filter + 1 : filter);
  }
  for (const bench::Entry &entry : bench::entries()) {
    const auto run = [&entry](benchmark::State &state) { bench::measure_time(state, entry); };
    auto *registered = benchmark::RegisterBenchmark(entry.name.c_str(), run);
    for (const int size : entry.sizes) {
      registered->Arg(size);
    }
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 2;
  }
  benchmark::ConsoleReporter reporter;
  reporter.SetOutputStream(&std::cerr);
  reporter.SetErrorStream(&std::cerr);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  bench::current().path = nullptr;
  benchmark::Shutdown();
  return bench::failed ? 1 : 0;
}
