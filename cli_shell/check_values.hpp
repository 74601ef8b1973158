// The values that a declaration may hold besides names: help texts, prompts with their conditions, facets.
#ifndef CLI_SHELL_CHECK_VALUES_HPP
#define CLI_SHELL_CHECK_VALUES_HPP

#include <string>
#include <string_view>

#include "cli_shell/check_findings.hpp"
#include "cli_shell/check_language.hpp"

namespace cli_check {

// Where findings about one declaration go: about a node, or about a member of the privilege table.
struct Reporter {
  Findings &findings;
  const JsonDocument &document;
  const Node *node;
  std::string_view member = {};

  void add(Rule rule, const JsonValue &at, std::string text) const { add(rule, at.offset, std::move(text)); }
  void add(Rule rule, uint32_t offset, std::string text) const {
    findings.add(rule, document, offset, node == nullptr ? quoted(member) : in_words(*node), std::move(text));
  }
};

// "an array", "a number" and so on.
[[nodiscard]] std::string_view kind_in_words(const JsonValue &value);

// Checks a "#help"; the text that users will see goes to *expanded when that is not null.
void check_help(const JsonValue &help, const Reporter &reporter, std::string *expanded = nullptr);

// Checks a "#prompt" and returns the name that it has while the documents are loaded.
[[nodiscard]] std::string_view check_prompt(const JsonValue &prompt, const Reporter &reporter);

// Checks the bounds and the enumeration of a value of the base type; true when they fit it.
bool check_facets(const JsonValue &declaration, BaseType basetype, const Reporter &reporter);

}  // namespace cli_check

#endif
