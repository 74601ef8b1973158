#include "cli_shell/line_editor.hpp"

#include <histedit.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include "cli_shell/columns.hpp"
#include "cli_shell/display_text.hpp"
#include "cli_shell/history.hpp"
#include "cli_shell/key_reader.hpp"
#include "cli_shell/terminal_signals.hpp"
#include "cli_shell/wide_text.hpp"
#include "cli_shell/words.hpp"

namespace cli_shell {

namespace {

struct EditLineEnd {
  void operator()(EditLine *editor) const { el_end(editor); }
};
struct HistoryEnd {
  void operator()(HistoryW *history) const { history_wend(history); }
};

constexpr std::string_view kPasteOn = "\033[?2004h";
constexpr std::string_view kPasteOff = "\033[?2004l";
// Stands for pasted text in the stream of keys. Ctrl-backslash is bound to nothing else.
constexpr wchar_t kPasteKey = L'\x1c';

// How long an escape may stand alone before it counts as the key, in vi mode, where that key is in use.
constexpr int kEscapeTimeoutMs = 100;

bool understands_sequences() {
  const char *terminal = std::getenv("TERM");
  return terminal != nullptr && *terminal != '\0' && std::strcmp(terminal, "dumb") != 0;
}

std::string common_start(const std::vector<std::string> &words) {
  std::string common = words.front();
  for (const std::string &word : words) {
    const auto [end, unused] = std::mismatch(common.begin(), common.end(), word.begin(), word.end());
    common.erase(end, common.end());
  }
  // Characters that share their first bytes only have nothing in common.
  return encode(decode(common));
}

bool takes_question_mark_as_text(std::string_view before_cursor) {
  WordScanner scanner;
  for (const char c : before_cursor) scanner.separates(c);
  return scanner.in_quotes() || scanner.escaping();
}

}  // namespace

class LineEditor::Session {
 public:
  Session(EditorHooks hooks, FILE *in, FILE *out);
  ~Session();
  Session(const Session &) = delete;
  Session &operator=(const Session &) = delete;

  Input read();
  void remember(const std::string &line);
  void forget_pasted() { keys_.forget_pasted(); }
  bool has_pasted() const { return keys_.has_pasted(); }

 private:
  // A key's work on the screen below the line is done when libedit asks for the next key: only then has it brought
  // the cursor to the end of the line.
  enum class Below { kNothing, kHelp, kChoices, kAbandon };

  // A walk through the history, from the line as it was typed to earlier lines that begin like it.
  struct Recall {
    std::wstring typed;
    std::wstring prefix;
    std::wstring shown;
    size_t steps_back = 0;
  };

  void bind_keys();
  bool is_vi() const;
  void set_terminal_modes();
  void set_bracketed_paste(bool on);
  void clear_echo_of_typed_ahead();

  // ---- Keys
  unsigned char help_key(wint_t key);
  unsigned char complete_key(wint_t key);
  unsigned char abandon_key(wint_t key);
  unsigned char end_key(wint_t key);
  unsigned char exit_or_delete_key(wint_t key);
  unsigned char paste_key(wint_t key);
  unsigned char recall_back_key(wint_t) { return recall(true, 0); }
  unsigned char recall_forward_key(wint_t) { return recall(false, 0); }
  // In vi's command mode the cursor stands on the last character typed.
  unsigned char vi_recall_back_key(wint_t) { return recall(true, 1); }
  unsigned char vi_recall_forward_key(wint_t) { return recall(false, 1); }
  unsigned char recall(bool back, size_t under_cursor);

  // ---- The line
  std::string text_before_cursor() const;
  std::wstring whole_line() const;
  void replace_line(const std::wstring &line);
  unsigned char show_below(Below what);
  unsigned char submit_keyed(const wchar_t *line);
  unsigned char insert_completion(const Choices &choices, const std::string &before, std::string word);
  bool find_recalled(size_t steps_back, std::wstring &found) const;

  // ---- Below the line
  bool do_below();
  void print_help();
  void print_choices();
  size_t window_width() const;

  // ---- Reading
  int next_key(wchar_t *key);
  bool attend_to_signals();
  void stop_and_resume();
  void redraw_in_new_window();
  void redraw_from_start_of_row();
  size_t rows_above_cursor() const;

