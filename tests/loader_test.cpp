// Documents that load, the texts of their help templates, and the report of each fault that ends the process.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

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

TEST(Loader, CommentsDeclareNothing) {
  EXPECT_EQ(dump(R"({'$schema': 'definition.schema.json', '// x': ['y'], '//': {'note': 1},
                     'a': {'#help': 'h', '//': 5, '#commands': {'//': null, 'b': {'#help': 'h', '#handler': 'loader_handler'}}},
                     '//c': {'#help': 'a command all the same', '#handler': 'loader_handler'}})"),
            "//c\na b\n");
}

TEST(Loader, LongestKeyLoads) {
  Engine engine("{'" + std::string(4095, 'k') + "': {'#help': 'h', '#handler': 'loader_handler'}}");
  EXPECT_EQ(cli_node_first_choice(&engine->root)->name_len, 4095U);
}

TEST(Loader, HelpTemplatesAreExpanded) {
  const std::pair<const char *, const char *> cases[] = {
      {"'a {b} }c{'", "a {b} }c{"},
      {"''", ""},
      {"{'fmt': 'Port {n} is {b} on {s}', 'args': {'n': 3, 'b': true, 's': 'eth0'}}", "Port 3 is true on eth0"},
      {"{'fmt': '{n}{n}{f}', 'args': {'n': -5, 'f': false}}", "-5-5false"},
      {"{'fmt': '{n}', 'args': {'n': 9223372036854775807}}", "9223372036854775807"},
      {"{'fmt': '{a b}.', 'args': {'a b': '{x}', 'a': 1}}", "{x}."},
      {"{'fmt': 'Total: {n', 'args': {'n': 1}}", "Total: "},
      {"{'fmt': 'Total: {'}", "Total: "},
  };
  for (const auto &[help, expanded] : cases) {
    Engine engine(std::string("{'a': {'#help': ") + help + "}}");
    EXPECT_STREQ(cli_node_first_choice(&engine->root)->help, expanded) << help;
  }
}

struct FaultCase {
  std::string definitions;
  int status;          // 1 for an exit, 0 for the assertion report
  std::string report;  // a part of standard output or of standard error
  const char *privileges = "null";
};

std::string with_args(const std::string &args) {
  return "{'c': {'#help': 'h', '#handler': 'loader_handler', '#args': [" + args + "]}}";
}

