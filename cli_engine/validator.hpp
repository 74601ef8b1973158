// Building validators from either kind of document.
#ifndef CLI_ENGINE_VALIDATOR_HPP
#define CLI_ENGINE_VALIDATOR_HPP

#include <string_view>

#include "cli_engine/declaration.hpp"
#include "cli_engine/faults.hpp"
#include "cli_engine/validator.h"

namespace cli_engine {

// As validator_open. Facets that contradict each other are reported, or end the process.
[[nodiscard]] int open_validator(const validator_typesystem *types, validator *v, const Declaration &declaration,
                                 const Reporter *reporter);

// Appends "; did you mean ...?" when a type's name resembles one that could stand there.
void suggest_type(const validator_typesystem &types, std::string_view name, DynString &out);

}  // namespace cli_engine

#endif
