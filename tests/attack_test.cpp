// What no one does on purpose: memory that runs out, lines and languages of any size, Ctrl-C at any moment.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>

#include <functional>
#include <sstream>

#include "cli_engine/table.h"
#include "engine_support.hpp"

using engine_support::cases;
using engine_support::Engine;
using engine_support::Json;
using engine_support::printed_by;

// ---- Memory that runs out ----

namespace {
int allocations_left = -1;  // until one fails; negative: none does

bool fails() {
  return allocations_left >= 0 && allocations_left-- == 0;
}
}  // namespace

// The linker leads the library's calls here, json_set_alloc_funcs those of Jansson.
extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the linker's own names
void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
void *__real_realloc(void *block, size_t size);
void *__wrap_malloc(size_t size);
void *__wrap_calloc(size_t count, size_t size);
void *__wrap_realloc(void *block, size_t size);
void *__wrap_malloc(size_t size) {
  return fails() ? nullptr : __real_malloc(size);
}
void *__wrap_calloc(size_t count, size_t size) {
  return fails() ? nullptr : __real_calloc(count, size);
}
void *__wrap_realloc(void *block, size_t size) {
  return fails() ? nullptr : __real_realloc(block, size);
}
// NOLINTEND(bugprone-reserved-identifier)
CLI_API int attack_report(cli *engine, cli_node *node);
}

int attack_report(cli *engine, cli_node *node) {
  for (const char *name : {"n", "s", "e", "k"}) {
    const json_t *value = cli_node_value(cli_node_find(node, name));
    char text[64] = "null";
    if (value != nullptr) text[std::min(json_dumpb(value, text, 63, JSON_ENCODE_ANY), size_t{63})] = '\0';
    pager_feedfmt(&engine->pager, "%s: %s", name, text);
    pager_newline(&engine->pager);
  }
  pager_feed_popen(&engine->pager, "echo captured");
  table_group *group = table_group_new();
  for (const char *title : {"one", "two"}) {
    table *t = table_new(2, nullptr);
    table_set_header(t, 0, title, nullptr);
    for (const char *text : {"b\nlines", "a"}) table_set_cell(t, table_new_row(t, text, nullptr), 1, text, nullptr);
    table_sort(t, 1, [](const content *a, const content *b) { return a->width - b->width; });
    table_group_add_table(group, title, t);
  }
  table_group_print(group, &engine->pager);
  table_group_free(group);
  return 0;
}

