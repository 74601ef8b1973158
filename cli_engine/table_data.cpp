#include "cli_engine/table_data.hpp"

#include "cli_engine/table.hpp"
#include "cli_engine/utf8.hpp"

namespace cli_engine {
namespace {

// The lines of a cell with breaks between them.
void append_cell(DynString &out, const content &cell) {
  for (const content_line *line = cell.lines.first; line != nullptr; line = line->next) {
    append_utf8(out, {line->text, static_cast<std::size_t>(line->len)});
    if (line->next != nullptr) {
      libglobal::append(out, '\n');
    }
  }
}

bool has_labels(const table &t) {
  for (int32_t row = 0; row < t.nrows; row++) {
    if (table_row_cells(t, row)[0].lines.first != nullptr) {
      return true;
    }
  }
  return false;
}

void require_memory(bool had, const char *function) {
  if (!had) {
    libglobal::report_exhausted({kTableSource, function, __LINE__});
  }
}

}  // namespace

TableRows::TableRows(const table &t) : table_(t), text_(dyn_string_new()) {
  keys_.reserve(static_cast<std::size_t>(t.ncols) + 1);
  keys_.emplace_back();
  if (has_labels(t)) {
    keys_.front().reset(dyn_string_new());
    libglobal::append(*keys_.front(), "label");
  }
  for (int32_t col = 0; col < t.ncols; col++) {
    keys_.push_back(key_for(col));
  }
}

// The header's text or, without one, the column's number. What an earlier column has taken gets the number behind it,
// so that no column is lost.
libglobal::DynStringOwner TableRows::key_for(int32_t col) const {
  libglobal::DynStringOwner key(dyn_string_new());
  append_cell(*key, table_header_cells(table_)[col + 1]);
  if (key->len == 0) {
    dyn_string_appendf(key.get(), "%d", col + 1);
  }
  while (is_taken(*key)) {
    dyn_string_appendf(key.get(), " (%d)", col + 1);
  }
  return key;
}

bool TableRows::is_taken(const DynString &key) const {
  for (const libglobal::DynStringOwner &other : keys_) {
    if (other != nullptr && libglobal::view(*other) == libglobal::view(key)) {
      return true;
    }
  }
  return false;
}

JsonRef TableRows::row(int32_t place) {
  const content *cells = table_row_cells(table_, place);
  JsonRef object(json_object());
  require_memory(object != nullptr, __func__);
  for (std::size_t i = 0; i < keys_.size(); i++) {
    if (keys_[i] != nullptr) {
      set(object.get(), i, cells[i]);
    }
  }
  return object;
}

void TableRows::set(json_t *object, std::size_t key, const content &cell) {
  libglobal::clear(*text_);
  append_cell(*text_, cell);
  json_t *const value = json_stringn_nocheck(text_->data, text_->len);
  require_memory(json_object_set_new_nocheck(object, dyn_string_text(keys_[key].get()), value) == 0, __func__);
}

}  // namespace cli_engine

json_t *table_to_json(const table *t) {
  if (t == nullptr) {
    return nullptr;
  }
  cli_engine::JsonRef rows(json_array());
  cli_engine::require_memory(rows != nullptr, __func__);
  cli_engine::TableRows source(*t);
  for (int32_t row = 0; row < t->nrows; row++) {
    cli_engine::require_memory(json_array_append_new(rows.get(), source.row(row).release()) == 0, __func__);
  }
  return rows.release();
}
