// Tables: what the calls leave in the record, and whole drawings. In drawings every line is closed by a "|", so that
// blanks at its end are seen.
#include "cli_engine/table.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

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

std::string closed(const std::vector<std::string> &lines) {
  std::string result;
  for (const std::string &line : lines) result += line + "|\n";
  return result;
}

std::vector<std::string> lines_of(const Table &t, bool with_header = true) {
  Page page;
  table_print(t.get(), &page, with_header ? 1 : 0);
  return page.text();
}

std::string drawn(const Table &t, bool with_header = true) {
  return closed(lines_of(t, with_header));
}

table_style style_of(int flags, int pad_left = 1, int pad_right = 1) {
  table_style style{};
  style.flags = static_cast<uint8_t>(flags);
  style.pad_left = static_cast<uint8_t>(pad_left);
  style.pad_right = static_cast<uint8_t>(pad_right);
  return style;
}

// Every string of the style is another character, so that a drawing tells which one stands where.
table_style distinct_style(int flags, int pad_left, int pad_right) {
  static const char *const kStrings[22] = {":", "-", ";", "=", "+", "%", "*", "x", "!", "~", "<",
                                           ">", "(", ")", "[", "]", "T", "B", "{", "}", "L", "M"};
  table_style style = style_of(flags, pad_left, pad_right);
  std::memcpy(&style, kStrings, sizeof(kStrings));
  return style;
}

using Row = std::vector<const char *>;

void add_row(table *t, const char *label, const Row &cells) {
  const int row = table_new_row(t, label, nullptr);
  for (std::size_t col = 0; col < cells.size(); ++col)
    EXPECT_EQ(table_set_cell(t, row, static_cast<int>(col), cells[col], nullptr), 0);
}

Table make_table(const table_style *style, const Row &header, const std::vector<Row> &rows) {
  Table t{table_new(static_cast<int>(header.size()), style)};
  for (std::size_t col = 0; col < header.size(); ++col)
    table_set_header(t.get(), static_cast<int>(col), header[col], nullptr);
  for (const Row &row : rows) add_row(t.get(), nullptr, row);
  return t;
}

const content *cell_at(const table *t, int row, int col) {
  const auto place = static_cast<std::size_t>(row) * sizeof(int32_t);
  const auto physical_row = static_cast<std::size_t>(*static_cast<int32_t *>(dyn_array_at(t->row_index, place)));
  const std::size_t index = physical_row * static_cast<std::size_t>(t->ncols + 1) + static_cast<std::size_t>(col + 1);
  return static_cast<content *>(dyn_array_at(t->cells, index * sizeof(content)));
}

TEST(TableModel, TextsBecomeLines) {
  struct Case {
    const char *text;
    std::vector<std::string> lines;
    int width;
  };
  const Case cases[] = {
      {nullptr, {}, 0},
      {"", {}, 0},
      {"one", {"one"}, 3},
      {"one\n", {"one"}, 3},
      {"\n", {""}, 0},
      {"a\n\nlonger", {"a", "", "longer"}, 6},
      {"\n\nb\n\n", {"", "", "b", ""}, 1},
      {"carriage\r\nreturn", {"carriage\r", "return"}, 9},
  };
  Table t{table_new(1, nullptr)};
  table_new_row(t.get(), nullptr, nullptr);
  for (const Case &row : cases) {
    SCOPED_TRACE(row.text == nullptr ? "(null)" : row.text);
    ASSERT_EQ(table_set_cell(t.get(), 0, 0, row.text, nullptr), 0);
    lines_of(t);
    const content *cell = cell_at(t.get(), 0, 0);
    const int count = static_cast<int>(row.lines.size());
    EXPECT_EQ(cell->nlines, count);
    EXPECT_EQ(t->row_height[0], count);
    EXPECT_EQ(t->col_width[0], row.width);
    for (int i = 0; i < count; ++i) {
      EXPECT_EQ(cell_get_line(cell, i), row.lines[static_cast<size_t>(i)]);
    }
    EXPECT_EQ(cell_get_line(cell, -1), cell_get_line(cell, 0));
    EXPECT_EQ(cell_get_line(cell, count), nullptr);
  }
  EXPECT_EQ(cell_get_line(nullptr, 0), nullptr);
}

TEST(TableModel, ACellMayBeSetFromItsOwnText) {
  Table t = make_table(nullptr, {"H"}, {{"first\nsecond"}});
  table_set_cell(t.get(), 0, 0, cell_get_line(cell_at(t.get(), 0, 0), 1), nullptr);
  EXPECT_STREQ(cell_get_line(cell_at(t.get(), 0, 0), 0), "second");
}

