// One engine with its documents and handlers libraries, as the prompt, -c, -f and the tools use it: lines go in, what
// they print goes to standard output through the filters, the pager program and the display (output.hpp).
#ifndef CLI_SHELL_SHELL_HPP
#define CLI_SHELL_SHELL_HPP

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli_engine/cli_engine.h"
#include "cli_shell/documents.hpp"
#include "cli_shell/handlers_library.hpp"
#include "cli_shell/line_watch.hpp"
#include "cli_shell/options.hpp"
#include "cli_shell/output/output.hpp"
#include "cli_shell/secrets.hpp"
#include "cli_shell/tally.hpp"
#include "cli_shell/terminal/completion.hpp"

namespace cli_shell {

class Shell {
 public:
  // Brings the engine up with documents and libraries that are loaded already; both outlive the shell. A fault in the
  // documents ends the process, with the library's message. The built-in "exit" and "end" are cli_shell_exit and
  // cli_shell_end.
  Shell(const Options &options, const Documents &documents, std::vector<HandlersLibrary> libraries);
  ~Shell();
  Shell(const Shell &) = delete;
  Shell &operator=(const Shell &) = delete;

  // Lets the handlers libraries begin (cli_shell_start) and asks for their secrets; once, before the first line. What
  // was started is stopped (cli_shell_stop) when the shell is destroyed.
  void start();

  cli *engine() { return &record_.engine; }

  // The shell that an engine belongs to; only for engines that a handler of this program is called with.
  static Shell &of(cli *engine);

  // From now on lines that begin with "%" are this program's own (control.hpp), whatever the language says.
  void accept_controls() { accepts_controls_ = true; }

  // ---- Lines. A comment ("!" or "#" behind blanks) does nothing. While one of these runs in an interactive session,
  // SIGINT ends the output and its filters, and nothing else; it is handled here.

  // Executes a line as typed at the prompt or given by -c: with filters behind " | ", and paged on a terminal; false
  // when it failed.
  // `matched` hears of the line before its handler runs, or that it is not run; it may be null.
  bool execute(const std::string &line, const LineWatch::Matched &matched = nullptr);

  // Executes a line that was typed. Together with the lines that wait behind it, it is a paste: blocks are kept
  // together (cli_replay), no "exit" leaves the shell, and at the end of it the lines that failed are told. A pager
  // program, which reads the keys, is not started meanwhile. `more`: further lines wait; what waits at the terminal is
  // seen here. False when the user broke the line off, and with it the rest of a paste.
  bool execute_typed(const std::string &line, bool more, const LineWatch::Matched &matched);

  // Tells that so many lines of a paste were dropped after an interrupt.
  void say_dropped(size_t lines);

  // Executes the lines that `next` gives, without filters or pager, until it gives none, leaving was requested or, with
  // --strict, one failed. Blocks are kept together, blank lines are comments, no "exit" leaves the shell. `live`: what
  // a line printed is passed on before the next line is asked for. Returns what became of them.
  using NextLine = std::function<bool(std::string &line)>;  // false at the end
  Tally execute_all(const NextLine &next, bool live);

  // Runs a body whose standard output is treated as a command's: harmless, and paged when that is asked for.
  void print(const std::function<void()> &body, bool paged = false);

  // Prints what may follow the text before the cursor ("?"), filters behind " | " included.
  void help(const std::string &before_cursor);

  // The words that fit at the end of the text before the cursor (Tab): command words, keywords, enumerations, values
  // that a handlers library offers, filters. Prints nothing.
  cli_editor::Choices complete(const std::string &before_cursor);

  // How a line looks while it is typed (look.hpp).
  cli_editor::Look look(const std::string &line);

  // ---- Questions (cli_shell_ask)

  // What asks at the prompt; null where there is none, and an editor is made for a question.
  using Asker = std::function<int(const std::string &question, bool echo, char *answer, size_t size)>;
  void set_asker(Asker asker) { asker_ = std::move(asker); }
  int ask(const char *question, bool echo, char *answer, size_t size);

  // Standard output, whatever a command's output goes to meanwhile.
  int terminal() const { return output_.standard_output(); }

  // ---- State

  // The prompt, safe for a terminal (control bytes are shown as \xNN); without colour.
  std::string prompt() const;

  // What is secret in lines.
  const Secrets &secrets() const { return secrets_; }

  // No mode is entered.
  bool at_top() const { return record_.engine.current == &record_.engine.root; }

  // Whether lines are to end with the first one that fails.
  bool strict() const { return strict_; }

  // Asks for the end of the session after the present line.
  void request_leave() { leave_requested_ = true; }

  // An "exit" ran at the top level, or standard output was lost: read no further line.
  bool leave_requested() const { return leave_requested_ || output_.lost(); }

  // Output or a file could not be written (a message was given on standard error): the exit status is not 0.
  bool output_lost() const { return output_.lost() || output_.failed(); }

  // Whether colours may be sent to standard output.
  bool colours() const { return output_.colours(); }

 private:
  // The engine first: handlers get from its address to the shell.
  struct Record {
    cli engine;
    Shell *shell;
  };

  bool is_own(const std::string &line) const;
  bool run(const std::string &line, cli_replay_lines *text, const LineWatch::Matched &matched);
  bool note_skipped(const std::string &line, const cli_outcome &outcome, const LineWatch::Matched &matched);
  void audit(const std::string &line, int level, const char *outcome) const;
  bool refuse(const std::string &line, const std::string &message, const LineWatch::Matched &matched);
  void help_filters(const std::string &before_cursor, size_t filter_start);

  Record record_;
  validator_typesystem *types_ = nullptr;
  std::vector<HandlersLibrary> libraries_;
  HandlerTable handlers_;
  Secrets secrets_;
  Completer completer_;
  Output output_;
  LineWatch watch_;
  Asker asker_;
  bool started_ = false;
  bool accepts_controls_ = false;
  bool leave_requested_ = false;
  bool interrupted_ = false;  // the last line
  bool strict_;
  bool plain_;
  bool restricted_;
  bool audited_;

  struct ReplayEnd {
    void operator()(cli_replay_lines *text) const { cli_replay_end(text); }
  };
  using ReplayRef = std::unique_ptr<cli_replay_lines, ReplayEnd>;

  struct Paste {
    ReplayRef text;
    Tally tally;
  };
  std::optional<Paste> paste_;
};

}  // namespace cli_shell

#endif
