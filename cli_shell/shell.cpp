#include "cli_shell/shell.hpp"

#include <poll.h>
#include <pwd.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "cli_shell/control.hpp"
#include "cli_shell/look.hpp"
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
  const size_t first = line.find_first_not_of(" \t\v\f\r");
  return first != std::string::npos && (line[first] == '!' || line[first] == '#');
}

bool is_blank_line(const std::string &line) {
  return std::all_of(line.begin(), line.end(), is_blank);
}

// Lines that wait at the terminal, which somebody pasted or typed ahead.
bool input_waits() {
  pollfd input = {.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
  return isatty(STDIN_FILENO) == 1 && poll(&input, 1, 0) > 0;
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
    : record_{},
      libraries_(std::move(libraries)),
      handlers_(documents.definitions.get(), libraries_),
      completer_(&record_.engine, libraries_),
      output_(options.colour, is_session(options)),
      strict_(options.strict),
      plain_(options.plain),
      restricted_(options.restricted),
      audited_(options.audit) {
  static_assert(std::is_standard_layout_v<Record>, "the engine's address is the record's");
  if (options.no_more) setenv("CLI_SHELL_MORE", "0", 1);
  record_.shell = this;
  cli *const engine = &record_.engine;
  engine->handlers = handlers_.entries();
  engine->complete = [](cli *asking, cli_node *value, const char *text, json_t *result) {
    of(asking).completer_.offer_values(value, text, result);
  };
  engine->exit_handler = cli_shell_exit;
  engine->end_handler = cli_shell_end;
  engine->level = options.level.value_or(0);
  types_ = validator_typesystem_new();
  for (const HandlersLibrary &library : libraries_)
    if (library.register_types) library.register_types(types_);
  if (!cli_init_language(engine, documents.language.get(), nullptr))
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
      secrets_.add_name(*name);
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

// What is printed of a command's line before its output. The line was parsed last, and is to be parsed again.
std::string Shell::echo() {
  hide(secrets_.words(&record_.engine, false));
  const StringRef text(dyn_string_new());
  cli_print_command(tokenizer_first(&record_.engine.tokenizer), text.get(), 1, nullptr);
  return std::string(dyn_string_text(text.get()), dyn_string_len(text.get())) + '\n';
}

// Whether the engine will run a handler for the line; then the size of the echo that is printed first.
bool Shell::selects_command(const std::string &command, size_t &echo_size) {
  if (!cli_is_command(parse(command))) return false;
  echo_size = echo().size();
  return true;
}

// Executes a line that was parsed last and has secret words: none of them is printed, and they are forgotten.
void Shell::execute_hidden(const std::string &line, const cli_node *selected, const std::vector<token *> &words) {
  cli *const engine = &record_.engine;
  if (!selected) {
    constexpr size_t kErrorReport = 3;  // lines of it
    const std::string report = print_hidden(engine, words, kErrorReport, [&] { cli_execute(engine, line.c_str()); });
    std::fwrite(report.data(), 1, report.size(), stdout);
    return;
  }
  if (cli_is_command(selected)) std::fputs(echo().c_str(), stdout);
  engine->flags |= CLI_NO_ECHO;
  cli_execute(engine, line.c_str());
  engine->flags &= ~static_cast<uint32_t>(CLI_NO_ECHO);
}

// Runs the line and finds out what became of it.
bool Shell::run(const std::string &line) {
  cli *const engine = &record_.engine;
  const int level = parser_get_privilege(&engine->parser);
  const std::string told = audited_ ? masked(line) : "";
  cli_node *const selected = parse(line);
  const bool is_mode = selected && selected->type == TYPE_SUBCONFIG && selected->parent;
  const std::vector<token *> words = is_comment(line) ? std::vector<token *>() : secrets_.words(engine, !selected);
  if (words.empty())
    cli_execute(engine, line.c_str());
  else
    execute_hidden(line, selected, words);
  const bool failed = !selected || engine->parser.error->errcode != E_OK || selected->type == TYPE_WORD;
  const bool refused = is_mode && engine->current != selected;
  if (audited_) audit(told, level, failed ? "failed" : refused ? "refused" : "run");
  if (!words.empty()) forget_line(engine);
  return !failed && !refused;
}

bool Shell::execute(const std::string &line) {
  if (is_comment(line)) return true;
  if (is_own(line)) {
    print([&] { run_control(&record_.engine, line); });
    return true;
  }
  FilteredLine parts = split_filters(line);
  if (!parts.error.empty()) return refuse(parts.error);
  if (parts.saves && restricted_) return refuse("'save' is not for this shell");

  Output::Route route;
  if (selects_command(parts.command, route.unfiltered)) {
    for (const auto &filter : parts.filters)
      if (const std::string error = filter->open(); !error.empty()) return refuse(error);
    route.filters = std::move(parts.filters);
    route.paged = !paste_ && !restricted_;
    route.length = record_.engine.pager.window[0];
  }
  bool done = false;  // stays so when the line could not be run
  output_.run(
      [&] {
        if (paste_)
          done = run_in_block(parts.command, paste_->block);
        else
          done = run(parts.command);
      },
      std::move(route));
  return done;
}

void Shell::execute_typed(const std::string &line, bool more) {
  more = more || input_waits();
  if (more && !paste_) paste_.emplace(Paste{.block = Block(&record_.engine), .tally = {}});
  const bool done = execute(line);
  if (!paste_) return;
  paste_->tally.count(!done);
  if (more && !Output::interrupted()) return;
  const std::string report = paste_->tally.report();
  paste_.reset();
  if (!report.empty()) print([&] { std::printf("%% %s\n", report.c_str()); });
}

bool Shell::ends_session(const cli_node *selected) const {
  return selected && selected->type == TYPE_COMMAND && selected->name && std::strcmp(selected->name, "exit") == 0;
}

bool Shell::run_in_block(const std::string &line, Block &block) {
  if (!block.wants(line)) {
    std::printf("%% Left out with the line that it belongs to: %s\n", masked(line).c_str());
    return false;
  }
  const bool ends = block.is_at_base() && ends_session(parse(line));
  const bool done = ends || run(line);
  block.note(!done);
  return done;
}

bool Shell::is_own(const std::string &line) const {
  return accepts_controls_ && is_control(line);
}

Tally Shell::execute_all(const NextLine &next, bool live) {
  Tally tally;
  Block block(&record_.engine);
  output_.run([&] {
    std::string line;
    while (!leave_requested_ && !std::ferror(stdout) && !(strict_ && tally.failed() > 0) && next(line)) {
      bool done = true;
      if (is_own(line))
        run_control(&record_.engine, line);
      else if (!is_comment(line) && !is_blank_line(line))
        done = run_in_block(line, block);
      tally.count(!done);
      explicit_bzero(line.data(), line.size());
      if (live) std::fflush(stdout);
    }
  });
  return tally;
}

void Shell::print(const std::function<void()> &body, bool paged) {
  output_.run(body, {.filters = {}, .unfiltered = 0, .paged = paged});
}

bool Shell::refuse(const std::string &message) {
  print([&] { std::printf("%% %s\n", message.c_str()); });
  return false;
}

// ---- Help and completion

void Shell::help(const std::string &before_cursor) {
  if (is_own(before_cursor)) return print(help_on_controls);
  const size_t filter_start = last_filter_start(before_cursor);
  if (filter_start != std::string::npos) return help_filters(before_cursor, filter_start);
  print([&] {
    cli *const engine = &record_.engine;
    const bool failed = !parse(before_cursor) && engine->parser.error->errcode != E_INCOMPLETE;
    const std::string text =
        print_hidden(engine, secrets_.words(engine, failed), 1, [&] { cli_help(engine, before_cursor.c_str()); });
    std::fwrite(text.data(), 1, text.size(), stdout);
  });
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

cli_editor::Choices Shell::complete(const std::string &before_cursor) {
  if (is_own(before_cursor)) return complete_control(before_cursor);
  const size_t filter_start = last_filter_start(before_cursor);
  if (filter_start != std::string::npos) return complete_filter(before_cursor, filter_start);
  return completer_.complete(before_cursor);
}

cli_editor::Look Shell::look(const std::string &line) {
  if (plain_ || is_own(line)) return {};
  return look_of(&record_.engine, completer_, line);
}

// ---- State

std::string Shell::prompt() const {
  return harmless(record_.engine.prompt_text);
}

bool Shell::is_secret(const std::string &line) {
  if (is_comment(line)) return false;
  const FilteredLine parts = split_filters(line);
  const bool failed = parse(parts.command) == nullptr;
  return secrets_.are_mentioned(&record_.engine, failed);
}

// The line's words, those that are secret, or may be, left out.
std::string Shell::masked(const std::string &line) {
  const bool failed = parse(line) == nullptr;
  hide(secrets_.words(&record_.engine, failed));
  std::string text;
  for (token *word = tokenizer_first(&record_.engine.tokenizer); word; word = token_next(word))
    text += (text.empty() ? "" : " ") + quoted(word->text);
  return harmless(text);
}

void Shell::audit(const std::string &line, int level, const char *outcome) const {
  const passwd *const user = getpwuid(getuid());
  const std::string name = user ? user->pw_name : std::to_string(getuid());
  syslog(LOG_AUTHPRIV | LOG_NOTICE, "user=%s level=%d outcome=%s line=%s", name.c_str(), level, outcome, line.c_str());
}

}  // namespace cli_shell
