// One engine with its documents and handlers libraries, as the prompt, -c, -f and the tools use it: lines go in, what
// they print goes to standard output through the filters, the pager program and the display (output.hpp).
#ifndef CLI_SHELL_SHELL_HPP
#define CLI_SHELL_SHELL_HPP

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "cli_engine/cli_engine.h"
#include "cli_shell/completion.hpp"
#include "cli_shell/documents.hpp"
#include "cli_shell/handlers_library.hpp"
#include "cli_shell/options.hpp"
#include "cli_shell/output.hpp"

namespace cli_shell {

class Shell {
 public:
  // Brings the engine up with documents and libraries that are loaded already. A fault in the documents ends the
  // process, with the library's message. The built-in "exit" and "end" are cli_shell_exit and cli_shell_end.
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

  // ---- Lines. A comment line ("!" or "#" first) does nothing. While one of these runs in an interactive session,
  // SIGINT ends the output and its filters, and nothing else; it is handled here.

  // Executes a line as typed at the prompt or given by -c: with filters behind " | ", and paged on a terminal.
  void execute(const std::string &line);

  // Further lines wait already: a pager program, which reads the keys, is not started for the ones before them.
  void expect_input(bool waits) { input_waits_ = waits; }

  // Executes a line as it stands, without filters or pager.
  void execute_plain(const std::string &line);

  // Executes the lines that `next` gives, as execute_plain does, until it gives none or leaving was requested; one set
  // of processes serves them all. `live`: what a line printed is passed on before the next line is asked for.
  void execute_all(const std::function<const char *()> &next, bool live);

  // Runs a body whose standard output is treated as a command's: harmless, and paged when that is asked for.
  void print(const std::function<void()> &body, bool paged = false);

  // Prints what may follow the text before the cursor ("?"), filters behind " | " included.
  void help(const std::string &before_cursor);

  // The words that fit at the end of the text before the cursor (Tab): command words, keywords, enumerations, values
  // that a handlers library offers, filters. Prints nothing.
  Completion complete(const std::string &before_cursor);

  // ---- State

  // The prompt, safe for a terminal (control bytes are shown as \xNN); without colour.
  std::string prompt() const;

  // Whether the line holds a secret value. Ask before the line is executed, in the mode in which it was typed.
  bool is_secret(const std::string &line);

  // No mode is entered.
  bool at_top() const { return record_.engine.current == &record_.engine.root; }

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
  // A run over the line, with marks in the tree as a line that is executed leaves them.
  cli_node *parse(const std::string &line);
  bool selects_command(const std::string &command, size_t &echo_size);
  void refuse(const std::string &message);
  void help_filters(const std::string &before_cursor, size_t filter_start);
  bool is_secret_name(const char *name) const;
  bool is_secret_value(const cli_node *node) const;

  Record record_;
  validator_typesystem *types_ = nullptr;
  std::vector<HandlersLibrary> libraries_;
  std::vector<std::string> secrets_ = {"password", "secret"};
  Output output_;
  bool started_ = false;
  bool accepts_controls_ = false;
  bool leave_requested_ = false;
  bool input_waits_ = false;
};

}  // namespace cli_shell

#endif
