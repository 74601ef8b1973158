// The configuration in memory: a tree of entries, each as the line that makes it, those of a mode below the line that
// enters the mode.
#ifndef EXAMPLES_ROUTER_CONFIGURATION_HPP
#define EXAMPLES_ROUTER_CONFIGURATION_HPP

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "arguments.hpp"

namespace router {

// Numbers inside texts compare as numbers: eth2 stands before eth10.
bool natural_less(std::string_view a, std::string_view b);

// Which entry of a mode a line sets, and where it stands among the others. A line with the same place as an entry
// replaces it.
struct Place {
  int order = 0;                 // printed first by order, then by command, then by key
  std::string command;           // "ip route"
  std::vector<std::string> key;  // what tells several entries of one command apart

  bool operator<(const Place &other) const;
  [[nodiscard]] bool covers(const Place &other) const;  // the same command, and a key that begins with this one
};

struct Entry {
  std::string command{};
  std::vector<Word> words{};
  bool is_mode = false;
  std::map<Place, Entry> entries{};  // of a mode

  [[nodiscard]] std::string line() const;
  [[nodiscard]] bool has(std::string_view name) const;
  [[nodiscard]] std::string text(std::string_view name) const;         // "" when it was not given
  [[nodiscard]] std::vector<Word> group(std::string_view name) const;  // the words of one group
  [[nodiscard]] std::string arguments() const;                         // the line without its command
  [[nodiscard]] const Entry *find(std::string_view command) const;     // the first entry of a command, or null
  [[nodiscard]] std::vector<const Entry *> all(std::string_view command) const;
};

// Appends the entry and, indented by one blank, what stands below it; a mode is closed by "exit".
void append_lines(const Entry &entry, int indent, std::vector<std::string> &lines);

// The whole configuration as a script: it can be typed at the top level, or inside the configuration mode.
std::vector<std::string> script(const Entry &configuration);

}  // namespace router

#endif
