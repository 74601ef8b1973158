#include "cli_editor/machine.hpp"

#include <algorithm>
#include <utility>

namespace cli_editor {

namespace {

constexpr int kEscapeMs = 100;         // a lone escape is a key after so long
constexpr size_t kTypedTogether = 20;  // characters that are undone together
constexpr size_t kOnHeap = 64;         // a text with so much room leaves no copy where it is moved from
constexpr char32_t kEscapeKey = 0x1b;

bool is_text(const Key &key) {
  return !key.text.empty() && key.code != kPaste &&
         (key.code >= kByteKeys ? key.code < kOtherKeys : key.code >= ' ' && key.code != 0x7f);
}

}  // namespace

// ---- What comes in

int Machine::wait_ms() const {
  return reading_ && vi_ && decoder_.holds_escape() ? kEscapeMs : -1;
}

void Machine::ask(const std::string &prompt, bool echo, size_t longest) {
  aside_ = pasted_.substr(pasted_taken_);
  forget_pasted();
  start(prompt, true, echo, longest);
}

void Machine::start(const std::string &prompt, bool question, bool echo, size_t longest) {
  prompt_ = prompt;
  reading_ = true;
  question_ = question;
  echo_ = echo;
  line_.reset(echo, longest);
  history_.end_walk();
  search_.reset();
  tabbed_.reset();
  listed_.clear();
  keys_.clear();
  count_ = 0;
  last_ = nullptr;
  mark_ = 0;
  quoting_ = overwriting_ = vi_command_ = changes_ = false;
  operator_ = awaiting_ = 0;
  drawn_ = false;
}

Event Machine::next() {
  while (event_.kind == Event::Kind::kNone) {
    if (!reading_) {
      if (decoder_.skip_to_interrupt()) {
        forget_pasted();
        event_.kind = Event::Kind::kInterrupt;
      }
      break;
    }
    if (take_pasted()) continue;
    const bool expired = std::exchange(expired_, false);
    std::optional<Key> key = quoting_ ? decoder_.next_literal() : decoder_.next(expired);
    if (!key) break;
    const bool secret = !echo_;
    take_key(*key);
    if (secret) wipe(key->text);
  }
  return std::exchange(event_, {});
}

// The next line of a paste, or the part of one that has no end yet.
bool Machine::take_pasted() {
  if (pasted_.empty()) return false;
  const size_t end = pasted_.find('\n', pasted_taken_);
  const bool ended = end != std::string::npos;
  begin_change(nullptr);
  insert(std::string_view(pasted_).substr(pasted_taken_, ended ? end - pasted_taken_ : end));
  pasted_taken_ = ended ? end + 1 : pasted_.size();
  if (pasted_taken_ >= pasted_.size()) forget_pasted();
  if (ended) end_line(Event::Kind::kLine, "");
  return true;
}

size_t Machine::lines_held() const {
  const std::string_view rest = std::string_view(pasted_).substr(pasted_taken_);
  const auto ended = static_cast<size_t>(std::count(rest.begin(), rest.end(), '\n'));
  return ended + (rest.empty() || rest.back() == '\n' ? 0 : 1);
}

void Machine::forget_pasted() {
  if (!echo_) wipe(pasted_);
  pasted_.clear();
  pasted_taken_ = 0;
}

void Machine::forget_input() {
  decoder_.forget();
  forget_pasted();
  aside_.clear();
}

void Machine::take_key(const Key &key) {
  drawn_ = false;
  if (std::exchange(quoting_, false) && key.code != kPaste) {
    begin_change(nullptr);
    if (key.text.find_first_of(std::string_view("\0\n", 2)) != std::string::npos) return bell();
    return insert_text(key.text, 1);
  }
  if (key.code == kPaste) {
    end_search();
    keys_.clear();
    listed_.clear();
    operator_ = awaiting_ = 0;
    // Line ends of any kind end lines; no pasted byte acts as a key.
    char last = 0;
    for (const char c : key.text) {
      if (c == '\r' || (c == '\n' && last != '\r')) pasted_ += '\n';
      if (c == '\t' || static_cast<unsigned char>(c) >= ' ') pasted_ += c == '\x7f' ? "" : std::string(1, c);
      last = c;
    }
    return;
  }
  if (search_ && take_search_key(key)) return;
  // In vi's modes an escape is a key of its own, and what follows it the next.
  const char32_t base = key.code & ~kAlt;
  if (vi_ && (key.code & kAlt) != 0 && base < kOtherKeys) {
    take_key({kEscapeKey, ""});
    if (event_.kind == Event::Kind::kNone) take_key({base, key.text});
    return;
  }
  if (awaiting_ != 0) return find_typed_character(key);
  if (vi_ && vi_command_) return take_vi_key(key);
  if (changes_ && !replaying_ && echo_) recording_.push_back(key);
  dispatch(key, vi_ ? vi_insert_keys_ : emacs_);
  if (vi_ && vi_command_) vi_keep_in_line();
}

void Machine::dispatch(const Key &key, const Bindings &bindings) {
  keys_ += key.code;
  auto found = bindings.lower_bound(keys_);
  if (found == bindings.end() || found->first.compare(0, keys_.size(), keys_) != 0) {
    keys_.back() &= ~static_cast<char32_t>(kShift);
    found = bindings.lower_bound(keys_);
  }
  if (found != bindings.end() && found->first == keys_) {
    keys_.clear();
    return run(found->second, key);
  }
  if (found != bindings.end() && found->first.compare(0, keys_.size(), keys_) == 0) return;  // the beginning of one
  const bool alone = keys_.size() == 1;
  keys_.clear();
  if (alone && is_text(key)) return run(&Machine::self_insert, key);
  count_ = 0;
  if (key.code < kOtherKeys) bell();
}

void Machine::run(Function function, const Key &key) {
  key_ = key;
  if (is_refused_in_question(function)) {
    function = function == &Machine::help ? &Machine::self_insert : &Machine::do_nothing;
  }
  if (function != &Machine::complete_word) {
    listed_.clear();
    tabbed_.reset();
  }
  begin_change(function);
  killed_before_ = std::exchange(killed_, false);
  (this->*function)(std::exchange(count_, 0));
  last_ = function;
}

bool Machine::is_refused_in_question(Function function) const {
  using M = Machine;
  static constexpr Function kRefused[] = {
      &M::help,
      &M::complete_word,
      &M::list_choices,
      &M::edit_in_editor,
      &M::insert_comment,
      &M::yank_last_arg,
      &M::previous_history,
      &M::next_history,
      &M::suspend,
      &M::history_search_backward,
      &M::history_search_forward,
      &M::beginning_of_history,
      &M::end_of_history,
      &M::vi_last_arg,
      &M::reverse_search_history,
      &M::forward_search_history,
      &M::vi_search,
      &M::vi_search_again,
      &M::vi_search_again_back,
  };
  return question_ && std::find(std::begin(kRefused), std::end(kRefused), function) != std::end(kRefused);
}

// Characters typed, or removed, one after the other are one change, and so is all that vi's insert mode does.
void Machine::begin_change(Function function) {
  const bool goes_on = function == last_ && change_length_ < kTypedTogether &&
                       (function == &Machine::self_insert || function == &Machine::backward_delete_char);
  const bool inserting = vi_ && !vi_command_ && changes_;
  if (!replaying_ && !inserting && !goes_on) {
    ++change_;
    change_length_ = 0;
  }
  ++change_length_;
  line_.begin_change(change_);
}

// ---- What goes out

void Machine::bell() {
  constexpr std::string_view kFlash = "\033[?5h\033[?5l";
  if (bell_style_ == BellStyle::kAudible) out_ += '\a';
  if (bell_style_ == BellStyle::kVisible && options_.sequences) out_ += kFlash;
}

std::string Machine::search_prompt() const {
  if (search_->sign != 0) return search_->sign + search_->pattern + (search_->failed ? " (none): " : ": ");
  return std::string(search_->failed ? "(failed " : "(") + (search_->back ? "reverse-i-search)'" : "i-search)'") +
         search_->pattern + "': ";
}

// Words down columns; with their help, one below the other.
std::vector<std::string> Machine::panel_rows() const {
  constexpr size_t kSpace = 2;
  std::vector<std::string> words;
  std::vector<size_t> widths;
  size_t widest = 0;
  bool helps = false;
  for (const Choices::Word &word : listed_) {
    const std::string_view text = word.text;
    words.push_back(spelt_out(text.substr(0, text.size() - (text.ends_with(' ') ? 1 : 0)), options_.width));
    widths.push_back(columns_of(words.back(), options_.width));
    widest = std::max(widest, widths.back());
    helps = helps || word.help != listed_.front().help;  // the same for all tells nothing
  }
  const size_t across = helps ? 1 : std::max<size_t>(1, (screen_.columns() + kSpace - 1) / (widest + kSpace));
  const size_t height = (words.size() + across - 1) / across;
  std::vector<std::string> rows(height);
  for (size_t i = 0; i < words.size(); ++i) {
    std::string &row = rows[i % height];
    row += words[i];
    if (helps ? !listed_[i].help.empty() : i + height < words.size()) row.append(widest + kSpace - widths[i], ' ');
    if (helps) row += spelt_out(listed_[i].help, options_.width);
  }
  if (!rows.empty() && !note_.empty()) rows.insert(rows.begin(), spelt_out(note_, options_.width));
  return rows;
}

// `whole`: the line as it stays on the screen, without what only helps typing.
Picture Machine::picture(bool whole) {
  const bool at_end = line_.cursor() == line_.size();
  if (!echo_) return {.prompt = prompt_, .text = {}};
  if (!question_ && options_.look && options_.colours && looked_at_ != line_.text()) {
    looked_at_ = line_.text();
    look_ = options_.look(line_.text());
  }
  Picture picture{.prompt = prompt_, .text = line_.text(), .cursor = whole ? line_.size() : line_.cursor()};
  if (!question_ && options_.colours && looked_at_) picture.spans = look_.spans;
  if (search_ && !whole && !search_->failed) {
    picture.spans = {{search_->found, search_->found + search_->pattern.size(), Style::kMatch}};
  }
  if (!whole && at_end && !search_ && !question_ && options_.colours && looked_at_ && !vi_command_) {
    picture.rest = look_.rest;
  }
  if (!whole) picture.panel = panel_rows();
  picture.page = page_;
  return picture;
}

std::string Machine::take_output() {
  if (reading_ && !drawn_) {
    const std::string searching = search_ ? search_prompt() : "";
    Picture now = picture(false);
    if (search_) now.prompt = searching;
    screen_.draw(now, out_);
  }
  drawn_ = true;
  return std::exchange(out_, {});
}

void Machine::end_line(Event::Kind kind, std::string_view mark) {
  search_.reset();
  listed_.clear();
  screen_.draw(picture(true), out_);
  out_ += mark;
  screen_.finish(out_);
  reading_ = false;
  drawn_ = true;
  event_.kind = kind;
  if (kind == Event::Kind::kLine) {
    event_.text.reserve(kOnHeap);
    event_.text = line_.text();
  }
  looked_at_.reset();
  if (!question_) return;
  if (!echo_) {
    line_.reset(false, 0);
    forget_pasted();
    decoder_.wipe();
  }
  pasted_ = std::exchange(aside_, {});
}

void Machine::accept() {
  if (reading_) end_line(Event::Kind::kNone, "");
}

void Machine::step_aside() {
  if (!reading_) return;
  screen_.draw(picture(true), out_);
  screen_.finish(out_);
  drawn_ = false;
}

void Machine::forget_screen() {
  screen_.forget();
  drawn_ = !reading_;
  if (reading_) out_ += options_.sequences ? "\r\033[J" : "\r\n";
}

void Machine::resize(size_t columns, size_t rows) {
  screen_.resize(columns, rows, out_);
  drawn_ = !reading_;
}

void Machine::message(std::string_view text) {
  screen_.erase(out_);
  drawn_ = !reading_;
  while (!text.empty()) {
    const size_t end = text.find('\n');
    out_ += text.substr(0, end);
    out_ += "\r\n";
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
}

// ---- Answers

void Machine::insert(std::string_view text) {
  if (!reading_) return;
  end_search();
  insert_text(text, 1);
  drawn_ = false;
}

void Machine::replace(std::string_view text) {
  if (!reading_) return;
  begin_change(nullptr);
  if (!line_.replace(0, line_.size(), text.substr(0, text.find_first_of(std::string_view("\0\n", 2))))) bell();
  drawn_ = false;
}

namespace {

bool is_alike(char a, char b, bool ignores_case) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; };
  return ignores_case ? lower(a) == lower(b) : a == b;
}

// Characters that share their first bytes only have nothing in common.
std::string common_start(const std::vector<Choices::Word> &words, bool ignores_case) {
  std::string common = words.front().text;
  for (const Choices::Word &word : words) {
    size_t same = 0;
    while (same < std::min(common.size(), word.text.size()) && is_alike(common[same], word.text[same], ignores_case)) {
      ++same;
    }
    while (same > 0 && same < common.size() && (static_cast<unsigned char>(common[same]) & 0xc0U) == 0x80U) --same;
    common.resize(same);
  }
  return common;
}

}  // namespace

