// Tables and groups: filled in any order, sorted and printed again and again; rows keep what they were given.
#include <algorithm>
#include <string>
#include <vector>

#include "cli_engine/pager.h"
#include "cli_engine/table.h"
#include "host.hpp"
#include "invariants.hpp"
#include "source.hpp"

namespace {

constexpr size_t kMostColumns = 8;
constexpr int kMostRows = 64;

// The lines of a text as cells have them: the last one counts only when it holds something.
std::vector<std::string> lines_of(const std::string &text) {
  std::vector<std::string> lines;
  for (size_t begin = 0; begin < text.size();) {
    const size_t end = std::min(text.find('\n', begin), text.size());
    lines.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return lines;
}

int compare_first_lines(const content *a, const content *b) {
  const char *const left = cell_get_line(a, 0), *const right = cell_get_line(b, 0);
  return strcmp(left == nullptr ? "" : left, right == nullptr ? "" : right);
}

// A table and what its cells must hold.
class Checked {
 public:
  explicit Checked(fuzz::Source &source)
      : source_(source), columns_(1 + source.index(kMostColumns)), table_(make()), header_(columns_ + 1) {}

  table *get() { return table_; }

  void change() {
    const cell_attr attr{static_cast<uint32_t>(source_.byte() * 64 + source_.byte()),
                         static_cast<uint8_t>(source_.below(4)), static_cast<uint8_t>(source_.below(4))};
    const int row = source_.below(kMostRows), col = source_.below(kMostColumns + 2) - 1;
    const bool exists = row < table_->nrows && col < table_->ncols;
    switch (source_.below(6)) {
      case 0:
      case 1: {
        if (table_->nrows == kMostRows) break;
        const std::string label = source_.seldom() ? cell_text() : "";
        FUZZ_REQUIRE(table_new_row(table_, label.c_str(), &attr) == static_cast<int>(rows_.size()));
        rows_.emplace_back(columns_ + 1).front() = label;
        break;
      }
      case 2:
      case 3: {
        const std::string text = cell_text();
        FUZZ_REQUIRE(table_set_cell(table_, row, col, text.c_str(), &attr) == (exists ? 0 : -1));
        if (exists) rows_[static_cast<size_t>(row)][static_cast<size_t>(col + 1)] = text;
        break;
      }
      case 4:
        FUZZ_REQUIRE(table_set_cell_attr(table_, row, col, &attr) == (exists ? 0 : -1));
        if (col >= 0 && col < table_->ncols) table_set_header(table_, col, cell_text().c_str(), &attr);
        break;
      default:
        table_sort(table_, col, compare_first_lines);
        if (col < table_->ncols) sort_model(static_cast<size_t>(col + 1));
    }
  }

  void check() const {
    FUZZ_REQUIRE(table_->nrows == static_cast<int>(rows_.size()));
    FUZZ_REQUIRE(dyn_array_size(table_->cells) == (rows_.size() + 1) * (columns_ + 1) * sizeof(content));
    for (size_t row = 0; row < rows_.size(); row++) {
      const auto *place = static_cast<const int32_t *>(dyn_array_at(table_->row_index, row * sizeof(int32_t)));
      for (size_t col = 0; col <= columns_; col++) {
        const size_t record = static_cast<size_t>(*place) * (columns_ + 1) + col;
        check_cell(*static_cast<const content *>(dyn_array_at(table_->cells, record * sizeof(content))),
                   lines_of(rows_[row][col]));
      }
    }
  }

 private:
  table *make() {
    table_style style{};
    const char *const texts[] = {"|", "-", "", "<>", nullptr};
    for (const char **string : {&style.col_sep, &style.row_sep, &style.cross, &style.border_side, &style.border_line}) {
      *string = source_.any(texts);
    }
    style.pad_left = static_cast<uint8_t>(source_.below(5));
    style.pad_right = static_cast<uint8_t>(source_.below(5));
    style.flags = static_cast<uint8_t>(source_.byte());
    style.show_total = static_cast<uint8_t>(source_.below(2));
    style.hide_empty = static_cast<uint8_t>(source_.below(2));
    return table_new(static_cast<int>(columns_), source_.seldom() ? nullptr : &style);
  }

  // A vertical bar stands for a line break.
  std::string cell_text() {
    std::string text = source_.text(200);
    std::replace(text.begin(), text.end(), '|', '\n');
    return text;
  }

  void sort_model(size_t cell) {
    const auto first_line = [cell](const std::vector<std::string> &row) {
      const std::vector<std::string> lines = lines_of(row[cell]);
      return lines.empty() ? std::string() : lines.front();
    };
    std::stable_sort(rows_.begin(), rows_.end(),
                     [&](const auto &a, const auto &b) { return first_line(a) < first_line(b); });
  }

  static void check_cell(const content &cell, const std::vector<std::string> &lines) {
    size_t width = 0;
    for (size_t i = 0; i < lines.size(); i++) {
      FUZZ_REQUIRE(cell_get_line(&cell, static_cast<int>(i)) == lines[i]);
      width = std::max(width, lines[i].size());
    }
    FUZZ_REQUIRE(cell.nlines == static_cast<int>(lines.size()) && cell.width == static_cast<int>(width));
    FUZZ_REQUIRE(cell_get_line(&cell, cell.nlines) == nullptr);
  }

  fuzz::Source &source_;
  size_t columns_;
  table *table_;
  std::vector<std::string> header_;
  std::vector<std::vector<std::string>> rows_;
};

std::string shown(pager &p) {
  std::string text;
  for (const pager_line_entry *entry = p.lines.first; entry != nullptr; entry = entry->next) {
    text += dyn_string_text(entry->text);
    text += '\n';
  }
  pager_clear(&p);
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::lose_output();
  fuzz::Source source(data, size);
  pager p{};
  pager_open(&p, 0, 0);
  table_group *group = table_group_new();
  const char *const titles[] = {"one", "", "three", nullptr};
  for (int tables = source.below(4); tables >= 0; --tables) {
    Checked checked(source);
    for (int left = source.byte(); left > 0 && !source.ended(); --left) {
      checked.change();
      checked.check();
    }
    const int with_header = source.below(2);
    table_print(checked.get(), &p, with_header);
    const std::string drawn = shown(p);
    table_print(checked.get(), &p, with_header);
    FUZZ_REQUIRE(shown(p) == drawn);
    checked.check();
    FUZZ_REQUIRE(table_group_add_table(group, source.any(titles), checked.get()) == 0);
  }
  table_group_print(group, &p);
  const std::string drawn = shown(p);
  table_group_print(group, &p);
  FUZZ_REQUIRE(shown(p) == drawn);
  table_group_free(group);
  pager_close(&p);
  return 0;
}
