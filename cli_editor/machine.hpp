// The state behind Editor: which key does what, and what became of it.
#ifndef CLI_EDITOR_MACHINE_HPP
#define CLI_EDITOR_MACHINE_HPP

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli_editor/editor.hpp"
#include "cli_editor/history.hpp"
#include "cli_editor/keys.hpp"
#include "cli_editor/line.hpp"
#include "cli_editor/motions.hpp"
#include "cli_editor/screen.hpp"

namespace cli_editor {

class Machine {
 public:
  // What a key does; 0 where no count was typed.
  using Function = void (Machine::*)(size_t count);
  using Bindings = std::map<std::u32string, Function>;  // by the keys in their order

  // By the bytes that its keys send.
  struct KeyRow {
    std::string_view bytes;
    Function function;
  };
  struct NameRow {
    std::string_view name;
    Function function;
  };
  struct Tables;  // bindings.cpp

  explicit Machine(Options options);

  void configure(std::string_view inputrc);
  void remember(const std::string &line) { history_.remember(line); }
  void feed(std::string_view bytes) {
    expired_ = expired_ && bytes.empty();
    decoder_.feed(bytes);
  }
  void resize(size_t columns, size_t rows);
  int wait_ms() const;
  void elapsed() { expired_ = true; }
  void message(std::string_view text);
  void begin(const std::string &prompt) { start(prompt, false, true, options_.longest_line); }
  void ask(const std::string &prompt, bool echo, size_t longest);
  Event next();
  void insert(std::string_view text);
  void replace(std::string_view text);
  bool complete(Choices choices);
  void accept();
  void step_aside();
  void forget_screen();
  void forget_input();
  std::string take_output();
  std::string take_pending() { return std::exchange(out_, {}); }
  size_t lines_held() const;
  bool is_reading() const { return reading_; }
  const Line &line() const { return line_; }

 private:
  struct Search {
    bool back;
    char sign;  // '/' and '?' of vi; 0 for one that begins as it is typed
    std::string pattern;
    size_t found;  // in the line shown
    bool failed;
    std::string line;  // before the search
    size_t cursor;
    size_t place;
  };

  // ---- machine.cpp: from bytes to functions
  void forget_pasted();
  void start(const std::string &prompt, bool question, bool echo, size_t longest);
  bool take_pasted();
  void take_key(const Key &key);
  void dispatch(const Key &key, const Bindings &bindings);
  void run(Function function, const Key &key);
  bool is_refused_in_question(Function function) const;
  void begin_change(Function function);
  void end_line(Event::Kind kind, std::string_view mark);
  void bell();
  Picture picture(bool whole);
  std::string search_prompt() const;
  std::vector<std::string> panel_rows() const;

  // ---- functions.cpp
  void beginning_of_line(size_t count);
  void end_of_line(size_t count);
  void forward_char(size_t count);
  void backward_char(size_t count);
  void forward_word(size_t count);
  void backward_word(size_t count);
  void character_search(size_t count);
  void character_search_backward(size_t count);
  void self_insert(size_t count);
  void quoted_insert(size_t count);
  void overwrite_mode(size_t count);
  void delete_char(size_t count);
  void delete_char_or_end(size_t count);
  void backward_delete_char(size_t count);
  void delete_horizontal_space(size_t count);
  void kill_line(size_t count);
  void kill_whole_line(size_t count);
  void line_discard(size_t count);
  void kill_word(size_t count);
  void backward_kill_word(size_t count);
  void word_rubout(size_t count);
  void kill_region(size_t count);
  void set_mark(size_t count);
  void exchange_point_and_mark(size_t count);
  void yank(size_t count);
  void yank_pop(size_t count);
  void yank_last_arg(size_t count);
  void undo(size_t count);
  void revert_line(size_t count);
  void transpose_chars(size_t count);
  void transpose_words(size_t count);
  void upcase_word(size_t count);
  void downcase_word(size_t count);
  void capitalize_word(size_t count);
  void digit_argument(size_t count);
  void insert_comment(size_t count);
  void previous_history(size_t count);
  void next_history(size_t count);
  void history_search_backward(size_t count);
  void history_search_forward(size_t count);
  void beginning_of_history(size_t count);
  void end_of_history(size_t count);
  void reverse_search_history(size_t count);
  void forward_search_history(size_t count);
  void accept_line(size_t count);
  void abandon_line(size_t count);
  void end_of_input(size_t count);
  void suspend(size_t count);
  void help(size_t count);
  void complete_word(size_t count);
  void list_choices(size_t count);
  void edit_in_editor(size_t count);
  void clear_screen(size_t count);
  void do_nothing(size_t count);

