// Scenarios with what an engine must answer to each of their steps: data/conformance, where a README explains them.
//   CONFORMANCE_WRITE=FOLDER  also writes there what the present engine answers
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "cli_engine/cli_engine.h"
#include "engine_support.hpp"

namespace {

using engine_support::Json;
using engine_support::printed_by;
namespace fs = std::filesystem;

const json_t *g_queries = nullptr;  // of the scenario that runs

const char *text_of(const json_t *object, const char *member) {
  const char *text = json_string_value(json_object_get(object, member));
  return text != nullptr ? text : "";
}

// ---- The handlers that the documents name ----

std::vector<std::string> answers(cli *engine, const cli_node *node, const char *handler) {
  std::vector<std::string> lines = {std::string(handler) + " " + node->name};
  for (size_t i = 0; i < json_array_size(g_queries); i++) {
    const char *path = json_string_value(json_array_get(g_queries, i));
    cli_node *found = cli_node_find(&engine->root, path);
    const std::string value = found != nullptr ? engine_support::text_of(cli_node_value(found)) : "absent";
    lines.push_back(std::string("  ") + path + ": " + value);
  }
  return lines;
}

void feed(cli *engine, const std::string &line) {
  pager_feed(&engine->pager, line.c_str());
  pager_newline(&engine->pager);
}

}  // namespace

extern "C" {

CLI_API int h_ok(cli *engine, cli_node *node) {
  for (const std::string &line : answers(engine, node, "h_ok")) feed(engine, line);
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
  for (const std::string &line : answers(engine, node, "h_enter")) std::puts(line.c_str());
  return 0;
}
CLI_API int h_refuse(cli *, cli_node *node) {
  std::printf("h_refuse %s\n", node->name);
  return 1;
}
CLI_API int h_exit(cli *engine, cli_node *) {
  cli_pop_subconfig(engine);
  return 0;
}
CLI_API int h_end(cli *engine, cli_node *) {
  cli_reset_subconfig(engine);
  return 0;
}
CLI_API int h_level(cli *engine, cli_node *) {
  if (cli_node *level = cli_node_find(&engine->root, "level"); level != nullptr) {
    parser_set_privilege(&engine->parser, static_cast<int>(json_integer_value(cli_node_value(level))));
  }
  feed(engine, "level set");
  return 0;
}
}

namespace {

// ---- Running a scenario ----

// The nodes that the last line marked, in the order of the tree: name, marks, value.
void add_marks(cli_node *node, std::string &text) {
  if (node->used != 0 || node->completed != 0 || node->token != nullptr) {
    text += std::string(node->name != nullptr ? node->name : "") + (node->used != 0 ? "+" : "") +
            (node->completed != 0 ? "!" : "") + (node->token != nullptr ? std::string("=") + node->token->text : "");
    if (const json_t *value = cli_node_value(node); node->type == TYPE_VALUE && value != nullptr)
      text += ":" + engine_support::text_of(value);
    text += "\n";
  }
  for (cli_node *arg = cli_node_first_arg(node); arg != nullptr; arg = cli_node_next_arg(arg)) add_marks(arg, text);
  for (cli_node *word = cli_node_first_choice(node); word != nullptr; word = cli_node_next_choice(word))
    add_marks(word, text);
}

// The step with what the engine answers to it; marks where the scenario has them.
Json answered(cli &engine, const json_t *step) {
  Json answer{json_copy(const_cast<json_t *>(step))};
  for (const char *member : {"output", "result", "prompt"}) json_object_del(answer.get(), member);
  const auto asked = [&](const char *member) { return json_object_get(step, member) != nullptr; };
  const std::string output = printed_by([&] {
    if (asked("execute")) cli_execute(&engine, text_of(step, "execute"));
    if (asked("help")) cli_help(&engine, text_of(step, "help"));
    if (asked("dump")) cli_debug_dump(&engine);
    if (asked("leave")) cli_pop_subconfig(&engine);
    if (asked("complete")) {
      json_object_set_new(answer.get(), "result", json_array());
      cli_autocomplete(&engine, text_of(step, "complete"), 0, json_object_get(answer.get(), "result"));
    }
    if (const json_t *level = json_object_get(step, "privilege"); level != nullptr)
      parser_set_privilege(&engine.parser, static_cast<int>(json_integer_value(level)));
    if (json_t *holder = json_object_get(step, "condition"); holder != nullptr)
      json_object_set_new(answer.get(), "result", json_integer(cli_check_parameter_condition(&engine, holder)));
  });
  if (!output.empty()) json_object_set_new(answer.get(), "output", json_string(output.c_str()));
  json_object_set_new(answer.get(), "prompt", json_string(engine.prompt_text));
  if (asked("marks")) {
    std::string marks;
    add_marks(&engine.root, marks);
    json_object_set_new(answer.get(), "marks", json_string(marks.c_str()));
  }
  return answer;
}

Json run(json_t *scenario) {
  const json_t *preset = json_object_get(scenario, "preset");
  cli engine{};
  validator_typesystem *types = validator_typesystem_new();
  std::snprintf(engine.prompt_host, sizeof engine.prompt_host, "%s", text_of(preset, "prompt_host"));
  std::snprintf(engine.prompt_name, sizeof engine.prompt_name, "%s", text_of(preset, "prompt_name"));
  engine.prompt_end = *text_of(preset, "prompt_end");
  engine.level = static_cast<int32_t>(json_integer_value(json_object_get(preset, "level")));
  engine.exit_handler = json_is_true(json_object_get(preset, "exit")) ? h_exit : nullptr;
  engine.end_handler = json_is_true(json_object_get(preset, "end")) ? h_end : nullptr;
  g_queries = json_object_get(scenario, "queries");
  json_t *definitions = json_object_get(scenario, "definition");
  cli_init(&engine, types, definitions, nullptr, json_object_get(scenario, "privileges"));
  Json steps{json_array()};
  size_t i = 0;
  const json_t *step = nullptr;
  json_array_foreach(json_object_get(scenario, "steps"), i, step) {
    json_array_append(steps.get(), answered(engine, step).get());
  }
  cli_free(&engine);
  validator_typesystem_free(types);
  return steps;
}

TEST(Conformance, EveryScenario) {
  for (const fs::directory_entry &file : fs::directory_iterator(TEST_DATA_DIR "/conformance")) {
    if (file.path().extension() != ".json") continue;
    const Json scenarios{json_load_file(file.path().c_str(), 0, nullptr)};
    EXPECT_GT(json_array_size(scenarios.get()), 0U) << file.path();
    size_t i = 0;
    json_t *scenario = nullptr;
    std::string written = "[\n";
    json_array_foreach(scenarios.get(), i, scenario) {
      const Json steps = run(scenario);
      for (size_t n = 0; n < json_array_size(steps.get()); n++) {
        const json_t *expected = json_array_get(json_object_get(scenario, "steps"), n);
        const json_t *got = json_array_get(steps.get(), n);
        if (json_equal(expected, got) != 0) continue;
        ADD_FAILURE() << file.path() << ", scenario " << i << ", step " << n << "\n"
                      << engine_support::text_of(expected) << "\n"
                      << engine_support::text_of(got);
        break;
      }
      json_object_set(scenario, "steps", steps.get());
      written += (i > 0 ? ",\n" : "") + engine_support::text_of(scenario);
    }
    if (const char *folder = std::getenv("CONFORMANCE_WRITE"); folder != nullptr)
      std::ofstream(fs::path(folder) / file.path().filename()) << written << "\n]\n";
  }
}

}  // namespace
