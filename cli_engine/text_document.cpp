#include "cli_engine/text_document.hpp"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>

#include "libglobal/report.hpp"

namespace cli_engine {
namespace {

constexpr const char *kSource = "cli_engine/loader";
constexpr std::size_t kBlock = 4096;

char *new_text(std::size_t size) {
  return static_cast<char *>(libglobal::xcalloc(1, size + kPadding, LIBGLOBAL_CALLER(kSource)));
}

// Reads on as far as there is something; how much it was, or -1.
ssize_t read_all(int descriptor, char *to, std::size_t size) {
  std::size_t done = 0;
  while (done < size) {
    const ssize_t count = ::read(descriptor, to + done, size - done);
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count < 0) {
      return -1;
    }
    if (count == 0) {
      break;
    }
    done += static_cast<std::size_t>(count);
  }
  return static_cast<ssize_t>(done);
}

// Takes "[3]" off a path; false when the path begins otherwise.
bool take_index(std::string_view &path, std::size_t &index) {
  const char *const end = path.data() + path.size();
  if (!path.starts_with('[')) {
    return false;
  }
  const auto [behind, error] = std::from_chars(path.data() + 1, end, index);
  if (error != std::errc{} || behind == end || *behind != ']') {
    return false;
  }
  path.remove_prefix(static_cast<std::size_t>(behind + 1 - path.data()));
  return true;
}

// The value at a path that begins with a member's name, or nothing. Names may hold points and brackets: the longest one
// that the path begins with counts.
Value follow(Value value, std::string_view path) {
  for (;;) {
    std::size_t length = 0;
    Value next;
    value.for_each_member([&](const Member &member) {
      const std::string_view name{member.name};
      if (path.starts_with(name) && name.size() >= length &&
          (path.size() == name.size() || path[name.size()] == '.' || path[name.size()] == '[')) {
        length = name.size();
        next = member.value;
      }
    });
    path.remove_prefix(length);
    for (std::size_t index = 0; next.is_given() && take_index(path, index);) {
      Value item;
      next.for_each_item([&](std::size_t at, const Value &found) { item = at == index ? found : item; });
      next = item;
    }
    if (!next.is_given() || path.empty()) {
      return next;
    }
    if (!path.starts_with('.')) {
      return {};
    }
    path.remove_prefix(1);
    value = next;
  }
}

// Whole pages between two places, without the first one, which may hold what the allocator or the root needs.
void give_pages_back(const void *from, const void *to) {
  const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  const std::uintptr_t start = (reinterpret_cast<std::uintptr_t>(from) / page + 1) * page;
  const std::uintptr_t end = reinterpret_cast<std::uintptr_t>(to) / page * page;
  if (start < end) {
    madvise(reinterpret_cast<void *>(start), end - start, MADV_DONTNEED);
  }
}

std::size_t count_breaks(const char *text, std::size_t size) {
  return static_cast<std::size_t>(std::count(text, text + size, '\n'));
}

}  // namespace

// Some of the text, read again.
class TextDocument::Part {
 public:
  explicit Part(const TextDocument &document) : document_(document) {}
  Part(const Part &) = delete;
  Part &operator=(const Part &) = delete;
  ~Part() { std::free(text_); }

  // Reads the value at the offset, or behind the name there, whatever its length.
  [[nodiscard]] bool read_value(std::size_t offset, bool is_name) {
    for (std::size_t size = kBlock;; size *= 4) {
      std::free(text_);
      text_ = new_text(size);
      const std::size_t read = document_.read_again(offset, text_, size);
      if (read == 0) {
        return false;
      }
      text_[read] = '\0';
      start_ = is_name ? behind_name(read) : 0;
      items_.clear();
      Vector<std::uint32_t> repeated;
      ReadFault fault{};
      if (start_ < read && read_text(text_ + start_, read - start_, false, items_, repeated, fault)) {
        return true;
      }
      if (read < size) {
        return false;  // that was all there is
      }
    }
  }

