// Whole engines over small languages: lines in, screens out.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine_support.hpp"

using engine_support::Engine;
using engine_support::json;
using engine_support::Json;
using engine_support::printed_by;

extern "C" {
// Says who was called and with what.
CLI_API int test_show_call(cli *engine, cli_node *node);
CLI_API int test_refuse(cli *engine, cli_node *node);
CLI_API int test_push_itself(cli *engine, cli_node *node);
}

namespace {

void feed_used(cli *engine, const cli_node *node) {
  for (const cli_node *arg = cli_node_first_arg(node); arg != nullptr; arg = cli_node_next_arg(arg)) {
    if (arg->used != 0 && arg->name != nullptr) {
      json_t *value = cli_node_value(const_cast<cli_node *>(arg));
      char *text = value == nullptr ? nullptr : json_dumps(value, JSON_ENCODE_ANY);
      pager_feedfmt(&engine->pager, " %s=%s", arg->name, text == nullptr ? "?" : text);
      std::free(text);
    }
    feed_used(engine, arg);
  }
}

}  // namespace

int test_show_call(cli *engine, cli_node *node) {
  pager_feedfmt(&engine->pager, "<%s", node->name);
  feed_used(engine, node);
  pager_feed(&engine->pager, ">");
  return 1;
}

int test_refuse(cli *, cli_node *) {
  return 7;
}

// Leaves every mode behind the executor's back.
int test_push_itself(cli *engine, cli_node *) {
  cli_reset_subconfig(engine);
  return 0;
}

namespace {

const std::string kLanguage = R"({
  'show': {'#help': 'Show things'},
  'show interfaces': {'#help': 'All of them', '#handler': 'test_show_call'},
  'showall': {'#help': 'Everything', '#handler': 'test_show_call'},
  'shutdown': {'#help': 'Stop', '#handler': 'test_show_call'},
  'mtu': {'#help': 'Set the MTU', '#handler': 'test_show_call', '#args': [
    {'#type': 'int', '#name': 'size', '#help': 'Bytes', '#min_inclusive': 68, '#max_inclusive': 9000}]},
  'cmd': {'#help': 'Optional text', '#handler': 'test_show_call',
    '#args': [{'#type': 'string', '#name': 'text', '#help': 'Text', '#optional': true}],
    '#commands': {'brief': {'#help': 'Less', '#handler': 'test_show_call'}}},
  'pick': {'#help': 'One of two', '#handler': 'test_show_call', '#args': [
    {'#type': 'container', '#exclusive': true, '#args': [
      {'#type': 'key', '#name': 'up', '#help': 'Up'}, {'#type': 'key', '#name': 'down', '#help': 'Down'}]}]},
  'seq': {'#help': 'In order', '#handler': 'test_show_call', '#args': [
    {'#type': 'int', '#name': 'count', '#help': 'Count', '#optional': true},
    {'#type': 'key', '#name': 'to', '#help': 'Where to', '#args': [
      {'#type': 'IPv4Address', '#name': 'address', '#help': 'Address'}]}]},
  'state': {'#help': 'Set it', '#handler': 'test_show_call', '#args': [
    {'#type': 'string', '#name': 'value', '#help': 'On or off', '#enum': ['on', 'off', 'other']}]},
  'sr': {'#alias': 'show interfaces'},
  'up5': {'#alias': 'mtu 1500'},
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
      'leave': {'#help': 'Leaves on its own', '#prompt': 'gone', '#handler': 'test_push_itself'},
      'never': {'#help': 'Refuses', '#prompt': 'never', '#handler': 'test_refuse'},
      'unit': {'#help': 'A unit', '#prompt': 'unit', '#commands': {
        'speed': {'#help': 'Speed', '#handler': 'test_show_call'}}}}}
})";

struct Exchange {
  const char *line;  // ends in "?" for help, in "@" for completion
  std::string screen;
};

void expect_session(Engine &engine, std::initializer_list<Exchange> session) {
  for (const Exchange &exchange : session) {
    std::string line = exchange.line;
    const char kind = line.empty() ? ' ' : line.back();
    if (kind == '?' || kind == '@') {
      line.pop_back();
      EXPECT_EQ(kind == '?' ? engine.help(line) : engine.complete(line), exchange.screen) << exchange.line;
    } else {
      EXPECT_EQ(engine.execute(line), exchange.screen) << exchange.line;
    }
  }
}

