#include "cli_shell/tools/script.hpp"

#include <re2/re2.h>

#include <algorithm>
#include <array>

#include "cli_shell/documents.hpp"

namespace cli_shell {
namespace {

constexpr std::string_view kTab = "<tab>";
constexpr std::string_view kFurtherLines = "...";

std::string without_blanks_at_end(std::string_view line) {
  const size_t last = line.find_last_not_of(" \t\r");
  return std::string(line.substr(0, last == std::string_view::npos ? 0 : last + 1));
}

std::vector<std::string> lines_of(const std::string &text) {
  std::vector<std::string> lines;
  for (size_t start = 0; start < text.size();) {
    const size_t end = std::min(text.find('\n', start), text.size());
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

bool is_input(std::string_view line) {
  return (line.starts_with("> ") && !line.starts_with("> [")) || without_blanks_at_end(line) == ">";
}

bool is_comment(std::string_view line) {
  return line.starts_with('#');
}

[[noreturn]] void refuse(const Script &script, size_t line, const std::string &message) {
  throw UserError(script.path + ":" + std::to_string(line + 1) + ": " + message);
}

// ---- The header

std::string in_folder_of(const std::string &script, const std::string &path) {
  const size_t slash = script.rfind('/');
  return path.starts_with('/') || slash == std::string::npos ? path : script.substr(0, slash + 1) + path;
}

std::string file_name(const std::string &path) {
  return path.substr(path.rfind('/') + 1);
}

// One that is built elsewhere is given on the command line.
std::string find_library(const Script &script, const std::string &name, const Options &given) {
  for (const std::string &library : given.handlers)
    if (file_name(library) == file_name(name)) return library;
  if (!given.extra.contains("trust"))
    throw UserError("the script loads '" + name + "', which --handlers must name, or --trust allow");
  return in_folder_of(script.path, name);
}

void take_header(Script &script, const std::string &key, const std::string &value, const Options &given) {
  // As on the command line, and with its messages.
  constexpr std::array<std::string_view, 4> kPlain = {"level", "host", "name", "end"};
  if (key == "definition") {
    script.options.operands = {in_folder_of(script.path, value)};
  } else if (key == "privileges") {
    script.options.privileges = in_folder_of(script.path, value);
  } else if (key == "handlers") {
    script.options.handlers.push_back(find_library(script, value, given));
    script.without_handlers = false;
  } else if (std::find(kPlain.begin(), kPlain.end(), key) != kPlain.end()) {
    const Options plain = parse_options({"--" + key + "=" + value}, {});
    if (plain.level) script.options.level = plain.level;
    if (plain.host) script.options.host = plain.host;
    if (plain.name) script.options.name = plain.name;
    if (plain.end) script.options.end = plain.end;
  } else {
    throw UserError("'" + key + "' is none of definition, privileges, handlers, level, host, name, end");
  }
}

size_t read_header(Script &script, const Options &given) {
  script.options.handlers.clear();
  script.options.operands.clear();
  size_t i = 0;
  for (; i < script.lines.size() && !is_input(script.lines[i]); ++i) {
    const std::string line = without_blanks_at_end(script.lines[i]);
    if (line.empty() || is_comment(line)) continue;
    const size_t colon = line.find(':');
    if (colon == std::string::npos) refuse(script, i, "expected 'NAME: VALUE', or '> ' and the first line to type");
    const size_t value = std::min(line.find_first_not_of(' ', colon + 1), line.size());
    try {
      take_header(script, line.substr(0, colon), line.substr(value), given);
    } catch (const UserError &error) {
      refuse(script, i, error.what());
    }
  }
  if (script.options.operands.empty()) refuse(script, 0, "the script names no 'definition: FILE'");
  // A header without handlers means none; what the command line gives then serves for its value types.
  if (script.without_handlers) script.options.handlers = given.handlers;
  return i;
}

// ---- The session

Step step_at(const Script &script, size_t input) {
  const std::string &line = script.lines[input];
  Step step{.kind = Step::Kind::kLine,
            .text = line.size() > 2 ? line.substr(2) : "",
            .input_line = input,
            .end = input + 1,
            .expected = {}};
  const std::string typed = without_blanks_at_end(step.text);
  if (typed.ends_with('?')) {
    step.kind = Step::Kind::kHelp;
    step.text = typed.substr(0, typed.size() - 1);
  } else if (typed.ends_with(kTab)) {
    step.kind = Step::Kind::kCompletion;
    step.text = typed.substr(0, typed.size() - kTab.size());
  }
  for (; step.end < script.lines.size() && !is_input(script.lines[step.end]); ++step.end)
    if (!is_comment(script.lines[step.end])) step.expected.push_back(step.end);
  while (!step.expected.empty() && without_blanks_at_end(script.lines[step.expected.back()]).empty())
    step.expected.pop_back();
  return step;
}

// ---- The comparison

// Its time and memory are bounded, whatever the script says.
class Pattern {
 public:
  Pattern(const Script &script, size_t line) : regex_(without_blanks_at_end(script.lines[line]).substr(1), options()) {
    if (!regex_.ok()) refuse(script, line, "invalid regular expression: " + regex_.error());
  }
  bool matches(const std::string &output) const { return RE2::FullMatch(output, regex_); }

 private:
  static RE2::Options options() {
    RE2::Options options(RE2::POSIX);
    options.set_perl_classes(true);
    options.set_word_boundary(true);
    options.set_log_errors(false);
    options.set_max_mem(1 << 20);
    return options;
  }

  RE2 regex_;
};

// One expected line.
class Expectation {
 public:
  Expectation(const Script &script, size_t line) : literal_(without_blanks_at_end(script.lines[line])) {
    if (literal_.starts_with('~')) pattern_ = std::make_unique<Pattern>(script, line);
    if (literal_.starts_with('\\')) literal_.erase(0, 1);
  }
  bool matches(const std::string &output) const { return pattern_ ? pattern_->matches(output) : literal_ == output; }

 private:
  std::string literal_;
  std::unique_ptr<Pattern> pattern_;
};

// Only as many lines count as stand before the "...".
bool is_open_ended(const Script &script, const Step &step) {
  return !step.expected.empty() && without_blanks_at_end(script.lines[step.expected.back()]) == kFurtherLines;
}

// The longest common part of what is expected and what was printed, by lengths of the common parts of their ends.
class Alignment {
 public:
  Alignment(const std::vector<Expectation> &expected, const std::vector<std::string> &output)
      : columns_(output.size() + 1), lengths_((expected.size() + 1) * columns_) {
    for (size_t i = expected.size(); i-- > 0;)
      for (size_t j = output.size(); j-- > 0;)
        length(i, j) =
            expected[i].matches(output[j]) ? length(i + 1, j + 1) + 1 : std::max(length(i + 1, j), length(i, j + 1));
  }
  unsigned &length(size_t i, size_t j) { return lengths_[i * columns_ + j]; }

 private:
  size_t columns_;
  std::vector<unsigned> lengths_;
};

}  // namespace

Script read_script(const std::string &path, const Options &given) {
  Script script{
      .path = path, .lines = lines_of(read_file(path)), .options = given, .without_handlers = true, .steps = {}};
  script.options.restricted = !given.extra.contains("trust");
  for (size_t i = read_header(script, given); i < script.lines.size(); i = script.steps.back().end)
    script.steps.push_back(step_at(script, i));
  return script;
}

std::string expectation_of(const std::string &output) {
  const bool is_marked = is_input(output) || is_comment(output) || output == kFurtherLines || output.starts_with('~') ||
                         output.starts_with('\\');
  return is_marked ? '\\' + output : output;
}

std::vector<Difference> compare(const Script &script, const Step &step, const std::vector<std::string> &output) {
  if (is_open_ended(script, step)) {
    Step closed = step;
    closed.expected.pop_back();
    const auto compared = static_cast<std::ptrdiff_t>(std::min(closed.expected.size(), output.size()));
    std::vector<Difference> differences = compare(script, closed, {output.begin(), output.begin() + compared});
    differences.push_back({Difference::Kind::kSame, step.expected.back(), ""});
    return differences;
  }

  std::vector<Expectation> expected;
  for (const size_t line : step.expected) expected.emplace_back(script, line);

  // What both begin with needs no table: a session that holds costs its own length.
  std::vector<Difference> differences;
  size_t same = 0;
  for (; same < expected.size() && same < output.size() && expected[same].matches(output[same]); ++same)
    differences.push_back({Difference::Kind::kSame, step.expected[same], ""});
  expected.erase(expected.begin(), expected.begin() + static_cast<std::ptrdiff_t>(same));
  const std::vector<std::string> rest(output.begin() + static_cast<std::ptrdiff_t>(same), output.end());

  Alignment alignment(expected, rest);
  size_t i = 0;
  size_t j = 0;
  while (i < expected.size() || j < rest.size()) {
    const bool both = i < expected.size() && j < rest.size();
    if (both && expected[i].matches(rest[j])) {
      differences.push_back({Difference::Kind::kSame, step.expected[same + i++], ""});
      ++j;
    } else if (j == rest.size() || (both && alignment.length(i + 1, j) >= alignment.length(i, j + 1))) {
      differences.push_back({Difference::Kind::kMissing, step.expected[same + i++], ""});
    } else {
      differences.push_back({Difference::Kind::kUnexpected, 0, rest[j++]});
    }
  }
  return differences;
}

bool holds(const std::vector<Difference> &differences) {
  return std::all_of(differences.begin(), differences.end(),
                     [](const Difference &difference) { return difference.kind == Difference::Kind::kSame; });
}

}  // namespace cli_shell
