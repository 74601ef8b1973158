// A small terminal that understands what a line editor may write, and nothing else: anything more is a fault.
#ifndef TESTS_TERMINAL_HPP
#define TESTS_TERMINAL_HPP

#include <wchar.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

class Terminal {
 public:
  // `joins`: it takes emoji sequences for one character, two columns wide. `wraps`: behind the last column, late.
  Terminal(size_t columns, size_t rows, bool joins, bool wraps)
      : columns_(columns), rows_(rows), joins_(joins), wraps_(wraps) {}

  void write(std::string_view bytes) {
    while (!bytes.empty()) bytes.remove_prefix(take(bytes));
  }

  // The rows are folded when it becomes narrower; the cursor stays on its character.
  void resize(size_t columns, size_t rows) {
    std::vector<Row> folded;
    size_t cursor_row = 0, cursor_column = 0;
    for (size_t r = 0; r < lines_.size(); r++) {
      folded.emplace_back();
      const size_t end = std::max(lines_[r].size(), r == row_ ? column_ + 1 : 0);
      for (size_t c = 0, column = 0; c < end; c++) {
        Cell cell = c < lines_[r].size() ? lines_[r][c] : Cell{" ", 1};
        if (column + cell.width > columns) folded.emplace_back(), column = 0;
        if (r == row_ && c == column_) cursor_row = folded.size() - 1, cursor_column = column;
        column += cell.width;
        folded.back().push_back(cell);
      }
    }
    lines_ = folded;
    row_ = cursor_row, column_ = cursor_column, columns_ = columns, rows_ = rows;
    late_ = false;
    while (lines_.size() > row_ + 1 && lines_.size() > rows_ && text(lines_.size() - 1).empty()) lines_.pop_back();
    top_ = std::max(std::min(top_, row_), row_ + 1 - std::min(row_ + 1, rows_));
  }

  std::string text(size_t row) const {
    std::string text;
    for (const Cell &cell : row < lines_.size() ? lines_[row] : Row()) text += cell.text;
    return text.substr(0, text.find_last_not_of(' ') + 1);
  }
  size_t rows() const { return lines_.size(); }  // with those that have left the window
  size_t row() const { return row_; }
  size_t column() const { return column_; }
  size_t written = 0;
  std::string fault;

 private:
  struct Cell {
    std::string text;
    size_t width;  // 0 for the second half of a wide one
  };
  using Row = std::vector<Cell>;

  size_t take(std::string_view bytes) {
    written++;
    switch (bytes[0]) {
      case '\r':
        column_ = 0;
        break;
      case '\n':
        row_++;
        if (row_ >= lines_.size()) lines_.resize(row_ + 1);
        if (row_ >= top_ + rows_) top_ = row_ + 1 - rows_;
        break;
      case '\b':
        column_ -= column_ > 0 ? 1 : 0;
        break;
      case '\a':
        return 1;
      case '\033':
        return sequence(bytes);
      default:
        return character(bytes);
    }
    late_ = false;
    return 1;
  }

  size_t sequence(std::string_view bytes) {
    const size_t end = bytes.find_first_not_of("?0123456789;", 2);
    if (bytes.size() < 3 || bytes[1] != '[' || end == std::string_view::npos) {
      fault = "a sequence that is none";
      return 1;
    }
    const size_t count = end == 2 ? 1 : std::stoul("0" + std::string(bytes.substr(bytes[2] == '?' ? 3 : 2, 9)));
    Row &row = lines_[row_];
    switch (bytes[end]) {
      case 'A':
        row_ = std::max(top_, row_ - std::min(row_, count));
        break;
      case 'B':
        row_ = std::min({row_ + count, top_ + rows_ - 1, lines_.size() - 1});
        break;
      case 'C':
        column_ = std::min(column_ + count, columns_ - 1);
        break;
      case 'D':
        column_ -= std::min(column_, count);
        break;
      case 'J':
        if (end == 2) lines_.resize(row_ + 1);
        if (end != 2) lines_.resize(top_ + 1), lines_[top_].clear();
        [[fallthrough]];
      case 'K':
        if (end == 2 && row_ < lines_.size()) cut(lines_[row_], column_);
        break;
      case 'H':
        row_ = top_, column_ = 0;
        break;
      case 'm':
      case 'h':
      case 'l':
        written += end;
        return end + 1;
      default:
        fault = "an unknown sequence";
    }
    static_cast<void>(row);
    written += end;
    late_ = false;
    return end + 1;
  }

  static void cut(Row &row, size_t column) {
    if (column < row.size() && row[column].width == 0 && column > 0) row[column - 1] = {" ", 1};
    row.resize(std::min(row.size(), column));
  }

  size_t character(std::string_view bytes) {
    wchar_t code = 0;
    mbstate_t state{};
    const size_t length = mbrtowc(&code, bytes.data(), bytes.size(), &state);
    if (length == 0 || length > 4 || wcwidth(code) < 0) {
      fault = "a byte that drives terminals";
      return 1;
    }
    written += length - 1;
    const auto width = static_cast<size_t>(wcwidth(code));
    Cell *last = late_ ? cell_at(column_) : column_ > 0 ? cell_at(column_ - 1) : nullptr;
    if (last != nullptr && last->width == 0 && last != &lines_[row_].front()) last--;
    const bool after_joiner = last != nullptr && code >= 0x2000 && last->text.ends_with("\u200d");
    const bool tone = code >= 0x1f3fb && code <= 0x1f3ff;
    if (last != nullptr && (width == 0 || (joins_ && (after_joiner || tone)))) {
      last->text.append(bytes, 0, length);
      if (joins_ && code == 0xfe0f && last->width == 1 && column_ + 1 < columns_) {
        last->width = 2;
        put({"", 0}, column_++);
      }
      return length;
    }
    if (wraps_ && (late_ || column_ + width > columns_)) take("\r"), take("\n"), written -= 2;
    column_ = std::min(column_, columns_ - std::min(columns_, width));
    put({std::string(bytes.substr(0, length)), width}, column_);
    if (width == 2) put({"", 0}, column_ + 1);
    column_ += width;
    late_ = column_ >= columns_;
    if (late_) column_ = columns_ - 1;
    return length;
  }

  Cell *cell_at(size_t column) { return column < lines_[row_].size() ? &lines_[row_][column] : nullptr; }

  void put(const Cell &cell, size_t column) {
    Row &row = lines_[row_];
    if (row.size() <= column) row.resize(column + 1, {" ", 1});
    if (row[column].width == 0 && column > 0 && cell.width != 0) row[column - 1] = {" ", 1};
    if (row[column].width == 2 && column + 1 < row.size() && cell.width != 2) row[column + 1] = {" ", 1};
    row[column] = cell;
  }

  size_t columns_, rows_;
  bool joins_, wraps_;
  std::vector<Row> lines_{1};
  size_t top_ = 0;  // the first row of the window
  size_t row_ = 0, column_ = 0;
  bool late_ = false;  // the last column is written, the cursor still on it
};

#endif
