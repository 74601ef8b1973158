// Whole engines over small languages: lines in, screens out.
#include <gtest/gtest.h>

#include "engine_support.hpp"

using engine_support::Engine;
using engine_support::json;
using engine_support::Json;
using engine_support::printed_by;

extern "C" {
CLI_API int test_show_call(cli *engine, cli_node *node);  // says what was called, with the first argument's value
CLI_API int test_refuse(cli *engine, cli_node *node);
CLI_API int test_leave_all(cli *engine, cli_node *node);  // behind the executor's back
}

int test_show_call(cli *engine, cli_node *node) {
  json_t *value = cli_node_value(cli_node_first_arg(node));
  pager_feedfmt(&engine->pager, "<%s %s>", node->name, json_is_string(value) ? json_string_value(value) : "");
  return 1;
}

int test_refuse(cli *, cli_node *) {
  return 7;
}

int test_leave_all(cli *engine, cli_node *) {
  cli_reset_subconfig(engine);
  return 0;
}

namespace {

const std::string kLanguage = R"({
  'show': {'#help': 'Show things'},
  'show interfaces': {'#help': 'All of them', '#handler': 'test_show_call'},
  'shutdown': {'#help': 'Stop', '#handler': 'test_show_call'},
  'mtu': {'#help': 'Set the MTU', '#handler': 'test_show_call', '#args': [
    {'#type': 'int', '#name': 'size', '#help': 'Bytes', '#min_inclusive': 68, '#max_inclusive': 9000}]},
  'to': {'#help': 'Where to', '#handler': 'test_show_call', '#args': [
    {'#type': 'IPv4Address', '#name': 'address', '#help': 'Address'}]},
  'state': {'#help': 'Set it', '#handler': 'test_show_call', '#args': [
    {'#type': 'string', '#name': 'value', '#help': 'On or off', '#enum': ['on', 'off', 'other']}]},
  'sr': {'#alias': 'show interfaces'},
  'ring': {'#alias': 'ring again'},
  'interface': {'#help': 'Configure one', '#prompt': [
      {'value': 'config-vlan', 'if': 'interface vlan', 'description': 'VLAN'},
      {'value': 'config-if', 'description': 'interface'}],
    '#args': [{'#type': 'container', '#exclusive': true, '#args': [
      {'#type': 'key', '#name': 'vlan', '#help': 'A VLAN',
        '#args': [{'#type': 'unsignedInt', '#name': 'id', '#help': 'Number', '#max_inclusive': 4094}]},
      {'#type': 'string', '#name': 'name', '#help': 'Name'}]}],
    '#commands': {
      'mtu': {'#help': 'MTU here', '#handler': 'test_show_call'},
      'leave': {'#help': 'Leaves on its own', '#prompt': 'gone', '#handler': 'test_leave_all'},
      'never': {'#help': 'Refuses', '#prompt': 'never', '#handler': 'test_refuse'},
      'unit': {'#help': 'A unit', '#prompt': 'unit'}}}
})";

// What random sessions show in conformance_test, here once for the reader; and values of types that those have not.
TEST(Engine, Screens) {
  Engine engine(kLanguage);
  const std::string top =
      "Available: \n"
      "\t{32}interface{}:\tConfigure one\n"
      "\t{32}mtu{}:      \tSet the MTU\n"
      "\t{32}show{}:     \tShow things\n"
      "\t{32}shutdown{}: \tStop\n"
      "\t{32}state{}:    \tSet it\n"
      "\t{32}to{}:       \tWhere to\n";
  const std::pair<const char *, std::string> session[] = {
      {"#anything", ""},
      {"SHOW int", "{32}show{} {32}interfaces{} \n<interfaces >\n"},
      {"sr", "{32}show{} {32}interfaces{} \n<interfaces >\n"},
      {"to 10.0.0.1", "{32}to{} {36}10.0.0.1{} \n<to 10.0.0.1>\n"},
      {"state of", "{32}state{} {36}of{} \n<state off>\n"},
      {"sh", "{31}sh \n^\n{35}Ambiguous input{} at 'sh': ''\n" + top},
      {"mtu abc",
       "{32}mtu{} {31}abc \n    ^\n{35}Invalid argument{} at 'abc': 'size'\n"
       "Available: \n\t{36}size <68-9000>{}:\tBytes\n"},
      {"ring",
       "{31}ring again again again again again again again again again again again again again again again again \n"
       "^\n{35}Extra input at end of command{} at 'ring': ''\n" +
           top}};
  for (const auto &[line, screen] : session) {
    EXPECT_EQ(engine.execute(line), screen) << line;
  }
  EXPECT_EQ(engine.error(), E_EXTRA_INPUT) << "left for the host";
  EXPECT_EQ(engine.help("s"),
            "> [?]\n{32}show{}    \tShow things\n{32}shutdown{}\tStop\n"
            "{32}*sr=show interfaces{}      \t\n{32}state{}   \tSet it\n");
  EXPECT_EQ(engine.help("mtu 5"), "> [{32}mtu{} ?]\n{36}size <68-9000>{}\tBytes\n");
  EXPECT_EQ(engine.complete("state O"), R"(["on ", "off ", "other "])");
}

