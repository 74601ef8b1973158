// What is said after a failed line, and the short lists of failed lines.
#include <gtest/gtest.h>

#include <sstream>

#include "engine_support.hpp"

using engine_support::cases;
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

std::string explained(cli *engine) {
  DynString *out = dyn_string_new();
  const int count = cli_explain(engine, out);
  std::string text = dyn_string_text(out);
  dyn_string_free(out);
  EXPECT_EQ(count, std::count(text.begin(), text.end(), '\n'));
  return text;
}

struct Explained : Engine {
  Explained() : Engine(cases("explain.json", "language").get(), cases("explain.json", "privileges").get()) {}
};

// Rows of the modes' lines, the line, and what is said of it.
TEST(Explain, SaysWhatHelpsAndNothingElse) {
  Explained engine;
  engine_support::for_each_case("explain.json", "cases", [&engine](const json_t *row) {
    const std::vector<std::string> texts = engine_support::texts_of(row);
    cli_reset_subconfig(engine.get());
    std::istringstream modes(texts[0]);
    for (std::string line; std::getline(modes, line, ';');) engine.execute(line);
    engine.execute(texts[1]);
    EXPECT_EQ(explained(engine.get()), texts[2]);
  });
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
  Explained engine;
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
  Explained engine;
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
  const std::pair<const char *, std::string> lists[] = {
      {"shwo", "show "},
      {"zebra", "none"},
      {"workl", ten + "l "},
      {"mtu x", "size "},
      {"", "mtu show worda wordb wordc wordd worde wordf wordg wordh "},
  };
  for (const auto &[line, names] : lists) EXPECT_EQ(listed(line), names) << line;
}

}  // namespace
