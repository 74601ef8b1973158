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
#include "cli_shell/terminal/line_editor.hpp"
#include "cli_shell/terminal/look.hpp"
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

int cli_shell_ask(cli *engine, const char *question, int echo, char *answer, size_t size) {
  return cli_shell::Shell::of(engine).ask(question, echo != 0, answer, size);
}

namespace cli_shell {
namespace {

bool is_comment(const std::string &line) {
  const size_t first = line.find_first_not_of(" \t\v\f\r");
  return first != std::string::npos && (line[first] == '!' || line[first] == '#');
}

// Lines that wait at the terminal, which somebody pasted or typed ahead.
bool input_waits() {
  pollfd input = {.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
  return isatty(STDIN_FILENO) == 1 && poll(&input, 1, 0) > 0;
}

bool is_session(const Options &options) {
  return options.actions.empty() && !options.dump && isatty(STDIN_FILENO) == 1;
}

}  // namespace

Shell::Shell(const Options &options, const Documents &documents, std::vector<HandlersLibrary> libraries)
    : record_{},
      libraries_(std::move(libraries)),
      handlers_(documents.definitions.get(), libraries_),
      completer_(&record_.engine, libraries_),
      output_(options.colour, is_session(options)),
      watch_(&record_.engine, secrets_, output_),
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

// Runs the line, alone or as the next one of a text; whether it did what it was meant to do.
bool Shell::run(const std::string &line, cli_replay_lines *text, const LineWatch::Matched &matched) {
  cli *const engine = &record_.engine;
  const int level = parser_get_privilege(&engine->parser);
  std::string told;
  bool has_secret = false;
  watch_.begin_line([&](bool secret) {
    has_secret = secret;
    if (audited_) told = watch_.masked();
    if (matched) matched(secret);
  });
  cli_outcome outcome;
  if (text)
    cli_replay_line(text, line.c_str(), &outcome);
  else
    cli_run(engine, line.c_str(), 0, &outcome);
  if (outcome.kind == CLI_PENDING) {  // there is nobody else who could end it
    cli_finish(engine, outcome.result);
    outcome = *cli_last_outcome(engine);
  }
  interrupted_ = outcome.interrupted != 0;
  watch_.end(outcome.kind != CLI_SKIPPED && outcome.kind != CLI_BUSY);
  // The text keeps its last line: a comment takes the place of this one.
  if (text && (has_secret || outcome.kind == CLI_SKIPPED))
    cli_replay_line(text, std::string(line.size(), '!').c_str(), nullptr);
  if (outcome.kind == CLI_SKIPPED) return note_skipped(line, outcome, matched);
  const bool failed = outcome.kind != CLI_RAN && outcome.kind != CLI_ENTERED && outcome.kind != CLI_REFUSED;
  const bool refused = outcome.kind == CLI_REFUSED || outcome.result != 0;
  if (audited_) audit(told, level, failed ? "failed" : refused ? "refused" : "run");
  return !failed && !refused;
}

// A comment, an "exit" that leaves nothing, or a line that belongs to one that failed, which is told.
bool Shell::note_skipped(const std::string &line, const cli_outcome &outcome, const LineWatch::Matched &matched) {
  const bool left_out = outcome.errcode != E_OK || outcome.node;
  if (left_out) {
    watch_.look_at(line, matched);
    std::printf("%% Left out with the line that it belongs to: %s\n", watch_.masked().c_str());
    watch_.end(false);
  } else if (matched) {
    matched(false);
  }
  return !left_out;
}

bool Shell::execute(const std::string &line, const LineWatch::Matched &matched) {
  if (is_comment(line) || is_own(line)) {
    if (matched) matched(false);
    if (is_own(line)) print([&] { run_control(&record_.engine, line); });
    return true;
  }
  FilteredLine parts = split_filters(line);
  std::string wrong = std::move(parts.error);
  if (wrong.empty() && parts.saves && restricted_) wrong = "'save' is not for this shell";
  if (!wrong.empty()) return refuse(parts.command, wrong, matched);
  for (const auto &filter : parts.filters)
    if (wrong.empty()) wrong = filter->open();
  if (!wrong.empty()) {
    if (cli_is_command(cli_parse(&record_.engine, parts.command.c_str(), nullptr)))
      return refuse(parts.command, wrong, matched);
    parts.filters.clear();  // what the line lacks is told first
  }

  Output::Route route{
      .filters = std::move(parts.filters), .paged = !paste_ && !restricted_, .length = record_.engine.pager.window[0]};
  bool done = false;  // stays so when the line could not be run
  output_.run([&] { done = run(parts.command, paste_ ? paste_->text.get() : nullptr, matched); }, std::move(route));
  if (interrupted_) Output::note_interrupted();
  return done;
}

bool Shell::execute_typed(const std::string &line, bool more, const LineWatch::Matched &matched) {
  more = more || input_waits();
  if (more && !paste_) paste_.emplace(Paste{.text = ReplayRef(cli_replay_begin(&record_.engine, 0)), .tally = {}});
  const bool done = execute(line, matched);
  const bool goes_on = !Output::interrupted();
  if (!paste_) return goes_on;
  paste_->tally.count(!done);
  if (more && goes_on) return true;
  const std::string report = paste_->tally.report();
  paste_.reset();
  if (!report.empty()) print([&] { std::printf("%% %s\n", report.c_str()); });
  return goes_on;
}

void Shell::say_dropped(size_t lines) {
  if (lines > 0) print([lines] { std::printf("%% The rest of the paste is dropped, %zu lines\n", lines); });
}

bool Shell::is_own(const std::string &line) const {
  return accepts_controls_ && is_control(line);
}

Tally Shell::execute_all(const NextLine &next, bool live) {
  Tally tally;
  const ReplayRef text(cli_replay_begin(&record_.engine, 0));
  output_.run([&] {
    std::string line;
    while (!leave_requested_ && !std::ferror(stdout) && !(strict_ && tally.failed() > 0) && next(line)) {
      bool done = true;
      if (is_own(line))
        run_control(&record_.engine, line);
      else
        done = run(line, text.get(), nullptr);
      tally.count(!done);
      explicit_bzero(line.data(), line.size());
      if (live) std::fflush(stdout);
    }
  });
  return tally;
}

void Shell::print(const std::function<void()> &body, bool paged) {
  const auto begin_and_print = [&] {
    if (paged) output_.begin_command(0);
    body();
  };
  output_.run(begin_and_print, {.filters = {}, .paged = paged});
}

// Says why a line is not run.
bool Shell::refuse(const std::string &line, const std::string &message, const LineWatch::Matched &matched) {
  if (matched) watch_.look_at(line, matched);
  watch_.end(false);
  print([&] { std::printf("%% %s\n", message.c_str()); });
  return false;
}

// ---- Help and completion

void Shell::help(const std::string &before_cursor) {
  if (is_own(before_cursor)) return print(help_on_controls);
  const size_t filter_start = last_filter_start(before_cursor);
  if (filter_start != std::string::npos) return help_filters(before_cursor, filter_start);
  print([&] {
    watch_.begin_help();
    cli_help(&record_.engine, before_cursor.c_str());
    watch_.end();
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

// ---- Questions

int Shell::ask(const char *question, bool echo, char *answer, size_t size) {
  if (size > 0) answer[0] = '\0';
  const bool somebody = isatty(STDIN_FILENO) == 1 && isatty(terminal()) == 1;
  if (size == 0 || !somebody || !output_.settle()) return CLI_SHELL_NOBODY;
  if (asker_) return asker_(question, echo, answer, size);
  return LineEditor({}, STDIN_FILENO, terminal()).ask(question, echo, answer, size);
}

// ---- State

std::string Shell::prompt() const {
  return harmless(record_.engine.prompt_text);
}

void Shell::audit(const std::string &line, int level, const char *outcome) const {
  const passwd *const user = getpwuid(getuid());
  const std::string name = user ? user->pw_name : std::to_string(getuid());
  syslog(LOG_AUTHPRIV | LOG_NOTICE, "user=%s level=%d outcome=%s line=%s", name.c_str(), level, outcome, line.c_str());
}

}  // namespace cli_shell
