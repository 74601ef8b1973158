// cli-shell reference: the commands of a language, mode by mode, as a document.
#include <array>
#include <cstdio>
#include <cstring>

#include "cli_shell/language_files.hpp"
#include "cli_shell/shell.hpp"
#include "cli_shell/subcommands.hpp"
#include "cli_shell/tools/preview.hpp"

namespace cli_shell {
namespace {

struct StringRelease {
  void operator()(DynString *text) const { dyn_string_free(text); }
};
using StringRef = std::unique_ptr<DynString, StringRelease>;

constexpr int kHighestLevel = 15;

// ---- What a reference says

struct Argument {
  std::string name;  // a value's in angle brackets
  std::string type;
  std::string values;  // the bounds and choices, or ""
  bool required;
  std::string help;
};

struct Command {
  std::string words;
  std::string syntax;  // in bracket notation
  std::string help;
  int level;
  std::string enters;  // the prompt of the mode that it enters, or ""
  std::vector<Argument> arguments;
};

struct Alias {
  std::string name;
  std::string line;
};

struct Mode {
  std::string prompt;      // "" at the top level
  std::string entered_by;  // words of the command
  std::string from;        // the prompt of the mode that has it, "" for the top level
  std::string line;        // that command's line in the dump
  std::vector<Command> commands;
  std::vector<Alias> aliases;
};

// ---- Reading the tree

std::string enumeration(json_t *entries) {
  std::string text;
  size_t index;
  json_t *entry;
  json_array_foreach(entries, index, entry) {
    const std::unique_ptr<char, decltype(&free)> dumped(
        json_is_string(entry) ? nullptr : json_dumps(entry, JSON_ENCODE_ANY), free);
    text += (index == 0 ? "" : ", ") + std::string(dumped ? dumped.get() : json_string_value(entry));
  }
  return text;
}

std::string number_text(int64_t number, int base) {
  char text[32];
  std::snprintf(text, sizeof text, base == 16 ? "0x%llX" : "%lld", static_cast<long long>(number));
  return text;
}

std::string bounds(const validator &check) {
  if (validator_get_basetype(&check) != BASETYPE_STRING)
    return number_text(check.min_inclusive, check.base) + " to " + number_text(check.max_inclusive, check.base);
  if (check.max_length == UINT32_MAX) return "at least " + std::to_string(check.min_length) + " bytes";
  return std::to_string(check.min_length) + " to " + std::to_string(check.max_length) + " bytes";
}

std::string values_of(const cli_node *value) {
  const validator &check = value->value.validator;
  std::string text = (check.flags & VALIDATOR_BOUNDED) ? bounds(check) : "";
  if (check.flags & VALIDATOR_ENUM) text += (text.empty() ? "" : "; ") + enumeration(check.enum_array);
  return text;
}

// The arguments below a node, in their order; `required` tells whether the group that holds them must be given and lets
// each of its members be due.
void add_arguments(const cli_node *node, bool required, std::vector<Argument> &arguments) {
  for (const cli_node *argument = cli_node_first_arg(node); argument; argument = cli_node_next_arg(argument)) {
    switch (argument->type) {
      case TYPE_CONTAINER:
        add_arguments(argument,
                      required && argument->container.required && argument->container.mode != CONTAINER_EXCLUSIVE,
                      arguments);
        break;
      case TYPE_KEY:
        arguments.push_back({argument->name, "keyword", "", required && argument->key.required, argument->help});
        add_arguments(argument, true, arguments);
        break;
      case TYPE_VALUE:
        arguments.push_back({std::string("<") + argument->name + ">", argument->value.validator.type->name,
                             values_of(argument), required && argument->value.required, argument->help});
        break;
      case TYPE_SUBCONFIG:
      case TYPE_COMMAND:
      case TYPE_WORD:
      case TYPE_ALIAS:
        break;
    }
  }
}

// All prompts that a mode may show.
std::string prompts_of(json_t *prompt) {
  if (json_is_string(prompt)) return json_string_value(prompt);
  std::string text;
  size_t index;
  json_t *variant;
  json_array_foreach(prompt, index, variant) text +=
      (index == 0 ? "" : " or ") + std::string(json_string_value(json_object_get(variant, "value")));
  return text;
}

// The line of the dump for a command or mode.
std::string syntax_of(const cli_node *node) {
  const StringRef text(dyn_string_new());
  cli_print_syntax(node, text.get(), 0);
  return dyn_string_text(text.get());
}

class Collector {
 public:
  Collector(cli *engine, int level) : level_(level) {
    modes_.emplace_back();
    walk(&engine->root, 0, {.shown = true, .words = "", .arguments = {}});
  }

