// Handlers for the language that the tests of cli-shell speak.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "cli_shell/plugin.h"

namespace {

json_int_t number(cli_node *node, const char *name) {
  return json_integer_value(cli_node_value(cli_node_find(node, name)));
}

const char *text(cli_node *node, const char *name) {
  return json_string_value(cli_node_value(cli_node_find(node, name)));
}

void feed_line(cli *engine, const char *line) {
  pager_feed(&engine->pager, line);
  pager_newline(&engine->pager);
}

int has_digits_only(const validator *, const char *value, size_t) {
  return value[std::strspn(value, "0123456789")] == '\0' ? MATCH_COMPLETE : MATCH_NONE;
}

constexpr const char *kConfig[] = {
    "interface \033[32meth0\033[m",
    " mtu 1500",
    " address 192.0.2.1",
    "  secondary",
    "interface eth1",
    " mtu 9000",
    "end",
};

}  // namespace

extern "C" {

CLI_API int shell_test_lines(cli *engine, cli_node *node) {
  for (json_int_t i = 1; i <= number(node, "count"); ++i) feed_line(engine, ("line " + std::to_string(i)).c_str());
  return 0;
}

CLI_API int shell_test_config(cli *engine, cli_node *) {
  for (const char *line : kConfig) feed_line(engine, line);
  return 0;
}

CLI_API int shell_test_bytes(cli *, cli_node *node) {
  const std::string digits = text(node, "digits");
  for (size_t i = 0; i + 1 < digits.size(); i += 2) std::putchar(std::stoi(digits.substr(i, 2), nullptr, 16));
  return 0;
}

CLI_API int shell_test_text(cli *engine, cli_node *node) {
  feed_line(engine, text(node, "text"));
  return 0;
}

CLI_API int shell_test_system(cli *engine, cli_node *node) {
  std::puts("before");
  std::fflush(stdout);
  const int status = std::system(text(node, "command"));
  std::puts(status == 0 ? "after" : "failed");
  if (WIFSIGNALED(status)) cli_interrupt(engine);
  return status;
}

CLI_API int shell_test_ask(cli *engine, cli_node *) {
  char answer[9];
  const int result = cli_shell_ask(engine, "Password:", 0, answer, sizeof answer);
  std::printf("asked %d '%s'\n", result, answer);
  return 0;
}

CLI_API int shell_test_level(cli *engine, cli_node *) {
  pager_feedfmt(&engine->pager, "level %d", parser_get_privilege(&engine->parser));
  pager_newline(&engine->pager);
  return 0;
}

CLI_API int shell_test_terminal(cli *, cli_node *node) {
  return setenv("CLI_SHELL_MORE", number(node, "more") ? "1" : "0", 1);
}

void cli_shell_register_types(validator_typesystem *types) {
  static validator_type pin;
  pin.basetype = BASETYPE_STRING;
  pin.name = "pin";
  pin.defaults.max_length = 8;
  pin.match_fn.text = has_digits_only;
  validator_typesystem_add_custom_type(types, &pin);
}

void cli_shell_start(cli *) {
  std::puts("started");
}

void cli_shell_stop(cli *) {
  std::puts("stopped");
}

void cli_shell_complete(cli *, cli_node *value, const char *, json_t *result) {
  if (std::strcmp(value->name, "port") != 0) return;
  for (const char *port : {"eth0", "eth1", "lo", "my port"}) json_array_append_new(result, json_string(port));
}

const char *const *cli_shell_secrets() {
  static const char *const names[] = {"pin", nullptr};
  return names;
}
}
