// Text of any origin, made fit for JSON.
#ifndef CLI_ENGINE_UTF8_HPP
#define CLI_ENGINE_UTF8_HPP

#include <string_view>

#include "libglobal/dyn_string.h"

namespace cli_engine {

// Appends a text in which each byte that belongs to no UTF-8 character is replaced by U+FFFD.
void append_utf8(DynString &out, std::string_view text);

}  // namespace cli_engine

#endif
