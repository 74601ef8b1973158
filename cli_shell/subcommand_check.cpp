// cli-shell check: reports everything that is to be said about a definition document and its privilege table.
#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "cli_shell/check.hpp"
#include "cli_shell/check_exports.hpp"
#include "cli_shell/language_files.hpp"
#include "cli_shell/output.hpp"
#include "cli_shell/subcommands.hpp"

namespace cli_shell {
namespace {

bool wants_json(const Options &options) {
  const auto format = options.extra.find("format");
  if (format == options.extra.end() || format->second == "text") return false;
  if (format->second == "json") return true;
  throw UserError("--format takes text or json, not '" + format->second + "'");
}

cli_check::Host host_with(const std::vector<std::string> &paths, const std::vector<HandlersLibrary> &libraries,
                          validator_typesystem *types) {
  cli_check::Host host;
  host.types = types;
  if (paths.empty()) return host;
  for (const std::string &path : paths) {
    for (std::string &handler : cli_check::exported_handlers(read_file(path)))
      host.exported_handlers.push_back(std::move(handler));
  }
  host.has_handler = [](const char *name) { return dlsym(RTLD_DEFAULT, name) != nullptr; };
  host.is_foreign = [&libraries](const char *name) {
    return std::string_view(name).substr(0, 10) != "cli_shell_" &&
           std::none_of(libraries.begin(), libraries.end(),
                        [name](const HandlersLibrary &library) { return library.handler(name) != nullptr; });
  };
  return host;
}

void print(const cli_check::Findings &findings, bool as_json) {
  (as_json ? cli_check::print_as_json : cli_check::print_as_text)(findings, stdout);
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
    throw UserError(std::string("cannot write standard output: ") + std::strerror(errno));
}

}  // namespace

int check_main(const Options &options) {
  const bool as_json = wants_json(options);
  const std::string &path = only_operand(options, "the definition document");
  const LanguageFiles files = read_language_files(path, options.privileges);
  const std::vector<HandlersLibrary> libraries = load_handlers_libraries(options.handlers);
  const Types types = types_of(libraries);
  const cli_check::Host host = host_with(options.handlers, libraries, types.get());
  cli_check::Findings findings;
  cli_check::check_documents(*files.definitions, files.privileges.get(), host, findings);
  const auto print_them = [&] { print(findings, as_json); };
  if (isatty(STDOUT_FILENO) == 1)
    Output(options.colour, false).run(print_them);  // file names and texts hold whatever bytes
  else
    print_them();
  return findings.count(cli_check::Severity::kError) == 0 ? 0 : 1;
}

}  // namespace cli_shell
