// Sessions of lines, help and completion, in a language that the input declares or in the router example's.
#include <algorithm>
#include <vector>

#include "host.hpp"
#include "invariants.hpp"
#include "language.hpp"

namespace {

struct Language {
  fuzz::Json definitions, privileges;
};

Language router_language() {
  Language language{fuzz::Json(json_load_file(ROUTER_FOLDER "/router.json", 0, nullptr)),
                    fuzz::Json(json_load_file(ROUTER_FOLDER "/privileges.json", 0, nullptr))};
  fuzz::take_over_handlers(language.definitions.get());
  return language;
}

struct Step {
  int action;
  std::string text;
};

void play(fuzz::Host &host, const std::vector<Step> &steps, size_t rounds) {
  for (; rounds > 0; --rounds) {
    host.act(fuzz::kLeaveAll, "");
    for (const Step &step : steps) host.act(step.action, step.text);
  }
}

// In steady state, lines take no memory. Buffers reach their largest size in the first rounds, and what the allocator
// itself keeps settles after a few: only what is lost grows each time.
void check_growth(fuzz::Host &host, const std::vector<Step> &steps, size_t lines) {
  host.stop_checking();
  play(host, steps, 2);
  bool grows = true;
  for (int again = 8; grows && again > 0; --again) {
    const size_t before = fuzz::heap_in_use();
    play(host, steps, 1 + lines / std::max<size_t>(steps.size(), 1));
    grows = fuzz::heap_in_use() > before;
  }
  FUZZ_REQUIRE(!grows);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static const Language router = router_language();
  fuzz::Source source(data, size);
  const int kind = source.byte();
  const bool use_router = kind % 2 == 1 && router.definitions != nullptr;
  fuzz::Writer writer(source);
  const Language written{use_router ? nullptr : writer.definitions(), use_router ? nullptr : writer.privileges()};
  const Language &first = use_router ? router : written;
  fuzz::Host host(first.definitions.get(), first.privileges.get());

  std::vector<Step> steps;
  for (int left = 64; left > 0 && !source.ended(); --left) {
    const int action = source.below(fuzz::kActions + 1);
    if (action == fuzz::kActions) {
      const Language &next = source.seldom() && router.definitions != nullptr ? router : first;
      host.reload(next.definitions.get(), next.privileges.get());
      steps.clear();
    } else {
      steps.push_back({action, fuzz::line_for(source, host.engine())});
      host.act(steps.back().action, steps.back().text);
    }
  }
  check_growth(host, steps, kind == 254 && size % 64 == 0 ? 10000 : steps.size());
  return 0;
}
