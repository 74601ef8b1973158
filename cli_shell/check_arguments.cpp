// Arguments that hide each other or what follows them.
#include <algorithm>
#include <map>
#include <vector>

#include "cli_shell/check_candidates.hpp"
#include "cli_shell/check_warnings.hpp"

namespace cli_check {

namespace {

bool is_optional(const Node *argument) {
  return !argument->is_required;
}

// The keyword or value, or those of a group without a name. Groups that have one may share it, as parts of one thing.
void collect_named(const Node &argument, std::vector<const Node *> &named) {
  if (argument.kind != NodeKind::kGroup) {
    named.push_back(&argument);
  } else if (argument.name.empty()) {
    for (const Node *inner : argument.args) {
      collect_named(*inner, named);
    }
  }
}

std::size_t common_beginning(std::string_view a, std::string_view b) {
  std::size_t length = 0;
  while (length < std::min(a.size(), b.size()) && same_letters(a.substr(length, 1), b.substr(length, 1))) {
    ++length;
  }
  return length;
}

class ArgumentWarnings {
 public:
  ArgumentWarnings(const Language &language, Findings &findings) : language_(language), findings_(findings) {}

  void look() {
    for (const Node &node : language_.nodes) {
      if (node.kind == NodeKind::kGroup) {
        look_at_group(node);
      } else if (!node.is_argument() && !node.args.empty()) {
        look_at_command(node, *node.args[0]);
      }
    }
  }

 private:
  void add(const Node &node, Rule rule, std::string text) {
    findings_.add(rule, *language_.definitions, node.offset, in_words(node), std::move(text));
  }

  // ---- A command and its first argument ----

  void look_at_command(const Node &node, const Node &argument) {
    look_at_bare(node, argument);
    if (node.kind == NodeKind::kMode) {
      look_at_open(argument);
    } else if (!node.words.empty()) {
      if (argument.is_required) {
        look_at_hidden_words(node, argument);
      }
      look_at_taken(node, argument);
    }
  }

  void look_at_bare(const Node &node, const Node &argument) {
    if (argument.kind == NodeKind::kGroup && argument.is_required && argument.mode != GroupMode::kExclusive &&
        argument.args.size() > 1 && std::all_of(argument.args.begin(), argument.args.end(), is_optional)) {
      add(node, Rule::kNeverBare,
          std::string("all its arguments are optional, and yet one must be given: ") +
              (argument.definition == nullptr ? "put them into a \"container\" that is \"#optional\""
                                              : "the group that holds them is not \"#optional\""));
    }
  }

  void look_at_open(const Node &argument) {
    if (is_optional(&argument) || may_stay_open(argument)) {
      add(argument, Rule::kOpenArgument,
          "what is left out of it when the mode is entered can still be given in each line inside the mode");
    }
  }

  void look_at_hidden_words(const Node &node, const Node &argument) {
    const Node &first = *node.words.begin()->second;
    add(argument, Rule::kHiddenWords,
        "it is required, so that " + quoted(first.name) + (node.words.size() > 1 ? " and the other words" : "") +
            " of " + in_words(node) + " can be given only after it");
  }

  // A keyword is taken before a word of the same beginning, wherever it stands among the arguments.
  void look_at_taken(const Node &node, const Node &argument) {
    for (const auto &[key, member] : beside_words(argument)) {
      if (key->kind != NodeKind::kKey || key->name.empty()) {
        continue;
      }
      const auto word = closest_word(node, key->name);
      if (word == nullptr) {
        continue;
      }
      const std::size_t common = common_beginning(key->name, word->name);
      add(*key, Rule::kTakenAbbreviation,
          "takes " + quoted(word->name.substr(0, common)) +
              (common == word->name.size() ? " from the word " : ", as an abbreviation, from the word ") +
              in_words(*word));
    }
  }

  // A word that begins with the same letter; the one with most letters in common, or null.
  static const Node *closest_word(const Node &node, std::string_view name) {
    const Node *closest = nullptr;
    std::size_t most = 0;
    const auto consider = [&](const Node *word) {
      const std::size_t common = common_beginning(name, word->name);
      if (common > most) {
        most = common;
        closest = word;
      }
    };
    // Words with the longest common beginning stand next to where the name would stand, or are a beginning of it.
    const auto after = node.words.lower_bound(name);
    if (after != node.words.end()) {
      consider(after->second);
    }
    if (after != node.words.begin()) {
      consider(std::prev(after)->second);
    }
    return closest;
  }

  // ---- Groups ----

  void look_at_group(const Node &group) {
    if (group.mode != GroupMode::kExclusive) {
      look_at_blocking(group);
    }
    for (const Contest &contest : contests_of(group)) {
      look_at_keys(contest);
    }
    if (group.mode != GroupMode::kExclusive) {
      look_at_names(group);
    }
  }

  // Members that a line can give together, by the names that lead to them.
  void look_at_names(const Node &group) {
    std::map<std::string_view, const Node *, WordOrder> first;
    for (const Node *member : group.args) {
      std::vector<const Node *> named;
      collect_named(*member, named);
      for (const Node *node : named) {
        const Node *earlier = first.try_emplace(node->name, member).first->second;
        if (earlier != member) {
          add(*node, Rule::kUnreachableName,
              "handlers and conditions that ask for this name get the argument of that name that stands before it");
        }
      }
    }
  }

  void look_at_blocking(const Node &group) {
    for (std::size_t at = 0; at + 1 < group.args.size(); ++at) {
      const Node &member = *group.args[at];
      if (member.is_required && may_stay_open(member)) {
        add(member, Rule::kBlockingGroup,
            "it can end in something optional, is never complete then, and blocks " + in_words(*group.args[at + 1]));
      }
    }
  }

  void look_at_keys(const Contest &contest) {
    std::map<std::string_view, const Candidate *, WordOrder> keys;
    for (const Candidate &candidate : contest.candidates) {
      if (candidate.node->kind != NodeKind::kKey || candidate.node->name.empty()) {
        continue;
      }
      const auto [first, is_new] = keys.emplace(candidate.node->name, &candidate);
      if (!is_new && contest.group->mode == GroupMode::kExclusive && first->second->member != candidate.member) {
        add(*candidate.node, Rule::kUnreachableName,
            "cannot be reached: the keyword " + quoted(first->first) + " of an earlier alternative is taken for it");
      }
    }
    look_at_abbreviations(keys);
  }

  void look_at_abbreviations(const std::map<std::string_view, const Candidate *, WordOrder> &keys) {
    for (auto key = keys.begin(); key != keys.end(); ++key) {
      const auto next = std::next(key);
      // Two keywords inside one member are that member's affair.
      if (next != keys.end() && begins_with(next->first, key->first) && next->second->member != key->second->member) {
        add(*key->second->node, Rule::kNoAbbreviation,
            "cannot be abbreviated: " + quoted(next->first) + " begins with the whole of it");
      }
    }
  }

  const Language &language_;
  Findings &findings_;
};

}  // namespace

void warn_about_arguments(const Language &language, Findings &findings) {
  ArgumentWarnings(language, findings).look();
}

}  // namespace cli_check
