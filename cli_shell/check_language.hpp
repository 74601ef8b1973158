// The command language that two documents declare, as the engine would build it, every part knowing where it was
// declared. Faulty parts are in it too, as far as they can be understood, so that one run finds what else is wrong.
#ifndef CLI_SHELL_CHECK_LANGUAGE_HPP
#define CLI_SHELL_CHECK_LANGUAGE_HPP

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "cli_shell/check_json.hpp"

namespace cli_check {

enum class NodeKind : uint8_t { kMode, kCommand, kWord, kAlias, kKey, kValue, kGroup };
enum class GroupMode : uint8_t { kSequential, kSelective, kExclusive };
enum class BaseType : uint8_t { kText, kInt, kUnsigned };

// As the engine orders and finds words: by their letters in any case, the shorter first.
[[nodiscard]] bool same_letters(std::string_view a, std::string_view b);
[[nodiscard]] bool begins_with(std::string_view text, std::string_view beginning);
struct WordOrder {
  using is_transparent = void;
  bool operator()(std::string_view a, std::string_view b) const;
};

struct Node {
  NodeKind kind = NodeKind::kWord;
  bool is_builtin = false;  // "do", "end", "exit"
  bool is_listed = true;    // in the parent's words; false when an equal name came first or there is no place
  bool is_required = true;  // arguments
  bool is_sound = true;     // values: the type is known and the facets fit it
  GroupMode mode = GroupMode::kSequential;  // groups
  BaseType basetype = BaseType::kText;      // values
  int32_t privilege = 0;
  uint32_t offset = 0;                    // of the definition's key, or of the argument's declaration
  std::string_view name;                  // may be empty
  const JsonValue *definition = nullptr;  // null for built-in words and the group that holds a command's arguments
  std::string_view mode_prompt;
  const JsonMember *level_entry = nullptr;  // the entry of the privilege table that gave the level
  Node *parent = nullptr;
  std::vector<Node *> args;
  std::map<std::string_view, Node *, WordOrder> words;

  [[nodiscard]] bool is_argument() const { return kind >= NodeKind::kKey; }
  [[nodiscard]] bool takes_words() const { return kind <= NodeKind::kWord; }
  [[nodiscard]] const JsonValue *member(std::string_view name_of_member) const {
    return definition == nullptr ? nullptr : definition->find(name_of_member);
  }
};

// A counted member of the privilege table.
struct PrivilegeEntry {
  const JsonMember *member;
  std::string_view name;
  std::string_view prompt;
  int32_t level;
  bool is_repeated;  // an earlier entry has its name and prompt
  bool is_matched;   // a definition was looked up by them
};

// What a definition was looked up by in the privilege table.
struct PrivilegeLookup {
  const Node *node;
  std::string name;
  std::string_view prompt;
};

struct Language {
  const JsonDocument *definitions = nullptr;
  const JsonDocument *privileges = nullptr;  // null when there is none
  Node root;
  std::deque<Node> nodes;  // all but the root, in the order of their declaration
  std::vector<PrivilegeEntry> entries;
  std::vector<PrivilegeLookup> lookups;  // when there are entries

  Language() { root.kind = NodeKind::kMode; }
};

// The mode that encloses the node; null for the root.
[[nodiscard]] const Node *enclosing_mode(const Node &node);

// The word that an argument belongs to.
[[nodiscard]] const Node &owner_of(const Node &argument);

// The node in words: "configure interface", argument "name".
[[nodiscard]] std::string in_words(const Node &node);

// The words that lead to a node from the top level, separated by blanks.
[[nodiscard]] std::string words_to(const Node &node);

}  // namespace cli_check

#endif
