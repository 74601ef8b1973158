#include "cli_shell/shell.hpp"

#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <type_traits>

#include "cli_shell/control.hpp"
#include "cli_shell/words.hpp"

int cli_shell_exit(cli *engine, cli_node *) {
  if (engine->current == &engine->root)
    cli_shell::Shell::of(engine).request_leave();
  else
    cli_pop_subconfig(engine);
  return 0;
}

int cli_shell_end(cli *engine, cli_node *) {
  cli_reset_subconfig(engine);
  return 0;
}

namespace cli_shell {
namespace {

bool is_comment(const std::string &line) {
  return line.starts_with('!') || line.starts_with('#');
}

bool is_session(const Options &options) {
  return options.actions.empty() && !options.dump && isatty(STDIN_FILENO) == 1;
}

struct StringRelease {
  void operator()(DynString *text) const { dyn_string_free(text); }
};
using StringRef = std::unique_ptr<DynString, StringRelease>;

}  // namespace

Shell::Shell(const Options &options, const Documents &documents, std::vector<HandlersLibrary> libraries)
    : record_{}, libraries_(std::move(libraries)), output_(options.colour, is_session(options)) {
  static_assert(std::is_standard_layout_v<Record>, "the engine's address is the record's");
  if (options.no_more) setenv("CLI_SHELL_MORE", "0", 1);
  record_.shell = this;
  cli *const engine = &record_.engine;
  engine->exit_handler = cli_shell_exit;
  engine->end_handler = cli_shell_end;
  engine->level = options.level.value_or(0);
  types_ = validator_typesystem_new();
  for (const HandlersLibrary &library : libraries_)
    if (library.register_types) library.register_types(types_);
  output_.run([&] { cli_init(engine, types_, documents.definitions.get(), nullptr, documents.privileges.get()); });
  if (options.level) parser_set_privilege(&engine->parser, *options.level);
  cli_set_prompt(engine, options.host ? options.host->c_str() : nullptr, options.name ? options.name->c_str() : nullptr,
                 nullptr, options.end.value_or(0));
}

Shell::~Shell() {
  if (started_) {
    output_.run([this] {
      for (const HandlersLibrary &library : libraries_)
        if (library.stop) library.stop(&record_.engine);
    });
  }
  cli_free(&record_.engine);
  validator_typesystem_free(types_);
}

void Shell::start() {
  started_ = true;
  output_.run([this] {
    for (const HandlersLibrary &library : libraries_)
      if (library.start) library.start(&record_.engine);
  });
  for (const HandlersLibrary &library : libraries_)
    for (const char *const *name = library.secrets ? library.secrets() : nullptr; name && *name; ++name)
      secrets_.emplace_back(*name);
}

Shell &Shell::of(cli *engine) {
  return *reinterpret_cast<Record *>(engine)->shell;
}

// ---- Lines

cli_node *Shell::parse(const std::string &line) {
  cli *const engine = &record_.engine;
  tokenizer_run(&engine->tokenizer, line.c_str(), -1);
  parser_set_root(&engine->parser, engine->current);
  return parser_run(&engine->parser, &engine->tokenizer, nullptr);
}

// Whether the engine will run a handler for the line; then the size of the echo that it prints first.
bool Shell::selects_command(const std::string &command, size_t &echo_size) {
  const cli_node *const selected = parse(command);
  if (!selected || selected->type != TYPE_COMMAND || !selected->parent) return false;
  const StringRef echo(dyn_string_new());
  cli_print_command(tokenizer_first(&record_.engine.tokenizer), echo.get(), 1, nullptr);
  echo_size = dyn_string_len(echo.get()) + 1;
  return true;
}

void Shell::execute(const std::string &line) {
  if (is_comment(line)) return;
  if (is_own(line)) return print([&] { run_control(&record_.engine, line); });
  FilteredLine parts = split_filters(line);
  if (!parts.error.empty()) return refuse(parts.error);

  Output::Route route;
  if (selects_command(parts.command, route.unfiltered)) {
    for (const auto &filter : parts.filters)
      if (const std::string error = filter->open(); !error.empty()) return refuse(error);
    route.filters = std::move(parts.filters);
    route.paged = !input_waits_;
    route.length = record_.engine.pager.window[0];
  }
  output_.run([&] { cli_execute(&record_.engine, parts.command.c_str()); }, std::move(route));
}

bool Shell::is_own(const std::string &line) const {
  return accepts_controls_ && is_control(line);
}

void Shell::execute_plain(const std::string &line) {
  if (is_own(line)) return print([&] { run_control(&record_.engine, line); });
  output_.run([&] { cli_execute(&record_.engine, line.c_str()); });
}

void Shell::execute_all(const std::function<const char *()> &next, bool live) {
  output_.run([&] {
    while (!leave_requested_ && !std::ferror(stdout)) {
      const char *const line = next();
      if (!line) break;
      if (is_own(line))
        run_control(&record_.engine, line);
      else
        cli_execute(&record_.engine, line);
      if (live) std::fflush(stdout);
    }
  });
}

void Shell::print(const std::function<void()> &body, bool paged) {
  output_.run(body, {.filters = {}, .unfiltered = 0, .paged = paged});
}

void Shell::refuse(const std::string &message) {
  print([&] { std::printf("%% %s\n", message.c_str()); });
}

// ---- Help and completion

void Shell::help(const std::string &before_cursor) {
  if (is_own(before_cursor)) return print(help_on_controls);
  const size_t filter_start = last_filter_start(before_cursor);
  if (filter_start != std::string::npos) return help_filters(before_cursor, filter_start);
  print([&] { cli_help(&record_.engine, before_cursor.c_str()); });
}

void Shell::help_filters(const std::string &before_cursor, size_t filter_start) {
  const FilterChoices choices = filter_choices(std::string_view(before_cursor).substr(filter_start));
  size_t width = 0;
  for (const FilterHelp &row : choices.helps) width = std::max(width, row.syntax.size());
  print([&] {
    std::printf("> [%s ?]\n", before_cursor.substr(0, filter_start).c_str());
    if (choices.helps.empty()) std::puts("% Unknown filter");
    for (const FilterHelp &row : choices.helps)
      std::printf("%-*s\t%s\n", static_cast<int>(width), row.syntax.c_str(), row.help);
  });
}

Completion Shell::complete(const std::string &before_cursor) {
  if (is_own(before_cursor)) return complete_control(before_cursor);
  const size_t filter_start = last_filter_start(before_cursor);
  if (filter_start != std::string::npos) return complete_filter(before_cursor, filter_start);
  return complete_line(&record_.engine, libraries_, before_cursor);
}

// ---- State

std::string Shell::prompt() const {
  return harmless(record_.engine.prompt_text);
}

bool Shell::is_secret_name(const char *name) const {
  return name && std::any_of(secrets_.begin(), secrets_.end(),
                             [&](const std::string &secret) { return strcasecmp(secret.c_str(), name) == 0; });
}

bool Shell::is_secret_value(const cli_node *node) const {
  if (!node || node->type != TYPE_VALUE) return false;
  if (is_secret_name(node->name) || is_secret_name(node->value.validator.type->name)) return true;
  return node->parent && node->parent->type == TYPE_KEY && is_secret_name(node->parent->name);
}

bool Shell::is_secret(const std::string &line) {
  if (is_comment(line)) return false;
  const FilteredLine parts = split_filters(line);
  parse(parts.command);
  // A word that is the secret's name counts too: a line that fails has no nodes behind it, and is no less secret.
  for (token *word = tokenizer_first(&record_.engine.tokenizer); word; word = token_next(word))
    if (is_secret_name(word->text) || is_secret_value(word->node)) return true;
  return false;
}

}  // namespace cli_shell
