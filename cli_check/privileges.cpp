// Entries of the privilege table that have no effect.
#include <algorithm>
#include <map>

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

// An entry is for every command of its words in every mode of its prompt name; aliases have no level.
void shared_privilege(const Scope &scope) {
  const auto is_entry = [](const Declaration &entry) {
    return entry.kind == Declaration::Kind::kEntry && entry["Level"].integer() > 0;
  };
  if (std::none_of(scope.declarations.begin(), scope.declarations.end(), is_entry)) {
    return;
  }
  std::map<std::pair<std::string, std::string>, std::vector<const cli_node *>> commands;
  for (const cli_node *node : scope.nodes) {
    const char *prompt =
        is_argument(*node) ? nullptr : cli_get_parent_subconfig(const_cast<cli_node *>(node))->mode_prompt;
    if (!is_argument(*node) && !is_builtin(*node)) {
      commands[{words_in_mode(*node), prompt == nullptr ? "" : prompt}].push_back(node);
    }
  }
  for (const Declaration &entry : scope.declarations) {
    const auto found =
        is_entry(entry) ? commands.find({entry["Name"].string(), entry["Prompt"].string()}) : commands.end();
    if (found == commands.end()) {
      continue;
    }
    const std::vector<const cli_node *> &named = found->second;
    if (named[0]->type == TYPE_ALIAS) {
      scope.add(entry.place, entry.where, in_words(*named[0]) + " is an alias, which every level sees");
    } else if (named.size() > 1) {
      scope.add(entry.place, entry.where,
                "the entry is for " + std::to_string(named.size()) + " commands of modes with one prompt name: " +
                    in_words(*named[0]) + " and " + in_words(*named[1]) + (named.size() > 2 ? " among them" : ""));
    }
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
