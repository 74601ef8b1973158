// The rows that a line takes on a terminal, and how to change what is there into what should be there.
#ifndef CLI_EDITOR_SCREEN_HPP
#define CLI_EDITOR_SCREEN_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli_editor/characters.hpp"
#include "cli_editor/editor.hpp"

namespace cli_editor {

// What is to be seen.
struct Picture {
  std::string_view prompt;  // newlines and colour sequences have their meaning
  std::string_view text;
  size_t cursor = 0;
  std::vector<Look::Span> spans = {};
  std::string_view rest = {};           // pale, behind the text
  std::vector<std::string> panel = {};  // rows below, cut at the window's edge
  size_t page = 0;                      // of the panel, where it does not fit
};

// Where the drawn rows stand in the window is not known: all motion is relative to the first of them, and no more rows
// are drawn than the window has. Nothing relies on what a terminal does behind its last column.
class Screen {
 public:
  Screen(WidthOf width_of, bool sequences, bool colours);

  void resize(size_t columns, size_t rows, std::string &out);
  size_t columns() const { return columns_; }

  void draw(const Picture &picture, std::string &out);
  size_t pages() const { return pages_; }  // of the panel last drawn

  // Ends the row of the cursor, which stands at the end of what was drawn; what is drawn next begins below.
  void finish(std::string &out);
  void erase(std::string &out);
  void forget();
  bool is_clear() const { return shown_.rows.empty(); }

 private:
  struct Cell {
    uint32_t begin;  // of its bytes; a wide character's second cell has none
    uint8_t length;
    uint8_t width;
    uint8_t style;
    bool doubtful;
  };
  using Row = std::vector<Cell>;
  struct Frame {
    std::string bytes;
    std::vector<Row> rows;
    size_t cursor_row = 0;
    size_t cursor_column = 0;
  };
  class Composer;

  uint8_t style_number(const std::string &colours);
  Frame compose(const Picture &picture);
  void compose_panel(const Picture &picture, Composer &composer, Frame &frame);
  void scroll_to_cursor(Frame &frame, size_t height);
  void scroll_sideways(Frame &frame);
  bool same(const Frame &frame, const Cell &a, const Cell &b) const;

  void draw_row(const Frame &frame, size_t row, std::string &out);
  void draw_doubtful(const Frame &frame, size_t row, size_t from, std::string &out);
  void put(const Frame &frame, const Cell &cell, std::string &out);
  void set_style(uint8_t style, std::string &out);
  void move(size_t row, size_t column, std::string &out);
  void move_in_row(size_t column, std::string &out);
  static size_t folded_rows(const Row &row, size_t end, size_t columns);
  void clear_row_from(size_t column, size_t end, std::string &out);

  WidthOf width_of_;
  bool sequences_;
  bool colours_;
  size_t columns_ = 80;
  size_t rows_ = 24;
  std::vector<std::string> palette_;  // by style number

  Frame shown_;
  size_t row_ = 0;     // the terminal's cursor, from the first row drawn
  size_t column_ = 0;  // kUnknown behind the last column
  uint8_t style_ = 0;
  size_t top_ = 0;   // the first row of the line that is shown, where it has more than the window
  size_t left_ = 0;  // the first column, where all is in one row
  size_t pages_ = 1;
};

}  // namespace cli_editor

#endif
