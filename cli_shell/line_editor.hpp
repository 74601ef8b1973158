// Reads lines at a terminal with libedit, whose keys and configuration (~/.editrc) are the user's own. What is added
// to it: "?" and Tab ask the host, Ctrl-C, Ctrl-D and Ctrl-Z mean what they mean on a network device, pasted text is
// taken as text, and signals are attended to while a key is awaited.
//
// The editor knows no command language: what it needs it asks for through EditorHooks.
#ifndef CLI_SHELL_LINE_EDITOR_HPP
#define CLI_SHELL_LINE_EDITOR_HPP

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace cli_shell {

// Words that fit at the cursor.
struct Choices {
  size_t start = 0;                // they replace the line from this byte on
  std::vector<std::string> words;  // as they stand in the line, with the blank that must follow, in order of listing
};

struct EditorHooks {
  std::function<std::string()> prompt;
  // Prints what may follow. The terminal is in its ordinary modes meanwhile.
  std::function<void(const std::string &before_cursor)> help;
  std::function<Choices(const std::string &before_cursor)> complete;
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
  LineEditor(EditorHooks hooks, FILE *in, FILE *out);
  ~LineEditor();  // gives the terminal its modes back; input that waits is kept
  LineEditor(const LineEditor &) = delete;
  LineEditor &operator=(const LineEditor &) = delete;

  Input read();

  // Whether lines of a paste wait.
  bool has_pasted() const;

  // Drops the lines of a paste that have not been read yet: the user broke off the one that ran.
  void forget_pasted();

  // Makes a line available to the keys that recall earlier ones.
  void remember(const std::string &line);

 private:
  class Session;
  std::unique_ptr<Session> session_;
};

}  // namespace cli_shell

#endif
