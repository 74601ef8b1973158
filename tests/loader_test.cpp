// Documents that load, and the report of each fault that ends the process.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "engine_support.hpp"

using engine_support::Engine;
using engine_support::json;
using engine_support::Json;
using engine_support::printed_by;

extern "C" {
CLI_API int loader_handler(cli *engine, cli_node *node);
}
int loader_handler(cli *, cli_node *) {
  return 0;
}

namespace {

std::string dump(const std::string &definitions) {
  Engine engine(definitions);
  return printed_by([&] { cli_debug_dump(engine.get()); });
}

TEST(Loader, KeepsWordsInOrderAndTheFirstOfEqualNames) {
  EXPECT_EQ(dump("{}"), "");
  EXPECT_EQ(dump(R"({
    'c': {'#help': 'h', '#handler': 'loader_handler'},
    'B': {'#help': 'h', '#handler': 'loader_handler'},
    'ab': {'#help': 'h', '#handler': 'loader_handler'},
    'a': {'#help': 'h', '#handler': 'loader_handler'},
    'b': {'#help': 'an equal name', '#handler': 'loader_handler', '#commands': {'lost': {'#help': 'h'}}},
    'A   AB': {'#help': 'a path in another case', '#handler': 'loader_handler'},
    'alias': {'#alias': 'a ab', '#handler': 'loader_handler'},
    'mode': {'#help': 'h', '#prompt': 'm', '#alias': 'a', '#handler': 'loader_handler'}
  })"),
            "a\na AB\nab\nB\nc\nmode\nmode end\nmode exit\n");
}

TEST(Loader, DumpShowsEveryArgument) {
  EXPECT_EQ(dump(R"({
    'show': {'#help': 'h', '#handler': 'loader_handler', '#args': [
      {'#type': 'key', '#name': 'detail', '#help': 'h', '#optional': true},
      {'#type': 'container', '#exclusive': true, '#args': [
        {'#type': 'key', '#name': 'brief', '#help': 'h'}, {'#type': 'key', '#name': 'full', '#help': 'h'}]}]},
    'set': {'#help': 'h', '#handler': 'loader_handler', '#args': [
      {'#type': 'int', '#name': 'n', '#help': 'h', '#optional': true, '#multi': true, '#range': true},
      {'#type': 'string', '#name': 'm', '#help': 'h', '#multi': true},
      {'#type': 'container', '#args': [
        {'#type': 'key', '#name': 'k', '#help': 'h', '#optional': true,
         '#args': [{'#type': 'int', '#name': 'v', '#help': 'h', '#range': true}]},
        {'#type': 'key', '#name': 'l', '#help': 'h', '#optional': true}]},
      {'#type': 'container', '#sequential': true, '#exclusive': true, '#args': [
        {'#type': 'key', '#name': 'p', '#help': 'h'}, {'#type': 'key', '#name': 'q', '#help': 'h'}]},
      {'#type': 'container'}]},
    'word': {'#help': 'h', '#args': [{'#type': 'string', '#name': 'w', '#help': 'h'}]},
    'word sub': {'#help': 'h', '#handler': 'loader_handler'},
    'interface': {'#help': 'h', '#prompt': 'if', '#args': [{'#type': 'string', '#name': 'name', '#help': 'h'}],
      '#commands': {'shutdown': {'#help': 'h', '#handler': 'loader_handler'},
                    'exit': {'#help': 'own', '#handler': 'loader_handler'}}}
  })"),
            "interface <name>\n"
            "interface <name> end\n"
            "interface <name> exit\n"
            "interface <name> shutdown\n"
            "set [<n[,|-]>] <m[,]> [[k <v[-]>] | [l]] p q \n"
            "show [detail] {brief | full}\n"
            "word <w> sub\n");
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

TEST(Loader, LongestKeyLoads) {
  Engine engine("{'" + std::string(4095, 'k') + "': {'#help': 'h', '#handler': 'loader_handler'}}");
  EXPECT_EQ(cli_node_first_choice(&engine->root)->name_len, 4095U);
}

struct FaultCase {
  std::string definitions;
  int status;          // 1 for an exit, 0 for the assertion report
  const char *report;  // on standard output or on standard error
  const char *privileges = "null";
};

std::string with_args(const std::string &args) {
  return "{'c': {'#help': 'h', '#handler': 'loader_handler', '#args': [" + args + "]}}";
}

