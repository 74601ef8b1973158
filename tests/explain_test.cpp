// What is said after a failed line, and the short lists of failed lines.
#include <gtest/gtest.h>

#include "engine_support.hpp"

using engine_support::Engine;
using engine_support::Json;

extern "C" CLI_API int test_nothing(cli *engine, cli_node *);
int test_nothing(cli *engine, cli_node *) {
  const Json result(json_array());
  if (engine->context != nullptr) {
    EXPECT_EQ(cli_explain(engine, static_cast<DynString *>(engine->context)), -1);
    EXPECT_EQ(cli_complete(engine, "", 0, result.get()), -1);
  }
  return 0;
}

namespace {

const std::string kLanguage = R"({
  'show': {'#help': 'h'}, 'show route': {'#help': 'h', '#handler': 'test_nothing'},
  'show router': {'#help': 'h', '#handler': 'test_nothing'},
  'shutdown': {'#help': 'h', '#handler': 'test_nothing'},
  'reload': {'#help': 'h', '#handler': 'test_nothing'},
  'oops': {'#alias': 'show rout3'},
  'set': {'#help': 'h', '#handler': 'test_nothing', '#args': [{'#type': 'container', '#args': [
    {'#type': 'string', '#name': 'state', '#help': 'h', '#enum': ['enable', 'disable', 'on hold']},
    {'#type': 'key', '#name': 'forever', '#help': 'h', '#optional': true},
    {'#type': 'key', '#name': 'forced', '#help': 'h', '#optional': true},
    {'#type': 'int', '#name': 'times', '#help': 'h', '#optional': true}]}]},
  'hello': {'#help': 'h', '#handler': 'test_nothing', '#args': [
    {'#type': 'string', '#name': 'text', '#help': 'h', '#max_length': 12}]},
  'configure': {'#help': 'h'},
  'configure terminal': {'#help': 'h', '#prompt': 'config', '#commands': {
    'hostname': {'#help': 'h', '#handler': 'test_nothing', '#args': [
      {'#type': 'string', '#name': 'name', '#help': 'h'}]},
    'secret': {'#help': 'h', '#handler': 'test_nothing'},
    'interface': {'#help': 'h', '#prompt': 'config-if', '#args': [
        {'#type': 'string', '#name': 'name', '#help': 'h'}], '#commands': {
      'mtu': {'#help': 'h', '#handler': 'test_nothing', '#args': [
        {'#type': 'int', '#name': 'size', '#help': 'h', '#max_inclusive': 9000}]}}}}}
})";
const std::string kPrivileges = R"({'1': {'Name': 'reload', 'Prompt': '', 'Level': 15},
                                    '2': {'Name': 'secret', 'Prompt': 'config', 'Level': 7}})";

std::string explained(cli *engine) {
  DynString *out = dyn_string_new();
  const int count = cli_explain(engine, out);
  std::string text = dyn_string_text(out);
  dyn_string_free(out);
  EXPECT_EQ(count, std::count(text.begin(), text.end(), '\n'));
  return text;
}

struct Case {
  const char *before;  // lines that lead to the mode
  const char *line;
  const char *explained;
};
constexpr Case kCases[] = {
    {"", "shwo route", "did you mean \"show\"?\n"},
    {"", "show ruote", "did you mean \"route\"?\n"},
    {"", "show routr", "did you mean \"route\"?\ndid you mean \"router\"?\n"},
    {"", "show zzzzz", ""},
    {"", "show route now", ""},
    {"", "show route", ""},
    {"", "set", ""},
    {"", "oops", ""},  // the slip is not the user's
    {"", "sh", "\"sh\" could be \"show\" or \"shutdown\"\n"},
    {"", "show rou", "\"rou\" could be \"route\" or \"router\"\n"},
    {"", "set on for", "\"for\" could be \"forever\" or \"forced\"\n"},
    {"", "set enabel", "did you mean \"enable\"?\n"},
    {"", "set Enable", "did you mean \"enable\"?\n"},
    {"", "set on hold", "Quote text that holds blanks\n"},
    {"", "hello you there", "Quote text that holds blanks\n"},
    {"", "hello you over there", ""},  // longer than the text may be
    {"", "reolad", ""},
    {"", "reload", ""},
    {"", "hostname r1", "\"hostname\" is a command of mode config: configure terminal\n"},
    {"", "hostname", "\"hostname\" is a command of mode config: configure terminal\n"},
    {"", "mtu 1500", "\"mtu\" is a command of mode config-if: configure terminal, interface <name>\n"},
    {"", "secret", ""},
    {"configure terminal", "mtu 1500", "\"mtu\" is a command of mode config-if: interface <name>\n"},
    {"configure terminal;interface e", "mut 5", "did you mean \"mtu\"?\n"},
    {"configure terminal;interface e", "hostnaem r1", "did you mean \"hostname\"?\n"},  // where the user comes from
    {"configure terminal;interface e", "mtu 9001", ""},
    {"configure terminal;interface e", "do shwo", "did you mean \"show\"?\n"},
    {"configure terminal;secret", "secret", ""},
};

