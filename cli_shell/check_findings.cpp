#include "cli_shell/check_findings.hpp"

#include <algorithm>
#include <array>
#include <tuple>
#include <utility>

namespace cli_check {

namespace {

constexpr std::array<std::pair<Rule, RuleRow>, static_cast<std::size_t>(Rule::kCount)> kRules = {{
    {Rule::kJson, {"json", Severity::kError}},
    {Rule::kRepeatedMember, {"repeated-member", Severity::kError}},
    {Rule::kNotAnObject, {"not-an-object", Severity::kError}},
    {Rule::kKeyLength, {"key-length", Severity::kError}},
    {Rule::kUnknownPath, {"unknown-path", Severity::kError}},
    {Rule::kNotADefinition, {"not-a-definition", Severity::kError}},
    {Rule::kMissingHelp, {"missing-help", Severity::kError}},
    {Rule::kHelpValue, {"help-value", Severity::kError}},
    {Rule::kHelpTemplate, {"help-template", Severity::kError}},
    {Rule::kPromptValue, {"prompt-value", Severity::kError}},
    {Rule::kPromptVariant, {"prompt-variant", Severity::kError}},
    {Rule::kPromptNoVariant, {"prompt-no-variant", Severity::kError}},
    {Rule::kConditionType, {"condition-type", Severity::kError}},
    {Rule::kExitDescription, {"exit-description", Severity::kError}},
    {Rule::kUnknownHandler, {"unknown-handler", Severity::kError}},
    {Rule::kAliasArguments, {"alias-arguments", Severity::kError}},
    {Rule::kAliasCommands, {"alias-commands", Severity::kError}},
    {Rule::kSecondArgument, {"second-argument", Severity::kError}},
    {Rule::kValueArguments, {"value-arguments", Severity::kError}},
    {Rule::kMissingName, {"missing-name", Severity::kError}},
    {Rule::kUnknownType, {"unknown-type", Severity::kError}},
    {Rule::kFacetRange, {"facet-range", Severity::kError}},
    {Rule::kEnumeration, {"enumeration", Severity::kError}},
    {Rule::kPrivilegeLevel, {"privilege-level", Severity::kError}},
    {Rule::kPrivilegeEntry, {"privilege-entry", Severity::kError}},
    {Rule::kUnreadMember, {"unread-member", Severity::kWarning}},
    {Rule::kIgnoredMember, {"ignored-member", Severity::kWarning}},
    {Rule::kIgnoredValue, {"ignored-value", Severity::kWarning}},
    {Rule::kIgnoredFacet, {"ignored-facet", Severity::kWarning}},
    {Rule::kHelpText, {"help-text", Severity::kWarning}},
    {Rule::kUntypeableName, {"untypeable-name", Severity::kWarning}},
    {Rule::kUnreachableName, {"unreachable-name", Severity::kWarning}},
    {Rule::kDeadEnd, {"dead-end", Severity::kWarning}},
    {Rule::kAliasLine, {"alias-line", Severity::kWarning}},
    {Rule::kHiddenWord, {"hidden-word", Severity::kNote}},
    {Rule::kNoAbbreviation, {"no-abbreviation", Severity::kNote}},
    {Rule::kUnusedHandler, {"unused-handler", Severity::kWarning}},
    {Rule::kForeignHandler, {"foreign-handler", Severity::kWarning}},
    {Rule::kConditionPath, {"condition-path", Severity::kWarning}},
    {Rule::kConditionLater, {"condition-later", Severity::kWarning}},
    {Rule::kPromptFallback, {"prompt-fallback", Severity::kWarning}},
    {Rule::kNeverBare, {"never-bare", Severity::kWarning}},
    {Rule::kOpenArgument, {"open-argument", Severity::kWarning}},
    {Rule::kHiddenWords, {"hidden-commands", Severity::kWarning}},
    {Rule::kTakenAbbreviation, {"taken-abbreviation", Severity::kWarning}},
    {Rule::kBlockingGroup, {"blocking-group", Severity::kWarning}},
    {Rule::kHiddenValue, {"hidden-value", Severity::kWarning}},
    {Rule::kValueBeforeKeyword, {"value-before-keyword", Severity::kWarning}},
    {Rule::kUnreachableEntry, {"unreachable-entry", Severity::kWarning}},
    {Rule::kUnmatchedPrivilege, {"unmatched-privilege", Severity::kWarning}},
    {Rule::kUnreadPrivilege, {"unread-privilege", Severity::kWarning}},
    {Rule::kPrivilegeWithoutEffect, {"privilege-without-effect", Severity::kWarning}},
    {Rule::kUnreachableLevel, {"unreachable-level", Severity::kWarning}},
}};

constexpr bool every_rule_in_its_place() {
  for (std::size_t at = 0; at < kRules.size(); ++at) {
    if (static_cast<std::size_t>(kRules[at].first) != at || kRules[at].second.name.empty()) {
      return false;
    }
  }
  return true;
}
static_assert(every_rule_in_its_place());

// Turns offsets that only grow into lines and columns, in one pass over the document.
class Places {
 public:
  struct Place {
    std::size_t line, column;  // from 1; columns count characters
  };

