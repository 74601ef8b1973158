// cli-shell check: reports everything that is to be said about a definition document and its privilege table.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "cli_check/check.hpp"
#include "cli_shell/language_files.hpp"
#include "cli_shell/output/output.hpp"
#include "cli_shell/subcommands.hpp"
#include "cli_shell/tools/exported_handlers.hpp"

namespace cli_shell {
namespace {

using cli_check::Findings;

constexpr size_t kLargestLibrary = size_t{512} << 20;

constexpr struct {
  std::string_view name;
  void (*print)(const Findings &findings, std::FILE *out);
} kFormats[] = {{"text", cli_check::print_as_text},
                {"json", cli_check::print_as_json},
                {"sarif", cli_check::print_as_sarif},
                {"github", cli_check::print_as_github}};

auto format_of(const Options &options) {
  const auto given = options.extra.find("format");
  for (const auto &row : kFormats)
    if (row.name == (given == options.extra.end() ? "text" : given->second)) return row.print;
  throw UserError("--format takes text, json, sarif or github, not '" + given->second + "'");
}

// The names between commas.
std::set<std::string> ignored_rules(const Options &options) {
  std::set<std::string> rules;
  const auto given = options.extra.find("ignore");
  const std::string names = given == options.extra.end() ? "" : given->second;
  for (size_t start = 0; start < names.size();) {
    const size_t end = std::min(names.find(',', start), names.size());
    const std::string name = names.substr(start, end - start);
    if (!cli_check::is_rule(name)) throw UserError("no rule that warns is named '" + name + "'");
    rules.insert(name);
    start = end + 1;
  }
  return rules;
}

std::string read_text(const std::string &path) {
  std::string text = read_file(path);
  if (text.find('\0') != std::string::npos) throw UserError(path + ": is not a text");
  return text;
}

}  // namespace

int check_main(const Options &options) {
  const auto print = format_of(options);
  cli_check::Request request;
  request.ignored = ignored_rules(options);
  request.definitions = only_operand(options, "the definition document");
  request.definitions_text = read_text(request.definitions);
  request.privileges = options.privileges;
  if (options.privileges) request.privileges_text = read_text(*options.privileges);
  const std::vector<HandlersLibrary> libraries = load_handlers_libraries(options.handlers);
  const Types types = types_of(libraries);
  request.types = types.get();
  request.has_no_libraries = options.handlers.empty();
  request.handlers = request.has_no_libraries ? kNoHandlers : nullptr;
  for (const std::string &path : options.handlers)
    for (std::string &handler : exported_handlers(read_file(path, kLargestLibrary)))
      request.exported_handlers.push_back(std::move(handler));

  if (!libraries.empty())
    request.is_foreign = [&libraries](const char *name) {
      return std::string_view(name).substr(0, 10) != "cli_shell_" &&
             std::none_of(libraries.begin(), libraries.end(),
                          [name](const HandlersLibrary &library) { return library.handler(name) != nullptr; });
    };

  const Findings findings = cli_check::check(request);
  const auto print_them = [&] { print(findings, stdout); };
  if (isatty(STDOUT_FILENO) == 1)
    Output(options.colour, false).run(print_them);  // file names and texts hold whatever bytes
  else
    print_them();
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
    throw UserError(std::string("cannot write standard output: ") + std::strerror(errno));
  const bool fails =
      findings.count(CLI_ERROR) > 0 || (options.extra.contains("strict") && findings.count(CLI_WARNING) > 0);
  return fails ? 1 : 0;
}

}  // namespace cli_shell
