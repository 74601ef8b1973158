// Words that cannot be typed, reached or abbreviated.
#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "cli_check/rules.hpp"
#include "cli_check/trial.hpp"

namespace cli_check::rules {

namespace {

bool is_own_word(const cli_node &node) {
  return !is_argument(node) && !is_builtin(node);
}

bool has_own_words(const cli_node &node) {
  for (const cli_node &word : words_of(node)) {
    if (!is_builtin(word)) {
      return true;
    }
  }
  return false;
}

// ---- Aliases ----

std::string_view first_word(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
  return text.substr(0, text.find_first_of(" \t"));
}

// Does the expansion come back to an alias that was expanded already?
bool expands_to_itself(const Scope &scope, const cli_node &alias) {
  std::unordered_set<const cli_node *> expanded;
  const cli_node *at = &alias;
  while (at != nullptr && at->type == TYPE_ALIAS && expanded.size() <= cli_engine::kMostExpansions) {
    if (!expanded.insert(at).second) {
      return true;
    }
    at = scope.words.selected(*at->parent, first_word(at->alias.alias));
  }
  return false;
}

// The node that the alias selects when it is typed in its mode, or null; with the first word that does not fit, whether
// the words before it get what they require or nothing.
const cli_node *parse_alias(const Scope &scope, const cli_node &alias, std::string &misfit) {
  Steps words = {{&alias, alias.alias.alias}};
  for (const cli_node *at = alias.parent; at->type != TYPE_SUBCONFIG; at = at->parent) {
    words.insert(words.begin(), Step{at, at->name});
  }
  std::optional<Steps> before = steps_of(alias, [](const cli_node &) { return false; });
  if (!before) {
    return nullptr;
  }
  before->back().text = alias.alias.alias;
  for (const Steps &steps : {*before, words}) {
    const Typed typed(scope.engine, alias, line_of(steps));
    if (typed.end != nullptr || typed.code == E_INCOMPLETE) {  // more may be typed after an alias
      misfit.clear();
      return typed.end;
    }
    misfit = misfit.empty() ? quoted(typed.misfit) : misfit;
  }
  return nullptr;
}

template <class Visit>
void visit_sound_aliases(const Scope &scope, const Visit &visit) {
  for (const cli_node *node : scope.nodes) {
    if (node->type == TYPE_ALIAS && !first_word(node->alias.alias).empty() && !expands_to_itself(scope, *node)) {
      std::string misfit;
      const cli_node *selected = parse_alias(scope, *node, misfit);
      visit(*node, selected, misfit);
    }
  }
}

// ---- Abbreviations ----

void look_at_abbreviations(const Scope &scope, const cli_node &group, const std::vector<Candidate> &sorted) {
  for (std::size_t at = 0; at + 1 < sorted.size(); ++at) {
    const Candidate &key = sorted[at];
    const Candidate &next = sorted[at + 1];
    // Two keywords inside one member are that member's affair; equal names that of another rule.
    if (begins_with(name_of(*next.node), name_of(*key.node)) && next.member != key.member &&
        !cli_engine::same_name(name_of(*next.node), name_of(*key.node))) {
      const bool is_always = is_exclusive(group) && key.only_first && next.only_first;
      scope.add(*key.node,
                std::string(is_always ? "cannot be abbreviated: " : "cannot be abbreviated beside the other: ") +
                    quoted(name_of(*next.node)) + " begins with the whole of it");
    }
  }
}

void look_at_keywords(const Scope &scope, const cli_node &group) {
  for (const Contest &contest : contests_of(group)) {
    std::vector<Candidate> keys;
    std::copy_if(contest.candidates.begin(), contest.candidates.end(), std::back_inserter(keys),
                 [](const Candidate &c) { return c.node->type == TYPE_KEY && !name_of(*c.node).empty(); });
    std::stable_sort(keys.begin(), keys.end(), [](const Candidate &a, const Candidate &b) {
      return WordOrder()(name_of(*a.node), name_of(*b.node));
    });
    look_at_abbreviations(scope, group, keys);
  }
}

void look_at_words(const Scope &scope, const cli_node &node) {
  const WordIndex::Words &words = scope.words.of(node);
  // In the order of the words, those that begin with a word come right after it.
  for (std::size_t at = 0; at + 1 < words.size(); ++at) {
    if (!is_builtin(*words[at]) && !name_of(*words[at]).empty() &&
        begins_with(name_of(*words[at + 1]), name_of(*words[at]))) {
      scope.add(*words[at],
                "cannot be abbreviated: " + quoted(name_of(*words[at + 1])) + " begins with the whole of it");
    }
  }
}

// ---- Words that hide others ----

struct Hidden {
  std::vector<const cli_node *> by;  // words of modes inside
};

std::size_t modes_inside(const Scope &scope, const cli_node *mode) {
  std::size_t count = 0;
  for (const cli_node *node : scope.nodes) {
    const cli_node *at = node->type == TYPE_SUBCONFIG ? node->parent : nullptr;
    while (at != nullptr && at != mode) {
      at = at->parent;
    }
    count += at == nullptr ? 0 : 1;
  }
  return count;
}

}  // namespace

void untypeable_name(const Scope &scope, const cli_node &node) {
  const std::string_view name = name_of(node);
  const bool is_typed = !is_argument(node) || node.type == TYPE_KEY;
  if (is_builtin(node)) {
    return;
  }
  if (name.empty()) {
    if (is_typed || node.type == TYPE_VALUE) {
      scope.add(node,
                is_typed ? "a name of no letters cannot be typed" : "a name of no letters is not found by handlers");
    }
  } else if (name.find(' ') != std::string_view::npos) {
    scope.add(node, "a name with a blank in it is not found by conditions and handlers");
  } else if (is_typed && name.find_first_of("\t\n\v\f\r\"'\\") != std::string_view::npos) {
    scope.add(node, "blanks, quotes and backslashes of a name can be typed only behind a backslash");
  } else if (is_typed && name.find_first_of("?|") != std::string_view::npos) {
    scope.add(node, "at a prompt \"?\" asks for help, and \"|\" begins a filter");
  } else if (!is_argument(node) && node.parent->type == TYPE_SUBCONFIG && (name[0] == '!' || name[0] == '#')) {
    scope.add(node, "a line that begins with \"!\" or \"#\" is a comment");
  }
  if (node.type == TYPE_VALUE) {
    json_t *entries = (node.value.validator.flags & VALIDATOR_ENUM) != 0 ? node.value.validator.enum_array : nullptr;
    for (std::size_t at = 0; at < json_array_size(entries); ++at) {
      if (const std::string entry = entry_text(json_array_get(entries, at)); entry.find(' ') != std::string::npos) {
        scope.add(scope.declaration(node).at("#enum").at(at), in_words(node),
                  "the entry " + quoted(entry) + " holds a blank: it can be typed only in quotes");
      }
    }
  }
}

void dead_end(const Scope &scope, const cli_node &node) {
  if (is_own_word(node) && !has_own_words(node)) {
    if (node.type == TYPE_WORD) {
      scope.add(node, "leads nowhere: it has no \"#handler\" and no words follow it");
    } else if (node.type == TYPE_SUBCONFIG) {
      scope.add(node, "the mode has no commands of its own");
    }
  }
}

void alias_line(const Scope &scope) {
  const auto complain = [&](const cli_node &alias, std::string text) {
    scope.add(scope.declaration(alias).at("#alias"), in_words(alias), std::move(text));
  };
  for (const cli_node *node : scope.nodes) {
    if (node->type == TYPE_ALIAS && first_word(node->alias.alias).empty()) {
      complain(*node, "the alias stands for nothing");
    } else if (node->type == TYPE_ALIAS && expands_to_itself(scope, *node)) {
      complain(*node, "the alias expands to itself");
    }
  }
  visit_sound_aliases(scope, [&](const cli_node &alias, const cli_node *, const std::string &misfit) {
    if (!misfit.empty()) {
      complain(alias, "the line that it stands for does not parse at " + misfit);
    }
  });
}

void alias_level(const Scope &scope) {
  visit_sound_aliases(scope, [&](const cli_node &alias, const cli_node *selected, const std::string &) {
    if (selected != nullptr && selected->privilege > 0) {
      scope.add(alias, "is shown at every level, while " + in_words(*selected) + ", which it stands for, needs level " +
                           std::to_string(selected->privilege));
    }
  });
}

void hidden_word(const Scope &scope) {
  std::vector<const cli_node *> order;
  std::unordered_map<const cli_node *, Hidden> hidden;
  for (const cli_node *node : scope.nodes) {
    if (!is_own_word(*node) || node->parent->type != TYPE_SUBCONFIG) {
      continue;
    }
    for (cli_node *mode = cli_get_parent_subconfig(node->parent); mode != nullptr;
         mode = cli_get_parent_subconfig(mode)) {
      const cli_node *outer = scope.words.named(*mode, node->name);
      if (outer != nullptr && !is_builtin(*outer) && !words_of(*outer).empty()) {
        Hidden &row = hidden[outer];
        if (row.by.empty()) {
          order.push_back(outer);
        }
        row.by.push_back(node);
        break;
      }
    }
  }
  for (const cli_node *outer : order) {
    const std::vector<const cli_node *> &by = hidden[outer].by;
    if (by.size() > 1 && by.size() == modes_inside(scope, outer->parent)) {
      continue;  // a word of every mode, such as one that negates, is meant so
    }
    scope.add(*by[0], "in this mode" + (by.size() == 1 ? "" : " and " + std::to_string(by.size() - 1) + " others") +
                          ", hides " + in_words(*outer) + " and what follows it");
  }
}

void no_abbreviation(const Scope &scope) {
  look_at_words(scope, scope.engine->root);
  for (const cli_node *node : scope.nodes) {
    node->type == TYPE_CONTAINER ? look_at_keywords(scope, *node) : look_at_words(scope, *node);
  }
}

}  // namespace cli_check::rules
