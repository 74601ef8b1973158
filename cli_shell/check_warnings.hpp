// What loads but cannot be meant. Each function looks at a language for one family of rules; docs/check-rules.md says
// what each rule finds.
#ifndef CLI_SHELL_CHECK_WARNINGS_HPP
#define CLI_SHELL_CHECK_WARNINGS_HPP

#include "cli_shell/check_findings.hpp"
#include "cli_shell/check_language.hpp"
#include "cli_shell/check_load.hpp"

namespace cli_check {

// Members and values that nothing reads, help texts that do not fit their place.
void warn_about_members(const Language &language, Findings &findings);

// Words that cannot be typed, reached or abbreviated; levels that nobody uses.
void warn_about_words(const Language &language, Findings &findings);

// Conditions and variants of prompts.
void warn_about_prompts(const Language &language, Findings &findings);

// Arguments that hide each other or what follows them.
void warn_about_arguments(const Language &language, Findings &findings);

// Values that nothing can match or that another value or a keyword takes. Needs host.types.
void warn_about_values(const Language &language, const Host &host, Findings &findings);

// Aliases that stand for no line. Needs host.types, and documents that load.
void warn_about_aliases(const Language &language, const Host &host, Findings &findings);

// Handlers that no definition names.
void warn_about_handlers(const Language &language, const Host &host, Findings &findings);

}  // namespace cli_check

#endif
