// cli-shell test: sessions and the output expected from them.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>

#include "cli_shell/language_files.hpp"
#include "cli_shell/memory_gone.hpp"
#include "cli_shell/output/file_descriptor.hpp"
#include "cli_shell/output/memory_file.hpp"
#include "cli_shell/output/raw_write.hpp"
#include "cli_shell/output/whole_file.hpp"
#include "cli_shell/shell.hpp"
#include "cli_shell/subcommands.hpp"
#include "cli_shell/tools/preview.hpp"
#include "cli_shell/tools/script.hpp"

namespace cli_shell {
namespace {

constexpr int kCannotRun = 2;
constexpr int kMemoryGone = 102;  // of the process of a session, which has said so

// ---- The process of one session. Libraries, handlers that end the process and faulty documents stay in it.

void print_completion(Shell &shell, const std::string &text) {
  const cli_editor::Choices choices = shell.complete(text);
  shell.print([&] {
    for (const cli_editor::Choices::Word &word : choices.words) std::puts(word.text.c_str());
  });
}

void run_step(Shell &shell, const Step &step) {
  if (shell.leave_requested()) return static_cast<void>(std::puts("% The session has ended"));
  switch (step.kind) {
    case Step::Kind::kLine:
      return static_cast<void>(shell.execute(step.text));
    case Step::Kind::kHelp:
      return shell.help(step.text);
    case Step::Kind::kCompletion:
      return print_completion(shell, step.text);
  }
}

// An answer is written as its length, a line break and its bytes.
void hand_over(int answers, const std::string &output) {
  write_all(answers, std::to_string(output.size()) + '\n' + output);
}

// Handlers read the definitions of their nodes as they find them when cli-shell runs.
void make_definitions(cli_node *node) {
  static_cast<void>(cli_node_definition(node));
  for (cli_node *arg = cli_node_first_arg(node); arg; arg = cli_node_next_arg(arg)) make_definitions(arg);
  for (cli_node *word = cli_node_first_choice(node); word; word = cli_node_next_choice(word)) make_definitions(word);
}

void run_steps(const Script &script, MemoryFile &captured, int answers) {
  std::vector<HandlersLibrary> libraries = load_handlers_libraries(script.options.handlers);
  if (script.without_handlers) libraries = types_only(std::move(libraries));
  const std::string &path = script.options.operands[0];
  struct stat status {};
  if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
    throw UserError(path + ": is not a file");  // and may never end
  refuse_large(path);
  const JsonRef definitions(script.without_handlers ? nullptr : json_load_file(path.c_str(), 0, nullptr));
  const HandlerTable handlers(definitions.get(), libraries);
  const Documents documents = load_language(path, script.options.privileges, libraries,
                                            script.without_handlers ? kPreviewHandlers : handlers.entries());
  if (dup2(captured.descriptor(), STDOUT_FILENO) < 0) throw UserError(std::strerror(errno));
  const FileDescriptor nothing(open("/dev/null", O_RDONLY | O_CLOEXEC));
  dup2(nothing.get(), STDIN_FILENO);
  Shell shell(script.options, documents, std::move(libraries));
  shell.accept_controls();
  if (!script.without_handlers) {
    make_definitions(&shell.engine()->root);
    shell.start();
  }
  std::fflush(stdout);
  hand_over(answers, captured.take_contents());
  for (const Step &step : script.steps) {
    run_step(shell, step);
    std::fflush(stdout);
    hand_over(answers, captured.take_contents());
  }
}

[[noreturn]] void session_process(const Script &script, MemoryFile &captured, int answers) {
  int status = 0;
  end_orderly_without_memory(kMemoryGone);
  try {
    run_steps(script, captured, answers);
  } catch (const std::bad_alloc &) {
    say_memory_is_gone();
    status = kMemoryGone;
  } catch (const std::exception &error) {
    write_all(captured.descriptor(), error.what());
    status = kCannotRun;
  }
  _exit(status);
}

// ---- What a session printed

std::vector<std::string> output_lines(const std::string &text) {
  std::vector<std::string> lines;
  for (size_t start = 0; start < text.size();) {
    const size_t end = std::min(text.find('\n', start), text.size());
    const std::string line = text.substr(start, end - start);
    const size_t last = line.find_last_not_of(" \t\r");
    lines.push_back(line.substr(0, last == std::string::npos ? 0 : last + 1));
    start = end + 1;
  }
  while (!lines.empty() && lines.back().empty()) lines.pop_back();
  return lines;
}

std::vector<std::string> split_answers(const std::string &text) {
  std::vector<std::string> answers;
  for (size_t at = 0; at < text.size();) {
    const size_t length = std::strtoull(text.c_str() + at, nullptr, 10);
    const size_t start = text.find('\n', at) + 1;
    answers.push_back(text.substr(start, length));
    at = start + length;
  }
  return answers;
}

// How a process ended before its last step, in words.
std::string untimely_end(int status) {
  if (WIFSIGNALED(status)) return std::string("% The process was ended: ") + strsignal(WTERMSIG(status));
  return "% The process ended with status " + std::to_string(WEXITSTATUS(status));
}

// The output of each step; of those that were reached when the process ended before the last one.
std::vector<std::vector<std::string>> run_session(const Script &script) {
  MemoryFile captured;
  const MemoryFile answers;
  std::fflush(stdout);
  const pid_t child = fork();
  if (child < 0) throw UserError(std::string("cannot start a process: ") + std::strerror(errno));
  if (child == 0) session_process(script, captured, answers.descriptor());
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) == kMemoryGone) std::exit(kCannotRun);

