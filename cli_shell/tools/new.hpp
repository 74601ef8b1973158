// What cli-shell new writes: the files of examples/switch, put into the program when it is built.
#ifndef CLI_SHELL_TOOLS_NEW_HPP
#define CLI_SHELL_TOOLS_NEW_HPP

#include <span>
#include <string_view>

namespace cli_shell {

struct Template {
  std::string_view name;
  std::string_view text;
};

extern const std::span<const Template> kTemplates;

}  // namespace cli_shell

#endif
