#include "cli_shell/session.hpp"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "cli_shell/interactive.hpp"

namespace cli_shell {
namespace {

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

}  // namespace

Session::Session(const Options &options) : actions_(options.actions), files_(open_files(options.actions)) {}

bool Session::at_prompt() const {
  return actions_.empty() && isatty(STDIN_FILENO) == 1;
}

int Session::run(Shell &shell) const {
  if (at_prompt()) return run_interactive(shell);
  if (actions_.empty())
    execute_lines(shell, stdin, true);
  else
    execute_actions(shell, actions_, files_);
  return shell.output_lost() ? 1 : 0;
}

}  // namespace cli_shell
