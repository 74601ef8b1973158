#include "cli_shell/columns.hpp"

#include <algorithm>

#include "cli_shell/wide_text.hpp"

namespace cli_shell {

namespace {

constexpr size_t kGap = 2;

}  // namespace

std::string in_columns(const std::vector<std::string> &words, size_t width) {
  std::vector<size_t> widths;
  widths.reserve(words.size());
  for (const std::string &word : words) widths.push_back(columns(decode(word)));
  const size_t widest = words.empty() ? 0 : *std::max_element(widths.begin(), widths.end());
  const size_t per_row = std::max<size_t>(1, (width + kGap - 1) / (widest + kGap));
  const size_t rows = (words.size() + per_row - 1) / per_row;

  std::string text;
  for (size_t row = 0; row < rows; ++row) {
    for (size_t i = row; i < words.size(); i += rows) {
      text += words[i];
      if (i + rows < words.size()) text.append(widest + kGap - widths[i], ' ');
    }
    text += '\n';
  }
  return text;
}

}  // namespace cli_shell
