/* Tables drawn into a pager: columns with headers, optional row labels, cells of several lines, colours, alignment,
 * rules and borders; and groups of tables whose columns line up.
 *
 * Texts of cells are copied; the strings of a style and the titles of a group are borrowed. Widths are byte counts.
 * Rows and columns are counted from 0; column -1 is the row's label. A row's number is its place as shown: sorting
 * changes it.
 *
 * In the pager of an engine with CLI_DATA tables are not drawn. What a command gives becomes one JSON document, written
 * on a line of its own when the command ends, in place of the echo and the pager's lines:
 *
 *     {"command": "show ports", "tables": [{"title": null, "rows": [{"Port": "1"}]}], "text": ["..."]}
 *
 * `rows` is what table_to_json gives, `title` that of a table in a group, `text` the lines that were fed. pager_show
 * and pager_flush print nothing meanwhile. Bytes that are no UTF-8 become U+FFFD. */
#ifndef CLI_ENGINE_TABLE_H
#define CLI_ENGINE_TABLE_H

#include <jansson.h>
#include <stdint.h>

#include "cli_engine/pager.h"
#include "libglobal/dyn_array.h"
#include "libglobal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct table table;
typedef struct content content;
typedef struct content_line content_line;
typedef struct content_line_list content_line_list;
typedef struct cell_attr cell_attr;
typedef struct table_style table_style;
typedef struct table_group table_group;
typedef struct table_group_entry table_group_entry;

/* Horizontal and vertical alignment in a field. */
enum { ALIGN_LEFT = 0, ALIGN_CENTER = 1, ALIGN_RIGHT = 2 };
enum { VALIGN_TOP = 0, VALIGN_MIDDLE = 1, VALIGN_BOTTOM = 2 };

/* Bits of table_style.flags. */
enum {
  TABLE_HEADER_RULE = 0x02,  /* a rule under the header */
  TABLE_LABEL_SEP = 0x04,    /* label_sep after the labels, no separator between other columns */
  TABLE_COL_SEP = 0x08,      /* col_sep between columns, label_sep after the labels */
  TABLE_ROW_RULES = 0x10,    /* a rule between rows and under the header */
  TABLE_BORDER_SIDES = 0x20, /* borders left and right */
  TABLE_BORDER_LINES = 0x40  /* borders above and below */
};

/* How a cell looks: `attr` holds in bits 0-2 the foreground colour (1 red, 2 green, 3 yellow, 4 blue, 5 magenta,
 * 6 cyan, 7 white; 0 none), in bits 3-5 the background colour, and in bit 6 + k the rendition k (1 bold, 2 faint,
 * 3 italic, 4 underline, 5 and 6 blink, 7 reverse video). */
struct cell_attr {
  uint32_t attr;  /* colours and renditions */
  uint8_t halign; /* ALIGN_... */
  uint8_t valign; /* VALIGN_... */
};

/* A line of a cell. */
struct content_line {
  char *text;         /* owned by its cell; NUL-terminated, without the line break */
  int32_t len;        /* bytes */
  content_line *next; /* null at the end */
};

/* The lines of a cell, from the first one on. */
struct content_line_list {
  content_line *first;      /* null for an empty text */
  content_line **last_link; /* may be stale after the cell was moved in memory; walk from `first` */
};

/* A cell, label cell or header cell. */
struct content {
  int32_t width;           /* bytes of its longest line */
  int32_t nlines;          /* number of lines; 0 for an empty text */
  content_line_list lines; /* its text */
  uint32_t attr;           /* as in cell_attr */
  uint8_t halign;          /* ALIGN_... */
  uint8_t valign;          /* VALIGN_... */
};

/* How a table is drawn. A null string stands for its default: that of the field named in its comment, or the text given
 * there. Strings are borrowed for the life of the table. */
struct table_style {
  const char *col_sep;             /* ":" */
  const char *row_sep;             /* "-" */
  const char *label_sep;           /* col_sep */
  const char *header_sep;          /* row_sep */
  const char *cross;               /* "+" */
  const char *label_header_cross;  /* cross */
  const char *label_cross;         /* cross */
  const char *header_cross;        /* cross */
  const char *border_side;         /* "#" */
  const char *border_line;         /* "#" */
  const char *corner_top_left;     /* border_line */
  const char *corner_top_right;    /* border_line */
  const char *corner_bottom_left;  /* border_line */
  const char *corner_bottom_right; /* border_line */
  const char *side_row_left;       /* border_side */
  const char *side_row_right;      /* border_side */
  const char *line_col_top;        /* border_line */
  const char *line_col_bottom;     /* border_line */
  const char *side_header_left;    /* side_row_left */
  const char *side_header_right;   /* side_row_right */
  const char *line_label_top;      /* line_col_top */
  const char *line_label_bottom;   /* line_col_bottom */
  uint8_t pad_left;                /* spaces before a field */
  uint8_t pad_right;               /* spaces after a field */
  uint8_t flags;                   /* TABLE_... */
  uint8_t show_total;              /* nonzero: the number of rows is printed after the table */
  uint8_t hide_empty;              /* nonzero: columns without any text below the header are left out */
};

