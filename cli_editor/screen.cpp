#include "cli_editor/screen.hpp"

#include <algorithm>
#include <limits>
#include <utility>

namespace cli_editor {

namespace {

constexpr size_t kUnknown = std::numeric_limits<size_t>::max();
constexpr size_t kTabWidth = 8;
constexpr size_t kGap = 6;  // so many cells that stay are cheaper stepped over than written
constexpr std::string_view kClearRow = "\033[K";
constexpr std::string_view kClearBelow = "\033[J";

// By Style.
constexpr const char *kStyles[] = {"", "32", "33", "36", "31", "2", "7"};

void step(size_t count, char letter, std::string &out) {
  if (count == 0) return;
  out += "\033[";
  if (count > 1) out += std::to_string(count);
  out += letter;
}

// The colours in force after one more sequence.
std::string combined(const std::string &colours, std::string_view parameters) {
  if (parameters.empty() || parameters == "0") return "";
  const bool afresh = parameters.starts_with("0;") || colours.empty();
  if (parameters.starts_with("0;")) parameters.remove_prefix(2);
  return (afresh ? "" : colours + ';') + std::string(parameters);
}

}  // namespace

// Puts clusters into the cells of rows.
class Screen::Composer {
 public:
  Composer(Screen &screen, Frame &frame, size_t columns) : screen_(screen), frame_(frame), columns_(columns) {
    frame_.rows.emplace_back();
  }

  void put_prompt(std::string_view text) {
    std::string colours;
    uint8_t style = 0;
    while (!text.empty()) {
      const size_t end = text.starts_with("\033[") ? text.find_first_not_of("0123456789;", 2) : std::string_view::npos;
      if (end != std::string_view::npos && text[end] == 'm') {
        colours = combined(colours, text.substr(2, end - 2));
        style = screen_.style_number(colours);
        text.remove_prefix(end + 1);
      } else if (text[0] == '\n' && screen_.sequences_) {
        new_row();
        text.remove_prefix(1);
      } else {
        text.remove_prefix(put_first(text, style));
      }
    }
  }

  void put_text(const Picture &picture) {
    auto span = picture.spans.begin();
    for (size_t at = 0; at < picture.text.size();) {
      while (span != picture.spans.end() && span->end <= at) ++span;
      const bool within = span != picture.spans.end() && span->begin <= at;
      const size_t length = first_cluster(picture.text.substr(at), screen_.width_of_).length;
      if (picture.cursor >= at && picture.cursor < at + length) cursor_due_ = true;
      at += put_first(picture.text.substr(at), within ? static_cast<uint8_t>(span->style) : 0);
    }
    if (picture.cursor >= picture.text.size()) cursor_due_ = true;
    put_plainly(picture.rest, static_cast<uint8_t>(Style::kPale));
    if (!cursor_due_) return;
    make_room(1);
    place_cursor();
  }

  // As much as the row takes.
  void put_row(std::string_view text) {
    new_row();
    while (!text.empty()) {
      const size_t rows = frame_.rows.size();
      text.remove_prefix(put_first(text, 0));
      if (frame_.rows.size() == rows) continue;
      frame_.rows.pop_back();
      return;
    }
  }

  void new_row() {
    frame_.rows.emplace_back();
    column_ = 0;
  }

 private:
  void put_plainly(std::string_view text, uint8_t style) {
    while (!text.empty()) text.remove_prefix(put_first(text, style));
  }

  // The bytes taken.
  size_t put_first(std::string_view text, uint8_t style) {
    const Cluster cluster = first_cluster(text, screen_.width_of_);
    const std::string_view bytes = text.substr(0, cluster.length);
    switch (cluster.kind) {
      case Cluster::Kind::kTab:
        for (size_t left = kTabWidth - column_ % kTabWidth; left > 0; --left) put(" ", 1, 1, style, false);
        break;
      case Cluster::Kind::kControl:
      case Cluster::Kind::kBytes:
        for (const char c : spelling(bytes, cluster.kind)) put(std::string_view(&c, 1), 1, 1, style, false);
        break;
      case Cluster::Kind::kPlain:
      case Cluster::Kind::kDoubtful: {
        const bool doubtful = cluster.kind == Cluster::Kind::kDoubtful;
        const bool shown = cluster.reach <= columns_ && (screen_.sequences_ || !doubtful);
        if (shown) put(bytes, cluster.width, cluster.reach, style, doubtful);
        if (!shown) put("?", 1, 1, style, false);
        break;
      }
    }
    return cluster.length;
  }

