// cli-shell check: reports everything that is to be said about a definition document and its privilege table.
#include <dlfcn.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "cli_shell/check.hpp"
#include "cli_shell/check_exports.hpp"
#include "cli_shell/language_files.hpp"
#include "cli_shell/subcommands.hpp"

namespace cli_shell {
namespace {

bool wants_json(const Options &options) {
  const auto format = options.extra.find("format");
  if (format == options.extra.end() || format->second == "text") return false;
  if (format->second == "json") return true;
  throw UserError("--format takes text or json, not '" + format->second + "'");
}

cli_check::Host host_with(const std::vector<std::string> &libraries, validator_typesystem *types) {
  cli_check::Host host;
  host.types = types;
  if (libraries.empty()) return host;
  for (const std::string &path : libraries) {
    for (std::string &handler : cli_check::exported_handlers(read_file(path)))
      host.exported_handlers.push_back(std::move(handler));
  }
  host.has_handler = [](const char *name) { return dlsym(RTLD_DEFAULT, name) != nullptr; };
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
  const Types types = types_of(load_handlers_libraries(options.handlers));
  const cli_check::Host host = host_with(options.handlers, types.get());
  cli_check::Findings findings;
  cli_check::check_documents(*files.definitions, files.privileges.get(), host, findings);
  print(findings, as_json);
  return findings.count(cli_check::Severity::kError) == 0 ? 0 : 1;
}

}  // namespace cli_shell
