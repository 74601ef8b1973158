#include "cli_engine/marks.hpp"

#include <cstdlib>

#include "cli_engine/node.hpp"
#include "libglobal/report.hpp"

namespace cli_engine {
namespace {

constexpr const char *kSource = "cli_engine/parser";

void clear_marks(cli_node &node) {
  node.used = 0;
  node.completed = 0;
  node.token = nullptr;
  if (node.type == TYPE_VALUE && node.value.value != nullptr) {
    json_decref(node.value.value);
    node.value.value = nullptr;
  }
}

bool is_touched(const cli_node &node) {
  return node.used != 0 || node.completed != 0;
}

// Whether a walk from the mode's words over touched nodes meets the node.
bool stands_below(const cli_node *node, const cli_node *mode) {
  const cli_node *child = nullptr;
  while (node != nullptr && node != mode && is_touched(*node)) {
    child = node;
    node = node->parent;
  }
  return node == mode && child != nullptr && is_choice_kind(*child);
}

}  // namespace

Marks::~Marks() {
  clear();
  for (const Kept &kept : kept_) {
    json_decref(kept.value);
  }
  std::free(nodes_);
  std::free(doomed_);
}

void Marks::grow() {
  capacity_ = capacity_ == 0 ? 32 : capacity_ * 2;
  const libglobal::Caller caller = LIBGLOBAL_CALLER(kSource);
  // NOLINTBEGIN(bugprone-sizeof-expression): pointers are what is kept
  nodes_ = static_cast<cli_node **>(libglobal::xrealloc(nodes_, capacity_ * sizeof *nodes_, caller));
  doomed_ = static_cast<cli_node **>(libglobal::xrealloc(doomed_, capacity_ * sizeof *doomed_, caller));
  // NOLINTEND(bugprone-sizeof-expression)
  for (std::size_t i = 0; i < size_; i++) {
    if (nodes_[i] != nullptr) {
      nodes_[i]->internal = &nodes_[i];
    }
  }
}

void Marks::clear() {
  for (std::size_t i = 0; i < size_; i++) {
    if (nodes_[i] != nullptr) {
      clear_marks(*nodes_[i]);
      nodes_[i]->internal = nullptr;
    }
  }
  size_ = 0;
}

void Marks::park() {
  for (std::size_t i = 0; i < size_; i++) {
    if (cli_node *node = nodes_[i]) {
      json_t *&value = node->value.value;
      const bool has_value = node->type == TYPE_VALUE;
      kept_.push_back({node, node->token, has_value ? value : nullptr, node->used, node->completed});
      if (has_value) {
        value = nullptr;
      }
      clear_marks(*node);
      node->internal = nullptr;
    }
  }
  size_ = 0;
}

void Marks::restore() {
  for (const Kept &kept : kept_) {
    cli_node &node = *kept.node;
    node.used = kept.used;
    node.completed = kept.completed;
    node.token = kept.tok;
    if (node.type == TYPE_VALUE) {
      node.value.value = kept.value;
    }
    add(node);
  }
  kept_.clear();
}

// What is reached is decided before anything is cleared, since the marks themselves are the way.
void Marks::clear_below(const cli_node *mode) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < size_; i++) {
    if (nodes_[i] != nullptr && stands_below(nodes_[i], mode)) {
      doomed_[count++] = nodes_[i];
    }
  }
  for (std::size_t i = 0; i < count; i++) {
    clear_marks(*doomed_[i]);
  }
}

void Marks::forget_modes(const cli_node &node) {
  if (node.parent == nullptr) {
    modes_.clear();
    return;
  }
  std::erase_if(modes_, [&node](const cli_node *mode) {
    while (mode != nullptr && mode != &node) {
      mode = mode->parent;
    }
    return mode != nullptr;
  });
}

cli_node *Marks::next_used_choice(const cli_node *parent, const cli_node *after) const {
  cli_node *next = nullptr;
  for (std::size_t i = 0; i < size_; i++) {
    cli_node *node = nodes_[i];
    if (node != nullptr && node->parent == parent && node->used != 0 && is_choice_kind(*node) &&
        (after == nullptr || name_compare(name_of(*node), name_of(*after)) > 0) &&
        (next == nullptr || name_compare(name_of(*node), name_of(*next)) < 0)) {
      next = node;
    }
  }
  return next;
}

}  // namespace cli_engine
