#include "host.hpp"

#include "invariants.hpp"
#include "language.hpp"

// The value types of the router example, where it is linked.
extern "C" __attribute__((weak)) void cli_shell_register_types(validator_typesystem *types);

namespace {

void read_arguments(cli_node *node) {
  for (cli_node *arg = cli_node_first_arg(node); arg != nullptr; arg = cli_node_next_arg(arg)) {
    const json_t *value = cli_node_value(arg);
    FUZZ_REQUIRE(arg->type != TYPE_VALUE || value == nullptr || arg->token != nullptr);
    FUZZ_REQUIRE(cli_node_value(arg) == value);
    FUZZ_REQUIRE(arg->used == 0 || arg->name == nullptr || cli_node_getn(node, arg->name, arg->name_len) != nullptr);
    read_arguments(arg);
  }
}

}  // namespace

int fuzz_run(cli *engine, cli_node *node) {
  if (engine->context == nullptr) fuzz::EngineCheck::run(*engine);
  read_arguments(node);
  if (node->type == TYPE_COMMAND) {  // what a mode's handler writes is not shown, and kept until a command runs
    pager_feedfmt(&engine->pager, "%s\n", node->name);
    pager_newline(&engine->pager);
  }
  return 0;
}

int fuzz_refuse(cli *engine, cli_node *node) {
  fuzz_run(engine, node);
  return 1;
}

int fuzz_leave(cli *engine, cli_node *node) {
  fuzz_run(engine, node);
  cli_pop_subconfig(engine);
  return 0;
}

namespace fuzz {

void lose_output() {
  static const bool lost = freopen("/dev/null", "w", stdout) != nullptr;
  FUZZ_REQUIRE(lost);
}

void take_over_handlers(json_t *definitions) {
  const char *key = nullptr;
  json_t *value = nullptr;
  json_object_foreach(definitions, key, value) {
    if (strcmp(key, "#handler") == 0) {
      json_string_set(value, "fuzz_run");
    } else {
      take_over_handlers(value);
    }
  }
}

Host::Host(json_t *definitions, json_t *privileges) {
  lose_output();
  if (cli_shell_register_types != nullptr) cli_shell_register_types(types_);
  engine_.exit_handler = fuzz_leave;
  engine_.end_handler = [](cli *engine, cli_node *) {
    cli_reset_subconfig(engine);
    return 0;
  };
  FUZZ_REQUIRE(cli_init(&engine_, types_, definitions, nullptr, privileges) == &engine_);
  check();
}

Host::Host(cli_language *language) {
  FUZZ_REQUIRE(cli_init_language(&engine_, language, nullptr) == &engine_);
}

Host::~Host() {
  cli_debug_dump(&engine_);
  cli_free(&engine_);
  validator_typesystem_free(types_);
}

void Host::reload(json_t *definitions, json_t *privileges) {
  cli_reset_subconfig(&engine_);
  cli_unload_commands(&engine_);
  check();
  FUZZ_REQUIRE(cli_load_commands(&engine_, types_, definitions, privileges) == 0);
  check();
}

void Host::act(int action, const std::string &text) {
  switch (action) {
    case kHelp:
      cli_help(&engine_, text.c_str());
      break;
    case kComplete: {
      const Json result(json_array());
      cli_autocomplete(&engine_, text.c_str(), 0, result.get());
      for (size_t i = 0; i < json_array_size(result.get()); i++) {
        const std::string_view word = json_string_value(json_array_get(result.get(), i));
        FUZZ_REQUIRE(word.ends_with(' '));
      }
      break;
    }
    case kPrivilege:
      parser_set_privilege(&engine_.parser, static_cast<int>(text.size() % 5));
      break;
    case kLeave:
      cli_pop_subconfig(&engine_);
      break;
    case kLeaveAll:
      cli_reset_subconfig(&engine_);
      break;
    case kCondition:
      if (const Json holder(json_pack("{s:s}", text.size() % 2 == 0 ? "if" : "if-not", text.c_str())); holder) {
        cli_check_parameter_condition(&engine_, holder.get());
      }
      break;
    default:
      cli_execute(&engine_, text.c_str());
  }
  check();
}

void Host::check() {
  if (engine_.context == nullptr) EngineCheck::run(engine_);
}

}  // namespace fuzz
