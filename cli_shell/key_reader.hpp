// What the terminal sends while a line is edited: characters, and pasted text apart from them.
#ifndef CLI_SHELL_KEY_READER_HPP
#define CLI_SHELL_KEY_READER_HPP

#include <string>

#include "cli_shell/terminal_signals.hpp"

namespace cli_shell {

class KeyReader {
 public:
  KeyReader(TerminalSignals &signals, int terminal) : signals_(signals), terminal_(terminal) {}

  // Expects pasted text between marks. An escape that stands alone for so long counts as the key (-1: it waits for
  // what follows, as libedit does in emacs mode).
  void expect_pastes(int escape_timeout_ms);

  enum class Event {
    kCharacter,
    kPaste,      // pasted text is there to be taken
    kInterrupt,  // Ctrl-C was typed before the mark that ends a paste
    kSignal,     // a signal is noted; ask again when it has been attended to
    kEnd,        // the terminal is gone
  };
  Event next(wchar_t &character);

  // ---- Pasted text waits here until its lines are taken.
  struct PastedLine {
    std::wstring text;
    bool ended;  // by a newline
  };
  bool has_pasted() const { return taken_ < pasted_.size(); }
  PastedLine take_pasted_line();
  void forget_pasted();

  // Whether Ctrl-C was typed while lines of a paste were run. It is for all of them: they are forgotten.
  bool interrupts_pasted();

 private:
  enum class Read { kByte, kTimeout, kSignal, kEnd };
  enum class Mark { kPresent, kAbsent, kSignal };

  Read read_byte(int timeout_ms, char &byte);
  Event next_character(char first, wchar_t &character);
  Mark paste_begins();
  Event read_paste();
  void put_back(const std::string &bytes) { put_back_.insert(0, bytes); }

  TerminalSignals &signals_;
  int terminal_;
  bool pastes_ = false;
  int escape_timeout_ms_ = -1;
  std::string put_back_;     // bytes read ahead
  bool in_paste_ = false;    // its beginning is read, its end is not
  std::string paste_bytes_;  // what has been read of it
  std::wstring pasted_;
  size_t taken_ = 0;  // of it
};

}  // namespace cli_shell

#endif
