// The command mode of vi: counts, motions, operators, what a dot repeats.
#include <algorithm>
#include <utility>

#include "cli_editor/machine.hpp"

namespace cli_editor {

namespace {

constexpr size_t kHighestCount = 9999;
constexpr size_t kMostRecorded = 4096;
constexpr char32_t kEscapeKey = 0x1b;

size_t times(size_t count) {
  return std::max<size_t>(1, count);
}

bool is_one_of(char32_t code, std::string_view characters) {
  return code < 0x80 && code != 0 && characters.find(static_cast<char>(code)) != std::string_view::npos;
}

}  // namespace

void Machine::take_vi_key(const Key &key) {
  if (operator_ == 0 && count_ == 0 && keys_.empty() && !replaying_) recording_.clear();
  if (!replaying_ && echo_) recording_.push_back(key);
  if (key.code == kEscapeKey) {
    operator_ = 0;
    count_ = 0;
    keys_.clear();
    return;
  }
  const bool digit = key.code >= '0' && key.code <= '9';
  if (digit && (key.code != '0' || count_ != 0)) {
    count_ = std::min(kHighestCount, count_ * 10 + (key.code - '0'));
    return;
  }
  take_vi_command(key);
  vi_keep_in_line();
}

void Machine::take_vi_command(const Key &key) {
  begin_change(nullptr);
  const size_t count =
      count_ * (operator_ != 0 ? times(operator_count_) : 1) + (count_ == 0 && operator_ != 0 ? operator_count_ : 0);
  if (is_one_of(key.code, "fFtT") && keys_.empty()) {
    awaiting_ = key.code;
    awaiting_count_ = times(count);
    count_ = 0;
    return;
  }
  bool inclusive = false;
  if (const auto target = keys_.empty() ? vi_motion(key.code, count, inclusive) : std::nullopt) {
    count_ = 0;
    if (operator_ != 0) return vi_apply(*target, inclusive);
    line_.move(*target);
    last_ = nullptr;
    return;
  }
  if (operator_ != 0) {
    const char32_t present = std::exchange(operator_, 0);
    count_ = 0;
    if (present != key.code) return bell();
    line_.move(0);
    operator_ = present;
    return vi_apply(line_.size(), false);
  }
  if (vi_command_keys_.contains(keys_ + key.code)) return dispatch(key, vi_command_keys_);
  if (key.code >= ' ' && key.code < kOtherKeys && key.code != 0x7f) {
    count_ = 0;
    return bell();
  }
  dispatch(key, vi_insert_keys_);
}

// In command mode the cursor stands on a character.
void Machine::vi_keep_in_line() {
  if (!reading_ || !vi_command_ || operator_ != 0 || awaiting_ != 0) return;
  if (changes_ && !replaying_) {
    repeated_ = recording_;
    changes_ = false;
  }
  if (line_.cursor() == line_.size()) line_.move(line_.before(line_.size()));
}

std::optional<size_t> Machine::vi_motion(char32_t code, size_t count, bool &inclusive) {
  size_t place = line_.cursor();
  // What changes up to the next word leaves the blanks before it.
  const bool ends = operator_ == 'c' && line_.at(place) != ' ' && line_.at(place) != '\t';
  if (ends && (code == 'w' || code == 'W')) {
    const Words words = code == 'w' ? Words::kVi : Words::kBlanks;
    for (size_t i = 0; i < times(count); ++i) place = word_end_behind(line_, place, words);
    return place;
  }
  const auto repeat = [&](auto step) {
    for (size_t i = 0; i < times(count); ++i) place = step(place);
    return place;
  };
  const Words words = code < 'a' ? Words::kBlanks : Words::kVi;
  switch (code) {
    case 'h':
    case 8:
    case 0x7f:
    case kLeft:
      return repeat([&](size_t at) { return line_.before(at); });
    case 'l':
    case ' ':
    case kRight:
      return repeat([&](size_t at) { return line_.after(at); });
    case 'w':
    case 'W':
      return repeat([&](size_t at) { return word_start_behind(line_, at, words); });
    case 'b':
    case 'B':
      return repeat([&](size_t at) { return word_start_before(line_, at, words); });
    case 'e':
    case 'E':
      inclusive = true;
      return repeat([&](size_t at) { return last_of_word_behind(line_, at, words); });
    case kRight | kCtrl:
      return repeat([&](size_t at) { return word_start_behind(line_, at, Words::kVi); });
    case kLeft | kCtrl:
      return repeat([&](size_t at) { return word_start_before(line_, at, Words::kVi); });
    case '0':
    case kHome:
      return 0;
    case '^':
      return std::min(line_.text().find_first_not_of(" \t"), line_.size());
    case '$':
    case kEnd:
      return line_.size();
    case '|':
      place = 0;
      for (size_t i = 1; i < times(count); ++i) place = line_.after(place);
      return place;
    case '%':
      inclusive = true;
      return matching_bracket(line_, place);
    case ';':
    case ',':
      inclusive = found_by_ == 'f' || found_by_ == 't';
      if (code == ',') inclusive = found_by_ == 'F' || found_by_ == 'T';
      return vi_find(times(count), code == ',');
    default:
      return std::nullopt;
  }
}

std::optional<size_t> Machine::vi_find(size_t count, bool reversed) {
  if (found_.empty()) return std::nullopt;
  const bool back = (found_by_ == 'F' || found_by_ == 'T') != reversed;
  const bool before_it = found_by_ == 't' || found_by_ == 'T';
  size_t from = line_.cursor();
  // A "t" that is repeated must not find the character it stands before.
  if (before_it) from = back ? line_.before(from) : line_.after(from);
  const auto on_it = [&](size_t at) { return at < line_.size() && line_.part(at, line_.after(at)) == found_; };
  if (!before_it || !on_it(from)) from = line_.cursor();
  auto place = find_character(line_, from, found_, back, count);
  if (place && before_it) place = back ? line_.after(*place) : line_.before(*place);
  return place;
}

// The character that f, F, t, T or r waited for, in both modes' keys.
void Machine::find_typed_character(const Key &key) {
  const char32_t by = std::exchange(awaiting_, 0);
  if (vi_command_ && !replaying_ && echo_) recording_.push_back(key);
  begin_change(nullptr);
  if (key.text.empty() || key.code < ' ' || key.code >= kOtherKeys) {
    operator_ = 0;
    if (key.code != kEscapeKey) bell();
  } else if (by == 'r') {
    size_t to = line_.cursor();
    size_t put = 0;
    for (; put < awaiting_count_ && to < line_.size(); ++put) to = line_.after(to);
    if (put < awaiting_count_) {
      bell();
    } else {
      std::string text;
      for (size_t i = 0; i < put; ++i) text += key.text;
      line_.replace(line_.cursor(), to, text);
      line_.move(line_.before(line_.cursor()));
      changes_ = !replaying_;
    }
  } else {
    found_by_ = by;
    found_ = key.text;
    const auto place = vi_find(awaiting_count_, false);
    if (!place) {
      operator_ = 0;
      bell();
    } else if (operator_ != 0) {
      vi_apply(*place, by == 'f' || by == 't');
    } else {
      line_.move(*place);
    }
  }
  vi_keep_in_line();
}

void Machine::vi_operator(size_t count) {
  operator_ = key_.code;
  operator_count_ = count;
}

void Machine::vi_apply(size_t target, bool inclusive) {
  const char32_t by = std::exchange(operator_, 0);
  const size_t from = std::min(line_.cursor(), target);
  size_t to = std::max(line_.cursor(), target);
  if (inclusive) to = line_.after(to);
  if (by == 'y') {
    if (from < to && echo_) kills_.emplace_front(line_.part(from, to));
    if (kills_.size() > 1) kills_.pop_back();
    return line_.move(from);
  }
  kill(from, to);
  line_.move(from);
  changes_ = !replaying_;
  if (by == 'c') vi_command_ = false;
}

// ---- Into insert mode and back

void Machine::vi_movement_mode(size_t) {
  if (vi_command_) return;
  vi_command_ = true;
  overwriting_ = false;
  line_.move(line_.before(line_.cursor()));
}

void Machine::vi_insert(size_t) {
  vi_command_ = false;
  changes_ = !replaying_;
}

void Machine::vi_append(size_t count) {
  line_.move(line_.after(line_.cursor()));
  vi_insert(count);
}

void Machine::vi_insert_beginning(size_t count) {
  line_.move(0);
  vi_insert(count);
}

void Machine::vi_append_end(size_t count) {
  line_.move(line_.size());
  vi_insert(count);
}

void Machine::vi_overwrite(size_t count) {
  overwriting_ = true;
  vi_insert(count);
}

// ---- Changes

void Machine::vi_delete_char(size_t count) {
  size_t to = line_.cursor();
  for (size_t i = 0; i < times(count); ++i) to = line_.after(to);
  kill(line_.cursor(), to);
  changes_ = !replaying_;
}

void Machine::vi_delete_before(size_t count) {
  size_t from = line_.cursor();
  for (size_t i = 0; i < times(count); ++i) from = line_.before(from);
  kill(from, line_.cursor());
  changes_ = !replaying_;
}

void Machine::vi_substitute(size_t count) {
  vi_delete_char(count);
  vi_insert(count);
}

void Machine::vi_change_line(size_t count) {
  kill(0, line_.size());
  vi_insert(count);
}

void Machine::vi_change_end(size_t count) {
  vi_delete_end(count);
  vi_insert(count);
}

void Machine::vi_delete_end(size_t) {
  kill(line_.cursor(), line_.size());
  changes_ = !replaying_;
}

void Machine::vi_yank_line(size_t) {
  if (echo_ && !line_.empty()) kills_.assign(1, line_.text());
}

void Machine::vi_put(size_t count) {
  line_.move(line_.after(line_.cursor()));
  vi_put_before(count);
}

void Machine::vi_put_before(size_t count) {
  if (kills_.empty()) return bell();
  insert_text(kills_.front(), times(count));
  line_.move(line_.before(line_.cursor()));
  changes_ = !replaying_;
}

void Machine::vi_replace_char(size_t count) {
  awaiting_ = 'r';
  awaiting_count_ = times(count);
}

void Machine::vi_change_case(size_t count) {
  for (size_t i = 0; i < times(count) && line_.cursor() < line_.size(); ++i) {
    const char c = line_.at(line_.cursor());
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    const size_t next = line_.after(line_.cursor());
    if (letter) line_.replace(line_.cursor(), line_.cursor() + 1, std::string(1, static_cast<char>(c ^ 0x20)));
    line_.move(next);
  }
  changes_ = !replaying_;
}

void Machine::vi_last_arg(size_t count) {
  line_.move(line_.size());
  if (!line_.empty()) insert_text(" ", 1);
  last_ = nullptr;
  yank_last_arg(count);
  vi_insert(count);
}

void Machine::vi_repeat(size_t) {
  if (replaying_ || repeated_.size() > kMostRecorded) return bell();
  replaying_ = true;
  const std::vector<Key> keys = repeated_;
  for (const Key &key : keys) {
    if (event_.kind == Event::Kind::kNone) take_key(key);
  }
  replaying_ = false;
}

// ---- Searching

void Machine::vi_search(size_t) {
  begin_search(key_.code == '/', static_cast<char>(key_.code));
}

void Machine::vi_search_again(size_t) {
  begin_search(last_pattern_back_, 0);
  search_->pattern = last_pattern_;
  if (!last_pattern_.empty()) search_on(true);
  search_.reset();
}

void Machine::vi_search_again_back(size_t count) {
  last_pattern_back_ = !last_pattern_back_;
  vi_search_again(count);
  last_pattern_back_ = !last_pattern_back_;
}

}  // namespace cli_editor
