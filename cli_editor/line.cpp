#include "cli_editor/line.hpp"

#include <algorithm>
#include <cstring>

namespace cli_editor {

namespace {

constexpr size_t kChangesKept = 100;

}  // namespace

void wipe(std::string &text) {
  explicit_bzero(text.data(), text.capacity());
}

const std::vector<size_t> &Line::cuts() const {
  if (!cuts_.empty()) return cuts_;
  size_t at = 0;
  while (at < text_.size()) {
    cuts_.push_back(at);
    at += first_cluster(std::string_view(text_).substr(at), width_of_).length;
  }
  cuts_.push_back(text_.size());
  return cuts_;
}

std::string_view Line::part(size_t from, size_t to) const {
  from = std::min(from, text_.size());
  return std::string_view(text_).substr(from, std::max(from, to) - from);
}

size_t Line::snapped(size_t place) const {
  return *std::prev(std::upper_bound(cuts().begin(), cuts().end(), place));
}

size_t Line::after(size_t place) const {
  const auto next = std::upper_bound(cuts().begin(), cuts().end(), place);
  return next == cuts().end() ? text_.size() : *next;
}

size_t Line::before(size_t place) const {
  const auto here = std::lower_bound(cuts().begin(), cuts().end(), place);
  return here == cuts().begin() ? 0 : *std::prev(here);
}

bool Line::replace(size_t from, size_t to, std::string_view with) {
  if (from != cursor_) from = snapped(from);
  to = std::max(from, to == cursor_ ? to : snapped(to));
  const size_t room = longest_ - std::min(longest_, text_.size() - (to - from));
  const bool fits = with.size() <= room;
  if (!fits) {
    size_t taken = 0;
    for (size_t next = 0; next <= room; next += first_cluster(with.substr(next), width_of_).length) taken = next;
    with = with.substr(0, taken);
  }
  if (from == to && with.empty()) return fits;
  keep_for_undo();
  text_.replace(from, to - from, with);
  cuts_.clear();
  cursor_ = from + with.size();
  return fits;
}

void Line::set(std::string_view text) {
  if (text != text_) replace(0, text_.size(), text);
  cursor_ = text_.size();
}

void Line::keep_for_undo() {
  if (!keeps_ || (change_ == kept_change_ && !earlier_.empty())) return;
  kept_change_ = change_;
  earlier_.push_back({text_, cursor_});
  if (earlier_.size() > kChangesKept) earlier_.pop_front();
}

bool Line::undo() {
  if (earlier_.empty()) return false;
  text_ = std::move(earlier_.back().text);
  cuts_.clear();
  cursor_ = snapped(earlier_.back().cursor);
  earlier_.pop_back();
  kept_change_ = change_;
  ++change_;
  return true;
}

void Line::forget_changes() {
  earlier_.clear();
  kept_change_ = change_ - 1;
}

void Line::reset(bool keeps, size_t longest) {
  wipe(text_);  // whatever the line held, no later one has a use for it
  keeps_ = keeps;
  longest_ = longest;
  text_.clear();
  if (!keeps) text_.reserve(longest_);  // growing would leave copies
  cuts_.clear();
  cursor_ = 0;
  forget_changes();
}

}  // namespace cli_editor
