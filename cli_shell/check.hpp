// What is wrong, or cannot be meant, in a definition document and its privilege table.
#ifndef CLI_SHELL_CHECK_HPP
#define CLI_SHELL_CHECK_HPP

#include "cli_shell/check_findings.hpp"
#include "cli_shell/check_load.hpp"

namespace cli_check {

// Everything there is to say about the documents, in their order; privileges may be null.
void check_documents(JsonDocument &definitions, JsonDocument *privileges, const Host &host, Findings &findings);

}  // namespace cli_check

#endif
