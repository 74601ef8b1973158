// The JSON documents that describe a language.
#ifndef CLI_SHELL_DOCUMENTS_HPP
#define CLI_SHELL_DOCUMENTS_HPP

#include <jansson.h>

#include <memory>
#include <optional>
#include <string>

namespace cli_shell {

struct JsonRelease {
  void operator()(json_t *value) const { json_decref(value); }
};
using JsonRef = std::unique_ptr<json_t, JsonRelease>;  // owns one reference

struct Documents {
  JsonRef definitions;  // an object
  JsonRef privileges;   // an object, or null
};

// The bytes of a file; throws UserError when it is missing, unreadable or a folder.
std::string read_file(const std::string &path);

// The JSON object in a file, in which no member stands twice; throws UserError with the file, line and column.
JsonRef load_document(const std::string &path);

// Both documents; the privilege table may be absent.
Documents load_documents(const std::string &definitions, const std::optional<std::string> &privileges);

}  // namespace cli_shell

#endif