TEST(TableModel, OnlyExistingCellsAreChanged) {
  Table t = make_table(nullptr, {"A", "B"}, {{"a", "b"}});
  const cell_attr green = {2, ALIGN_RIGHT, VALIGN_TOP};
  const std::string before = drawn(t);
  for (const auto &[row, col] : {std::pair{1, 0}, {0, 2}, {-1, 0}, {0, -2}, {1, -1}}) {
    EXPECT_EQ(table_set_cell(t.get(), row, col, "changed", &green), -1);
    EXPECT_EQ(table_set_cell_attr(t.get(), row, col, &green), -1);
  }
  EXPECT_EQ(table_set_cell_attr(nullptr, 0, 0, &green), -1);
  EXPECT_EQ(drawn(t), before);
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

// The 22 strings of a table's style in order, each one character here.
std::string style_strings(const table_style *style) {
  const Table t{table_new(1, style)};
  const char *strings[22];
  std::memcpy(strings, &t->style, sizeof(strings));
  std::string result;
  for (const char *text : strings) result += text;
  return result;
}

TEST(TableModel, NullStyleStringsFollowTheFieldsTheyDefaultTo) {
  using S = table_style;
  struct Case {
    const char *S::*given;
    const char *strings;
  };
  const Case cases[] = {
      {&S::col_sep, "@-@-++++##############"},         {&S::row_sep, ":@:@++++##############"},
      {&S::cross, ":-:-@@@@##############"},           {&S::border_side, ":-:-++++@#####@@##@@##"},
      {&S::border_line, ":-:-++++#@@@@@##@@##@@"},     {&S::side_row_left, ":-:-++++######@###@###"},
      {&S::side_row_right, ":-:-++++#######@###@##"},  {&S::line_col_top, ":-:-++++########@###@#"},
      {&S::line_col_bottom, ":-:-++++#########@###@"},
  };
  EXPECT_EQ(style_strings(nullptr), ":-:-++++##############");
  for (const Case &row : cases) {
    S style{};
    style.*row.given = "@";
    EXPECT_EQ(style_strings(&style), row.strings);
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
    for (const char *key : row.keys) add_row(t.get(), key, {nullptr, key});
    calls.clear();
    EXPECT_EQ(table_sort(t.get(), 1, by_first_letter), 0);
    EXPECT_EQ(column_text(t, 1), row.sorted);
    EXPECT_EQ(column_text(t, -1), row.sorted) << "labels move with their rows";
    EXPECT_EQ(calls, row.calls);
  }
}

TEST(TableSort, LaterCallsUseTheNewRowNumbers) {
  Table t{table_new(1, nullptr)};
  for (const char *label : {"c", "b", "a"}) {
    add_row(t.get(), label, {label});
  }
  table_sort(t.get(), -1, by_first_letter);
  EXPECT_EQ(column_text(t, 0), "a b c ");
  table_set_cell(t.get(), 0, 0, "first", nullptr);
  add_row(t.get(), "0", {"last"});
  EXPECT_EQ(column_text(t, 0), "first b c last ");
  calls.clear();
  EXPECT_EQ(table_sort(t.get(), 1, by_first_letter), 0);
  EXPECT_EQ(calls, "-?- -?- -?- -?- -?- -?- ") << "a column that does not exist";
  EXPECT_EQ(column_text(t, 0), "first b c last ");
}

// Drawing

TEST(TableDrawing, TheStandardStyle) {
  EXPECT_EQ("\n" + drawn(make_table(nullptr, {"Name", "Value"}, {{"mtu", "1500"}})), R"(
Name   :   Value|
-------+--------|
mtu    :   1500 |

Total Entries : 1|
|
)");
  EXPECT_EQ("\n" + drawn(make_table(nullptr, {"Name", "Value"}, {})), R"(
Name   :   Value|
-------+--------|

Total Entries : 0|
|
)");
}

TEST(TableDrawing, EachFlagAddsItsLines) {
  const struct {
    const char *what;
    int flags;
    const char *drawing;  // after its first line break
  } cases[] = {
      {"bits without a meaning", 0x81, R"(
     Name    State|
a    eth0    up   |
bb   bond1   down |
             idle |
)"},
      {"label separator", TABLE_LABEL_SEP | TABLE_HEADER_RULE, R"(
    ; Name    State|
====%==============|
a   ; eth0    up   |
bb  ; bond1   down |
    ;         idle |
)"},
      {"border lines alone", TABLE_BORDER_LINES | TABLE_LABEL_SEP, R"(
~~~~L~~~~~~~~~~~~~~|
    ; Name    State|
a   ; eth0    up   |
bb  ; bond1   down |
    ;         idle |
~~~~M~~~~~~~~~~~~~~|
)"},
      {"everything", 0xff, R"(
<~~~~~L~~~~~~~~T~~~~~~~~>|
!     ; Name   : State  !|
{=====%========x========}|
! a   ; eth0   : up     !|
[-----*--------+--------]|
! bb  ; bond1  : down   !|
!     ;        : idle   !|
(~~~~~M~~~~~~~~B~~~~~~~~)|
)"},
  };
  for (const auto &row : cases) {
    SCOPED_TRACE(row.what);
    const table_style style = distinct_style(row.flags, 1, 2);
    Table t = make_table(&style, {"Name", "State"}, {});
    add_row(t.get(), "a", {"eth0", "up"});
    add_row(t.get(), "bb", {"bond1", "down\nidle"});
    EXPECT_EQ("\n" + drawn(t), row.drawing);
  }
}

TEST(TableDrawing, RowsHeadersAndColumnsThatAreEmpty) {
  const table_style style = distinct_style(TABLE_ROW_RULES | TABLE_COL_SEP, 0, 1);
  EXPECT_EQ("\n" + drawn(make_table(&style, {"a", "b"}, {{"1", "2"}, {nullptr, ""}, {"\n", "3"}})), R"(
a :b|
==x=|
1 :2|
--+-|
--+-|
  :3|
)") << "a row without lines has its rules";
  EXPECT_EQ("\n" + drawn(make_table(&style, {nullptr, ""}, {{"1", "2"}})), "\n1 :2|\n") << "no header, no rule";
  EXPECT_EQ("\n" + drawn(make_table(&style, {"two\nlines", "b"}, {{"1", "2"}}), false), "\n1     :2|\n")
      << "without its header the columns keep its width";
}

TEST(TableDrawing, HiddenColumnsLeaveNoTrace) {
  struct Case {
    std::vector<Row> rows;
    bool hide;
    const char *drawing;
  };
  const Case cases[] = {
      {{{"1", "2", ""}}, true, "\n<~~~T~~~>|\n! A : B !|\n{===x===}|\n! 1 : 2 !|\n(~~~B~~~)|\n"},
      {{{"", "2", ""}}, true, "\n<~~~>|\n! B !|\n{===}|\n! 2 !|\n(~~~)|\n"},
      {{{"1", nullptr, "\n"}}, true, "\n<~~~T~~~>|\n! A : C !|\n{===x===}|\n! 1 :   !|\n(~~~B~~~)|\n"},
      {{}, true, "\n<~~>|\n!  !|\n{==}|\n(~~)|\n"},
      {{}, false, "\n<~~~T~~~T~~~>|\n! A : B : C !|\n{===x===x===}|\n(~~~B~~~B~~~)|\n"},
  };
  for (const Case &row : cases) {
    table_style style = distinct_style(0x6a, 1, 1);
    style.hide_empty = row.hide ? 1 : 0;
    EXPECT_EQ("\n" + drawn(make_table(&style, {"A", "B", "C"}, row.rows)), row.drawing);
  }
}

TEST(TableDrawing, StringsOfSeveralBytesAndOfNone) {
  table_style style = style_of(TABLE_COL_SEP | TABLE_HEADER_RULE | TABLE_BORDER_SIDES, 1, 0);
  style.col_sep = "||";
  style.row_sep = "─";
  style.cross = "┼┼";
  style.border_side = "";
  EXPECT_EQ("\n" + drawn(make_table(&style, {"A", "B"}, {{"1", "2"}})), R"(
 A|| B|
──┼┼──|
 1|| 2|
)");
}

TEST(TableDrawing, Alignment) {
  struct Case {
    uint8_t halign, valign;
    const char *text;
    std::array<const char *, 4> field;  // eight wide
  };
  const char *const none = "        ";
  const Case cases[] = {
      {ALIGN_LEFT, VALIGN_TOP, "abc", {"abc     ", none, none, none}},
      {ALIGN_CENTER, VALIGN_TOP, "abc", {"  abc   ", none, none, none}},
      {ALIGN_RIGHT, VALIGN_TOP, "abc\nd", {"     abc", "       d", none, none}},
      {3, VALIGN_TOP, "abc", {"abc", "", "", ""}},
      {ALIGN_CENTER, VALIGN_MIDDLE, "abcd", {none, "  abcd  ", none, none}},
      {ALIGN_LEFT, VALIGN_MIDDLE, "a\nb", {none, "a       ", "b       ", none}},
      {ALIGN_LEFT, VALIGN_MIDDLE, "a\nb\nc", {"a       ", "b       ", "c       ", none}},
      {ALIGN_LEFT, VALIGN_BOTTOM, "a\nb\nc", {none, "a       ", "b       ", "c       "}},
      {ALIGN_LEFT, 3, "abc", {"abc     ", none, none, none}},
      {ALIGN_RIGHT, VALIGN_MIDDLE, nullptr, {none, none, none, none}},
      {ALIGN_RIGHT, VALIGN_BOTTOM, "12345678\n\n\n1", {"12345678", none, none, "       1"}},
  };
  const table_style style = style_of(0, 0, 0);
  for (const Case &row : cases) {
    const cell_attr attr = {0, row.halign, row.valign};
    Table t{table_new(2, &style)};
    table_set_header(t.get(), 0, row.text, &attr);
    table_set_header(t.get(), 1, "1\n2\n3\n4", nullptr);
    add_row(t.get(), row.text, {row.text, "1\n2\n3\n4"});
    table_set_cell_attr(t.get(), 0, -1, &attr);
    table_set_cell_attr(t.get(), 0, 0, &attr);
    add_row(t.get(), "8 wide..", {"8 wide.."});
    const std::vector<std::string> lines = lines_of(t);
    ASSERT_EQ(lines.size(), 9U);
    for (std::size_t i = 0; i < 4; ++i) {
      const std::string field = row.field[i];
      EXPECT_EQ(lines[i], none + field + std::to_string(i + 1)) << "the header";
      EXPECT_EQ(lines[4 + i], field + field + std::to_string(i + 1)) << "label and cell";
    }
  }
}

TEST(TableDrawing, RenditionsCoverTheField) {
  struct Case {
    uint32_t attr;
    const char *field;
  };
  const Case cases[] = {
      {0, "up  "},
      {2, "\033[;32mup  \033[0m"},
      {2 | 1U << 7U, "\033[;32;1mup  \033[0m"},
      {7U << 3U, "\033[;47mup  \033[0m"},
      {1U << 6U, "\033[;0mup  \033[0m"},
      {0x3fff, "\033[;37;47;0;1;2;3;4;5;6;7mup  \033[0m"},
      {0xffffc000, "\033[mup  \033[0m"},
      {0xffffc000 | 6, "\033[;36mup  \033[0m"},
  };
  const table_style style = style_of(TABLE_COL_SEP, 1, 1);
  for (const Case &row : cases) {
    Table t = make_table(&style, {"Link", "B"}, {{"up", "x"}});
    const cell_attr attr = {row.attr, ALIGN_LEFT, VALIGN_TOP};
    table_set_cell_attr(t.get(), 0, 0, &attr);
    EXPECT_EQ(lines_of(t)[1], std::string(row.field) + " : x");
    table_set_cell_attr(t.get(), 0, 0, nullptr);
    EXPECT_EQ(lines_of(t)[1], "up   : x");
  }
}

TEST(TableDrawing, LabelsAppearWithTheFirstText) {
  const table_style style = style_of(TABLE_COL_SEP, 1, 1);
  const cell_attr red = {1, ALIGN_RIGHT, VALIGN_TOP};
  Table t{table_new(1, &style)};
  EXPECT_EQ(table_new_row(t.get(), nullptr, &red), 0);
  EXPECT_EQ(table_new_row(t.get(), "", &red), 1);
  table_set_cell(t.get(), 0, 0, "x", nullptr);
  table_set_cell(t.get(), 1, 0, "y", nullptr);
  EXPECT_EQ(drawn(t), "x|\ny|\n");
  table_set_cell(t.get(), 1, -1, "10", nullptr);
  EXPECT_EQ(drawn(t), "   : x|\n10 : y|\n") << "an attribute given without a label is not kept";
  EXPECT_EQ(table_new_row(t.get(), "1", &red), 2);
  EXPECT_EQ(lines_of(t)[2], "\033[;31m 1\033[0m :  ");
}

TEST(TableDrawing, BeginsInThePresentLineAndTotalsReplaceIt) {
  Page page;
  page.indent = 4;
  table_style style = style_of(0);
  const Table first = make_table(&style, {"H"}, {{"x"}});
  pager_feed(&page, ">");
  table_print(first.get(), &page, 0);
  pager_feed(&page, "lost");
  style.show_total = 1;
  const Table second = make_table(&style, {"H"}, {{nullptr}});
  table_print(second.get(), &page, 0);
  EXPECT_EQ(closed(page.text()), "    >x|\n\nTotal Entries : 1|\n|\n");
}

// Groups

TEST(TableData, EveryColumnOfARowIsAMember) {
  struct Case {
    Row header;
    const char *label;
    Row cells;
    const char *json;
  };
  const Case cases[] = {
      {{"name", "state"}, nullptr, {"eth0", "up"}, R"j({"name":"eth0","state":"up"})j"},
      {{nullptr, "1", "1"}, nullptr, {"a", "b", "c"}, R"j({"1":"a","1 (2)":"b","1 (3)":"c"})j"},
      {{"x", "x (3)", "x"}, nullptr, {"a", "b", nullptr}, R"j({"x":"a","x (3)":"b","x (3) (3)":""})j"},
      {{"label"}, "row", {"a"}, R"j({"label":"row","label (1)":"a"})j"},
      {{"two\nlines"}, nullptr, {"a\n\nb\n"}, R"j({"two\nlines":"a\n\nb"})j"},
      {{"h"}, nullptr, {"\x80z\xC3"}, R"j({"h":"\uFFFDz\uFFFD"})j"},                              // stray and cut short
      {{"h"}, nullptr, {"\xC0\xAF\xE0\x9F\xBF"}, R"j({"h":"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"})j"},  // too long
      {{"h"},
       nullptr,
       {"\xED\xA0\x80\xF4\x90\x80\x80\xFF"},
       R"j({"h":"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"})j"},
      {{"h"}, nullptr, {"\u00E9\u20AC\U0001F600"}, R"j({"h":"\u00E9\u20AC\uD83D\uDE00"})j"},
  };
  for (const Case &row : cases) {
    table_style style = style_of(0);
    style.hide_empty = 1;
    const Table t = make_table(&style, row.header, {});
    add_row(t.get(), row.label, row.cells);
    json_t *rows = table_to_json(t.get());
    char *text = json_dumps(json_array_get(rows, 0), JSON_COMPACT | JSON_ENSURE_ASCII);
    EXPECT_STREQ(text, row.json);
    EXPECT_EQ(json_array_size(rows), 1U);
    std::free(text);
    json_decref(rows);
  }
  EXPECT_EQ(table_to_json(nullptr), nullptr);
}

TEST(TableGroup, TablesShareTheirSizesWhichNeverShrink) {
  const table_style style = style_of(TABLE_COL_SEP | TABLE_HEADER_RULE);
  table_group *group = table_group_new();
  table *narrow = make_table(&style, {"ab", "0123456789"}, {{"1", "2"}}).release();
  table *wide = make_table(&style, {"h\nh", "i"}, {}).release();
  add_row(wide, "L", {"1234567\n2", "abcd"});
  EXPECT_EQ(table_group_add_table(group, "First", narrow), 0);
  EXPECT_EQ(table_group_add_table(group, "Second", wide), 0);
  EXPECT_EQ(table_group_add_table(group, "None", nullptr), -1);
  Page page;
  pager_line(&page);
  table_group_print(group, &page);
  EXPECT_EQ("\n" + closed(page.text()), R"(
|
First: |
  : ab      : 0123456789|
  :         :           |
--+---------+-----------|
  : 1       : 2         |
  :         :           |
|
Second: |
  : h       : i         |
  : h       :           |
--+---------+-----------|
L : 1234567 : abcd      |
  : 2       :           |
)");

  table_set_header(narrow, 1, "", nullptr);
  table_set_cell(wide, 0, 0, "1", nullptr);
  add_row(wide, "M", {"new", "row"});
  pager_clear(&page);
  page.indent = 2;
  table_group_print(group, &page);
  EXPECT_EQ("\n" + closed(page.text()), R"(
  First: |
  : ab      :           |
  :         :           |
--+---------+-----------|
  : 1       : 2         |
  :         :           |
|
  Second: |
  : h       : i         |
  : h       :           |
--+---------+-----------|
L : 1       : abcd      |
  :         :           |
M : new     : row       |
)");
  table_group_free(group);
}

TEST(TableGroup, ANullTitleEndsThePrinting) {
  const table_style style = style_of(TABLE_COL_SEP);
  table_group *group = table_group_new();
  for (const char *title : {"One", static_cast<const char *>(nullptr), "Three"})
    table_group_add_table(group, title, make_table(&style, {title == nullptr ? "wide" : "A"}, {{"1"}}).release());
  Page page;
  table_group_print(group, &page);
  EXPECT_EQ(closed(page.text()), "One: |\nA   |\n1   |\n") << "a table that is not printed is measured";
  table_group_free(group);
}

}  // namespace
