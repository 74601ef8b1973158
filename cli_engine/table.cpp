#include "cli_engine/table.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>

#include "libglobal/report.hpp"

// Tables of 100 000 rows are kept in memory: a cell must stay small.
static_assert(sizeof(void *) != 8 || (sizeof(content) == 32 && sizeof(content_line) == 24));

namespace cli_engine {
namespace {

using StyleString = const char *table_style::*;

// What stands for a string that the host left null: another field's final value, or a text.
struct StyleDefault {
  StyleString field;
  StyleString from;  // null: `text`
  const char *text;
};

// In the order of the record, since a default may be a default itself.
constexpr StyleDefault kStyleDefaults[] = {
    {&table_style::col_sep, nullptr, ":"},
    {&table_style::row_sep, nullptr, "-"},
    {&table_style::label_sep, &table_style::col_sep, nullptr},
    {&table_style::header_sep, &table_style::row_sep, nullptr},
    {&table_style::cross, nullptr, "+"},
    {&table_style::label_header_cross, &table_style::cross, nullptr},
    {&table_style::label_cross, &table_style::cross, nullptr},
    {&table_style::header_cross, &table_style::cross, nullptr},
    {&table_style::border_side, nullptr, "#"},
    {&table_style::border_line, nullptr, "#"},
    {&table_style::corner_top_left, &table_style::border_line, nullptr},
    {&table_style::corner_top_right, &table_style::border_line, nullptr},
    {&table_style::corner_bottom_left, &table_style::border_line, nullptr},
    {&table_style::corner_bottom_right, &table_style::border_line, nullptr},
    {&table_style::side_row_left, &table_style::border_side, nullptr},
    {&table_style::side_row_right, &table_style::border_side, nullptr},
    {&table_style::line_col_top, &table_style::border_line, nullptr},
    {&table_style::line_col_bottom, &table_style::border_line, nullptr},
    {&table_style::side_header_left, &table_style::side_row_left, nullptr},
    {&table_style::side_header_right, &table_style::side_row_right, nullptr},
    {&table_style::line_label_top, &table_style::line_col_top, nullptr},
    {&table_style::line_label_bottom, &table_style::line_col_bottom, nullptr},
};
static_assert(std::size(kStyleDefaults) == offsetof(table_style, pad_left) / sizeof(char *));

void fill_defaults(table_style &style) {
  for (const StyleDefault &row : kStyleDefaults) {
    if (style.*row.field == nullptr) {
      style.*row.field = row.from == nullptr ? row.text : style.*row.from;
    }
  }
}

constexpr table_style standard_style() {
  table_style style{};
  style.pad_left = 3;
  style.pad_right = 3;
  style.flags = TABLE_HEADER_RULE | TABLE_COL_SEP;
  style.show_total = 1;
  return style;
}

std::size_t records_per_row(const table &t) {
  return static_cast<std::size_t>(t.ncols) + 1;
}

content *cells_of(const table &t, int32_t physical_row) {
  return static_cast<content *>(dyn_array_at(t.cells, 0)) + static_cast<std::size_t>(physical_row) * records_per_row(t);
}

const int32_t *physical_rows(const table &t) {
  return static_cast<const int32_t *>(dyn_array_at(t.row_index, 0));
}

bool has_column(const table &t, int col) {
  return col >= 0 && col < t.ncols;
}

// The cell at a place as shown, column -1 being the label; null when there is none.
content *find_cell(const table *t, int row, int col) {
  if (t == nullptr || row < 0 || row >= t->nrows || (col != -1 && !has_column(*t, col))) {
    return nullptr;
  }
  return cells_of(*t, physical_rows(*t)[row]) + col + 1;
}

void set_attr(content &cell, const cell_attr &attr) {
  cell.attr = attr.attr;
  cell.halign = attr.halign;
  cell.valign = attr.valign;
}

// The first line's block holds all lines of the cell.
void release_lines(content &cell) {
  std::free(cell.lines.first);
}

// The text may come from the very cell that is replaced, so that is released last.
void replace_cell(content &cell, const char *text, const cell_attr *attr) {
  content fresh = content_new(text);
  if (attr != nullptr) {
    set_attr(fresh, *attr);
  }
  release_lines(cell);
  cell = fresh;
}

// Room for the whole row first: the records of a row are not moved between its own appends.
bool append_blank_cells(table &t) {
  static constexpr content kBlanks[16]{};
  std::size_t missing = records_per_row(t);
  if (dyn_array_reserve(t.cells, missing * sizeof(content)) != 0) {
    return false;
  }
  while (missing != 0) {
    const std::size_t batch = std::min(missing, std::size(kBlanks));
    dyn_array_append(t.cells, kBlanks, batch * sizeof(content));
    missing -= batch;
  }
  return true;
}

// The number of the new row, or -1 when row numbers or the memory that can be addressed are used up.
int append_row(table &t) {
  if (t.nrows == INT32_MAX || !append_blank_cells(t)) {
    return -1;
  }
  const int32_t physical_row = t.nrows + 1;
  dyn_array_append(t.row_index, &physical_row, sizeof(physical_row));
  t.nrows = physical_row;
  return t.nrows - 1;
}

void raise(int32_t &size, int32_t to) {
  size = std::max(size, to);
}

void measure_header(table &t) {
  const content *header = table_header_cells(t);
  for (int32_t col = 0; col < t.ncols; ++col) {
    t.col_width[col] = header[col + 1].width;
    raise(t.header_height, header[col + 1].nlines);
  }
}

// Cells of hidden columns count too: a row's height does not depend on which columns are shown.
void measure_row(table &t, int32_t row) {
  const content *cells = table_row_cells(t, row);
  int32_t height = cells[0].nlines;
  raise(t.label_width, cells[0].width);
  for (int32_t col = 0; col < t.ncols; ++col) {
    const content &cell = cells[col + 1];
    raise(height, cell.nlines);
    raise(t.col_width[col], cell.width);
    if (cell.lines.first != nullptr) {
      t.col_hidden[col] = 0;
    }
  }
  t.row_height[row] = height;
}

// Moves the row at place `from` up to place `to`; the rows between move down by one.
void move_row(table &t, int32_t from, int32_t to) {
  const int32_t physical_row = physical_rows(t)[from];
  constexpr std::size_t kEntry = sizeof(int32_t);
  dyn_array_remove(t.row_index, static_cast<std::size_t>(from) * kEntry, kEntry);
  dyn_array_insert(t.row_index, static_cast<std::size_t>(to) * kEntry, &physical_row, kEntry);
}

// The place of the first of the smallest rows from `start` on.
int32_t find_smallest(const table &t, int32_t start, int col, table_compare compare) {
  int32_t best = start;
  const content *best_cell = find_cell(&t, start, col);
  for (int32_t row = start + 1; row < t.nrows; ++row) {
    const content *cell = find_cell(&t, row, col);
    if (compare(best_cell, cell) > 0) {
      best = row;
      best_cell = cell;
    }
  }
  return best;
}

}  // namespace

// One block holds the lines' records and behind them a copy of the text, whose line breaks become the ends of the
// lines.
content content_new(const char *text) {
  content cell{};
  if (text == nullptr || *text == '\0') {
    return cell;
  }
  // Lengths are 32-bit numbers; no more of a text could be shown.
  const std::size_t length = strnlen(text, INT32_MAX);
  const std::string_view whole{text, length};
  const auto count = static_cast<std::size_t>(std::count(whole.begin(), whole.end(), '\n')) + (whole.back() != '\n');
  auto *lines = static_cast<content_line *>(
      libglobal::xmalloc(count * sizeof(content_line) + length + 1, LIBGLOBAL_CALLER(kTableSource)));
  auto *rest = reinterpret_cast<char *>(lines + count);
  char *const end = rest + length;
  std::memcpy(rest, text, length);
  for (std::size_t i = 0; i < count; ++i) {
    auto *line_end = static_cast<char *>(std::memchr(rest, '\n', static_cast<std::size_t>(end - rest)));
    line_end = line_end == nullptr ? end : line_end;
    *line_end = '\0';
    lines[i] = {rest, static_cast<int32_t>(line_end - rest), i + 1 < count ? &lines[i + 1] : nullptr};
    raise(cell.width, lines[i].len);
    rest = line_end + 1;
  }
  cell.nlines = static_cast<int32_t>(count);
  cell.lines = {lines, &lines[count - 1].next};
  return cell;
}

const content *table_header_cells(const table &t) {
  return cells_of(t, 0);
}

const content *table_row_cells(const table &t, int32_t row) {
  return cells_of(t, physical_rows(t)[row]);
}

void table_update_size(table *t) {
  std::free(t->col_width);
  std::free(t->row_height);
  t->header_height = 0;
  t->label_width = 0;
  const auto ncols = static_cast<std::size_t>(t->ncols);
  const auto nrows = static_cast<std::size_t>(t->nrows);
  t->col_width = static_cast<int32_t *>(libglobal::xcalloc(ncols, sizeof(int32_t), LIBGLOBAL_CALLER(kTableSource)));
  t->row_height = static_cast<int32_t *>(libglobal::xcalloc(nrows, sizeof(int32_t), LIBGLOBAL_CALLER(kTableSource)));
  std::memset(t->col_hidden, t->style.hide_empty != 0, ncols);  // until a row shows something in the column
  measure_header(*t);
  for (int32_t row = 0; row < t->nrows; ++row) {
    measure_row(*t, row);
  }
}

}  // namespace cli_engine

