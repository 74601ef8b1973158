// How many lines of those that come together, by a paste, a pipe or a file, failed, and which.
#ifndef CLI_SHELL_TALLY_HPP
#define CLI_SHELL_TALLY_HPP

#include <cstddef>
#include <string>
#include <vector>

namespace cli_shell {

class Tally {
 public:
  void count(bool failed);
  size_t failed() const { return failed_; }

  // "400 lines, 4 failed: 51, 152, 253, 354"; "" when there was but one line, or none failed.
  std::string report() const;

 private:
  size_t lines_ = 0;
  size_t failed_ = 0;
  std::vector<size_t> which_;  // as many as are told
};

}  // namespace cli_shell

#endif
