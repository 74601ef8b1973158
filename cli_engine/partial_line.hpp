// A line whose last word is being typed: what help and completion have in common.
#ifndef CLI_ENGINE_PARTIAL_LINE_HPP
#define CLI_ENGINE_PARTIAL_LINE_HPP

#include <cstddef>
#include <string_view>

#include "cli_engine/line.hpp"
#include "cli_engine/node.hpp"
#include "cli_engine/parser.hpp"

namespace cli_engine {

// A line as far as it was typed. While its last word is being typed, walks over the tokens end before that word.
class PartialLine {
 public:
  PartialLine(cli *engine, const char *line, std::size_t length, bool partial) : engine_(engine), partial_(partial) {
    engine->tokenizer.stop_at_cursor = partial ? 1 : 0;
    selected_ = parse_line(engine, line, static_cast<int>(length));
  }
  PartialLine(const PartialLine &) = delete;
  PartialLine &operator=(const PartialLine &) = delete;
  ~PartialLine() { engine_->tokenizer.stop_at_cursor = 0; }

  [[nodiscard]] bool is_partial() const { return partial_; }
  [[nodiscard]] int error() const { return engine_->parser.error->errcode; }

  // The node that the words before select; null when they do not make a line.
  [[nodiscard]] const cli_node *selected() const { return selected_; }

  // The word that holds the cursor, or null.
  [[nodiscard]] const token *word() const { return engine_->tokenizer.cursor_token; }

  [[nodiscard]] std::string_view prefix() const { return word() == nullptr ? std::string_view{} : text_of(*word()); }

  // What may follow. Only words that begin with the prefix are among it: others could not be shown.
  [[nodiscard]] PtrVector &available() const {
    PtrVector &nodes = *state_of(engine_->parser).nodes;
    get_available_nodes(engine_->parser, &nodes, prefix());
    return nodes;
  }

 private:
  cli *engine_;
  bool partial_;
  cli_node *selected_;
};

// Whether a word that is being typed may become a value.
inline bool may_become_value(const cli_node &value, const token &word) {
  return validator_match_partial(&value.value.validator, word.text, word.len) != 0;
}

// Whether help lists a node that may follow, for the word that is being typed or, when there is none, a null one.
inline bool is_helpful(const cli_node &node, const token *word) {
  if (word == nullptr) {
    return node.type != TYPE_ALIAS;
  }
  return node.type == TYPE_VALUE ? may_become_value(node, *word) : begins_with(name_of(node), text_of(*word));
}

}  // namespace cli_engine

#endif