  [[nodiscard]] Value value() const { return {items_.data(), text_ + start_}; }
  [[nodiscard]] std::size_t start() const { return start_; }

 private:
  [[nodiscard]] std::size_t behind_name(std::size_t size) const {
    std::size_t at = 1;
    while (at < size && text_[at] != '"') {
      at += text_[at] == '\\' ? 2 : 1;
    }
    at++;
    while (at < size && std::strchr(" \t\r\n:", text_[at]) != nullptr) {
      at++;
    }
    return at;
  }

  const TextDocument &document_;
  char *text_ = nullptr;
  std::size_t start_ = 0;
  TextItems items_;
};

TextDocument::~TextDocument() {
  release_values();
  std::free(kept_);
  std::free(file_);
  if (descriptor_ >= 0) {
    close(descriptor_);
  }
}

void TextDocument::release_values() {
  std::free(decoded_);
  decoded_ = nullptr;
  TextItems().swap(items_);
}

void TextDocument::release_before(const TextItem &item) {
  constexpr std::size_t kWorthIt = std::size_t{256} * 1024;
  if (item.offset - released_ >= kWorthIt) {
    released_ = item.offset;
    give_pages_back(decoded_, decoded_ + item.offset);
    give_pages_back(items_.data(), &item);
  }
}

// Reads the file's text into decoded_; false with the reason.
bool TextDocument::load(const char *file, const char *&reason) {
  descriptor_ = ::open(file, O_RDONLY | O_CLOEXEC | O_NOCTTY);
  if (descriptor_ < 0 || fstat(descriptor_, &status_) != 0) {
    reason = std::strerror(errno);
    return false;
  }
  const bool is_regular = S_ISREG(status_.st_mode);
  std::size_t capacity = is_regular ? static_cast<std::size_t>(status_.st_size) : 0;
  if (capacity > kLongestText) {
    reason = "it has more than 268435455 bytes";
    return false;
  }
  // One byte more than there should be shows that a file has grown, or that its size says nothing.
  capacity = std::max(capacity + 1, kBlock);
  decoded_ = new_text(capacity);
  for (;;) {
    const ssize_t count = read_all(descriptor_, decoded_ + size_, capacity - size_);
    if (count < 0) {
      reason = std::strerror(errno);
      return false;
    }
    size_ += static_cast<std::size_t>(count);
    if (size_ < capacity) {
      break;
    }
    if (size_ > kLongestText) {
      reason = "it has more than 268435455 bytes";
      return false;
    }
    capacity *= 2;
    decoded_ = static_cast<char *>(libglobal::xrealloc(decoded_, capacity + kPadding, LIBGLOBAL_CALLER(kSource)));
  }
  std::memset(decoded_ + size_, 0, kPadding);
  if (!is_regular || static_cast<std::size_t>(status_.st_size) != size_) {
    kept_ = static_cast<char *>(libglobal::xmemdup(decoded_, size_ + 1, LIBGLOBAL_CALLER(kSource)));
    close(descriptor_);
    descriptor_ = -1;
  }
  return true;
}

bool TextDocument::read(const char *file, Source source, Faults &faults) {
  file_ = static_cast<char *>(libglobal::xmemdup(file, std::strlen(file) + 1, LIBGLOBAL_CALLER(kSource)));
  faults.set_document(source, file_, this);
  const Reporter reporter(&faults, source, nullptr);
  const char *reason = nullptr;
  if (!load(file, reason)) {
    reporter.add_at(kNoOffset, "unreadable-file", "the file cannot be read: ", reason);
    return false;
  }
  Vector<std::uint32_t> repeated;
  ReadFault fault{};
  items_.reserve(size_ / 20);
  if (!read_text(decoded_, size_, true, items_, repeated, fault)) {
    reporter.add_at(static_cast<std::uint32_t>(fault.offset), "json", fault.text);
    return false;
  }
  for (const std::uint32_t offset : repeated) {
    reporter.add_at(offset, "repeated-member", "an earlier member of this object is named ",
                    Quoted{decoded_ + offset + 1});
  }
  if (!root().is(Shape::kObject)) {
    reporter.add("not-an-object", root(), "the document is ", in_words(root().shape()), ", not an object");
    return false;
  }
  return true;
}

