#include "cli_shell/output/whole_file.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "cli_shell/output/raw_write.hpp"

namespace cli_shell {
namespace {

constexpr mode_t kOwnerOnly = 0600;
constexpr mode_t kPermissions = 0777;

// The file behind a symbolic link is the one to replace, not the link.
std::string link_target(const std::string &path) {
  const std::unique_ptr<char, decltype(&std::free)> target(realpath(path.c_str(), nullptr), std::free);
  return target ? target.get() : path;
}

bool fail(int error) {
  errno = error;
  return false;
}

// The new name is on disk only when its folder is.
bool sync_folder_of(const std::string &path) {
  const std::string folder = path.substr(0, path.rfind('/') + 1);
  const FileDescriptor file(open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return file && (fsync(file.get()) == 0 || errno == EINVAL);  // not every file system can
}

}  // namespace

WholeFile::~WholeFile() {
  discard();
}

void WholeFile::discard() {
  if (!file_) return;
  const int error = errno;
  unlink(beside_.c_str());
  file_.reset();
  errno = error;
}

bool WholeFile::open(const std::string &path) {
  path_ = link_target(path);
  const size_t name = path_.rfind('/') + 1;
  beside_ = path_.substr(0, name) + '.' + path_.substr(name) + ".new";
  struct stat before {};
  const bool exists = stat(path_.c_str(), &before) == 0;
  if (exists && S_ISDIR(before.st_mode)) return fail(EISDIR);
  if (exists && !S_ISREG(before.st_mode)) return fail(EINVAL);
  if (exists && access(path_.c_str(), W_OK) != 0) return false;
  if (!open_beside()) return false;
  if (ftruncate(file_.get(), 0) == 0 && fchmod(file_.get(), exists ? before.st_mode & kPermissions : kOwnerOnly) == 0)
    return true;
  discard();
  return false;
}

// Somebody else's file of that name, or one that has another name too, is not written over.
bool WholeFile::open_beside() {
  for (;;) {
    FileDescriptor file(::open(beside_.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, kOwnerOnly));
    struct stat opened {};
    struct stat named {};
    if (!file || fstat(file.get(), &opened) != 0) return false;
    if (!S_ISREG(opened.st_mode) || opened.st_uid != geteuid() || opened.st_nlink > 1) return fail(EEXIST);
    if (flock(file.get(), LOCK_EX | LOCK_NB) != 0) return fail(EBUSY);
    const bool is_named =
        lstat(beside_.c_str(), &named) == 0 && opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
    if (!is_named) continue;  // another process finished with it in the meantime
    file_ = std::move(file);
    return true;
  }
}

bool WholeFile::write(std::string_view text) {
  return write_all(file_.get(), text);
}

bool WholeFile::put_in_place() {
  if (fsync(file_.get()) != 0 || rename(beside_.c_str(), path_.c_str()) != 0) {
    discard();
    return false;
  }
  file_.reset();
  return sync_folder_of(path_);
}

}  // namespace cli_shell
