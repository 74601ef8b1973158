// A document read from text.
#ifndef CLI_ENGINE_TEXT_DOCUMENT_HPP
#define CLI_ENGINE_TEXT_DOCUMENT_HPP

#include <cstdint>

namespace cli_engine {

class TextDocument {
 public:
  void find_line(std::uint32_t offset, std::uint32_t &line, std::uint32_t &column) const;
};

}  // namespace cli_engine

#endif