std::vector<FaultCase> fault_cases() {
  std::vector<FaultCase> cases = {
      {"{'': {'#help': 'h'}}", 0,
       R"x(loader:import_subconfig: assertion "(__commandlength > 0) && (__commandlength < 4096)" failed: Invalid string:  (with length 0))x"},
      {"{'" + std::string(4096, 'k') + "': {}}", 0, "(with length 4096)"},
      {"{'show ip': {'#help': 'h'}, 'show': {'#help': 'h'}}", 0,
       R"x(loader:import_subconfig: assertion "parent != NULL" failed)x"},
      {"{'a': {'#alias': 'b'}, 'a c d': {'#help': 'h'}}", 0, R"x(loader:find_node: assertion "choices" failed)x"},
      {"{'a': {'#alias': 'b', '#commands': {'c': {'#help': 'h'}}}}", 0,
       R"x(loader:append_node_choice: assertion "0" failed: invalid parent type: 6)x"},
      {"{'a': {'#alias': 'b', '#args': []}}", 0,
       R"x(import_subconfig: assertion "new_node->type == TYPE_SUBCONFIG || new_node->type == TYPE_COMMAND || new_node->type == TYPE_WORD" failed)x"},
      {"{'a': {}}", 0, R"x(loader:new_node: assertion "help != NULL" failed)x"},
      {"{'a': 5}", 0, R"x(loader:new_node: assertion "help != NULL" failed)x"},
      {"{'a': {'#help': 'h', '#prompt': ''}}", 0,
       R"x(loader:cli_select_prompt: assertion "json_string_length(prompt) > 0" failed: empty #prompt value: a)x"},
      {"{'a': {'#help': 'h', '#prompt': null}}", 0,
       R"x(assertion "json_typeof(prompt) == JSON_ARRAY" failed: #prompt must be a string or an array of variants: a)x"},
      {"{'a': {'#help': 'h', '#prompt': [{'value': 'x'}, {'value': ''}]}}", 0,
       R"x(assertion "value && *value" failed: empty #prompt.1.value: a)x"},
      {"{'a': {'#help': 'h', '#prompt': [{'value': 'x', 'if': 'y'}]}}", 0,
       R"x(assertion "0" failed: cannot get fallback for #prompt: a)x"},
      {"{'a': {'#help': 'h', '#prompt': [{'value': 'x', 'if': null}]}}", 0, "Condition type is not supported"},
      {"{'a': {'#help': 'h', '#prompt': [{'value': 'x'}]}}", 1, "Cannot load command 'a': variant 0 "},
      {"{'a b': {'#help': 'h', '#handler': 'nowhere'}, 'a': {'#help': 'h'}}", 0, "parent != NULL"},
      {"{'a': {'#help': 'h', '#handler': 'nowhere'}}", 1, "Cannot load handler 'nowhere' for command 'a': "},
      {"{'a': {'#alias': 'b', '#handler': 'nowhere'}}", 1, "Cannot load handler 'nowhere' for command 'a': "},
      {"{'a': {'#help': 'h'}}", 1,
       "Invalid privilege '16' for command 'a': ", "{'1': {'Level': 16, 'Name': 'a', 'Prompt': ''}}"},
      {"{'a': {'#help': 'h'}}", 1, "Cannot load privilege '7': \"Name\" is not a string",
       "{'7': {'Level': 1, 'Prompt': ''}}"},
      {"{'m': {'#help': 'h', '#prompt': 'm', '#args': [{'#type': 'key', '#name': 'k', '#help': 'h'},"
       "{'#type': 'key', '#name': 'l', '#help': 'h'}]}}",
       0, R"x(append_node_arg: assertion "STAILQ_FIRST(&parent->subconfig.args) == NULL" failed)x"},
      {with_args("{'#type': 'key', '#name': 'k', '#help': 'h', '#args': [{'#type': 'int', '#name': 'i', '#help': 'h'},"
                 "{'#type': 'int', '#name': 'j', '#help': 'h'}]}"),
       0, R"x(append_node_arg: assertion "STAILQ_FIRST(&parent->key.args) == NULL" failed)x"},
      {with_args(
           "{'#type': 'int', '#name': 'i', '#help': 'h', '#args': [{'#type': 'int', '#name': 'j', '#help': 'h'}]}"),
       0, R"x(append_node_arg: assertion "0" failed: invalid parent type: 4)x"},
      {with_args("{'#type': 'key', '#help': 'h'}"), 0, R"x(new_node: assertion "name != NULL" failed)x"},
      {with_args("{'#type': 'key', '#name': 'k'}"), 0, R"x(new_node: assertion "help != NULL" failed)x"},
      {with_args("{'#type': 'Int', '#name': 'n', '#help': 'h'}"), 1, "Cannot load type 'Int' for the argument 'n'"},
      {with_args("{'#type': 5, '#name': 'n', '#help': 'h'}"), 1, "Cannot load type '' for the argument 'n'"},
  };
  // Help texts: the template, its arguments, the mark and message below it.
  for (const auto &[fmt, args, below] : std::initializer_list<std::tuple<std::string, std::string, std::string>>{
           {"a}b", "", " ^ Unexpected '}'"},
           {"}", "", "^ Unexpected '}'"},
           {"{n}}", "'n': 1", "   ^ Unexpected '}'"},
           {"{{n}}", "'n': 1", " ^ Unexpected '{'"},
           {"{n{m}", "'n': 1, 'm': 1", "  ^ Unexpected '{'"},
           {"a {}", "'': 1", "   ^ Empty replacement field"},
           {"Port {nr}", "'n': 1, 'NR': 2", "      ^ Key not found"},
           {"{n}", "'n': 1.0", " ^ Unexpected argument type (got real). Supported only string/integer/boolean"},
           {"{n}", "'n': null", " ^ Unexpected argument type (got null). Supported only string/integer/boolean"},
           {"{n}", "'n': {}", " ^ Unexpected argument type (got object). Supported only string/integer/boolean"},
           {"{n}", "'n': []", " ^ Unexpected argument type (got array). Supported only string/integer/boolean"},
           {"%s%n {}", "", "      ^ Empty replacement field"}}) {
    cases.push_back({"{'a': {'#help': {'fmt': '" + fmt + "', 'args': {" + args + "}}}}", 0,
                     fmt + '\n' + below + "\ncli_engine/loader:print_error: assertion \"0\" failed\n"});
  }
  for (const char *help : {"null", "5", "[]", "{}", "{'args': {}}", "{'fmt': ''}", "{'fmt': null}"}) {
    cases.push_back({std::string("{'a': {'#help': ") + help + "}}", 0,
                     "cli_engine/loader:get_help: assertion \"json_is_string(fmt) && json_string_length(fmt) > 0\" "
                     "failed: empty 'fmt' value in #help\n"});
  }
  return cases;
}

TEST(LoaderDeathTest, EveryFaultIsReported) {
  for (const FaultCase &row : fault_cases()) {
    SCOPED_TRACE(row.definitions.substr(0, 120));
    const auto load = [&] {
      dup2(STDERR_FILENO, STDOUT_FILENO);
      const Engine engine(row.definitions, row.privileges);
    };
    const auto ended = [&](int status) {
      return row.status == 0 ? WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT
                             : WIFEXITED(status) && WEXITSTATUS(status) == row.status;
    };
    EXPECT_EXIT(load(), ended, testing::HasSubstr(row.report));
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
