// Which keys, values and groups can take the current token, given what earlier tokens of the line already filled.
#include "cli_engine/node.hpp"
#include "cli_engine/parser.hpp"
#include "libglobal/report.hpp"

namespace cli_engine {
namespace {

void record_error(parser &p, cli_node *node) {
  p.error->errcode = p.current_token != nullptr ? E_INVALID_ARGUMENT : E_INCOMPLETE;
  p.error->token = p.current_token;
  p.error->node = node;
}

int add_candidate(parser &p, cli_node *node) {
  p.error->errcode = E_OK;
  libglobal::append(*p.candidates, node);
  if (!is_optional(*node)) {
    p.required_candidate = 1;
  }
  return 1;
}

int refuse(parser &p, cli_node *node) {
  if (!is_optional(*node)) {
    record_error(p, node);
  }
  return 0;
}

int lookup_candidate_value(parser &p, cli_node *node) {
  const token *tok = p.current_token;
  if (p.collect != 0 || (tok != nullptr && validator_match(&node->value.validator, tok->text, tok->len) != 0)) {
    return add_candidate(p, node);
  }
  return refuse(p, node);
}

// A key that was typed waits for its value.
int lookup_candidate_key(parser &p, cli_node *current) {
  if (current->used != 0) {
    return lookup_candidate(p, current->key.args.first);
  }
  libglobal::require(current->name != nullptr, "current->name", kLookupSource, __func__);
  const token *tok = p.current_token;
  if (p.collect != 0 || (tok != nullptr && begins_with(name_of(*current), text_of(*tok)))) {
    return add_candidate(p, current);
  }
  return refuse(p, current);
}

// An optional group does not make what it holds due.
void restore_required(parser &p, uint8_t before, bool group_is_due) {
  if (before == 0 && p.required_candidate != 0 && !group_is_due) {
    p.required_candidate = 0;
  }
}

// One alternative may be given: all are tried until one was chosen, then only that one.
int lookup_candidate_container_exclusive(parser &p, cli_node *container) {
  cli_node *const first = container->container.args.first;
  if (container->used != 0) {
    for (cli_node *arg = first; arg != nullptr; arg = arg->arg_link) {
      if (arg->used != 0) {
        return lookup_candidate(p, arg);
      }
    }
    return 0;
  }
  const uint8_t required_before = p.required_candidate;
  int total = 0;
  for (cli_node *arg = first; arg != nullptr; arg = arg->arg_link) {
    total += lookup_candidate(p, arg);
  }
  if (total == 0 && container->container.required != 0) {
    record_error(p, container);
    return 0;
  }
  p.error->errcode = E_OK;
  restore_required(p, required_before, container->container.required != 0);
  return total;
}

// Members before the last required one that was given are passed over.
cli_node *start_of_sequence(const cli_node &container) {
  cli_node *start = container.container.args.first;
  for (cli_node *arg = start; arg != nullptr; arg = arg->arg_link) {
    if (arg->used != 0 && !is_optional(*arg)) {
      start = arg->completed != 0 ? arg->arg_link : arg;
    }
  }
  return start;
}

int scan_sequence(parser &p, cli_node *container) {
  const bool started = container->used != 0;
  const bool required = container->container.required != 0;
  const uint8_t required_before = p.required_candidate;
  int total = 0;
  cli_node *arg = start_of_sequence(*container);
  for (; arg != nullptr; arg = arg->arg_link) {
    const int count = lookup_candidate(p, arg);
    total += count;
    if (is_optional(*arg)) {
      continue;
    }
    if (total == 0) {
      return 0;  // with the member's error, if it left one
    }
    if (count == 0) {
      p.error->errcode = E_OK;  // members before this one take the token; this one stays due
    }
    break;
  }
  if (arg == nullptr && total == 0 && !started && required) {
    record_error(p, container);
    return 0;
  }
  restore_required(p, required_before, started || required);
  return total;
}

// Members in declaration order, each at most once; selective groups are matched alike.
int lookup_candidate_container_sequential(parser &p, cli_node *container) {
  if (container->used != 0 || container->container.required != 0) {
    return scan_sequence(p, container);
  }
  const parser_error before = *p.error;
  const int total = scan_sequence(p, container);
  if (total == 0) {
    *p.error = before;  // nobody asked for the group, so nobody is told what it lacks
  }
  return total;
}

void complete_exclusive(Marks &marks, cli_node &container) {
  for (cli_node *arg = container.container.args.first; arg != nullptr; arg = arg->arg_link) {
    if (arg->used != 0 && arg->completed != 0) {
      marks.complete(container);
      return;
    }
  }
}

// Once a required member is done, those before it can no longer be given.
void complete_sequential(Marks &marks, cli_node &container) {
  cli_node *last = nullptr;
  for (cli_node *arg = container.container.args.first; arg != nullptr; arg = arg->arg_link) {
    if (arg->used != 0 && arg->completed != 0) {
      last = arg;
    }
  }
  if (last == nullptr || is_optional(*last)) {
    return;
  }
  for (cli_node *arg = container.container.args.first; arg != last; arg = arg->arg_link) {
    marks.complete(*arg);
  }
  if (last->arg_link == nullptr) {
    marks.complete(container);
  }
}

}  // namespace

int lookup_candidate(parser &p, cli_node *node) {
  if (node == nullptr || node->completed != 0) {
    return 0;
  }
  switch (node->type) {
    case TYPE_VALUE:
      return lookup_candidate_value(p, node);
    case TYPE_KEY:
      return lookup_candidate_key(p, node);
    case TYPE_CONTAINER:
      return node->container.mode == CONTAINER_EXCLUSIVE ? lookup_candidate_container_exclusive(p, node)
                                                         : lookup_candidate_container_sequential(p, node);
    case TYPE_SUBCONFIG:
    case TYPE_COMMAND:
    case TYPE_WORD:
    case TYPE_ALIAS:
      break;
  }
  return 0;
}

void update_tree_flags(Marks &marks, cli_node *matched, const cli_node *stop) {
  for (cli_node *node = matched; node != stop; node = node->parent) {
    marks.use(*node);
    switch (node->type) {
      case TYPE_KEY:
        if (const cli_node *value = node->key.args.first; value == nullptr || value->completed != 0) {
          marks.complete(*node);
        }
        break;
      case TYPE_VALUE:
        marks.complete(*node);
        break;
      case TYPE_CONTAINER:
        if (node->container.mode == CONTAINER_EXCLUSIVE) {
          complete_exclusive(marks, *node);
        } else {
          complete_sequential(marks, *node);
        }
        break;
      case TYPE_SUBCONFIG:
      case TYPE_COMMAND:
      case TYPE_WORD:
      case TYPE_ALIAS:
        libglobal::require(false, "0", kParserSource, __func__);
    }
  }
}

}  // namespace cli_engine
