// The words that can stand at the end of an unfinished line.
#ifndef CLI_SHELL_COMPLETION_HPP
#define CLI_SHELL_COMPLETION_HPP

#include <string>
#include <vector>

#include "cli_shell/handlers_library.hpp"

namespace cli_shell {

// What Tab may put in the place of the word being typed.
struct Completion {
  size_t start = 0;                // the words replace the line from this byte on, quotes already typed included
  std::vector<std::string> words;  // whole words, quoted where that is needed, with the blank that must follow; in the
                                   // order of the listing, without repeats. Empty: nothing can be completed, show help
};

// Completes a line without filters. Leaves the engine as cli_autocomplete does.
Completion complete_line(cli *engine, const std::vector<HandlersLibrary> &libraries, const std::string &line);

// Completes the name of a filter; `filter_start` is the place behind the last bar.
Completion complete_filter(const std::string &line, size_t filter_start);

}  // namespace cli_shell

#endif
