// An engine over a document written in the test, and what it prints.
#ifndef TESTS_ENGINE_SUPPORT_HPP
#define TESTS_ENGINE_SUPPORT_HPP

#include <gtest/gtest.h>
#include <jansson.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "cli_engine/cli_engine.h"
#include "cli_engine/json_ref.hpp"

namespace engine_support {

using Json = cli_engine::JsonRef;

// Reads JSON in which apostrophes stand for quotation marks.
inline Json json(std::string text) {
  for (char &c : text) {
    c = c == '\'' ? '"' : c;
  }
  json_error_t error;
  Json value{json_loads(text.c_str(), JSON_DECODE_ANY, &error)};
  if (value == nullptr) {
    ADD_FAILURE() << error.text << " at " << error.position << " of " << text;
  }
  return value;
}

// A value as compact JSON text.
inline std::string text_of(const json_t *value) {
  const cli_engine::JsonText text{json_dumps(value, JSON_ENCODE_ANY)};
  return text != nullptr ? text.get() : "null";
}

// The cases of a kind in a file of the test data, and a function called with each.
inline Json cases(const char *file, const char *kind) {
  const Json all{json_load_file((std::string(TEST_DATA_DIR "/") + file).c_str(), JSON_ALLOW_NUL, nullptr)};
  json_t *chosen = json_object_get(all.get(), kind);
  EXPECT_GT(json_array_size(chosen) + json_object_size(chosen), 0U) << file << ' ' << kind;
  return Json{json_incref(chosen)};
}

template <class Function>
void for_each_case(const char *file, const char *kind, Function function) {
  const Json all = cases(file, kind);
  for (size_t i = 0; i < json_array_size(all.get()); i++) {
    json_t *row = json_array_get(all.get(), i);
    SCOPED_TRACE(text_of(row));
    function(row);
  }
}

// The texts of an array.
inline std::vector<std::string> texts_of(const json_t *list) {
  std::vector<std::string> texts;
  for (size_t i = 0; i < json_array_size(list); i++) texts.emplace_back(json_string_value(json_array_get(list, i)));
  return texts;
}

// What is written to standard output while the function runs.
template <class Function>
std::string printed_by(Function function) {
  std::fflush(stdout);
  std::FILE *file = std::tmpfile();
  const int saved = dup(STDOUT_FILENO);
  dup2(fileno(file), STDOUT_FILENO);
  function();
  std::fflush(stdout);
  dup2(saved, STDOUT_FILENO);
  close(saved);
  std::string text(static_cast<std::size_t>(std::ftell(file)), '\0');
  std::rewind(file);
  text.resize(std::fread(text.data(), 1, text.size(), file));
  std::fclose(file);
  return text;
}

// Colour sequences become {32}, {} and so on.
inline std::string readable(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); i++) {
    if (text.substr(i, 2) == "\033[") {
      const std::size_t end = text.find('m', i);
      out += "{" + std::string(text.substr(i + 2, end - i - 2)) + "}";
      i = end;
    } else {
      out += text[i];
    }
  }
  return out;
}

inline int leave_mode(cli *engine, cli_node *) {
  cli_pop_subconfig(engine);
  return 0;
}

inline int leave_all_modes(cli *engine, cli_node *) {
  cli_reset_subconfig(engine);
  return 0;
}

class Engine {
 public:
  explicit Engine(const std::string &definitions, const std::string &privileges = "null")
      : Engine(json(definitions).get(), json(privileges).get()) {}
  Engine(json_t *definitions, json_t *privileges) {
    engine_.exit_handler = leave_mode;
    engine_.end_handler = leave_all_modes;
    EXPECT_EQ(cli_init(&engine_, types_, definitions, nullptr, privileges), &engine_);
  }
  Engine(const Engine &) = delete;
  Engine &operator=(const Engine &) = delete;
  ~Engine() {
    cli_free(&engine_);
    validator_typesystem_free(types_);
  }

  cli *get() { return &engine_; }
  cli *operator->() { return &engine_; }
  validator_typesystem *types() { return types_; }

  std::string execute(const std::string &line) {
    return readable(printed_by([&] { cli_execute(&engine_, line.c_str()); }));
  }
  std::string help(const std::string &line) {
    return readable(printed_by([&] { cli_help(&engine_, line.c_str()); }));
  }
  std::string complete(const std::string &line, const std::string &before = "[]") {
    const Json result = json(before);
    cli_autocomplete(&engine_, line.c_str(), 0, result.get());
    return text_of(result.get());
  }
  int error() { return engine_.parser.error->errcode; }

 private:
  validator_typesystem *types_ = validator_typesystem_new();
  cli engine_{};
};

}  // namespace engine_support

#endif
