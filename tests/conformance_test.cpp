// Scenarios with what an engine must answer to each of their steps: data/conformance, where a README explains them.
//   CONFORMANCE_WRITE=FOLDER  also writes there what the present engine answers
#include <filesystem>
#include <fstream>

#include "engine_support.hpp"

namespace {

using engine_support::Json;
using engine_support::text_of;
namespace fs = std::filesystem;

const json_t *g_queries = nullptr;  // of the scenario that runs

const char *member_text(const json_t *object, const char *member) {
  const char *text = json_string_value(json_object_get(object, member));
  return text != nullptr ? text : "";
}

int number_of(const json_t *object, const char *member) {
  return static_cast<int>(json_integer_value(json_object_get(object, member)));
}

// What a handler says: its name, and then what the paths lead to.
std::string answer(cli *engine, const cli_node *node, const char *handler) {
  std::string lines = std::string(handler) + " " + node->name + "\n";
  for (size_t i = 0; i < json_array_size(g_queries); i++) {
    const char *path = json_string_value(json_array_get(g_queries, i));
    cli_node *found = cli_node_find(&engine->root, path);
    lines += std::string("  ") + path + ": " + (found != nullptr ? text_of(cli_node_value(found)) : "absent") + "\n";
  }
  return lines;
}

void feed(cli *engine, const std::string &lines) {
  for (size_t begin = 0, end = 0; (end = lines.find('\n', begin)) != std::string::npos; begin = end + 1) {
    pager_feed(&engine->pager, lines.substr(begin, end - begin).c_str());
    pager_newline(&engine->pager);
  }
}

// ---- The handlers that the documents name ----

extern "C" {
CLI_API int h_ok(cli *engine, cli_node *node) {
  feed(engine, answer(engine, node, "h_ok"));
  return 0;
}
CLI_API int h_many(cli *engine, cli_node *) {
  pager_change_indent(&engine->pager, 2);
  for (int i = 1; i <= 5; i++) {
    pager_newline(&engine->pager);
    pager_feedfmt(&engine->pager, "line %d", i);
  }
  pager_change_indent(&engine->pager, -2);
  return 0;
}
CLI_API int h_enter(cli *engine, cli_node *node) {
  std::fputs(answer(engine, node, "h_enter").c_str(), stdout);
  return 0;
}
CLI_API int h_refuse(cli *, cli_node *node) {
  std::printf("h_refuse %s\n", node->name);
  return 1;
}
CLI_API int h_exit(cli *engine, cli_node *node) {
  return engine_support::leave_mode(engine, node);
}
CLI_API int h_end(cli *engine, cli_node *node) {
  return engine_support::leave_all_modes(engine, node);
}
CLI_API int h_level(cli *engine, cli_node *) {
  if (cli_node *level = cli_node_find(&engine->root, "level"); level != nullptr)
    parser_set_privilege(&engine->parser, static_cast<int>(json_integer_value(cli_node_value(level))));
  feed(engine, "level set\n");
  return 0;
}
}

// ---- Running a scenario ----

// The nodes that the last line marked, in the order of the tree: name, marks, token, value.
void add_marks(cli_node *node, std::string &text) {
  if (node->used != 0 || node->completed != 0 || node->token != nullptr) {
    text += node->name != nullptr ? node->name : "";
    text += std::string(node->used != 0 ? "+" : "") + (node->completed != 0 ? "!" : "");
    if (node->token != nullptr) text += std::string("=") + node->token->text;
    if (node->type == TYPE_VALUE) text += ":" + text_of(cli_node_value(node));
    text += "\n";
  }
  for (cli_node *arg = cli_node_first_arg(node); arg != nullptr; arg = cli_node_next_arg(arg)) add_marks(arg, text);
  for (cli_node *word = cli_node_first_choice(node); word != nullptr; word = cli_node_next_choice(word))
    add_marks(word, text);
}

void act(cli &engine, json_t *step) {
  const auto line = [&](const char *action) { return member_text(step, action); };
  const auto asked = [&](const char *action) { return json_object_get(step, action) != nullptr; };
  if (asked("execute")) cli_execute(&engine, line("execute"));
  if (asked("help")) cli_help(&engine, line("help"));
  if (asked("dump")) cli_debug_dump(&engine);
  if (asked("privilege")) parser_set_privilege(&engine.parser, number_of(step, "privilege"));
  for (int left = number_of(step, "leave"); left > 0; left--) cli_pop_subconfig(&engine);
  if (json_t *holder = json_object_get(step, "condition"); holder != nullptr)
    json_object_set_new(step, "result", json_integer(cli_check_parameter_condition(&engine, holder)));
  if (!asked("complete")) return;
  const Json result{json_array()};
  cli_autocomplete(&engine, line("complete"), 0, result.get());
  json_object_set(step, "result", result.get());
}

// Puts what the engine answers into a scenario's steps, the marks where they are asked for.
void run(json_t *scenario) {
  const json_t *preset = json_object_get(scenario, "preset");
  cli engine{};
  validator_typesystem *types = validator_typesystem_new();
  std::snprintf(engine.prompt_host, sizeof engine.prompt_host, "%s", member_text(preset, "prompt_host"));
  std::snprintf(engine.prompt_name, sizeof engine.prompt_name, "%s", member_text(preset, "prompt_name"));
  engine.prompt_end = *member_text(preset, "prompt_end");
  engine.level = number_of(preset, "level");
  engine.exit_handler = json_is_true(json_object_get(preset, "exit")) ? h_exit : nullptr;
  engine.end_handler = json_is_true(json_object_get(preset, "end")) ? h_end : nullptr;
  g_queries = json_object_get(scenario, "queries");
  json_t *definitions = json_object_get(scenario, "definition");
  cli_init(&engine, types, definitions, nullptr, json_object_get(scenario, "privileges"));
  size_t i = 0;
  json_t *step = nullptr;
  json_array_foreach(json_object_get(scenario, "steps"), i, step) {
    for (const char *member : {"output", "result"}) json_object_del(step, member);
    const std::string output = engine_support::printed_by([&] { act(engine, step); });
    if (!output.empty()) json_object_set_new(step, "output", json_string(output.c_str()));
    json_object_set_new(step, "prompt", json_string(engine.prompt_text));
    if (json_object_get(step, "marks") == nullptr) continue;
    std::string marks;
    add_marks(&engine.root, marks);
    json_object_set_new(step, "marks", json_string(marks.c_str()));
  }
  cli_free(&engine);
  validator_typesystem_free(types);
}

TEST(Conformance, EveryScenario) {
  for (const fs::directory_entry &file : fs::directory_iterator(TEST_DATA_DIR "/conformance")) {
    if (file.path().extension() != ".json") continue;
    const Json expected{json_load_file(file.path().c_str(), 0, nullptr)}, scenarios{json_deep_copy(expected.get())};
    EXPECT_GT(json_array_size(scenarios.get()), 0U) << file.path();
    std::string written;
    for (size_t i = 0; i < json_array_size(scenarios.get()); i++) {
      json_t *scenario = json_array_get(scenarios.get(), i);
      run(scenario);
      const json_t *steps = json_object_get(scenario, "steps");
      const json_t *wanted = json_object_get(json_array_get(expected.get(), i), "steps");
      for (size_t n = 0; n < json_array_size(steps) && !HasFailure(); n++) {
        const json_t *step = json_array_get(steps, n), *right = json_array_get(wanted, n);
        EXPECT_TRUE(json_equal(step, right)) << file.path() << ", scenario " << i << ", step " << n << "\n"
                                             << text_of(right) << text_of(step);
      }
      written += (i == 0 ? "[\n" : ",\n") + text_of(scenario);
    }
    if (const char *folder = std::getenv("CONFORMANCE_WRITE"); folder != nullptr)
      std::ofstream(fs::path(folder) / file.path().filename()) << written << "\n]\n";
  }
}

}  // namespace
