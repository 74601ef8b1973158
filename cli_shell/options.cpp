#include "cli_shell/options.hpp"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstring>

namespace cli_shell {
namespace {

int level_from(const std::string &text) {
  int level = 0;
  const char *end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, level);
  if (error != std::errc() || stop != end || level < 0 || level > 15)
    throw UserError("--level takes a number from 0 to 15, not '" + text + "'");
  return level;
}

char prompt_end_from(const std::string &text) {
  if (text.size() != 1 || !std::isgraph(static_cast<unsigned char>(text[0])))
    throw UserError("--end takes one printable character, not '" + text + "'");
  return text[0];
}

ColourChoice colour_from(const std::string &text) {
  if (text == "auto") return ColourChoice::kAuto;
  if (text == "always") return ColourChoice::kAlways;
  if (text == "never") return ColourChoice::kNever;
  throw UserError("--color takes auto, always or never, not '" + text + "'");
}

struct CommonOption {
  const char *name;
  const char *argument;  // null when it takes nothing
  const char *help;
  void (*take)(Options &options, const std::string &argument);
};

constexpr CommonOption kCommon[] = {
    {"--privileges", "FILE", "the privilege table", [](Options &o, const std::string &a) { o.privileges = a; }},
    {"--handlers", "LIB.so", "a library of handlers (repeatable)",
     [](Options &o, const std::string &a) { o.handlers.push_back(a); }},
    {"--level", "N", "the user's privilege level, 0 to 15 (default 1)",
     [](Options &o, const std::string &a) { o.level = level_from(a); }},
    {"--host", "TEXT", "the first part of the prompt", [](Options &o, const std::string &a) { o.host = a; }},
    {"--name", "TEXT", "the name in the prompt (default cli)", [](Options &o, const std::string &a) { o.name = a; }},
    {"--end", "CHAR", "the end of the prompt (default >)",
     [](Options &o, const std::string &a) { o.end = prompt_end_from(a); }},
    {"-c", "LINE", "execute a line, filters included (repeatable)",
     [](Options &o, const std::string &a) {
       o.actions.push_back({Action::Kind::kLine, a});
     }},
    {"-f", "FILE", "execute the lines of a file (repeatable)",
     [](Options &o, const std::string &a) {
       o.actions.push_back({Action::Kind::kFile, a});
     }},
    {"--color", "WHEN", "auto, always or never (auto: on a terminal, unless NO_COLOR is set)",
     [](Options &o, const std::string &a) { o.colour = colour_from(a); }},
    {"--no-more", nullptr, "do not page long output", [](Options &o, const std::string &) { o.no_more = true; }},
    {"--plain", nullptr, "no colours and no completion behind the cursor while a line is typed",
     [](Options &o, const std::string &) { o.plain = true; }},
    {"--strict", nullptr, "with -c, -f and pipes: end with status 1 at the first line that fails",
     [](Options &o, const std::string &) { o.strict = true; }},
    {"--restricted", nullptr, "no file is saved, no pager program started; files are named with absolute paths",
     [](Options &o, const std::string &) { o.restricted = true; }},
    {"--audit", nullptr, "tell the system's log of each line, secrets masked",
     [](Options &o, const std::string &) { o.audit = true; }},
    {"--dump", nullptr, "print the language in bracket notation; no handlers are needed",
     [](Options &o, const std::string &) { o.dump = true; }},
    {"--help", nullptr, "print this", [](Options &o, const std::string &) { o.help = true; }},
    {"--version", nullptr, "print the version", [](Options &o, const std::string &) { o.version = true; }},
};

// The arguments, read from the left.
class Reader {
 public:
  explicit Reader(const std::vector<std::string> &arguments) : arguments_(arguments) {}

  bool done() const { return next_ == arguments_.size(); }
  const std::string &next() { return arguments_[next_++]; }

  // What an option takes: behind its "=", or the next argument.
  std::string value_of(const std::string &name, const std::optional<std::string> &attached) {
    if (attached) return *attached;
    if (done()) throw UserError("option " + name + " needs a value");
    return next();
  }

