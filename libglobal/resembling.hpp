// Which name was meant by a misspelt one.
#ifndef LIBGLOBAL_RESEMBLING_HPP
#define LIBGLOBAL_RESEMBLING_HPP

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace libglobal {

constexpr char small_letter(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

inline constexpr std::size_t kLongestResembled = 32;

// Insertions, removals, replacements and swaps of neighbours that lead from one name to the other, in any case of the
// letters. Neither is longer than kLongestResembled.
inline std::size_t letters_apart(std::string_view a, std::string_view b) {
  std::array<std::array<std::size_t, kLongestResembled + 1>, kLongestResembled + 1> steps{};
  for (std::size_t i = 0; i <= a.size(); i++) {
    for (std::size_t j = 0; j <= b.size(); j++) {
      if (i == 0 || j == 0) {
        steps.at(i).at(j) = i + j;
        continue;
      }
      const auto same = [&](std::size_t x, std::size_t y) { return small_letter(a[x]) == small_letter(b[y]); };
      std::size_t fewest = steps.at(i - 1).at(j - 1) + (same(i - 1, j - 1) ? 0U : 1U);
      fewest = std::min({fewest, steps.at(i - 1).at(j) + 1, steps.at(i).at(j - 1) + 1});
      if (i > 1 && j > 1 && same(i - 1, j - 2) && same(i - 2, j - 1)) {
        fewest = std::min(fewest, steps.at(i - 2).at(j - 2) + 1);
      }
      steps.at(i).at(j) = fewest;
    }
  }
  return steps.at(a.size()).at(b.size());
}

// Short names are near to too many others.
inline bool resembles(std::string_view name, std::string_view known) {
  if (name.size() > kLongestResembled || known.size() > kLongestResembled) {
    return false;
  }
  const std::size_t allowed = known.size() >= 6 ? 2 : known.size() >= 5 ? 1 : 0;
  return letters_apart(name, known) <= allowed;
}

}  // namespace libglobal

#endif
