// Conditions and variants of prompts.
#include <algorithm>
#include <optional>
#include <unordered_map>

#include "cli_check/rules.hpp"

namespace cli_check::rules {

namespace {

constexpr const char *kConditions[] = {"if", "if-not"};

std::vector<std::string> words_in(std::string_view path) {
  std::vector<std::string> words;
  while (true) {
    path.remove_prefix(std::min(path.find_first_not_of(' '), path.size()));
    if (path.empty()) {
      return words;
    }
    const std::string_view word = path.substr(0, path.find(' '));
    words.push_back(in_small_letters(word));
    path.remove_prefix(word.size());
  }
}

// The nodes that a line can mark, by name.
class Names {
 public:
  explicit Names(const std::vector<cli_node *> &nodes) {
    for (const cli_node *node : nodes) {
      if (node->type != TYPE_ALIAS && !name_of(*node).empty()) {
        nodes_[in_small_letters(name_of(*node))].push_back(node);
      }
    }
  }

  // Is there a chain of nodes of these names, each somewhere below the one before?
  bool has_path(std::string_view path) {
    const auto [known, is_new] = paths_.try_emplace(std::string(path), false);
    if (is_new) {
      const std::vector<std::string> words = words_in(path);
      const auto last = words.empty() ? nodes_.end() : nodes_.find(words.back());
      known->second = last != nodes_.end() && std::any_of(last->second.begin(), last->second.end(),
                                                          [&](const cli_node *n) { return stands_below(*n, words); });
    }
    return known->second;
  }

 private:
  static bool stands_below(const cli_node &node, const std::vector<std::string> &words) {
    std::size_t left = words.size() - 1;
    for (const cli_node *at = node.parent; at != nullptr && left > 0; at = at->parent) {
      left -= cli_engine::same_name(name_of(*at), words[left - 1]) ? 1 : 0;
    }
    return left == 0;
  }

  std::unordered_map<std::string, std::vector<const cli_node *>> nodes_;
  std::unordered_map<std::string, bool> paths_;
};

json_t *variants_of(const cli_node &node) {
  return node.type == TYPE_SUBCONFIG && json_is_array(node.subconfig.prompt) ? node.subconfig.prompt : nullptr;
}

Part part_of_variant(const Scope &scope, const cli_node &node, std::size_t index) {
  return scope.declaration(node).at("#prompt").at(index);
}

// Calls visit(value, part) for every part of a condition that is no array.
template <class Visit>
void visit_leaves(json_t *condition, const Part &part, const Visit &visit) {
  if (!json_is_array(condition)) {
    return visit(condition, part);
  }
  for (std::size_t at = 0; at < json_array_size(condition); ++at) {
    visit_leaves(json_array_get(condition, at), part.at(at), visit);
  }
}

template <class Visit>
void visit_conditions(const Scope &scope, const cli_node &node, const Visit &visit) {
  json_t *variants = variants_of(node);
  for (std::size_t at = 0; at < json_array_size(variants); ++at) {
    for (const char *member : kConditions) {
      if (json_t *condition = json_object_get(json_array_get(variants, at), member)) {
        visit_leaves(condition, part_of_variant(scope, node, at).at(member), visit);
      }
    }
  }
}

// The only path of a condition.
std::optional<std::string> single_path(const json_t *condition) {
  if (json_array_size(condition) == 1) {
    return single_path(json_array_get(condition, 0));
  }
  return json_is_string(condition) ? std::optional(in_small_letters(json_string_value(condition))) : std::nullopt;
}

bool always_holds(const json_t *variant) {
  const json_t *condition = json_object_get(variant, "if");
  const json_t *opposite = json_object_get(variant, "if-not");
  const auto is_empty = [](const json_t *value) { return json_is_array(value) && json_array_size(value) == 0; };
  return (condition == nullptr && opposite == nullptr) || is_empty(condition) || is_empty(opposite) ||
         (single_path(condition) && single_path(condition) == single_path(opposite));
}

bool same_conditions(const json_t *a, const json_t *b) {
  return std::all_of(std::begin(kConditions), std::end(kConditions), [&](const char *member) {
    const json_t *one = json_object_get(a, member);
    const json_t *other = json_object_get(b, member);
    return one == nullptr ? other == nullptr : json_equal(one, other) == 1;
  });
}

// A path and its opposite leave nothing out.
bool leaves_nothing_out(const json_t *variants) {
  std::vector<std::string> wanted;
  std::vector<std::string> unwanted;
  for (std::size_t at = 0; at < json_array_size(variants); ++at) {
    const json_t *variant = json_array_get(variants, at);
    if (always_holds(variant)) {
      return true;
    }
    if (const auto path = single_path(json_object_get(variant, "if"))) {
      wanted.push_back(*path);
    }
    if (const auto path = single_path(json_object_get(variant, "if-not"))) {
      unwanted.push_back(*path);
    }
  }
  return std::any_of(wanted.begin(), wanted.end(), [&](const std::string &path) {
    return std::find(unwanted.begin(), unwanted.end(), path) != unwanted.end();
  });
}

}  // namespace

void condition_path(const Scope &scope) {
  Names names(scope.nodes);
  for (const cli_node *node : scope.nodes) {
    visit_conditions(scope, *node, [&](const json_t *value, const Part &part) {
      if (json_is_string(value) && !names.has_path(json_string_value(value))) {
        scope.add(part, in_words(*node), "the path " + quoted(json_string_value(value)) + " names nothing");
      }
    });
  }
}

void condition_later(const Scope &scope, const cli_node &node) {
  visit_conditions(scope, node, [&](const json_t *value, const Part &part) {
    if (!json_is_string(value)) {
      scope.add(part, in_words(node),
                std::string("a condition is a path or an array of paths, not ") + cli_engine::in_words(part.shape()) +
                    "; this one ends the process once it is looked at");
    }
  });
}

void condition_either(const Scope &scope, const cli_node &node) {
  json_t *variants = variants_of(node);
  for (std::size_t at = 0; at < json_array_size(variants); ++at) {
    const json_t *variant = json_array_get(variants, at);
    if (json_object_get(variant, "if") != nullptr && json_object_get(variant, "if-not") != nullptr &&
        !always_holds(variant)) {
      return scope.add(part_of_variant(scope, node, at), in_words(node),
                       "a variant with \"if\" and \"if-not\" holds when one of them does, not only when both do");
    }
  }
}

void prompt_fallback(const Scope &scope, const cli_node &node) {
  if (json_t *variants = variants_of(node); json_array_size(variants) > 0 && !leaves_nothing_out(variants)) {
    scope.add(scope.declaration(node).at("#prompt"), in_words(node),
              "when no variant of \"#prompt\" holds the process ends: add a last one without conditions");
  }
}

void unreachable_variant(const Scope &scope, const cli_node &node) {
  json_t *variants = variants_of(node);
  for (std::size_t at = 1; at < json_array_size(variants); ++at) {
    for (std::size_t before = 0; before < at; ++before) {
      const json_t *earlier = json_array_get(variants, before);
      if (always_holds(earlier) || same_conditions(earlier, json_array_get(variants, at))) {
        scope.add(part_of_variant(scope, node, at), in_words(node),
                  "the variant is never chosen: one before it " +
                      std::string(always_holds(earlier) ? "always holds" : "has the same conditions"));
        break;
      }
    }
  }
}

}  // namespace cli_check::rules
