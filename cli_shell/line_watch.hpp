// A line from the moment when the engine knows what it means to its end: what the engine writes passes here, so that
// secrets are hidden in it and that it is known where a command's own output begins.
#ifndef CLI_SHELL_LINE_WATCH_HPP
#define CLI_SHELL_LINE_WATCH_HPP

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "cli_engine/cli_engine.h"
#include "cli_shell/output/output.hpp"
#include "cli_shell/secrets.hpp"

namespace cli_shell {

class LineWatch {
 public:
  // Presets the engine's `write`. All are borrowed.
  LineWatch(cli *engine, const Secrets &secrets, Output &output);
  LineWatch(const LineWatch &) = delete;
  LineWatch &operator=(const LineWatch &) = delete;

  // Called when it is known what a line means and before its handler runs, except for that of a mode; `secret`: it
  // holds a secret or speaks of one.
  using Matched = std::function<void(bool secret)>;

  // The engine is about to run a line, or to help with one.
  void begin_line(Matched matched);
  void begin_help();

  // The engine is through with it. `was_matched`: it was more than a comment. Then its secrets are forgotten.
  void end(bool was_matched = true);

  // For a line that is not run at all.
  void look_at(const std::string &line, const Matched &matched);

  // The words of the present line, secret ones hidden; harmless for a terminal.
  std::string masked() const;

 private:
  enum class Phase { kIdle, kUnknown, kCommand, kOther };

  void listen();
  void take(std::string_view text);
  void note_match();
  void note_words(bool failed);
  std::string echo() const;

  cli *engine_;
  const Secrets &secrets_;
  Output &output_;
  Matched matched_;
  Phase phase_ = Phase::kIdle;
  bool helps_ = false;
  bool mentions_secret_ = false;
  std::vector<token *> words_;  // that are secret
  HiddenWords hidden_;          // the same, as they were typed
  bool holds_ = false;          // what is written is kept until it can be hidden
  std::string held_;
};

}  // namespace cli_shell

#endif
