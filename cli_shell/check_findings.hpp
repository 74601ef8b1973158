// What the checker has to say: rules, findings, and their report.
#ifndef CLI_SHELL_CHECK_FINDINGS_HPP
#define CLI_SHELL_CHECK_FINDINGS_HPP

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cli_shell/check_json.hpp"

namespace cli_check {

// An error keeps the document from loading; a warning loads but cannot be meant; a note is worth knowing.
enum class Severity : uint8_t { kError, kWarning, kNote };

enum class Rule : uint8_t {
  // The text of a document.
  kJson,
  kRepeatedMember,
  kNotAnObject,
  // Definitions.
  kKeyLength,
  kUnknownPath,
  kNotADefinition,
  kMissingHelp,
  kHelpValue,
  kHelpTemplate,
  kPromptValue,
  kPromptVariant,
  kPromptNoVariant,
  kConditionType,
  kExitDescription,
  kUnknownHandler,
  kAliasArguments,
  kAliasCommands,
  // Arguments.
  kSecondArgument,
  kValueArguments,
  kMissingName,
  kUnknownType,
  kFacetRange,
  kEnumeration,
  // Privileges.
  kPrivilegeLevel,
  kPrivilegeEntry,
  // What loads but cannot be meant.
  kUnreadMember,
  kIgnoredMember,
  kIgnoredValue,
  kIgnoredFacet,
  kHelpText,
  kUntypeableName,
  kUnreachableName,
  kDeadEnd,
  kAliasLine,
  kHiddenWord,
  kNoAbbreviation,
  kUnusedHandler,
  kForeignHandler,
  kConditionPath,
  kConditionLater,
  kPromptFallback,
  kNeverBare,
  kOpenArgument,
  kHiddenWords,
  kTakenAbbreviation,
  kBlockingGroup,
  kHiddenValue,
  kValueBeforeKeyword,
  kUnreachableEntry,
  kUnmatchedPrivilege,
  kUnreadPrivilege,
  kPrivilegeWithoutEffect,
  kUnreachableLevel,
  kCount
};

struct RuleRow {
  std::string_view name;
  Severity severity;
};

// The rule's name as reports and docs/check-rules.md give it, and how grave it is.
[[nodiscard]] const RuleRow &rule_row(Rule rule);
[[nodiscard]] std::string_view severity_name(Severity severity);

struct Finding {
  Rule rule;
  std::reference_wrapper<const JsonDocument> document;
  uint32_t offset;
  std::string where;  // the definition in words, may be empty
  std::string text;
};

class Findings {
 public:
  void add(Rule rule, const JsonDocument &document, uint32_t offset, std::string where, std::string text);
  [[nodiscard]] std::size_t count(Severity severity) const;
  [[nodiscard]] std::span<const Finding> all() const { return findings_; }

  // By document, in the order given, and place.
  void sort(std::span<const JsonDocument *const> documents);

 private:
  std::vector<Finding> findings_;
};

// A text of the document as a message shows it: in quotes, on one line, not longer than a line.
[[nodiscard]] std::string quoted(std::string_view text);

// One line for each finding, or one JSON array. The findings must be sorted.
void print_as_text(const Findings &findings, std::FILE *out);
void print_as_json(const Findings &findings, std::FILE *out);

// The line of the first error, or nothing when there is none. The findings must be sorted.
[[nodiscard]] std::string first_error(const Findings &findings);

}  // namespace cli_check

#endif
