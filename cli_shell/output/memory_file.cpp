#include "cli_shell/output/memory_file.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "cli_shell/options.hpp"

namespace cli_shell {
namespace {

[[noreturn]] void refuse() {
  throw UserError(std::string("cannot keep the output: ") + std::strerror(errno));
}

}  // namespace

MemoryFile::MemoryFile() : file_(memfd_create("cli-shell", MFD_CLOEXEC)) {
  if (!file_) refuse();
}

std::string MemoryFile::contents() const {
  std::string text;
  char block[65536];
  for (ssize_t count; (count = pread(file_.get(), block, sizeof block, static_cast<off_t>(text.size()))) > 0;)
    text.append(block, static_cast<size_t>(count));
  return text;
}

std::string MemoryFile::take_contents() {
  std::string text = contents();
  if (ftruncate(file_.get(), 0) != 0 || lseek(file_.get(), 0, SEEK_SET) != 0) refuse();
  return text;
}

std::string printed_by(const std::function<void()> &body) {
  const MemoryFile file;
  std::fflush(stdout);
  const FileDescriptor standard_output(dup(STDOUT_FILENO));
  if (!standard_output || dup2(file.descriptor(), STDOUT_FILENO) < 0) refuse();
  body();
  std::fflush(stdout);
  dup2(standard_output.get(), STDOUT_FILENO);
  return file.contents();
}

}  // namespace cli_shell