  std::vector<std::vector<std::string>> outputs;
  for (const std::string &answer : split_answers(answers.contents())) outputs.push_back(output_lines(answer));
  if (outputs.empty()) {
    const std::vector<std::string> said = output_lines(captured.contents());
    throw UserError(script.path +
                    ": the language cannot be loaded: " + (said.empty() ? untimely_end(status) : said.back()));
  }
  outputs.erase(outputs.begin());  // of the start
  if (outputs.size() < script.steps.size()) {
    outputs.push_back(output_lines(captured.contents()));
    outputs.back().push_back(untimely_end(status));
  }
  return outputs;
}

// ---- Reports

using Comparison = std::vector<std::vector<Difference>>;  // one for each step that was reached

size_t first_line_that_differs(const Step &step, const std::vector<Difference> &differences) {
  size_t line = step.input_line;
  for (const Difference &difference : differences) {
    if (difference.kind == Difference::Kind::kUnexpected) break;
    line = difference.expected;
    if (difference.kind == Difference::Kind::kMissing) break;
  }
  return line + 1;
}

void print_differences(const Script &script, const Step &step, const std::vector<Difference> &differences) {
  std::printf("%s:%zu: %s\n", script.path.c_str(), first_line_that_differs(step, differences),
              script.lines[step.input_line].c_str());
  for (const Difference &difference : differences) {
    switch (difference.kind) {
      case Difference::Kind::kSame:
        std::printf("  %s\n", script.lines[difference.expected].c_str());
        break;
      case Difference::Kind::kMissing:
        std::printf("- %s\n", script.lines[difference.expected].c_str());
        break;
      case Difference::Kind::kUnexpected:
        std::printf("+ %s\n", expectation_of(difference.output).c_str());
        break;
    }
  }
}

// A step as it should stand: what held stays as it was written, comments and empty lines stay behind it.
void append_updated(const Script &script, const Step &step, const std::vector<Difference> &differences,
                    std::string &text) {
  for (const Difference &difference : differences) {
    if (difference.kind == Difference::Kind::kSame) text += script.lines[difference.expected] + '\n';
    if (difference.kind == Difference::Kind::kUnexpected) text += expectation_of(difference.output) + '\n';
  }
  size_t expected = 0;
  for (size_t line = step.input_line + 1; line < step.end; ++line) {
    if (expected < step.expected.size() && step.expected[expected] == line)
      ++expected;
    else
      text += script.lines[line] + '\n';
  }
}

void write_updated(const Script &script, const Comparison &comparison) {
  std::string text;
  size_t written = 0;
  const auto copy_to = [&](size_t end) {
    for (; written < end; ++written) text += script.lines[written] + '\n';
  };
  for (size_t i = 0; i < comparison.size(); ++i) {
    const Step &step = script.steps[i];
    if (holds(comparison[i])) continue;
    copy_to(step.input_line + 1);
    append_updated(script, step, comparison[i], text);
    written = step.end;
  }
  copy_to(script.lines.size());
  WholeFile file;
  if (!file.open(script.path) || !file.write(text) || !file.put_in_place())
    throw UserError(script.path + ": " + std::strerror(errno));
}

Comparison compare_session(const Script &script) {
  const std::vector<std::vector<std::string>> outputs = run_session(script);
  Comparison comparison;
  for (size_t i = 0; i < outputs.size(); ++i) comparison.push_back(compare(script, script.steps[i], outputs[i]));
  return comparison;
}

// Tells what differs; whether the script holds, or was made to.
bool report(const Script &script, const Comparison &comparison, bool update) {
  size_t failed = 0;
  for (size_t i = 0; i < comparison.size(); ++i) {
    if (holds(comparison[i])) continue;
    ++failed;
    if (!update) print_differences(script, script.steps[i], comparison[i]);
  }
  const size_t missed = script.steps.size() - comparison.size();
  if (failed == 0) {
    std::printf("%s: %zu lines hold\n", script.path.c_str(), script.steps.size());
    return true;
  }
  if (update) write_updated(script, comparison);
  std::printf("%s: %zu of %zu lines %s", script.path.c_str(), failed, script.steps.size(),
              update ? "updated" : "differ");
  if (missed > 0) std::printf(", %zu were not reached", missed);
  std::puts("");
  return update && missed == 0;
}

bool test(const Script &script, bool update) {
  const Comparison comparison = compare_session(script);
  bool holds_or_was_made_to = false;
  const auto tell = [&] { holds_or_was_made_to = report(script, comparison, update); };
  if (isatty(STDOUT_FILENO) == 1)
    Output(ColourChoice::kNever, false).run(tell);  // scripts and output hold whatever bytes
  else
    tell();
  return holds_or_was_made_to;
}

}  // namespace

int test_main(const Options &options) {
  if (options.operands.empty()) throw UserError("the script is missing; see cli-shell --help");
  const bool update = options.extra.contains("update");
  bool all_hold = true;
  for (const std::string &path : options.operands) all_hold = test(read_script(path, options), update) && all_hold;
  if (std::fflush(stdout) != 0) throw UserError(std::string("cannot write standard output: ") + std::strerror(errno));
  return all_hold ? 0 : 1;
}

}  // namespace cli_shell
