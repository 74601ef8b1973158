#include "cli_shell/private_memory.hpp"

#include <jansson.h>
#include <malloc.h>
#include <sys/prctl.h>
#include <sys/resource.h>

#include <cstdlib>
#include <cstring>
#include <new>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define CLI_SHELL_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define CLI_SHELL_SANITIZED 1
#endif
#endif

namespace {

void wipe_and_free(void *memory) {
  if (!memory) return;
  explicit_bzero(memory, malloc_usable_size(memory));
  std::free(memory);
}

}  // namespace

#ifndef CLI_SHELL_SANITIZED  // they have operators of their own, and look into the process when it ends

void *operator new(std::size_t size) {
  for (;;) {
    if (void *const memory = std::malloc(size == 0 ? 1 : size)) return memory;
    const std::new_handler handler = std::get_new_handler();
    if (!handler) throw std::bad_alloc();
    handler();
  }
}

void operator delete(void *memory) noexcept {
  wipe_and_free(memory);
}

void operator delete(void *memory, std::size_t) noexcept {
  wipe_and_free(memory);
}

#endif

namespace cli_shell {

void keep_memory_private() {
  const rlimit none = {.rlim_cur = 0, .rlim_max = 0};
  setrlimit(RLIMIT_CORE, &none);
#ifndef CLI_SHELL_SANITIZED
  prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);  // a program that takes core files gets them whatever the limit says
#endif
  json_set_alloc_funcs(std::malloc, wipe_and_free);
}

}  // namespace cli_shell