TEST(Explain, SaysWhatHelpsAndNothingElse) {
  Engine engine(kLanguage, kPrivileges);
  for (const Case &row : kCases) {
    cli_reset_subconfig(engine.get());
    std::string before = row.before;
    for (size_t end = 0; !before.empty(); before.erase(0, end == std::string::npos ? end : end + 1)) {
      end = before.find(';');
      engine.execute(before.substr(0, end));
    }
    engine.execute(row.line);
    EXPECT_EQ(explained(engine.get()), row.explained) << row.before << "; " << row.line;
  }
  engine->flags |= CLI_EXPLAIN_LEVELS;
  engine.execute("end");
  engine.execute("reload");
  EXPECT_EQ(explained(engine.get()), "\"reload\" needs level 15\n");
}

// All that a line leaves: marks and the record of its error.
std::string state_of(cli *engine) {
  std::string text;
  const auto walk = [&text](const auto &self, cli_node *node) -> void {
    for (const void *mark : {static_cast<const void *>(node->token), static_cast<const void *>(node->internal)}) {
      text += std::to_string(reinterpret_cast<uintptr_t>(mark) != 0 && mark == node->token
                                 ? reinterpret_cast<uintptr_t>(mark)
                                 : uintptr_t{mark != nullptr});
    }
    text += std::to_string(node->used) + std::to_string(node->completed);
    if (node->type == TYPE_VALUE) text += std::to_string(reinterpret_cast<uintptr_t>(node->value.value));
    for (cli_node *arg = cli_node_first_arg(node); arg != nullptr; arg = cli_node_next_arg(arg)) self(self, arg);
    for (cli_node *word = cli_node_first_choice(node); word != nullptr; word = cli_node_next_choice(word)) {
      self(self, word);
    }
  };
  walk(walk, &engine->root);
  const parser &p = engine->parser;
  for (const void *field : {static_cast<const void *>(p.error), static_cast<const void *>(p.error->node),
                            static_cast<const void *>(p.error->token), static_cast<const void *>(p.root),
                            static_cast<const void *>(p.last_node), static_cast<const void *>(p.current_node)}) {
    text += "," + std::to_string(reinterpret_cast<uintptr_t>(field));
  }
  return text + "," + std::to_string(p.error->errcode);
}

TEST(Explain, LeavesTheMarksOfTheLine) {
  Engine engine(kLanguage, kPrivileges);
  engine->flags |= CLI_EXPLAIN_LEVELS;
  for (const char *line : {"configure terminal", "interface e", "mtu x y", "hostnaem r", "do set on forever for",
                           "do set on x", "show zz", "hello a b", "sh"}) {
    engine.execute(line);
    cli_node_value(cli_node_find(&engine->root, "configure terminal interface name"));
    const std::string before = state_of(engine.get());
    explained(engine.get());
    EXPECT_EQ(state_of(engine.get()), before) << line;
  }
}

TEST(Explain, RefusesWhatItCannotAnswer) {
  Engine engine(kLanguage);
  cli fresh{};
  DynString *out = dyn_string_new();
  EXPECT_EQ(cli_explain(engine.get(), out), 0);  // before the first line
  EXPECT_EQ(cli_explain(nullptr, out) + cli_explain(&fresh, out) + cli_explain(engine.get(), nullptr), -3);
  engine->context = out;  // and in a handler
  engine.execute("reload");
  EXPECT_STREQ(dyn_string_text(out), "");
  dyn_string_free(out);
}

TEST(ShortErrors, ListWhatResemblesTheWord) {
  std::string language =
      "{'show': {'#help': 'h'}, 'mtu': {'#help': 'h', '#handler': 'test_nothing', '#args': ["
      "{'#type': 'int', '#name': 'size', '#help': 'h'}]}";
  for (char c = 'a'; c < 'n'; c++) language += std::string(", 'word") + c + "': {'#help': 'h'}";
  Engine engine(language + "}");
  engine->flags = CLI_SHORT_ERRORS | CLI_NO_COLOUR;
  const auto listed = [&engine](const char *line) {
    const std::string text = engine.execute(line);
    const size_t list = text.find("Available");
    std::string names;
    for (size_t at = list; (at = text.find("\n\t", at)) != std::string::npos; at++) {
      names += text.substr(at + 2, text.find(':', at) - at - 2) + " ";
    }
    return list == std::string::npos ? "none" : names;
  };
  const std::string ten = "worda wordb wordc wordd worde wordf wordg wordh wordi word";
  const std::pair<const char *, std::string> cases[] = {
      {"shwo", "show "},
      {"zebra", "none"},
      {"workl", ten + "l "},
      {"mtu x", "size "},
      {"", "mtu show worda wordb wordc wordd worde wordf wordg wordh "},
  };
  for (const auto &[line, names] : cases) EXPECT_EQ(listed(line), names) << line;
}

}  // namespace
