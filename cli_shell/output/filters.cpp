#include "cli_shell/output/filters.hpp"

#include <re2/re2.h>
#include <strings.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <deque>
#include <optional>

#include "cli_shell/output/display_text.hpp"
#include "cli_shell/output/whole_file.hpp"
#include "cli_shell/words.hpp"

namespace cli_shell {
namespace {

// ---- The filters

// A POSIX extended regular expression. The engine's time grows with the text and its memory not at all, whatever the
// pattern: operators type patterns into devices that have other things to do.
class Regex {
 public:
  // The message when the pattern is none, else "".
  std::string compile(const std::string &pattern) {
    if (pattern.size() > kLongest) {
      return "The regular expression is too long: at most " + std::to_string(kLongest) + " bytes";
    }
    RE2::Options options(RE2::POSIX);
    options.set_perl_classes(true);
    options.set_word_boundary(true);
    options.set_log_errors(false);
    options.set_max_mem(kMemory);
    regex_.emplace(pattern, options);
    if (regex_->ok()) return "";
    std::string error = regex_->error();
    if (regex_->error_arg() == pattern) error.resize(error.size() - pattern.size() - 2);  // what follows ": "
    return "Invalid regular expression '" + pattern + "': " + error;
  }

  // Colours are no part of what a user sees as the line's text.
  bool matches(std::string_view line) {
    const std::string_view text = without_sequences(line, buffer_);
    return regex_->Match(text, 0, text.size(), RE2::UNANCHORED, nullptr, 0);
  }

 private:
  static constexpr size_t kLongest = 1024;
  static constexpr int64_t kMemory = 1 << 20;

  std::optional<RE2> regex_;
  std::string buffer_;
};

// A filter with a regular expression.
class RegexFilter : public LineFilter {
 public:
  std::string compile(const std::string &pattern) { return regex_.compile(pattern); }

 protected:
  bool matches(std::string_view text) { return regex_.matches(text); }

 private:
  Regex regex_;
};

class Include : public RegexFilter {
  bool line(std::string_view text, bool ended, LineSink &out) override {
    if (matches(text)) out.line(text, ended);
    return true;
  }
};

class Exclude : public RegexFilter {
  bool line(std::string_view text, bool ended, LineSink &out) override {
    if (!matches(text)) out.line(text, ended);
    return true;
  }
};

class Begin : public RegexFilter {
  bool line(std::string_view text, bool ended, LineSink &out) override {
    begun_ = begun_ || matches(text);
    if (begun_) out.line(text, ended);
    return true;
  }
  bool begun_ = false;
};

// Lines that match, each with the more deeply indented lines below it.
class Section : public RegexFilter {
  bool line(std::string_view text, bool ended, LineSink &out) override {
    const std::string_view visible = without_sequences(text, buffer_);
    const size_t indent = std::min(visible.find_first_not_of(' '), visible.size());
    if (!(indent_ && indent > *indent_)) indent_ = matches(text) ? std::optional(indent) : std::nullopt;
    if (indent_) out.line(text, ended);
    return true;
  }
  std::optional<size_t> indent_;  // of the line that began the section
  std::string buffer_;
};

class Count : public LineFilter {
  bool line(std::string_view, bool, LineSink &) override {
    ++lines_;
    return true;
  }
  std::string end(LineSink &out) override {
    out.line(std::to_string(lines_), true);
    return "";
  }
  size_t lines_ = 0;
};

class Head : public LineFilter {
 public:
  explicit Head(size_t lines) : left_(lines) {}

 private:
  bool line(std::string_view text, bool ended, LineSink &out) override {
    if (left_ == 0) return false;
    out.line(text, ended);
    return --left_ > 0;
  }
  size_t left_;
};

class Tail : public LineFilter {
 public:
  explicit Tail(size_t lines) : wanted_(lines) {}

 private:
  bool line(std::string_view text, bool ended, LineSink &) override {
    if (wanted_ == 0) return false;
    if (kept_.size() == wanted_) kept_.pop_front();
    kept_.push_back({std::string(text), ended});
    return true;
  }
  std::string end(LineSink &out) override {
    for (const auto &[text, ended] : kept_) out.line(text, ended);
    return "";
  }
  size_t wanted_;
  std::deque<std::pair<std::string, bool>> kept_;
};

// Writes what reaches it to a file, colours removed, and passes nothing on.
class Save : public LineFilter {
 public:
  explicit Save(std::string path) : path_(std::move(path)) {}

