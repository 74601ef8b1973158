// Which arguments can take the same word of a line, and in which order the parser asks them.
#ifndef CLI_SHELL_CHECK_CANDIDATES_HPP
#define CLI_SHELL_CHECK_CANDIDATES_HPP

#include <vector>

#include "cli_shell/check_language.hpp"

namespace cli_check {

// A keyword or a value, and the member of the group through which it was reached.
struct Candidate {
  const Node *node;
  const Node *member;
};
using Candidates = std::vector<Candidate>;

// Arguments of a group that compete for one word: the alternatives of an exclusive group; in other groups, members
// that may be left out together with the one that comes after them.
struct Contest {
  const Node *group;
  Candidates candidates;
};

// The contests of one group, not those inside its members.
[[nodiscard]] std::vector<Contest> contests_of(const Node &group);

// Can the argument be given and yet go on taking words of the line?
[[nodiscard]] bool may_stay_open(const Node &argument);

// What can be given where a word may stand as well, because nothing of a command's argument is missing there.
[[nodiscard]] Candidates beside_words(const Node &argument);

}  // namespace cli_check

#endif
