// Parsing a line to see what would become of it, while the marks of the engine's own line stay.
#ifndef CLI_ENGINE_TRIAL_HPP
#define CLI_ENGINE_TRIAL_HPP

#include "cli_engine/cli_engine.h"
#include "cli_engine/privilege_index.hpp"

namespace cli_engine {

// The marks of a tree: put aside while this lives, back in place afterwards.
class MarksAside {
 public:
  explicit MarksAside(cli_node &root);
  ~MarksAside();
  MarksAside(const MarksAside &) = delete;
  MarksAside &operator=(const MarksAside &) = delete;

 private:
  struct Kept {
    cli_node *node;
    token *tok;
    json_t *value;  // owned
    std::uint8_t used;
    std::uint8_t completed;
  };

  cli_node &root_;
  std::uint8_t root_used_;
  Vector<Kept> kept_;
};

// Lines tried in any mode and at any level, with words of their own. What the last one left may be read until the next.
class Trial {
 public:
  explicit Trial(cli &engine);
  ~Trial();
  Trial(const Trial &) = delete;
  Trial &operator=(const Trial &) = delete;

  // Parses a line; true when it would be run.
  bool run(const char *line, cli_node *mode, std::int32_t privilege);

  // The same in a mode that is not open, as it will be once the line that enters it has given the mode's arguments.
  bool run_inside(const char *line, cli_node *mode, std::int32_t privilege);

  [[nodiscard]] const parser_error &error() const { return *parser_.error; }
  [[nodiscard]] const token *first() const { return tokens_.tokens.first; }

  // How many words the line did not come to, the one blamed among them.
  [[nodiscard]] std::size_t rest() const;

  parser &result() { return parser_; }

 private:
  MarksAside marks_;
  tokenizer tokens_{};
  parser parser_{};
};

}  // namespace cli_engine

#endif