bool TextDocument::is_unchanged() const {
  struct stat now {};
  return fstat(descriptor_, &now) == 0 && now.st_size == status_.st_size &&
         now.st_mtim.tv_sec == status_.st_mtim.tv_sec && now.st_mtim.tv_nsec == status_.st_mtim.tv_nsec;
}

// How many bytes were read: 0 when the text is not what it was.
std::size_t TextDocument::read_again(std::size_t offset, char *to, std::size_t size) const {
  size = std::min(size, offset < size_ ? size_ - offset : 0);
  if (kept_ != nullptr) {
    std::memcpy(to, kept_ + offset, size);
    return size;
  }
  if (descriptor_ < 0 || !is_unchanged()) {
    return 0;
  }
  std::size_t done = 0;
  while (done < size) {
    const ssize_t count = pread(descriptor_, to + done, size - done, static_cast<off_t>(offset + done));
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count <= 0) {
      return 0;
    }
    done += static_cast<std::size_t>(count);
  }
  return done;
}

bool TextDocument::count_lines() const {
  if (!lines_before_.empty()) {
    return true;
  }
  Vector<std::uint32_t> counted;
  std::size_t lines = 0;
  char block[kBlock];
  for (std::size_t at = 0; at < size_ || at == 0; at += kBlock) {
    counted.push_back(static_cast<std::uint32_t>(lines));
    const std::size_t read = read_again(at, block, kBlock);
    if (read == 0 && size_ != 0) {
      return false;
    }
    lines += count_breaks(block, read);
  }
  lines_before_ = std::move(counted);
  return true;
}

bool TextDocument::find_line(std::uint32_t offset, std::uint32_t &line, std::uint32_t &column) const {
  if (!count_lines()) {
    return false;
  }
  const std::size_t at = std::min<std::size_t>(offset, size_);
  std::size_t number = std::min(at / kBlock, lines_before_.size() - 1);
  char block[kBlock];
  std::size_t length = at - number * kBlock;
  if (length > 0 && read_again(number * kBlock, block, length) != length) {
    return false;
  }
  line = static_cast<std::uint32_t>(lines_before_[number] + count_breaks(block, length) + 1);
  // Back to the last line break, which may stand in a block before.
  std::size_t line_start = number * kBlock;
  for (;;) {
    const auto *const last = static_cast<const char *>(memrchr(block, '\n', length));
    if (last != nullptr) {
      line_start = number * kBlock + static_cast<std::size_t>(last - block) + 1;
      break;
    }
    // Blocks without one are not read: a text may be a single line.
    const auto here = lines_before_.begin() + static_cast<std::ptrdiff_t>(number);
    number = static_cast<std::size_t>(std::lower_bound(lines_before_.begin(), here, *here) - lines_before_.begin());
    if (number == 0) {
      line_start = 0;
      break;
    }
    number--;
    length = kBlock;
    if (read_again(number * kBlock, block, length) != length) {
      return false;
    }
  }
  column = static_cast<std::uint32_t>(at - line_start + 1);
  return true;
}

json_t *TextDocument::value_at(std::uint32_t offset, bool is_name) const {
  Part part(*this);
  return part.read_value(offset, is_name) ? part.value().to_json() : nullptr;
}

bool TextDocument::find_part(std::uint32_t offset, bool is_name, const char *path, std::uint32_t &found) const {
  Part part(*this);
  if (!part.read_value(offset, is_name)) {
    return false;
  }
  const Value value = follow(part.value(), path);
  if (!value.is_given()) {
    return false;
  }
  found = static_cast<std::uint32_t>(offset + part.start() + value.item()->offset);
  return true;
}

}  // namespace cli_engine
