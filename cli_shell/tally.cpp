#include "cli_shell/tally.hpp"

namespace cli_shell {
namespace {

constexpr size_t kMostTold = 20;

}  // namespace

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