TEST(Engine, ModesKeepTheLinesThatEnteredThem) {
  Engine engine(kLanguage);
  const struct {
    const char *line, *prompt;
    int id;  // of the VLAN
  } session[] = {
      {"interface vlan 7", "cli(config-vlan)> ", 7},
      {"unit", "cli(unit)> ", 7},
      {"do show interfaces", "cli(unit)> ", 0},  // only what the last line used is found
      {"nonsense", "cli(unit)> ", 7},
      {"mtu", "cli(config-vlan)> ", 7},  // found in the enclosing mode
      {"never", "cli(config-vlan)> ", 7},
      {"leave", "cli> ", 0},
      {"interface eth0", "cli(config-if)> ", 0},
      {"interface eth1", "cli(config-if)> ", 0},  // a sibling mode replaces the present one
      {"shutdown", "cli> ", 0},
  };
  for (const auto &row : session) {
    engine.execute(row.line);
    EXPECT_STREQ(engine->prompt_text, row.prompt) << row.line;
    const json_t *id = cli_node_value(cli_node_find(&engine->root, "interface vlan id"));
    EXPECT_EQ(json_integer_value(id), row.id) << row.line;
  }
}

TEST(EngineDeathTest, ConditionsAreStringsOrArrays) {
  Engine engine(kLanguage);
  EXPECT_DEATH(cli_check_parameter_condition(engine.get(), json("{'if': 1}").get()),
               "cli_engine/cli_engine:check_condition: assertion \"0\" failed: Condition type is not supported");
}

TEST(Engine, PromptPartsAreCutToTheirFields) {
  cli engine{};
  validator_typesystem *types = validator_typesystem_new();
  engine.level = 5;
  engine.prompt_end = '#';
  const Json document = json("{}");
  ASSERT_EQ(cli_init(&engine, types, document.get(), &engine, nullptr), &engine);
  EXPECT_STREQ(engine.prompt_text, "cli# ");
  EXPECT_EQ(engine.level, 5);
  EXPECT_EQ(engine.context, &engine);
  const std::string euros = "€€€€€€€€€€€€";  // 36 bytes
  cli_set_prompt(&engine, euros.c_str(), "12345678901234€", euros.c_str(), 0);
  EXPECT_EQ(engine.prompt_text, euros.substr(0, 30) + "12345678901234\xE2" + euros.substr(0, 30) + "# ");
  cli_set_prompt(&engine, engine.prompt_host, nullptr, "", 0);
  EXPECT_EQ(engine.prompt_text, euros.substr(0, 30) + "12345678901234\xE2# ");
  cli_free(&engine);
  cli_free(&engine);
  validator_typesystem_free(types);
}

TEST(Engine, LanguagesAreExchangedWhileItRuns) {
  Engine engine(kLanguage);
  engine.execute("interface vlan 5");
  EXPECT_EQ(printed_by([&] { EXPECT_EQ(cli_load_commands(engine.get(), engine.types(), nullptr, nullptr), -1); }),
            "Cannot load command DM\n");
  cli_reset_subconfig(engine.get());
  cli_unload_commands(engine.get());
  EXPECT_EQ(cli_node_first_choice(&engine->root), nullptr);
  EXPECT_EQ(engine->root.completed, 0);
  EXPECT_EQ(engine.execute("show"), "{31}show \n^\n{35}Extra input at end of command{} at 'show': ''\n");
  const Json other = json("{'hello': {'#help': 'Hi', '#handler': 'test_show_call'}}");
  EXPECT_EQ(cli_load_commands(engine.get(), engine.types(), other.get(), nullptr), 0);
  EXPECT_EQ(engine.execute("hel"), "{32}hello{} \n<hello >\n");
}

}  // namespace
