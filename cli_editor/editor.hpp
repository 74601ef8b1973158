// A line editor as a state machine. Bytes from a terminal, the window's size, messages and the passing of time go in;
// bytes for the terminal and events come out. It opens nothing, waits for nothing and knows no command language: who
// holds it owns the terminal, a socket or a serial line, and answers its events.
//
//   Editor editor(options);
//   editor.resize(80, 24);
//   editor.begin("router> ");
//   for (;;) {
//     Event event = editor.next();               // until there is none: feed what comes, send what is due
//     if (event.kind == Event::Kind::kNone) { send(editor.take_output()); editor.feed(receive()); continue; }
//     if (event.kind == Event::Kind::kLine) { send(editor.take_output()); run(event.line); editor.begin("router> "); }
//   }
//
// Keys are those of emacs or vi, changed by a subset of ~/.inputrc. No byte that comes in can do more than what a key
// does: texts are std::string, every place in them is checked, lines and pastes are bounded.
#ifndef CLI_EDITOR_EDITOR_HPP
#define CLI_EDITOR_EDITOR_HPP

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace cli_editor {

enum class Style : uint8_t { kPlain, kWord, kKeyword, kValue, kError, kPale, kMatch };

// How a line looks while it is typed.
struct Look {
  struct Span {
    size_t begin;  // bytes of the line
    size_t end;
    Style style;
  };
  std::vector<Span> spans;  // in order, not overlapping
  std::string rest;         // shown pale behind the line: what Tab would add. The Right key takes it, too
};

struct Options {
  int (*width)(char32_t) = nullptr;  // the columns of a character as wcwidth says them; must be set
  size_t longest_line = 65536;       // bytes; what is typed or pasted beyond them is refused with the bell
  size_t history_lines = 1000;
  bool sequences = true;  // false: a terminal that understands no escape sequences; the line scrolls in one row
  bool colours = true;
  char comment = '!';                                 // what comments a line out
  std::function<Look(const std::string &line)> look;  // may be empty; asked once for each line that is drawn
};

struct Event {
  enum class Kind {
    kNone,        // all that came is attended to
    kLine,        // a line or an answer was entered; `text`. The editor waits for begin() or ask()
    kAbandoned,   // by the interrupt key; a question also by the key for the end of input. As kLine, without a text
    kEndOfInput,  // Ctrl-D on an empty line: the line still stands; go on, or accept()
    kSuspend,     // Ctrl-Z: the same
    kHelp,        // "?" was typed: insert it, or show something and go on
    kComplete,    // Tab: answer with complete()
    kEdit,        // the line is wanted in an editor of the user's; `text` is the line. replace() takes the result
    kInterrupt,   // Ctrl-C came while no line was read; what came before it was dropped
  };
  Kind kind = Kind::kNone;
  std::string text;  // kHelp, kComplete: what stands before the cursor
};

// What may stand in the place of the word before the cursor.
struct Choices {
  struct Word {
    std::string text;  // with the blank that must follow, if any
    std::string help;
  };
  size_t start = 0;  // the words replace the line from this byte on, up to the cursor
  std::vector<Word> words;
  std::string note;  // why the words are no completion but only to be read, in a line above them; mostly empty
};

class Machine;

class Editor {
 public:
  explicit Editor(Options options);
  ~Editor();
  Editor(const Editor &) = delete;
  Editor &operator=(const Editor &) = delete;

  // Settings and bindings from the text of an inputrc: editing-mode, bell-style, completion-ignore-case, functions that
  // exist here. Everything else in it is left alone.
  void configure(std::string_view inputrc);
  void remember(const std::string &line);  // for the keys that recall earlier lines; the oldest first

  // ---- In
  void feed(std::string_view bytes);
  void resize(size_t columns, size_t rows);  // 0 for what is not known
  int wait_ms() const;                       // after so long without input call elapsed(); -1: never
  void elapsed();
  // A text of one or more lines that appears above the line being typed.
  void message(std::string_view text);

  // ---- Lines
  void begin(const std::string &prompt);  // the prompt may hold colours
  // An answer of no more than `longest` bytes. Without echo nothing of it is shown, kept for undo or recalled, and only
  // the event holds it in the end, on the heap for the caller to wipe. Lines of a paste wait until it is over.
  void ask(const std::string &prompt, bool echo, size_t longest);
  Event next();

  // ---- Answers to events, while a line is read
  void insert(std::string_view text);
  void replace(std::string_view line);
  // Completes the word as far as it is certain; a second time in a row lists the choices below the line. False when
  // there is nothing to complete with.
  bool complete(Choices choices);
  void accept();  // ends the line as Enter does, without an event
  // Leaves the line as it stands and puts the cursor below it: what is printed until the next event or output comes
  // between. What the screen held is forgotten.
  void step_aside();
  void forget_screen();  // somebody else has drawn: the line is drawn anew from the start of the cursor's row
  void forget_input();   // drops what is not attended to yet, lines of a paste included

  // ---- Out
  std::string take_output();   // draws what has changed
  std::string take_pending();  // what is due without drawing, behind step_aside()
  size_t lines_held() const;   // so many lines of a paste wait
  bool is_reading() const;
  const std::string &line() const;
  size_t cursor() const;

 private:
  std::unique_ptr<Machine> machine_;
};

}  // namespace cli_editor

#endif
