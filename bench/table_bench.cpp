// Tables of ten columns, built and drawn into a pager. Figures are for one cell; bytes are what a cell takes beyond its
// text.
#include "bench/harness.hpp"
#include "cli_engine/table.h"

namespace {

constexpr int kColumns = 10;
constexpr const char *kTexts[kColumns] = {"eth0",   "10.20.30.40", "255.255.255.0", "up",   "1500",
                                          "100000", "full",        "auto",          "none", "00:11:22:33:44:55"};

table *build(int rows) {
  table *t = table_new(kColumns, nullptr);
  for (int col = 0; col < kColumns; col++) {
    table_set_header(t, col, "Column", nullptr);
  }
  for (int row = 0; row < rows; row++) {
    table_new_row(t, nullptr, nullptr);
    for (int col = 0; col < kColumns; col++) {
      table_set_cell(t, row, col, kTexts[col], nullptr);
    }
  }
  return t;
}

std::size_t text_size() {
  std::size_t size = 0;
  for (const char *text : kTexts) {
    size += std::char_traits<char>::length(text);
  }
  return size;
}

class BuildAndDraw : public bench::Path {
 public:
  explicit BuildAndDraw(int rows) : rows_(rows) {
    pager_open(&pager_, -1, -1);
    const double before = bench::allocated();
    table *t = build(rows);
    bytes_ = bench::allocated() - before;
    table_free(t);
  }
  ~BuildAndDraw() override { pager_close(&pager_); }
  void run(std::size_t /*number*/) override {
    table *t = build(rows_);
    table_print(t, &pager_, 1);
    table_free(t);
    lines_ = pager_line_count(&pager_);
    pager_clear(&pager_);
  }
  [[nodiscard]] double units() const override { return rows_ * kColumns; }
  [[nodiscard]] std::size_t sample() const override { return 1; }
  [[nodiscard]] double bytes_per_unit() const override {
    return (bytes_ - static_cast<double>(text_size()) * rows_) / (rows_ * kColumns);
  }
  bool holds(std::size_t /*operations*/) override { return lines_ >= rows_ + 2; }  // the header and its rule too

 private:
  pager pager_{};
  int rows_;
  double bytes_ = 0;
  int lines_ = 0;
};

class Draw : public bench::Path {
 public:
  explicit Draw(int rows) : table_(build(rows)), rows_(rows) { pager_open(&pager_, -1, -1); }
  ~Draw() override {
    table_free(table_);
    pager_close(&pager_);
  }
  void run(std::size_t /*number*/) override {
    table_print(table_, &pager_, 1);
    lines_ = pager_line_count(&pager_);
    pager_clear(&pager_);
  }
  [[nodiscard]] double units() const override { return rows_ * kColumns; }
  [[nodiscard]] std::size_t sample() const override { return 1; }
  bool holds(std::size_t /*operations*/) override { return lines_ >= rows_ + 2; }

 private:
  pager pager_{};
  table *table_;
  int rows_;
  int lines_ = 0;
};

const bench::Registration kRows[] = {
    {"table/build_and_draw", {100, 1000, 10000, 100000}, bench::make_path<BuildAndDraw>},
    {"table/draw", {100, 1000, 10000, 100000}, bench::make_path<Draw>},
};

}  // namespace
