// "if" and "if-not": what the last line matched decides.
#include "cli_engine/condition.hpp"

#include "cli_engine/node.hpp"
#include "libglobal/report.hpp"

namespace cli_engine {
namespace {

bool check_condition(cli *engine, const Value &condition, bool negate, const Reporter *reporter) {
  if (!condition.is_given()) {
    return false;
  }
  if (condition.is(Shape::kArray)) {
    bool holds = true;
    condition.for_each_item(
        [&](std::size_t, const Value &item) { holds = holds && check_condition(engine, item, negate, reporter); });
    return holds;
  }
  if (!condition.is(Shape::kString)) {
    if (reporter == nullptr) {
      log_assert_fmt("0", kEngineSource, __func__, "Condition type is not supported");
    }
    reporter->add("condition-type", condition, "a condition is a path or an array of paths, not ",
                  in_words(condition.shape()));
    return false;
  }
  const cli_node *node = cli_node_find(&engine->root, condition.text());
  return (node != nullptr) != negate;  // only nodes that the line used are found
}

}  // namespace

bool condition_holds(cli *engine, const Value &holder, const Reporter *reporter) {
  const Value condition = holder.member("if");
  const Value opposite = holder.member("if-not");
  if (!condition.is_given() && !opposite.is_given()) {
    return true;
  }
  return check_condition(engine, condition, false, reporter) || check_condition(engine, opposite, true, reporter);
}

}  // namespace cli_engine

int cli_check_parameter_condition(cli *engine, json_t *holder) {
  return engine != nullptr && cli_engine::condition_holds(engine, cli_engine::Value(holder), nullptr) ? 1 : 0;
}
