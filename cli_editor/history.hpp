// Lines entered before, and the walk through them.
#ifndef CLI_EDITOR_HISTORY_HPP
#define CLI_EDITOR_HISTORY_HPP

#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace cli_editor {

// Places count from the oldest line; the place behind the newest is that of the line being typed. A line that was
// edited on the way stays as it was left until the walk ends.
class History {
 public:
  explicit History(size_t most) : most_(most) {}

  // Adds a line, unless it repeats the newest.
  void remember(const std::string &line);

  size_t size() const { return lines_.size(); }
  size_t place() const { return place_; }
  const std::string &line(size_t place) const;  // as it was left

  // Leaves the line at the present place as it is now, and goes to another.
  void leave(size_t to, const std::string &present);
  void end_walk();

  // The nearest place before or behind another whose line meets a condition.
  template <class Condition>
  std::optional<size_t> find(size_t from, bool back, Condition meets) const {
    for (size_t place = from; back ? place > 0 : place < lines_.size();) {
      place = back ? place - 1 : place + 1;
      if (meets(line(place))) return place;
    }
    return std::nullopt;
  }

 private:
  size_t most_;
  std::deque<std::string> lines_;
  size_t place_ = 0;
  std::map<size_t, std::string> edited_;
};

}  // namespace cli_editor

#endif
