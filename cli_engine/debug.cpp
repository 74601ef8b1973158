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

// Appends to a buffer, in colour or not, and knows what it last showed.
class Syntax {
 public:
  // `last` is what stands before, or NUL for nothing.
  Syntax(DynString &out, bool colour, char last) : out_(out), colour_(colour), last_(last) {}

  void word(const cli_node &node) {
    space();
    named(node, kWordColour);
    args(node);
  }

  void arg(const cli_node &node) {
    space();
    const bool bracketed = node.type != TYPE_CONTAINER && cli_engine::is_optional(node);
    put(bracketed ? "[" : "");
    switch (node.type) {
      case TYPE_KEY:
        named(node, kKeyColour);
        args(node);
        break;
      case TYPE_VALUE:
        put("<");
        named(node, kValueColour);
        put(kRepeatMarks[node.value.repeat]);
        put(">");
        break;
      case TYPE_CONTAINER:
        group(node);
        break;
      case TYPE_ALIAS:
        put("*");
        put(name_of(node));
        put("=");
        put(node.alias.alias);
        break;
      case TYPE_SUBCONFIG:
      case TYPE_COMMAND:
      case TYPE_WORD:
        libglobal::require(false, "0", kSource, "print_arg");
    }
    put(bracketed ? "]" : "");
  }

  [[nodiscard]] std::size_t width() const { return width_; }

 private:
  static constexpr std::string_view kWordColour = "\033[32m";
  static constexpr std::string_view kKeyColour = "\033[33m";
  static constexpr std::string_view kValueColour = "\033[36m";

  void put(std::string_view text) {
    append(out_, text);
    width_ += text.size();
    last_ = text.empty() ? last_ : text.back();
  }

  void named(const cli_node &node, std::string_view colour) {
    append(out_, colour_ ? colour : "");
    put(name_of(node));
    append(out_, colour_ ? "\033[m" : "");
  }

  void space() {
    if (last_ != '\0' && std::string_view{" <[{"}.find(last_) == std::string_view::npos) {
      put(" ");
    }
  }

  void group(const cli_node &node) {
    const cli_node *const first = cli_engine::first_arg(&node);
    if (first == nullptr) {
      return;
    }
    const Brackets &brackets = kContainerBrackets[node.container.mode];
    put(brackets.open);
    for (const cli_node *member = first; member != nullptr; member = member->arg_link) {
      put(member == first ? "" : brackets.between);
      arg(*member);
    }
    put(brackets.close);
  }

  void args(const cli_node &node) {
    for (const cli_node *inner = cli_engine::first_arg(&node); inner != nullptr; inner = inner->arg_link) {
      arg(*inner);
    }
  }

  DynString &out_;
  bool colour_;
  char last_;
  std::size_t width_ = 0;
};

void print_line(const cli_node &node, Syntax &syntax) {
  if (node.parent != nullptr) {
    print_line(*node.parent, syntax);
    syntax.word(node);
  }
}

}  // namespace

void cli_engine::append_word_syntax(const cli_node &node, DynString &buffer) {
  Syntax(buffer, false, buffer.len == 0 ? '\0' : buffer.data[buffer.len - 1]).word(node);
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
  if (cli_engine::state_if_up(engine) == nullptr) {
    return;
  }
  cli_engine::begin_output(engine);
  const libglobal::DynStringOwner buffer{dyn_string_new()};
  const libglobal::DynStringOwner lines{dyn_string_new()};
  dump_node(engine, engine->root, *buffer, *lines);
  cli_engine::write_out(engine, *lines);
}

int cli_print_syntax(const cli_node *node, DynString *out, int colour) {
  if (node == nullptr || out == nullptr) {
    return 0;
  }
  Syntax syntax(*out, colour != 0, '\0');
  if (!cli_engine::is_choice_kind(*node)) {
    syntax.arg(*node);
  } else if (node->type != TYPE_ALIAS) {
    print_line(*node, syntax);
  } else {
    print_line(*node->parent, syntax);
    syntax.arg(*node);
  }
  return static_cast<int>(syntax.width());
}
