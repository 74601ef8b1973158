// The reader of texts: JSON into a row of items.
#ifndef CLI_ENGINE_TEXT_READER_HPP
#define CLI_ENGINE_TEXT_READER_HPP

#include <cstddef>
#include <cstdint>

#include "cli_engine/document.hpp"
#include "cli_engine/vector.hpp"

namespace cli_engine {

using TextItems = Vector<TextItem>;

// Why a text is no document, and where.
struct ReadFault {
  std::size_t offset;
  const char *text;
};

// So many bytes, all NUL, must stand behind a text that is read.
inline constexpr std::size_t kPadding = 8;

// Reads the value with which the text begins, decoding strings in place; `alone` refuses what follows it. Members whose
// names stood in their object before are put into `repeated`. False, with the fault, when the text cannot be read.
[[nodiscard]] bool read_text(char *text, std::size_t size, bool alone, TextItems &items,
                             Vector<std::uint32_t> &repeated, ReadFault &fault);

}  // namespace cli_engine

#endif
