// Arguments that hide each other or what follows them.
#include <algorithm>
#include <map>

#include "cli_check/rules.hpp"
#include "cli_check/trial.hpp"

namespace cli_check::rules {

namespace {

using Names = std::map<std::string_view, const Candidate *, WordOrder>;

// The first argument of a command, mode or word; null for what has none, and for arguments.
const cli_node *first_argument(const cli_node &node) {
  return is_argument(node) ? nullptr : cli_node_first_arg(&node);
}

bool is_plain_keyword(const cli_node &argument) {
  return argument.type == TYPE_KEY && args_of(argument).empty();
}

// ---- Equal names ----

// The keyword or value, or those of a group without a name. Groups that have one may share it, as parts of one thing.
void collect_named(const cli_node &argument, std::vector<const cli_node *> &named) {
  if (argument.type != TYPE_CONTAINER) {
    named.push_back(&argument);
  } else if (name_of(argument).empty()) {
    for (const cli_node &inner : args_of(argument)) {
      collect_named(inner, named);
    }
  }
}

// Does a host that asks for the name get the earlier one of two that a line gives?
bool finds_first(const Scope &scope, const cli_node &earlier, const cli_node &later) {
  const cli_node &word = owner_of(later);
  const std::optional<Steps> steps =
      steps_of(word, [&](const cli_node &other) { return is_below(earlier, other) || is_below(later, other); });
  if (!steps) {
    return false;
  }
  const Typed typed(scope.engine, word, line_of(*steps));
  const auto is_taken = [&](const cli_node &node) {
    return std::find(typed.taken.begin(), typed.taken.end(), &node) != typed.taken.end();
  };
  return typed.end == &word && is_taken(earlier) && is_taken(later) &&
         cli_node_find(const_cast<cli_node *>(&word), later.name) == &earlier;
}

// Members that a line can give together, by the names that lead to them. Of two keywords alone the name says as much.
void look_at_names_given_together(const Scope &scope, const cli_node &group) {
  struct First {
    const cli_node *node;
    const cli_node *member;
  };
  std::map<std::string_view, First, WordOrder> first;
  for (const cli_node &member : args_of(group)) {
    std::vector<const cli_node *> named;
    collect_named(member, named);
    for (const cli_node *node : named) {
      const First earlier = first.try_emplace(name_of(*node), First{node, &member}).first->second;
      if (earlier.member != &member && !(is_plain_keyword(*node) && is_plain_keyword(*earlier.node)) &&
          finds_first(scope, *earlier.node, *node)) {
        scope.add(*node,
                  "handlers and conditions that ask for this name get the argument of that name that stands "
                  "before it");
      }
    }
  }
}

void look_at_equal_alternatives(const Scope &scope, const Contest &contest) {
  Names keys;
  for (const Candidate &candidate : contest.candidates) {
    if (candidate.node->type != TYPE_KEY || name_of(*candidate.node).empty()) {
      continue;
    }
    const auto [first, is_new] = keys.emplace(name_of(*candidate.node), &candidate);
    if (!is_new && first->second->member != candidate.member && candidate.only_first) {
      scope.add(*candidate.node,
                "cannot be reached: the keyword " + quoted(first->first) +
                    " of an earlier alternative is taken for it; let one keyword begin what both hold");
    }
  }
}

// ---- Keywords beside words ----

// The word of the node that has most letters in common with the name, or null.
const cli_node *closest_word(const Scope &scope, const cli_node &node, std::string_view name) {
  const cli_node *closest = nullptr;
  std::size_t most = 0;
  const auto consider = [&](const cli_node *word) {
    const std::size_t common = cli_engine::common_length(name, name_of(*word));
    if (common > most) {
      most = common;
      closest = word;
    }
  };
  // Words with the longest common beginning stand next to where the name would stand, or are a beginning of it.
  const auto after = scope.words.not_before(node, name);
  if (after != scope.words.of(node).end()) {
    consider(*after);
  }
  if (after != scope.words.of(node).begin()) {
    consider(*std::prev(after));
  }
  return closest;
}

// Is a line never complete without the argument?
bool is_always_due(const cli_node &argument) {
  if (!is_argument(argument)) {
    return true;
  }
  if (is_optional(argument) || (argument.parent->type == TYPE_CONTAINER && is_exclusive(*argument.parent))) {
    return false;
  }
  for (const cli_node &earlier : args_of(*argument.parent)) {
    if (&earlier == &argument) {
      break;
    }
    if (!is_optional(earlier) && may_stay_open(earlier)) {
      return false;
    }
  }
  return is_always_due(*argument.parent);
}

// Of values that begin an argument and may be left out, does one accept a beginning of a word below its command? The
// word goes before it there.
bool gives_way(const Scope &scope, const cli_node &argument) {
  Candidates first;
  append_first(argument, &argument, true, first);
  return std::any_of(first.begin(), first.end(), [&](const Candidate &candidate) {
    const std::vector<const cli_node *> &words = scope.words.of(*argument.parent);
    const cli_node *optional = candidate.node;
    while (optional != &argument && !is_optional(*optional)) {
      optional = optional->parent;
    }
    return candidate.node->type == TYPE_VALUE && is_optional(*optional) &&
           std::any_of(words.begin(), words.end(), [&](const cli_node *word) {
             return !accepted_beginning(*candidate.node, name_of(*word)).empty() ||
                    !accepted_beginning(*candidate.node, in_small_letters(name_of(*word))).empty();
           });
  });
}

std::string names_of_required(const cli_node *member) {
  for (; member != nullptr; member = cli_node_next_arg(member)) {
    if (!is_optional(*member)) {
      return in_words(*member);
    }
  }
  return "";
}

}  // namespace

void unreachable_name(const Scope &scope, const cli_node &node) {
  if (node.type != TYPE_CONTAINER) {
    return;
  }
  if (!is_exclusive(node)) {
    return look_at_names_given_together(scope, node);
  }
  for (const Contest &contest : contests_of(node)) {
    look_at_equal_alternatives(scope, contest);
  }
}

void empty_group(const Scope &scope, const cli_node &node) {
  if (node.type == TYPE_CONTAINER && args_of(node).empty()) {
    scope.add(node, is_always_due(node) ? "the group is required and has no members: its command is never complete"
                                        : "the group has no members");
  }
}

void never_bare(const Scope &scope, const cli_node &node) {
  const cli_node *group = first_argument(node);
  if (group == nullptr || group->type != TYPE_CONTAINER || is_optional(*group) || is_exclusive(*group)) {
    return;
  }
  std::size_t members = 0;
  for (const cli_node &member : args_of(*group)) {
    if (!is_optional(member)) {
      return;
    }
    members++;
  }
  if (members > 1) {
    scope.add(node, std::string("all its arguments are optional, and yet one must be given: ") +
                        (cli_node_position(group, nullptr, nullptr, nullptr, nullptr) != 0
                             ? "put them into a \"container\" that is \"#optional\""
                             : "the group that holds them is not \"#optional\""));
  }
}

void open_argument(const Scope &scope, const cli_node &node) {
  const cli_node *argument = first_argument(node);
  if (node.type == TYPE_SUBCONFIG && argument != nullptr && (is_optional(*argument) || may_stay_open(*argument))) {
    scope.add(*argument,
              "what is left out of it when the mode is entered can still be given in each line inside the "
              "mode");
  }
}

void hidden_commands(const Scope &scope, const cli_node &node) {
  const cli_node *argument = first_argument(node);
  const cli_node *first = cli_node_first_choice(&node);
  if (node.type != TYPE_SUBCONFIG && argument != nullptr && !is_optional(*argument) && first != nullptr &&
      !gives_way(scope, *argument)) {
    scope.add(*argument, "it is required, so that " + quoted(name_of(*first)) +
                             (cli_node_next_choice(first) == nullptr ? "" : " and the other words") + " of " +
                             in_words(node) + " can be given only after it");
  }
}

// A keyword is taken before a word of the same beginning, where both may come.
void taken_abbreviation(const Scope &scope, const cli_node &node) {
  const cli_node *argument = first_argument(node);
  if (node.type == TYPE_SUBCONFIG || argument == nullptr || words_of(node).empty()) {
    return;
  }
  std::vector<cli_node *> inner = {const_cast<cli_node *>(argument)};
  append_nodes_below(*inner[0], inner);
  for (const cli_node *key : inner) {
    const cli_node *word = key->type == TYPE_KEY ? closest_word(scope, node, name_of(*key)) : nullptr;
    const std::optional<std::string> before = word == nullptr ? std::nullopt : line_before(*key);
    if (!before) {
      continue;
    }
    const std::string text(name_of(*word).substr(0, cli_engine::common_length(name_of(*key), name_of(*word))));
    const bool is_whole = text.size() == word->name_len;
    if (scope.words.selected(node, text) == word && Typed(scope.engine, node, *before + text).last() == key &&
        (is_whole ? Typed(scope.engine, node, *before).end == &node
                  : Typed(scope.engine, node, *before + word->name).last() == word)) {
      scope.add(scope.declaration(*key), in_words(*key),
                "takes " + quoted(text) + (is_whole ? " from the word " : ", as an abbreviation, from the word ") +
                    in_words(*word),
                is_whole || text.size() > 1 ? CLI_WARNING : CLI_NOTE);
    }
  }
}

void blocking_group(const Scope &scope, const cli_node &node) {
  if (node.type != TYPE_CONTAINER || is_exclusive(node)) {
    return;
  }
  for (const cli_node &member : args_of(node)) {
    const cli_node *next = cli_node_next_arg(&member);
    Candidates first;
    if (next != nullptr && !is_optional(member) && may_stay_open(member)) {
      append_first(*next, next, true, first);
    }
    if (first.empty()) {
      continue;
    }
    const auto stays_open = [&](const cli_node &other) {
      return is_below(other, member) && !is_optional(other) && may_stay_open(other);
    };
    const cli_node &blocked = *first.front().node;
    const std::optional<std::string> before = line_before(blocked, stays_open);
    const std::string text = blocked.type == TYPE_KEY ? std::string(name_of(blocked)) : sample_of(blocked).value_or("");
    if (!before || text.empty() || Typed(scope.engine, owner_of(node), *before + text).last() == &blocked) {
      continue;
    }
    const Typed typed(scope.engine, owner_of(node), *before);
    const std::string left_out = typed.end == nullptr ? "" : names_of_required(next);
    if (std::any_of(typed.taken.begin(), typed.taken.end(),
                    [&](const cli_node *taken) { return is_below(*taken, member); })) {
      scope.add(member,
                "it can end in something optional, is never complete then, and blocks " + in_words(*next) +
                    (left_out.empty() ? "" : "; the line is taken without " + left_out + ", which is required"));
    }
  }
}

}  // namespace cli_check::rules
