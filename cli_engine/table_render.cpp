#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string_view>

#include "cli_engine/output.hpp"
#include "cli_engine/pager.h"
#include "cli_engine/table.hpp"
#include "libglobal/dyn_string.hpp"
#include "libglobal/report.hpp"

namespace cli_engine {
namespace {

using StyleString = const char *table_style::*;

// The strings that a kind of line is drawn with. All kinds have the same shape, and so the same length:
//   LEFT pad | label pad LABEL_JOINT pad | field pad COL_JOINT pad field ... | pad RIGHT
struct LineKind {
  StyleString fill;  // what fields and padding are filled with; null for blanks
  StyleString left;
  StyleString label_joint;
  StyleString col_joint;
  StyleString right;
};

constexpr LineKind kTextLine = {nullptr, &table_style::border_side, &table_style::label_sep, &table_style::col_sep,
                                &table_style::border_side};
constexpr LineKind kHeaderRule = {&table_style::header_sep, &table_style::side_header_left,
                                  &table_style::label_header_cross, &table_style::header_cross,
                                  &table_style::side_header_right};
constexpr LineKind kRowRule = {&table_style::row_sep, &table_style::side_row_left, &table_style::label_cross,
                               &table_style::cross, &table_style::side_row_right};
constexpr LineKind kTopBorder = {&table_style::border_line, &table_style::corner_top_left, &table_style::line_label_top,
                                 &table_style::line_col_top, &table_style::corner_top_right};
constexpr LineKind kBottomBorder = {&table_style::border_line, &table_style::corner_bottom_left,
                                    &table_style::line_label_bottom, &table_style::line_col_bottom,
                                    &table_style::corner_bottom_right};

// The strings of one kind of line, as a table's flags leave them.
struct LineParts {
  std::string_view fill;
  std::string_view left;
  std::string_view label_joint;
  std::string_view col_joint;
  std::string_view right;
};

LineParts parts_of(const table_style &style, const LineKind &kind) {
  const auto drawn_if = [&style](unsigned flags, StyleString field) {
    return std::string_view{(style.flags & flags) != 0 ? style.*field : ""};
  };
  return {kind.fill == nullptr ? std::string_view{" "} : std::string_view{style.*kind.fill},
          drawn_if(TABLE_BORDER_SIDES, kind.left), drawn_if(TABLE_COL_SEP | TABLE_LABEL_SEP, kind.label_joint),
          drawn_if(TABLE_COL_SEP, kind.col_joint), drawn_if(TABLE_BORDER_SIDES, kind.right)};
}

void fill_with(DynString &line, std::string_view fill, std::size_t count) {
  if (fill.size() == 1) {
    libglobal::fill(line, fill[0], count);
    return;
  }
  for (std::size_t i = 0; i < count; ++i) {
    libglobal::append(line, fill);
  }
}

void fill_with(DynString &line, std::string_view fill, int32_t count) {
  fill_with(line, fill, static_cast<std::size_t>(std::max(count, 0)));
}

// The longest sequence has 25 bytes: two colours and eight renditions.
using RenditionBuffer = std::array<char, 32>;

// The escape sequence of a cell's attribute bits. It begins with an empty parameter, so that every parameter follows
// a semicolon.
std::string_view compose_rendition(uint32_t attr, RenditionBuffer &buffer) {
  char *end = buffer.data();
  const auto put = [&end](char c) { *end++ = c; };
  const auto put_colour = [&put](char plane, uint32_t colour) {
    if (colour != 0) {
      put(';');
      put(plane);
      put(static_cast<char>('0' + colour));
    }
  };
  put('\033');
  put('[');
  put_colour('3', attr & 7U);
  put_colour('4', attr >> 3U & 7U);
  for (uint32_t k = 0; k < 8; ++k) {
    if ((attr >> (6U + k) & 1U) != 0) {
      put(';');
      put(static_cast<char>('0' + k));
    }
  }
  put('m');
  return {buffer.data(), static_cast<std::size_t>(end - buffer.data())};
}

// What a cell shows in line `number` of a block of `height` lines.
std::string_view shown_text(const content &cell, int32_t height, int32_t number) {
  if (cell.valign == VALIGN_MIDDLE) {
    number -= (height - cell.nlines) / 2;
  } else if (cell.valign == VALIGN_BOTTOM) {
    number -= height - cell.nlines;
  }
  if (number < 0 || number >= cell.nlines) {
    return "";
  }
  const content_line &line = cell.lines.first[number];
  return {line.text, static_cast<std::size_t>(line.len)};
}

void append_aligned(DynString &line, std::string_view text, std::size_t width, uint8_t halign) {
  const std::size_t blanks = width - std::min(width, text.size());
  std::size_t before = 0;
  std::size_t after = 0;
  switch (halign) {
    case ALIGN_LEFT:
      after = blanks;
      break;
    case ALIGN_CENTER:
      before = blanks / 2;
      after = blanks - before;
      break;
    case ALIGN_RIGHT:
      before = blanks;
      break;
    default:  // a value of the host's own: the text as it is
      break;
  }
  libglobal::fill(line, ' ', before);
  libglobal::append(line, text);
  libglobal::fill(line, ' ', after);
}

// Colours cover the whole field, not only its text.
void append_field(DynString &line, const content &cell, int32_t width, int32_t height, int32_t number, bool coloured) {
  coloured = coloured && cell.attr != 0;
  if (coloured) {
    RenditionBuffer buffer;
    libglobal::append(line, compose_rendition(cell.attr, buffer));
  }
  append_aligned(line, shown_text(cell, height, number), static_cast<std::size_t>(width), cell.halign);
  if (coloured) {
    libglobal::append(line, std::string_view{"\033[0m"});
  }
}

// One table on its way into a pager, its layout computed.
class Drawing {
 public:
  Drawing(const table &drawn, pager &out)
      : t(drawn),
        p(out),
        text_parts(parts_of(t.style, kTextLine)),
        text_length(length_of(text_parts)),
        coloured(has_colours(out)) {}

