#include "storage.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <memory>

namespace router {

namespace {

std::string environment(const char *name) {
  const char *value = std::getenv(name);
  return value == nullptr ? "" : value;
}

std::string state_folder() {
  const std::string state = environment("XDG_STATE_HOME");
  if (!state.empty() && state[0] == '/') return state + "/cli-engine-router";
  const std::string home = environment("HOME");
  return home.empty() ? "" : home + "/.local/state/cli-engine-router";
}

std::string folder_of(const std::string &path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string reason(const std::string &what) {
  return what + ": " + std::strerror(errno);
}

void make_folders(const std::string &path) {
  for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
    mkdir(path.substr(0, slash).c_str(), 0700);  // a folder that cannot be made shows when the file is
  }
  mkdir(path.c_str(), 0700);
}

// The file beside the one to be replaced, which it replaces when it is whole. It has one name, so that what a process
// that was killed left behind is taken over by the next one.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string &path)
      : name_(folder_of(path) + "/." + path.substr(path.rfind('/') + 1) + ".new") {
    constexpr int kFlags = O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    for (;;) {
      const int descriptor = open(name_.c_str(), kFlags, 0600);
      if (descriptor < 0) return;
      struct stat opened {};
      struct stat named {};
      const bool is_ours = fstat(descriptor, &opened) == 0 && S_ISREG(opened.st_mode) && opened.st_nlink <= 1 &&
                           opened.st_uid == geteuid() && flock(descriptor, LOCK_EX | LOCK_NB) == 0 &&
                           ftruncate(descriptor, 0) == 0;
      const bool is_named = lstat(name_.c_str(), &named) == 0 && named.st_ino == opened.st_ino;
      if (is_ours && is_named) {
        descriptor_ = descriptor;
        return;
      }
      close(descriptor);
      if (is_ours) continue;  // another process finished with it in the meantime
      errno = EBUSY;
      return;
    }
  }
  ~TemporaryFile() {
    if (descriptor_ < 0) return;
    if (!renamed_) unlink(name_.c_str());
    close(descriptor_);
  }
  TemporaryFile(const TemporaryFile &) = delete;
  TemporaryFile &operator=(const TemporaryFile &) = delete;

  [[nodiscard]] bool is_open() const { return descriptor_ >= 0; }

  [[nodiscard]] bool write_all(const std::string &content) const {
    for (size_t written = 0; written < content.size();) {
      const ssize_t count = write(descriptor_, content.data() + written, content.size() - written);
      if (count < 0 && errno != EINTR) return false;
      if (count > 0) written += static_cast<size_t>(count);
    }
    return fchmod(descriptor_, 0600) == 0 && fsync(descriptor_) == 0;
  }

  [[nodiscard]] bool rename_to(const std::string &path) {
    renamed_ = rename(name_.c_str(), path.c_str()) == 0;
    return renamed_;
  }

 private:
  std::string name_;
  int descriptor_ = -1;
  bool renamed_ = false;
};

// The new name is on disk only when its folder is.
bool sync_folder(const std::string &folder) {
  const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return false;
  const bool synced = fsync(descriptor) == 0 || errno == EINVAL;  // not every file system can
  close(descriptor);
  return synced;
}

// The file behind a symbolic link is the one to replace, not the link.
std::string link_target(const std::string &path) {
  const std::unique_ptr<char, decltype(&std::free)> target(realpath(path.c_str(), nullptr), std::free);
  return target ? target.get() : path;
}

}  // namespace

std::string startup_path() {
  std::string chosen = environment("ROUTER_STARTUP_CONFIG");
  if (!chosen.empty()) return chosen;
  const std::string folder = state_folder();
  return folder.empty() ? "" : folder + "/startup-config";
}

std::string saved_path(const std::string &name) {
  return folder_of(startup_path()) + "/saved/" + name;
}

std::vector<SavedFile> saved_files() {
  std::vector<SavedFile> files;
  const std::string folder = saved_path("");
  const std::unique_ptr<DIR, int (*)(DIR *)> entries(opendir(folder.c_str()), closedir);
  while (const dirent *entry = entries ? readdir(entries.get()) : nullptr) {
    struct stat state {};
    if (entry->d_name[0] == '.' || stat((folder + entry->d_name).c_str(), &state) != 0 || !S_ISREG(state.st_mode))
      continue;
    char changed[32] = "";
    tm local{};
    std::strftime(changed, sizeof changed, "%Y-%m-%d %H:%M:%S", localtime_r(&state.st_mtime, &local));
    files.push_back({.name = entry->d_name, .changed = changed, .size = state.st_size});
  }
  std::sort(files.begin(), files.end(), [](const SavedFile &a, const SavedFile &b) { return a.name < b.name; });
  return files;
}

std::string write_whole(const std::string &named, const std::string &content) {
  if (named.empty()) return "There is no folder to save to: set HOME or ROUTER_STARTUP_CONFIG";
  const std::string path = link_target(named);
  struct stat state {};
  if (stat(path.c_str(), &state) == 0 && !S_ISREG(state.st_mode)) return path + ": Not a regular file";
  const std::string folder = folder_of(path);
  make_folders(folder);
  TemporaryFile file(path);
  if (!file.is_open()) return reason(folder);
  if (!file.write_all(content) || !file.rename_to(path) || !sync_folder(folder)) return reason(path);
  return {};
}

std::string read_whole(const std::string &path, std::string &content) {
  struct stat state {};
  if (stat(path.c_str(), &state) != 0) return reason(path);
  if (!S_ISREG(state.st_mode)) return path + ": Not a regular file";
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) return reason(path);
  content.clear();
  std::string wrong;
  char block[65536];
  ssize_t count = 0;
  while ((count = read(descriptor, block, sizeof block)) > 0 || (count < 0 && errno == EINTR))
    if (count > 0) content.append(block, static_cast<size_t>(count));
  if (count < 0) wrong = reason(path);
  close(descriptor);
  return wrong;
}

std::string remove_file(const std::string &path) {
  return unlink(path.c_str()) == 0 ? "" : reason(path);
}

std::vector<std::string> split_lines(const std::string &content) {
  std::vector<std::string> lines;
  for (size_t begin = 0; begin < content.size();) {
    const size_t end = std::min(content.find('\n', begin), content.size());
    lines.push_back(content.substr(begin, end - begin));
    if (!lines.back().empty() && lines.back().back() == '\r') lines.back().pop_back();
    begin = end + 1;
  }
  return lines;
}

}  // namespace router
