#include "cli_shell/memory_gone.hpp"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <new>

#include "cli_shell/output/raw_write.hpp"

namespace cli_shell {
namespace {

volatile std::sig_atomic_t status_without_memory = 2;

// The library has said which allocation failed, and left its error.
void leave_if_memory_is_gone(int) {
  if (errno == ENOMEM) _exit(status_without_memory);
}

bool is_lack_of_memory(const std::exception_ptr &exception) {
  if (!exception) return true;  // none could be made
  try {
    std::rethrow_exception(exception);
  } catch (const std::bad_alloc &) {
    return true;
  } catch (...) {
    return false;
  }
}

[[noreturn]] void terminate() {
  errno = 0;
  if (is_lack_of_memory(std::current_exception())) {
    say_memory_is_gone();
    errno = ENOMEM;
  }
  std::abort();
}

}  // namespace

void say_memory_is_gone() {
  write_all(STDERR_FILENO, "cli-shell: there is not enough memory\n");
}

void end_orderly_without_memory(int status) {
  status_without_memory = status;
  struct sigaction action = {};
  action.sa_handler = leave_if_memory_is_gone;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(SIGABRT, &action, nullptr);
  std::set_terminate(terminate);
}

}  // namespace cli_shell