  Place of(const Finding &finding) {
    if (&finding.document.get() != document_) {
      document_ = &finding.document.get();
      at_ = 0;
      place_ = {1, 1};
    }
    const std::string &bytes = finding.document.get().bytes;
    for (; at_ < finding.offset && at_ < bytes.size(); ++at_) {
      if (bytes[at_] == '\n') {
        place_ = {place_.line + 1, 1};
      } else if ((static_cast<unsigned char>(bytes[at_]) & 0xC0U) != 0x80U) {
        ++place_.column;
      }
    }
    // Inside a character that is broken off, a column is counted for the leading byte already.
    return place_;
  }

 private:
  const JsonDocument *document_ = nullptr;
  std::size_t at_ = 0;
  Place place_ = {1, 1};
};

std::string as_line(const Finding &finding, const Places::Place &place) {
  const RuleRow &rule = rule_row(finding.rule);
  std::string line = finding.document.get().file;
  line.append(":").append(std::to_string(place.line)).append(":").append(std::to_string(place.column));
  line.append(": ").append(severity_name(rule.severity)).append(": ").append(finding.where);
  return line.append(finding.where.empty() ? "" : ": ").append(finding.text).append(" [").append(rule.name).append("]");
}

void print_json_string(std::string_view text, std::FILE *out) {
  std::fputc('"', out);
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      std::fprintf(out, "\\%c", c);
    } else if (static_cast<unsigned char>(c) < 0x20) {
      std::fprintf(out, "\\u%04x", static_cast<unsigned>(c));
    } else {
      std::fputc(c, out);
    }
  }
  std::fputc('"', out);
}

void print_json_member(const char *name, std::string_view text, std::FILE *out) {
  std::fprintf(out, ", \"%s\": ", name);
  print_json_string(text, out);
}

}  // namespace

const RuleRow &rule_row(Rule rule) {
  return kRules[static_cast<std::size_t>(rule)].second;
}

std::string_view severity_name(Severity severity) {
  switch (severity) {
    case Severity::kError:
      return "error";
    case Severity::kWarning:
      return "warning";
    case Severity::kNote:
      return "note";
  }
  return "";
}

void Findings::add(Rule rule, const JsonDocument &document, uint32_t offset, std::string where, std::string text) {
  findings_.push_back({rule, document, offset, std::move(where), std::move(text)});
}

std::size_t Findings::count(Severity severity) const {
  return static_cast<std::size_t>(std::count_if(
      findings_.begin(), findings_.end(), [&](const Finding &f) { return rule_row(f.rule).severity == severity; }));
}

void Findings::sort(std::span<const JsonDocument *const> documents) {
  const auto order = [documents](const Finding &finding) {
    return std::tuple(std::find(documents.begin(), documents.end(), &finding.document.get()), finding.offset);
  };
  std::stable_sort(findings_.begin(), findings_.end(),
                   [&](const Finding &a, const Finding &b) { return order(a) < order(b); });
}

std::string quoted(std::string_view text) {
  constexpr std::size_t kLongest = 100;
  std::string shown = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (shown.size() > kLongest && (byte & 0xC0U) != 0x80U) {
      shown += "...";
      break;
    }
    if (byte < 0x20 || byte == 0x7F) {
      static constexpr char kDigits[] = "0123456789abcdef";
      shown.append({'\\', 'x', kDigits[byte >> 4U], kDigits[byte & 0xFU]});
    } else {
      shown += c;
    }
  }
  return shown + '"';
}

void print_as_text(const Findings &findings, std::FILE *out) {
  Places places;
  for (const Finding &finding : findings.all()) {
    std::fprintf(out, "%s\n", as_line(finding, places.of(finding)).c_str());
  }
}

std::string first_error(const Findings &findings) {
  for (const Finding &finding : findings.all()) {
    if (rule_row(finding.rule).severity == Severity::kError) {
      return as_line(finding, Places().of(finding));
    }
  }
  return "";
}

void print_as_json(const Findings &findings, std::FILE *out) {
  Places places;
  const char *before = "[\n ";
  for (const Finding &finding : findings.all()) {
    const auto [line, column] = places.of(finding);
    const RuleRow &rule = rule_row(finding.rule);
    std::fprintf(out, "%s{\"file\": ", before);
    print_json_string(finding.document.get().file, out);
    std::fprintf(out, ", \"line\": %zu, \"column\": %zu", line, column);
    print_json_member("severity", severity_name(rule.severity), out);
    print_json_member("rule", rule.name, out);
    print_json_member("definition", finding.where, out);
    print_json_member("text", finding.text, out);
    std::fputc('}', out);
    before = ",\n ";
  }
  std::fputs(findings.all().empty() ? "[]\n" : "\n]\n", out);
}

}  // namespace cli_check
