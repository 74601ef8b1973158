#include "cli_shell/history.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "cli_shell/output/file_descriptor.hpp"
#include "cli_shell/output/raw_write.hpp"
#include "cli_shell/output/whole_file.hpp"
#include "cli_shell/words.hpp"

namespace cli_shell {

namespace {

constexpr size_t kLongestLine = 4096;
// A file above the bound is cut to its newest lines: few enough that this happens seldom, many enough to be of use.
constexpr off_t kFileBound = off_t{256} * 1024;
constexpr size_t kBytesKept = size_t{128} * 1024;
constexpr size_t kMostLinesInFile = kHistoryLines + kHistoryLines / 4;
constexpr mode_t kFileMode = 0600;
constexpr mode_t kFolderMode = 0700;

void make_folders_of(const std::string &path) {
  for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
    mkdir(path.substr(0, slash).c_str(), kFolderMode);  // one that exists already is as good
  }
}

FileDescriptor open_for_append(const std::string &path) {
  // What stands there under a link belongs to somebody else, and opening a FIFO would wait.
  const auto try_open = [&path] {
    constexpr int kFlags = O_RDWR | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    return FileDescriptor(open(path.c_str(), kFlags, kFileMode));
  };
  FileDescriptor file = try_open();
  if (!file && errno == ENOENT) {
    make_folders_of(path);
    file = try_open();
  }
  return file;
}

// Another shell holds the lock for a moment only; somebody else's lock is not waited for.
bool lock(int fd, int how) {
  constexpr int kAttempts = 50;
  constexpr useconds_t kPause = 10'000;
  for (int attempt = 0; flock(fd, how | LOCK_NB) != 0; ++attempt) {
    if (errno != EINTR && (errno != EWOULDBLOCK || attempt == kAttempts)) return false;
    usleep(kPause);
  }
  return true;
}

bool is_same_file(const struct stat &a, const struct stat &b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// The file, locked. Another shell may have put a shortened file in its place while this one waited for the lock.
FileDescriptor open_locked(const std::string &path, struct stat &status) {
  for (;;) {
    FileDescriptor file = open_for_append(path);
    if (!file || !lock(file.get(), LOCK_EX) || fstat(file.get(), &status) != 0) return {};
    struct stat named {};
    if (stat(path.c_str(), &named) == 0 && is_same_file(status, named)) return file;
  }
}

// The last bytes of a file, no more than the limit.
std::string read_end(int fd, off_t size, size_t limit) {
  std::string text(std::min(static_cast<size_t>(size), limit), '\0');
  size_t filled = 0;
  while (filled < text.size()) {
    const off_t place = size - static_cast<off_t>(text.size() - filled);
    const ssize_t count = pread(fd, text.data() + filled, text.size() - filled, place);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    filled += static_cast<size_t>(count);
  }
  text.resize(filled);
  return text;
}

bool ends_with_line(std::string_view text, std::string_view line) {
  if (!text.empty() && text.back() == '\n') text.remove_suffix(1);
  if (!text.ends_with(line)) return false;
  text.remove_suffix(line.size());
  return text.empty() || text.back() == '\n';
}

std::string_view newest_lines(std::string_view text) {
  if (text.empty()) return text;
  size_t lines = 0;
  size_t start = text.size();
  while (start > 0 && lines <= kHistoryLines) {
    start = text.rfind('\n', start - 1);
    if (start == std::string_view::npos) return text;
    ++lines;
  }
  return text.substr(start + 1);
}

// The bytes of a file from its first whole line on.
std::string_view whole_lines(std::string_view end_of_file, bool is_whole_file) {
  if (is_whole_file) return end_of_file;
  const size_t cut = end_of_file.find('\n');
  return cut == std::string_view::npos ? std::string_view() : end_of_file.substr(cut + 1);
}

// Puts a file with the newest lines in the place of one that has grown too big, whose lock is held.
bool shorten(const std::string &path, std::string_view end_of_file, bool is_whole_file) {
  WholeFile file;
  return file.open(path) && file.write(newest_lines(whole_lines(end_of_file, is_whole_file))) && file.put_in_place();
}

}  // namespace

bool is_worth_keeping(std::string_view line) {
  const bool has_control =
      std::any_of(line.begin(), line.end(), [](unsigned char c) { return (c < ' ' && c != '\t') || c == 0x7f; });
  return !has_control && line.size() <= kLongestLine && !std::all_of(line.begin(), line.end(), is_blank);
}

std::optional<std::string> HistoryFile::default_path() {
  const char *state = std::getenv("XDG_STATE_HOME");
  const char *home = std::getenv("HOME");
  if (state != nullptr && state[0] == '/') return std::string(state) + "/cli-engine/history";
  if (home != nullptr && home[0] == '/') return std::string(home) + "/.local/state/cli-engine/history";
  return std::nullopt;
}

std::vector<std::string> HistoryFile::load() const {
  const FileDescriptor file(open(path_.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) || !lock(file.get(), LOCK_SH)) return {};
  const std::string end = read_end(file.get(), status.st_size, static_cast<size_t>(kFileBound));
  std::string_view rest = newest_lines(whole_lines(end, end.size() == static_cast<size_t>(status.st_size)));

  std::vector<std::string> lines;
  while (!rest.empty()) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    if (is_worth_keeping(line)) lines.emplace_back(line);
    rest.remove_prefix(std::min(rest.size(), line.size() + 1));
  }
  return lines;
}

bool HistoryFile::append(std::string_view line) const {
  struct stat status {};
  const FileDescriptor file = open_locked(path_, status);
  if (!file) return false;
  if (!S_ISREG(status.st_mode)) return true;  // a name for /dev/null: its owner wants no history
  if ((status.st_mode & 077) != 0 && fchmod(file.get(), kFileMode) != 0) return false;

  std::string end = read_end(file.get(), status.st_size, static_cast<size_t>(kFileBound));
  if (ends_with_line(end, line)) return true;
  const bool is_cut = !end.empty() && end.back() != '\n';  // a write that a full disk broke off
  const std::string entry = (is_cut ? "\n" : "") + std::string(line) + '\n';
  if (!write_all(file.get(), entry)) return false;
  const bool is_whole_file = end.size() == static_cast<size_t>(status.st_size);
  end += entry;
  const auto lines = static_cast<size_t>(std::count(end.begin(), end.end(), '\n'));
  if (is_whole_file && lines <= kMostLinesInFile && end.size() <= static_cast<size_t>(kFileBound)) return true;
  return shorten(path_, std::string_view(end).substr(end.size() - std::min(end.size(), kBytesKept)),
                 is_whole_file && end.size() <= kBytesKept);
}

}  // namespace cli_shell
