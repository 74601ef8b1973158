// Arguments that hide each other or what follows them.
#include <algorithm>
#include <map>

#include "cli_check/rules.hpp"

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
      if (earlier.member != &member && !(is_plain_keyword(*node) && is_plain_keyword(*earlier.node))) {
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

// Of those that are given beside a word, only this keyword is meant by the text.
bool means_keyword(const Candidates &beside, const cli_node &key, std::string_view text) {
  return std::none_of(beside.begin(), beside.end(), [&](const Candidate &other) {
    return other.node->type == TYPE_KEY && !cli_engine::same_name(name_of(*other.node), name_of(key)) &&
           begins_with(name_of(*other.node), text) &&
           (!cli_engine::same_name(name_of(key), text) || cli_engine::same_name(name_of(*other.node), text));
  });
}

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
    scope.add(node, is_optional(node) ? "the group has no members"
                                      : "the group is required and has no members: its command is never complete");
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
  if (node.type != TYPE_SUBCONFIG && argument != nullptr && !is_optional(*argument) && first != nullptr) {
    scope.add(*argument, "it is required, so that " + quoted(name_of(*first)) +
                             (cli_node_next_choice(first) == nullptr ? "" : " and the other words") + " of " +
                             in_words(node) + " can be given only after it");
  }
}

// A keyword is taken before a word of the same beginning, wherever it stands among the arguments: for a text that means
// this keyword alone, and without it would mean the word.
void taken_abbreviation(const Scope &scope, const cli_node &node) {
  const cli_node *argument = first_argument(node);
  if (node.type == TYPE_SUBCONFIG || argument == nullptr || words_of(node).empty()) {
    return;
  }
  const Candidates beside = beside_words(*argument);
  for (const Candidate &candidate : beside) {
    const std::string_view name = name_of(*candidate.node);
    const cli_node *word = candidate.node->type == TYPE_KEY ? closest_word(scope, node, name) : nullptr;
    if (word == nullptr) {
      continue;
    }
    const std::string_view text = name_of(*word).substr(0, cli_engine::common_length(name, name_of(*word)));
    if (!means_keyword(beside, *candidate.node, text) || scope.words.selected(node, text) != word) {
      continue;
    }
    const bool is_whole = text.size() == name_of(*word).size();
    scope.add(scope.declaration(*candidate.node), in_words(*candidate.node),
              "takes " + quoted(text) + (is_whole ? " from the word " : ", as an abbreviation, from the word ") +
                  in_words(*word),
              is_whole || text.size() > 1 ? CLI_WARNING : CLI_NOTE);
  }
}

void blocking_group(const Scope &scope, const cli_node &node) {
  if (node.type != TYPE_CONTAINER || is_exclusive(node)) {
    return;
  }
  for (const cli_node &member : args_of(node)) {
    const cli_node *next = cli_node_next_arg(&member);
    if (next == nullptr || is_optional(member) || !may_stay_open(member)) {
      continue;
    }
    const std::string left_out = names_of_required(next);
    scope.add(member, "it can end in something optional, is never complete then, and blocks " + in_words(*next) +
                          (left_out.empty() ? "" : "; the line is taken without " + left_out + ", which is required"));
  }
}

}  // namespace cli_check::rules
