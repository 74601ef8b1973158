#include "cli_engine/node.hpp"

#include <cstdlib>
#include <cstring>
#include <new>

#include "cli_engine/language.hpp"
#include "libglobal/report.hpp"

// Records shared with hosts: a field moved by accident fails here. The documented sizes are those of 32-bit machines.
static_assert(sizeof(void *) != 4 || sizeof(token) == 24);
static_assert(sizeof(void *) != 8 || sizeof(token) == 40);
static_assert(sizeof(void *) != 8 || sizeof(cli_node) == 200);
static_assert(TYPE_SUBCONFIG == 0 && TYPE_ALIAS == 6 && CONTAINER_EXCLUSIVE == 2 && REPEAT_MULTI_RANGE == 3);

namespace cli_engine {
namespace {

constexpr const char *kSource = kLoaderSource;
constexpr int32_t kRed = 1;
constexpr int32_t kBlack = 0;

// ---- The ordered set: a red-black tree through choice_link ----

bool is_red(const cli_node *node) {
  return node != nullptr && node->choice_link.colour == kRed;
}

// Puts `to` in the place that `from` has under its tree parent.
void replace_child(cli_node_set &set, cli_node *from, cli_node *to) {
  cli_node *parent = from->choice_link.parent;
  if (parent == nullptr) {
    set.root = to;
  } else if (parent->choice_link.left == from) {
    parent->choice_link.left = to;
  } else {
    parent->choice_link.right = to;
  }
  if (to != nullptr) {
    to->choice_link.parent = parent;
  }
}

void rotate_left(cli_node_set &set, cli_node *node) {
  cli_node *up = node->choice_link.right;
  replace_child(set, node, up);
  node->choice_link.right = up->choice_link.left;
  if (node->choice_link.right != nullptr) {
    node->choice_link.right->choice_link.parent = node;
  }
  up->choice_link.left = node;
  node->choice_link.parent = up;
}

void rotate_right(cli_node_set &set, cli_node *node) {
  cli_node *up = node->choice_link.left;
  replace_child(set, node, up);
  node->choice_link.left = up->choice_link.right;
  if (node->choice_link.left != nullptr) {
    node->choice_link.left->choice_link.parent = node;
  }
  up->choice_link.right = node;
  node->choice_link.parent = up;
}

void rebalance_after_insert(cli_node_set &set, cli_node *node) {
  while (is_red(node->choice_link.parent)) {
    cli_node *parent = node->choice_link.parent;
    cli_node *grand = parent->choice_link.parent;  // not null: the root is black
    const bool on_left = grand->choice_link.left == parent;
    cli_node *uncle = on_left ? grand->choice_link.right : grand->choice_link.left;
    if (is_red(uncle)) {
      parent->choice_link.colour = kBlack;
      uncle->choice_link.colour = kBlack;
      grand->choice_link.colour = kRed;
      node = grand;
      continue;
    }
    if (on_left) {
      if (node == parent->choice_link.right) {
        rotate_left(set, parent);
        parent = node;
      }
      rotate_right(set, grand);
    } else {
      if (node == parent->choice_link.left) {
        rotate_right(set, parent);
        parent = node;
      }
      rotate_left(set, grand);
    }
    parent->choice_link.colour = kBlack;
    grand->choice_link.colour = kRed;
    break;
  }
  set.root->choice_link.colour = kBlack;
}

bool insert(cli_node_set &set, cli_node *node) {
  const WantedName name(name_of(*node));
  cli_node *parent = nullptr;
  cli_node **link = &set.root;
  while (*link != nullptr) {
    parent = *link;
    const int order = name.compare(*parent);
    if (order == 0) {
      return false;
    }
    link = order < 0 ? &parent->choice_link.left : &parent->choice_link.right;
  }
  node->choice_link = {nullptr, nullptr, parent, kRed};
  *link = node;
  rebalance_after_insert(set, node);
  return true;
}

// ---- Release ----

// Moves the words of a node to the front of a list chained through arg_link, taking the tree apart by rotations so that
// no stack is needed.
void unlink_choices(cli_node_set &set, cli_node *&list) {
  cli_node *node = set.root;
  set.root = nullptr;
  while (node != nullptr) {
    if (cli_node *left = node->choice_link.left) {
      node->choice_link.left = left->choice_link.right;
      left->choice_link.right = node;
      node = left;
      continue;
    }
    cli_node *next = node->choice_link.right;
    node->arg_link = list;
    list = node;
    node = next;
  }
}

void unlink_children(cli_node &node, cli_node *&list) {
  if (cli_node_set *choices = choices_of(node)) {
    unlink_choices(*choices, list);
  }
  if (cli_node_list *args = args_of(node); args != nullptr && args->first != nullptr) {
    *args->last_link = list;
    list = args->first;
    list_init(*args);
  }
}

void release_parts(cli_node &node) {
  Marks::strike(node);
  json_decref(node.definition);
  switch (node.type) {
    case TYPE_VALUE:
      json_decref(node.value.value);
      validator_close(&node.value.validator);
      break;
    case TYPE_ALIAS:
      tokenizer_destroy_list(&node.alias.alias_tokens);
      std::free(node.alias.alias);
      break;
    case TYPE_SUBCONFIG:
      json_decref(node.subconfig.prompt);
      break;
    case TYPE_COMMAND:
    case TYPE_WORD:
    case TYPE_KEY:
    case TYPE_CONTAINER:
      break;
  }
}

void empty_root(cli_node &root) {
  if (auto *marks = static_cast<Marks *>(root.internal)) {
    marks->~Marks();
    std::free(marks);
  }
  const uint8_t used = root.used;
  root.internal = nullptr;
  root.definition = nullptr;
  root.name = nullptr;
  root.help = nullptr;
  root.name_len = 0;
  root.subconfig.prompt = nullptr;
  root.token = nullptr;
  root.completed = 0;
  root.used = used;
}

[[noreturn]] void invalid_parent(const cli_node &parent, const char *function) {
  log_assert_fmt("0", kSource, function, "invalid parent type: %d", static_cast<int>(parent.type));
}

// How many bytes a text takes behind its node, or 0 for none.
std::size_t name_bytes(const char *name) {
  const std::size_t bytes = name == nullptr ? 0 : std::strlen(name) + 1;
  return bytes == 0 || bytes >= kNameBytes ? bytes : kNameBytes;
}
std::size_t help_bytes(const char *help) {
  return help == nullptr ? 0 : std::strlen(help) + 1;
}

}  // namespace

cli_node *find_choice(const cli_node_set &choices, std::string_view name) {
  const WantedName wanted(name);
  cli_node *node = choices.root;
  while (node != nullptr) {
    const int order = wanted.compare(*node);
    if (order == 0) {
      break;
    }
    node = order < 0 ? node->choice_link.left : node->choice_link.right;
  }
  return node;
}

cli_node *first_choice_with_prefix(const cli_node_set &choices, const WantedName &prefix) {
  cli_node *first = nullptr;
  cli_node *node = choices.root;
  while (node != nullptr) {
    const int order = prefix.compare_beginning(*node);
    if (order == 0) {
      first = node;
      if (node->name_len == prefix.size()) {
        break;
      }
    }
    node = order > 0 ? node->choice_link.right : node->choice_link.left;
  }
  return first;
}

cli_node *next_choice_with_prefix(const cli_node &choice, const WantedName &prefix) {
  cli_node *next = next_choice(choice);
  return next != nullptr && prefix.begins(*next) ? next : nullptr;
}

cli_node *first_choice(const cli_node_set &choices) {
  cli_node *node = choices.root;
  while (node != nullptr && node->choice_link.left != nullptr) {
    node = node->choice_link.left;
  }
  return node;
}

cli_node *next_choice(const cli_node &choice) {
  if (cli_node *node = choice.choice_link.right) {
    while (node->choice_link.left != nullptr) {
      node = node->choice_link.left;
    }
    return node;
  }
  const cli_node *node = &choice;
  cli_node *parent = node->choice_link.parent;
  while (parent != nullptr && parent->choice_link.right == node) {
    node = parent;
    parent = node->choice_link.parent;
  }
  return parent;
}

cli_node *new_node(const Origin &origin, const char *name, const char *help, node_type type) {
  const libglobal::Caller caller = LIBGLOBAL_CALLER(kSource);
  if (type != TYPE_CONTAINER) {
    libglobal::require(name != nullptr, "name != NULL", kSource, __func__);
    libglobal::require(help != nullptr, "help != NULL", kSource, __func__);
  }
  const std::size_t help_place = sizeof(cli_node) + name_bytes(name);
  const std::size_t offset_place = help_place + help_bytes(help);
  const std::size_t size = offset_place + (origin.is_from_text ? sizeof origin.offset : 0);
  auto *node = static_cast<cli_node *>(libglobal::xcalloc(1, size, caller));
  node->type = type;
  node->definition = json_incref(origin.definition);
  char *block = reinterpret_cast<char *>(node);
  if (origin.is_from_text) {
    std::memcpy(block + offset_place, &origin.offset, sizeof origin.offset);
  }
  if (name != nullptr) {
    node->name_len = std::strlen(name);
    node->name = static_cast<char *>(std::memcpy(block + sizeof(cli_node), name, node->name_len));
  }
  if (help != nullptr) {
    node->help = static_cast<char *>(std::memcpy(block + help_place, help, help_bytes(help)));
  }
  if (cli_node_list *args = args_of(*node)) {
    list_init(*args);
  }
  if (type == TYPE_SUBCONFIG) {
    node->subconfig.tokens.last_link = &node->subconfig.tokens.first;
  }
  return node;
}

std::uint32_t offset_of(const cli_node &node) {
  std::uint32_t offset = 0;
  const char *behind = reinterpret_cast<const char *>(&node + 1) + name_bytes(node.name) + help_bytes(node.help);
  std::memcpy(&offset, behind, sizeof offset);
  return offset;
}

cli_node *new_command_node(const Origin &origin, const char *name, const char *help, int32_t privilege,
                           cli_handler handler) {
  cli_node *node = new_node(origin, name, help, TYPE_COMMAND);
  node->privilege = privilege;
  node->subconfig.handler = handler;
  return node;
}

bool append_node_choice(cli_node *parent, cli_node *choice) {
  libglobal::require(parent != nullptr, "parent != NULL", kSource, __func__);
  libglobal::require(choice != nullptr, "choice != NULL", kSource, __func__);
  cli_node_set *choices = choices_of(*parent);
  if (choices == nullptr) {
    invalid_parent(*parent, __func__);
  }
  choice->parent = parent;
  if (!insert(*choices, choice)) {
    return false;
  }
  if (is_mode(choice)) {
    marks_of(choice).add_mode(*choice);
  }
  return true;
}

void append_node_arg(cli_node *parent, cli_node *arg) {
  libglobal::require(parent != nullptr, "parent != NULL", kSource, __func__);
  libglobal::require(arg != nullptr, "arg != NULL", kSource, __func__);
  cli_node_list *args = args_of(*parent);
  if (args == nullptr) {
    invalid_parent(*parent, __func__);
  }
  if (parent->type == TYPE_SUBCONFIG) {
    libglobal::require(args->first == nullptr, "STAILQ_FIRST(&parent->subconfig.args) == NULL", kSource, __func__);
  } else if (parent->type == TYPE_KEY) {
    libglobal::require(args->first == nullptr, "STAILQ_FIRST(&parent->key.args) == NULL", kSource, __func__);
  }
  arg->parent = parent;
  arg->arg_link = nullptr;
  *args->last_link = arg;
  args->last_link = &arg->arg_link;
}

// Without recursion, so that no nesting is too deep: children join a list of nodes to release.
void node_free(cli_node *node) {
  if (auto *marks = static_cast<Marks *>(tree_root(node)->internal)) {
    marks->forget_modes(*node);
  }
  cli_node *list = nullptr;
  unlink_children(*node, list);
  while (list != nullptr) {
    cli_node *next = list;
    list = next->arg_link;
    unlink_children(*next, list);
    release_parts(*next);
    std::free(next);
  }
  if (node->parent == nullptr) {
    empty_root(*node);
  } else {
    release_parts(*node);
    std::free(node);
  }
}

Marks &marks_of(cli_node *node) {
  cli_node *root = tree_root(node);
  if (root->internal == nullptr) {
    root->internal = new (libglobal::xmalloc(sizeof(Marks), LIBGLOBAL_CALLER(kSource))) Marks;
  }
  return *static_cast<Marks *>(root->internal);
}

void mark_mode(Marks &marks, cli_node *mode) {
  for (; mode != nullptr; mode = mode->parent) {
    marks.use(*mode);
  }
}

namespace {

// The root has no name, and a group may lack one; an anonymous node matches nothing.
bool has_name(const cli_node &node, std::string_view name) {
  return node.name != nullptr && same_name(name_of(node), name);
}

cli_node *find_used(const Marks &marks, cli_node *node, std::string_view name) {
  if (node->parent != nullptr && node->used == 0) {
    return nullptr;
  }
  const auto look = [&](cli_node *child) {
    return child->used != 0 && has_name(*child, name) ? child : find_used(marks, child, name);
  };
  for (cli_node *arg = first_arg(node); arg != nullptr; arg = arg->arg_link) {
    if (arg->used == 0) {
      continue;
    }
    if (cli_node *found = look(arg)) {
      return found;
    }
  }
  if (choices_of(*node) == nullptr) {
    return nullptr;
  }
  cli_node *choice = nullptr;
  while ((choice = marks.next_used_choice(node, choice)) != nullptr) {
    if (cli_node *found = look(choice)) {
      return found;
    }
  }
  return nullptr;
}

// The marks below a root, for the engine that the root belongs to.
const Marks *own_marks(const cli_node &root) {
  const Marks *const marks = marks_of_root(root);
  if (marks != nullptr && marks->sharer != nullptr) [[unlikely]] {
    take_over(marks->sharer);
  }
  return marks;
}

}  // namespace

}  // namespace cli_engine