  template <auto Method>
  static unsigned char bound(EditLine *editor, wint_t key) {
    return (of(editor).*Method)(key);
  }
  static Session &of(EditLine *editor) {
    void *session = nullptr;
    el_wget(editor, EL_CLIENTDATA, &session);
    return *static_cast<Session *>(session);
  }

  EditorHooks hooks_;
  FILE *out_;
  int terminal_;
  bool edits_;  // both sides are a terminal and the user wants editing
  bool sequences_ = understands_sequences();
  TerminalSignals signals_;
  KeyReader keys_;
  std::unique_ptr<HistoryW, HistoryEnd> history_;
  std::unique_ptr<EditLine, EditLineEnd> editor_;

  std::wstring prompt_;  // of the line being read
  Below below_ = Below::kNothing;
  std::string before_cursor_;  // what help and choices are for
  int from_end_ = 0;           // where the cursor was when it was moved to the end of the line
  std::vector<std::string> listed_;
  bool submit_ = false;                 // the line is to be ended as if by Enter
  Input outcome_{};                     // of the line being read
  bool abandoned_ = false;              // the line being read is not wanted
  bool stopped_ = false;                // no further key for this line
  std::optional<std::wstring> tabbed_;  // the line after a Tab that left several choices
  Recall recall_;
};

LineEditor::Session::Session(EditorHooks hooks, FILE *in, FILE *out)
    : hooks_(std::move(hooks)),
      out_(out),
      terminal_(fileno(in)),
      edits_(isatty(fileno(in)) != 0 && isatty(fileno(out)) != 0),
      signals_(terminal_),
      keys_(signals_, terminal_),
      history_(history_winit()),
      editor_(el_init("cli-shell", in, out, stderr)) {
  if (!history_ || !editor_) throw std::bad_alloc();
  HistEventW event;
  history_w(history_.get(), &event, H_SETSIZE, static_cast<int>(kHistoryLines));
  history_w(history_.get(), &event, H_SETUNIQUE, 1);

  EditLine *editor = editor_.get();
  el_wset(editor, EL_CLIENTDATA, this);
  el_wset(editor, EL_HIST, history_w, history_.get());
  el_wset(
      editor, EL_PROMPT, +[](EditLine *of_editor) { return of(of_editor).prompt_.data(); });
  el_wset(
      editor, EL_GETCFN, +[](EditLine *of_editor, wchar_t *key) { return of(of_editor).next_key(key); });
  el_wset(editor, EL_EDITOR, L"emacs");
  el_source(editor, nullptr);
  int wanted = 1;
  el_wget(editor, EL_EDITMODE, &wanted);
  edits_ = edits_ && wanted != 0;
  bind_keys();
  if (edits_) set_terminal_modes();
  if (edits_) keys_.expect_pastes(is_vi() ? kEscapeTimeoutMs : -1);
}

LineEditor::Session::~Session() {
  // libedit would throw away what was typed ahead for the program that is next at the terminal.
  el_wset(editor_.get(), EL_PREP_TERM, 0);
  el_wset(editor_.get(), EL_EDITMODE, 0);
  signals_.restore_terminal();
}

// After ~/.editrc: choosing vi or emacs keys there begins with fresh maps.
void LineEditor::Session::bind_keys() {
  using KeyFunction = unsigned char (*)(EditLine *, wint_t);
  struct Function {
    const wchar_t *name;
    const wchar_t *help;
    KeyFunction function;
  };
  static constexpr Function kFunctions[] = {
      {L"cli-help", L"Show what may follow", bound<&Session::help_key>},
      {L"cli-complete", L"Complete the word", bound<&Session::complete_key>},
      {L"cli-abandon", L"Abandon the line", bound<&Session::abandon_key>},
      {L"cli-end", L"Submit end", bound<&Session::end_key>},
      {L"cli-exit-or-delete", L"Submit exit, or delete the next character", bound<&Session::exit_or_delete_key>},
      {L"cli-paste", L"Insert pasted text", bound<&Session::paste_key>},
      {L"cli-recall-back", L"The line before that begins like this one", bound<&Session::recall_back_key>},
      {L"cli-recall-forward", L"The next line that begins like this one", bound<&Session::recall_forward_key>},
      {L"cli-vi-recall-back", L"The same in vi's command mode", bound<&Session::vi_recall_back_key>},
      {L"cli-vi-recall-forward", L"The same in vi's command mode", bound<&Session::vi_recall_forward_key>},
  };
  enum Map { kMain = 1, kCommand = 2, kBoth = kMain | kCommand, kEmacs = 4 };
  struct Key {
    const wchar_t *keys;
    const wchar_t *function;
    int maps;  // kMain: emacs and vi's insert mode; kCommand: vi's command mode; kEmacs: not in vi mode
  };
  // In vi mode an arrow's escape leads to the command mode, where the rest of its sequence is looked up.
  static constexpr Key kKeys[] = {
      {L"?", L"cli-help", kMain},
      {L"^I", L"cli-complete", kMain},
      {L"^C", L"cli-abandon", kBoth},
      {L"^Z", L"cli-end", kBoth},
      {L"^D", L"cli-exit-or-delete", kBoth},
      {L"\\034", L"cli-paste", kBoth},
      {L"\\e[A", L"cli-recall-back", kEmacs},
      {L"\\eOA", L"cli-recall-back", kEmacs},
      {L"\\e[B", L"cli-recall-forward", kEmacs},
      {L"\\eOB", L"cli-recall-forward", kEmacs},
      {L"[A", L"cli-vi-recall-back", kCommand},
      {L"OA", L"cli-vi-recall-back", kCommand},
      {L"[B", L"cli-vi-recall-forward", kCommand},
      {L"OB", L"cli-vi-recall-forward", kCommand},
  };
  EditLine *editor = editor_.get();
  const bool vi = is_vi();
  for (const Function &row : kFunctions) el_wset(editor, EL_ADDFN, row.name, row.help, row.function);
  for (const Key &row : kKeys) {
    if ((row.maps & kMain) != 0 || ((row.maps & kEmacs) != 0 && !vi)) {
      el_wset(editor, EL_BIND, row.keys, row.function, nullptr);
    }
    if ((row.maps & kCommand) != 0 && vi) el_wset(editor, EL_BIND, L"-a", row.keys, row.function, nullptr);
  }
}

bool LineEditor::Session::is_vi() const {
  const wchar_t *mode = L"";
  el_wget(editor_.get(), EL_EDITOR, &mode);
  return std::wstring_view(mode) == L"vi";
}

// While a line is edited no key makes a signal: Ctrl-C and Ctrl-Z are keys with a meaning of their own. Nor does the
// terminal turn line ends into others, since a paste may end its lines with two bytes. While a command runs Ctrl-C
// interrupts it as ever, but Ctrl-Z is kept for the next line, since nobody here could continue a stopped shell.
void LineEditor::Session::set_terminal_modes() {
  el_wset(editor_.get(), EL_SETTY, L"-d", L"-isig", L"-icrnl", L"-inlcr", nullptr);
  el_wset(editor_.get(), EL_SETTY, L"-x", L"susp=", nullptr);
}

void LineEditor::Session::set_bracketed_paste(bool on) {
  if (!edits_ || !sequences_) return;
  const std::string_view sequence = on ? kPasteOn : kPasteOff;
  fwrite(sequence.data(), 1, sequence.size(), out_);
  fflush(out_);
}

// What was typed while a command ran stands on the screen already, and libedit shows it again: the part that has no
// newline yet would put the prompt, and all that libedit reckons from it, into the wrong column.
void LineEditor::Session::clear_echo_of_typed_ahead() {
  if (!edits_) return;
  el_wset(editor_.get(), EL_PREP_TERM, 1);
  int waiting = 0;
  if (ioctl(terminal_, FIONREAD, &waiting) != 0 || waiting == 0) return;
  fputs(sequences_ ? "\r\033[K" : "\r\n", out_);
}

Input LineEditor::Session::read() {
  const SignalNotes before = signals_.take_notes();
  if (before.interrupt) keys_.forget_pasted();  // it was meant for the lines that a paste still holds, too
  if (before.ending != 0) return {Input::Kind::kSignal, "", before.ending};
  const TerminalSignals::Editing editing;
  for (;;) {
    prompt_ = decode(hooks_.prompt());
    outcome_ = {Input::Kind::kLine, "", 0};
    below_ = Below::kNothing;
    submit_ = abandoned_ = stopped_ = false;
    tabbed_.reset();
    recall_ = {};

    set_bracketed_paste(true);
    clear_echo_of_typed_ahead();
    int count = 0;
    const wchar_t *text = el_wgets(editor_.get(), &count);
    set_bracketed_paste(false);
    if (abandoned_) {
      if (edits_) fputs("^C\n", out_);
      continue;
    }
    if (text == nullptr) {
      if (outcome_.kind == Input::Kind::kLine) outcome_.kind = Input::Kind::kEndOfInput;
      if (edits_) fputs("\n", out_);
      fflush(out_);
      return std::move(outcome_);
    }
    outcome_.line = encode(std::wstring_view(text, static_cast<size_t>(count)));
    while (!outcome_.line.empty() && (outcome_.line.back() == '\n' || outcome_.line.back() == '\r')) {
      outcome_.line.pop_back();
    }
    return std::move(outcome_);
  }
}

void LineEditor::Session::remember(const std::string &line) {
  HistEventW event;
  history_w(history_.get(), &event, H_ENTER, decode(line).c_str());
}

// ---- Keys

unsigned char LineEditor::Session::help_key(wint_t key) {
  before_cursor_ = text_before_cursor();
  if (takes_question_mark_as_text(before_cursor_)) {
    const wchar_t text[] = {static_cast<wchar_t>(key), L'\0'};
    el_winsertstr(editor_.get(), text);
    return CC_REFRESH;
  }
  return show_below(Below::kHelp);
}

unsigned char LineEditor::Session::complete_key(wint_t) {
  before_cursor_ = text_before_cursor();
  Choices choices = hooks_.complete(before_cursor_);
  // A value that only the user knows: what is expected says more than silence.
  if (choices.words.empty()) return show_below(Below::kHelp);

  const std::string common = common_start(choices.words);
  if (choices.words.size() == 1) {
    tabbed_.reset();
    return insert_completion(choices, before_cursor_, common);
  }
  const bool is_second = tabbed_ == whole_line();
  if (common.size() > before_cursor_.size() - choices.start) {
    const unsigned char result = insert_completion(choices, before_cursor_, common);
    tabbed_ = whole_line();
    return result;
  }
  tabbed_ = whole_line();
  if (!is_second) return CC_REFRESH_BEEP;
  listed_ = std::move(choices.words);
  return show_below(Below::kChoices);
}

unsigned char LineEditor::Session::abandon_key(wint_t) {
  return show_below(Below::kAbandon);
}

unsigned char LineEditor::Session::end_key(wint_t) {
  return submit_keyed(L"end");
}

unsigned char LineEditor::Session::exit_or_delete_key(wint_t) {
  const LineInfoW *line = el_wline(editor_.get());
  if (line->lastchar == line->buffer) return submit_keyed(L"exit");
  if (line->cursor == line->lastchar) return CC_ERROR;
  el_cursor(editor_.get(), 1);
  el_deletestr(editor_.get(), 1);
  return CC_REFRESH;
}

// Inserts pasted text up to its next newline, which then ends the line.
unsigned char LineEditor::Session::paste_key(wint_t) {
  const KeyReader::PastedLine line = keys_.take_pasted_line();
  submit_ = line.ended;
  if (!line.text.empty() && el_winsertstr(editor_.get(), line.text.c_str()) != 0) return CC_ERROR;
  return CC_REFRESH;
}

// libedit's own search of this kind also finds the text amid a line, and as a regular expression: the dots of an
// address match too much.
unsigned char LineEditor::Session::recall(bool back, size_t under_cursor) {
  const std::wstring line = whole_line();
  if (recall_.steps_back == 0 || line != recall_.shown) {
    const LineInfoW *info = el_wline(editor_.get());
    recall_ = {};
    recall_.typed = line;
    recall_.prefix = line.substr(0, static_cast<size_t>(info->cursor - info->buffer) + under_cursor);
  }
  if (!back && recall_.steps_back == 0) return CC_ERROR;
  const size_t steps_back = back ? recall_.steps_back + 1 : recall_.steps_back - 1;
  std::wstring found = recall_.typed;
  if (steps_back != 0 && !find_recalled(steps_back, found)) return CC_ERROR;
  replace_line(found);
  recall_.shown = std::move(found);
  recall_.steps_back = steps_back;
  return CC_REFRESH;
}

// ---- The line

std::string LineEditor::Session::text_before_cursor() const {
  const LineInfoW *line = el_wline(editor_.get());
  return encode(std::wstring_view(line->buffer, static_cast<size_t>(line->cursor - line->buffer)));
}

std::wstring LineEditor::Session::whole_line() const {
  const LineInfoW *line = el_wline(editor_.get());
  return std::wstring(line->buffer, static_cast<size_t>(line->lastchar - line->buffer));
}

void LineEditor::Session::replace_line(const std::wstring &line) {
  const LineInfoW *info = el_wline(editor_.get());
  el_cursor(editor_.get(), static_cast<int>(info->lastchar - info->cursor));
  el_deletestr(editor_.get(), static_cast<int>(info->lastchar - info->buffer));
  if (!line.empty()) el_winsertstr(editor_.get(), line.c_str());
}

unsigned char LineEditor::Session::show_below(Below what) {
  const LineInfoW *line = el_wline(editor_.get());
  from_end_ = static_cast<int>(line->lastchar - line->cursor);
  el_cursor(editor_.get(), from_end_);
  below_ = what;
  return CC_CURSOR;
}

unsigned char LineEditor::Session::submit_keyed(const wchar_t *line) {
  replace_line(line);
  outcome_.kind = Input::Kind::kKeyedLine;
  submit_ = true;
  return CC_REFRESH;
}

unsigned char LineEditor::Session::insert_completion(const Choices &choices, const std::string &before,
                                                     std::string word) {
  const LineInfoW *line = el_wline(editor_.get());
  const bool blank_follows = line->cursor < line->lastchar && *line->cursor == L' ';
  const bool blank_is_there = blank_follows && word.ends_with(' ');
  if (blank_is_there) word.pop_back();
  el_deletestr(editor_.get(), static_cast<int>(decode(before.substr(choices.start)).size()));
  el_winsertstr(editor_.get(), decode(word).c_str());
  if (blank_is_there) el_cursor(editor_.get(), 1);
  return CC_REFRESH;
}

// The line so many steps back among those that begin with the prefix; lines that would show the same again are no step.
bool LineEditor::Session::find_recalled(size_t steps_back, std::wstring &found) const {
  std::wstring_view last = recall_.typed;
  HistEventW event;
  for (int result = history_w(history_.get(), &event, H_FIRST); result >= 0;
       result = history_w(history_.get(), &event, H_NEXT)) {
    const std::wstring_view line = event.str;
    if (!line.starts_with(recall_.prefix) || line == last) continue;
    last = line;
    if (--steps_back == 0) {
      found = line;
      return true;
    }
  }
  return false;
}

// ---- Below the line

// Whether the line is still being edited afterwards.
bool LineEditor::Session::do_below() {
  switch (std::exchange(below_, Below::kNothing)) {
    case Below::kNothing:
      return true;
    case Below::kAbandon:
      abandoned_ = true;
      return false;
    case Below::kHelp:
      print_help();
      break;
    case Below::kChoices:
      print_choices();
      break;
  }
  el_cursor(editor_.get(), -from_end_);
  el_wset(editor_.get(), EL_REFRESH);
  return true;
}

// In the terminal's ordinary modes, in which Ctrl-C ends a long output.
void LineEditor::Session::print_help() {
  fputc('\n', out_);
  set_bracketed_paste(false);
  el_wset(editor_.get(), EL_PREP_TERM, 0);
  hooks_.help(before_cursor_);
  el_wset(editor_.get(), EL_PREP_TERM, 1);
  set_bracketed_paste(true);
  signals_.forget_interrupt();
}

void LineEditor::Session::print_choices() {
  std::vector<std::string> shown;
  for (std::string &word : listed_) {
    if (word.ends_with(' ')) word.pop_back();
    shown.push_back(harmless(word));
  }
  listed_.clear();
  const std::string listing = '\n' + in_columns(shown, window_width());
  fwrite(listing.data(), 1, listing.size(), out_);
  fflush(out_);
}

size_t LineEditor::Session::window_width() const {
  winsize size{};
  return ioctl(terminal_, TIOCGWINSZ, &size) == 0 && size.ws_col > 1 ? size.ws_col : 80;
}

// ---- Reading

// For libedit: 1 with the next key, 0 at the end of input, -1 when reading is to stop.
int LineEditor::Session::next_key(wchar_t *key) {
  if (!do_below()) stopped_ = true;
  if (stopped_) return -1;
  if (std::exchange(submit_, false)) {
    *key = L'\n';
    return 1;
  }
  abandoned_ = keys_.interrupts_pasted();
  stopped_ = abandoned_;
  while (!stopped_) {
    if (keys_.has_pasted()) {
      *key = kPasteKey;
      return 1;
    }
    switch (keys_.next(*key)) {
      case KeyReader::Event::kCharacter:
        return 1;
      case KeyReader::Event::kPaste:
        break;
      case KeyReader::Event::kInterrupt:
        stopped_ = abandoned_ = true;
        break;
      case KeyReader::Event::kSignal:
        stopped_ = !attend_to_signals();
        break;
      case KeyReader::Event::kEnd:
        outcome_.kind = Input::Kind::kEndOfInput;
        stopped_ = true;
        break;
    }
  }
  return -1;
}

// Whether the line is still being read afterwards.
bool LineEditor::Session::attend_to_signals() {
  const SignalNotes notes = signals_.take_notes();
  if (notes.ending != 0) {
    outcome_ = {Input::Kind::kSignal, "", notes.ending};
    return false;
  }
  if (notes.interrupt) {
    keys_.forget_pasted();
    abandoned_ = true;
    return false;
  }
  if (notes.stop) stop_and_resume();
  if (notes.stop || notes.resumed) redraw_from_start_of_row();
  if (notes.window_changed) redraw_in_new_window();
  return true;
}

void LineEditor::Session::stop_and_resume() {
  set_bracketed_paste(false);
  el_wset(editor_.get(), EL_PREP_TERM, 0);
  signals_.stop_process();
}

// After a stop another program may have used the terminal, and changed its modes.
void LineEditor::Session::redraw_from_start_of_row() {
  if (!edits_) return;
  el_wset(editor_.get(), EL_PREP_TERM, 0);
  el_wset(editor_.get(), EL_PREP_TERM, 1);
  set_bracketed_paste(true);
  fputs(sequences_ ? "\r\033[J" : "\r\n", out_);
  el_resize(editor_.get());
  el_wset(editor_.get(), EL_REFRESH);
}

// Terminals fold the rows of a line anew when their width changes; libedit goes on from where the cursor was before.
void LineEditor::Session::redraw_in_new_window() {
  if (!edits_) return;
  el_resize(editor_.get());
  const size_t rows = rows_above_cursor();
  if (!sequences_) {
    fputs("\n", out_);
  } else if (rows == 0) {
    fputs("\r\033[J", out_);
  } else {
    fprintf(out_, "\r\033[%zuA\033[J", rows);
  }
  el_wset(editor_.get(), EL_REFRESH);
}

size_t LineEditor::Session::rows_above_cursor() const {
  const LineInfoW *line = el_wline(editor_.get());
  const std::wstring before = prompt_ + std::wstring(line->buffer, static_cast<size_t>(line->cursor - line->buffer));
  return columns(before) / window_width();
}

LineEditor::LineEditor(EditorHooks hooks, FILE *in, FILE *out)
    : session_(std::make_unique<Session>(std::move(hooks), in, out)) {}

LineEditor::~LineEditor() = default;

Input LineEditor::read() {
  return session_->read();
}

bool LineEditor::has_pasted() const {
  return session_->has_pasted();
}

void LineEditor::forget_pasted() {
  session_->forget_pasted();
}

void LineEditor::remember(const std::string &line) {
  session_->remember(line);
}

}  // namespace cli_shell
