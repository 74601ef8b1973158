// Documents that load, the texts of their help templates, and the report of each fault that ends the process: many of
// them in data/loader.json.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>
#include <functional>

#include "engine_support.hpp"

using engine_support::Engine;
using engine_support::for_each_case;
using engine_support::json;
using engine_support::Json;
using engine_support::printed_by;
using engine_support::text_of;
using engine_support::texts_of;

extern "C" {
CLI_API int loader_handler(cli *engine, cli_node *node);
}
int loader_handler(cli *, cli_node *) {
  return 0;
}

namespace {

const char *text_in(const json_t *object, const char *member) {
  const char *text = json_string_value(json_object_get(object, member));
  return text != nullptr ? text : "";
}

TEST(Loader, DumpsShowWordsInOrderAndEveryArgument) {
  for_each_case("loader.json", "dumps", [&](json_t *row) {
    Engine engine(json_object_get(row, "definitions"), nullptr);
    std::string lines;
    for (const std::string &line : texts_of(json_object_get(row, "dump"))) lines += line + "\n";
    EXPECT_EQ(printed_by([&] { cli_debug_dump(engine.get()); }), lines);
  });
}

TEST(Loader, BuiltInExitIsExplainedByItsVariant) {
  Engine engine(R"({
    'one': {'#help': 'h', '#prompt': [{'value': 'a', 'if': 'x', 'description': 'first'},
                                      {'value': 'b', 'description': 'second'}]},
    'two': {'#help': 'h', '#prompt': 'two', '#commands': {'exit': {'#help': 'own', '#handler': 'loader_handler'}}}})");
  engine.execute("one");
  EXPECT_THAT(engine.help("e"), testing::HasSubstr("Exit from second configure mode"));
  engine.execute("two");
  EXPECT_EQ(engine.help("ex"), "> [?]\n{32}exit{}\town\n");
}

int table_handler(cli *, cli_node *) {
  return 0;
}

TEST(Loader, HandlersComeFromTheHostsTableFirst) {
  const cli_handler_entry rows[] = {{"loader_handler", table_handler}, {"own", table_handler}, {nullptr, nullptr}};
  const std::unique_ptr<validator_typesystem, decltype(&validator_typesystem_free)> types(validator_typesystem_new(),
                                                                                          validator_typesystem_free);
  const auto handler_of = [&](const char *definitions, uint32_t flags) {
    cli engine = {};
    engine.handlers = rows;
    engine.flags = flags;
    cli_init(&engine, types.get(), json(definitions).get(), nullptr, nullptr);
    const cli_handler handler = cli_node_first_choice(&engine.root)->subconfig.handler;
    cli_free(&engine);
    return handler;
  };
  EXPECT_EQ(handler_of("{'a': {'#help': 'h', '#handler': 'own'}}", CLI_HANDLERS_ONLY), table_handler);
  EXPECT_EQ(handler_of("{'a': {'#help': 'h', '#handler': 'loader_handler'}}", 0), table_handler);
  EXPECT_NE(handler_of("{'a': {'#help': 'h', '#handler': 'cli_free'}}", 0), nullptr);
  EXPECT_EXIT(handler_of("{'a': {'#help': 'h', '#handler': 'cli_free'}}", CLI_HANDLERS_ONLY),
              testing::ExitedWithCode(1), "");
}

TEST(Loader, HelpTemplatesAreExpanded) {
  for_each_case("loader.json", "helps", [&](json_t *row) {
    const Json document{json_pack("{s:{s:O}}", "a", "#help", json_object_get(row, "help"))};
    Engine engine(document.get(), nullptr);
    EXPECT_STREQ(cli_node_first_choice(&engine->root)->help, text_in(row, "text"));
  });
}

// The report goes to standard output before an exit, to standard error before an abort.
void expect_end(const std::function<void()> &load, bool exits, const char *report) {
  const auto ended = [&](int status) {
    return exits ? WIFEXITED(status) && WEXITSTATUS(status) == 1 : WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT;
  };
  EXPECT_EXIT((dup2(STDERR_FILENO, STDOUT_FILENO), load()), ended, testing::HasSubstr(report));
}

TEST(LoaderDeathTest, EveryFaultIsReported) {
  for_each_case("loader.json", "faults", [&](json_t *row) {
    const auto load = [&] { Engine(json_object_get(row, "definitions"), json_object_get(row, "privileges")); };
    expect_end(load, json_is_true(json_object_get(row, "exits")), text_in(row, "report"));
  });
  expect_end([] { Engine("{'" + std::string(4096, 'k') + "': {}}"); }, false, "(with length 4096)");
  Engine engine("{}");
  const Json unchecked = json("{'a': {'#help': 'h'}, 'a b': {'#help': 'h', '#prompt': [{}]}}");
  expect_end([&] { cli_load_commands(engine.get(), engine.types(), unchecked.get(), nullptr); }, false,
             "import_subconfig: assertion \"new_prompt\" failed");
}

// Built in memory, since a reader refuses such texts. The document is let go level by level, as its own release
// recurses.
Json nested_commands(int levels) {
  json_t *definition = json_pack("{s:s}", "#help", "h");
  for (int i = 0; i < levels; i++) {
    definition = json_pack("{s:s,s:{s:o}}", "#help", "h", "#commands", "w", definition);
  }
  return Json{json_pack("{s:o}", "w", definition)};
}

Json nested_args(int levels) {
  json_t *argument = json_pack("{s:s,s:s,s:s}", "#type", "key", "#name", "k", "#help", "h");
  for (int i = 1; i < levels; i++) {
    argument = json_pack("{s:s,s:[o]}", "#type", "container", "#args", argument);
  }
  return Json{json_pack("{s:{s:s,s:s,s:[o]}}", "c", "#help", "h", "#handler", "loader_handler", "#args", argument)};
}

TEST(LoaderDeathTest, NestsAsDeepAsItSays) {
  Engine engine("{}");
  const auto load = [&](const Json &document) {
    cli_unload_commands(engine.get());
    return cli_load_commands(engine.get(), engine.types(), document.get(), nullptr);
  };
  EXPECT_EQ(load(nested_commands(4096)), 0);
  engine.execute("w w w");
  EXPECT_EQ(load(nested_args(4096)), 0);
  EXPECT_EQ(engine.execute("c k"), "{32}c{} {33}k{} \n");
  for (const bool commands : {true, false}) {
    const Json document = commands ? nested_commands(4097) : nested_args(4097);
    expect_end([&] { load(document); }, true, "nest deeper than 4096 levels");
  }
}

}  // namespace
