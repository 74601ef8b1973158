#include "cli_shell/control.hpp"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <optional>
#include <sstream>

namespace cli_shell {
namespace {

constexpr char kMark = '%';
constexpr int kHighestLevel = 15;

std::optional<int> level_from(const std::string &text) {
  int level = 0;
  const char *const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, level);
  if (error != std::errc() || stop != end || level < 0 || level > kHighestLevel) return std::nullopt;
  return level;
}

void set_level(cli *engine, const std::string &argument) {
  if (!argument.empty()) {
    const std::optional<int> level = level_from(argument);
    if (!level) return static_cast<void>(std::printf("%% A level is a number from 0 to %d\n", kHighestLevel));
    parser_set_privilege(&engine->parser, *level);
  }
  std::printf("The level is %d\n", parser_get_privilege(&engine->parser));
}

constexpr struct {
  const char *name;
  const char *syntax;
  const char *help;
  void (*run)(cli *engine, const std::string &argument);
} kControls[] = {
    {"%level", "%level [N]", "the user's privilege level, 0 to 15: shows it or changes it", set_level},
    {"%help", "%help", "this list", [](cli *, const std::string &) { help_on_controls(); }},
};

}  // namespace

bool is_control(const std::string &line) {
  return !line.empty() && line[0] == kMark;
}

void run_control(cli *engine, const std::string &line) {
  std::istringstream words(line);
  std::string name;
  std::string argument;
  std::string extra;
  words >> name >> argument >> extra;
  for (const auto &row : kControls)
    if (name == row.name && extra.empty()) return row.run(engine, argument);
  std::puts("% Lines that begin with % are this program's own; %help lists them");
}

void help_on_controls() {
  for (const auto &row : kControls) std::printf("%-12s%s\n", row.syntax, row.help);
}

cli_editor::Choices complete_control(const std::string &line) {
  cli_editor::Choices choices;
  for (const auto &row : kControls)
    if (std::string(row.name).starts_with(line)) choices.words.push_back({std::string(row.name) + " ", row.help});
  return choices;
}

}  // namespace cli_shell
