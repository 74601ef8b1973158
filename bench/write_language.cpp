// Writes a language, its privilege table and lines that suit it into a directory.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "bench/language.hpp"

namespace {

constexpr int kRoutingModes = 67;

bool write(const std::string &path, const std::string &text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file) {
    std::fprintf(stderr, "write_language: cannot write %s\n", path.c_str());
  }
  return static_cast<bool>(file);
}

std::string joined(const std::vector<std::string> &lines) {
  std::string text;
  for (const std::string &line : lines) {
    text += line + '\n';
  }
  return text;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 4 || argc > 5) {
    std::fputs(
        "Usage: write_language DIRECTORY COMMANDS LINES [PRIVILEGES]\n"
        "Writes definitions.json, privileges.json, lines.txt (top-level commands) and configuration.txt (blocks of\n"
        "a mode's entry, eight settings and \"exit\"), and routing.json, a document of 33 000 nodes whatever the "
        "numbers.\n",
        stderr);
    return 2;
  }
  const std::string directory = argv[1];
  const int commands = std::atoi(argv[2]);
  const int lines = std::atoi(argv[3]);
  if (commands < 1 || lines < 0) {
    std::fputs("write_language: at least one command and no negative number of lines\n", stderr);
    return 2;
  }
  const bench::Shape shape{commands, commands, argc > 4 ? std::atoi(argv[4]) : 0, 0};
  std::vector<std::string> command_lines;
  for (const int number : bench::spread(commands, lines, bench::Form::kAny)) {
    command_lines.push_back(bench::command_line(number));
  }
  const bool written = write(directory + "/definitions.json", bench::definitions(shape)) &&
                       write(directory + "/privileges.json", bench::privileges(shape)) &&
                       write(directory + "/routing.json", bench::routing(kRoutingModes)) &&
                       write(directory + "/lines.txt", joined(command_lines)) &&
                       write(directory + "/configuration.txt", joined(bench::configuration(shape, lines)));
  return written ? 0 : 1;
}
