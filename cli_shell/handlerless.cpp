#include "cli_shell/handlerless.hpp"

#include "cli_shell/plugin.h"

extern "C" CLI_API int cli_shell_absent_handler(cli *engine, cli_node *node);

int cli_shell_absent_handler(cli *, cli_node *) {
  return 0;
}

namespace cli_shell {
namespace {

constexpr const char *kHandler = "#handler";
constexpr const char *kCommands = "#commands";

JsonRef definition_without_handler(json_t *definition, const char *handler) {
  json_t *const original = json_object_get(definition, kHandler);
  json_t *const commands = json_object_get(definition, kCommands);
  if (!json_is_string(original) && !json_is_object(commands)) return JsonRef(json_incref(definition));
  JsonRef copy(json_copy(definition));
  if (json_is_string(original)) {
    json_object_set(copy.get(), kOriginalHandler, original);
    json_object_set_new(copy.get(), kHandler, json_string(handler));
  }
  if (json_is_object(commands)) json_object_set_new(copy.get(), kCommands, handlerless(commands, handler).release());
  return copy;
}

}  // namespace

JsonRef handlerless(json_t *document, const char *handler) {
  if (!json_is_object(document)) return JsonRef(json_incref(document));
  JsonRef copy(json_object());
  const char *key;
  json_t *definition;
  json_object_foreach(document, key, definition)
      json_object_set_new(copy.get(), key, definition_without_handler(definition, handler).release());
  return copy;
}

}  // namespace cli_shell