namespace {

// A device's day: everything that takes memory. The documents were read before.
void live(const Json &document, const Json &privileges, const Json &words) {
  validator_typesystem *types = validator_typesystem_new();
  cli engine{};
  engine.exit_handler = engine_support::leave_mode;
  cli_init(&engine, types, document.get(), nullptr, privileges.get());
  for (const char *line : {"show 5 -10", "sh", "mode eth0", "word last", "do show k z", "word nothing", "exit"}) {
    cli_help(&engine, line);
    cli_execute(&engine, line);
  }
  for (const char *line : {"", "show ", "show 5 ", "m"}) {
    cli_autocomplete(&engine, line, 0, words.get());
    for (size_t i = 0; i < json_array_size(words.get()); i++) puts(json_string_value(json_array_get(words.get(), i)));
    json_array_clear(words.get());
  }
  cli_debug_dump(&engine);
  cli_reset_subconfig(&engine);
  cli_unload_commands(&engine);
  cli_load_commands(&engine, types, document.get(), nullptr);
  cli_free(&engine);
  validator_typesystem_free(types);
}

struct Ending {
  int status;
  std::string printed, reported;
};

// The function in a process of its own, as to standard output and standard error too.
Ending end_of(const std::function<void()> &function) {
  fflush(stdout);
  const int files[] = {memfd_create("printed", 0), memfd_create("reported", 0)};
  const pid_t child = fork();
  if (child == 0) {
    dup2(files[0], STDOUT_FILENO);
    dup2(files[1], STDERR_FILENO);
    function();
    exit(0);
  }
  Ending ending{};
  waitpid(child, &ending.status, 0);
  std::string *const texts[] = {&ending.printed, &ending.reported};
  for (int i = 0; i < 2; i++) {
    texts[i]->resize(static_cast<size_t>(lseek(files[i], 0, SEEK_END)));
    EXPECT_EQ(pread(files[i], texts[i]->data(), texts[i]->size(), 0), static_cast<ssize_t>(texts[i]->size()));
    close(files[i]);
  }
  return ending;
}

// With a text or a value less, what is printed is the same but for the help of "exit" and for null.
std::string without_what_may_lack(const std::string &printed) {
  std::istringstream lines(printed);
  std::string kept;
  for (std::string line; std::getline(lines, line);) {
    if (line.find(": ") == 1) line.resize(1);
    if (line.find("Exit from ") != std::string::npos) line.resize(line.find("Exit from "));
    kept += line + '\n';
  }
  return kept;
}

TEST(Memory, EveryAllocationFailsOnce) {
  json_set_alloc_funcs([](size_t size) { return __wrap_malloc(size); }, free);
  const Json document = cases("attack.json", "language");
  const Json privileges = cases("attack.json", "privileges");
  const Json words{json_array()};
  const Ending normal = end_of([&] { live(document, privileges, words); });
  ASSERT_EQ(normal.status, 0) << normal.reported;
  const auto is_the_report = testing::MatchesRegex(
      "(cli_engine|libglobal)/[a-z_]+:_x(malloc|calloc|realloc|memdup): assertion \"pointer != NULL\" "
      "failed: x[a-z]+ failed at func [a-zA-Z_]+:[0-9]+ \\((cli_engine|libglobal)/[a-z_]+\\)\n");
  int reports = 0, lacks = 0;
  for (int n = 0;; n++) {
    const Ending ending = end_of([&] {
      allocations_left = n;
      live(document, privileges, words);
      allocations_left = allocations_left < 0 ? -1 : (_exit(42), 0);
    });
    if (WIFEXITED(ending.status) && WEXITSTATUS(ending.status) == 42) break;
    if (WIFSIGNALED(ending.status)) {
      EXPECT_EQ(WTERMSIG(ending.status), SIGABRT) << n;
      EXPECT_THAT(ending.reported, is_the_report) << n;
      reports++;
    } else {
      EXPECT_EQ(ending.status, 0) << n << ending.printed << ending.reported;
      EXPECT_EQ(without_what_may_lack(ending.printed), without_what_may_lack(normal.printed)) << n;
      lacks++;
    }
  }
  json_set_alloc_funcs(malloc, free);
  EXPECT_GT(reports, 100);
  EXPECT_GT(lacks, 0);
}

// ---- Sizes ----

struct HostileLine {
  const char *what;
  std::string line;
  int error;
};

std::string repeated(std::string_view text, size_t count) {
  std::string all;
  for (; count > 0; count--) all += text;
  return all;
}

TEST(Sizes, LinesOfAnySizeAndBytes) {
  constexpr size_t kHuge = 16 << 20;
  std::string bytes;
  for (int byte = 1; byte < 256; byte++) bytes += static_cast<char>(byte);
  const HostileLine lines[] = {
      {"one word", std::string(kHuge, 'a'), E_EXTRA_INPUT},
      {"words", repeated("w ", 1000000), E_EXTRA_INPUT},
      {"a word of the longest kind", std::string(4095, 'k'), E_OK},
      {"one byte more", std::string(4096, 'k'), E_EXTRA_INPUT},
      {"a value", "take " + std::string(kHuge, 'v'), E_OK},
      {"empty values", "take " + repeated("'' ", 1000000), E_EXTRA_INPUT},
      {"backslashes", std::string(kHuge, '\\'), E_EXTRA_INPUT},
      {"open quote", "'" + std::string(kHuge, '"'), E_EXTRA_INPUT},
      {"blanks", std::string(kHuge, '\v'), E_INCOMPLETE},
      {"bytes", bytes, E_EXTRA_INPUT},
      {"not UTF-8", "take \xff\xc0\x80\xed\xa0\x80\xf5", E_OK},
      {"half a character", "take \xe2\x82", E_OK},
  };
  Engine engine("{'" + std::string(4095, 'k') + R"(': {'#help': 'h', '#handler': 'attack_report'},
    'take': {'#help': 'h', '#handler': 'attack_report', '#args': [{'#type': 'string', '#name': 's', '#help': 'h'}]}})");
  const std::string before = engine.execute("take it");
  for (const HostileLine &row : lines) {
    SCOPED_TRACE(row.what);
    printed_by([&] { cli_execute(engine.get(), row.line.c_str()); });
    EXPECT_EQ(engine.error(), row.error);
    printed_by([&] { cli_help(engine.get(), row.line.c_str()); });
    engine.complete(row.line);
    EXPECT_EQ(engine.execute("take it"), before);
  }
}