 private:
  const std::vector<std::string> &arguments_;
  size_t next_ = 0;
};

// "--name=value" taken apart, and "-cLINE" likewise.
std::pair<std::string, std::optional<std::string>> split_attached(const std::string &argument) {
  if (argument.starts_with("--")) {
    const size_t equals = argument.find('=');
    if (equals == std::string::npos) return {argument, std::nullopt};
    return {argument.substr(0, equals), argument.substr(equals + 1)};
  }
  if (argument.size() == 2) return {argument, std::nullopt};
  return {argument.substr(0, 2), argument.substr(2)};
}

void refuse_value(const std::string &name, const std::optional<std::string> &attached) {
  if (attached) throw UserError("option " + name + " takes no value");
}

bool take_common(Options &options, Reader &reader, const std::string &name,
                 const std::optional<std::string> &attached) {
  for (const CommonOption &row : kCommon) {
    if (name != row.name) continue;
    if (!row.argument) refuse_value(name, attached);
    row.take(options, row.argument ? reader.value_of(name, attached) : std::string());
    return true;
  }
  return false;
}

bool take_extra(Options &options, Reader &reader, const std::string &name, const std::optional<std::string> &attached,
                std::span<const ExtraOption> extra) {
  for (const ExtraOption &row : extra) {
    if (name != std::string("--") + row.name) continue;
    if (!row.argument) refuse_value(name, attached);
    options.extra[row.name] = row.argument ? reader.value_of(name, attached) : std::string();
    return true;
  }
  return false;
}

std::string usage_row(std::string left, const char *help) {
  constexpr size_t kHelpColumn = 22;
  left.resize(std::max(left.size() + 1, kHelpColumn), ' ');
  return "  " + left + help + "\n";
}

// Where a restricted user starts the shell must not decide what it loads.
void require_absolute_paths(const Options &options) {
  std::vector<std::string> paths = options.operands;
  paths.insert(paths.end(), options.handlers.begin(), options.handlers.end());
  if (options.privileges) paths.push_back(*options.privileges);
  for (const Action &action : options.actions)
    if (action.kind == Action::Kind::kFile) paths.push_back(action.text);
  for (const std::string &path : paths)
    if (!path.starts_with('/')) throw UserError("--restricted takes absolute paths, not '" + path + "'");
}

}  // namespace

Options parse_options(const std::vector<std::string> &arguments, std::span<const ExtraOption> extra) {
  Options options;
  Reader reader(arguments);
  bool options_ended = false;
  while (!reader.done()) {
    const std::string &argument = reader.next();
    if (options_ended || argument.size() < 2 || argument[0] != '-') {
      options.operands.push_back(argument);
    } else if (argument == "--") {
      options_ended = true;
    } else {
      const auto [name, attached] = split_attached(argument);
      // What a subcommand calls by the name of an option of the shell is its own.
      if (!take_extra(options, reader, name, attached, extra) && !take_common(options, reader, name, attached))
        throw UserError("unknown option " + name + "; see cli-shell --help");
    }
  }
  if (options.restricted) require_absolute_paths(options);
  return options;
}

const std::string &only_operand(const Options &options, const char *what) {
  if (options.operands.empty()) throw UserError(std::string(what) + " is missing; see cli-shell --help");
  if (options.operands.size() > 1) throw UserError("unexpected argument '" + options.operands[1] + "'");
  return options.operands[0];
}

std::string usage(std::span<const Subcommand> subcommands) {
  std::string text = "Usage: cli-shell [options] DEFINITION.json\n";
  for (const Subcommand &row : subcommands) text += std::string("       cli-shell ") + row.synopsis + "\n";
  text +=
      "A shell that speaks the command language of a definition document. Without -c and -f, lines are\n"
      "read from standard input.\n\n";
  for (const Subcommand &row : subcommands) text += usage_row(row.name, row.help);
  text += "\nOptions:\n";
  for (const CommonOption &row : kCommon)
    text += usage_row(std::string(row.name) + (row.argument ? std::string(" ") + row.argument : ""), row.help);
  for (const Subcommand &subcommand : subcommands) {
    if (subcommand.extra.empty()) continue;
    text += std::string("\nOptions of ") + subcommand.name + ":\n";
    for (const ExtraOption &row : subcommand.extra)
      text += usage_row(std::string("--") + row.name + (row.argument ? std::string(" ") + row.argument : ""), row.help);
  }
  text +=
      "\nAt the prompt and with -c, a command's output goes through filters: COMMAND | include REGEX,\n"
      "exclude, begin, section, count, head N, tail N, save FILE. CLI_SHELL_PAGER or PAGER names the\n"
      "program that shows long output.\n";
  return text;
}

}  // namespace cli_shell
