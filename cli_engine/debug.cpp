// The dump: every command and mode of a tree, a line each, with its arguments in bracket notation.
#include <string_view>

#include "cli_engine/display.hpp"
#include "cli_engine/engine_state.hpp"
#include "cli_engine/node.hpp"
#include "cli_engine/output.hpp"
#include "libglobal/dyn_string.hpp"
#include "libglobal/report.hpp"

namespace {

using cli_engine::name_of;
using libglobal::append;

constexpr const char *kSource = "cli_engine/debug";

struct Brackets {
  std::string_view open;
  std::string_view close;
  std::string_view between;
};

constexpr Brackets kContainerBrackets[] = {
    {"", "", ""},       // CONTAINER_SEQUENTIAL
    {"[", "]", " | "},  // CONTAINER_SELECTIVE
    {"{", "}", " | "},  // CONTAINER_EXCLUSIVE
};

constexpr std::string_view kRepeatMarks[] = {"", "[,]", "[-]", "[,|-]"};

void debug_space(DynString &buffer) {
  if (buffer.len != 0 && std::string_view{" <[{"}.find(buffer.data[buffer.len - 1]) == std::string_view::npos) {
    append(buffer, ' ');
  }
}

void print_node_args(const cli_node &node, DynString &buffer);

void print_container(const cli_node &node, DynString &buffer);

void print_arg(const cli_node &node, DynString &buffer) {
  debug_space(buffer);
  const bool bracketed = node.type != TYPE_CONTAINER && cli_engine::is_optional(node);
  if (bracketed) {
    append(buffer, '[');
  }
  switch (node.type) {
    case TYPE_KEY:
      append(buffer, name_of(node));
      print_node_args(node, buffer);
      break;
    case TYPE_VALUE:
      append(buffer, '<');
      append(buffer, name_of(node));
      append(buffer, kRepeatMarks[node.value.repeat]);
      append(buffer, '>');
      break;
    case TYPE_CONTAINER:
      print_container(node, buffer);
      break;
    case TYPE_ALIAS:
      append(buffer, '*');
      append(buffer, name_of(node));
      append(buffer, '=');
      append(buffer, node.alias.alias);
      break;
    case TYPE_SUBCONFIG:
    case TYPE_COMMAND:
    case TYPE_WORD:
      libglobal::require(false, "0", kSource, __func__);
  }
  if (bracketed) {
    append(buffer, ']');
  }
}

void print_container(const cli_node &node, DynString &buffer) {
  const cli_node *const first = cli_engine::first_arg(&node);
  if (first == nullptr) {
    return;
  }
  const Brackets &brackets = kContainerBrackets[node.container.mode];
  append(buffer, brackets.open);
  for (const cli_node *arg = first; arg != nullptr; arg = arg->arg_link) {
    if (arg != first) {
      append(buffer, brackets.between);
    }
    print_arg(*arg, buffer);
  }
  append(buffer, brackets.close);
}

void print_node_args(const cli_node &node, DynString &buffer) {
  for (const cli_node *arg = cli_engine::first_arg(&node); arg != nullptr; arg = arg->arg_link) {
    print_arg(*arg, buffer);
  }
}

}  // namespace

void cli_engine::append_word_syntax(const cli_node &node, DynString &buffer) {
  debug_space(buffer);
  append(buffer, name_of(node));
  print_node_args(node, buffer);
}

namespace {

// What is dumped is handed over in pieces of about so many bytes.
constexpr std::size_t kWrittenAtOnce = 4096;

// A line repeats the words and arguments of its path, which stand in the buffer already.
void dump_node(cli *engine, const cli_node &node, DynString &buffer, DynString &lines) {
  const cli_node_set *choices = cli_engine::choices_of(node);
  if (choices == nullptr) {
    return;
  }
  const std::size_t path = buffer.len;
  for (const cli_node *choice = cli_engine::first_choice(*choices); choice != nullptr;
       choice = cli_engine::next_choice(*choice)) {
    if (choice->type == TYPE_ALIAS) {
      continue;
    }
    cli_engine::append_word_syntax(*choice, buffer);
    if (choice->type != TYPE_WORD) {
      libglobal::append_all(lines, libglobal::view(buffer), "\n");
      if (lines.len >= kWrittenAtOnce) {
        cli_engine::write_out(engine, lines);
      }
    }
    dump_node(engine, *choice, buffer, lines);
    buffer.len = path;
    buffer.data[path] = '\0';
  }
}

}  // namespace

void cli_debug_dump(cli *engine) {
  if (engine == nullptr) {
    return;
  }
  cli_engine::begin_output(engine);
  const libglobal::DynStringOwner buffer{dyn_string_new()};
  const libglobal::DynStringOwner lines{dyn_string_new()};
  dump_node(engine, engine->root, *buffer, *lines);
  cli_engine::write_out(engine, *lines);
}
