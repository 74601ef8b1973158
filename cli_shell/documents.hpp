// The JSON documents that describe a language.
#ifndef CLI_SHELL_DOCUMENTS_HPP
#define CLI_SHELL_DOCUMENTS_HPP

#include <jansson.h>

#include <memory>
#include <optional>
#include <string>

#include "cli_engine/cli_engine.h"

namespace cli_shell {

struct JsonRelease {
  void operator()(json_t *value) const { json_decref(value); }
};
using JsonRef = std::unique_ptr<json_t, JsonRelease>;  // owns one reference

struct TypesRelease {
  void operator()(validator_typesystem *types) const { validator_typesystem_free(types); }
};
using Types = std::unique_ptr<validator_typesystem, TypesRelease>;

struct LanguageRelease {
  void operator()(cli_language *language) const { cli_language_free(language); }
};
using Language = std::unique_ptr<cli_language, LanguageRelease>;

// Documents to load, or a language that was loaded from them.
struct Documents {
  JsonRef definitions;  // an object, or null
  JsonRef privileges;   // an object, or null
  Types types;          // of the language
  Language language;    // or null
};

constexpr size_t kLargestDocument = size_t{16} << 20;  // of scripts, too

// Throws UserError for a file that is larger than `largest`, before any of it is read.
void refuse_large(const std::string &path, size_t largest = kLargestDocument);

// The bytes of a file; throws UserError when it is missing, unreadable, a folder or too large.
std::string read_file(const std::string &path, size_t largest = kLargestDocument);

// The JSON object in a file, in which no member stands twice; throws UserError with the file, line and column.
JsonRef load_document(const std::string &path);

// Both documents; the privilege table may be absent.
Documents load_documents(const std::string &definitions, const std::optional<std::string> &privileges);

}  // namespace cli_shell

#endif
