// What is wrong, or cannot be meant, in a definition document and its privilege table: the errors are those that the
// library reports when it loads them, the warnings those of the rules (rules.hpp).
#ifndef CLI_CHECK_CHECK_HPP
#define CLI_CHECK_CHECK_HPP

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "cli_check/findings.hpp"
#include "cli_engine/cli_engine.h"

namespace cli_check {

struct Request {
  std::string definitions;  // file names, and what stands in the files
  std::string definitions_text;
  std::optional<std::string> privileges;
  std::string privileges_text;
  validator_typesystem *types = nullptr;        // borrowed
  const cli_handler_entry *handlers = nullptr;  // as cli_language_source takes them
  uint32_t flags = 0;
  bool has_no_libraries = false;                 // so that a host's own types are not known
  std::vector<std::string> exported_handlers;    // of the handlers libraries
  std::function<bool(const char *)> is_foreign;  // what is no function of theirs; empty: that is not looked up
  std::set<std::string> ignored;                 // names of rules; errors cannot be ignored
};

// Everything there is to say about the documents, arranged.
[[nodiscard]] Findings check(const Request &request);

// Is there a rule of that name that warns?
[[nodiscard]] bool is_rule(std::string_view name);

}  // namespace cli_check

#endif
