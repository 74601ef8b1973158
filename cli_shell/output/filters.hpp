// The filters that a command's output may pass: COMMAND | include REGEX | head 5.
#ifndef CLI_SHELL_OUTPUT_FILTERS_HPP
#define CLI_SHELL_OUTPUT_FILTERS_HPP

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace cli_shell {

constexpr size_t kMostFilters = 16;         // in one line
constexpr size_t kMostLinesKept = 1000000;  // by one filter

// Where a filter's output goes.
class LineSink {
 public:
  virtual ~LineSink() = default;
  // A line without its break; `ended` tells whether a break follows it (the last line of an output may lack it).
  virtual void line(std::string_view text, bool ended) = 0;
};

// One filter at work on one output.
class LineFilter {
 public:
  virtual ~LineFilter() = default;

  // Prepares for a run; the message when that is impossible (a file that cannot be written), else "".
  virtual std::string open() { return ""; }

  // Takes a line; false when no further one can make a difference.
  virtual bool line(std::string_view text, bool ended, LineSink &out) = 0;

  // The output has ended; the message when the filter's work failed, else "". A filter that is destroyed without it
  // leaves nothing behind.
  virtual std::string end(LineSink &) { return ""; }
};

// A line as typed, taken apart at each unquoted bar that stands between blanks.
struct FilteredLine {
  std::string command;                               // without the bar and what follows
  std::vector<std::unique_ptr<LineFilter>> filters;  // in the order given
  std::string error;                                 // why the filters cannot be used, in one line; or ""
  bool saves = false;                                // one of them writes a file
};
FilteredLine split_filters(std::string_view line);

// Where the bars stand that pass output through filters: unquoted ones between blanks.
std::vector<size_t> filter_bars(std::string_view line);

// Where the last filter of an unfinished line begins (behind its bar), or npos when the line has no bar.
size_t last_filter_start(std::string_view line);

struct FilterHelp {
  std::string syntax;  // "include REGEX"
  const char *help;
};

// The filters whose names begin with what was typed, which may start with blanks. `due` tells whether a name is what is
// due: when one is typed already and a blank follows, the listing holds that filter alone and its argument is due.
struct FilterChoices {
  bool name_due;
  std::vector<std::string> names;
  std::vector<FilterHelp> helps;
};
FilterChoices filter_choices(std::string_view typed);

}  // namespace cli_shell

#endif
