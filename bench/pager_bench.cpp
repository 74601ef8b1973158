// Collecting lines and printing them. Figures are for one line; bytes are what a line takes beyond its text.
#include "bench/harness.hpp"

namespace {

constexpr char kText[] = "10.20.30.0/24 via 10.0.0.1 dev eth0 metric 100 weight 1 age 00:12:34";

class Feed : public bench::Path {
 public:
  explicit Feed(int lines) : lines_(lines) {
    pager_open(&pager_, -1, -1);
    const double before = bench::allocated();
    run(0);
    bytes_ = bench::allocated() - before;
    pager_clear(&pager_);
  }
  ~Feed() override { pager_close(&pager_); }
  void run(std::size_t /*number*/) override {
    for (int i = 0; i < lines_; i++) {
      pager_feed(&pager_, kText);
      pager_newline(&pager_);
    }
  }
  void undo() override { pager_clear(&pager_); }
  [[nodiscard]] bool has_undo() const override { return true; }
  [[nodiscard]] double units() const override { return lines_; }
  [[nodiscard]] std::size_t sample() const override { return 1; }
  [[nodiscard]] double bytes_per_unit() const override { return bytes_ / lines_ - (sizeof kText - 1); }
  bool holds(std::size_t /*operations*/) override {
    undo();
    run(0);
    const bool all = pager_line_count(&pager_) == lines_;
    undo();
    return all;
  }

 protected:
  pager &output() { return pager_; }

 private:
  pager pager_{};
  int lines_;
  double bytes_ = 0;
};

// Into memory that no line before has used.
class FeedAnew : public Feed {
 public:
  explicit FeedAnew(int lines) : Feed(lines) {}
  void undo() override { pager_close(&output()); }
};

class FeedFormatted : public bench::Path {
 public:
  explicit FeedFormatted(int lines) : lines_(lines) { pager_open(&pager_, -1, -1); }
  ~FeedFormatted() override { pager_close(&pager_); }
  void run(std::size_t /*number*/) override {
    for (int i = 0; i < lines_; i++) {
      pager_feedfmt(&pager_, "%-20s %8d packets %s", "eth0", i, "up");
      pager_newline(&pager_);
    }
    shown_ = pager_line_count(&pager_);
    pager_show(&pager_);
  }
  [[nodiscard]] double units() const override { return lines_; }
  [[nodiscard]] std::size_t sample() const override { return 1; }
  bool holds(std::size_t /*operations*/) override { return shown_ == lines_ && pager_line_count(&pager_) == 0; }

 private:
  pager pager_{};
  int lines_;
  int shown_ = 0;
};

// Lines that are there are printed, and kept.
class Show : public Feed {
 public:
  explicit Show(int lines) : Feed(lines), lines_(lines) { Feed::run(0); }
  void run(std::size_t /*number*/) override { printed_ = pager_show_line(&output(), 1, static_cast<unsigned>(lines_)); }
  [[nodiscard]] bool has_undo() const override { return false; }
  void undo() override {}
  [[nodiscard]] double bytes_per_unit() const override { return 0; }
  bool holds(std::size_t /*operations*/) override { return printed_ == lines_; }

 private:
  int lines_;
  int printed_ = 0;
};

const bench::Registration kRows[] = {
    {"pager/feed", {1000, 10000, 100000, 1000000}, bench::make_path<Feed>},
    {"pager/feed_anew", {1000, 10000, 100000, 1000000}, bench::make_path<FeedAnew>},
    {"pager/format_and_show", {1000, 10000, 100000, 1000000}, bench::make_path<FeedFormatted>},
    {"pager/show", {1000, 10000, 100000, 1000000}, bench::make_path<Show>},
};

}  // namespace