bool Machine::complete(Choices choices) {
  if (!reading_ || choices.words.empty() || choices.start > line_.cursor()) return false;
  drawn_ = false;
  const size_t typed = line_.cursor() - choices.start;
  std::string word = common_start(choices.words, ignores_case_);
  const bool is_only = choices.words.size() == 1;
  const bool repeated = tabbed_ == line_.text();
  if (choices.note.empty() && (is_only || word.size() > typed)) {
    // The rest of the word is replaced where it is what is put in anyway, and else kept.
    const std::string_view behind = line_.behind_cursor();
    const std::string_view rest = behind.substr(0, behind.find_first_of(" \t"));
    const std::string_view added = std::string_view(word).substr(std::min(typed, word.size()));
    size_t to = line_.cursor();
    if (added.starts_with(rest)) {
      to += rest.size();
    } else if (rest.starts_with(added)) {
      to += added.size();
    }
    const bool blank_is_there = word.ends_with(' ') && line_.at(to) == ' ';
    if (blank_is_there) ++to;
    begin_change(nullptr);
    if (!line_.replace(choices.start, to, word)) bell();
    tabbed_.reset();
    if (!is_only) tabbed_ = line_.text();
    return true;
  }
  tabbed_ = line_.text();
  if (!repeated && choices.note.empty()) {
    bell();
    return true;
  }
  listed_ = std::move(choices.words);
  note_ = std::move(choices.note);
  page_ = 0;
  if (!options_.sequences) {  // there is no way back up to the line
    const std::vector<std::string> rows = panel_rows();
    listed_.clear();
    std::string text;
    for (const std::string &row : rows) text += row + '\n';
    step_aside();
    message(text);
  }
  return true;
}

}  // namespace cli_editor
