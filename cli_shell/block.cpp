#include "cli_shell/block.hpp"

#include <algorithm>

#include "cli_shell/words.hpp"

namespace cli_shell {
namespace {

constexpr size_t kTabStop = 8;
constexpr size_t kMostTold = 20;

size_t indentation(std::string_view line) {
  size_t column = 0;
  for (const char c : line) {
    if (!is_blank(c)) break;
    column = c == '\t' ? (column / kTabStop + 1) * kTabStop : column + 1;
  }
  return column;
}

bool is_exit(std::string_view line) {
  while (!line.empty() && is_blank(line.back())) line.remove_suffix(1);
  while (!line.empty() && is_blank(line.front())) line.remove_prefix(1);
  return line == "exit";
}

}  // namespace

Block::Block(cli *engine) : engine_(engine), base_depth_(depth()) {}

size_t Block::depth() const {
  size_t modes = 0;
  for (cli_node *mode = engine_->current; mode && mode != &engine_->root; ++modes)
    mode = cli_get_parent_subconfig(mode);
  return modes;
}

bool Block::wants(std::string_view line) {
  margin_ = indentation(line);
  if (failed_ != kNone) {
    const bool below = margin_ > failed_;
    if (below || (margin_ == failed_ && has_block_ && !closed_ && is_exit(line))) {
      has_block_ = true;
      closed_ = is_exit(line);
      return false;
    }
  }
  // An "exit" closes the mode whose first line, or whose entering line, it stands under.
  const auto is_over = [&](const Margins &mode) {
    if (is_exit(line)) return mode.entry > margin_;
    return margin_ < (mode.inside == kNone ? mode.entry : mode.inside);
  };
  while (!modes_.empty() && is_over(modes_.back())) {
    cli_pop_subconfig(engine_);
    modes_.pop_back();
  }
  if (!modes_.empty() && modes_.back().inside == kNone) modes_.back().inside = margin_;
  return true;
}

void Block::note(bool failed) {
  const size_t now = depth();
  base_depth_ = std::min(base_depth_, now);
  modes_.resize(std::min(modes_.size(), now - base_depth_), {});
  modes_.resize(now - base_depth_, {margin_, kNone});
  failed_ = failed ? margin_ : kNone;
  has_block_ = closed_ = false;
}

void Tally::count(bool failed) {
  ++lines_;
  if (!failed) return;
  ++failed_;
  if (which_.size() < kMostTold) which_.push_back(lines_);
}

std::string Tally::report() const {
  if (lines_ < 2 || failed_ == 0) return "";
  std::string text = std::to_string(lines_) + " lines, " + std::to_string(failed_) + " failed";
  for (size_t i = 0; i < which_.size(); ++i) text += (i == 0 ? ": " : ", ") + std::to_string(which_[i]);
  return failed_ > which_.size() ? text + ", ..." : text;
}

}  // namespace cli_shell
