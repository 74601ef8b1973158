// Languages of their own: read from text as from JSON, faults with their places, engines that share one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "engine_support.hpp"

using engine_support::Json;
using engine_support::json;
using engine_support::printed_by;

namespace {

int leave(cli *engine, cli_node *) {
  cli_pop_subconfig(engine);
  return 0;
}
int top(cli *engine, cli_node *) {
  cli_reset_subconfig(engine);
  return 0;
}
// What the arguments of the last line are when they are asked for by their types.
std::string arguments(cli *engine) {
  std::string told;
  for (const char *path : {"show n", "if name", "set n", "if set n"}) {
    const char *text = "-";
    std::int64_t number = -1;
    const int given = cli_arg_given(&engine->root, path);
    cli_arg_text(&engine->root, path, &text);
    cli_arg_int(&engine->root, path, &number);
    told += std::to_string(given) + text + std::to_string(number) + " ";
  }
  return told;
}
int show(cli *engine, cli_node *node) {
  for (const char *name : {"n", "name", "detail", "if name"}) {
    cli_node *found = cli_node_find(&engine->root, name);
    json_t *value = cli_node_value(found);
    pager_feedfmt(&engine->pager, "%s %s: %s %lld\n", node->name, name,
                  value == nullptr        ? "-"
                  : json_is_string(value) ? json_string_value(value)
                                          : "+",
                  static_cast<long long>(json_integer_value(value)));
  }
  return 0;
}
int enter(cli *, cli_node *) {
  return 0;
}
const cli_handler_entry kHandlers[] = {{"show", show}, {"enter", enter}, {nullptr, nullptr}};

constexpr const char *kLanguage = R"({
  'show': {'#help': 'Show', '#handler': 'show', '#args': [
    {'#type': 'key', '#name': 'detail', '#help': 'More', '#optional': true},
    {'#type': 'int', '#name': 'n', '#help': 'How \u00e4 \/ \"many\"', '#min_inclusive': 1, '#max_inclusive': 9, '#optional': true}]},
  'if': {'#help': 'Interface', '#handler': 'enter', '#args': [{'#type': 'string', '#name': 'name', '#help': 'Name'}],
    '#prompt': [{'value': 'if-eth', 'if': 'if detail', 'description': 'x'}, {'value': 'if', 'description': 'interface'}],
    '#commands': {'set': {'#help': 'Set', '#handler': 'show', '#args': [
        {'#type': 'unsignedInt', '#name': 'n', '#help': 'N', '#enum': [1, 'two', 3]}]},
      'sub': {'#help': 'Sub', '#prompt': 'sub', '#commands': {'show': {'#help': 'Own', '#handler': 'show'}}}}},
  'other': {'#help': {'fmt': 'A {what}', 'args': {'what': 'mode'}}, '#prompt': 'other'},
  'sh': {'#alias': 'show detail'}
})";

struct Folder {
  Folder() : path(testing::TempDir() + "language-XXXXXX") { EXPECT_NE(mkdtemp(path.data()), nullptr); }
  ~Folder() { std::filesystem::remove_all(path); }
  std::string write(const std::string &name, const std::string &text) const {
    std::string file = path;
    file.append("/").append(name);
    std::ofstream(file) << text;
    return file;
  }
  std::string path;
};

std::string with_quotes(std::string text) {
  for (char &c : text) c = c == '\'' ? '"' : c;
  return text;
}

using Types = std::unique_ptr<validator_typesystem, decltype(&validator_typesystem_free)>;
Types types() {
  return {validator_typesystem_new(), validator_typesystem_free};
}

using Language = std::unique_ptr<cli_language, decltype(&cli_language_free)>;
struct Report {
  std::string text;
  static void add(void *data, const cli_fault *fault) {
    std::string file = fault->file == nullptr ? "json" : std::filesystem::path(fault->file).filename().string();
    static_cast<Report *>(data)->text += file + ":" + std::to_string(fault->line) + ":" +
                                         std::to_string(fault->column) + ": " + fault->text + " [" + fault->rule +
                                         "] at " + fault->path + "\n";
  }
};

cli_language_source source(const char *definitions = nullptr, const char *privileges = nullptr) {
  return {definitions, privileges, kHandlers, CLI_HANDLERS_ONLY, leave, top};
}

