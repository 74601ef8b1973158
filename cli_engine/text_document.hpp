// A document in a file: read once, and again in parts when somebody asks where or how something was declared.
//
// The text is not kept in memory, nor mapped: a mapped file that shrinks would end the process where it is touched. The
// file stays open instead, and what is read again counts only as long as the file is the one that was read.
#ifndef CLI_ENGINE_TEXT_DOCUMENT_HPP
#define CLI_ENGINE_TEXT_DOCUMENT_HPP

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>

#include "cli_engine/faults.hpp"
#include "cli_engine/text_reader.hpp"

namespace cli_engine {

class TextDocument {
 public:
  TextDocument() = default;
  TextDocument(const TextDocument &) = delete;
  TextDocument &operator=(const TextDocument &) = delete;
  ~TextDocument();

  // Reads a file, which is an object then. False after a report that it is none.
  [[nodiscard]] bool read(const char *file, Source source, Faults &faults);

  // The document; until release_values.
  [[nodiscard]] Value root() const { return {items_.data(), decoded_}; }
  void release_values();

  // Gives back most of the memory of what stands before an item, but for the root: nobody looks at that again.
  void release_before(const TextItem &item);

  [[nodiscard]] const char *file() const { return file_; }

  // 1-based; left as they are when the text cannot be read again.
  bool find_line(std::uint32_t offset, std::uint32_t &line, std::uint32_t &column) const;

  // The value of a member whose name begins at the offset, or the value that begins there: as JSON, a new reference; or
  // where in it the value at a path begins. Null and false when it cannot be read again or has no such path.
  [[nodiscard]] json_t *value_at(std::uint32_t offset, bool is_name) const;
  [[nodiscard]] bool find_part(std::uint32_t offset, bool is_name, const char *path, std::uint32_t &found) const;

 private:
  class Part;

  bool load(const char *file, const char *&reason);
  [[nodiscard]] bool is_unchanged() const;
  [[nodiscard]] std::size_t read_again(std::size_t offset, char *to, std::size_t size) const;
  bool count_lines() const;

  char *file_ = nullptr;
  int descriptor_ = -1;
  struct stat status_ {};
  char *kept_ = nullptr;  // the text, where it cannot be read from the descriptor again
  std::size_t size_ = 0;
  char *decoded_ = nullptr;
  TextItems items_;
  std::size_t released_ = 0;                    // how far decoded_ was given up
  mutable Vector<std::uint32_t> lines_before_;  // line breaks before each block of the text; made when asked for
};

}  // namespace cli_engine

#endif