const std::string kTopLevel =
    "Available: \n"
    "\t{32}cmd{}:      \tOptional text\n"
    "\t{32}interface{}:\tConfigure one\n"
    "\t{32}mtu{}:      \tSet the MTU\n"
    "\t{32}pick{}:     \tOne of two\n"
    "\t{32}seq{}:      \tIn order\n"
    "\t{32}show{}:     \tShow things\n"
    "\t{32}showall{}:  \tEverything\n"
    "\t{32}shutdown{}: \tStop\n"
    "\t{32}state{}:    \tSet it\n";

TEST(Execute, RunsCommandsAndEchoesThem) {
  Engine engine(kLanguage);
  expect_session(engine, {{"!anything", ""},
                          {"#anything", ""},
                          {"showall", "{32}showall{} \n<showall>\n"},
                          {"show", "Available: \n\t{32}interfaces{}:\tAll of them\n"},
                          {"SHOW int", "{32}show{} {32}interfaces{} \n<interfaces>\n"},
                          {"shut", "{32}shutdown{} \n<shutdown>\n"},
                          {"mtu 1500", "{32}mtu{} {36}1500{} \n<mtu size=1500>\n"},
                          {"sr", "{32}show{} {32}interfaces{} \n<interfaces>\n"},
                          {"up5", "{32}mtu{} {36}1500{} \n<mtu size=1500>\n"},
                          {"cmd brief", "{32}cmd{} {32}brief{} \n<brief>\n"},
                          {"cmd x brief", "{32}cmd{} {36}x{} {32}brief{} \n<brief>\n"},
                          {"cmd 'x y'", "{32}cmd{} {36}x y{} \n<cmd text=\"x y\">\n"},
                          {"pick d", "{32}pick{} {33}down{} \n<pick down=true>\n"},
                          {"seq 5 t 10.0.0.1",
                           "{32}seq{} {36}5{} {33}to{} {36}10.0.0.1{} \n"
                           "<seq count=5 to=true address=\"10.0.0.1\">\n"},
                          {"state of", "{32}state{} {36}of{} \n<state value=\"off\">\n"}});
}

TEST(Execute, SaysWhereAndWhyALineFailed) {
  Engine engine(kLanguage);
  const std::string top = kTopLevel;
  expect_session(engine,
                 {{"", "{31}\n^\n{35}Incomplete command{} at '': ''\n" + top},
                  {"zz top", "{31}zz top \n^\n{35}Extra input at end of command{} at 'zz': ''\n" + top},
                  {"sh", "{31}sh \n^\n{35}Ambiguous input{} at 'sh': ''\n" + top},
                  {"show interfcae x",
                   "{32}show{} {31}interfcae x \n     ^\n"
                   "{35}Extra input at end of command{} at 'interfcae': 'show'\n"
                   "Available: \n\t{32}interfaces{}:\tAll of them\n"},
                  {"mtu abc",
                   "{32}mtu{} {31}abc \n    ^\n{35}Invalid argument{} at 'abc': 'size'\n"
                   "Available: \n\t{36}size <68-9000>{}:\tBytes\n"},
                  {"mtu",
                   "{32}mtu{} {31}\n    ^\n{35}Incomplete command{} at '': 'mtu'\n"
                   "Available: \n\t{36}size <68-9000>{}:\tBytes\n"},
                  {"pick x",
                   "{32}pick{} {31}x \n     ^\n{35}Invalid argument{} at 'x': 'pick'\n"
                   "Available: \n\t{33}up{}:  \tUp\n\t{33}down{}:\tDown\n"},
                  {"pick up down",
                   "{32}pick{} {33}up{} {31}down \n        ^\n"
                   "{35}Extra input at end of command{} at 'down': 'pick'\n"},
                  {"seq to 1.2.3.4 5",
                   "{32}seq{} {33}to{} {36}1.2.3.4{} {31}5 \n               ^\n"
                   "{35}Extra input at end of command{} at '5': 'seq'\n"},
                  {"seq 5",
                   "{32}seq{} {36}5{} {31}\n      ^\n{35}Incomplete command{} at '': 'to'\n"
                   "Available: \n\t{33}to{}:\tWhere to\n"},
                  {"state o",
                   "{32}state{} {31}o \n      ^\n{35}Invalid argument{} at 'o': 'value'\n"
                   "Available: \n\t{36}value <on, off, other>{}:\tOn or off\n"},
                  {"ring",
                   "{31}ring again again again again again again again again again again again again again again again "
                   "again \n^\n{35}Extra input at end of command{} at 'ring': ''\n" +
                       top}});
}

