// What a tree keeps beside its nodes: its modes, and the nodes that the last line marked, so that clearing and
// searching cost what was marked, not what the tree holds.
//
// One list belongs to each tree and hangs from its root's `internal`. Every other node's `internal` points at its own
// place in the list, or is null; so a node that is released is struck off without a search. A node on the list may have
// lost its marks in the meantime; one with marks is always on it.
#ifndef CLI_ENGINE_MARKS_HPP
#define CLI_ENGINE_MARKS_HPP

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

#include "cli_engine/cli_engine.h"
#include "cli_engine/vector.hpp"
#include "libglobal/report.hpp"

namespace cli_engine {

class Marks {
 public:
  Marks() = default;
  Marks(const Marks &) = delete;
  Marks &operator=(const Marks &) = delete;
  ~Marks();

  // Puts a node on the list that gets its marks otherwise.
  void list(cli_node &node) { add(node); }

  void use(cli_node &node) {
    node.used = 1;
    add(node);
  }
  void complete(cli_node &node) {
    node.completed = 1;
    add(node);
  }
  void bind(cli_node &node, token *tok) {
    node.token = tok;
    add(node);
  }
  void use(cli_node &node, token *tok) {
    node.token = tok;
    use(node);
  }

  // Clears every mark and empties the list.
  void clear();

  // Clears what stands below the words of a mode: every node that is reached from there through used or completed nodes
  // alone. The mode's own marks and those of its arguments stay.
  void clear_below(const cli_node *mode);

  // The used word of a parent that follows `after` in name order (the first one for null), or null.
  [[nodiscard]] cli_node *next_used_choice(const cli_node *parent, const cli_node *after) const;

  template <class Visit>
  void for_each(Visit visit) const {
    for (std::size_t i = 0; i < size_; i++) {
      if (nodes_[i] != nullptr) {
        visit(*nodes_[i]);
      }
    }
  }

  // The tree's modes, the root not among them, in the order in which they were declared: few beside all words.
  [[nodiscard]] std::span<cli_node *const> modes() const { return home == nullptr ? modes_ : home->modes_; }
  void add_mode(cli_node &mode) { modes_.push_back(&mode); }

  // Forgets the modes at and below a node that is about to be released.
  void forget_modes(const cli_node &node);

  // Takes every mark out of the tree and keeps it; puts them back.
  void park();
  void restore();

  // The engine that shares its language with others, the language whose tree this is, and the marks of the root below
  // which it was loaded, which know its modes; or null.
  cli *sharer = nullptr;
  cli_language *language = nullptr;
  const Marks *home = nullptr;

  // Takes a node that is being released off the list.
  static void strike(cli_node &node) {
    if (node.parent != nullptr && node.internal != nullptr) {
      *static_cast<cli_node **>(node.internal) = nullptr;
      node.internal = nullptr;
    }
  }

 private:
  // The root is on no list: its `internal` is the list itself.
  void add(cli_node &node) {
    if (node.internal != nullptr || node.parent == nullptr) {
      return;
    }
    if (size_ == capacity_) [[unlikely]] {
      grow();
    }
    nodes_[size_] = &node;
    node.internal = &nodes_[size_];
    size_++;
  }
  void grow();

  struct Kept {
    cli_node *node;
    token *tok;
    json_t *value;
    std::uint8_t used;
    std::uint8_t completed;
  };

  cli_node **nodes_ = nullptr;  // null where a node was struck off
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
  std::vector<cli_node *, libglobal::ReportingAllocator<cli_node *>> modes_;
  cli_node **doomed_ = nullptr;  // scratch of clear_below, as large as nodes_
  Vector<Kept> kept_;            // while another engine has the tree
};

}  // namespace cli_engine

#endif
