// A saved configuration, replayed: blocks of a mode's entry, eight settings and "exit". Figures are for one line.
#include "bench/harness.hpp"

namespace {

class Replay : public bench::Path {
 public:
  void run(std::size_t /*number*/) override {
    for (const std::string &line : lines_) {
      engine_.execute(line);
    }
  }
  [[nodiscard]] double units() const override { return static_cast<double>(lines_.size()); }
  [[nodiscard]] std::size_t sample() const override { return 1; }

  // Every line but "exit" calls the handler; the modes are left again; one more replay takes no memory.
  bool holds(std::size_t operations) override {
    const std::size_t calls = bench::handled() - before_;
    const double before = bench::allocated();
    run(0);
    const bool flat = bench::allocated() == before;
    before_ = bench::handled() - calls;
    return flat && calls == operations * (lines_.size() / 10 * 9) && engine_->current == &engine_->root;
  }

 protected:
  Replay(int settings, int lines) : engine_(bench::Shape{100, settings}) {
    lines_ = bench::configuration(bench::Shape{100, settings}, lines);
  }

 private:
  bench::Engine engine_;
  std::vector<std::string> lines_;
  std::size_t before_ = bench::handled();
};

class ReplayLines : public Replay {
 public:
  explicit ReplayLines(int lines) : Replay(100, lines) {}
};

class ReplaySettings : public Replay {
 public:
  explicit ReplaySettings(int settings) : Replay(settings, 100000) {}
};

const bench::Registration kRows[] = {
    {"replay/lines", {1000, 10000, 100000}, bench::make_path<ReplayLines>},
    {"replay/settings", bench::siblings(), bench::make_path<ReplaySettings>},
};

}  // namespace