/* A table, for reading; the functions below change it. */
struct table {
  DynArray *cells;       /* content records, ncols + 1 a row, the label first; row 0 is the header */
  DynArray *row_index;   /* int32_t: the row of `cells` that is shown at each place */
  int32_t ncols;         /* the labels not counted */
  int32_t nrows;         /* the header not counted */
  table_style style;     /* with the defaults filled in */
  int32_t *col_width;    /* this and what follows: the layout of the last print; null or 0 before */
  int32_t *row_height;   /* lines of each row, as shown */
  uint8_t *col_hidden;   /* nonzero where hide_empty leaves a column out */
  int32_t header_height; /* lines of the header */
  int32_t label_width;   /* bytes of the widest label */
};

/* One table of a group. */
struct table_group_entry {
  struct table *table; /* owned by the group */
  const char *title;   /* borrowed; null ends the printing */
};

/* A group of tables, for reading. Its sizes persist between prints and only grow. */
struct table_group {
  DynArray *entries;     /* table_group_entry */
  int32_t *col_width;    /* the largest of each column */
  int32_t *row_height;   /* the largest of each row */
  int32_t header_height; /* the largest */
  int32_t label_width;   /* the largest */
  int32_t ncols;         /* elements of col_width */
  int32_t nrows;         /* elements of row_height */
};

/* Compares two cells of the column that is sorted by: greater than 0 when the first belongs after the second. A cell is
 * null when the column does not exist. */
typedef int (*table_compare)(const content *a, const content *b);

/* A new table of ncols (at least 1) columns and no rows, owned by the caller. The style is copied; a null one gives
 * separators, a rule under the header, padding of 3 and the total line. */
CLI_API table *table_new(int ncols, const table_style *style);

/* Releases a table; a null pointer is harmless. A table of a group is released by the group. */
CLI_API void table_free(table *t);

/* Replaces the header of a column (0 to ncols - 1; another one is a broken invariant and ends the process). A null text
 * gives an empty cell, a null attr a plain one. */
CLI_API void table_set_header(table *t, int col, const char *text, const cell_attr *attr);

/* Appends a row of empty cells and returns its number. A null label leaves the label empty, attr is then ignored. */
CLI_API int table_new_row(table *t, const char *label, const cell_attr *attr);

/* Replaces a cell; 0, or -1 (nothing changed) when there is no such cell. */
CLI_API int table_set_cell(table *t, int row, int col, const char *text, const cell_attr *attr);

/* Changes how a cell looks, null for plain; 0, or -1 when there is no such cell or no table. */
CLI_API int table_set_cell_attr(table *t, int row, int col, const cell_attr *attr);

/* Sorts the rows by a column (-1: by the labels); equal rows keep their order. Always 0. The comparison is called
 * n (n - 1) / 2 times for n rows. */
CLI_API int table_sort(table *t, int col, table_compare compare);

/* A line of a cell, counted from 0 (less counts as 0): borrowed from the cell; null when there is no such line or the
 * cell is null. */
CLI_API const char *cell_get_line(const content *cell, int line);

/* Draws the table into the pager, from the present line on; the header only when with_header is nonzero. */
CLI_API void table_print(table *t, pager *p, int with_header);

/* The table as data, a new reference: an array of an object for each row as shown, with a string for each column. Its
 * name is the text of the column's header, or the column's number, counted from 1, where the header is empty; a name
 * that an earlier column has gets the number behind it ("state", "state (3)"). Where a row of the table has a label,
 * all have a "label" first. Lines of a cell are joined by "\n"; colours are left out, hidden columns are not; a byte
 * that belongs to no UTF-8 character becomes U+FFFD. Null for a null table. */
CLI_API json_t *table_to_json(const table *t);

/* A new, empty group, owned by the caller. */
CLI_API table_group *table_group_new(void);

/* Adds a table, which the group then owns, under a borrowed title. 0, or -1. */
CLI_API int table_group_add_table(table_group *g, const char *title, table *t);

/* Draws each table under its title, all with the same widths and heights. */
CLI_API void table_group_print(table_group *g, pager *p);

/* Releases the group and its tables; a null pointer is harmless. */
CLI_API void table_group_free(table_group *g);

#ifdef __cplusplus
}
#endif

#endif
