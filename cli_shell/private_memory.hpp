// What users type, secrets among it, stays in this process and does not outlive its use.
#ifndef CLI_SHELL_PRIVATE_MEMORY_HPP
#define CLI_SHELL_PRIVATE_MEMORY_HPP

namespace cli_shell {

// No core file, no look into the memory by other processes of the user, and JSON values are overwritten when they are
// given back. So is all else that C++ gives back, wherever this source is linked. Called first in main.
void keep_memory_private();

}  // namespace cli_shell

#endif
