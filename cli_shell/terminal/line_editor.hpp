// Reads lines at a terminal: the line editor (cli_editor/editor.hpp) between a terminal device and the host's hooks.
#ifndef CLI_SHELL_TERMINAL_LINE_EDITOR_HPP
#define CLI_SHELL_TERMINAL_LINE_EDITOR_HPP

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "cli_editor/editor.hpp"
#include "cli_shell/terminal/terminal_signals.hpp"

namespace cli_shell {

struct EditorHooks {
  std::function<std::string()> prompt;
  // Prints what may follow. The terminal is in its ordinary modes meanwhile.
  std::function<void(const std::string &before_cursor)> help;
  std::function<cli_editor::Choices(const std::string &before_cursor)> complete;
  std::function<bool()> at_top;  // where Ctrl-Z has nothing to leave
  std::function<cli_editor::Look(const std::string &line)> look;
  bool colours = false;
};

// What reading a line came to.
struct Input {
  enum class Kind {
    kLine,
    kKeyedLine,   // "end" or "exit", submitted by Ctrl-Z or Ctrl-D: not a line that was typed
    kEndOfInput,  // the terminal is gone
    kSignal,      // SIGHUP or SIGTERM asks the session to end
  };
  Kind kind;
  std::string line;
  int signal = 0;
};

// One at a time in a process: it handles the session's signals while it lives (terminal_signals.hpp).
class LineEditor {
 public:
  // `out` stays the terminal while a command's output goes elsewhere; both are borrowed.
  LineEditor(EditorHooks hooks, int terminal, int out);
  LineEditor(const LineEditor &) = delete;
  LineEditor &operator=(const LineEditor &) = delete;

  Input read();

  // Asks for an answer while a command runs, as cli_shell_ask does; nothing of one without echo is kept here.
  int ask(const std::string &question, bool echo, char *answer, size_t size);

  // Whether lines of a paste wait.
  bool has_pasted() const { return editor_.lines_held() > 0; }

  // Drops the lines of a paste that have not been read yet: the user broke off the one that ran. How many they were.
  size_t forget_pasted();

  // Makes a line available to the keys that recall earlier ones.
  void remember(const std::string &line) { editor_.remember(line); }

 private:
  enum class Woken { kEvent, kAbandon, kEnd };

  void begin();
  cli_editor::Event answer_to(const std::string &question, bool echo, size_t longest);
  bool interrupts_pasted();
  std::optional<Input> attend(const cli_editor::Event &event);
  Input submit_keyed(const char *line);
  Woken next_event(cli_editor::Event &event);
  bool attend_to_signals(bool &abandoned);
  void complete(const std::string &before_cursor);
  void show_help(const std::string &before_cursor);
  void edit_elsewhere(const std::string &line);
  void send();
  void resize();

  EditorHooks hooks_;
  int terminal_;
  int out_;
  bool edits_;  // both sides are a terminal
  bool sequences_;
  TerminalSignals signals_;
  cli_editor::Editor editor_;
  bool end_due_ = false;  // by Ctrl-Z, behind the line that stood there
  Input outcome_{};       // of what ended the reading by itself
};

}  // namespace cli_shell

#endif
