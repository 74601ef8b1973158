#include "cli_shell/line_watch.hpp"

#include <cstdio>
#include <memory>
#include <utility>

#include "cli_shell/output/display_text.hpp"
#include "cli_shell/words.hpp"

namespace cli_shell {
namespace {

// So many lines of a report of an error, or of help, repeat words of the line.
constexpr size_t kLinesOfReport = 3;
constexpr size_t kLinesOfHelp = 1;

struct StringRelease {
  void operator()(DynString *text) const { dyn_string_free(text); }
};
using StringRef = std::unique_ptr<DynString, StringRelease>;

void print(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
}

}  // namespace

LineWatch::LineWatch(cli *engine, const Secrets &secrets, Output &output)
    : engine_(engine), secrets_(secrets), output_(output) {
  engine->write_data = this;
  listen();
}

void LineWatch::listen() {
  engine_->write = [](void *watch, const char *text, size_t size) {
    static_cast<LineWatch *>(watch)->take({text, size});
    return 0;
  };
}

void LineWatch::begin_line(Matched matched) {
  phase_ = Phase::kUnknown;
  helps_ = false;
  matched_ = std::move(matched);
}

void LineWatch::begin_help() {
  phase_ = Phase::kUnknown;
  helps_ = true;
  matched_ = nullptr;
}

void LineWatch::end(bool was_matched) {
  listen();
  if (phase_ == Phase::kUnknown && was_matched) note_match();
  phase_ = Phase::kIdle;
  if (std::exchange(holds_, false))
    print(hidden_.hidden_in(std::exchange(held_, {}), helps_ ? kLinesOfHelp : kLinesOfReport));
  if (!words_.empty()) forget_line(engine_);
  words_.clear();
  hidden_ = {};
}

void LineWatch::look_at(const std::string &line, const Matched &matched) {
  const bool failed = cli_parse(engine_, line.c_str(), nullptr) == nullptr;
  note_words(failed);
  if (matched) matched(mentions_secret_);
}

std::string LineWatch::masked() const {
  const WordsHidden guard(words_);
  std::string text;
  for (token *word = tokenizer_first(&engine_->tokenizer); word; word = token_next(word))
    text += (text.empty() ? "" : " ") + quoted(word->text);
  return harmless(text);
}

std::string LineWatch::echo() const {
  const WordsHidden guard(words_);
  const StringRef text(dyn_string_new());
  cli_print_command(tokenizer_first(&engine_->tokenizer), text.get(), 1, nullptr);
  return std::string(dyn_string_text(text.get()), dyn_string_len(text.get())) + '\n';
}

// The first piece that is written of a command is its echo. What follows is its handler's: that goes to standard output
// without a detour, as what the handler prints itself does, and the library sees to Ctrl-C.
void LineWatch::take(std::string_view text) {
  if (phase_ == Phase::kUnknown) {
    note_match();
    if (phase_ == Phase::kCommand) {
      const std::string own = words_.empty() ? "" : echo();
      const std::string_view shown = words_.empty() ? text : own;
      output_.begin_command(shown.size());
      engine_->write = nullptr;
      return print(shown);
    }
  }
  if (holds_) {
    held_ += text;
    return;
  }
  print(text);
}

void LineWatch::note_match() {
  const cli_outcome &outcome = *cli_last_outcome(engine_);
  const bool failed = !helps_ && outcome.kind == CLI_FAILED;
  const bool is_command = !helps_ && !failed && outcome.kind != CLI_LISTED && cli_is_command(outcome.node) != 0;
  phase_ = is_command ? Phase::kCommand : Phase::kOther;
  note_words(failed);
  holds_ = (helps_ || failed) && !words_.empty();
  if (matched_) matched_(mentions_secret_);
}

void LineWatch::note_words(bool failed) {
  words_ = secrets_.words(engine_, failed);
  mentions_secret_ = secrets_.are_mentioned(engine_, failed);
  hidden_ = HiddenWords(words_);
}

}  // namespace cli_shell
