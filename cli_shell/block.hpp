// Lines that come together, by a paste, a pipe or a file: what is indented below a line belongs to it.
#ifndef CLI_SHELL_BLOCK_HPP
#define CLI_SHELL_BLOCK_HPP

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "cli_engine/cli_engine.h"

namespace cli_shell {

// Keeps the modes in step with the indentation, so that one bad line does not take others along: lines below one that
// failed are left out with the "exit" that closes them, and a mode that lost its "exit" ends with its lines. Lines
// without indentation are taken as they are.
class Block {
 public:
  explicit Block(cli *engine);

  // Before a line that is no comment; false when it belongs to one that failed. Leaves the modes that ended above it.
  bool wants(std::string_view line);

  // Whether an "exit" would lead out of the mode in which the lines began.
  bool is_at_base() const { return depth() <= base_depth_; }

  // After the line.
  void note(bool failed);

 private:
  struct Margins {
    size_t entry;   // of the line that entered the mode
    size_t inside;  // of its own first line, or kNone
  };
  static constexpr size_t kNone = static_cast<size_t>(-1);

  size_t depth() const;

  cli *engine_;
  size_t base_depth_;
  std::vector<Margins> modes_;  // that the lines entered, the outermost first
  size_t margin_ = 0;           // of the present line
  size_t failed_ = kNone;       // margin of the line that failed
  bool has_block_ = false;      // lines were left out with it
  bool closed_ = false;         // the last of them was an "exit"
};

// How many lines of those that came together failed, and which.
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
