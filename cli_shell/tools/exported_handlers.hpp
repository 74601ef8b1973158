// The functions that a handlers library exports.
#ifndef CLI_SHELL_TOOLS_EXPORTED_HANDLERS_HPP
#define CLI_SHELL_TOOLS_EXPORTED_HANDLERS_HPP

#include <string>
#include <string_view>
#include <vector>

namespace cli_shell {

// Those that can be meant as handlers, from the bytes of a shared object: not what a compiler adds, nor what cli-shell
// itself calls. Empty for what is no shared object of this machine.
[[nodiscard]] std::vector<std::string> exported_handlers(std::string_view object);

}  // namespace cli_shell

#endif