using namespace cli_engine;

table *table_new(int ncols, const table_style *style) {
  auto *t = static_cast<table *>(libglobal::xcalloc(1, sizeof(table), LIBGLOBAL_CALLER(kTableSource)));
  t->ncols = std::max(ncols, 1);
  t->cells = dyn_array_new(sizeof(content));
  t->row_index = dyn_array_new(sizeof(int32_t));
  append_blank_cells(*t);
  t->col_hidden = static_cast<uint8_t *>(
      libglobal::xcalloc(static_cast<std::size_t>(t->ncols), sizeof(uint8_t), LIBGLOBAL_CALLER(kTableSource)));
  t->style = style == nullptr ? standard_style() : *style;
  fill_defaults(t->style);
  return t;
}

void table_free(table *t) {
  if (t == nullptr) {
    return;
  }
  const std::size_t size = dyn_array_size(t->cells);
  for (std::size_t offset = 0; offset < size; offset += sizeof(content)) {
    release_lines(*static_cast<content *>(dyn_array_at(t->cells, offset)));
  }
  dyn_array_free(t->cells);
  dyn_array_free(t->row_index);
  std::free(t->col_width);
  std::free(t->row_height);
  std::free(t->col_hidden);
  std::free(t);
}

void table_set_header(table *t, int col, const char *text, const cell_attr *attr) {
  content *header_cell = has_column(*t, col) ? cells_of(*t, 0) + col + 1 : nullptr;
  libglobal::require(header_cell != nullptr, "header_cell", kTableSource, __func__);
  replace_cell(*header_cell, text, attr);
}

