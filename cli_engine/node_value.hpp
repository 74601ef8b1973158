// What a value's token says, before it becomes JSON.
#ifndef CLI_ENGINE_NODE_VALUE_HPP
#define CLI_ENGINE_NODE_VALUE_HPP

#include <cstdint>
#include <string_view>

#include "cli_engine/cli_engine.h"

namespace cli_engine {

// What the token stands for: itself, or the entry of an enumeration that it abbreviates. A NUL follows the text.
std::string_view given_text(const validator &v, const token &given);

// The number of a text that a type of BASETYPE_INT or BASETYPE_UINT accepted; 0 for any other text.
std::int64_t number_of(const validator &v, std::string_view text);

}  // namespace cli_engine

#endif