Language from_text(validator_typesystem *registry, const std::string &file, Report *report = nullptr) {
  const cli_language_source from = source(file.c_str());
  return {cli_language_load(registry, &from, report == nullptr ? nullptr : Report::add, report), cli_language_free};
}
Language from_json(validator_typesystem *registry, const Json &definitions, Report *report = nullptr) {
  const cli_language_source from = source();
  return {cli_language_from_json(registry, definitions.get(), nullptr, &from, report == nullptr ? nullptr : Report::add,
                                 report),
          cli_language_free};
}

class Session {
 public:
  explicit Session(cli_language *language) { EXPECT_EQ(cli_init_language(&engine_, language, nullptr), &engine_); }
  Session(validator_typesystem *registry, json_t *definitions) {
    engine_.handlers = kHandlers;
    engine_.exit_handler = leave;
    engine_.end_handler = top;
    EXPECT_EQ(cli_init(&engine_, registry, definitions, nullptr, nullptr), &engine_);
  }
  ~Session() { cli_free(&engine_); }
  Session(const Session &) = delete;
  Session &operator=(const Session &) = delete;

  std::string say(const std::string &line) {
    const std::string printed = printed_by([&] {
      line.ends_with('?') ? cli_help(&engine_, line.substr(0, line.size() - 1).c_str())
                          : cli_execute(&engine_, line.c_str());
    });
    return line + "\n" + printed + engine_.prompt_text + "\n";
  }
  // What the engine answers about its last line, or about one that is being typed.
  std::string ask(unsigned what) {
    if (what % 2 == 0) return arguments(&engine_);
    const Json words{json_array()};
    DynString *told = dyn_string_new();
    std::string answer =
        std::to_string(what % 4 == 1 ? cli_explain(&engine_, told) : cli_complete(&engine_, "s", 1, words.get()));
    answer += dyn_string_text(told) + engine_support::text_of(words.get());
    dyn_string_free(told);
    return answer;
  }
  cli *get() { return &engine_; }

 private:
  cli engine_{};
};

// Everything that a host can see of a tree.
void describe(cli_node *node, std::string &out) {
  DynString *syntax = dyn_string_new();
  if (node->type != TYPE_CONTAINER) {
    cli_print_node(node, nullptr, syntax, 1);
  }
  const std::unique_ptr<char, decltype(&std::free)> definition(
      json_dumps(cli_node_definition(node), JSON_SORT_KEYS | JSON_ENCODE_ANY), &std::free);
  out += std::to_string(node->type) + " " + dyn_string_text(syntax) + " " + (node->help == nullptr ? "" : node->help) +
         " " + (node->mode_prompt == nullptr ? "" : node->mode_prompt) + " " + std::to_string(node->privilege) + " " +
         (definition == nullptr ? "-" : definition.get()) + "\n";
  dyn_string_free(syntax);
  for (cli_node *arg = cli_node_first_arg(node); arg != nullptr; arg = cli_node_next_arg(arg)) describe(arg, out);
  for (cli_node *word = cli_node_first_choice(node); word != nullptr; word = cli_node_next_choice(word)) {
    describe(word, out);
  }
}

std::string described(cli_language *language) {
  Session session(language);
  std::string out;
  for (cli_node *word = cli_node_first_choice(&session.get()->root); word != nullptr;
       word = cli_node_next_choice(word)) {
    describe(word, out);
  }
  return out;
}

TEST(Language, TextIsReadAsJsonIs) {
  const Folder folder;
  const Types registry = types();
  const std::string file = folder.write("language.json", with_quotes(kLanguage));
  const Language text = from_text(registry.get(), file);
  ASSERT_NE(text, nullptr);
  const Json read{json_load_file(file.c_str(), 0, nullptr)};
  EXPECT_EQ(described(text.get()), described(from_json(registry.get(), read).get()));

  // The file is replaced: what was read stays. It is written over: nothing is told any more, and nobody is hurt.
  Session session(text.get());
  cli_node *const other = cli_node_first_choice(&session.get()->root)->choice_link.parent;
  ASSERT_STREQ(other->name, "other");
  std::uint32_t line = 0, column = 0;
  struct {
    const char *member;
    std::uint32_t line, column;
  } const places[] = {{"#prompt", 10, 80},
                      {"#help.args.what", 10, 59},
                      {"#help.args.w", 0, 0},
                      {"#help[0]", 0, 0},
                      {"#prompt.", 0, 0}},
          inner[] = {{"#prompt[1].value", 6, 87}, {"#commands.set.#args[0].#enum[1]", 8, 75}, {"#prompt[2]", 0, 0}};
  const auto check = [&](const cli_node *node, const auto &wanted) {
    for (const auto &[member, at_line, at_column] : wanted) {
      line = column = 0;
      EXPECT_EQ(cli_node_position(node, member, nullptr, &line, &column), at_line == 0 ? -1 : 0) << member;
      EXPECT_EQ(std::make_pair(line, column), std::make_pair(at_line, at_column)) << member;
    }
  };
  check(other, places);
  check(cli_node_first_choice(&session.get()->root), inner);
  std::filesystem::resize_file(file, 5);
  EXPECT_EQ(cli_node_position(other, nullptr, nullptr, &line, &column), -1);
  EXPECT_NE(session.say("show 5"), "");
}

