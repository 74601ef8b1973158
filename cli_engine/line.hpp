// What executing a line and helping with one have in common.
#ifndef CLI_ENGINE_LINE_HPP
#define CLI_ENGINE_LINE_HPP

#include <string_view>

#include "cli_engine/display.hpp"
#include "cli_engine/engine_state.hpp"
#include "cli_engine/node.hpp"
#include "libglobal/dyn_string.hpp"
#include "libglobal/ptr_vector.hpp"

namespace cli_engine {

inline constexpr std::string_view kErrorColour = "\033[31m";
inline constexpr std::string_view kMessageColour = "\033[35m";
inline constexpr std::string_view kReset = "\033[m";

// Tokenizes a line and parses it from the present mode into the parser's own error record.
cli_node *parse_line(cli *engine, const char *line, int cursor);

// Whether a line is a comment: with CLI_CONFIG among the options, blank and indented ones are too.
inline bool is_comment(const char *line, unsigned options) {
  if ((options & CLI_CONFIG) != 0) {
    while (*line == ' ' || (*line >= '\t' && *line <= '\r')) {
      line++;
    }
    if (*line == '\0') {
      return true;
    }
  }
  return *line == '!' || *line == '#';
}

// Whether a node is a command with a handler.
inline bool is_command(const cli_node *node) {
  return node != nullptr && node->type == TYPE_COMMAND && node->parent != nullptr;
}

// Whether a command is called that and stands directly in a mode, as the built-in "exit" and "end" do.
inline bool is_way_out(const cli_node &command, std::string_view name) {
  return is_mode(command.parent) && same_name(name_of(command), name);
}

// Runs a line in an engine that is not busy and leaves its outcome in the state.
void run_line(cli *engine, EngineState &state, const char *line, unsigned options);

// The part of it behind the parse, which selected the node; the outcome is empty before.
void perform(cli *engine, EngineState &state, const char *line, cli_node *selected, unsigned options);

// Shows what the command fed and completes its outcome.
void end_command(cli *engine, EngineState &state, int result);

// Finds what the parser's error blames in the line as it was typed.
void blame(cli &engine, std::string_view line, cli_outcome &outcome);

// A table is written in pieces of about so many bytes.
inline constexpr std::size_t kWrittenAtOnce = 1024;

// Nodes with their help texts, a line each, the help texts in one column. What the text holds before
// is written with them.
class NodeTable {
 public:
  NodeTable(cli *engine, DynString &text, PtrVector &nodes) : engine_(engine), text_(text), nodes_(nodes) {}

  // Prints those that `shown` is true for, with `before` and `after` around the notation.
  template <class Shown>
  void print(std::string_view before, std::string_view after, Shown shown) const {
    const bool colour = has_colours(*engine_);
    int widest = 0;
    for_each(shown, [&](const cli_node &node) {
      const int width = visible_width(node, text_);
      widest = width > widest ? width : widest;
    });
    for_each(shown, [&](const cli_node &node) {
      libglobal::append(text_, before);
      const int width = print_node(node, nullptr, text_, colour);
      libglobal::append(text_, after);
      libglobal::fill(text_, ' ', static_cast<std::size_t>(widest - width));
      libglobal::append_all(text_, "\t", node.help, "\n");
      if (text_.len >= kWrittenAtOnce) {
        write_out(engine_, text_);
      }
    });
    write_out(engine_, text_);
  }

 private:
  template <class Shown, class Visit>
  void for_each(Shown shown, Visit visit) const {
    for (void *item : libglobal::items(nodes_)) {
      const auto &node = *static_cast<const cli_node *>(item);
      if (shown(node)) {
        visit(node);
      }
    }
  }

  cli *engine_;
  DynString &text_;
  PtrVector &nodes_;
};

}  // namespace cli_engine

#endif
