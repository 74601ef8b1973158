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

// In steady state, lines take no memory: the same ones again, and again, leave the heap as it was. The first time may
// still raise a buffer to its largest size.
void check_growth(fuzz::Host &host, const std::vector<Step> &steps, size_t lines) {
  host.stop_checking();
  size_t before = 0;
  for (size_t round = 0; round < 2 + lines / std::max<size_t>(steps.size(), 1); round++) {
    host.act(fuzz::kLeaveAll, "");
    for (const Step &step : steps) host.act(step.action, step.text);
    if (round == 1) before = fuzz::heap_in_use();
  }
  FUZZ_REQUIRE(fuzz::heap_in_use() <= before);
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
