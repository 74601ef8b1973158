// Documents -> language, with a finding for everything that would keep the engine from loading them.
#ifndef CLI_SHELL_CHECK_LOAD_HPP
#define CLI_SHELL_CHECK_LOAD_HPP

#include <functional>
#include <string>
#include <vector>

#include "cli_engine/validator.h"
#include "cli_shell/check_findings.hpp"
#include "cli_shell/check_language.hpp"

namespace cli_check {

// What the host adds to the documents.
struct Host {
  std::function<bool(const char *)> has_handler;  // empty: handlers are not looked up
  std::function<bool(const char *)> is_foreign;   // of those: what a library or program that is not the host's exports
  std::vector<std::string> exported_handlers;     // of the handlers libraries
  validator_typesystem *types = nullptr;          // borrowed; null: the built-in types alone
};

// Reads and checks the documents; privileges may be null. The language refers to the documents and is filled once.
void load_language(JsonDocument &definitions, JsonDocument *privileges, const Host &host, Language &language,
                   Findings &findings);

}  // namespace cli_check

#endif
