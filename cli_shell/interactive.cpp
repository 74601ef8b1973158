#include "cli_shell/interactive.hpp"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <optional>

#include "cli_shell/history.hpp"
#include "cli_shell/output/raw_write.hpp"
#include "cli_shell/terminal/line_editor.hpp"
#include "cli_shell/words.hpp"

namespace cli_shell {

namespace {

constexpr int kExitSignalled = 128;
constexpr const char *kExit = "exit";

EditorHooks hooks_of(Shell &shell) {
  EditorHooks hooks;
  hooks.prompt = [&shell] { return shell.prompt(); };
  hooks.help = [&shell](const std::string &before_cursor) { shell.help(before_cursor); };
  hooks.complete = [&shell](const std::string &before_cursor) { return shell.complete(before_cursor); };
  hooks.look = [&shell](const std::string &line) { return shell.look(line); };
  hooks.at_top = [&shell] { return shell.at_top(); };
  hooks.colours = shell.colours();
  return hooks;
}

// Questions of handlers go to the prompt's editor while it lives.
class Asking {
 public:
  Asking(Shell &shell, LineEditor &editor) : shell_(shell) {
    shell_.set_asker([&editor](const std::string &question, bool echo, char *answer, size_t size) {
      return editor.ask(question, echo, answer, size);
    });
  }
  ~Asking() { shell_.set_asker(nullptr); }
  Asking(const Asking &) = delete;
  Asking &operator=(const Asking &) = delete;

 private:
  Shell &shell_;
};

// Without the blanks that belong to no word.
std::string without_blanks_at_end(const std::string &line) {
  WordScanner scanner;
  size_t end = 0;
  for (size_t i = 0; i < line.size(); ++i) {
    if (!scanner.separates(line[i])) end = i + 1;
  }
  return line.substr(0, end);
}

// What the user typed, for the keys of this session and in the file for later ones. Each line is kept before it runs:
// however the session ends, nothing is left to save.
class TypedLines {
 public:
  explicit TypedLines(LineEditor &editor) : editor_(editor) {
    if (const std::optional<std::string> path = HistoryFile::default_path()) file_.emplace(*path);
    if (!file_) return;
    for (const std::string &line : file_->load()) editor_.remember(line);
  }

  void keep(const std::string &typed, bool secret) {
    const std::string line = without_blanks_at_end(typed);
    if (secret || !is_worth_keeping(line)) return;
    editor_.remember(line);
    if (!file_ || file_->append(line)) return;
    say_on_standard_error("the history is not kept: " + file_->path() + ": " + std::strerror(errno));
    file_.reset();  // said once
  }

 private:
  LineEditor &editor_;
  std::optional<HistoryFile> file_;
};

// Whether Ctrl-D leaves the shell by itself: at the top level, where the language has no "exit" to do it, or to refuse.
bool leaves_unasked(Shell &shell, const std::string &line) {
  return line == kExit && shell.at_top() && !cli_is_command(cli_parse(shell.engine(), kExit, nullptr));
}

// Once the session is left, keys and signals that come late do not keep the rest from being done.
struct Departure {
  ~Departure() {
    signal(SIGINT, SIG_IGN);
    signal(SIGQUIT, SIG_IGN);
  }
};

}  // namespace

int run_interactive(Shell &shell) {
  const Departure departure;
  LineEditor editor(hooks_of(shell), STDIN_FILENO, shell.terminal());
  const Asking asking(shell, editor);
  TypedLines typed(editor);
  bool left = false;
  while (!left && !shell.leave_requested()) {
    const Input input = editor.read();
    bool goes_on = true;
    switch (input.kind) {
      case Input::Kind::kLine:
        if (without_blanks_at_end(input.line).empty()) break;
        goes_on =
            shell.execute_typed(input.line, editor.has_pasted(), [&](bool secret) { typed.keep(input.line, secret); });
        break;
      case Input::Kind::kKeyedLine:
        left = leaves_unasked(shell, input.line);
        if (!left) shell.execute(input.line);
        break;
      case Input::Kind::kEndOfInput:
        left = true;
        break;
      case Input::Kind::kSignal:
        return kExitSignalled + input.signal;
    }
    if (!goes_on) shell.say_dropped(editor.forget_pasted());
  }
  return shell.output_lost() ? 1 : 0;
}

}  // namespace cli_shell