TEST(Language, FaultsAreToldWithTheirPlaces) {
  const Folder folder;
  const Types registry = types();
  const std::pair<const char *, const char *> cases[] = {
      {"{'interface': {'#help': 'h',\n  '#args': [{'#type': 'unsigned', '#name': 'mtu', '#help': 'h'}]}}",
       "d.json:2:23: \"interface\", argument \"mtu\": there is no type \"unsigned\"; did you mean \"unsignedInt\"? "
       "[unknown-type] at interface / #args[0]\n"},
      {"{'a': {'#help': 'h', '#commands': {'x': {'#help': 5, '#handler': 'none'}, 'y z': {'#help': 'h'}}},\n'b': {}}",
       "d.json:1:51: \"a x\": \"#help\" is a string or a template object, not an integer [help-value] at a / x\n"
       "d.json:1:66: \"a x\": there is no handler \"none\": it is not among the host's handlers [unknown-handler] at a "
       "/ "
       "x\n"
       "d.json:1:75: \"a y z\": the word \"y\" is not declared before this definition below \"a\" [unknown-path] at a "
       "/ "
       "y "
       "z\n"
       "d.json:2:1: \"b\": \"#help\" is missing [missing-help] at b\n"},
      {"{'m': {'#help': 'h', '#prompt': [{'value': 'v', 'if': 5}], '#args': [{'#type': 'key', '#name': 'k', '#help': "
       "'h'}, 5]}}",
       "d.json:1:55: \"m\": a condition is a path or an array of paths, not an integer [condition-type] at m\n"
       "d.json:1:116: \"m\", a group: an argument is declared by an object, not an integer"},
      {"{'a': {'#help': 'h'}, 'a': {'#help': 'h'}}",
       "d.json:1:23: an earlier member of this object is named \"a\" [repeated-member] at \n"},
      {"{'a': {'#help': 'h\\u0000'}}", "d.json:1:17: the string holds an escaped NUL"},
      {"{'a': {'#help': '\xff'}}", "d.json:1:18: the text is not UTF-8 here [json] at \n"},
      {"{'a': 1e999}", "d.json:1:7: the number is too large"},
      {"{'a': 9223372036854775808}", "d.json:1:7: the integer is too large"},
      {"{'a': {}} x", "d.json:1:11: something follows"},
      {"{'a': \n", "d.json:2:1: a value is due here"},
      {"[]", "d.json:1:1: the document is an array, not an object [not-an-object] at \n"},
      {"", "d.json:1:1: the text is empty [json] at \n"},
  };
  for (const auto &[text, report] : cases) {
    Report faults;
    const std::string file = folder.write("d.json", with_quotes(text));
    EXPECT_EQ(from_text(registry.get(), file, &faults), nullptr);
    EXPECT_THAT(faults.text, testing::StartsWith(report)) << text;
    EXPECT_EQ(from_text(registry.get(), file), nullptr);  // nobody is told
  }
  Report faults;
  EXPECT_EQ(from_text(registry.get(), folder.write("d.json", "{\"a\":" + std::string(3000, '[')), &faults), nullptr);
  EXPECT_EQ(from_text(registry.get(), folder.path + "/none", &faults), nullptr);
  EXPECT_THAT(faults.text, testing::AllOf(testing::HasSubstr("d.json:1:2053: objects and arrays nest deeper"),
                                          testing::HasSubstr("none:0:0: the file cannot be read: ")));
}

