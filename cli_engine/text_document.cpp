#include "cli_engine/text_document.hpp"

namespace cli_engine {
void TextDocument::find_line(std::uint32_t, std::uint32_t &line, std::uint32_t &column) const {
  line = column = 0;
}
}  // namespace cli_engine
