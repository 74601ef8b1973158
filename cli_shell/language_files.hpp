// The files of a language as those see them who write one: checked, so that a fault is told with its place.
#ifndef CLI_SHELL_LANGUAGE_FILES_HPP
#define CLI_SHELL_LANGUAGE_FILES_HPP

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli_shell/check_json.hpp"
#include "cli_shell/documents.hpp"
#include "cli_shell/handlers_library.hpp"

namespace cli_shell {

struct TypesRelease {
  void operator()(validator_typesystem *types) const { validator_typesystem_free(types); }
};
using Types = std::unique_ptr<validator_typesystem, TypesRelease>;

// The built-in types and those of the libraries.
Types types_of(const std::vector<HandlersLibrary> &libraries);

struct LanguageFiles {
  std::unique_ptr<cli_check::JsonDocument> definitions;
  std::unique_ptr<cli_check::JsonDocument> privileges;  // or null
};

// Throws UserError for what cannot be read or is no text.
LanguageFiles read_language_files(const std::string &definitions, const std::optional<std::string> &privileges);

// The documents as the engine takes them. Throws UserError with the first fault that would keep it from loading them;
// handlers are not looked up.
Documents load_sound_documents(LanguageFiles files, const std::vector<HandlersLibrary> &libraries);

}  // namespace cli_shell

#endif
