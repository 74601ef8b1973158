// Tables as this example draws them: a rule under the header, two blanks between columns.
#ifndef EXAMPLES_ROUTER_TABLES_HPP
#define EXAMPLES_ROUTER_TABLES_HPP

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "cli_engine/cli_engine.h"
#include "cli_engine/table.h"

namespace router {

enum Colour : uint32_t { kPlain = 0, kRed = 1, kGreen = 2, kYellow = 3 };

struct Column {
  const char *title;
  uint8_t align = ALIGN_LEFT;
};

struct Cell {
  std::string text;
  Colour colour = kPlain;
};

class Table {
 public:
  explicit Table(const std::vector<Column> &columns);

  void add_row(const std::vector<Cell> &cells, const char *label = nullptr);
  void sort(int column, table_compare compare) { table_sort(table_.get(), column, compare); }

  // Prints the table, or one line that there is nothing to show.
  void print(cli *engine);

 private:
  friend class TableGroup;
  struct Release {
    void operator()(table *t) const { table_free(t); }
  };
  std::vector<Column> columns_;
  std::unique_ptr<table, Release> table_;
};

// Tables under titles, with columns of one width.
class TableGroup {
 public:
  void add(const std::string &title, Table table);
  void print(cli *engine);

 private:
  struct Release {
    void operator()(table_group *g) const { table_group_free(g); }
  };
  std::deque<std::string> titles_;  // the group borrows them, so they must stay where they are
  std::unique_ptr<table_group, Release> group_{table_group_new()};
};

// Orders for Table::sort: texts with numbers in them, and amounts as machine::scaled writes them, the largest first.
int by_name(const content *a, const content *b);
int by_amount(const content *a, const content *b);

}  // namespace router

#endif
