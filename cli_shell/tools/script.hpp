// Session scripts: the lines of a session with the output expected from each.
//
//     # A comment. First the documents, relative to the script's folder:
//     definition: switch.json
//     privileges: switch.privileges.json
//     level: 15
//
//     > show version
//     show version
//     Switch 1.0
//     ~Up [0-9]+ days
//     > show ?
//     > [show ?]
//     version  Software and hardware
//     > sh<tab>
//     show
//     shutdown
//
// A line that begins with "> " is typed; ">" alone is an empty line, "> [" is the heading of a help listing and no
// A line that begins with "> " is typed; ">" alone is an empty line, "> [" is the heading of a help listing and no
// input. A final "?" asks for help, a final "<tab>" for completion. What follows, up to the next typed line, is
// expected: literally, or behind "~" as an extended regular expression for the whole line; "..." at the end stands for
// all further lines. Colours, and blanks at the end of a line, are not compared; neither are empty lines at the end. A
// line that begins with "#" is a comment, and "\" before the first character takes that line literally.
#ifndef CLI_SHELL_TOOLS_SCRIPT_HPP
#define CLI_SHELL_TOOLS_SCRIPT_HPP

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli_shell/options.hpp"

namespace cli_shell {

struct Step {
  enum class Kind { kLine, kHelp, kCompletion } kind;
  std::string text;   // what is typed, without "?" or "<tab>"
  size_t input_line;  // places in Script::lines
  size_t end;         // behind the last line that belongs to the step
  std::vector<size_t> expected;
};

struct Script {
  std::string path;
  std::vector<std::string> lines;  // the whole file, without line ends
  Options options;        // the header's, over those of the command line; the operand is the definition document
  bool without_handlers;  // commands show what they would call
  std::vector<Step> steps;
};

// Reads a script; throws UserError, with file and line, for what is none. `given`: the options of the command line. A
// library given there stands for one of the same file name in a header.
Script read_script(const std::string &path, const Options &given);

// The expectation for a line of output, to be written into a script.
std::string expectation_of(const std::string &output);

// One line of a comparison.
struct Difference {
  enum class Kind { kSame, kMissing, kUnexpected } kind;
  size_t expected;     // kSame, kMissing: place in Script::lines
  std::string output;  // kUnexpected: what was printed
};

// What a step's output (lines without blanks at their ends) and its expectation have in common, and what not; throws
// UserError for a pattern that is none.
std::vector<Difference> compare(const Script &script, const Step &step, const std::vector<std::string> &output);

bool holds(const std::vector<Difference> &differences);

}  // namespace cli_shell

#endif
