#include "cli_shell/terminal/line_editor.hpp"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <fstream>
#include <iterator>
#include <utility>

#include "cli_shell/history.hpp"
#include "cli_shell/output/file_descriptor.hpp"
#include "cli_shell/output/raw_write.hpp"
#include "cli_shell/plugin.h"
#include "cli_shell/words.hpp"

namespace cli_shell {

namespace {

using cli_editor::Event;
using Modes = TerminalSignals::Modes;

constexpr char kInterruptKey = '\3';

bool understands_sequences() {
  const char *terminal = std::getenv("TERM");
  return terminal != nullptr && *terminal != '\0' && std::strcmp(terminal, "dumb") != 0;
}

bool takes_question_mark_as_text(std::string_view before_cursor) {
  WordScanner scanner;
  for (const char c : before_cursor) scanner.separates(c);
  return scanner.in_quotes() || scanner.escaping();
}

std::string content_of(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

// What INPUTRC names, or ~/.inputrc.
std::string inputrc() {
  const char *const named = std::getenv("INPUTRC");
  if (named != nullptr && *named != '\0') return content_of(named);
  const char *const home = std::getenv("HOME");
  return home == nullptr ? "" : content_of(std::string(home) + "/.inputrc");
}

cli_editor::Options options_of(const EditorHooks &hooks, bool sequences) {
  cli_editor::Options options;
  options.width = [](char32_t character) { return wcwidth(static_cast<wchar_t>(character)); };
  options.longest_line = size_t{1} << 20;
  options.history_lines = kHistoryLines;
  options.sequences = sequences;
  options.colours = hooks.colours;
  options.look = hooks.look;
  return options;
}

bool is_blank_text(const std::string &text) {
  return text.find_first_not_of(" \t") == std::string::npos;
}

}  // namespace

LineEditor::LineEditor(EditorHooks hooks, int terminal, int out)
    : hooks_(std::move(hooks)),
      terminal_(terminal),
      out_(out),
      edits_(isatty(terminal_) != 0 && isatty(out_) != 0),
      sequences_(understands_sequences()),
      signals_(terminal_, out_),
      editor_(options_of(hooks_, sequences_ && edits_)) {
  editor_.configure(inputrc());
  signals_.set_modes(Modes::kQuiet, false);
}

void LineEditor::send() {
  write_all(out_, editor_.take_output());
}

void LineEditor::resize() {
  winsize size{};
  if (ioctl(terminal_, TIOCGWINSZ, &size) != 0) size = {};
  editor_.resize(size.ws_col, size.ws_row);
}

void LineEditor::begin() {
  signals_.set_modes(Modes::kRaw, edits_ && sequences_);
  resize();
  editor_.begin(hooks_.prompt());
}

Input LineEditor::read() {
  const SignalNotes before = signals_.take_notes();
  if (before.interrupt) forget_pasted();  // it was meant for the lines that a paste still holds, too
  if (before.ending != 0) return {Input::Kind::kSignal, "", before.ending};
  const TerminalSignals::Editing editing;
  begin();
  std::optional<Input> input;
  if (std::exchange(end_due_, false) && !hooks_.at_top()) {
    input = submit_keyed("end");
  } else if (interrupts_pasted()) {
    forget_pasted();
    editor_.feed({&kInterruptKey, 1});
  }
  while (!input) {
    Event event;
    switch (next_event(event)) {
      case Woken::kEvent:
        input = attend(event);
        break;
      case Woken::kAbandon:
        editor_.forget_input();
        editor_.feed({&kInterruptKey, 1});
        break;
      case Woken::kEnd:
        editor_.accept();
        input = outcome_;
        break;
    }
  }
  send();
  signals_.set_modes(Modes::kQuiet, false);
  return *input;
}

// Whether Ctrl-C was typed while lines of a paste were run. It is for all of them.
bool LineEditor::interrupts_pasted() {
  while (has_pasted() && signals_.has_input()) {
    char byte = 0;
    if (!signals_.read_byte(byte)) return false;
    if (byte == kInterruptKey) return true;
    editor_.feed({&byte, 1});
  }
  return false;
}

// What ends the reading, or nothing when it goes on.
std::optional<Input> LineEditor::attend(const Event &event) {
  switch (event.kind) {
    case Event::Kind::kLine:
      return Input{Input::Kind::kLine, event.text, 0};
    case Event::Kind::kAbandoned:
      send();
      signals_.set_modes(Modes::kQuiet, false);
      begin();
      break;
    case Event::Kind::kEndOfInput:
      return submit_keyed("exit");
    case Event::Kind::kSuspend:
      if (hooks_.at_top()) break;
      if (is_blank_text(event.text)) return submit_keyed("end");
      end_due_ = true;
      editor_.accept();
      return Input{Input::Kind::kLine, event.text, 0};
    case Event::Kind::kHelp:
      if (takes_question_mark_as_text(event.text)) {
        editor_.insert("?");
      } else {
        show_help(event.text);
      }
      break;
    case Event::Kind::kComplete:
      complete(event.text);
      break;
    case Event::Kind::kEdit:
      edit_elsewhere(event.text);
      break;
    case Event::Kind::kNone:
    case Event::Kind::kInterrupt:
      break;
  }
  return std::nullopt;
}

Input LineEditor::submit_keyed(const char *line) {
  editor_.replace(line);
  editor_.accept();
  return {Input::Kind::kKeyedLine, line, 0};
}

void LineEditor::complete(const std::string &before_cursor) {
  // A value that only the user knows: what is expected says more than silence.
  if (!editor_.complete(hooks_.complete(before_cursor))) show_help(before_cursor);
}

// In modes in which Ctrl-C ends a long output.
void LineEditor::show_help(const std::string &before_cursor) {
  editor_.step_aside();
  write_all(out_, editor_.take_pending());
  signals_.set_modes(Modes::kQuiet, false);
  hooks_.help(before_cursor);
  signals_.set_modes(Modes::kRaw, edits_ && sequences_);
  signals_.forget_interrupt();
}

void LineEditor::edit_elsewhere(const std::string &line) {
  const char *program = std::getenv("VISUAL");
  if (program == nullptr || *program == '\0') program = std::getenv("EDITOR");
  std::string path = "/tmp/cli-shell.XXXXXX";
  FileDescriptor file(program == nullptr || *program == '\0' ? -1 : mkostemp(path.data(), O_CLOEXEC));
  if (!file) return;
  if (write_all(file.get(), line + '\n')) {
    editor_.step_aside();
    write_all(out_, editor_.take_pending());
    signals_.set_modes(Modes::kBefore, false);
    const std::string command = std::string(program) + ' ' + path;
    if (std::system(command.c_str()) == 0) editor_.replace(content_of(path));  // NOLINT(cert-env33-c): the user's own
    signals_.set_modes(Modes::kRaw, edits_ && sequences_);
    signals_.forget_interrupt();
  }
  unlink(path.c_str());
}

// ---- Reading

LineEditor::Woken LineEditor::next_event(Event &event) {
  for (;;) {
    event = editor_.next();
    if (event.kind != Event::Kind::kNone) return Woken::kEvent;
    if (!signals_.has_input()) send();
    bool abandoned = false;
    char byte = 0;
    switch (signals_.wait_for_input(editor_.wait_ms())) {
      case TerminalSignals::Wake::kTimeout:
        editor_.elapsed();
        break;
      case TerminalSignals::Wake::kSignal:
        if (!attend_to_signals(abandoned)) return Woken::kEnd;
        if (abandoned) return Woken::kAbandon;
        break;
      case TerminalSignals::Wake::kInput:
        if (!signals_.read_byte(byte)) {
          outcome_ = {Input::Kind::kEndOfInput, "", 0};
          return Woken::kEnd;
        }
        editor_.feed({&byte, 1});
        break;
    }
  }
}

// Whether the line is still being read afterwards.
bool LineEditor::attend_to_signals(bool &abandoned) {
  const SignalNotes notes = signals_.take_notes();
  abandoned = notes.interrupt;
  if (notes.ending != 0) {
    outcome_ = {Input::Kind::kSignal, "", notes.ending};
    return false;
  }
  if (notes.stop) {
    signals_.set_modes(Modes::kBefore, false);
    signals_.stop_process();
  }
  if (notes.stop || notes.resumed) {  // another program may have used the terminal, and changed its modes
    signals_.set_modes(Modes::kRaw, false);
    signals_.set_modes(Modes::kRaw, edits_ && sequences_);
    editor_.forget_screen();
  }
  if (notes.stop || notes.resumed || notes.window_changed) resize();
  return true;
}

int LineEditor::ask(const std::string &question, bool echo, char *answer, size_t size) {
  outcome_ = {};
  Event event = answer_to(question, echo, size - 1);
  if (outcome_.signal != 0) std::raise(outcome_.signal);  // as anywhere in a command, it ends the process
  if (event.kind != Event::Kind::kLine) return CLI_SHELL_CANCELLED;
  answer[event.text.copy(answer, size - 1)] = '\0';
  explicit_bzero(event.text.data(), event.text.size());
  return CLI_SHELL_ANSWERED;
}

// The event that ended the question; none when something else did.
Event LineEditor::answer_to(const std::string &question, bool echo, size_t longest) {
  const TerminalSignals::Editing editing;
  signals_.set_modes(Modes::kRaw, edits_ && sequences_);
  resize();
  editor_.ask(question, echo, longest);
  Event event;
  while (editor_.is_reading() && next_event(event) == Woken::kEvent) {
  }
  if (editor_.is_reading()) {
    editor_.accept();
    event = {};
  }
  send();
  signals_.set_modes(Modes::kQuiet, false);
  return event;
}

size_t LineEditor::forget_pasted() {
  const size_t lines = editor_.lines_held();
  editor_.forget_input();
  end_due_ = false;
  return lines;
}

}  // namespace cli_shell
