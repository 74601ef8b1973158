// The command line of cli-shell and its subcommands.
#ifndef CLI_SHELL_OPTIONS_HPP
#define CLI_SHELL_OPTIONS_HPP

#include <map>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace cli_shell {

// Something the user asked for cannot be done: what() is said in one line on standard error, and the exit status is 2.
struct UserError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

enum class ColourChoice { kAuto, kAlways, kNever };

// One -c or -f, in the order given.
struct Action {
  enum class Kind { kLine, kFile } kind;
  std::string text;  // the line, or the file's name
};

struct Options {
  std::vector<std::string> operands;
  std::optional<std::string> privileges;
  std::vector<std::string> handlers;
  std::optional<int> level;
  std::optional<std::string> host;
  std::optional<std::string> name;
  std::optional<char> end;
  std::vector<Action> actions;
  ColourChoice colour = ColourChoice::kAuto;
  bool no_more = false;
  bool plain = false;
  bool strict = false;
  bool restricted = false;
  bool audit = false;
  bool dump = false;
  bool help = false;
  bool version = false;
  std::map<std::string, std::string>
      extra;  // options of one subcommand, by their name without "--"; the last one counts
};

// An option that one subcommand has beside the common ones.
struct ExtraOption {
  const char *name;      // without "--"
  const char *argument;  // what it takes, for --help; null when it takes nothing
  const char *help;
};

// One of the two functions is set. Both return the exit status and may throw UserError.
struct Subcommand {
  const char *name;
  int (*main)(const Options &options);
  const char *synopsis;
  const char *help;  // what it does, in a line
  std::span<const ExtraOption> extra;
};

// The options and operands behind the program's (or the subcommand's) name; throws UserError.
Options parse_options(const std::vector<std::string> &arguments, std::span<const ExtraOption> extra);

// The single operand; throws UserError when there is none or more than one. `what` names it in the message.
const std::string &only_operand(const Options &options, const char *what);

// The text of --help.
std::string usage(std::span<const Subcommand> subcommands);

}  // namespace cli_shell

#endif
