// What the engine itself says of a document's values: base types, accepted texts, aliases.
#ifndef CLI_SHELL_CHECK_MATCH_HPP
#define CLI_SHELL_CHECK_MATCH_HPP

#include <jansson.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "cli_engine/validator.h"
#include "cli_shell/check_language.hpp"

namespace cli_check {

struct JsonRelease {
  void operator()(json_t *value) const { json_decref(value); }
};
using JsonRef = std::unique_ptr<json_t, JsonRelease>;  // owns one reference

// The same value as the engine reads it. Of repeated members the first counts; "#handler" is left out, because the
// functions are not there.
[[nodiscard]] JsonRef to_engine(const JsonValue &value);

// The base type of a registered type.
[[nodiscard]] std::optional<BaseType> base_type(validator_typesystem *types, std::string_view name);

// The text by which an entry of an enumeration is given.
[[nodiscard]] std::string entry_text(const JsonValue &entry);

// The engine's check of one value argument, which must be sound.
class Acceptance {
 public:
  Acceptance(validator_typesystem *types, const Node &value);
  ~Acceptance();
  Acceptance(const Acceptance &) = delete;
  Acceptance &operator=(const Acceptance &) = delete;

  [[nodiscard]] bool accepts(const std::string &text) const {
    return validator_match(&validator_, text.c_str(), text.size()) != 0;
  }
  [[nodiscard]] const validator &facets() const { return validator_; }

 private:
  JsonRef declaration_;
  validator validator_ = {};
};

}  // namespace cli_check

#endif
