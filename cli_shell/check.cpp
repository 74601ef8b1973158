#include "cli_shell/check.hpp"

#include <array>

#include "cli_shell/check_warnings.hpp"

namespace cli_check {

void check_documents(JsonDocument &definitions, JsonDocument *privileges, const Host &host, Findings &findings) {
  Language language;
  load_language(definitions, privileges, host, language, findings);
  warn_about_members(language, findings);
  warn_about_words(language, findings);
  warn_about_prompts(language, findings);
  warn_about_arguments(language, findings);
  warn_about_values(language, host, findings);
  warn_about_aliases(language, host, findings);
  warn_about_handlers(language, host, findings);
  findings.sort(std::array<const JsonDocument *, 2>{&definitions, privileges});
}

}  // namespace cli_check
