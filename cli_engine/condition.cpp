// "if" and "if-not": what the last line matched decides.
#include "cli_engine/node.hpp"
#include "libglobal/report.hpp"

namespace {

using cli_engine::kEngineSource;

bool check_condition(cli *engine, const json_t *condition, bool negate) {
  if (condition == nullptr) {
    return false;
  }
  if (json_is_array(condition)) {
    const std::size_t size = json_array_size(condition);
    for (std::size_t i = 0; i < size; i++) {
      if (!check_condition(engine, json_array_get(condition, i), negate)) {
        return false;
      }
    }
    return true;
  }
  if (!json_is_string(condition)) {
    log_assert_fmt("0", kEngineSource, __func__, "Condition type is not supported");
  }
  const cli_node *node = cli_node_find(&engine->root, json_string_value(condition));
  return (node != nullptr) != negate;  // only nodes that the line used are found
}

}  // namespace

int cli_check_parameter_condition(cli *engine, json_t *holder) {
  const json_t *condition = json_object_get(holder, "if");
  const json_t *opposite = json_object_get(holder, "if-not");
  if (condition == nullptr && opposite == nullptr) {
    return 1;
  }
  return check_condition(engine, condition, false) || check_condition(engine, opposite, true) ? 1 : 0;
}