  void draw(bool with_header) const {
    draw_border(kTopBorder);
    if (with_header) {
      draw_header();
    }
    draw_rows();
    draw_border(kBottomBorder);
    if (t.style.show_total != 0) {
      draw_total();
    }
  }

 private:
  static constexpr int32_t kLabel = -1;

  [[nodiscard]] bool has_flag(unsigned flags) const { return (t.style.flags & flags) != 0; }

  // The bytes of a line, escape sequences apart: a line's string is grown once and to no more than it needs.
  [[nodiscard]] std::size_t length_of(const LineParts &parts) const {
    const std::size_t padding = (std::size_t{t.style.pad_left} + t.style.pad_right) * parts.fill.size();
    const auto field = [&parts](int32_t width) { return static_cast<std::size_t>(width) * parts.fill.size(); };
    std::size_t length = parts.left.size() + padding + parts.right.size();
    if (t.label_width != 0) {
      length += field(t.label_width) + padding + parts.label_joint.size();
    }
    for (int32_t col = 0; col < t.ncols; ++col) {
      length += t.col_hidden[col] != 0 ? 0 : field(t.col_width[col]) + padding + parts.col_joint.size();
    }
    return length;
  }

  // One line of any kind; draw_field(line, column or kLabel, width) puts in the fields.
  template <class DrawField>
  void draw_line(const LineParts &parts, std::size_t length, DrawField draw_field) const {
    DynString &line = *pager_line(&p);
    libglobal::room_for(line, length);
    const auto join = [&](std::string_view joint) {
      fill_with(line, parts.fill, std::size_t{t.style.pad_right});
      libglobal::append(line, joint);
      fill_with(line, parts.fill, std::size_t{t.style.pad_left});
    };
    const bool sides = has_flag(TABLE_BORDER_SIDES);
    if (sides) {
      libglobal::append(line, parts.left);
      fill_with(line, parts.fill, std::size_t{t.style.pad_left});
    }
    if (t.label_width != 0) {
      draw_field(line, kLabel, t.label_width);
      join(parts.label_joint);
    }
    bool first = true;
    for (int32_t col = 0; col < t.ncols; ++col) {
      if (t.col_hidden[col] != 0) {
        continue;
      }
      if (!first) {
        join(parts.col_joint);
      }
      first = false;
      draw_field(line, col, t.col_width[col]);
    }
    if (sides) {
      fill_with(line, parts.fill, std::size_t{t.style.pad_right});
      libglobal::append(line, parts.right);
    }
    pager_newline(&p);
  }

  // `cells` begins with the label; that of the header is always empty and so leaves its area blank.
  void draw_text_lines(const content *cells, int32_t height) const {
    for (int32_t number = 0; number < height; ++number) {
      draw_line(text_parts, text_length, [&](DynString &line, int32_t col, int32_t width) {
        append_field(line, cells[col + 1], width, height, number, coloured);
      });
    }
  }

  void draw_filled_line(const LineKind &kind) const {
    const LineParts parts = parts_of(t.style, kind);
    draw_line(parts, length_of(parts),
              [&parts](DynString &line, int32_t, int32_t width) { fill_with(line, parts.fill, width); });
  }

  void draw_border(const LineKind &kind) const {
    if (has_flag(TABLE_BORDER_LINES)) {
      draw_filled_line(kind);
    }
  }

