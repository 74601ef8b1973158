// cli-shell new: writes a small language, its handlers, a session that tests both, and what builds them.
#include "cli_shell/tools/new.hpp"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "cli_shell/output/file_descriptor.hpp"
#include "cli_shell/output/raw_write.hpp"
#include "cli_shell/subcommands.hpp"

namespace cli_shell {
namespace {

constexpr std::string_view kTemplateName = "switch";  // what the templates call the new thing

constexpr char kBuilding[] =
    "  cmake -B build && cmake --build build && ctest --test-dir build\n"
    "  cli-shell --handlers build/switch.so switch.json\n";

// What differs from one language to the next. The build is written for C.
constexpr struct Kind {
  std::string_view name;
  std::string_view files[4];  // some may be empty
  std::string_view c_in_build[2], instead[2];
  std::string_view next;  // what to type then
} kKinds[] = {
    {"c", {"CMakeLists.txt", "switch.json", "switch.session", "switch.c"}, {}, {}, kBuilding},
    {"c++",
     {"CMakeLists.txt", "switch.json", "switch.session", "switch.cpp"},
     {"LANGUAGES C)", "switch.c)"},
     {"LANGUAGES CXX)", "switch.cpp)"},
     kBuilding},
    {"python", {"switch.json", "switch.py", "test_switch.py"}, {}, {}, "  python3 -m unittest\n  python3 switch.py\n"},
};

const Kind &kind_of(const Options &options) {
  const auto given = options.extra.find("language");
  const std::string_view name = given == options.extra.end() ? kKinds[0].name : std::string_view(given->second);
  for (const Kind &kind : kKinds)
    if (kind.name == name) return kind;
  throw UserError("--language takes c, c++ or python, not '" + given->second + "'");
}

// It becomes the name of files, of a library, of a project and of a module.
void refuse_strange_name(const std::string &name) {
  constexpr size_t kLongest = 64;
  const auto is_letter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
  const auto may_follow = [&](char c) { return is_letter(c) || (c >= '0' && c <= '9') || c == '_'; };
  if (name.empty() || name.size() > kLongest || !is_letter(name[0]) ||
      !std::all_of(name.begin(), name.end(), may_follow))
    throw UserError("a name is a letter and then letters, digits and '_', not '" + name + "'");
}

std::string with_replaced(std::string text, std::string_view what, std::string_view by) {
  for (size_t at = 0; !what.empty() && (at = text.find(what, at)) != std::string::npos; at += by.size())
    text.replace(at, what.size(), by);
  return text;
}

std::string text_of(const Kind &kind, std::string_view file) {
  const auto found = std::find_if(kTemplates.begin(), kTemplates.end(), [&](auto &row) { return row.name == file; });
  std::string text(found->text);
  if (file == "CMakeLists.txt")
    for (size_t i = 0; i < std::size(kind.c_in_build); i++)
      text = with_replaced(text, kind.c_in_build[i], kind.instead[i]);
  return text;
}

[[noreturn]] void refuse_to_write(const std::string &path) {
  throw UserError("cannot write " + path + ": " + std::strerror(errno));
}

void write_new_file(const std::string &path, std::string_view text) {
  const FileDescriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  if (!file || !write_all(file.get(), text)) refuse_to_write(path);
}

}  // namespace

int new_main(const Options &options) {
  const Kind &kind = kind_of(options);
  const std::string &name = only_operand(options, "the name of what is new");
  refuse_strange_name(name);
  if (mkdir(name.c_str(), 0777) != 0) refuse_to_write(name);
  const auto named = [&](std::string_view text) { return with_replaced(std::string(text), kTemplateName, name); };
  std::string said = "In " + name + ":";
  for (const std::string_view file : kind.files) {
    if (file.empty()) continue;
    write_new_file(name + "/" + named(file), named(text_of(kind, file)));
    said += " " + named(file);
  }
  said += "\n\n  cd " + name + "\n" + named(kind.next);
  if (std::fputs(said.c_str(), stdout) < 0 || std::fflush(stdout) != 0)
    throw UserError(std::string("cannot write standard output: ") + std::strerror(errno));
  return 0;
}

}  // namespace cli_shell
