// Lines that rules type into the engine, so that what they say about a line was seen.
#ifndef CLI_CHECK_TRIAL_HPP
#define CLI_CHECK_TRIAL_HPP

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "cli_check/tree.hpp"

namespace cli_check {

// A word of a line, and the keyword, value or word of the tree that it is meant for.
struct Step {
  const cli_node *node;
  std::string text;
};
using Steps = std::vector<Step>;
[[nodiscard]] std::string line_of(const Steps &steps);

// What is typed in a word's mode to give the word with what its arguments require, and what of the rest is wanted, in
// the order in which the syntax shows it. Nothing when a value is needed of which no text is known.
using Wanted = std::function<bool(const cli_node &argument)>;
[[nodiscard]] std::optional<Steps> steps_of(const cli_node &word, const Wanted &wanted);

// What is typed before a keyword or value comes, with what else is wanted.
[[nodiscard]] std::optional<std::string> line_before(
    const cli_node &argument, const Wanted &wanted = [](const cli_node &) { return false; });

// A text that the value accepts.
[[nodiscard]] std::optional<std::string> sample_of(const cli_node &value);

// The shortest beginning of a name that the value accepts, as it is written; empty for none.
[[nodiscard]] std::string accepted_beginning(const cli_node &value, std::string_view name);

[[nodiscard]] bool is_below(const cli_node &node, const cli_node &top);  // or is it

// A line that was typed in the mode of a word, as if it stood open.
struct Typed {
  Typed(cli *engine, const cli_node &word, const std::string &line);

  const cli_node *end;  // the command; null for a line that is not taken
  int code;
  std::string misfit;                   // the word at which it fails
  std::vector<const cli_node *> taken;  // by its words, as far as they were taken

  // By the last word.
  [[nodiscard]] const cli_node *last() const { return taken.empty() ? nullptr : taken.back(); }
};

}  // namespace cli_check

#endif
