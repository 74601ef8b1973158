// What the keys of emacs mode do; vi's use many of them.
#include <algorithm>
#include <utility>

#include "cli_editor/machine.hpp"

namespace cli_editor {

namespace {

constexpr size_t kKillsKept = 16;
constexpr size_t kLongestPattern = 256;
constexpr size_t kHighestCount = 9999;

size_t times(size_t count) {
  return std::max<size_t>(1, count);
}

}  // namespace

// ---- Motion

void Machine::beginning_of_line(size_t) {
  line_.move(0);
}

// What is offered behind the line is taken by moving into it.
bool Machine::take_rest() {
  const bool offered = reading_ && !question_ && options_.colours && looked_at_ == line_.text() &&
                       !look_.rest.empty() && line_.cursor() == line_.size();
  if (offered) insert_text(std::string(look_.rest), 1);
  return offered;
}

void Machine::end_of_line(size_t) {
  if (!take_rest()) line_.move(line_.size());
}

void Machine::forward_char(size_t count) {
  if (take_rest()) return;
  for (size_t i = 0; i < times(count); ++i) line_.move(line_.after(line_.cursor()));
}

void Machine::backward_char(size_t count) {
  for (size_t i = 0; i < times(count); ++i) line_.move(line_.before(line_.cursor()));
}

void Machine::forward_word(size_t count) {
  for (size_t i = 0; i < times(count); ++i) line_.move(word_end_behind(line_, line_.cursor(), Words::kLetters));
}

void Machine::backward_word(size_t count) {
  for (size_t i = 0; i < times(count); ++i) line_.move(word_start_before(line_, line_.cursor(), Words::kLetters));
}

void Machine::character_search(size_t count) {
  awaiting_ = 'f';
  awaiting_count_ = times(count);
}

void Machine::character_search_backward(size_t count) {
  awaiting_ = 'F';
  awaiting_count_ = times(count);
}

void Machine::set_mark(size_t) {
  mark_ = line_.cursor();
}

void Machine::exchange_point_and_mark(size_t) {
  const size_t place = std::exchange(mark_, line_.cursor());
  line_.move(std::min(place, line_.size()));
}

void Machine::digit_argument(size_t count) {
  const char32_t digit = key_.code & ~kAlt;
  count_ = std::min(kHighestCount, count * 10 + static_cast<size_t>(digit - '0'));
}

void Machine::do_nothing(size_t) {
  bell();
}

// ---- Text in

// `count` times, as often as the line takes it.
void Machine::insert_text(std::string_view text, size_t count) {
  if (text.empty()) return;
  const size_t room = options_.longest_line - std::min(options_.longest_line, line_.size()) + line_.size();
  std::string all;
  for (size_t i = 0; i < count && all.size() <= room; ++i) all += text;
  size_t to = line_.cursor();
  for (size_t left = all.size(), at = 0; overwriting_ && left > 0 && to < line_.size(); left -= std::min(left, at)) {
    at = first_cluster(std::string_view(all).substr(all.size() - left), options_.width).length;
    to = line_.after(to);
  }
  if (!line_.replace(line_.cursor(), to, all)) bell();
  if (!echo_) wipe(all);
}

void Machine::self_insert(size_t count) {
  if (key_.text.empty()) return bell();
  insert_text(key_.text, times(count));
}

void Machine::quoted_insert(size_t) {
  quoting_ = true;
}

void Machine::overwrite_mode(size_t) {
  overwriting_ = !overwriting_;
}

void Machine::insert_comment(size_t) {
  line_.replace(0, 0, std::string(1, options_.comment));
  end_line(Event::Kind::kLine, "");
}

template <class Change>
void Machine::change_word(size_t count, Change change) {
  const size_t from = line_.cursor();
  size_t to = from;
  for (size_t i = 0; i < times(count); ++i) to = word_end_behind(line_, to, Words::kLetters);
  std::string text(line_.part(from, to));
  bool in_word = false;
  for (char &c : text) {
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    if (letter) c = change(c, in_word);
    in_word = letter || (c >= '0' && c <= '9');
  }
  line_.replace(from, to, text);
  line_.move(to);
}

void Machine::upcase_word(size_t count) {
  change_word(count, [](char c, bool) { return static_cast<char>(c & ~0x20); });
}

void Machine::downcase_word(size_t count) {
  change_word(count, [](char c, bool) { return static_cast<char>(c | 0x20); });
}

void Machine::capitalize_word(size_t count) {
  change_word(count, [](char c, bool in_word) { return static_cast<char>(in_word ? c | 0x20 : c & ~0x20); });
}

void Machine::transpose_chars(size_t) {
  size_t middle = line_.cursor();
  if (middle == line_.size()) middle = line_.before(middle);
  const size_t from = line_.before(middle);
  const size_t to = line_.after(middle);
  if (from == middle || middle == to) return bell();
  const std::string swapped = std::string(line_.part(middle, to)) + std::string(line_.part(from, middle));
  line_.replace(from, to, swapped);
}

void Machine::transpose_words(size_t) {
  const size_t second_end = word_end_behind(line_, line_.cursor(), Words::kLetters);
  const size_t second = word_start_before(line_, second_end, Words::kLetters);
  const size_t first = word_start_before(line_, second, Words::kLetters);
  const size_t first_end = word_end_behind(line_, first, Words::kLetters);
  if (first_end > second || first == second) return bell();
  const std::string swapped = std::string(line_.part(second, second_end)) + std::string(line_.part(first_end, second)) +
                              std::string(line_.part(first, first_end));
  line_.replace(first, second_end, swapped);
}

// ---- Text out

// Parts removed one after the other are put back together.
void Machine::kill(size_t from, size_t to) {
  from = line_.snapped(std::min(from, to));
  to = line_.snapped(std::max(from, to));
  if (from >= to) return;
  const std::string text(line_.part(from, to));
  if (echo_ && killed_before_ && !vi_command_ && !kills_.empty()) {
    kills_.front() = to == line_.cursor() ? text + kills_.front() : kills_.front() + text;
    kills_.front().resize(std::min(kills_.front().size(), options_.longest_line));
  } else if (echo_) {
    kills_.push_front(text);
    if (kills_.size() > kKillsKept) kills_.pop_back();
  }
  killed_ = true;
  line_.replace(from, to, "");
}

void Machine::delete_char(size_t count) {
  size_t to = line_.cursor();
  for (size_t i = 0; i < times(count); ++i) to = line_.after(to);
  if (to == line_.cursor()) return bell();
  line_.replace(line_.cursor(), to, "");
}

void Machine::delete_char_or_end(size_t count) {
  const bool ends = key_.code == 4 && (line_.empty() || question_);
  if (ends) return end_of_input(count);
  delete_char(count);
}

void Machine::backward_delete_char(size_t count) {
  size_t from = line_.cursor();
  for (size_t i = 0; i < times(count); ++i) from = line_.before(from);
  if (from == line_.cursor()) return bell();
  line_.replace(from, line_.cursor(), "");
}

void Machine::delete_horizontal_space(size_t) {
  const std::string &text = line_.text();
  const size_t before = text.substr(0, line_.cursor()).find_last_not_of(" \t");
  const size_t from = before == std::string::npos ? 0 : before + 1;
  line_.replace(from, std::min(text.find_first_not_of(" \t", line_.cursor()), text.size()), "");
}

void Machine::kill_line(size_t) {
  kill(line_.cursor(), line_.size());
}

void Machine::kill_whole_line(size_t) {
  kill(0, line_.size());
}

void Machine::line_discard(size_t) {
  kill(0, line_.cursor());
}

void Machine::kill_word(size_t count) {
  size_t to = line_.cursor();
  for (size_t i = 0; i < times(count); ++i) to = word_end_behind(line_, to, Words::kLetters);
  kill(line_.cursor(), to);
}

void Machine::backward_kill_word(size_t count) {
  size_t from = line_.cursor();
  for (size_t i = 0; i < times(count); ++i) from = word_start_before(line_, from, Words::kLetters);
  kill(from, line_.cursor());
}

void Machine::word_rubout(size_t count) {
  size_t from = line_.cursor();
  for (size_t i = 0; i < times(count); ++i) from = word_start_before(line_, from, Words::kBlanks);
  kill(from, line_.cursor());
}

void Machine::kill_region(size_t) {
  const size_t mark = std::min(mark_, line_.size());
  kill(std::min(mark, line_.cursor()), std::max(mark, line_.cursor()));
}

void Machine::yank(size_t count) {
  if (kills_.empty()) return bell();
  yanked_from_ = line_.cursor();
  yanked_ = 0;
  insert_text(kills_.front(), times(count));
}

void Machine::yank_pop(size_t) {
  if ((last_ != &Machine::yank && last_ != &Machine::yank_pop) || kills_.empty()) return bell();
  yanked_ = (yanked_ + 1) % kills_.size();
  line_.replace(yanked_from_, line_.cursor(), kills_[yanked_]);
}

// The last word of the line before, and again of the one before that.
void Machine::yank_last_arg(size_t) {
  const bool again = last_ == &Machine::yank_last_arg;
  if (!again) yanked_from_ = line_.cursor();
  const auto place = history_.find(again ? yanked_ : history_.size(), true,
                                   [](const std::string &line) { return !last_word(line).empty(); });
  if (!place) return bell();
  yanked_ = *place;
  const std::string word(last_word(history_.line(*place)));
  if (!line_.replace(yanked_from_, line_.cursor(), word)) bell();
}

void Machine::undo(size_t count) {
  for (size_t i = 0; i < times(count); ++i)
    if (!line_.undo()) return bell();
}

void Machine::revert_line(size_t) {
  while (line_.undo()) {
  }
}

// ---- History

void Machine::go_to(size_t place) {
  history_.leave(place, line_.text());
  line_.set(history_.line(place));
  line_.forget_changes();
}

void Machine::step_in_history(size_t count, bool back) {
  for (size_t i = 0; i < times(count); ++i) {
    if (back ? history_.place() == 0 : history_.place() == history_.size()) return bell();
    go_to(back ? history_.place() - 1 : history_.place() + 1);
  }
}

void Machine::previous_history(size_t count) {
  step_in_history(count, true);
}

void Machine::next_history(size_t count) {
  step_in_history(count, false);
}

// Earlier lines that begin like this one up to the cursor; what would show the same again is no step.
void Machine::recall(size_t count, bool back) {
  if (last_ != &Machine::history_search_backward && last_ != &Machine::history_search_forward) {
    const size_t end = vi_ && vi_command_ ? line_.after(line_.cursor()) : line_.cursor();
    recalled_ = line_.part(0, end);
  }
  for (size_t i = 0; i < times(count); ++i) {
    auto place = history_.find(history_.place(), back, [&](const std::string &line) {
      return line.starts_with(recalled_) && line != line_.text();
    });
    if (!place && !back && history_.place() < history_.size()) place = history_.size();
    if (!place) return bell();
    go_to(*place);
  }
}

void Machine::history_search_backward(size_t count) {
  recall(count, true);
}

void Machine::history_search_forward(size_t count) {
  recall(count, false);
}

void Machine::beginning_of_history(size_t) {
  go_to(0);
}

void Machine::end_of_history(size_t) {
  go_to(history_.size());
}

// ---- Searching

void Machine::begin_search(bool back, char sign) {
  search_ = Search{back, sign, "", line_.cursor(), false, line_.text(), line_.cursor(), history_.place()};
}

void Machine::reverse_search_history(size_t) {
  begin_search(true, 0);
}

void Machine::forward_search_history(size_t) {
  begin_search(false, 0);
}

void Machine::end_search() {
  if (!search_) return;
  if (!search_->pattern.empty()) {
    last_pattern_ = search_->pattern;
    last_pattern_back_ = search_->back;
  }
  search_.reset();
}

// The pattern in this line, or with `next` in the nearest other one.
void Machine::search_on(bool next) {
  const std::string &pattern = search_->pattern;
  search_->failed = false;
  size_t found = next ? std::string::npos : line_.text().rfind(pattern);
  if (found == std::string::npos) {
    const auto place = history_.find(history_.place(), search_->back, [&](const std::string &line) {
      return line != line_.text() && line.find(pattern) != std::string::npos;
    });
    search_->failed = !place;
    if (!place) return bell();
    go_to(*place);
    found = line_.text().rfind(pattern);
  }
  line_.move(found);
  search_->found = line_.cursor();
}

// Whether the key belongs to the search; any other ends it, with the line as it is shown.
bool Machine::take_search_key(const Key &key) {
  constexpr char32_t kBack = 0x12, kForth = 0x13, kAbort = 7, kReturn = '\r', kNewline = '\n', kEscape = 0x1b;
  Search &search = *search_;
  if (key.code == kBack || key.code == kForth) {
    search.back = key.code == kBack;
    const bool reuse = search.pattern.empty();
    if (reuse) search.pattern = last_pattern_;
    if (!search.pattern.empty()) search_on(!reuse);
    return true;
  }
  if (key.code == 8 || key.code == 0x7f) {
    if (search.pattern.empty()) {
      end_search();
      return true;
    }
    do search.pattern.pop_back();
    while (!search.pattern.empty() && (static_cast<unsigned char>(search.pattern.back()) & 0xc0U) == 0xc0U);
    // From where it began: the shorter text may have been nearer.
    go_to(search.place);
    line_.set(search.line);
    line_.move(search.cursor);
    if (!search.pattern.empty()) search_on(false);
    return true;
  }
  if (key.code == kAbort) {
    go_to(search.place);
    line_.set(search.line);
    line_.move(search.cursor);
    end_search();
    bell();
    return true;
  }
  const bool is_character = key.code >= ' ' && key.code != 0x7f && key.code < kOtherKeys && !key.text.empty();
  if (is_character && search.pattern.size() + key.text.size() <= kLongestPattern) {
    search.pattern += key.text;
    search_on(false);
    return true;
  }
  const bool of_vi = search.sign != 0;
  end_search();
  return key.code == kEscape || (of_vi && (key.code == kReturn || key.code == kNewline));
}

// ---- Ends and questions to the host

void Machine::accept_line(size_t) {
  end_line(Event::Kind::kLine, "");
}

void Machine::abandon_line(size_t) {
  forget_pasted();
  end_line(Event::Kind::kAbandoned, "^C");
}

void Machine::end_of_input(size_t) {
  if (question_) return end_line(Event::Kind::kAbandoned, "");
  event_.kind = Event::Kind::kEndOfInput;
}

void Machine::suspend(size_t) {
  event_ = {Event::Kind::kSuspend, line_.text()};
}

void Machine::help(size_t) {
  event_ = {Event::Kind::kHelp, std::string(line_.before_cursor())};
}

void Machine::complete_word(size_t) {
  if (!listed_.empty() && page_ + 1 < screen_.pages()) {
    ++page_;
    return;
  }
  event_ = {Event::Kind::kComplete, std::string(line_.before_cursor())};
}

void Machine::list_choices(size_t) {
  tabbed_ = line_.text();
  event_ = {Event::Kind::kComplete, std::string(line_.before_cursor())};
}

void Machine::edit_in_editor(size_t) {
  event_ = {Event::Kind::kEdit, line_.text()};
}

void Machine::clear_screen(size_t) {
  if (options_.sequences) {
    out_ += "\033[H\033[2J";
    screen_.forget();
  }
}

}  // namespace cli_editor