int table_new_row(table *t, const char *label, const cell_attr *attr) {
  const int row = append_row(*t);
  content *header_cell = find_cell(t, row, -1);
  libglobal::require(header_cell != nullptr, "header_cell", kTableSource, __func__);
  if (label != nullptr) {
    replace_cell(*header_cell, label, attr);
  }
  return row;
}

int table_set_cell(table *t, int row, int col, const char *text, const cell_attr *attr) {
  content *cell = find_cell(t, row, col);
  if (cell == nullptr) {
    return -1;
  }
  replace_cell(*cell, text, attr);
  return 0;
}

int table_set_cell_attr(table *t, int row, int col, const cell_attr *attr) {
  content *cell = find_cell(t, row, col);
  if (cell == nullptr) {
    return -1;
  }
  set_attr(*cell, attr == nullptr ? cell_attr{} : *attr);
  return 0;
}

// A selection sort by moves: the order of the comparisons is part of what hosts may count on.
int table_sort(table *t, int col, table_compare compare) {
  for (int32_t place = 0; place < t->nrows; ++place) {
    const int32_t best = find_smallest(*t, place, col, compare);
    if (best != place) {
      move_row(*t, best, place);
    }
  }
  return 0;
}

const char *cell_get_line(const content *cell, int line) {
  const content_line *found = cell == nullptr ? nullptr : cell->lines.first;
  for (int i = 0; i < line && found != nullptr; ++i) {
    found = found->next;
  }
  return found == nullptr ? nullptr : found->text;
}