const FaultCase kFaults[] = {
    {"{'': {'#help': 'h'}}", 0,
     R"x(loader:import_subconfig: assertion "\(__commandlength > 0\) && \(__commandlength < 4096\)" failed: Invalid string:  \(with length 0\))x"},
    {"{'" + std::string(4096, 'k') + "': {}}", 0, R"x(\(with length 4096\))x"},
    {"{'show ip': {'#help': 'h'}, 'show': {'#help': 'h'}}", 0,
     R"x(loader:import_subconfig: assertion "parent != NULL" failed)x"},
    {"{'a': {'#alias': 'b'}, 'a c d': {'#help': 'h'}}", 0, R"x(loader:find_node: assertion "choices" failed)x"},
    {"{'a': {'#alias': 'b', '#commands': {'c': {'#help': 'h'}}}}", 0,
     R"x(loader:append_node_choice: assertion "0" failed: invalid parent type: 6)x"},
    {"{'a': {'#alias': 'b', '#args': []}}", 0,
     R"x(import_subconfig: assertion "new_node->type == TYPE_SUBCONFIG || new_node->type == TYPE_COMMAND || new_node->type == TYPE_WORD" failed)x"},
    {"{'a': {}}", 0, R"x(loader:new_node: assertion "help != NULL" failed)x"},
    {"{'a': 5}", 0, R"x(loader:new_node: assertion "help != NULL" failed)x"},
    {"{'a': {'#help': null}}", 0, R"x(get_help: .*: empty 'fmt' value in #help)x"},
    {"{'a': {'#help': 'h', '#prompt': ''}}", 0,
     R"x(loader:cli_select_prompt: assertion "json_string_length\(prompt\) > 0" failed: empty #prompt value: a)x"},
    {"{'a': {'#help': 'h', '#prompt': null}}", 0,
     R"x(assertion "json_typeof\(prompt\) == JSON_ARRAY" failed: #prompt must be a string or an array of variants: a)x"},
    {"{'a': {'#help': 'h', '#prompt': [{'value': 'x'}, {'value': ''}]}}", 0,
     R"x(assertion "value && \*value" failed: empty #prompt.1.value: a)x"},
    {"{'a': {'#help': 'h', '#prompt': [{'value': 'x', 'if': 'y'}]}}", 0,
     R"x(assertion "0" failed: cannot get fallback for #prompt: a)x"},
    {"{'a': {'#help': 'h', '#prompt': [{'value': 'x', 'if': null}]}}", 0, "Condition type is not supported"},
    {"{'a': {'#help': 'h', '#prompt': [{'value': 'x'}]}}", 1, "Cannot load command 'a': variant 0 "},
    {"{'a b': {'#help': 'h', '#handler': 'nowhere'}, 'a': {'#help': 'h'}}", 0, "parent != NULL"},
    {"{'a': {'#help': 'h', '#handler': 'nowhere'}}", 1, "Cannot load handler 'nowhere' for command 'a': .*nowhere"},
    {"{'a': {'#alias': 'b', '#handler': 'nowhere'}}", 1, "Cannot load handler 'nowhere' for command 'a': .*nowhere"},
    {"{'a': {'#help': 'h'}}", 1,
     "Invalid privilege '16' for command 'a': ", "{'1': {'Level': 16, 'Name': 'a', 'Prompt': ''}}"},
    {"{'a': {'#help': 'h'}}", 1, "Cannot load privilege '7': \"Name\" is not a string",
     "{'7': {'Level': 1, 'Prompt': ''}}"},
    {"{'m': {'#help': 'h', '#prompt': 'm', '#args': [{'#type': 'key', '#name': 'k', '#help': 'h'},"
     "{'#type': 'key', '#name': 'l', '#help': 'h'}]}}",
     0, R"x(append_node_arg: assertion "STAILQ_FIRST\(&parent->subconfig.args\) == NULL" failed)x"},
    {with_args("{'#type': 'key', '#name': 'k', '#help': 'h', '#args': [{'#type': 'int', '#name': 'i', '#help': 'h'},"
               "{'#type': 'int', '#name': 'j', '#help': 'h'}]}"),
     0, R"x(append_node_arg: assertion "STAILQ_FIRST\(&parent->key.args\) == NULL" failed)x"},
    {with_args("{'#type': 'int', '#name': 'i', '#help': 'h', '#args': [{'#type': 'int', '#name': 'j', '#help': 'h'}]}"),
     0, R"x(append_node_arg: assertion "0" failed: invalid parent type: 4)x"},
    {with_args("{'#type': 'key', '#help': 'h'}"), 0, R"x(new_node: assertion "name != NULL" failed)x"},
    {with_args("{'#type': 'key', '#name': 'k'}"), 0, R"x(new_node: assertion "help != NULL" failed)x"},
    {with_args("{'#type': 'Int', '#name': 'n', '#help': 'h'}"), 1, "Cannot load type 'Int' for the argument 'n'"},
    {with_args("{'#type': 5, '#name': 'n', '#help': 'h'}"), 1, "Cannot load type '' for the argument 'n'"},
};

TEST(LoaderDeathTest, EveryFaultIsReported) {
  for (const FaultCase &row : kFaults) {
    SCOPED_TRACE(row.definitions.substr(0, 120));
    const auto load = [&] {
      dup2(STDERR_FILENO, STDOUT_FILENO);
      const Engine engine(row.definitions, row.privileges);
    };
    if (row.status == 0) {
      EXPECT_EXIT(load(), testing::KilledBySignal(SIGABRT), row.report);
    } else {
      EXPECT_EXIT(load(), testing::ExitedWithCode(row.status), row.report);
    }
  }
  Engine engine("{}");
  const Json unchecked = json("{'a': {'#help': 'h'}, 'a b': {'#help': 'h', '#prompt': [{}]}}");
  EXPECT_EXIT(cli_load_commands(engine.get(), engine.types(), unchecked.get(), nullptr),
              testing::KilledBySignal(SIGABRT), "import_subconfig: assertion \"new_prompt\" failed");
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
    EXPECT_EXIT(
        {
          dup2(STDERR_FILENO, STDOUT_FILENO);
          load(document);
        },
        testing::ExitedWithCode(1), "nest deeper than 4096 levels");
  }
}

}  // namespace