// What an engine prints does not show whether others use its language.
TEST(Language, EnginesOnOneLanguagePrintWhatEachPrintsAlone) {
  const Types registry = types();
  const Json definitions = json(kLanguage);
  const Language shared = from_json(registry.get(), definitions);
  const char *const lines[] = {"show 5",    "sh 3", "if eth0",       "if e1", "set two",   "sub",  "show",
                               "do show 7", "exit", "end",           "other", "s?",        "sh ?", "set ?",
                               "do sh",     "bad",  "show detail 2", "?",     "if eth0 x", "set 3"};
  int explained = 0;
  for (unsigned seed = 0; seed < 30; seed++) {
    std::mt19937 random(seed);
    constexpr std::size_t kEngines = 3;
    std::vector<std::unique_ptr<Session>> together, alone;
    for (std::size_t i = 0; i < kEngines; i++) {
      together.push_back(std::make_unique<Session>(shared.get()));
      alone.push_back(std::make_unique<Session>(registry.get(), definitions.get()));
    }
    for (int step = 0; step < 60; step++) {
      const std::size_t who = random() % kEngines;
      if (random() % 12 == 0) {
        cli_pop_subconfig(together[who]->get());
        cli_pop_subconfig(alone[who]->get());
      }
      const char *line = lines[random() % std::size(lines)];
      ASSERT_EQ(together[who]->say(line), alone[who]->say(line)) << seed << " " << step;
      EXPECT_EQ(together[who]->get()->current == &together[who]->get()->root,
                alone[who]->get()->current == &alone[who]->get()->root);
      for (int question = 0; question < 4; question++) {
        const std::size_t asked = random() % kEngines;
        const unsigned what = static_cast<unsigned>(random());
        const std::string answer = alone[asked]->ask(what);
        ASSERT_EQ(together[asked]->ask(what), answer) << seed << " " << step << " " << what % 4;
        explained += answer.find("is a command of mode if") != std::string::npos ? 1 : 0;
      }
    }
    together.erase(together.begin() + 1);  // in whatever modes it is
    EXPECT_NE(together[0]->say("show"), "");
  }
  EXPECT_GT(explained, 10);
}

TEST(Language, ExchangeKeepsTheModesThatAreStillThere) {
  const Types registry = types();
  const Language one = from_json(registry.get(), json(kLanguage));
  const Language two = from_json(registry.get(), json(R"({'if': {'#help': 'h', '#prompt': 'new-if', '#args': [
      {'#type': 'string', '#name': 'name', '#help': 'h'}], '#commands': {'set': {'#help': 'h', '#handler': 'show'}}}})"));
  Session session(one.get());
  Session neighbour(one.get());
  session.say("if eth7");
  session.say("sub");
  neighbour.say("other");
  EXPECT_EQ(cli_exchange_language(session.get(), two.get()), 1);
  EXPECT_STREQ(session.get()->prompt_text, "cli(new-if)> ");
  EXPECT_THAT(session.say("set"), testing::HasSubstr("set if name: eth7 0\n"));
  EXPECT_EQ(cli_exchange_language(neighbour.get(), two.get()), 1);
  EXPECT_EQ(cli_exchange_language(session.get(), one.get()), 0);
  EXPECT_EQ(cli_exchange_language(session.get(), nullptr), -1);
  EXPECT_THAT(session.say("set 3"), testing::HasSubstr("set if name: eth7 0\n"));

  engine_support::Engine owner("{'if': {'#help': 'h', '#prompt': 'p'}}");
  owner.execute("if");
  EXPECT_EQ(cli_exchange_language(owner.get(), one.get()), 0);
  EXPECT_STREQ(owner->prompt_text, "cli(if)> ");
  cli_load_commands(owner.get(), owner.types(), json("{'x': {'#help': 'h', '#prompt': 'p'}}").get(), nullptr);
  owner.execute("x");
  EXPECT_STREQ(owner->prompt_text, "cli(p)> ");
}

TEST(Language, SyntaxIsTheDumpsLine) {
  const Types registry = types();
  const Language language = from_json(registry.get(), json(kLanguage));
  Session session(language.get());
  const std::string dump = printed_by([&] { cli_debug_dump(session.get()); });
  std::string lines;
  const auto print = [&](cli_node *node, const auto &self) -> void {
    DynString *plain = dyn_string_new(), *coloured = dyn_string_new();
    const int width = cli_print_syntax(node, plain, 0);
    EXPECT_EQ(width, static_cast<int>(dyn_string_len(plain)));
    EXPECT_EQ(width, cli_print_syntax(node, coloured, 1));
    if (node->parent != nullptr && (node->type == TYPE_COMMAND || node->type == TYPE_SUBCONFIG)) {
      lines += std::string(dyn_string_text(plain)) + "\n";
    }
    dyn_string_free(plain);
    dyn_string_free(coloured);
    for (cli_node *word = cli_node_first_choice(node); word != nullptr; word = cli_node_next_choice(word)) {
      self(word, self);
    }
  };
  print(&session.get()->root, print);
  EXPECT_EQ(lines, dump);
}

}  // namespace
