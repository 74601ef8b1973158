// Entries of the privilege table that have no effect.
#include <algorithm>

#include "cli_check/rules.hpp"

namespace cli_check::rules {

void unread_privilege(const Scope &scope, const Declaration &entry) {
  if (entry.kind == Declaration::Kind::kOtherEntry && entry["Level"]) {
    scope.add(entry.place, entry.where, "only entries named by 1 to 20 decimal digits are read");
  }
}

void privilege_without_effect(const Scope &scope, const Declaration &entry) {
  if (entry.kind != Declaration::Kind::kEntry || !entry["Name"] || !entry["Prompt"]) {
    return;
  }
  const Part level = entry["Level"];
  if (!level) {
    return scope.add(entry.place, entry.where, "without a \"Level\" the entry has no effect");
  }
  const json_int_t written = level.integer();
  const auto kept = static_cast<int32_t>(written);
  if (written != kept || written < 0) {
    scope.add(level, entry.where,
              "the level " + std::to_string(written) + " counts as " + std::to_string(std::max(0, kept)));
  }
}

// A level that is not its parent's was given by an entry.
void unreachable_level(const Scope &scope, const cli_node &node) {
  if (is_argument(node) || is_builtin(node) || node.type == TYPE_ALIAS || node.privilege == node.parent->privilege) {
    return;
  }
  const cli_node *highest = &node;
  for (const cli_node *at = node.parent; at != nullptr; at = at->parent) {
    highest = at->privilege > highest->privilege ? at : highest;
  }
  if (highest != &node) {
    scope.add(node, "nobody of level " + std::to_string(node.privilege) + " reaches it: " + in_words(*highest) +
                        " needs level " + std::to_string(highest->privilege));
  }
}

}  // namespace cli_check::rules
