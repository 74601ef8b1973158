#include "cli_engine/data.hpp"

#include "cli_engine/json_ref.hpp"
#include "cli_engine/output.hpp"
#include "cli_engine/table_data.hpp"
#include "cli_engine/tokenizer.hpp"
#include "cli_engine/utf8.hpp"

namespace cli_engine {
namespace {

constexpr const char *kSource = "cli_engine/executor";

void append_json(DynString &out, const json_t *value) {
  const JsonText text(value == nullptr ? nullptr : json_dumps(value, JSON_ENCODE_ANY));
  if (text == nullptr) {
    libglobal::report_exhausted(LIBGLOBAL_CALLER(kSource));
  }
  libglobal::append(out, text.get());
}

void append_json_text(DynString &out, std::string_view text) {
  const libglobal::DynStringOwner valid(dyn_string_new());
  append_utf8(*valid, text);
  append_json(out, JsonRef(json_stringn_nocheck(dyn_string_text(valid.get()), valid->len)).get());
}

}  // namespace

void begin_data(cli *engine, Data &data) {
  drop_data(data);
  data.command = dyn_string_new();
  data.tables = dyn_string_new();
  cli_print_command(tokenizer_first(&engine->tokenizer), data.command, 0, nullptr);
  if (data.command->len != 0) {
    libglobal::truncate(*data.command, data.command->len - 1);  // the blank behind the last word
  }
}

void end_data(cli *engine, Data &data) {
  const libglobal::DynStringOwner text(dyn_string_new());
  libglobal::append(*text, "{\"command\": ");
  append_json_text(*text, libglobal::view(*data.command));
  libglobal::append(*text, ", \"tables\": [");
  write_out(engine, *text);
  write_out(engine, *data.tables);
  libglobal::append(*text, "], \"text\": [");
  const char *between = "";
  for (const pager_line_entry *line = engine->pager.lines.first; line != nullptr; line = line->next) {
    if (line->next == nullptr && line->text->len == 0) {
      break;  // the open line
    }
    libglobal::append(*text, between);
    append_json_text(*text, libglobal::view(*line->text));
    write_out(engine, *text);
    between = ", ";
  }
  libglobal::append(*text, "]}\n");
  write_out(engine, *text);
  pager_clear(&engine->pager);
  drop_data(data);
}

void drop_data(Data &data) {
  dyn_string_free(data.command);
  dyn_string_free(data.tables);
  data = {};
}

bool writes_data(const pager &p) {
  const Output *output = output_of(p);
  return output != nullptr && output->data.command != nullptr;
}

bool take_table(const pager &p, const char *title, const table &t) {
  if (!writes_data(p)) {
    return false;
  }
  DynString &out = *output_of(p)->data.tables;
  libglobal::append(out, out.len == 0 ? "{\"title\": " : ", {\"title\": ");
  if (title == nullptr) {
    libglobal::append(out, "null");
  } else {
    append_json_text(out, title);
  }
  libglobal::append(out, ", \"rows\": [");
  TableRows rows(t);
  for (int32_t row = 0; row < t.nrows; row++) {
    libglobal::append(out, row == 0 ? "" : ", ");
    append_json(out, rows.row(row).get());
  }
  libglobal::append(out, "]}");
  return true;
}

}  // namespace cli_engine
