#include "cli_shell/tools/preview.hpp"

#include <cstdio>
#include <cstring>
#include <functional>
#include <string>

#include "cli_shell/language_files.hpp"
#include "cli_shell/session.hpp"
#include "cli_shell/subcommands.hpp"

namespace cli_shell {
namespace {

std::string json_text(json_t *value) {
  const std::unique_ptr<char, decltype(&free)> text(json_dumps(value, JSON_ENCODE_ANY | JSON_COMPACT), free);
  return text ? text.get() : "null";
}

std::string joined(const std::string &path, const char *name) {
  if (!name) return path;
  return path.empty() ? name : path + ' ' + name;
}

struct Teller {
  const Secrets &secrets;
  std::function<void(const std::string &line)> say;
};

// The arguments of a node that the line gave, each by its path below `path`.
void say_arguments(const cli_node *node, const std::string &path, const Teller &teller) {
  for (cli_node *argument = cli_node_first_arg(node); argument; argument = cli_node_next_arg(argument)) {
    if (!argument->used) continue;
    const std::string below = joined(path, argument->name);
    if (argument->type != TYPE_CONTAINER)
      teller.say("  " + below + " = " +
                 (teller.secrets.is_value(argument) ? std::string(kHidden) : json_text(cli_node_value(argument))));
    say_arguments(argument, below, teller);
  }
}

// The arguments of the words and modes that lead to a node, the outermost first; the result is the node's own path.
std::string say_enclosing_arguments(const cli_node *node, const Teller &teller) {
  if (!node->parent) return "";
  const std::string path = say_enclosing_arguments(node->parent, teller);
  if (node->parent->parent) say_arguments(node->parent, "/ " + path, teller);
  return joined(path, node->name);
}

void say_call(cli_node *node, const char *handler, const Teller &teller) {
  teller.say(std::string("calls ") + handler);
  say_arguments(node, "", teller);
  say_enclosing_arguments(node, teller);
}

constexpr struct {
  const char *name;
  cli_handler function;
} kOwnHandlers[] = {{"cli_shell_exit", cli_shell_exit}, {"cli_shell_end", cli_shell_end}};

int call_own_handler(cli *engine, cli_node *node, const char *handler) {
  for (const auto &row : kOwnHandlers)
    if (std::strcmp(row.name, handler) == 0) return row.function(engine, node);
  return 0;
}

int preview(cli *engine, cli_node *node) {
  const char *const handler = json_string_value(json_object_get(cli_node_definition(node), "#handler"));
  const auto say = [engine, node](const std::string &line) {
    // What a mode's handler leaves in the pager is not shown.
    if (node->type == TYPE_SUBCONFIG) {
      std::puts(line.c_str());
      return;
    }
    pager_feed(&engine->pager, line.c_str());
    pager_newline(&engine->pager);
  };
  say_call(node, handler ? handler : "a handler", {Shell::of(engine).secrets(), say});
  return handler ? call_own_handler(engine, node, handler) : 0;
}

}  // namespace

const cli_handler_entry kPreviewHandlers[] = {{"*", preview}, {nullptr, nullptr}};

std::vector<HandlersLibrary> types_only(std::vector<HandlersLibrary> libraries) {
  for (HandlersLibrary &library : libraries) {
    const HandlersLibrary whole = library;
    library = HandlersLibrary{};
    library.register_types = whole.register_types;
  }
  return libraries;
}

int preview_main(const Options &options) {
  if (options.dump) return run_main(options);
  std::vector<HandlersLibrary> libraries = types_only(load_handlers_libraries(options.handlers));
  const Documents documents =
      load_language(only_operand(options, "the definition document"), options.privileges, libraries, kPreviewHandlers);
  const Session session(options);
  Shell shell(options, documents, std::move(libraries));
  shell.accept_controls();
  if (session.at_prompt())
    shell.print([] { std::puts("Commands show what they would call. %help lists what is this program's own."); });
  return session.run(shell);
}

}  // namespace cli_shell
