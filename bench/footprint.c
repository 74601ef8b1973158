/* What a loaded language takes of memory: footprint DEFINITION.json [PRIVILEGES.json], or footprint --text
 * DEFINITION.json for one that is read from text, with the peak while it is loaded
 *
 * Handlers and value types of the language's own host are not needed. The blocks of the allocator are counted, before
 * and after cli_init: nodes, texts, references, the engine's own buffers; the JSON document is not among them. */
#include <malloc.h>
#include <stdio.h>
#include <string.h>
#include <sys/resource.h>

#include "cli_engine/cli_engine.h"

CLI_API int footprint_handler(cli *engine, cli_node *node) {
  (void)engine;
  (void)node;
  return 0;
}

/* Registers a type of that name, unless there is one. */
static void make_type(validator_typesystem *types, const char *name) {
  static validator_type own[64];
  static size_t count = 0;
  for (size_t i = 0; i < count; i++) {
    if (strcmp(own[i].name, name) == 0) {
      return;
    }
  }
  if (count < sizeof own / sizeof own[0]) {
    own[count].name = name;
    validator_typesystem_add_custom_type(types, &own[count++]);
  }
}

/* Gives every "#handler" of a document this program's own, and every "#type" a meaning. */
static void make_loadable(validator_typesystem *types, json_t *json) {
  const char *key = NULL;
  json_t *value = NULL;
  size_t i = 0;
  json_array_foreach(json, i, value) {
    make_loadable(types, value);
  }
  json_object_foreach(json, key, value) {
    if (strcmp(key, "#handler") == 0) {
      json_string_set(value, "footprint_handler");
    } else if (strcmp(key, "#type") == 0 && json_is_string(value)) {
      make_type(types, json_string_value(value));
    }
    make_loadable(types, value);
  }
}

static size_t count_nodes(const cli_node *node) {
  size_t count = 1;
  for (const cli_node *arg = cli_node_first_arg(node); arg != NULL; arg = cli_node_next_arg(arg)) {
    count += count_nodes(arg);
  }
  for (const cli_node *word = cli_node_first_choice(node); word != NULL; word = cli_node_next_choice(word)) {
    count += count_nodes(word);
  }
  return count;
}

static json_t *document(const char *path) {
  json_error_t error;
  json_t *json = json_load_file(path, JSON_REJECT_DUPLICATES, &error);
  if (json == NULL) {
    fprintf(stderr, "%s:%d: %s\n", path, error.line, error.text);
  }
  return json;
}

/* The most memory that the process has had resident so far, in bytes. */
static size_t peak(void) {
  struct rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return (size_t)usage.ru_maxrss * 1024;
}

/* A document for the handlers of the benchmarks. */
static int measure_text(const char *path) {
  static const cli_handler_entry handlers[] = {{"bench_handler", footprint_handler}, {NULL, NULL}};
  const cli_language_source source = {path, NULL, handlers, CLI_HANDLERS_ONLY, footprint_handler, footprint_handler};
  static cli engine;
  validator_typesystem *types = validator_typesystem_new();
  const size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
  const size_t peak_before = peak();
  cli_language *language = cli_language_load(types, &source, NULL, NULL);
  if (cli_init_language(&engine, language, NULL) == NULL) {
    return 2;
  }
  const size_t bytes = mallinfo2().uordblks + mallinfo2().hblkhd - before;
  const size_t nodes = count_nodes(&engine.root);
  printf("%zu nodes with their texts take %zu bytes, %.0f each; while they were loaded, at most %zu.\n", nodes, bytes,
         (double)bytes / (double)nodes, peak() - peak_before);
  cli_free(&engine);
  cli_language_free(language);
  validator_typesystem_free(types);
  return 0;
}

int main(int argc, char **argv) {
  if (argc == 3 && strcmp(argv[1], "--text") == 0) {
    return measure_text(argv[2]);
  }
  static cli engine;
  json_t *definitions = argc > 1 ? document(argv[1]) : NULL;
  json_t *privileges = argc > 2 ? document(argv[2]) : NULL;
  validator_typesystem *types = validator_typesystem_new();
  make_loadable(types, definitions);
  engine.exit_handler = footprint_handler;
  engine.end_handler = footprint_handler;
  const size_t before = mallinfo2().uordblks;
  if (cli_init(&engine, types, definitions, NULL, privileges) == NULL) {
    return 2;
  }
  const size_t bytes = mallinfo2().uordblks - before;
  const size_t nodes = count_nodes(&engine.root);
  printf("The engine record holds %zu bytes.\n", sizeof engine);
  printf("%zu nodes with their texts take %zu bytes, %.0f each, of which %zu are the node itself.\n", nodes, bytes,
         (double)bytes / (double)nodes, sizeof(cli_node));
  cli_free(&engine);
  validator_typesystem_free(types);
  json_decref(definitions);
  json_decref(privileges);
  return 0;
}
