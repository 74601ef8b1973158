// Whole engines over small languages: lines in, screens out.
#include <gtest/gtest.h>

#include "engine_support.hpp"

using engine_support::cases;
using engine_support::Engine;
using engine_support::for_each_case;
using engine_support::json;
using engine_support::Json;
using engine_support::printed_by;
using engine_support::texts_of;

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

Json language() {
  return cases("engine.json", "language");
}

const char *text_at(const json_t *list, size_t i) {
  return json_string_value(json_array_get(list, i));
}

// What random sessions show in conformance_test, here once for the reader; and values of types that those have not.
TEST(Engine, Screens) {
  Engine engine(language().get(), nullptr);
  for_each_case("engine.json", "screens", [&](const json_t *row) {
    std::string screen;
    for (const std::string &line : texts_of(json_array_get(row, 1))) screen += line + "\n";
    EXPECT_EQ(engine.execute(text_at(row, 0)), screen);
  });
  EXPECT_EQ(engine.error(), E_EXTRA_INPUT) << "left for the host";
  EXPECT_EQ(engine.help("s"),
            "> [?]\n{32}show{}    \tShow things\n{32}shutdown{}\tStop\n"
            "{32}*sr=show interfaces{}      \t\n{32}state{}   \tSet it\n");
  EXPECT_EQ(engine.help("mtu 5"), "> [{32}mtu{} ?]\n{36}size <68-9000>{}\tBytes\n");
  EXPECT_EQ(engine.complete("state O"), R"(["on ", "off ", "other "])");
}

TEST(Engine, ModesKeepTheLinesThatEnteredThem) {
  Engine engine(language().get(), nullptr);
  // Lines, the prompts after them, the numbers of the VLAN found then.
  for_each_case("engine.json", "modes", [&](const json_t *row) {
    engine.execute(text_at(row, 0));
    EXPECT_STREQ(engine->prompt_text, text_at(row, 1));
    const json_t *id = cli_node_value(cli_node_find(&engine->root, "interface vlan id"));
    EXPECT_EQ(json_integer_value(id), json_integer_value(json_array_get(row, 2)));
  });
}

TEST(EngineDeathTest, ConditionsAreStringsOrArrays) {
  Engine engine(language().get(), nullptr);
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
  Engine engine(language().get(), nullptr);
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
