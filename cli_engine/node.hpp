// The command tree: kinds and their children, ordered words, construction and release, and the marks of the last line.
#ifndef CLI_ENGINE_NODE_HPP
#define CLI_ENGINE_NODE_HPP

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "cli_engine/cli_engine.h"
#include "cli_engine/marks.hpp"

namespace cli_engine {

inline constexpr const char *kLoaderSource = "cli_engine/loader";
inline constexpr const char *kEngineSource = "cli_engine/cli_engine";

// ---- Names ----

// Lower case for A to Z, every other byte as it is: what the "C" locale's case-insensitive comparison does.
inline constexpr std::array<unsigned char, 256> kFold = [] {
  std::array<unsigned char, 256> table{};
  for (unsigned i = 0; i < 256; i++) {
    table.at(i) = static_cast<unsigned char>(i >= 'A' && i <= 'Z' ? i + 'a' - 'A' : i);
  }
  return table;
}();

inline unsigned fold(char c) {
  return kFold[static_cast<unsigned char>(c)];
}

inline std::string_view name_of(const cli_node &node) {
  return {node.name, node.name_len};
}

// The texts of a node stand behind it in its own block, the name first: a search meets the name beside the links, not
// in yet another place of the memory. True of all nodes but the root.
inline const char *name_behind(const cli_node &node) {
  return reinterpret_cast<const char *>(&node + 1);
}

// How many leading bytes agree without regard to case. Names mostly agree in case too, so eight bytes are compared at
// once as long as they do.
inline std::size_t common_length(std::string_view a, std::string_view b) {
  const std::size_t length = a.size() < b.size() ? a.size() : b.size();
  std::size_t i = 0;
  for (; i + 8 <= length; i += 8) {
    std::uint64_t x = 0;
    std::uint64_t y = 0;
    std::memcpy(&x, a.data() + i, 8);
    std::memcpy(&y, b.data() + i, 8);
    if (x != y) {
      break;
    }
  }
  while (i < length && fold(a[i]) == fold(b[i])) {
    i++;
  }
  return i;
}

// The order of words: by their common length without regard to case, then the shorter one first.
inline int name_compare(std::string_view a, std::string_view b) {
  const std::size_t common = common_length(a, b);
  if (common < a.size() && common < b.size()) {
    return static_cast<int>(fold(a[common])) - static_cast<int>(fold(b[common]));
  }
  return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

// Whether text begins with prefix, without regard to case.
inline bool begins_with(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && common_length(text, prefix) == prefix.size();
}

inline bool same_name(std::string_view a, std::string_view b) {
  return a.size() == b.size() && begins_with(a, b);
}

// Eight bytes of a text without regard to case, as a number: numbers are in the order of the bytes. A text that is
// shorter counts as continued by NULs, which come before everything else.
using NameKey = std::uint64_t;
inline constexpr std::size_t kKeyBytes = sizeof(NameKey);

// Names are stored in at least so many bytes, so that two keys can be read from each.
inline constexpr std::size_t kNameBytes = 2 * kKeyBytes;

inline NameKey key_of(const char *text) {
  NameKey bytes = 0;
  std::memcpy(&bytes, text, kKeyBytes);
  if constexpr (std::endian::native == std::endian::little) {
    bytes = __builtin_bswap64(bytes);
  }
  // In each byte, by sums that do not reach the next one: bit 7 is set from 'A' on, and again from beyond 'Z' on.
  constexpr NameKey kOnes = 0x0101010101010101U;
  const NameKey low_bits = bytes & (0x7F * kOnes);
  const NameKey from_a = low_bits + (0x80 - 'A') * kOnes;
  const NameKey beyond_z = low_bits + (0x7F - 'Z') * kOnes;
  const NameKey upper = (from_a ^ beyond_z) & ~bytes & (0x80 * kOnes);
  return bytes | upper >> 2;  // bit 5 makes a letter a small one
}

// A text that is looked for among the names of the tree. All but long names are told from it by their keys.
class WantedName {
 public:
  explicit WantedName(std::string_view text) : text_(text) {
    const std::size_t size = text.size();
    if (size < kKeyBytes) {
      for (std::size_t i = 0; i < kKeyBytes; i++) {
        first_ = first_ << 8 | (i < size ? fold(text[i]) : 0);
      }
      first_mask_ = ~(~NameKey{0} >> (8 * size));
      return;
    }
    first_ = key_of(text.data());
    first_mask_ = ~NameKey{0};
    if (size > kKeyBytes) {
      const std::size_t seen = size < kNameBytes ? size : kNameBytes;
      const std::size_t absent = 8 * (kNameBytes - seen);
      second_ = key_of(text.data() + seen - kKeyBytes) << absent;
      second_mask_ = ~NameKey{0} << absent;
    }
  }

  // Less than 0 when the text comes before the name, 0 when they are equal.
  [[nodiscard]] int compare(const cli_node &node) const {
    if (const NameKey other = key_of(name_behind(node)); first_ != other) {
      return first_ < other ? -1 : 1;
    }
    if (const NameKey other = key_of(name_behind(node) + kKeyBytes); second_ != other) {
      return second_ < other ? -1 : 1;
    }
    return name_compare(text_, name_of(node));
  }

  // The same with the beginning of the name, as far as the text goes.
  [[nodiscard]] int compare_beginning(const cli_node &node) const {
    if (const NameKey other = key_of(name_behind(node)) & first_mask_; first_ != other) {
      return first_ < other ? -1 : 1;
    }
    if (text_.size() <= kKeyBytes) {
      return 0;
    }
    if (const NameKey other = key_of(name_behind(node) + kKeyBytes) & second_mask_; second_ != other) {
      return second_ < other ? -1 : 1;
    }
    return text_.size() <= kNameBytes ? 0 : name_compare(text_, name_of(node).substr(0, text_.size()));
  }
  [[nodiscard]] bool begins(const cli_node &node) const { return compare_beginning(node) == 0; }
  [[nodiscard]] std::size_t size() const { return text_.size(); }

 private:
  std::string_view text_;
  NameKey first_ = 0;
  NameKey second_ = 0;
  NameKey first_mask_ = 0;  // of the bytes that the text has
  NameKey second_mask_ = 0;
};

// ---- Kinds ----

inline bool is_word_kind(const cli_node &node) {
  return node.type == TYPE_SUBCONFIG || node.type == TYPE_COMMAND || node.type == TYPE_WORD;
}

// Stands among its parent's words rather than among its arguments.
inline bool is_choice_kind(const cli_node &node) {
  return is_word_kind(node) || node.type == TYPE_ALIAS;
}

// The words or arguments of a node, or null for a kind that has none.
inline const cli_node_set *choices_of(const cli_node &node) {
  if (node.type == TYPE_SUBCONFIG || node.type == TYPE_COMMAND) {
    return &node.subconfig.choices;
  }
  return node.type == TYPE_WORD ? &node.word.choices : nullptr;
}
inline cli_node_set *choices_of(cli_node &node) {
  return const_cast<cli_node_set *>(choices_of(static_cast<const cli_node &>(node)));
}

inline const cli_node_list *args_of(const cli_node &node) {
  switch (node.type) {
    case TYPE_SUBCONFIG:
    case TYPE_COMMAND:
      return &node.subconfig.args;
    case TYPE_WORD:
      return &node.word.args;
    case TYPE_KEY:
      return &node.key.args;
    case TYPE_CONTAINER:
      return &node.container.args;
    case TYPE_VALUE:
    case TYPE_ALIAS:
      break;
  }
  return nullptr;
}
inline cli_node_list *args_of(cli_node &node) {
  return const_cast<cli_node_list *>(args_of(static_cast<const cli_node &>(node)));
}

inline cli_node *first_arg(const cli_node *node) {
  const cli_node_list *args = node == nullptr ? nullptr : args_of(*node);
  return args == nullptr ? nullptr : args->first;
}

inline bool is_optional(const cli_node &node) {
  switch (node.type) {
    case TYPE_VALUE:
      return node.value.required == 0;
    case TYPE_KEY:
      return node.key.required == 0;
    case TYPE_CONTAINER:
      return node.container.required == 0;
    case TYPE_SUBCONFIG:
    case TYPE_COMMAND:
    case TYPE_WORD:
    case TYPE_ALIAS:
      break;
  }
  return false;
}

inline bool is_mode(const cli_node *node) {
  return node->type == TYPE_SUBCONFIG;
}

// A mode that was declared with "#prompt"; the root is none.
inline bool is_declared_mode(const cli_node &node) {
  return node.type == TYPE_SUBCONFIG && node.subconfig.prompt != nullptr;
}

inline cli_node *tree_root(cli_node *node) {
  while (node->parent != nullptr) {
    node = node->parent;
  }
  return node;
}

inline void list_init(cli_node_list &list) {
  list.first = nullptr;
  list.last_link = &list.first;
}

// ---- Words of a node ----

// The word of exactly that name, or null.
cli_node *find_choice(const cli_node_set &choices, std::string_view name);

// The words that begin with the prefix stand in a row: the first of them, and the one after another; or null.
cli_node *first_choice_with_prefix(const cli_node_set &choices, const WantedName &prefix);
cli_node *next_choice_with_prefix(const cli_node &choice, const WantedName &prefix);

cli_node *first_choice(const cli_node_set &choices);
cli_node *next_choice(const cli_node &choice);

// ---- Construction and release ----

// Where a node was declared. In a tree from text every node has an offset, in all others none has.
struct Origin {
  json_t *definition = nullptr;
  bool is_from_text = false;
  std::uint32_t offset = UINT32_MAX;  // of a definition's key or an argument's declaration; that is, of none
};

// A node of a kind with every other field zero. Name and help are copied; a group may lack both.
cli_node *new_node(const Origin &origin, const char *name, const char *help, node_type type);

// The offset of a node of a tree from text. It stands behind the node's texts, in its own block.
std::uint32_t offset_of(const cli_node &node);

cli_node *new_command_node(const Origin &origin, const char *name, const char *help, int32_t privilege,
                           cli_handler handler);

// Makes choice a word of parent; false, with only choice->parent set, when an equal name stands there already.
bool append_node_choice(cli_node *parent, cli_node *choice);

// Makes arg the last argument of parent.
void append_node_arg(cli_node *parent, cli_node *arg);

// Releases a subtree with its marks. A node without a parent keeps its own storage and becomes an empty root.
void node_free(cli_node *node);

// ---- Marks ----

// The marks of the tree that a node belongs to; made when they are first asked for.
Marks &marks_of(cli_node *node);

// As above for a root; null when there are none.
inline Marks *marks_of_root(const cli_node &root) {
  return static_cast<Marks *>(root.internal);
}

// Marks a mode and all that encloses it used.
void mark_mode(Marks &marks, cli_node *mode);

}  // namespace cli_engine

#endif