  bool take_rest();
  void kill(size_t from, size_t to);
  void insert_text(std::string_view text, size_t count);
  template <class Change>
  void change_word(size_t count, Change change);
  void go_to(size_t place);
  void step_in_history(size_t count, bool back);
  void recall(size_t count, bool back);
  void begin_search(bool back, char sign);
  bool take_search_key(const Key &key);
  void search_on(bool next);
  void end_search();
  void find_typed_character(const Key &key);

  // ---- vi.cpp
  void vi_movement_mode(size_t count);
  void vi_insert(size_t count);
  void vi_append(size_t count);
  void vi_insert_beginning(size_t count);
  void vi_append_end(size_t count);
  void vi_delete_char(size_t count);
  void vi_delete_before(size_t count);
  void vi_substitute(size_t count);
  void vi_change_line(size_t count);
  void vi_change_end(size_t count);
  void vi_delete_end(size_t count);
  void vi_yank_line(size_t count);
  void vi_put(size_t count);
  void vi_put_before(size_t count);
  void vi_replace_char(size_t count);
  void vi_overwrite(size_t count);
  void vi_change_case(size_t count);
  void vi_operator(size_t count);
  void vi_repeat(size_t count);
  void vi_search(size_t count);
  void vi_search_again(size_t count);
  void vi_search_again_back(size_t count);
  void vi_last_arg(size_t count);

  void take_vi_key(const Key &key);
  void take_vi_command(const Key &key);
  std::optional<size_t> vi_motion(char32_t code, size_t count, bool &inclusive);
  std::optional<size_t> vi_find(size_t count, bool reversed);
  void vi_apply(size_t target, bool inclusive);
  void vi_keep_in_line();

  Options options_;
  Bindings emacs_;
  Bindings vi_insert_keys_;
  Bindings vi_command_keys_;
  bool vi_ = false;
  enum class BellStyle { kNone, kAudible, kVisible } bell_style_ = BellStyle::kAudible;
  bool ignores_case_ = false;

  KeyDecoder decoder_;
  bool expired_ = false;
  std::string pasted_;  // lines of it wait
  size_t pasted_taken_ = 0;
  std::string aside_;  // of a paste, while a question is asked
  Line line_;
  History history_;
  Screen screen_;
  std::string out_;
  bool drawn_ = true;
  Event event_;

  bool reading_ = false;
  bool question_ = false;
  bool echo_ = true;
  std::string prompt_;

  Key key_;                  // being attended to
  std::u32string keys_;      // of a binding that has begun
  size_t count_ = 0;         // typed for the next function
  Function last_ = nullptr;  // what ran before
  size_t change_ = 0;
  size_t change_length_ = 0;
  bool quoting_ = false;
  bool overwriting_ = false;
  bool killed_ = false;  // by the present function
  bool killed_before_ = false;
  std::deque<std::string> kills_;  // the newest first
  size_t yanked_from_ = 0;
  size_t yanked_ = 0;  // which of them, or which line's last word
  size_t mark_ = 0;
  std::string recalled_;  // how lines begin that Up recalls
  std::optional<Search> search_;
  std::string last_pattern_;
  bool last_pattern_back_ = true;

  std::optional<std::string> tabbed_;  // the line after a Tab that left several choices
  std::vector<Choices::Word> listed_;
  std::string note_;  // above them
  size_t page_ = 0;
  std::optional<std::string> looked_at_;
  Look look_;

  bool vi_command_ = false;
  char32_t operator_ = 0;
  size_t operator_count_ = 0;
  char32_t awaiting_ = 0;  // f F t T r: the character that follows
  size_t awaiting_count_ = 0;
  char32_t found_by_ = 0;
  std::string found_;
  std::vector<Key> recording_;  // of the present change
  std::vector<Key> repeated_;   // by "."
  bool changes_ = false;        // the command recorded is a change
  bool replaying_ = false;
};

}  // namespace cli_editor

#endif
