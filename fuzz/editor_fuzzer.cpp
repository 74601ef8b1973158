// Keys of any kind over any window: however they are cut, the same comes of them, and nothing but what a terminal
// understands is written.
#include "cli_editor/editor.hpp"

#include <clocale>

#include "invariants.hpp"
#include "source.hpp"
#include "tests/terminal.hpp"

namespace {

using cli_editor::Choices;
using cli_editor::Editor;
using cli_editor::Event;
using cli_editor::Look;

constexpr size_t kLongestLine = 200;

int width_of(char32_t character) {
  static const char *const locale = setlocale(LC_CTYPE, "C.UTF-8");
  return locale == nullptr ? 1 : wcwidth(static_cast<wchar_t>(character));
}

cli_editor::Options options(int choices) {
  cli_editor::Options options;
  options.width = width_of;
  options.longest_line = kLongestLine;
  options.history_lines = 8;
  options.sequences = choices % 8 != 0;
  options.look = [](const std::string &line) {
    return Look{{{line.size() / 3, line.size() / 2, cli_editor::Style::kError}}, line.size() % 5 == 1 ? "rest" : ""};
  };
  return options;
}

void answer(Editor &editor, const Event &event) {
  switch (event.kind) {
    case Event::Kind::kLine:
      FUZZ_REQUIRE(event.text.size() <= kLongestLine);
      editor.remember(event.text);
      [[fallthrough]];
    case Event::Kind::kAbandoned:
      if (event.text.size() % 3 == 2) return editor.ask("Password: ", event.text.size() % 2 == 0, 20);
      return editor.begin("\033[1mrouter\033[m> ");
    case Event::Kind::kHelp:
      return event.text.ends_with('x') ? editor.step_aside() : editor.insert("?");
    case Event::Kind::kComplete:
      editor.complete({event.text.rfind(' ') + 1,
                       {{"show ", "Show \u65e5"}, {"sh\xff", ""}, {"shut ", "\t"}},
                       event.text.ends_with('y') ? "% note" : ""});
      return;
    case Event::Kind::kEdit:
      return editor.replace(event.text + " edited");
    default:
      return;
  }
}

std::vector<std::string> typed(Editor &editor, std::string_view keys, size_t piece) {
  std::vector<std::string> seen;
  do {
    editor.feed(keys.substr(0, piece));
    keys.remove_prefix(std::min(piece, keys.size()));
    for (Event event = editor.next(); event.kind != Event::Kind::kNone; event = editor.next()) {
      seen.push_back(std::to_string(static_cast<int>(event.kind)) + event.text);
      answer(editor, event);
    }
  } while (!keys.empty());
  return seen;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::Source source(data, std::min<size_t>(size, 4096));
  const int choices = source.byte();
  size_t columns = 1 + source.index(100), rows = 1 + source.index(30);
  Terminal terminal(columns, rows, choices % 2 == 0, choices % 4 < 2);
  Editor whole(options(choices)), cut(options(choices));
  const std::string inputrc = choices % 16 < 8 ? "set editing-mode vi\n" : source.text();
  for (Editor *editor : {&whole, &cut}) {
    editor->configure(inputrc);
    editor->resize(columns, rows);
    editor->begin("router> ");
  }
  while (!source.ended()) {
    const int action = source.below(8);
    if (action == 0) {
      columns = 1 + source.index(100), rows = 1 + source.index(30);
      terminal.resize(columns, rows);
      whole.resize(columns, rows), cut.resize(columns, rows);
    } else if (action == 1) {
      whole.message("message");
    } else if (action == 2) {
      whole.elapsed(), cut.elapsed();
      FUZZ_REQUIRE(typed(whole, "", 1) == typed(cut, "", 1));
    }
    const std::string keys = source.text(64);
    FUZZ_REQUIRE(typed(whole, keys, 64) == typed(cut, keys, 1));
    FUZZ_REQUIRE(whole.line() == cut.line() && whole.cursor() == cut.cursor());
    FUZZ_REQUIRE(whole.cursor() <= whole.line().size() && whole.line().size() <= kLongestLine);
    terminal.write(whole.take_output());
    FUZZ_REQUIRE(terminal.fault.empty());
    static_cast<void>(cut.take_output());
  }
  return 0;
}
