#include "cli_editor/history.hpp"

namespace cli_editor {

void History::remember(const std::string &line) {
  if (lines_.empty() || lines_.back() != line) lines_.push_back(line);
  if (lines_.size() > most_) lines_.pop_front();
  end_walk();
}

const std::string &History::line(size_t place) const {
  static const std::string nothing;
  const auto edited = edited_.find(place);
  if (edited != edited_.end()) return edited->second;
  return place < lines_.size() ? lines_[place] : nothing;
}

void History::leave(size_t to, const std::string &present) {
  if (present != line(place_)) edited_[place_] = present;
  place_ = to;
}

void History::end_walk() {
  edited_.clear();
  place_ = lines_.size();
}

}  // namespace cli_editor
