// One engine with its documents and handlers libraries, as the prompt, -c, -f and the tools use it: lines go in, what
// they print goes to standard output through the filters, the pager program and the display (output.hpp).
#ifndef CLI_SHELL_SHELL_HPP
#define CLI_SHELL_SHELL_HPP

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cli_engine/cli_engine.h"
#include "cli_shell/documents.hpp"
#include "cli_shell/handlers_library.hpp"
#include "cli_shell/options.hpp"
#include "cli_shell/output.hpp"

namespace cli_shell {

// What Tab may put in the place of the word being typed.
struct Completion {
  size_t start;                    // the words replace the line from this byte on, quotes already typed included
  std::vector<std::string> words;  // whole words, quoted where that is needed, with the blank that must follow; in the
                                   // order of the listing, without repeats. Empty: nothing can be completed, show help
};

class Shell {
 public:
  // Brings the engine up with documents and libraries that are loaded already. A fault in the documents ends the
  // process, with the library's message. The built-in "exit" and "end" are cli_shell_exit and cli_shell_end.
  Shell(const Options &options, const Documents &documents, std::vector<HandlersLibrary> libraries);
  ~Shell();
  Shell(const Shell &) = delete;
  Shell &operator=(const Shell &) = delete;

  cli *engine() { return &record_.engine; }

  // ---- Lines. A comment line ("!" or "#" first) does nothing. While one of these runs in an interactive session,
  // SIGINT ends the output and its filters, and nothing else; it is handled here.

  // Executes a line as typed at the prompt or given by -c: with filters behind " | ", and paged on a terminal.
  void execute(const std::string &line);

  // Executes a line as it stands, without filters or pager.
  void execute_plain(const std::string &line);

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

  // An "exit" ran at the top level, or standard output was lost: read no further line.
  bool leave_requested() const { return leave_requested_ || output_.lost(); }

  // Standard output could not be written (a message was given on standard error): the exit status is not 0.
  bool output_lost() const { return output_.lost(); }

  // Whether colours may be sent to standard output.
  bool colours() const { return output_.colours(); }

 private:
  friend struct ShellRecord;

  // The engine first: handlers get from its address to the shell.
  struct Record {
    cli engine;
    Shell *shell;
  };

  Record record_;
  validator_typesystem *types_ = nullptr;
  std::vector<HandlersLibrary> libraries_;
  std::vector<std::string> secrets_;
  Output output_;
  bool leave_requested_ = false;
};

}  // namespace cli_shell

#endif
