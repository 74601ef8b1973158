// The line being edited: text, cursor and what was changed.
#ifndef CLI_EDITOR_LINE_HPP
#define CLI_EDITOR_LINE_HPP

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "cli_editor/characters.hpp"

namespace cli_editor {

// Nothing of a text stays in memory; its length stays.
void wipe(std::string &text);

// Places are bytes of the text and stand between clusters: one given within a cluster means its beginning. But the
// cursor stays behind what was put in even when that joins what follows: the next character may part them again.
class Line {
 public:
  Line(WidthOf width_of, size_t longest) : width_of_(width_of), longest_(longest) {}

  const std::string &text() const { return text_; }
  size_t cursor() const { return cursor_; }
  size_t size() const { return text_.size(); }
  bool empty() const { return text_.empty(); }
  std::string_view before_cursor() const { return std::string_view(text_).substr(0, cursor_); }
  std::string_view behind_cursor() const { return std::string_view(text_).substr(cursor_); }
  std::string_view part(size_t from, size_t to) const;
  char at(size_t place) const { return place < text_.size() ? text_[place] : '\0'; }

  size_t snapped(size_t place) const;
  size_t after(size_t place) const;   // the end of the cluster there
  size_t before(size_t place) const;  // the beginning of the one that ends there
  void move(size_t place) { cursor_ = snapped(place); }

  // Puts a text in the place of a part and the cursor behind it. False when not all of it fits: then as much as does.
  bool replace(size_t from, size_t to, std::string_view with);
  bool insert(std::string_view text) { return replace(cursor_, cursor_, text); }
  void set(std::string_view text);  // the cursor at its end

  // Changes with the same number are undone together.
  void begin_change(size_t number) { change_ = number; }
  bool undo();
  void forget_changes();

  // An empty line. One that is not kept is a secret: nothing of it stays in memory.
  void reset(bool keeps, size_t longest);

 private:
  struct State {
    std::string text;
    size_t cursor;
  };
  const std::vector<size_t> &cuts() const;
  void keep_for_undo();

  WidthOf width_of_;
  size_t longest_;
  std::string text_;
  size_t cursor_ = 0;
  size_t change_ = 0;
  size_t kept_change_ = 0;
  bool keeps_ = true;
  std::deque<State> earlier_;
  mutable std::vector<size_t> cuts_ = {0};  // where clusters begin, and the end; empty when not known
};

}  // namespace cli_editor

#endif
