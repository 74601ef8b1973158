// What rules ask of the tree of a loaded language.
#ifndef CLI_CHECK_TREE_HPP
#define CLI_CHECK_TREE_HPP

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "cli_engine/node.hpp"

namespace cli_check {

using cli_engine::begins_with;
using cli_engine::is_optional;
using cli_engine::name_of;

// Behind the built-in "exit" and "end" of every mode while a language is checked.
int leave_mode(cli *engine, cli_node *node);
int leave_all_modes(cli *engine, cli_node *node);

// As the engine orders words: by their letters in any case, the shorter first.
struct WordOrder {
  using is_transparent = void;
  bool operator()(std::string_view a, std::string_view b) const;
};
[[nodiscard]] std::string in_small_letters(std::string_view text);

// The children of a node, for loops.
class Children {
 public:
  using Next = cli_node *(*)(const cli_node *);
  Children(const cli_node *first, Next next) : first_(first), next_(next) {}
  struct Iterator {
    const cli_node *node;
    Next next;
    const cli_node &operator*() const { return *node; }
    Iterator &operator++() {
      node = next(node);
      return *this;
    }
    bool operator!=(const Iterator &other) const { return node != other.node; }
  };
  [[nodiscard]] Iterator begin() const { return {first_, next_}; }
  [[nodiscard]] Iterator end() const { return {nullptr, next_}; }
  [[nodiscard]] bool empty() const { return first_ == nullptr; }

 private:
  const cli_node *first_;
  Next next_;
};
[[nodiscard]] inline Children words_of(const cli_node &node) {
  return {cli_node_first_choice(&node), cli_node_next_choice};
}
[[nodiscard]] inline Children args_of(const cli_node &node) {
  return {cli_node_first_arg(&node), cli_node_next_arg};
}

[[nodiscard]] inline bool is_argument(const cli_node &node) {
  return !cli_engine::is_choice_kind(node);
}
[[nodiscard]] bool is_builtin(const cli_node &word);
[[nodiscard]] inline bool is_exclusive(const cli_node &group) {
  return group.container.mode == CONTAINER_EXCLUSIVE;
}

// The words of nodes, for searching: those of each node are put in a row when they are first asked for.
class WordIndex {
 public:
  using Words = std::vector<const cli_node *>;  // in their order

  const Words &of(const cli_node &node);
  // The first word that is not before the name.
  Words::const_iterator not_before(const cli_node &node, std::string_view name);
  // The word of this name, or null.
  const cli_node *named(const cli_node &node, std::string_view name);
  // The word that the text selects, whole or as the only one that it abbreviates; or null.
  const cli_node *selected(const cli_node &node, std::string_view text);

 private:
  std::unordered_map<const cli_node *, Words> words_;
};

// The word that an argument belongs to.
[[nodiscard]] const cli_node &owner_of(const cli_node &argument);

// The node in words: "configure interface", argument "name".
[[nodiscard]] std::string in_words(const cli_node &node);

// The words that lead to a node from the top level, separated by blanks.
[[nodiscard]] std::string words_to(const cli_node &node);
[[nodiscard]] std::string words_in_mode(const cli_node &node);  // from its mode on

// Every node below one, arguments before words, each before what is below it.
void append_nodes_below(cli_node &node, std::vector<cli_node *> &out);

// ---- Which arguments can take the same word of a line, and in which order the parser asks them ----

// A keyword or a value, and the member of the group through which it was reached.
struct Candidate {
  const cli_node *node;
  const cli_node *member;
  bool only_first;  // nothing else of the member can be given before it
};
using Candidates = std::vector<Candidate>;

// Arguments of a group that compete for one word: the alternatives of an exclusive group; in other groups, members
// that may be left out together with the one that comes after them.
struct Contest {
  const cli_node *group;
  Candidates candidates;
};

// The contests of one group, not those inside its members.
[[nodiscard]] std::vector<Contest> contests_of(const cli_node &group);

// Can the argument be given and yet go on taking words of the line?
[[nodiscard]] bool may_stay_open(const cli_node &argument);

// What can begin an argument, in the order in which the parser asks.
void append_first(const cli_node &argument, const cli_node *member, bool only_first, Candidates &out);

}  // namespace cli_check

#endif
