/* A host in C: its own handler, and one of a plug-in that it loads first. */
#include <cli_engine/cli_engine.h>
#include <dlfcn.h>
#include <stdio.h>

int hello(cli *engine, cli_node *node) {
  const char *name = json_string_value(cli_node_value(cli_node_find(node, "name")));
  pager_feedfmt(&engine->pager, "Hello %s from C", name);
  return 0;
}

int main(int argc, char **argv) {
  static cli engine;
  if (argc < 2 || dlopen(argv[1], RTLD_NOW | RTLD_GLOBAL) == NULL) {
    fprintf(stderr, "no plug-in: %s\n", dlerror());
    return 2;
  }
  json_t *language = json_loads(
      "{\"hello\": {\"#help\": \"Say hello\", \"#handler\": \"hello\", \"#args\":"
      "  [{\"#type\": \"string\", \"#name\": \"name\", \"#help\": \"Whom\"}]},"
      " \"plug\": {\"#help\": \"Ask the plug-in\", \"#handler\": \"plugged\"}}",
      0, NULL);
  validator_typesystem *types = validator_typesystem_new();
  if (cli_init(&engine, types, language, NULL, NULL) == NULL) {
    return 1;
  }
  json_decref(language);
  cli_execute(&engine, "hello world");
  cli_execute(&engine, "plug");
  puts(cli_engine_version());
  cli_free(&engine);
  validator_typesystem_free(types);
  return 0;
}
