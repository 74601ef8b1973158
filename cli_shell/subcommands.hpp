// The subcommands of cli-shell. Each lives in a source file of its own and returns the exit status: 0, 1 for what it
// found wrong, 2 (by UserError) when it could not run.
#ifndef CLI_SHELL_SUBCOMMANDS_HPP
#define CLI_SHELL_SUBCOMMANDS_HPP

#include "cli_shell/options.hpp"

namespace cli_shell {

int run_main(const Options &options);        // the shell itself
int check_main(const Options &options);      // what is wrong with the documents
int preview_main(const Options &options);    // the language without its handlers
int test_main(const Options &options);       // sessions and what is expected of them
int reference_main(const Options &options);  // the commands of a language, as a document
int new_main(const Options &options);        // a small language to begin with

inline constexpr ExtraOption kCheckOptions[] = {
    {"format", "FORMAT", "text, one line for each finding, json, sarif or github"},
    {"strict", nullptr, "a warning fails as well"},
    {"ignore", "RULES", "names of rules that are not looked at, between commas"},
};

inline constexpr ExtraOption kTestOptions[] = {
    {"update", nullptr, "write what is printed now into the scripts as what is expected"},
    {"trust", nullptr, "let scripts load libraries that --handlers does not name, and save files"},
};

inline constexpr ExtraOption kReferenceOptions[] = {
    {"format", "FORMAT", "markdown (the default) or man"},
};

inline constexpr ExtraOption kNewOptions[] = {
    {"language", "LANGUAGE", "of the handlers: c (the default), c++ or python"},
};

}  // namespace cli_shell

#endif
