// Writing without stdio, for processes that share a terminal or file with others.
#ifndef CLI_SHELL_OUTPUT_RAW_WRITE_HPP
#define CLI_SHELL_OUTPUT_RAW_WRITE_HPP

#include <string>
#include <string_view>

namespace cli_shell {

// Writes all of the text, whatever interrupts; false with errno set.
bool write_all(int fd, std::string_view text);

// One line, "cli-shell: MESSAGE", control bytes made harmless.
void say_on_standard_error(std::string_view message);

}  // namespace cli_shell

#endif
