/* Preloaded into a program under test: makes the nth call of one function fail, FAULT="NAME N"; of malloc, all further
 * ones, too. What a child process calls does not count. A fault that was not reached is said at the end. */
#include <dlfcn.h>
#include <errno.h>
#include <pthread.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/types.h>
#include <unistd.h>

static pid_t owner;
static char chosen[32];
static int calls_left;
static int failed;

__attribute__((constructor)) static void choose(void) {
  const char *fault = getenv("FAULT");
  owner = getpid();
  if (fault == NULL || sscanf(fault, "%31s %d", chosen, &calls_left) != 2) {
    chosen[0] = '\0';
  }
}

__attribute__((destructor)) static void tell(void) {
  if (getpid() == owner && calls_left > 0 && !failed) {
    fputs("fault: not reached\n", stderr);
  }
}

static int fails(const char *name, int error) {
  if (getpid() != owner || strcmp(name, chosen) != 0 || --calls_left != 0) {
    return 0;
  }
  failed = 1;
  errno = error;
  return 1;
}

/* A function that returns -1 with errno set. */
#define FAULTY(result, name, error, parameters, ...)             \
  __attribute__((visibility("default"))) result name parameters; \
  result name parameters {                                       \
    result(*real) parameters;                                    \
    *(void **)&real = dlsym(RTLD_NEXT, #name);                   \
    return fails(#name, error) ? (result)-1 : real(__VA_ARGS__); \
  }

FAULTY(pid_t, fork, EAGAIN, (void), )
FAULTY(int, pipe2, EMFILE, (int ends[2], int flags), ends, flags)
FAULTY(ssize_t, read, EIO, (int fd, void *bytes, size_t size), fd, bytes, size)
FAULTY(ssize_t, write, ENOSPC, (int fd, const void *bytes, size_t size), fd, bytes, size)
FAULTY(int, fsync, EIO, (int fd), fd)
FAULTY(int, rename, EIO, (const char *from, const char *to), from, to)
FAULTY(int, dup2, EMFILE, (int from, int to), from, to)

__attribute__((visibility("default"))) void *malloc(size_t size) {
  static void *(*real)(size_t);
  if (real == NULL) {
    *(void **)&real = dlsym(RTLD_NEXT, "malloc");
  }
  if (fails("malloc", ENOMEM)) {
    calls_left = 1;
    return NULL;
  }
  return real(size);
}

typedef void *(*thread_body)(void *);

__attribute__((visibility("default"))) int pthread_create(pthread_t *thread, const pthread_attr_t *attributes,
                                                          thread_body body, void *data) {
  int (*real)(pthread_t *, const pthread_attr_t *, thread_body, void *);
  *(void **)&real = dlsym(RTLD_NEXT, "pthread_create");
  return fails("pthread_create", 0) ? EAGAIN : real(thread, attributes, body, data);
}

__attribute__((visibility("default"))) int open64(const char *path, int flags, ...);
__attribute__((visibility("default"))) int open64(const char *path, int flags, ...) {
  int (*real)(const char *, int, ...);
  va_list arguments;
  unsigned mode;
  va_start(arguments, flags);
  mode = va_arg(arguments, unsigned);
  va_end(arguments);
  *(void **)&real = dlsym(RTLD_NEXT, "open64");
  return fails("open", EMFILE) ? -1 : real(path, flags, mode);
}
