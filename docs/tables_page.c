/* Prints docs/tables.md: how tables are made, each piece of code followed by what it draws. The code that is shown is
 * the code that runs, so the page cannot tell anything else than the library does. */
#include <stdio.h>
#include <string.h>

#include "cli_engine/table.h"

struct sample {
  const char *title;
  const char *words;
  const char *code;
  void (*draw)(pager *out);
};

/* Only a macro has the text of its argument at hand. */
#define SAMPLE(name, title, words, ...) \
  static void draw_##name(pager *out) { \
    __VA_ARGS__                         \
  }                                     \
  static const struct sample name = {title, words, #__VA_ARGS__, draw_##name};

/* The table of most drawings: three ports of a switch. */
static void draw_ports(pager *out, const table_style *style) {
  static const char *const ports[3][4] = {
      {"1", "uplink", "up", "10.0.0.1\n2001:db8::1"}, {"2", "lab", "down", ""}, {"3", "office", "up", "10.0.7.1"}};
  table *t = table_new(3, style);
  table_set_header(t, 0, "Name", NULL);
  table_set_header(t, 1, "Link", NULL);
  table_set_header(t, 2, "Address", NULL);
  for (int i = 0; i < 3; ++i) {
    const int row = table_new_row(t, ports[i][0], NULL);
    for (int col = 0; col < 3; ++col) {
      table_set_cell(t, row, col, ports[i][col + 1], NULL);
    }
  }
  table_print(t, out, 1);
  table_free(t);
}

/* The pieces are shown as they are written, one statement a line. */
/* clang-format off */

SAMPLE(first_table, "A first table",
       "Columns are fixed when a table is made; rows are appended. A row's number is what later calls name it by, and a\n"
       "column of -1 is the row's label. Texts are copied. Without a style of its own a table has separators, a rule\n"
       "under the header and the number of its rows at the end. `out` is the pager that the handler writes to:\n"
       "`&engine->pager`.",
       table *t = table_new(2, NULL);
       table_set_header(t, 0, "Setting", NULL);
       table_set_header(t, 1, "Value", NULL);
       int row = table_new_row(t, NULL, NULL);
       table_set_cell(t, row, 0, "mtu", NULL);
       table_set_cell(t, row, 1, "1500", NULL);
       row = table_new_row(t, NULL, NULL);
       table_set_cell(t, row, 0, "description", NULL);
       table_set_cell(t, row, 1, "uplink\nto the core", NULL);
       table_print(t, out, 1);
       table_free(t);)

SAMPLE(without_header, "Without the header",
       "The last argument of `table_print` leaves the header and its rule out.",
       table *t = table_new(1, NULL);
       table_set_header(t, 0, "Setting", NULL);
       table_set_cell(t, table_new_row(t, NULL, NULL), 0, "mtu", NULL);
       table_print(t, out, 0);
       table_free(t);)

SAMPLE(no_switch, "No switch at all",
       "A style whose switches are off leaves the fields alone, `pad_right` and `pad_left` blanks apart. From here on\n"
       "`draw_ports` draws the same three ports, which have labels, with the style that it is given.",
       table_style style = {.pad_left = 1, .pad_right = 1};
       draw_ports(out, &style);)

SAMPLE(header_rule, "TABLE_HEADER_RULE", "A rule under the header.",
       table_style style = {.pad_left = 1, .pad_right = 1, .flags = TABLE_HEADER_RULE};
       draw_ports(out, &style);)

SAMPLE(label_sep, "TABLE_LABEL_SEP", "A separator after the labels, and none between the other columns.",
       table_style style = {.pad_left = 1, .pad_right = 1, .flags = TABLE_LABEL_SEP | TABLE_HEADER_RULE};
       draw_ports(out, &style);)

SAMPLE(col_sep, "TABLE_COL_SEP", "Separators between all columns and after the labels.",
       table_style style = {.pad_left = 1, .pad_right = 1, .flags = TABLE_COL_SEP};
       draw_ports(out, &style);)

SAMPLE(row_rules, "TABLE_ROW_RULES", "A rule between rows, and one under the header.",
       table_style style = {.pad_left = 1, .pad_right = 1, .flags = TABLE_ROW_RULES | TABLE_COL_SEP};
       draw_ports(out, &style);)

SAMPLE(border_sides, "TABLE_BORDER_SIDES", "Borders left and right.",
       table_style style = {.pad_left = 1, .pad_right = 1, .flags = TABLE_BORDER_SIDES};
       draw_ports(out, &style);)

SAMPLE(border_lines, "TABLE_BORDER_LINES", "Borders above and below.",
       table_style style = {.pad_left = 1, .pad_right = 1, .flags = TABLE_BORDER_LINES};
       draw_ports(out, &style);)

SAMPLE(show_total, "show_total", "The number of rows, between two empty lines.",
       table_style style = {.pad_left = 1, .pad_right = 1, .show_total = 1};
       draw_ports(out, &style);)

SAMPLE(hide_empty, "hide_empty", "Columns without any text below the header are left out.",
       table_style style = {.pad_left = 1, .pad_right = 1, .flags = TABLE_COL_SEP, .hide_empty = 1};
       table *t = table_new(3, &style);
       table_set_header(t, 0, "Name", NULL);
       table_set_header(t, 1, "Errors", NULL);
       table_set_header(t, 2, "Link", NULL);
       int row = table_new_row(t, NULL, NULL);
       table_set_cell(t, row, 0, "uplink", NULL);
       table_set_cell(t, row, 2, "up", NULL);
       table_print(t, out, 1);
       table_free(t);)

SAMPLE(padding, "pad_left and pad_right", "Blanks before and after each field, or as much of a rule.",
       table_style style = {.pad_left = 4, .pad_right = 0, .flags = TABLE_COL_SEP | TABLE_HEADER_RULE};
       draw_ports(out, &style);)

SAMPLE(all_strings, "Every string of a style",
       "Each string has a place of its own. One that is left null follows another: the crossings follow `cross`, what\n"
       "meets the sides follows `border_side`, what is on the border lines follows `border_line`.",
       table_style style = {.pad_left = 1, .pad_right = 1};
       style.flags = TABLE_COL_SEP | TABLE_ROW_RULES | TABLE_BORDER_SIDES | TABLE_BORDER_LINES;
       style.col_sep = ":";
       style.row_sep = "-";
       style.label_sep = ";";
       style.header_sep = "=";
       style.cross = "+";
       style.label_header_cross = "%";
       style.label_cross = "*";
       style.header_cross = "x";
       style.border_side = "!";
       style.border_line = "~";
       style.corner_top_left = "<";
       style.corner_top_right = ">";
       style.corner_bottom_left = "(";
       style.corner_bottom_right = ")";
       style.side_row_left = "[";
       style.side_row_right = "]";
       style.line_col_top = "T";
       style.line_col_bottom = "B";
       style.side_header_left = "{";
       style.side_header_right = "}";
       style.line_label_top = "L";
       style.line_label_bottom = "M";
       draw_ports(out, &style);)

SAMPLE(box, "Drawn with boxes",
       "Strings may have any length. Lines stay aligned as long as strings that meet in one place are equally wide;\n"
       "the library counts bytes only to pad texts.",
       table_style style = {.pad_left = 1, .pad_right = 1};
       style.flags = TABLE_COL_SEP | TABLE_HEADER_RULE | TABLE_BORDER_SIDES | TABLE_BORDER_LINES;
       style.col_sep = "│";
       style.label_sep = "║";
       style.header_sep = "─";
       style.cross = "┼";
       style.label_header_cross = "╫";
       style.border_side = "│";
       style.border_line = "─";
       style.corner_top_left = "┌";
       style.corner_top_right = "┐";
       style.corner_bottom_left = "└";
       style.corner_bottom_right = "┘";
       style.line_col_top = "┬";
       style.line_col_bottom = "┴";
       style.line_label_top = "╥";
       style.line_label_bottom = "╨";
       style.side_header_left = "├";
       style.side_header_right = "┤";
       draw_ports(out, &style);)

SAMPLE(alignment, "Alignment", "Across its column and, in a row of several lines, along its height.",
       table_style style = {.pad_left = 1, .pad_right = 1, .flags = TABLE_COL_SEP | TABLE_BORDER_SIDES};
       const cell_attr centre = {.halign = ALIGN_CENTER, .valign = VALIGN_MIDDLE};
       const cell_attr right = {.halign = ALIGN_RIGHT, .valign = VALIGN_BOTTOM};
       table *t = table_new(4, &style);
       table_set_header(t, 0, "left, top", NULL);
       table_set_header(t, 1, "centre, middle", &centre);
       table_set_header(t, 2, "right, bottom", &right);
       int row = table_new_row(t, NULL, NULL);
       table_set_cell(t, row, 0, "a", NULL);
       table_set_cell(t, row, 1, "b", &centre);
       table_set_cell(t, row, 2, "c", &right);
       table_set_cell(t, row, 3, "three\nlines\nhigh", NULL);
       table_print(t, out, 1);
       table_free(t);)

SAMPLE(colours, "Colours and renditions",
       "Bits 0-2 of `attr` are the foreground colour, bits 3-5 the background colour, bit 6 + k is the rendition k (1\n"
       "bold, 4 underline, 7 reverse). They cover the whole field. The escape character is shown as `\\e`.",
       table_style style = {.pad_left = 1, .pad_right = 1};
       const cell_attr good = {.attr = 2};
       const cell_attr bad = {.attr = 1 | 1 << (6 + 1)};
       table *t = table_new(1, &style);
       table_set_cell(t, table_new_row(t, "uplink", NULL), 0, "up", &good);
       table_set_cell(t, table_new_row(t, "lab", NULL), 0, "down", &bad);
       table_print(t, out, 0);
       table_free(t);)

static int by_first_line(const content *a, const content *b) {
  const char *left = cell_get_line(a, 0);
  const char *right = cell_get_line(b, 0);
  return strcmp(left == NULL ? "" : left, right == NULL ? "" : right);
}

SAMPLE(sorting, "Sorting",
       "The comparison reads its cells with `cell_get_line`, which gives null for a cell without text; here it compares\n"
       "the first lines with `strcmp`. Rows that compare equal keep their order, and a row's number is its new place.",
       table *t = table_new(1, NULL);
       table_set_cell(t, table_new_row(t, NULL, NULL), 0, "office", NULL);
       table_set_cell(t, table_new_row(t, NULL, NULL), 0, "lab", NULL);
       table_sort(t, 0, by_first_line);
       table_set_cell_attr(t, 0, 0, &(cell_attr){.attr = 4});
       table_print(t, out, 0);
       table_free(t);)

SAMPLE(group, "Groups",
       "Tables of a group have columns and rows of one size, and a title each. The group owns its tables; releasing it\n"
       "releases them.",
       table_style style = {.pad_left = 1, .pad_right = 1, .flags = TABLE_COL_SEP | TABLE_HEADER_RULE};
       table_group *group = table_group_new();
       table *t = table_new(2, &style);
       table_set_header(t, 0, "Port", NULL);
       table_set_header(t, 1, "Mode", NULL);
       int row = table_new_row(t, NULL, NULL);
       table_set_cell(t, row, 0, "1", NULL);
       table_set_cell(t, row, 1, "tagged", NULL);
       table_group_add_table(group, "VLAN 10", t);
       t = table_new(2, &style);
       table_set_header(t, 0, "Port", NULL);
       table_set_header(t, 1, "Mode", NULL);
       row = table_new_row(t, NULL, NULL);
       table_set_cell(t, row, 0, "port-channel 2", NULL);
       table_set_cell(t, row, 1, "access", NULL);
       table_group_add_table(group, "VLAN 20", t);
       table_group_print(group, out);
       table_group_free(group);)

static const char *const interfaces[4][6] = {
    {"eth0", "up", "10.0.0.1/30\n2001:db8::1/64", "9 000", "1.2 G", "940.1 M"},
    {"eth1", "down", "", "1 500", "0", "0"},
    {"vlan10", "up", "10.0.10.1/24", "1 500", "88.0 M", "4.5 M"},
    {"loopback0", "up", "192.0.2.1/32", "65 536", "12.3 k", "12.3 k"}};

SAMPLE(operator_view, "What an operator should see",
       "A wide table fits 80 columns when the separators go: a rule under the header, two blanks between columns, numbers\n"
       "to the right; and colour only for what needs a hand. `interfaces` holds the texts.",
       table_style style = {.pad_left = 0, .pad_right = 2, .flags = TABLE_HEADER_RULE};
       const char *const headers[] = {"Interface", "Link", "Address", "MTU", "Received", "Sent"};
       const cell_attr right = {.halign = ALIGN_RIGHT};
       table *t = table_new(6, &style);
       for (int col = 0; col < 6; ++col) table_set_header(t, col, headers[col], col < 3 ? NULL : &right);
       for (int i = 0; i < 4; ++i) table_new_row(t, NULL, NULL);
       for (int i = 0; i < 24; ++i) table_set_cell(t, i / 6, i % 6, interfaces[i / 6][i % 6], i % 6 < 3 ? NULL : &right);
       table_print(t, out, 1);
       table_free(t);)

/* clang-format on */

static const struct sample *const samples[] = {&first_table, &without_header, &no_switch,    &header_rule,  &label_sep,
                                               &col_sep,     &row_rules,      &border_sides, &border_lines, &show_total,
                                               &hide_empty,  &padding,        &all_strings,  &box,          &alignment,
                                               &colours,     &sorting,        &group,        &operator_view};

/* The statements of a sample, one a line: a semicolon ends one unless it stands in a text or in parentheses. No sample
 * has a quote inside a text. */
static void print_code(const char *code) {
  int depth = 0;
  int quoted = 0;
  for (const char *c = code; *c != '\0'; ++c) {
    putchar(*c);
    if (*c == '"') {
      quoted = !quoted;
    } else if (!quoted) {
      depth += (*c == '(') - (*c == ')');
    }
    if (*c == ';' && !quoted && depth == 0) {
      putchar('\n');
      c += c[1] == ' ';
    }
  }
}

/* Without the blanks that pad the last field, and with escape characters made visible. */
static void print_line(const char *text) {
  size_t len = strlen(text);
  while (len != 0 && text[len - 1] == ' ') {
    --len;
  }
  for (size_t i = 0; i < len; ++i) {
    if (text[i] == '\033') {
      fputs("\\e", stdout);
    } else {
      putchar(text[i]);
    }
  }
  putchar('\n');
}

static void print_drawing(void (*draw)(pager *out)) {
  pager out = {0};
  pager_open(&out, -1, -1);
  draw(&out);
  for (const pager_line_entry *line = out.lines.first; line != NULL; line = line->next) {
    if (line->next != NULL || dyn_string_len(line->text) != 0) {
      print_line(dyn_string_text(line->text));
    }
  }
  pager_close(&out);
}

static void print_sample(const struct sample *sample) {
  printf("\n## %s\n\n%s\n\n```c\n", sample->title, sample->words);
  print_code(sample->code);
  puts("```\n\n```text");
  print_drawing(sample->draw);
  puts("```");
}

int main(void) {
  puts(
      "# Tables\n\n"
      "This page is printed by `docs/tables_page.c`: each piece of code is run, and what it draws stands below it "
      "(blanks\n"
      "at the ends of lines left out). The functions are described in `cli_engine/table.h`.");
  for (size_t i = 0; i < sizeof(samples) / sizeof(samples[0]); ++i) {
    print_sample(samples[i]);
  }
  return 0;
}