  void put(std::string_view bytes, size_t width, size_t reach, uint8_t style, bool doubtful) {
    make_room(reach);
    if (cursor_due_) place_cursor();
    Row &row = frame_.rows.back();
    row.push_back({static_cast<uint32_t>(frame_.bytes.size()), static_cast<uint8_t>(bytes.size()),
                   static_cast<uint8_t>(width), style, doubtful});
    frame_.bytes += bytes;
    for (size_t i = 1; i < width; ++i) row.push_back({0, 0, 0, style, false});
    column_ += width;
  }

  void make_room(size_t width) {
    if (frame_.rows.back().size() + width > columns_) frame_.rows.emplace_back();
  }

  void place_cursor() {
    frame_.cursor_row = frame_.rows.size() - 1;
    frame_.cursor_column = frame_.rows.back().size();
    cursor_due_ = false;
  }

  Screen &screen_;
  Frame &frame_;
  size_t columns_;
  size_t column_ = 0;        // as if the rows were one
  bool cursor_due_ = false;  // it stands on the next cell
};

Screen::Screen(WidthOf width_of, bool sequences, bool colours)
    : width_of_(width_of), sequences_(sequences), colours_(colours && sequences) {
  palette_.assign(std::begin(kStyles), std::end(kStyles));
}

uint8_t Screen::style_number(const std::string &colours) {
  const auto found = std::find(palette_.begin(), palette_.end(), colours);
  const auto number = static_cast<size_t>(found - palette_.begin());
  if (number > std::numeric_limits<uint8_t>::max()) return 0;
  if (found == palette_.end()) palette_.push_back(colours);
  return static_cast<uint8_t>(number);
}

// ---- What is to be seen, in cells

Screen::Frame Screen::compose(const Picture &picture) {
  Frame frame;
  Composer composer(*this, frame, sequences_ ? columns_ : kUnknown / 2);
  composer.put_prompt(picture.prompt);
  composer.put_text(picture);
  if (!sequences_) {
    scroll_sideways(frame);
    return frame;
  }
  scroll_to_cursor(frame, picture.panel.empty() ? rows_ : std::max<size_t>(1, rows_ / 2));
  compose_panel(picture, composer, frame);
  return frame;
}

void Screen::compose_panel(const Picture &picture, Composer &composer, Frame &frame) {
  const size_t room = rows_ - frame.rows.size();
  const bool paged = picture.panel.size() > room;
  const size_t height = paged && room > 1 ? room - 1 : room;
  pages_ = height == 0 ? 1 : std::max<size_t>(1, (picture.panel.size() + height - 1) / height);
  const size_t page = std::min(picture.page, pages_ - 1);
  const size_t end = std::min(picture.panel.size(), (page + 1) * height);
  for (size_t i = page * height; i < end; ++i) composer.put_row(picture.panel[i]);
  if (!paged || room < 2) return;
  composer.put_row("-- " + std::to_string(page + 1) + " of " + std::to_string(pages_) +
                   (page + 1 < pages_ ? ", Tab for more --" : " --"));
}

// Of a line with more rows than that, those around the cursor.
void Screen::scroll_to_cursor(Frame &frame, size_t height) {
  const size_t count = frame.rows.size();
  height = std::min(height, count);
  if (frame.cursor_row >= top_ + height) top_ = frame.cursor_row + 1 - height;
  top_ = std::min({top_, frame.cursor_row, count - height});
  const auto first = frame.rows.begin() + static_cast<std::ptrdiff_t>(top_);
  frame.rows = {std::make_move_iterator(first), std::make_move_iterator(first + static_cast<std::ptrdiff_t>(height))};
  frame.cursor_row -= top_;
}

// Of the only row, the part around the cursor that a row of the terminal takes, the last column left free.
void Screen::scroll_sideways(Frame &frame) {
  Row &row = frame.rows.front();
  const size_t width = std::max<size_t>(2, columns_) - 1;
  if (frame.cursor_column < left_ || frame.cursor_column >= left_ + width) {
    left_ = frame.cursor_column - std::min(frame.cursor_column, width / 2);
    if (row.size() < width) left_ = 0;
  }
  const Cell blank{static_cast<uint32_t>(frame.bytes.size()), 1, 1, 0, false};
  frame.bytes += ' ';
  Row part(row.begin() + static_cast<std::ptrdiff_t>(std::min(left_, row.size())),
           row.begin() + static_cast<std::ptrdiff_t>(std::min(left_ + width, row.size())));
  if (!part.empty() && part.front().width == 0) part.front() = blank;  // halves of wide characters
  if (!part.empty() && part.back().width > 1) part.back() = blank;
  row = std::move(part);
  frame.cursor_column -= left_;
}

bool Screen::same(const Frame &frame, const Cell &a, const Cell &b) const {
  return a.style == b.style && a.width == b.width &&
         std::string_view(frame.bytes).substr(a.begin, a.length) ==
             std::string_view(shown_.bytes).substr(b.begin, b.length);
}

// ---- Drawing

void Screen::draw(const Picture &picture, std::string &out) {
  Frame frame = compose(picture);
  for (size_t row = 0; row < frame.rows.size(); ++row) draw_row(frame, row, out);
  set_style(0, out);
  if (shown_.rows.size() > frame.rows.size()) {
    move(frame.rows.size(), 0, out);
    out += kClearBelow;
  }
  shown_ = std::move(frame);
  move(shown_.cursor_row, shown_.cursor_column, out);
}

void Screen::draw_row(const Frame &frame, size_t row, std::string &out) {
  const Row &now = frame.rows[row];
  if (row >= shown_.rows.size()) {
    if (row > 0) {
      set_style(0, out);
      move(row - 1, column_ == kUnknown ? 0 : column_, out);
      out += "\r\n";
      row_ = row;
      column_ = 0;
    }
    shown_.rows.emplace_back();
  }
  const Row &before = shown_.rows[row];
  const size_t shared = std::min(now.size(), before.size());
  for (size_t at = 0; at < now.size();) {
    size_t changed = at;
    while (changed < shared && same(frame, now[changed], before[changed])) ++changed;
    if (changed == now.size()) break;
    if (changed - at >= kGap || at == 0) at = changed;
    const auto is_doubtful = [](const Cell &cell) { return cell.doubtful; };
    if (std::any_of(now.begin() + static_cast<std::ptrdiff_t>(at), now.end(), is_doubtful) ||
        (at < before.size() &&
         std::any_of(before.begin() + static_cast<std::ptrdiff_t>(at), before.end(), is_doubtful))) {
      return draw_doubtful(frame, row, at, out);
    }
    move(row, at, out);
    do {
      put(frame, now[at], out);
      ++at;
    } while (at < now.size() && (at >= shared || now[at].width == 0 || !same(frame, now[at], before[at])));
  }
  if (before.size() > now.size()) {
    move(row, now.size(), out);
    clear_row_from(now.size(), before.size(), out);
  }
}

// The rest of a row in which terminals disagree about columns: it is cleared, and behind each such character the
// cursor goes to where the next one belongs.
void Screen::draw_doubtful(const Frame &frame, size_t row, size_t from, std::string &out) {
  const Row &now = frame.rows[row];
  move(row, from, out);
  set_style(0, out);
  out += kClearRow;
  for (size_t at = from; at < now.size(); ++at) {
    put(frame, now[at], out);
    if (!now[at].doubtful) continue;
    const size_t next = at + now[at].width;
    column_ = kUnknown;
    if (next >= columns_) continue;
    set_style(0, out);
    move(row, next, out);
    out += kClearRow;
  }
}

void Screen::put(const Frame &frame, const Cell &cell, std::string &out) {
  if (cell.width == 0) return;
  set_style(cell.style, out);
  out.append(frame.bytes, cell.begin, cell.length);
  column_ += cell.width;
  if (column_ >= columns_) column_ = kUnknown;
}

void Screen::set_style(uint8_t style, std::string &out) {
  if (!colours_ || style == style_) return;
  out += "\033[";
  if (style_ != 0 && style != 0) out += "0;";
  out += palette_[style];
  out += 'm';
  style_ = style;
}

void Screen::move(size_t row, size_t column, std::string &out) {
  if (row != row_) {
    step(row < row_ ? row_ - row : row - row_, row < row_ ? 'A' : 'B', out);
    row_ = row;
  }
  move_in_row(column, out);
}

void Screen::move_in_row(size_t column, std::string &out) {
  if (column == column_) return;
  if (!sequences_) {
    if (column_ == kUnknown || column == 0) {
      out += '\r';
      column_ = 0;
    }
    // Forward over what is there already.
    if (column < column_) out.append(column_ - column, '\b');
    const Row *const row = shown_.rows.empty() ? nullptr : &shown_.rows.front();
    for (; column_ < column && row != nullptr && column_ < row->size(); ++column_) {
      out.append(shown_.bytes, (*row)[column_].begin, (*row)[column_].length);
    }
  } else if (column == 0) {
    out += '\r';
  } else if (column_ != kUnknown && column > column_) {
    step(column - column_, 'C', out);
  } else if (column_ != kUnknown && column_ - column <= 3) {
    out.append(column_ - column, '\b');
  } else if (column_ != kUnknown && column_ - column <= column) {
    step(column_ - column, 'D', out);
  } else {
    out += '\r';
    step(column, 'C', out);
  }
  column_ = column;
}

void Screen::clear_row_from(size_t column, size_t end, std::string &out) {
  set_style(0, out);
  if (sequences_) {
    out += kClearRow;
  } else {
    out.append(end - column, ' ');
    out.append(end - column, '\b');
  }
}

void Screen::forget() {
  shown_ = {};
  row_ = column_ = top_ = left_ = 0;
}

void Screen::finish(std::string &out) {
  set_style(0, out);
  if (!shown_.rows.empty()) move(shown_.rows.size() - 1, column_ == kUnknown ? 0 : column_, out);
  out += "\r\n";
  forget();
}

void Screen::erase(std::string &out) {
  if (shown_.rows.empty()) return;
  set_style(0, out);
  move(0, 0, out);
  if (sequences_) {
    out += kClearBelow;
  } else {
    clear_row_from(0, shown_.rows.front().size(), out);
  }
  forget();
}

// The rows that a terminal makes of a row's first cells when its window is so wide.
size_t Screen::folded_rows(const Row &row, size_t end, size_t columns) {
  size_t rows = 1;
  size_t column = 0;
  for (size_t at = 0; at < end; ++at) {
    const size_t width = at < row.size() ? row[at].width : 1;
    if (column + width > columns) {
      ++rows;
      column = 0;
    }
    column += width;
  }
  return rows;
}

// Terminals fold rows that are longer than the new window; the cursor stays on its character.
void Screen::resize(size_t columns, size_t rows, std::string &out) {
  const size_t old_columns = std::exchange(columns_, columns == 0 ? 80 : columns);
  rows_ = rows == 0 ? 24 : rows;
  if (shown_.rows.empty()) return;
  size_t above = 0;
  for (size_t row = 0; row < row_; ++row) above += folded_rows(shown_.rows[row], shown_.rows[row].size(), columns_);
  above += folded_rows(shown_.rows[row_], column_ == kUnknown ? old_columns : column_ + 1, columns_) - 1;
  set_style(0, out);
  out += '\r';
  if (sequences_) {
    step(std::min(above, rows_ - 1), 'A', out);
    out += kClearBelow;
  } else {
    out += '\n';
  }
  forget();
}

}  // namespace cli_editor
