#include "cli_shell/documents.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>

#include "cli_shell/options.hpp"
#include "cli_shell/output/file_descriptor.hpp"

namespace cli_shell {
namespace {

[[noreturn]] void refuse_as_large(const std::string &path, size_t largest) {
  throw UserError(path + ": the file is larger than " + std::to_string(largest) + " bytes");
}

}  // namespace

void refuse_large(const std::string &path, size_t largest) {
  struct stat status {};
  if (stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size > static_cast<off_t>(largest))
    refuse_as_large(path, largest);
}

std::string read_file(const std::string &path, size_t largest) {
  refuse_large(path, largest);
  // Opening a FIFO that nobody writes would wait; reading it then ends at once.
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!file || fcntl(file.get(), F_SETFL, 0) != 0) throw UserError(path + ": " + std::strerror(errno));
  std::string text;
  char block[65536];
  for (;;) {
    const ssize_t count = read(file.get(), block, sizeof block);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw UserError(path + ": " + std::strerror(errno));
    if (count == 0) return text;
    text.append(block, static_cast<size_t>(count));
    if (text.size() > largest) refuse_as_large(path, largest);
  }
}

JsonRef load_document(const std::string &path) {
  const std::string text = read_file(path);
  json_error_t error;
  errno = 0;
  JsonRef document(json_loadb(text.data(), text.size(), JSON_REJECT_DUPLICATES, &error));
  if (!document && (error.line < 1 || errno == ENOMEM || json_error_code(&error) == json_error_out_of_memory))
    throw std::bad_alloc();  // the reader tells some of this as a fault of the text
  if (!document)
    throw UserError(path + ":" + std::to_string(error.line) + ":" + std::to_string(error.column) + ": " + error.text);
  if (!json_is_object(document.get())) throw UserError(path + ": the document is not a JSON object");
  return document;
}

Documents load_documents(const std::string &definitions, const std::optional<std::string> &privileges) {
  Documents documents;
  documents.definitions = load_document(definitions);
  if (privileges) documents.privileges = load_document(*privileges);
  return documents;
}

}  // namespace cli_shell
