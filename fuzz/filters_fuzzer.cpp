// What cli-shell does to output: making it harmless in any pieces, cutting lines into words, filters.
#include "cli_shell/output/filters.hpp"

#include <algorithm>
#include <string>

#include "cli_engine/tokenizer.h"
#include "cli_shell/output/display_text.hpp"
#include "cli_shell/words.hpp"
#include "invariants.hpp"
#include "source.hpp"

namespace {

using cli_shell::DisplayPolicy;
using cli_shell::DisplayText;

std::string displayed(DisplayPolicy policy, std::string_view text, size_t piece) {
  DisplayText display(policy);
  std::string out;
  for (; !text.empty(); text.remove_prefix(std::min(piece, text.size()))) display.feed(text.substr(0, piece), out);
  display.finish(out);
  return out;
}

// Nothing but printable bytes, breaks, tabs, colour sequences and characters beyond ASCII.
bool drives_nothing(std::string_view text) {
  for (size_t i = 0; i < text.size(); i++) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte == 0x1b) {
      const size_t end = text.find_first_not_of("0123456789;", i + 2);
      if (text.substr(i, 2) != "\x1b[" || end == std::string_view::npos || text[end] != 'm') return false;
      i = end;
    } else if ((byte < 0x20 && byte != '\n' && byte != '\t') || byte == 0x7f) {
      return false;
    }
  }
  return true;
}

void check_display(std::string_view text, size_t piece) {
  for (const bool colours : {false, true}) {
    for (const bool terminal : {false, true}) {
      const std::string out = displayed({colours, terminal}, text, text.size());
      FUZZ_REQUIRE(displayed({colours, terminal}, text, piece) == out);
      FUZZ_REQUIRE(!terminal || drives_nothing(out));
      FUZZ_REQUIRE(colours || out.find('\x1b') == std::string::npos);
      FUZZ_REQUIRE(displayed({colours, terminal}, out, piece) == out);
    }
  }
  std::string buffer;
  FUZZ_REQUIRE(cli_shell::without_sequences(text, buffer).find('\x1b') == std::string_view::npos ||
               text.find('\x1b') != std::string_view::npos);
}

class Words {
 public:
  explicit Words(const std::string &line) {
    tokenizer_open(&tokenizer_);
    tokenizer_run(&tokenizer_, line.c_str(), -1);
  }
  Words(const Words &) = delete;
  Words &operator=(const Words &) = delete;
  ~Words() { tokenizer_close(&tokenizer_); }

  size_t count() const {
    size_t count = 0;
    for (const token *tok = tokenizer_.tokens.first; tok != nullptr; tok = tok->next) count++;
    return count;
  }
  std::string first() const { return tokenizer_.tokens.first->text; }

 private:
  tokenizer tokenizer_{};
};

// The shell's view of a line agrees with the engine's.
void check_words(const std::string &line) {
  const size_t start = cli_shell::last_word_start(line);
  FUZZ_REQUIRE(start <= line.size());
  const std::string last = line.substr(start);
  FUZZ_REQUIRE(Words(last).count() == (Words(line).count() - Words(line.substr(0, start)).count()));
  const Words written(cli_shell::quoted(line));
  FUZZ_REQUIRE(written.count() == 1 && written.first() == line);
}

class Collected : public cli_shell::LineSink {
 public:
  void line(std::string_view text, bool ended) override { lines += std::string(text) + (ended ? "\n" : ""); }
  std::string lines;
};

std::string filtered(cli_shell::LineFilter &filter, const std::string &text) {
  Collected out;
  for (size_t begin = 0; begin < text.size();) {
    const size_t end = std::min(text.find('\n', begin), text.size());
    if (!filter.line(std::string_view(text).substr(begin, end - begin), end < text.size(), out)) break;
    begin = end + 1;
  }
  filter.end(out);
  return out.lines;
}

bool may_save(const std::string &line) {
  const size_t start = cli_shell::last_filter_start(line);
  if (start == std::string::npos) return false;
  const auto choices = cli_shell::filter_choices(std::string_view(line).substr(start));
  return std::find(choices.names.begin(), choices.names.end(), "save") != choices.names.end();
}

// No filter writes what was not in its input, but for the count; a save is left out, since it writes a file.
void check_filters(const std::string &line, std::string text) {
  const cli_shell::FilteredLine parts = cli_shell::split_filters(line);
  FUZZ_REQUIRE(line.starts_with(parts.command));
  FUZZ_REQUIRE((cli_shell::last_filter_start(line) == std::string::npos) == (parts.command.size() == line.size()));
  FUZZ_REQUIRE(parts.error.find('\n') == std::string::npos || line.find('\n') != std::string::npos);
  if (!parts.error.empty() || may_save(line)) return;
  for (const auto &filter : parts.filters) {
    const std::string out = filtered(*filter, text);
    const bool counted = out.size() < 8 && out.ends_with('\n') && isdigit(static_cast<unsigned char>(out[0])) != 0;
    FUZZ_REQUIRE(out.size() <= text.size() || counted);
    text = out;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::Source source(data, std::min<size_t>(size, 4096));
  const size_t piece = 1 + source.index(8);
  const std::string line = source.text(256);
  const std::string text(source.rest());
  check_display(text, piece);
  check_words(line);
  check_filters(line, text);
  return 0;
}
