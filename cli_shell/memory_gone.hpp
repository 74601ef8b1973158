// Memory that is gone for good ends the process in one way: one line on standard error, status 2.
#ifndef CLI_SHELL_MEMORY_GONE_HPP
#define CLI_SHELL_MEMORY_GONE_HPP

namespace cli_shell {

// From now on an exception that nobody can catch any more, and the library's own report, end the process so too, after
// what was printed has been shown. Called first in main; a child process may choose another status.
void end_orderly_without_memory(int status = 2);

// Says it, without memory for making up a message.
void say_memory_is_gone();

}  // namespace cli_shell

#endif