 private:
  std::string open() override { return file_.open(path_) ? "" : cannot_write(); }
  bool line(std::string_view text, bool ended, LineSink &) override {
    pending_ += without_sequences(text, buffer_);
    if (ended) pending_ += '\n';
    constexpr size_t kBlock = 65536;
    return pending_.size() < kBlock || write_pending();
  }
  std::string end(LineSink &) override {
    if (write_pending() && !file_.put_in_place()) error_ = cannot_write();
    return error_;
  }

  bool write_pending() {
    if (error_.empty() && !file_.write(pending_)) error_ = cannot_write();
    pending_.clear();
    return error_.empty();
  }
  std::string cannot_write() const {
    return "Cannot write '" + path_ + "': " + (errno == EINVAL ? "Not a regular file" : std::strerror(errno));
  }

  std::string path_;
  WholeFile file_;
  std::string pending_;
  std::string buffer_;
  std::string error_;
};

// ---- Their arguments

// What stands behind a filter's name, without quotes.
struct Argument {
  std::string text;
  size_t words = 0;
};

// A regular expression keeps its backslashes, but for those before a quote or a blank, which are there for the line.
Argument read_argument(std::string_view raw, bool keep_backslashes) {
  Argument argument;
  std::string blanks;  // between words; dropped at the end
  WordScanner scanner;
  bool in_word = false;
  for (size_t i = 0; i < raw.size(); ++i) {
    const char c = raw[i];
    const bool was_quoted = scanner.in_quotes();
    const bool was_escaped = scanner.escaping();
    if (scanner.separates(c)) {
      in_word = false;
      if (argument.words > 0) blanks += c;
      continue;
    }
    if (!in_word) {
      ++argument.words;
      argument.text += blanks;
      blanks.clear();
      in_word = true;
    }
    if (!was_escaped && scanner.in_quotes() != was_quoted) continue;  // a quote that opens or closes
    if (!was_escaped && c == '\\') {
      const bool for_the_line = i + 1 < raw.size() && (raw[i + 1] == '"' || raw[i + 1] == '\'' || is_blank(raw[i + 1]));
      if (!keep_backslashes || for_the_line) continue;
    }
    argument.text += c;
  }
  return argument;
}

struct MadeFilter {
  std::unique_ptr<LineFilter> filter;
  std::string error;
};

template <typename Filter>
MadeFilter with_regex(const char *name, std::string_view raw) {
  const Argument argument = read_argument(raw, true);
  if (argument.words == 0) return {nullptr, std::string("'") + name + "' needs a regular expression"};
  auto filter = std::make_unique<Filter>();
  std::string error = filter->compile(argument.text);
  return {std::move(filter), std::move(error)};
}

template <typename Filter>
MadeFilter with_number(const char *name, std::string_view raw) {
  const Argument argument = read_argument(raw, false);
  const char *const end = argument.text.data() + argument.text.size();
  size_t number = 0;
  const auto [stop, error] = std::from_chars(argument.text.data(), end, number);
  if (argument.words != 1 || error != std::errc() || stop != end)
    return {nullptr, std::string("'") + name + "' needs a number of lines"};
  if (number > kMostLinesKept)
    return {nullptr, std::string("'") + name + "' takes at most " + std::to_string(kMostLinesKept) + " lines"};
  return {std::make_unique<Filter>(number), ""};
}

MadeFilter make_count(const char *name, std::string_view raw) {
  if (read_argument(raw, false).words > 0) return {nullptr, std::string("'") + name + "' takes no argument"};
  return {std::make_unique<Count>(), ""};
}

MadeFilter make_save(const char *name, std::string_view raw) {
  Argument argument = read_argument(raw, false);
  if (argument.words != 1 || argument.text.empty())
    return {nullptr, std::string("'") + name + "' needs the name of one file"};
  return {std::make_unique<Save>(std::move(argument.text)), ""};
}

struct FilterKind {
  const char *name;
  const char *argument;
  const char *help;
  MadeFilter (*make)(const char *name, std::string_view raw);
  bool last;  // passes nothing on, so nothing may follow it
};
constexpr FilterKind kFilters[] = {
    {"include", " REGEX", "Show the lines that match", with_regex<Include>, false},
    {"exclude", " REGEX", "Show the lines that do not match", with_regex<Exclude>, false},
    {"begin", " REGEX", "Show all from the first line that matches", with_regex<Begin>, false},
    {"section", " REGEX", "Show the lines that match with what is indented below them", with_regex<Section>, false},
    {"count", "", "Show the number of lines", make_count, false},
    {"head", " N", "Show the first lines", with_number<Head>, false},
    {"tail", " N", "Show the last lines", with_number<Tail>, false},
    {"save", " FILE", "Write to a file", make_save, true},
};

std::string_view without_leading_blanks(std::string_view text) {
  while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
  return text;
}

std::string_view first_word(std::string_view text) {
  size_t length = 0;
  while (length < text.size() && !is_blank(text[length])) ++length;
  return text.substr(0, length);
}

std::vector<const FilterKind *> kinds_beginning_with(std::string_view word) {
  std::vector<const FilterKind *> found;
  for (const FilterKind &kind : kFilters)
    if (strncasecmp(kind.name, std::string(word).c_str(), word.size()) == 0) found.push_back(&kind);
  return found;
}

std::string names_of(const std::vector<const FilterKind *> &kinds) {
  std::string text;
  for (size_t i = 0; i < kinds.size(); ++i) {
    if (i > 0) text += i + 1 == kinds.size() ? " or " : ", ";
    text += kinds[i]->name;
  }
  return text;
}

// Adds the filter that the text between two bars asks for; the message when it cannot be made, else "".
std::string add_filter(std::string_view text, bool is_last, FilteredLine &line) {
  text = without_leading_blanks(text);
  const std::string_view name = first_word(text);
  if (name.empty()) return "A filter is missing behind '|': " + names_of(kinds_beginning_with(""));
  const std::vector<const FilterKind *> kinds = kinds_beginning_with(name);
  if (kinds.empty()) return "Unknown filter '" + std::string(name) + "': " + names_of(kinds_beginning_with(""));
  if (kinds.size() > 1) return "Ambiguous filter '" + std::string(name) + "': " + names_of(kinds);
  if (kinds[0]->last && !is_last) return std::string("'") + kinds[0]->name + "' must be the last filter";
  MadeFilter made = kinds[0]->make(kinds[0]->name, text.substr(name.size()));
  line.filters.push_back(std::move(made.filter));
  line.saves = line.saves || kinds[0]->last;
  return std::move(made.error);
}

}  // namespace

std::vector<size_t> filter_bars(std::string_view line) {
  std::vector<size_t> found;
  WordScanner scanner;
  bool after_blank = true;
  for (size_t i = 0; i < line.size(); ++i) {
    const bool free = !scanner.in_quotes() && !scanner.escaping();
    const bool before_blank = i + 1 == line.size() || is_blank(line[i + 1]);
    if (line[i] == '|' && free && after_blank && before_blank) found.push_back(i);
    after_blank = scanner.separates(line[i]);
  }
  return found;
}

FilteredLine split_filters(std::string_view line) {
  FilteredLine result;
  const std::vector<size_t> found = filter_bars(line);
  result.command = line.substr(0, found.empty() ? line.size() : found[0]);
  if (found.size() > kMostFilters) result.error = "A line has at most " + std::to_string(kMostFilters) + " filters";
  for (size_t i = 0; i < found.size() && result.error.empty(); ++i) {
    const bool is_last = i + 1 == found.size();
    const size_t end = is_last ? line.size() : found[i + 1];
    result.error = add_filter(line.substr(found[i] + 1, end - found[i] - 1), is_last, result);
  }
  return result;
}

size_t last_filter_start(std::string_view line) {
  const std::vector<size_t> found = filter_bars(line);
  return found.empty() ? std::string_view::npos : found.back() + 1;
}

FilterChoices filter_choices(std::string_view typed) {
  typed = without_leading_blanks(typed);
  const std::string_view word = first_word(typed);
  FilterChoices choices{.name_due = word.size() == typed.size(), .names = {}, .helps = {}};
  for (const FilterKind *kind : kinds_beginning_with(word)) {
    choices.names.emplace_back(kind->name);
    choices.helps.push_back({std::string(kind->name) + kind->argument, kind->help});
  }
  return choices;
}

}  // namespace cli_shell