  void draw_header() const {
    draw_text_lines(table_header_cells(t), t.header_height);
    if (t.header_height != 0 && has_flag(TABLE_HEADER_RULE | TABLE_ROW_RULES)) {
      draw_filled_line(kHeaderRule);
    }
  }

  void draw_rows() const {
    for (int32_t row = 0; row < t.nrows; ++row) {
      draw_text_lines(table_row_cells(t, row), t.row_height[row]);
      if (row + 1 < t.nrows && has_flag(TABLE_ROW_RULES)) {
        draw_filled_line(kRowRule);
      }
    }
  }

  // The total takes the present line, whatever it held. Its text begins with a line break of its own.
  void draw_total() const {
    DynString *line = pager_line(&p);
    dyn_string_clear(line);
    dyn_string_appendf(line, "\nTotal Entries : %d", t.nrows);
    pager_newline(&p);
    pager_newline(&p);
  }

  const table &t;
  pager &p;
  LineParts text_parts;
  std::size_t text_length;
  bool coloured;
};

std::span<const table_group_entry> entries_of(const table_group &g) {
  return {static_cast<const table_group_entry *>(dyn_array_at(g.entries, 0)),
          dyn_array_size(g.entries) / sizeof(table_group_entry)};
}

// Longer sizes with the old values in front, in place of the old ones.
void lengthen(int32_t *&sizes, int32_t &count, int32_t new_count, const libglobal::Caller &caller) {
  if (new_count <= count) {
    return;
  }
  auto *longer =
      static_cast<int32_t *>(libglobal::xcalloc(static_cast<std::size_t>(new_count), sizeof(int32_t), caller));
  std::copy_n(sizes, count, longer);
  std::free(sizes);
  sizes = longer;
  count = new_count;
}

void raise(int32_t &size, int32_t to) {
  size = std::max(size, to);
}

void raise_all(int32_t *sizes, const int32_t *to, int32_t count) {
  for (int32_t i = 0; i < count; ++i) {
    raise(sizes[i], to[i]);
  }
}

// Every table's sizes, merged into those of the group; these never shrink.
void table_group_update_size(table_group *g) {
  for (const table_group_entry &entry : entries_of(*g)) {
    const table &t = *entry.table;
    table_update_size(entry.table);
    lengthen(g->col_width, g->ncols, t.ncols, LIBGLOBAL_CALLER(kTableSource));
    lengthen(g->row_height, g->nrows, t.nrows, LIBGLOBAL_CALLER(kTableSource));
    raise_all(g->col_width, t.col_width, t.ncols);
    raise_all(g->row_height, t.row_height, t.nrows);
    raise(g->header_height, t.header_height);
    raise(g->label_width, t.label_width);
  }
}

void take_group_sizes(table &t, const table_group &g) {
  raise_all(t.col_width, g.col_width, t.ncols);
  raise_all(t.row_height, g.row_height, t.nrows);
  raise(t.header_height, g.header_height);
  raise(t.label_width, g.label_width);
}

void draw_title(pager *p, const char *title) {
  pager_newline(p);
  pager_feed(p, title);
  pager_feed(p, ": ");
  pager_newline(p);
}

}  // namespace
}  // namespace cli_engine

using namespace cli_engine;

void table_print(table *t, pager *p, int with_header) {
  if (take_table(*p, nullptr, *t)) {
    return;
  }
  table_update_size(t);
  Drawing(*t, *p).draw(with_header != 0);
}

table_group *table_group_new(void) {
  auto *g = static_cast<table_group *>(libglobal::xcalloc(1, sizeof(table_group), LIBGLOBAL_CALLER(kTableSource)));
  g->entries = dyn_array_new(sizeof(table_group_entry));
  return g;
}

int table_group_add_table(table_group *g, const char *title, table *t) {
  if (t == nullptr) {
    return -1;
  }
  const table_group_entry entry = {t, title};
  return dyn_array_append(g->entries, &entry, sizeof(entry));
}

void table_group_print(table_group *g, pager *p) {
  table_group_update_size(g);
  for (const table_group_entry &entry : entries_of(*g)) {
    if (entry.title == nullptr) {
      return;
    }
    if (take_table(*p, entry.title, *entry.table)) {
      continue;
    }
    draw_title(p, entry.title);
    take_group_sizes(*entry.table, *g);
    Drawing(*entry.table, *p).draw(true);
  }
}

void table_group_free(table_group *g) {
  if (g == nullptr) {
    return;
  }
  for (const table_group_entry &entry : entries_of(*g)) {
    table_free(entry.table);
  }
  dyn_array_free(g->entries);
  std::free(g->col_width);
  std::free(g->row_height);
  std::free(g);
}
