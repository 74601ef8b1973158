#include "tables.hpp"

#include "router.hpp"

namespace router {

namespace {

table_style style() {
  table_style style{};
  style.pad_left = 1;
  style.pad_right = 1;
  style.flags = TABLE_HEADER_RULE;
  return style;
}

std::string_view text_of(const content *cell) {
  const char *text = cell_get_line(cell, 0);
  return text == nullptr ? "" : text;
}

}  // namespace

Table::Table(const std::vector<Column> &columns) : columns_(columns) {
  const table_style look = style();
  table_.reset(table_new(static_cast<int>(columns.size()), &look));
  for (int column = 0; column < table_->ncols; ++column) {
    const Column &wanted = columns_[static_cast<size_t>(column)];
    const cell_attr attr = {.attr = 0, .halign = wanted.align, .valign = VALIGN_TOP};
    table_set_header(table_.get(), column, wanted.title, &attr);
  }
}

void Table::add_row(const std::vector<Cell> &cells, const char *label) {
  const cell_attr right = {.attr = 0, .halign = ALIGN_RIGHT, .valign = VALIGN_TOP};
  const int row = table_new_row(table_.get(), label, &right);
  for (size_t column = 0; column < cells.size(); ++column) {
    const cell_attr attr = {.attr = cells[column].colour, .halign = columns_[column].align, .valign = VALIGN_TOP};
    table_set_cell(table_.get(), row, static_cast<int>(column), cells[column].text.c_str(), &attr);
  }
}

void Table::print(cli *engine) {
  if (table_->nrows == 0) {
    say(engine, "There are none");
  } else {
    table_print(table_.get(), &engine->pager, 1);
  }
}

void TableGroup::add(const std::string &title, Table table) {
  titles_.push_back(title);
  table_group_add_table(group_.get(), titles_.back().c_str(), table.table_.release());
}

void TableGroup::print(cli *engine) {
  if (titles_.empty()) {
    say(engine, "There are none");
  } else {
    table_group_print(group_.get(), &engine->pager);
  }
}

int by_name(const content *a, const content *b) {
  return natural_less(text_of(b), text_of(a)) ? 1 : 0;
}

int by_amount(const content *a, const content *b) {
  return machine::unscaled(text_of(a)) < machine::unscaled(text_of(b)) ? 1 : 0;
}

}  // namespace router
