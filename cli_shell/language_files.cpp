#include "cli_shell/language_files.hpp"

#include <new>

#include "cli_shell/check.hpp"
#include "cli_shell/options.hpp"

namespace cli_shell {
namespace {

std::unique_ptr<cli_check::JsonDocument> read_text(const std::string &path) {
  std::string text = read_file(path);
  if (text.find('\0') != std::string::npos) throw UserError(path + ": is not a text");
  if (text.size() > cli_check::kLargestDocument) throw UserError(path + ": is larger than 1 GiB");
  return std::make_unique<cli_check::JsonDocument>(path, std::move(text));
}

// Of a document without a fault: what may still be missing is memory.
JsonRef to_engine(const cli_check::JsonDocument &sound) {
  JsonRef document(json_loadb(sound.bytes.data(), sound.bytes.size(), JSON_REJECT_DUPLICATES, nullptr));
  if (!document) throw std::bad_alloc();
  return document;
}

}  // namespace

Types types_of(const std::vector<HandlersLibrary> &libraries) {
  Types types(validator_typesystem_new());
  for (const HandlersLibrary &library : libraries)
    if (library.register_types) library.register_types(types.get());
  return types;
}

LanguageFiles read_language_files(const std::string &definitions, const std::optional<std::string> &privileges) {
  LanguageFiles files;
  files.definitions = read_text(definitions);
  if (privileges) files.privileges = read_text(*privileges);
  return files;
}

Documents load_sound_documents(LanguageFiles files, const std::vector<HandlersLibrary> &libraries) {
  const Types types = types_of(libraries);
  cli_check::Host host;
  host.types = types.get();
  cli_check::Findings findings;
  cli_check::check_documents(*files.definitions, files.privileges.get(), host, findings);
  if (const size_t errors = findings.count(cli_check::Severity::kError); errors > 0)
    throw UserError(first_error(findings) +
                    (errors > 1 ? "; cli-shell check shows " + std::to_string(errors - 1) + " more" : ""));
  return {.definitions = to_engine(*files.definitions),
          .privileges = files.privileges ? to_engine(*files.privileges) : nullptr};
}

}  // namespace cli_shell
