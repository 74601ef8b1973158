// Tables: what the calls leave in the record, and the drawings of data/tables.json. There a style's strings stand in
// the order of their fields, a row begins with its label, looks are [ROW, COLUMN, ATTR, HALIGN, VALIGN] with row -1 for
// the header and without ATTR for plain, changes [TABLE, ROW, COLUMN, TEXT].
#include "cli_engine/table.h"

#include <gtest/gtest.h>

#include <cstring>
#include <utility>
#include <vector>

#include "engine_support.hpp"

namespace {

using engine_support::for_each_case;
using engine_support::Json;
using engine_support::json;
using engine_support::text_of;
using engine_support::texts_of;

struct TableRelease {
  void operator()(table *t) const { table_free(t); }
};
using Table = std::unique_ptr<table, TableRelease>;

struct Page : pager {
  Page() : pager{} { pager_open(this, -1, -1); }
  ~Page() { pager_close(this); }
  Page(const Page &) = delete;
  Page &operator=(const Page &) = delete;

  // The lines as they would be shown: the open line at the end is none of them.
  [[nodiscard]] std::vector<std::string> text() const {
    std::vector<std::string> result;
    for (const pager_line_entry *entry = lines.first; entry != nullptr; entry = entry->next)
      result.emplace_back(dyn_string_text(entry->text));
    if (!result.empty() && result.back().empty()) result.pop_back();
    return result;
  }
};

std::vector<std::string> lines_of(const Table &t) {
  Page page;
  table_print(t.get(), &page, 1);
  return page.text();
}

const char *text_at(const json_t *list, size_t i) {
  return json_string_value(json_array_get(list, i));
}

int number_at(const json_t *list, size_t i) {
  return static_cast<int>(json_integer_value(json_array_get(list, i)));
}

// A table as data/tables.json describes it there.
Table made(const json_t *about) {
  const char *strings[22];
  for (size_t i = 0; i < std::size(strings); i++) strings[i] = text_at(json_object_get(about, "strings"), i);
  table_style style{};
  std::memcpy(&style, strings, sizeof strings);
  const char *flags = json_string_value(json_object_get(about, "flags"));
  style.flags = static_cast<uint8_t>(flags != nullptr ? std::stoi(flags, nullptr, 16) : 0);
  style.pad_left = static_cast<uint8_t>(number_at(json_object_get(about, "pad"), 0));
  style.pad_right = static_cast<uint8_t>(number_at(json_object_get(about, "pad"), 1));
  style.hide_empty = json_is_true(json_object_get(about, "hide_empty"));
  const json_t *header = json_object_get(about, "header"), *rows = json_object_get(about, "rows");
  const auto columns = static_cast<int>(json_array_size(header));
  Table t{table_new(columns, json_is_true(json_object_get(about, "standard")) ? nullptr : &style)};
  const auto set_header = [&](int col, const cell_attr *attr) {
    table_set_header(t.get(), col, text_at(header, static_cast<size_t>(col)), attr);
  };
  for (int col = 0; col < columns; col++) set_header(col, nullptr);
  for (size_t i = 0; i < json_array_size(rows); i++) {
    const json_t *row = json_array_get(rows, i);
    const int number = table_new_row(t.get(), text_at(row, 0), nullptr);
    for (size_t n = 1; n < json_array_size(row); n++)
      EXPECT_EQ(table_set_cell(t.get(), number, static_cast<int>(n) - 1, text_at(row, n), nullptr), 0);
  }
  size_t i = 0;
  const json_t *look = nullptr;
  json_array_foreach(json_object_get(about, "looks"), i, look) {
    const cell_attr attr = {static_cast<uint32_t>(json_integer_value(json_array_get(look, 2))),
                            static_cast<uint8_t>(number_at(look, 3)), static_cast<uint8_t>(number_at(look, 4))};
    const cell_attr *given = json_array_size(look) > 2 ? &attr : nullptr;
    if (number_at(look, 0) < 0) {
      set_header(number_at(look, 1), given);
    } else {
      EXPECT_EQ(table_set_cell_attr(t.get(), number_at(look, 0), number_at(look, 1), given), 0);
    }
  }
  return t;
}

Table made(const char *about) {
  return made(json(about).get());
}

const content *cell_at(const table *t, int row, int col) {
  const auto place = static_cast<std::size_t>(row) * sizeof(int32_t);
  const auto physical_row = static_cast<std::size_t>(*static_cast<int32_t *>(dyn_array_at(t->row_index, place)));
  const std::size_t index = physical_row * static_cast<std::size_t>(t->ncols + 1) + static_cast<std::size_t>(col + 1);
  return static_cast<content *>(dyn_array_at(t->cells, index * sizeof(content)));
}

TEST(TableModel, TextsBecomeLines) {
  const Table t = made("{'header': [''], 'rows': [[null, null]]}");
  for_each_case("tables.json", "texts", [&](const json_t *about) {
    const char *text = json_string_value(json_object_get(about, "text"));
    ASSERT_EQ(table_set_cell(t.get(), 0, 0, text, nullptr), 0);
    lines_of(t);
    const content *cell = cell_at(t.get(), 0, 0);
    const std::vector<std::string> lines = texts_of(json_object_get(about, "lines"));
    const int count = static_cast<int>(lines.size());
    EXPECT_EQ(cell->nlines, count);
    EXPECT_EQ(t->row_height[0], count);
    EXPECT_EQ(t->col_width[0], json_integer_value(json_object_get(about, "width")));
    for (int i = 0; i < count; ++i) EXPECT_EQ(cell_get_line(cell, i), lines[static_cast<size_t>(i)]);
    EXPECT_EQ(cell_get_line(cell, -1), cell_get_line(cell, 0));
    EXPECT_EQ(cell_get_line(cell, count), nullptr);
  });
  EXPECT_EQ(cell_get_line(nullptr, 0), nullptr);
}

TEST(TableModel, ACellMayBeSetFromItsOwnText) {
  const Table t = made(R"({'header': ['H'], 'rows': [[null, 'first\nsecond']]})");
  table_set_cell(t.get(), 0, 0, cell_get_line(cell_at(t.get(), 0, 0), 1), nullptr);
  EXPECT_STREQ(cell_get_line(cell_at(t.get(), 0, 0), 0), "second");
}

TEST(TableModel, OnlyExistingCellsAreChanged) {
  const Table t = made("{'header': ['A', 'B'], 'rows': [[null, 'a', 'b']]}");
  const cell_attr green = {2, ALIGN_RIGHT, VALIGN_TOP};
  const std::vector<std::string> before = lines_of(t);
  for (const auto &[row, col] : {std::pair{1, 0}, {0, 2}, {-1, 0}, {0, -2}, {1, -1}}) {
    EXPECT_EQ(table_set_cell(t.get(), row, col, "changed", &green), -1);
    EXPECT_EQ(table_set_cell_attr(t.get(), row, col, &green), -1);
  }
  EXPECT_EQ(table_set_cell_attr(nullptr, 0, 0, &green), -1);
  EXPECT_EQ(lines_of(t), before);
  table_free(nullptr);
  table_group_free(nullptr);
}

TEST(TableModelDeathTest, HeadersOutsideTheTableAreReported) {
  Table t{table_new(0, nullptr)};  // has one column
  table_set_header(t.get(), 0, "only", nullptr);
  for (const int col : {1, -1}) {
    EXPECT_DEATH(table_set_header(t.get(), col, "x", nullptr),
                 "^cli_engine/table_render:table_set_header: assertion \"header_cell\" failed\n");
  }
}

// Sorting

std::string calls;  // what the comparison was asked, in order

int by_first_letter(const content *a, const content *b) {
  const char *left = a == nullptr ? "-" : cell_get_line(a, 0);
  const char *right = b == nullptr ? "-" : cell_get_line(b, 0);
  calls += std::string(left) + "?" + right + " ";
  return left[0] - right[0];
}

std::string column_text(const Table &t, int col) {
  std::string result;
  for (int row = 0; row < t->nrows; ++row) result += std::string(cell_get_line(cell_at(t.get(), row, col), 0)) + " ";
  return result;
}

TEST(TableSort, ComparesTheBestSoFarAndMovesRows) {
  struct Case {
    std::vector<const char *> keys;
    const char *sorted;
    const char *calls;
  };
  const Case cases[] = {
      {{}, "", ""},
      {{"a"}, "a ", ""},
      {{"b1", "a", "b2"}, "a b1 b2 ", "b1?a a?b2 b1?b2 "},
      {{"b1", "b2", "a"}, "a b1 b2 ", "b1?b2 b1?a b1?b2 "},
      {{"c1", "c2", "b", "a"}, "a b c1 c2 ", "c1?c2 c1?b b?a c1?c2 c1?b c1?c2 "},
  };
  for (const Case &row : cases) {
    Table t{table_new(2, nullptr)};
    for (const char *key : row.keys) table_set_cell(t.get(), table_new_row(t.get(), key, nullptr), 1, key, nullptr);
    calls.clear();
    EXPECT_EQ(table_sort(t.get(), 1, by_first_letter), 0);
    EXPECT_EQ(column_text(t, 1), row.sorted);
    EXPECT_EQ(column_text(t, -1), row.sorted) << "labels move with their rows";
    EXPECT_EQ(calls, row.calls);
  }
}

TEST(TableSort, LaterCallsUseTheNewRowNumbers) {
  const Table t = made("{'header': [''], 'rows': [['c', 'c'], ['b', 'b'], ['a', 'a']]}");
  table_sort(t.get(), -1, by_first_letter);
  EXPECT_EQ(column_text(t, 0), "a b c ");
  table_set_cell(t.get(), 0, 0, "first", nullptr);
  table_set_cell(t.get(), table_new_row(t.get(), "0", nullptr), 0, "last", nullptr);
  EXPECT_EQ(column_text(t, 0), "first b c last ");
  calls.clear();
  EXPECT_EQ(table_sort(t.get(), 1, by_first_letter), 0);
  EXPECT_EQ(calls, "-?- -?- -?- -?- -?- -?- ") << "a column that does not exist";
  EXPECT_EQ(column_text(t, 0), "first b c last ");
}

// Drawing

// A table or a group; drawn, changed and drawn again; its style's strings with the defaults; its rows as data.
void check(const json_t *about) {
  const json_t *members = json_object_get(about, "tables");
  std::vector<Table> tables;
  table_group *group = table_group_new();
  if (members == nullptr) tables.push_back(made(about));
  for (size_t i = 0; i < json_array_size(members); i++) {
    const json_t *member = json_array_get(members, i);
    tables.push_back(made(member));
    const char *title = json_string_value(json_object_get(member, "title"));
    EXPECT_EQ(table_group_add_table(group, title, tables.back().get()), 0);
  }
  Page page;
  if (json_is_true(json_object_get(about, "begun"))) pager_line(&page);
  const auto expect_drawn = [&](const char *expected) {
    const json_t *lines = json_object_get(about, expected);
    if (lines == nullptr) return;
    if (members != nullptr) table_group_print(group, &page);
    if (members == nullptr) table_print(tables[0].get(), &page, !json_is_true(json_object_get(about, "headless")));
    EXPECT_EQ(page.text(), texts_of(lines));
    pager_clear(&page);
  };
  expect_drawn("drawn");
  size_t i = 0;
  const json_t *change = nullptr;
  json_array_foreach(json_object_get(about, "changes"), i, change) {
    table *t = tables[static_cast<size_t>(number_at(change, 0))].get();
    const int row = number_at(change, 1), col = number_at(change, 2);
    if (row == t->nrows) table_new_row(t, nullptr, nullptr);
    if (row < 0) table_set_header(t, col, text_at(change, 3), nullptr);
    if (row >= 0) table_set_cell(t, row, col, text_at(change, 3), nullptr);
  }
  page.indent = static_cast<int>(json_integer_value(json_object_get(about, "indent")));
  expect_drawn("redrawn");
  if (const char *style = json_string_value(json_object_get(about, "style")); style != nullptr) {
    const char *strings[22];
    std::memcpy(strings, &tables[0]->style, sizeof strings);
    std::string all;
    for (const char *text : strings) all += text;
    EXPECT_EQ(all, style);
  }
  if (const json_t *data = json_object_get(about, "data"); data != nullptr) {
    EXPECT_EQ(text_of(Json{table_to_json(tables[0].get())}.get()), text_of(data));
  }
  if (members != nullptr) {
    for (Table &t : tables) static_cast<void>(t.release());
  }
  table_group_free(group);
}

TEST(TableDrawing, OfEachCase) {
  for_each_case("tables.json", "drawings", [&](const json_t *about) { check(about); });
}

TEST(TableDrawing, LabelsAppearWithTheFirstText) {
  const cell_attr red = {1, ALIGN_RIGHT, VALIGN_TOP};
  const Table t = made("{'flags': '08', 'pad': [1, 1], 'header': ['']}");
  using Lines = std::vector<std::string>;
  EXPECT_EQ(table_new_row(t.get(), nullptr, &red), 0);
  EXPECT_EQ(table_new_row(t.get(), "", &red), 1);
  table_set_cell(t.get(), 0, 0, "x", nullptr);
  table_set_cell(t.get(), 1, 0, "y", nullptr);
  EXPECT_EQ(lines_of(t), (Lines{"x", "y"}));
  table_set_cell(t.get(), 1, -1, "10", nullptr);
  EXPECT_EQ(lines_of(t), (Lines{"   : x", "10 : y"})) << "an attribute given without a label is not kept";
  EXPECT_EQ(table_new_row(t.get(), "1", &red), 2);
  EXPECT_EQ(lines_of(t)[2], "\033[;31m 1\033[0m :  ");
}

TEST(TableDrawing, BeginsInThePresentLineAndTotalsReplaceIt) {
  Page page;
  page.indent = 4;
  const Table first = made("{'header': ['H'], 'rows': [[null, 'x']]}");
  pager_feed(&page, ">");
  table_print(first.get(), &page, 0);
  pager_feed(&page, "lost");
  const Table second = made("{'header': ['H'], 'rows': [[null, null]]}");
  second->style.show_total = 1;
  table_print(second.get(), &page, 0);
  EXPECT_EQ(page.text(), (std::vector<std::string>{"    >x", "\nTotal Entries : 1", ""}));
}

TEST(TableData, BytesOfNoCharacterAreReplaced) {
  const std::pair<const char *, size_t> cells[] = {
      {"\x80z\xC3", 2}, {"\xC0\xAF\xE0\x9F\xBF", 5}, {"\xED\xA0\x80\xF4\x90\x80\x80\xFF", 8}};
  const Table t = made("{'header': ['h'], 'rows': [[null, null]]}");
  for (const auto &[bytes, replaced] : cells) {
    table_set_cell(t.get(), 0, 0, bytes, nullptr);
    const Json rows{table_to_json(t.get())};
    std::string text = json_string_value(json_object_get(json_array_get(rows.get(), 0), "h"));
    size_t marks = 0;
    for (size_t at = 0; (at = text.find("\uFFFD")) != std::string::npos; marks++) text.erase(at, 3);
    EXPECT_EQ(marks, replaced);
    EXPECT_EQ(text, replaced == 2 ? "z" : "");
  }
  EXPECT_EQ(table_to_json(nullptr), nullptr);
  EXPECT_EQ(table_group_add_table(nullptr, "None", nullptr), -1);
}

}  // namespace