  std::vector<Mode> take_modes() { return std::move(modes_); }

 private:
  // What leads to a node from the mode it is in.
  struct Path {
    bool shown;  // the level lets the user see it
    std::string words;
    std::vector<Argument> arguments;
  };

  static Path below(const Path &path, const cli_node *choice, int level) {
    Path next = path;
    next.shown = path.shown && choice->privilege <= level;
    next.words += (path.words.empty() ? "" : " ") + std::string(choice->name);
    add_arguments(choice, true, next.arguments);
    return next;
  }

  void walk(const cli_node *node, size_t mode, const Path &path) {
    for (const cli_node *choice = cli_node_first_choice(node); choice; choice = cli_node_next_choice(choice)) {
      if (choice->type == TYPE_ALIAS) {
        if (path.shown) modes_[mode].aliases.push_back({below(path, choice, level_).words, choice->alias.alias});
        continue;
      }
      if (cli_node_position(choice, nullptr, nullptr, nullptr, nullptr) != 0) continue;  // built in
      const Path next = below(path, choice, level_);
      if (choice->type != TYPE_WORD && next.shown) add_command(choice, modes_[mode], next);
      if (choice->type == TYPE_SUBCONFIG)
        walk_mode(choice, mode, next);
      else
        walk(choice, mode, next);
    }
  }

  void walk_mode(const cli_node *node, size_t enclosing, const Path &path) {
    const size_t mode = modes_.size();
    modes_.push_back(
        {prompts_of(node->subconfig.prompt), path.words, modes_[enclosing].prompt, syntax_of(node), {}, {}});
    walk(node, mode, {.shown = path.shown, .words = "", .arguments = {}});
    if (!path.shown) modes_.resize(mode);
  }

  static void add_command(const cli_node *node, Mode &mode, const Path &path) {
    const std::string line = syntax_of(node);
    const std::string syntax = mode.line.empty() ? line : line.substr(mode.line.size() + 1);
    const std::string enters = node->type == TYPE_SUBCONFIG ? prompts_of(node->subconfig.prompt) : "";
    mode.commands.push_back({path.words, syntax, node->help, node->privilege, enters, path.arguments});
  }

  int level_;
  std::vector<Mode> modes_;
};

// ---- Texts of both formats

constexpr const char *kNotation[] = {
    "In the syntax, <name> stands for a value. [a] may be left out, {a | b} is one of the members, [a | b] are members "
    "that are given in this order, each at most once. <name[,]> takes several values, <name[-]> a range.",
    "Words and keywords may be abbreviated. Inside a mode the commands of the modes around it work too; \"exit\" "
    "leaves "
    "the mode, \"end\" leaves all modes, and \"do\" before a command of the top level executes it without leaving.",
};

// Where a mode is entered from, for "Entered ... by".
std::string origin_of(const Mode &mode) {
  return mode.from.empty() ? "at the top level" : "in the mode " + mode.from;
}

std::string facts_of(const Command &command) {
  std::string facts = command.help;
  if (!facts.empty() && std::strchr(".!?", facts.back()) == nullptr) facts += '.';
  if (!command.enters.empty()) facts += " Enters the mode " + command.enters + ".";
  if (command.level > 0) facts += " Level " + std::to_string(command.level) + ".";
  return facts;
}

class Format {
 public:
  virtual ~Format() = default;
  virtual void begin(const std::string &name) = 0;
  virtual void mode(const Mode &mode) = 0;
  virtual void command(const Command &command) = 0;
  virtual void aliases(const std::vector<Alias> &aliases) = 0;
};

// ---- Markdown

class Markdown : public Format {
 public:
  void begin(const std::string &name) override {
    std::printf("# Commands of %s\n", escaped(name).c_str());
    for (const char *text : kNotation) std::printf("\n%s\n", escaped(text).c_str());
  }

  void mode(const Mode &mode) override {
    if (mode.prompt.empty())
      std::puts("\n## Top level");
    else
      std::printf("\n## Mode %s\n\nEntered %s by `%s`.\n", escaped(mode.prompt).c_str(),
                  escaped(origin_of(mode)).c_str(), mode.entered_by.c_str());
  }

  void command(const Command &command) override {
    std::printf("\n### %s\n\n    %s\n\n%s\n", escaped(command.words).c_str(), command.syntax.c_str(),
                escaped(facts_of(command)).c_str());
    if (command.arguments.empty()) return;
    std::puts("\n| Argument | Type | Values | Required | Meaning |\n|---|---|---|---|---|");
    for (const Argument &argument : command.arguments)
      std::printf("| %s | %s | %s | %s | %s |\n", escaped(argument.name).c_str(), escaped(argument.type).c_str(),
                  escaped(argument.values).c_str(), argument.required ? "yes" : "no", escaped(argument.help).c_str());
  }

