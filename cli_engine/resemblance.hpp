// Which words of a language a typed word may have meant.
#ifndef CLI_ENGINE_RESEMBLANCE_HPP
#define CLI_ENGINE_RESEMBLANCE_HPP

#include <array>
#include <string_view>

#include "cli_engine/cli_engine.h"
#include "cli_engine/slips.hpp"
#include "libglobal/dyn_string.hpp"
#include "libglobal/ptr_vector.h"

namespace cli_engine {

// The words that are nearest to a typed one. They are borrowed from the tree but for the entries of enumerations.
class NearWords {
 public:
  struct Found {
    std::string_view text;
    unsigned slips;
  };

  // With same_beginning only words that begin with the same letter count: the more slips are looked for, the fewer
  // words may be looked at.
  NearWords(std::string_view word, unsigned most, bool same_beginning)
      : slips_(word, most), beginning_(word.substr(0, same_beginning ? 1 : 0)) {}

  void offer(std::string_view text);

  // All words of a set that a user of the level sees. What cannot be near is passed over without a look.
  void offer_choices(const cli_node_set &choices, std::int32_t privilege);

  // The nearest first; equally near ones in the order in which they were offered.
  [[nodiscard]] const Found *begin() const { return found_.data(); }
  [[nodiscard]] const Found *end() const { return found_.data() + count_; }

 private:
  Slips slips_;
  std::string_view beginning_;
  std::array<Found, 8> found_{};
  std::size_t count_ = 0;
};

// Keeps of the nodes that may follow those that resemble a word, at most so many of them and in their order; values
// stay, since their names say nothing of what they take. Aliases go. An empty word resembles everything.
void keep_resembling(PtrVector &nodes, std::string_view word, std::size_t most);

}  // namespace cli_engine

#endif
