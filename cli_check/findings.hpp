// What the checker has to say, and how it is printed.
#ifndef CLI_CHECK_FINDINGS_HPP
#define CLI_CHECK_FINDINGS_HPP

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cli_check/text.hpp"
#include "cli_engine/cli_engine.h"

namespace cli_check {

struct Finding {
  int32_t severity;  // CLI_ERROR, CLI_WARNING, CLI_NOTE
  std::string rule;
  std::string file;
  Place place;
  std::string where;  // the definition in words, may be empty
  std::string text;
  std::size_t places = 1;  // of one definition that have the same finding
};

// What the library reported.
[[nodiscard]] Finding finding_of(const cli_fault &fault);

class Findings {
 public:
  void add(Finding finding) { findings_.push_back(std::move(finding)); }
  [[nodiscard]] std::size_t count(int32_t severity) const;
  [[nodiscard]] std::span<const Finding> all() const { return findings_; }

  // By file, in the order given, and place; equal findings of one definition become one.
  void arrange(std::span<const std::string> files);

 private:
  std::vector<Finding> findings_;
};

// A text of the document as a message shows it: in quotes, on one line, not longer than a line.
[[nodiscard]] std::string quoted(std::string_view text);

[[nodiscard]] std::string_view severity_name(int32_t severity);

// "file:line:column: severity: definition: text [rule]"
[[nodiscard]] std::string as_line(const Finding &finding);

// Of arranged findings: one line for each, one JSON array, a SARIF log, or the annotations of a build service.
void print_as_text(const Findings &findings, std::FILE *out);
void print_as_json(const Findings &findings, std::FILE *out);
void print_as_sarif(const Findings &findings, std::FILE *out);
void print_as_github(const Findings &findings, std::FILE *out);

}  // namespace cli_check

#endif
