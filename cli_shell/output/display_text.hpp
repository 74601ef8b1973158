// Text made fit for where it is shown.
#ifndef CLI_SHELL_OUTPUT_DISPLAY_TEXT_HPP
#define CLI_SHELL_OUTPUT_DISPLAY_TEXT_HPP

#include <string>
#include <string_view>

namespace cli_shell {

struct DisplayPolicy {
  bool colours;   // colour sequences (ESC [ digits and semicolons m) pass; else they are removed
  bool terminal;  // what could drive the terminal is shown as \xNN: control bytes other than newline and tab, DEL, the
                  // C1 controls, invisible characters and those that change the direction, ill-formed UTF-8. Else only
                  // the escape byte is, and whole control sequences go
  bool raw = false;  // nothing is changed
};

// Applies a policy to text that comes in pieces: sequences and characters may be cut anywhere.
class DisplayText {
 public:
  explicit DisplayText(DisplayPolicy policy) : policy_(policy) {}

  void feed(std::string_view piece, std::string &out);

  // The text has ended: what was kept back as the beginning of something is shown.
  void finish(std::string &out);
  void forget() { kept_.clear(); }

 private:
  void convert(std::string_view text, bool at_end, std::string &out);
  size_t take_escape(std::string_view text, bool at_end, std::string &out) const;
  size_t take_character(std::string_view text, bool at_end, std::string &out) const;

  DisplayPolicy policy_;
  std::string kept_;  // the beginning of a sequence or character
};

// A whole text made harmless for a terminal, colours removed.
std::string harmless(std::string_view text);

// A line without its control sequences, as filters see it. A line without an escape byte is returned as it is;
// otherwise the result lies in `buffer`.
std::string_view without_sequences(std::string_view line, std::string &buffer);

}  // namespace cli_shell

#endif