TEST(Execute, LeavesTheOutcomeForTheHost) {
  Engine engine(kLanguage);
  const std::pair<const char *, int> lines[] = {
      {"mtu 1500", E_OK},  {"show", E_OK},        {"mtu abc", E_INVALID_ARGUMENT},
      {"sh", E_AMBIGUOUS}, {"zz", E_EXTRA_INPUT}, {"mtu", E_INCOMPLETE}};
  for (const auto &[line, code] : lines) {
    engine.execute(line);
    EXPECT_EQ(engine.error(), code) << line;
  }
}

TEST(Modes, LinesThatEnterThemStayReadable) {
  Engine engine(kLanguage);
  EXPECT_EQ(engine.execute("interface vlan 7"), "");
  EXPECT_STREQ(engine->prompt_text, "cli(config-vlan)> ");
  for (const char *line : {"mtu", "unit", "speed", "nonsense"}) {
    engine.execute(line);
    const Json id{json_incref(cli_node_value(cli_node_find(&engine->root, "interface vlan id")))};
    EXPECT_EQ(json_integer_value(id.get()), 7) << line;
  }
  EXPECT_STREQ(engine->prompt_text, "cli(unit)> ");
  EXPECT_EQ(engine.execute("do show int"), "\n<interfaces>\n") << "the echo of a line behind \"do\" is empty";
  EXPECT_STREQ(engine->prompt_text, "cli(unit)> ");
  EXPECT_EQ(engine.execute("mtu"), "{32}mtu{} \n<mtu>\n") << "found in the enclosing mode";
  EXPECT_STREQ(engine->prompt_text, "cli(config-vlan)> ");
  EXPECT_EQ(engine.execute("shutdown"), "{32}shutdown{} \n<shutdown>\n");
  EXPECT_STREQ(engine->prompt_text, "cli> ");
  EXPECT_EQ(cli_node_find(&engine->root, "id"), nullptr);

  EXPECT_EQ(engine.execute("interface eth0"), "");
  EXPECT_STREQ(engine->prompt_text, "cli(config-if)> ");
  EXPECT_EQ(engine.execute("interface eth1"), "") << "a sibling mode replaces the present one";
  EXPECT_EQ(engine->mode_stack.first, engine->current);
  EXPECT_EQ(json_string_value(cli_node_value(cli_node_find(&engine->root, "name"))), std::string("eth1"));
  EXPECT_EQ(engine.execute("never"), "");
  EXPECT_STREQ(engine->prompt_text, "cli(config-if)> ") << "its handler refused";
  EXPECT_EQ(engine.execute("leave"), "");
  EXPECT_STREQ(engine->prompt_text, "cli> ") << "its handler left the mode that it stands in";
  EXPECT_THAT(engine.execute("do"), testing::HasSubstr("Extra input")) << "there is no \"do\" at the top level";
}

TEST(Modes, AWordOfAnEnclosingModeIsFoundOnlyFirst) {
  Engine engine(kLanguage);
  engine.execute("interface eth0");
  EXPECT_THAT(engine.execute("x show"), testing::HasSubstr("Extra input at end of command{} at 'x': 'interface'"));
  EXPECT_THAT(engine.execute("unit speed"), testing::HasSubstr("at 'speed': 'unit'"));
  EXPECT_STREQ(engine->prompt_text, "cli(config-if)> ");
}

TEST(Help, ListsWhatMayFollow) {
  Engine engine(kLanguage);
  expect_session(engine,
                 {{"sh?", "> [?]\n{32}show{}    \tShow things\n{32}showall{} \tEverything\n{32}shutdown{}\tStop\n"},
                  {"sh ?", "% Unrecognized input\n"},
                  {"zz?", "> [?]\n% Unrecognized input\n"},
                  {"mtu ?", "> [{32}mtu{} ?]\n{36}size <68-9000>{}\tBytes\n"},
                  {"mtu 5?", "> [{32}mtu{} ?]\n{36}size <68-9000>{}\tBytes\n"},
                  {"mtu x?", "> [{32}mtu{} ?]\n% Unrecognized input\n"},
                  {"cmd ?", "> [{32}cmd{} ?]\n{36}text{} \tText\n{32}brief{}\tLess\n<cr>\n"},
                  {"s?",
                   "> [?]\n{32}seq{}     \tIn order\n{32}show{}    \tShow things\n{32}showall{} \tEverything\n"
                   "{32}shutdown{}\tStop\n{32}*sr=show interfaces{}      \t\n{32}state{}   \tSet it\n"},
                  {"\\?", "> [?]\n" + engine.help("").substr(6)}});
}

