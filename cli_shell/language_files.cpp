#include "cli_shell/language_files.hpp"

#include <array>

#include "cli_check/findings.hpp"
#include "cli_shell/options.hpp"
#include "cli_shell/plugin.h"

namespace cli_shell {
namespace {

using cli_check::Finding;
using cli_check::Findings;

int do_nothing(cli *, cli_node *) {
  return 0;
}

[[noreturn]] void complain(const Findings &findings) {
  const size_t errors = findings.count(CLI_ERROR);
  for (const Finding &finding : findings.all())
    if (finding.rule == "unreadable-file") throw UserError(finding.file + finding.text.substr(finding.text.find(": ")));
  for (const Finding &finding : findings.all())
    if (finding.severity == CLI_ERROR)
      throw UserError(as_line(finding) +
                      (errors > 1 ? "; cli-shell check shows " + std::to_string(errors - 1) + " more" : ""));
  throw UserError("the language cannot be loaded");
}

}  // namespace

const cli_handler_entry kNoHandlers[] = {{"*", do_nothing}, {nullptr, nullptr}};

Types types_of(const std::vector<HandlersLibrary> &libraries) {
  Types types(validator_typesystem_new());
  for (const HandlersLibrary &library : libraries)
    if (library.register_types) library.register_types(types.get());
  return types;
}

Documents load_language(const std::string &definitions, const std::optional<std::string> &privileges,
                        const std::vector<HandlersLibrary> &libraries, const cli_handler_entry *handlers) {
  refuse_large(definitions);
  if (privileges) refuse_large(*privileges);
  const cli_language_source source = {
      definitions.c_str(), privileges ? privileges->c_str() : nullptr, handlers, 0, cli_shell_exit, cli_shell_end};
  Documents documents;
  documents.types = types_of(libraries);
  Findings findings;
  documents.language.reset(cli_language_load(
      documents.types.get(), &source,
      [](void *data, const cli_fault *fault) { static_cast<Findings *>(data)->add(cli_check::finding_of(*fault)); },
      &findings));
  if (!documents.language) {
    findings.arrange(std::array{definitions, privileges.value_or("")});
    complain(findings);
  }
  return documents;
}

}  // namespace cli_shell