  void aliases(const std::vector<Alias> &aliases) override {
    std::puts("\n### Aliases\n\n| Word | Stands for |\n|---|---|");
    for (const Alias &alias : aliases)
      std::printf("| %s | %s |\n", escaped(alias.name).c_str(), escaped(alias.line).c_str());
  }

 private:
  static std::string escaped(const std::string &text) {
    std::string out;
    for (const char c : text) {
      if (std::strchr("\\`*_<>|[]#", c) != nullptr && c != '\0') out += '\\';
      out += c == '\n' ? ' ' : c;
    }
    return out;
  }
};

// ---- A manual page

class ManualPage : public Format {
 public:
  void begin(const std::string &name) override {
    std::printf(".TH \"%s\" 7 \"\"\n.SH NAME\n%s \\- command reference\n.SH NOTATION\n", escaped(name).c_str(),
                escaped(name).c_str());
    bool first = true;
    for (const char *text : kNotation) {
      std::printf("%s%s\n", first ? "" : ".PP\n", escaped(text).c_str());
      first = false;
    }
  }

  void mode(const Mode &mode) override {
    if (mode.prompt.empty())
      std::puts(".SH TOP LEVEL");
    else
      std::printf(".SH MODE %s\nEntered %s by\n.BR \"%s\" .\n", escaped(mode.prompt).c_str(),
                  escaped(origin_of(mode)).c_str(), escaped(mode.entered_by).c_str());
  }

  void command(const Command &command) override {
    std::printf(".SS %s\n.nf\n%s\n.fi\n.PP\n%s\n", escaped(command.words).c_str(), escaped(command.syntax).c_str(),
                escaped(facts_of(command)).c_str());
    for (const Argument &argument : command.arguments) {
      const std::string values = argument.values.empty() ? "" : ", " + argument.values;
      std::printf(".TP\n.B %s\n%s (%s%s%s)\n", escaped(argument.name).c_str(), escaped(argument.help).c_str(),
                  escaped(argument.type).c_str(), escaped(values).c_str(), argument.required ? "" : ", optional");
    }
  }

  void aliases(const std::vector<Alias> &aliases) override {
    std::puts(".SS Aliases");
    for (const Alias &alias : aliases)
      std::printf(".TP\n.B %s\n%s\n", escaped(alias.name).c_str(), escaped(alias.line).c_str());
  }

 private:
  // "\&" in front keeps a text from being a request.
  static std::string escaped(const std::string &text) {
    std::string out = text.starts_with('.') || text.starts_with('\'') || text.empty() ? "\\&" : "";
    for (const char c : text) {
      if (c == '\\')
        out += "\\e";
      else if (c == '-')
        out += "\\-";
      else if (c == '"')
        out += "\\(dq";
      else
        out += c == '\n' ? ' ' : c;
    }
    return out;
  }
};

std::unique_ptr<Format> format_of(const Options &options) {
  const auto given = options.extra.find("format");
  if (given == options.extra.end() || given->second == "markdown") return std::make_unique<Markdown>();
  if (given->second == "man") return std::make_unique<ManualPage>();
  throw UserError("--format takes markdown or man, not '" + given->second + "'");
}

std::string name_of(const std::string &path) {
  const std::string name = path.substr(path.rfind('/') + 1);
  return name.ends_with(".json") ? name.substr(0, name.size() - 5) : name;
}

void print_reference(Format &format, const std::string &name, const std::vector<Mode> &modes) {
  format.begin(name);
  for (const Mode &mode : modes) {
    format.mode(mode);
    for (const Command &command : mode.commands) format.command(command);
    if (!mode.aliases.empty()) format.aliases(mode.aliases);
  }
}

}  // namespace

int reference_main(const Options &options) {
  const std::unique_ptr<Format> format = format_of(options);
  const std::string &path = only_operand(options, "the definition document");
  std::vector<HandlersLibrary> libraries = types_only(load_handlers_libraries(options.handlers));
  const Documents documents = load_language(path, options.privileges, libraries, kNoHandlers);
  Shell shell(options, documents, std::move(libraries));
  const std::vector<Mode> modes = Collector(shell.engine(), options.level.value_or(kHighestLevel)).take_modes();
  shell.print([&] { print_reference(*format, name_of(path), modes); }, true);
  return shell.output_lost() ? 1 : 0;
}

}  // namespace cli_shell