TEST(Sizes, AliasesInARingEnd) {
  std::string document = "{";
  for (int i = 0; i < 1000; i++) {
    document += "'a" + std::to_string(i) + "': {'#alias': 'a" + std::to_string((i + 1) % 1000) + " x a5'},";
  }
  Engine engine(document + "'b': {'#help': 'h'}}");
  engine.execute("a0 y");
  EXPECT_EQ(engine.error(), E_EXTRA_INPUT);
  EXPECT_EQ(token_list_size(tokenizer_first(&engine->tokenizer)), 4U + 16 * 5 + 2);
}

// ---- Interrupts ----

int host_interrupts = 0;

void count_interrupt(int /*signal*/) {
  host_interrupts++;
}

void expect_host_signals() {
  struct sigaction action = {};
  sigset_t mask;
  sigaction(SIGINT, nullptr, &action);
  sigprocmask(SIG_BLOCK, nullptr, &mask);
  EXPECT_EQ(action.sa_handler, count_interrupt);
  EXPECT_EQ(sigismember(&mask, SIGINT), 0);
}

// A process that presses Ctrl-C all the time.
class Storm {
 public:
  Storm() : id_(fork()) {
    for (unsigned random = 1; id_ == 0;) {
      usleep((random = random * 1103515245 + 12345) >> 16 & 255);
      kill(getppid(), SIGINT);
    }
  }
  Storm(const Storm &) = delete;
  Storm &operator=(const Storm &) = delete;
  ~Storm() {
    kill(id_, SIGKILL);
    waitpid(id_, nullptr, 0);
  }

 private:
  pid_t id_;
};

// What is printed is a whole beginning of the lines, and what a command printed is all there. On a busy machine the
// interrupts may fall in between for long.
TEST(Interrupts, AtAnyMomentKeepLinesWhole) {
  int whole = 0, cut = 0;
  std::string all;
  for (int i = 0; i < 300; i++) all += "line " + std::to_string(i) + "\n";
  signal(SIGINT, count_interrupt);
  pager pager{};
  pager_open(&pager, -1, -1);
  const Storm storm;
  for (int round = 0; round < 600 || (round < 30000 && (cut == 0 || whole == 0)); round++) {
    for (int i = 0; i < 300; i++) {
      pager_feedfmt(&pager, "line %d", i);
      pager_newline(&pager);
    }
    int count = -1;
    const std::string shown = printed_by([&] {
      if (round % 2 == 0) count = pager_show_line(&pager, 1, 300);
      pager_show(&pager);
      expect_host_signals();
    });
    // Where the lines were counted, what follows them is the second printing.
    const size_t end = count < 0 ? std::string::npos : count == 0 ? 0 : shown.find("line 0\n", 1);
    const std::string lines = shown.substr(0, end);
    ASSERT_TRUE(all.starts_with(lines) && (lines.empty() || lines.back() == '\n')) << lines;
    ASSERT_TRUE(count < 0 || std::count(lines.begin(), lines.end(), '\n') == count);
    (lines == all ? whole : cut)++;
    if (round % 20 == 0) {
      EXPECT_EQ(pager_feed_popen(&pager, "i=0; while [ $i -lt 50 ]; do echo $i; i=$((i+1)); done"), 0);
      EXPECT_EQ(pager_line_count(&pager), 50);
      pager_clear(&pager);
    }
  }
  EXPECT_GT(whole, 0);
  EXPECT_GT(cut, 0);
  EXPECT_GT(host_interrupts, 0) << "the host's own handler is back in between";
  pager_close(&pager);
}

}  // namespace
