// Words side by side, as a listing of choices shows them.
#ifndef CLI_SHELL_COLUMNS_HPP
#define CLI_SHELL_COLUMNS_HPP

#include <cstddef>
#include <string>
#include <vector>

namespace cli_shell {

// The words down the columns of as few rows as the width allows, each row ending in a newline.
std::string in_columns(const std::vector<std::string> &words, size_t width);

}  // namespace cli_shell

#endif
