#include "cli_check/tree.hpp"

#include <algorithm>
#include <utility>

#include "cli_check/findings.hpp"
#include "libglobal/resembling.hpp"

namespace cli_check {

namespace {

// The names from below `top` down to the node; a part without a name is passed over.
std::string names_below(const cli_node *top, const cli_node &node) {
  std::vector<std::string_view> names;
  for (const cli_node *at = &node; at != top && at != nullptr; at = at->parent) {
    if (!name_of(*at).empty()) {
      names.push_back(name_of(*at));
    }
  }
  std::string text;
  for (auto name = names.rbegin(); name != names.rend(); ++name) {
    text += text.empty() ? "" : " ";
    text += *name;
  }
  return text;
}

}  // namespace

int leave_mode(cli *engine, cli_node * /*node*/) {
  cli_pop_subconfig(engine);
  return 0;
}

int leave_all_modes(cli *engine, cli_node * /*node*/) {
  cli_reset_subconfig(engine);
  return 0;
}

bool WordOrder::operator()(std::string_view a, std::string_view b) const {
  return cli_engine::name_compare(a, b) < 0;
}

std::string in_small_letters(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(), libglobal::small_letter);
  return out;
}

// ---- Nodes ----

bool is_builtin(const cli_node &word) {
  return (word.type == TYPE_WORD && word.word.link != nullptr) ||
         (word.type == TYPE_COMMAND &&
          (word.subconfig.handler == leave_mode || word.subconfig.handler == leave_all_modes));
}

const WordIndex::Words &WordIndex::of(const cli_node &node) {
  const auto [row, is_new] = words_.try_emplace(&node);
  if (is_new) {
    for (const cli_node &word : words_of(node)) {
      row->second.push_back(&word);
    }
  }
  return row->second;
}

WordIndex::Words::const_iterator WordIndex::not_before(const cli_node &node, std::string_view name) {
  const Words &words = of(node);
  return std::lower_bound(words.begin(), words.end(), name, [](const cli_node *word, std::string_view text) {
    return WordOrder()(name_of(*word), text);
  });
}

const cli_node *WordIndex::named(const cli_node &node, std::string_view name) {
  const auto found = not_before(node, name);
  return found != of(node).end() && cli_engine::same_name(name_of(**found), name) ? *found : nullptr;
}

const cli_node *WordIndex::selected(const cli_node &node, std::string_view text) {
  const auto found = not_before(node, text);
  if (text.empty() || found == of(node).end() || !begins_with(name_of(**found), text)) {
    return nullptr;
  }
  const auto next = std::next(found);
  const bool is_only = next == of(node).end() || !begins_with(name_of(**next), text);
  return is_only || cli_engine::same_name(name_of(**found), text) ? *found : nullptr;
}

const cli_node &owner_of(const cli_node &argument) {
  const cli_node *at = &argument;
  while (is_argument(*at)) {
    at = at->parent;
  }
  return *at;
}

std::string words_to(const cli_node &node) {
  return names_below(nullptr, node);
}

std::string words_in_mode(const cli_node &node) {
  return names_below(cli_get_parent_subconfig(const_cast<cli_node *>(&node)), node);
}

std::string in_words(const cli_node &node) {
  if (!is_argument(node)) {
    return quoted(words_to(node));
  }
  const cli_node &owner = owner_of(node);
  const std::string argument = names_below(&owner, node);
  return quoted(words_to(owner)) + (argument.empty() ? ", a group" : ", argument " + quoted(argument));
}

void append_nodes_below(cli_node &node, std::vector<cli_node *> &out) {
  for (cli_node *arg = cli_node_first_arg(&node); arg != nullptr; arg = cli_node_next_arg(arg)) {
    out.push_back(arg);
    append_nodes_below(*arg, out);
  }
  for (cli_node *word = cli_node_first_choice(&node); word != nullptr; word = cli_node_next_choice(word)) {
    out.push_back(word);
    append_nodes_below(*word, out);
  }
}

// ---- Candidates ----

void append_first(const cli_node &argument, const cli_node *member, bool only_first, Candidates &out) {
  if (argument.type != TYPE_CONTAINER) {
    out.push_back({&argument, member, only_first});
    return;
  }
  for (const cli_node &inner : args_of(argument)) {
    append_first(inner, member, only_first, out);
    if (!is_exclusive(argument)) {
      if (!is_optional(inner)) {
        return;
      }
      only_first = false;  // the next one can be given behind this one
    }
  }
}

std::vector<Contest> contests_of(const cli_node &group) {
  std::vector<Contest> contests;
  Candidates run;
  for (const cli_node &member : args_of(group)) {
    append_first(member, &member, true, run);
    if (!is_exclusive(group) && !is_optional(member)) {
      contests.push_back({&group, std::exchange(run, {})});
    }
  }
  contests.push_back({&group, std::move(run)});
  return contests;
}

bool may_stay_open(const cli_node &argument) {
  const auto is_empty = [](const cli_node &one) {
    Candidates first;
    append_first(one, &one, true, first);
    return first.empty();
  };
  const bool is_choice = argument.type == TYPE_CONTAINER && is_exclusive(argument);
  bool is_open = false;
  bool ends_open = false;
  for (const cli_node &inner : args_of(argument)) {
    if (!is_choice && !is_optional(inner) && is_empty(inner)) {
      return false;  // what is due and cannot be given
    }
    is_open = is_open || ((is_choice || !is_optional(inner)) && may_stay_open(inner));
    ends_open = !is_choice && is_optional(inner);
  }
  return (is_open || ends_open) && !is_empty(argument);
}

}  // namespace cli_check
