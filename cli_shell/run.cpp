// The shell itself: lines from the options, from standard input or from a user.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "cli_shell/handlerless.hpp"
#include "cli_shell/interactive.hpp"
#include "cli_shell/shell.hpp"
#include "cli_shell/subcommands.hpp"

namespace cli_shell {
namespace {

struct FileClose {
  void operator()(FILE *file) const { std::fclose(file); }
};
using FileRef = std::unique_ptr<FILE, FileClose>;

FileRef open_lines(const std::string &path) {
  FileRef file(std::fopen(path.c_str(), "re"));
  // A folder opens, and fails at the first byte.
  if (file && std::ungetc(std::fgetc(file.get()), file.get()) == EOF && std::ferror(file.get())) file.reset();
  if (!file) throw UserError(path + ": " + std::strerror(errno));
  return file;
}

// The lines of a file, without their ends ("\n" or "\r\n"; the last one may have none).
class LineReader {
 public:
  explicit LineReader(FILE *file) : file_(file) {}
  ~LineReader() { std::free(line_); }
  LineReader(const LineReader &) = delete;
  LineReader &operator=(const LineReader &) = delete;

  // Borrowed until the next call; null at the end.
  const char *next() {
    const ssize_t count = getline(&line_, &capacity_, file_);
    if (count < 0) return nullptr;
    auto length = static_cast<size_t>(count);
    if (length > 0 && line_[length - 1] == '\n') --length;
    if (length > 0 && line_[length - 1] == '\r') --length;
    // A NUL byte would hide the rest of its line; as DEL it is a character that no command takes.
    std::replace(line_, line_ + length, '\0', '\x7f');
    line_[length] = '\0';
    return line_;
  }

 private:
  FILE *file_;
  char *line_ = nullptr;
  size_t capacity_ = 0;
};

void execute_lines(Shell &shell, FILE *file, bool live) {
  LineReader reader(file);
  shell.execute_all([&] { return reader.next(); }, live);
}

std::vector<FileRef> open_files(const std::vector<Action> &actions) {
  std::vector<FileRef> files;
  files.reserve(actions.size());
  for (const Action &action : actions)
    files.push_back(action.kind == Action::Kind::kFile ? open_lines(action.text) : nullptr);
  return files;
}

void execute_actions(Shell &shell, const std::vector<Action> &actions, const std::vector<FileRef> &files) {
  for (size_t i = 0; i < actions.size() && !shell.leave_requested(); ++i) {
    if (files[i])
      execute_lines(shell, files[i].get(), false);
    else
      shell.execute(actions[i].text);
  }
}

int status_of(const Shell &shell) {
  return shell.output_lost() ? 1 : 0;
}

int dump(const Options &options, Documents documents) {
  documents.definitions = handlerless(documents.definitions.get());
  Shell shell(options, documents, load_handlers_libraries(options.handlers));
  shell.print([&] { cli_debug_dump(shell.engine()); }, true);
  return status_of(shell);
}

}  // namespace

int run_main(const Options &options) {
  Documents documents = load_documents(only_operand(options, "the definition document"), options.privileges);
  if (options.dump) return dump(options, std::move(documents));

  // All that can be missing is found missing before the first line runs.
  const std::vector<FileRef> files = open_files(options.actions);
  Shell shell(options, documents, load_handlers_libraries(options.handlers));
  shell.start();
  if (!options.actions.empty())
    execute_actions(shell, options.actions, files);
  else if (isatty(STDIN_FILENO) == 1)
    return run_interactive(shell);
  else
    execute_lines(shell, stdin, true);
  return status_of(shell);
}

}  // namespace cli_shell