TEST(Completion, OffersWordsKeysAndEntries) {
  Engine engine(kLanguage);
  expect_session(engine, {{"sh@", R"(["show ", "showall ", "shutdown "])"},
                          {"show @", R"(["interfaces "])"},
                          {"shutdown @", "[]"},
                          {"mtu @", "[]"},
                          {"state O@", R"(["on ", "off ", "other "])"},
                          {"state of@", R"(["off "])"},
                          {"pick @", R"(["up ", "down "])"},
                          {"interface @", "[]"},
                          {"nothing x@", "[]"}});
  EXPECT_EQ(engine.complete("mtu ", R"(["kept"])"), "[]") << "free text empties what stood there";
  EXPECT_EQ(engine.complete("show ", R"(["kept"])"), R"(["kept", "interfaces "])");
}

TEST(Privileges, HideWordsAndAreInherited) {
  const std::string table = R"({
    '1': {'Level': 3, 'Name': 'show', 'Prompt': ''},
    '2': {'Level': 5, 'Name': 'mtu', 'Prompt': 'config-if'},
    '3': {'Level': 15, 'Name': 'mtu', 'Prompt': 'config-if'},
    '4': {'Level': 0, 'Name': 'show interfaces', 'Prompt': ''},
    'mtu': {'Level': 9}, '123456789012345678901': {'Level': 9, 'Name': 'cmd', 'Prompt': ''}})";
  Engine engine(kLanguage, table);
  const auto level_of = [&](const char *line) {
    parser_set_privilege(&engine->parser, 15);
    engine.execute(line);
    return engine->parser.last_node->privilege;
  };
  EXPECT_EQ(level_of("show"), 3);
  EXPECT_EQ(level_of("show interfaces"), 3);
  EXPECT_EQ(level_of("cmd"), 0);
  engine.execute("interface eth0");
  EXPECT_EQ(level_of("mtu"), 5);
  engine.execute("end");
  parser_set_privilege(&engine->parser, 2);
  EXPECT_EQ(engine.execute("show"), "{32}showall{} \n<showall>\n") << "the exact word is hidden";
  EXPECT_EQ(engine.complete("show"), R"(["showall "])");
}

TEST(Marks, EndWhereTheNextLineBegins) {
  Engine engine(kLanguage);
  engine.execute("interface vlan 9");
  engine.execute("unit");
  engine.execute("end");
  engine.execute("seq 4 to 9.9.9.9");
  engine.execute("shutdown");
  int marked = 0;
  const auto count = [&](auto &&self, const cli_node *node) -> void {
    marked += node->used != 0 || node->completed != 0 || node->token != nullptr ||
              (node->type == TYPE_VALUE && node->value.value != nullptr);
    for (cli_node *arg = cli_node_first_arg(node); arg != nullptr; arg = cli_node_next_arg(arg)) {
      self(self, arg);
    }
    for (cli_node *word = cli_node_first_choice(node); word != nullptr; word = cli_node_next_choice(word)) {
      self(self, word);
    }
  };
  count(count, &engine->root);
  EXPECT_EQ(marked, 2) << "the root and \"shutdown\"";
}

TEST(Conditions, ReadWhatTheLastLineMatched) {
  Engine engine(kLanguage);
  engine.execute("seq 4 to 9.9.9.9");
  struct Case {
    const char *holder;
    int holds;
  };
  const Case cases[] = {
      {"{}", 1},
      {"{'if': []}", 1},
      {"{'if-not': []}", 1},
      {"{'if': 'seq to'}", 1},
      {"{'if': ['seq', ['seq count', 'to address']]}", 1},
      {"{'if': ['seq', 'mtu']}", 0},
      {"{'if': 'mtu'}", 0},
      {"{'if-not': 'mtu'}", 1},
      {"{'if-not': ['mtu', 'seq']}", 0},
      {"{'if': 'mtu', 'if-not': 'seq'}", 0},
      {"{'if': 'seq', 'if-not': 'seq'}", 1},
      {"{'if': 'mtu', 'if-not': 'show'}", 1},
      {"{'if': ''}", 0},
      {"{'if-not': '  '}", 1},
  };
  for (const Case &row : cases) {
    EXPECT_EQ(cli_check_parameter_condition(engine.get(), json(row.holder).get()), row.holds) << row.holder;
  }
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
  EXPECT_EQ(engine.execute("show"), "{31}show \n^\n{35}Extra input at end of command{} at 'show': ''\n");
  const Json other = json("{'hello': {'#help': 'Hi', '#handler': 'test_show_call'}}");
  EXPECT_EQ(cli_load_commands(engine.get(), engine.types(), other.get(), nullptr), 0);
  EXPECT_EQ(engine.execute("hel"), "{32}hello{} \n<hello>\n");
}

}  // namespace
