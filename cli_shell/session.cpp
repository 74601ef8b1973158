#include "cli_shell/session.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "cli_shell/interactive.hpp"
#include "cli_shell/output/raw_write.hpp"

namespace cli_shell {
namespace {

FileDescriptor open_lines(const std::string &path) {
  FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat status {};
  if (!file || fstat(file.get(), &status) != 0) throw UserError(path + ": " + std::strerror(errno));
  if (S_ISDIR(status.st_mode)) throw UserError(path + ": " + std::strerror(EISDIR));
  return file;
}

// The lines of a file, without their ends ("\n" or "\r\n"; the last one may have none). No more than a longest line of
// it is ever in memory.
class LineReader {
 public:
  explicit LineReader(int fd) : fd_(fd) {}

  // False at the end. A line that is too long is told and comes as what fails: none of it is run.
  bool next(std::string &line) {
    size_t end;
    while ((end = text_.find('\n', searched_)) == std::string::npos && unread() <= kLongestLine && fill()) {
    }
    const bool whole = end != std::string::npos;
    if (!whole && unread() > kLongestLine) return skip_line(line);
    if (!whole && (error_ != 0 || unread() == 0)) return false;
    line = text_.substr(start_, whole ? end - start_ : end);
    drop(line.size() + (whole ? 1 : 0));
    if (line.ends_with('\r')) line.pop_back();
    // A NUL byte would hide the rest of its line; as DEL it is a character that no command takes.
    std::replace(line.begin(), line.end(), '\0', '\x7f');
    return true;
  }

  int error() const { return error_; }

 private:
  static constexpr size_t kLongestLine = size_t{1} << 20;

  // What was read of the present line and those behind it.
  size_t unread() const { return text_.size() - start_; }

  void drop(size_t size) {
    explicit_bzero(text_.data() + start_, size);
    start_ += size;
    searched_ = start_;
  }

  bool fill() {
    std::string rest = text_.substr(start_);
    drop(rest.size());
    text_ = std::move(rest);
    start_ = 0;
    searched_ = text_.size();
    char block[65536];
    ssize_t count;
    while ((count = read(fd_, block, sizeof block)) < 0 && errno == EINTR) {
    }
    if (count < 0) error_ = errno;
    if (count > 0) text_.append(block, static_cast<size_t>(count));
    explicit_bzero(block, sizeof block);
    return count > 0;
  }

  bool skip_line(std::string &line) {
    size_t end;
    do {
      drop(unread());
      if (!fill()) return false;
      end = text_.find('\n');
    } while (end == std::string::npos);
    drop(end + 1);
    say_on_standard_error("a line is longer than " + std::to_string(kLongestLine) + " bytes and is not run");
    line = "\x7f";
    return true;
  }

  int fd_;
  std::string text_;     // what was read
  size_t start_ = 0;     // of the next line in it; what lies before is wiped
  size_t searched_ = 0;  // up to here that line has no end
  int error_ = 0;
};

// Whether all was read; what failed is told.
bool execute_lines(Shell &shell, int fd, const std::string &name, bool live, Tally &failures) {
  LineReader reader(fd);
  const Tally tally = shell.execute_all([&](std::string &line) { return reader.next(line); }, live);
  if (const std::string report = tally.report(); !report.empty()) say_on_standard_error(name + ": " + report);
  if (reader.error() != 0) say_on_standard_error(name + ": " + std::strerror(reader.error()));
  if (tally.failed() > 0) failures.count(true);
  return reader.error() == 0;
}

std::vector<FileDescriptor> open_files(const std::vector<Action> &actions) {
  std::vector<FileDescriptor> files;
  files.reserve(actions.size());
  for (const Action &action : actions)
    files.push_back(action.kind == Action::Kind::kFile ? open_lines(action.text) : FileDescriptor());
  return files;
}

bool execute_actions(Shell &shell, const std::vector<Action> &actions, const std::vector<FileDescriptor> &files,
                     Tally &failures) {
  bool whole = true;
  for (size_t i = 0; i < actions.size() && !shell.leave_requested(); ++i) {
    if (shell.strict() && (!whole || failures.failed() > 0)) break;
    if (files[i])
      whole = execute_lines(shell, files[i].get(), actions[i].text, false, failures) && whole;
    else if (!shell.execute(actions[i].text))
      failures.count(true);
  }
  return whole;
}

}  // namespace

Session::Session(const Options &options) : actions_(options.actions), files_(open_files(options.actions)) {}

bool Session::at_prompt() const {
  return actions_.empty() && isatty(STDIN_FILENO) == 1;
}

int Session::run(Shell &shell) const {
  if (at_prompt()) return run_interactive(shell);
  Tally failures;  // a file counts once
  const bool whole = actions_.empty() ? execute_lines(shell, STDIN_FILENO, "standard input", true, failures)
                                      : execute_actions(shell, actions_, files_, failures);
  return shell.output_lost() || !whole || (shell.strict() && failures.failed() > 0) ? 1 : 0;
}

}  // namespace cli_shell
