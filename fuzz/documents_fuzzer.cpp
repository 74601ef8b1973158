// Documents: those that are written so as to load, and any JSON, which a child process loads.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "host.hpp"
#include "invariants.hpp"
#include "language.hpp"

// Marks of the code that ran, one for each place; the fuzzer's compiler makes them.
extern "C" {
__attribute__((weak)) extern uint8_t __start___sancov_cntrs[];
__attribute__((weak)) extern uint8_t __stop___sancov_cntrs[];
const char *__asan_default_options();
const char *__asan_default_options() {
  return "exitcode=99:detect_leaks=1";
}
}

namespace {

// What the child leaves behind: what it printed, and where it went.
struct Outcome {
  int printed = memfd_create("output", 0);
  int reported = memfd_create("errors", 0);
  size_t places = static_cast<size_t>(__stop___sancov_cntrs - __start___sancov_cntrs);
  uint8_t *visited =
      static_cast<uint8_t *>(mmap(nullptr, places + 1, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
};

Outcome &outcome() {
  static Outcome shared;
  return shared;
}

std::string content_of(int file) {
  std::string text(static_cast<size_t>(lseek(file, 0, SEEK_END)), '\0');
  FUZZ_REQUIRE(pread(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()));
  return text;
}

void leave_marks() {
  if (outcome().places > 0) memcpy(outcome().visited, __start___sancov_cntrs, outcome().places);
}

void gather_marks() {
  for (size_t i = 0; i < outcome().places; i++) {
    __start___sancov_cntrs[i] = std::max(__start___sancov_cntrs[i], outcome().visited[i]);
  }
}

[[noreturn]] void load_and_end(json_t *definitions, json_t *privileges) {
  alarm(20);
  dup2(outcome().printed, STDOUT_FILENO);
  dup2(outcome().reported, STDERR_FILENO);
  signal(SIGABRT, [](int) {
    leave_marks();
    signal(SIGABRT, SIG_DFL);
    raise(SIGABRT);
  });
  // In place of what the fuzzer does when a process ends.
  atexit([] {
    leave_marks();
    fflush(stdout);
    _exit(1);
  });
  {
    fuzz::Host host(definitions, privileges);
    for (const char *line : {"", "a", "do ", "a 1 "}) {
      host.act(0, line);
      host.act(fuzz::kHelp, line);
      host.act(fuzz::kComplete, line);
    }
    host.reload(definitions, privileges);
  }
  leave_marks();
  _exit(0);
}

// The only endings: all went well, one line that says what cannot be loaded, the assertion report.
void load_in_child(json_t *definitions, json_t *privileges) {
  for (const int file : {outcome().printed, outcome().reported}) FUZZ_REQUIRE(ftruncate(file, 0) == 0);
  lseek(outcome().printed, 0, SEEK_SET);
  lseek(outcome().reported, 0, SEEK_SET);
  fflush(stdout);
  const pid_t child = fork();
  FUZZ_REQUIRE(child >= 0);
  if (child == 0) load_and_end(definitions, privileges);
  int status = 0;
  while (waitpid(child, &status, 0) < 0) FUZZ_REQUIRE(errno == EINTR);
  gather_marks();

  const std::string printed = content_of(outcome().printed), reported = content_of(outcome().reported);
  const bool loaded = WIFEXITED(status) && WEXITSTATUS(status) == 0 && reported.empty();
  const bool refused = WIFEXITED(status) && WEXITSTATUS(status) == 1 && reported.empty() &&
                       (printed.starts_with("Cannot load ") || printed.starts_with("Invalid privilege ")) &&
                       printed.ends_with('\n');
  const bool asserted = WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT &&
                        (reported.starts_with("cli_engine/") || reported.find("\ncli_engine/") != std::string::npos) &&
                        reported.find(": assertion \"") != std::string::npos && reported.ends_with('\n');
  if (loaded || refused || asserted) return;
  fprintf(stderr, "status %d\n%s\n%s\n", status, printed.c_str(), reported.c_str());
  FUZZ_REQUIRE(loaded || refused || asserted);
}

void load_written(fuzz::Source &source) {
  fuzz::Writer writer(source);
  const fuzz::Json definitions = writer.definitions(), privileges = writer.privileges();
  fuzz::Host host(definitions.get(), privileges.get());
  while (!source.ended()) host.act(source.below(fuzz::kActions), fuzz::line_for(source, host.engine()));
  const fuzz::Json others = fuzz::Writer(source).definitions();
  host.reload(others.get(), nullptr);
}

}  // namespace

// A first byte of '{' begins a document as it is, which a NUL and the privilege table may follow.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::lose_output();
  fuzz::Source source(data, size);
  if (size == 0 || data[0] != '{') {
    load_written(source);
    return 0;
  }
  const std::string_view all = source.rest();
  const size_t end = std::min(all.find('\0'), all.size());
  const fuzz::Json definitions(json_loadb(all.data(), end, JSON_ALLOW_NUL, nullptr));
  const std::string_view rest = all.substr(std::min(end + 1, all.size()));
  const fuzz::Json privileges(json_loadb(rest.data(), rest.size(), JSON_DECODE_ANY, nullptr));
  if (definitions != nullptr) load_in_child(definitions.get(), privileges.get());
  return 0;
}
