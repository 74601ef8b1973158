#include "cli_engine/slips.hpp"

#include <algorithm>

#include "cli_engine/node.hpp"

namespace cli_engine {
namespace {

constexpr unsigned kLetters = 256;

}  // namespace

// Only what lies near the diagonal can be within the number of slips; what is beside it counts as beyond.
void Slips::compute_row(std::size_t i, std::string_view name) {
  const auto beyond = static_cast<std::uint8_t>(most_ + 1);
  Row &row = rows_[i];
  const std::size_t from = i > most_ ? i - most_ : 0;
  const std::size_t to = std::min(word_.size(), i + most_);
  std::uint8_t least = beyond;
  for (std::size_t j = from; j <= to; j++) {
    unsigned fewest = std::min<unsigned>(i == 0 ? static_cast<unsigned>(j) : beyond, beyond);
    if (i > 0) {
      fewest = std::min(fewest, j == 0 ? static_cast<unsigned>(i) : beyond);
      fewest = std::min(fewest, j < i + most_ ? rows_[i - 1][j] + 1U : beyond);
      fewest = std::min(fewest, j > from ? row[j - 1] + 1U : beyond);
    }
    if (i > 0 && j > 0) {
      const bool same = fold(name[i - 1]) == fold(word_[j - 1]);
      fewest = std::min(fewest, rows_[i - 1][j - 1] + (same ? 0U : 1U));
    }
    if (i > 1 && j > 1 && fold(name[i - 1]) == fold(word_[j - 2]) && fold(name[i - 2]) == fold(word_[j - 1])) {
      fewest = std::min(fewest, rows_[i - 2][j - 2] + 1U);
    }
    row[j] = static_cast<std::uint8_t>(fewest);
    least = std::min(least, row[j]);
  }
  least_[i] = least;
}

unsigned Slips::to(std::string_view name) {
  const unsigned beyond = most_ + 1;
  if (most_ == 0) {
    return word_.size() <= kLongest && same_name(word_, name) ? 0 : beyond;
  }
  if (known_ == 0) {
    compute_row(0, name);
  }
  const std::size_t shared = std::min(known_, common_length(before_, name));
  before_ = name;
  if (telling_ != 0 && shared >= telling_) {
    known_ = shared;
    return beyond;
  }
  telling_ = 0;
  known_ = shared;
  const std::size_t last = std::min(name.size(), word_.size() + most_);
  while (known_ < last) {
    compute_row(++known_, name);
    // A swap reaches over a row.
    if (least_[known_] > most_ && least_[known_ - 1] + 1U > most_) {
      telling_ = known_;
      return beyond;
    }
  }
  const bool whole = known_ == name.size() && known_ + most_ >= word_.size();
  return whole ? std::min<unsigned>(rows_[known_][word_.size()], beyond) : beyond;
}

// The least letter behind that of the last name at a place with which a near name may go on there; beyond all letters
// when there is none. Once all slips are made, only letters of the word that stand near the place will do.
unsigned Slips::letter_behind(std::size_t place) const {
  const unsigned seen = fold(before_[place]);
  unsigned least = kLetters;
  if (least_[place] < most_) {
    for (least = seen + 1; least < kLetters && fold(static_cast<char>(least)) != least; least++) {
    }
    return least;
  }
  const std::size_t from = place > most_ ? place - most_ - 1 : 0;
  const std::size_t to = std::min(word_.size(), place + most_ + 1);
  for (std::size_t j = from; j < to; j++) {
    const unsigned letter = fold(word_[j]);
    least = letter > seen ? std::min(least, letter) : least;
  }
  return least;
}

std::string_view Slips::onward() {
  for (std::size_t length = telling_; length > 0; length--) {
    const unsigned letter = letter_behind(length - 1);
    if (letter < kLetters) {
      before_.copy(onward_.data(), length - 1);
      onward_[length - 1] = static_cast<char>(letter);
      return {onward_.data(), length};
    }
  }
  return {};
}

}  // namespace cli_engine