using cli_engine::choices_of;

cli_node *cli_node_getn(cli_node *node, const char *name, size_t len) {
  if (node == nullptr || name == nullptr || len == 0) {
    return nullptr;
  }
  const cli_engine::Marks *const marks = cli_engine::own_marks(*cli_engine::tree_root(node));
  // There are none when nothing was ever marked.
  return marks == nullptr ? nullptr : cli_engine::find_used(*marks, node, {name, len});
}

cli_node *cli_node_find(cli_node *node, const char *path) {
  cli_node *found = node;
  while (found != nullptr && path != nullptr) {
    path += std::strspn(path, " ");
    const std::size_t length = std::strcspn(path, " ");
    if (length == 0) {
      break;
    }
    found = cli_node_getn(found, path, length);
    path += length;
  }
  return found == node ? nullptr : found;
}

cli_node *cli_get_parent_subconfig(cli_node *node) {
  cli_node *mode = node == nullptr ? nullptr : node->parent;
  while (mode != nullptr && !cli_engine::is_mode(mode)) {
    mode = mode->parent;
  }
  return mode;
}

token *cli_get_subconfig_first_token(cli *engine, cli_node *node) {
  if (node == nullptr || !cli_engine::is_mode(node)) {
    return nullptr;
  }
  if (engine != nullptr) {
    if (engine->current == node) {
      return tokenizer_first(&engine->tokenizer);
    }
    cli_engine::own_marks(engine->root);
  }
  return node->subconfig.tokens.first;
}

cli_node *cli_node_first_choice(const cli_node *node) {
  const cli_node_set *choices = node == nullptr ? nullptr : choices_of(*node);
  return choices == nullptr ? nullptr : cli_engine::first_choice(*choices);
}

cli_node *cli_node_next_choice(const cli_node *choice) {
  return choice == nullptr ? nullptr : cli_engine::next_choice(*choice);
}

cli_node *cli_node_first_arg(const cli_node *node) {
  return cli_engine::first_arg(node);
}

cli_node *cli_node_next_arg(const cli_node *arg) {
  return arg == nullptr ? nullptr : arg->arg_link;
}
