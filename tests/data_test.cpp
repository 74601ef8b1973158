// Commands that write data: one document each.
#include <gtest/gtest.h>

#include "cli_engine/table.h"
#include "engine_support.hpp"

namespace {

int collect(void *data, const char *text, size_t len) {
  static_cast<std::string *>(data)->append(text, len);
  return 0;
}

table *ports() {
  table *t = table_new(2, nullptr);
  table_set_header(t, 0, "Port", nullptr);
  const int row = table_new_row(t, nullptr, nullptr);
  table_set_cell(t, row, 0, "1\xff", nullptr);
  table_set_cell(t, row, 1, "\"up\"", nullptr);
  return t;
}

int show_table(cli *engine, cli_node *) {
  table *t = ports();
  pager_feed(&engine->pager, "before");
  pager_newline(&engine->pager);
  table_print(t, &engine->pager, 1);
  table_print(t, &engine->pager, 0);
  table_free(t);
  return pager_flush(&engine->pager);
}

int show_group(cli *engine, cli_node *) {
  table_group *g = table_group_new();
  table_group_add_table(g, "First", ports());
  table_group_print(g, &engine->pager);
  table_group_free(g);
  pager_feed(&engine->pager, "caf\xc3\xa9 \x01");
  pager_show(&engine->pager);
  return 0;
}

int defer(cli *engine, cli_node *) {
  cli_defer(engine);
  return 0;
}

constexpr cli_handler_entry kHandlers[] = {
    {"table", show_table}, {"group", show_group}, {"later", defer}, {nullptr, nullptr}};

struct Case {
  const char *line;
  const char *document;
};
constexpr Case kCases[] = {
    {"tab", R"({"command": "table", "tables": [{"title": null, "rows": [{"Port": "1�", "2": "\"up\""}]}, )"
            R"({"title": null, "rows": [{"Port": "1�", "2": "\"up\""}]}], "text": ["before"]})"},
    {"group", R"({"command": "group", "tables": [{"title": "First", "rows": [{"Port": "1�", "2": "\"up\""}]}], )"
              R"("text": ["café \u0001"]})"},
    {"later", R"({"command": "later", "tables": [], "text": ["answer"]})"},
    {"# comment", ""},
};

TEST(Data, IsOneDocumentACommand) {
  const engine_support::Json language(json_loads(
      R"({"table": {"#help": "t", "#handler": "table"}, "group": {"#help": "g", "#handler": "group"},
          "later": {"#help": "l", "#handler": "later"}})",
      0, nullptr));
  validator_typesystem *types = validator_typesystem_new();
  std::string output;
  cli engine = {};
  engine.handlers = kHandlers;
  engine.write = collect;
  engine.write_data = &output;
  engine.flags = CLI_DATA;
  ASSERT_NE(cli_init(&engine, types, language.get(), nullptr, nullptr), nullptr);
  for (const Case &c : kCases) {
    output.clear();
    cli_execute(&engine, c.line);
    pager_feed(&engine.pager, "answer");
    cli_finish(&engine, 0);
    EXPECT_EQ(output, *c.document == '\0' ? "" : c.document + std::string("\n")) << c.line;
  }
  cli_execute(&engine, "later");  // taken down while it is pending
  cli_free(&engine);
  validator_typesystem_free(types);
}

}  // namespace
