// A host in C++: the same, with its texts in C++.
#define E_OK (0)  // as the menu library's header has it
#include <cli_engine/prefixed.h>
#include <cli_engine/table.h>
#include <dlfcn.h>

#include <cstdio>

extern "C" int hello(cli *engine, cli_node *node) {
  table *t = table_new(1, nullptr);
  table_set_header(t, 0, "Hello", nullptr);
  table_new_row(t, nullptr, nullptr);
  table_set_cell(t, 0, 0, json_string_value(cli_node_value(cli_node_find(node, "name"))), nullptr);
  table_print(t, &engine->pager, 1);
  table_free(t);
  return 0;
}

int main(int argc, char **argv) {
  if (argc < 2 || dlopen(argv[1], RTLD_NOW | RTLD_GLOBAL) == nullptr) {
    return 2;
  }
  json_t *language = json_pack("{s:{s:s,s:s,s:[{s:s,s:s,s:s}]},s:{s:s,s:s}}", "hello", "#help", "Say hello", "#handler",
                               "hello", "#args", "#type", "string", "#name", "name", "#help", "Whom", "plug", "#help",
                               "Ask the plug-in", "#handler", "plugged");
  validator_typesystem *types = validator_typesystem_new();
  cli engine{};
  if (cli_init(&engine, types, language, nullptr, nullptr) == nullptr) {
    return 1;
  }
  json_decref(language);
  cli_execute(&engine, "hello world");
  cli_execute(&engine, "plug");
  if (engine.parser.error->errcode != CLI_E_OK) {
    return E_OK + 3;
  }
  std::puts(cli_engine_version());
  cli_free(&engine);
  validator_typesystem_free(types);
}
