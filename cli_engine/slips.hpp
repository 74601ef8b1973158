// How many slips of the fingers lead from a typed word to a name: letters left out, put in, exchanged for others, and
// neighbours swapped. Case does not count.
#ifndef CLI_ENGINE_SLIPS_HPP
#define CLI_ENGINE_SLIPS_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace cli_engine {

class Slips {
 public:
  static constexpr std::size_t kLongest = 64;  // bytes of a word; longer ones resemble nothing

  explicit Slips(std::string_view word) : word_(word), most_(most_in(word.size())) {}
  Slips(std::string_view word, unsigned most) : word_(word), most_(word.size() > kLongest ? 0 : most) {}

  // The slips that a word of that length may hold; in a short one they would make it another word.
  static unsigned most_in(std::size_t length) {
    return length > kLongest || length < 2 ? 0 : length < 6 ? 1 : kMostSlips;
  }
  [[nodiscard]] unsigned most() const { return most_; }

  // The slips that lead to a name, or a number beyond most(). Names that begin alike and are asked for in a row share
  // the work: a name must last until the next question.
  unsigned to(std::string_view name);

  // Whether the last name shows more than that it is not near: in the order of names none that comes behind it and
  // before onward() is, or none at all when that is empty. onward() is valid until the next question.
  [[nodiscard]] bool passes_over() const { return telling_ != 0; }
  std::string_view onward();

 private:
  static constexpr std::size_t kMostSlips = 2;
  static constexpr std::size_t kRows = kLongest + kMostSlips + 1;
  using Row = std::array<std::uint8_t, kLongest + 1>;

  void compute_row(std::size_t i, std::string_view name);
  [[nodiscard]] unsigned letter_behind(std::size_t place) const;

  std::string_view word_;
  unsigned most_;
  std::string_view before_;      // the name of the last question
  std::size_t known_ = 0;        // so many of its first bytes have their rows
  std::size_t telling_ = 0;      // so many show that no name that begins with them is near; 0: that is not known
  std::array<Row, kRows> rows_;  // row i: from each beginning of the word to the first i bytes of the name
  std::array<std::uint8_t, kRows> least_;  // of each row
  std::array<char, kRows> onward_;
};

}  // namespace cli_engine

#endif
