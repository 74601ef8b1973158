// The line editor alone: what keys do to a line, and what a terminal then shows.
#include "cli_editor/editor.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>
#include <fstream>
#include <random>

#include "terminal.hpp"

namespace {

using cli_editor::Choices;
using cli_editor::Editor;
using cli_editor::Event;
using cli_editor::Look;
using cli_editor::Options;
using testing::HasSubstr;

int width_of(char32_t character) {
  static const char *const locale = setlocale(LC_CTYPE, "C.UTF-8");
  return locale == nullptr ? 1 : wcwidth(static_cast<wchar_t>(character));
}

Options options() {
  Options options;
  options.width = width_of;
  return options;
}

// ---- Rows of keys and outcome ----

// Keys as an inputrc writes them, and {left} for keys that send sequences.
std::string bytes_of(std::string text) {
  static const std::pair<std::string, std::string> kKeys[] = {
      {"{up}", "\033[A"},   {"{down}", "\033[B"},     {"{right}", "\033[C"},
      {"{left}", "\033[D"}, {"{home}", "\033[1~"},    {"{end}", "\033OF"},
      {"{del}", "\033[3~"}, {"{paste}", "\033[200~"}, {"{pasted}", "\033[201~"}};
  for (const auto &[name, bytes] : kKeys)
    for (size_t at; (at = text.find(name)) != std::string::npos;) text.replace(at, name.size(), bytes);
  std::string bytes;
  for (size_t i = 0; i < text.size(); i++) {
    if (text[i] != '\\') {
      bytes += text[i];
    } else if (text.compare(i, 3, "\\C-") == 0) {
      bytes += static_cast<char>(text[i += 3] & 0x1f);
    } else if (text[i + 1] == 'x') {
      bytes += static_cast<char>(std::stoi(text.substr(i + 2, 2), nullptr, 16));
      i += 3;
    } else {
      const size_t place = std::string_view("ertd\\").find(text[++i]);
      bytes += "\033\r\t\x7f\\"[place];
    }
  }
  return bytes;
}

const char *const kEvents[] = {"", "line", "abandoned", "end", "suspend", "help", "complete", "edit", "interrupt"};

// What the keys came to: the line with its cursor, or the first event with its text.
std::string outcome(Editor &editor, const std::string &bytes, size_t piece) {
  editor.begin("> ");
  Event event;
  for (size_t at = 0; at < bytes.size() && event.kind == Event::Kind::kNone; at += piece) {
    editor.feed(std::string_view(bytes).substr(at, piece));
    event = editor.next();
    while (event.kind == Event::Kind::kComplete) {
      Choices choices{event.text.rfind(' ') + 1, {}, ""};
      const std::string typed = event.text.substr(choices.start);
      for (const char *word : {"show ", "shutdown ", "version ", "versatile "})
        if (std::string(word).starts_with(typed)) choices.words.push_back({word, ""});
      editor.complete(choices);
      event = editor.next();
    }
  }
  if (editor.wait_ms() >= 0) editor.elapsed();
  if (event.kind == Event::Kind::kNone) event = editor.next();
  if (event.kind != Event::Kind::kNone) return kEvents[static_cast<int>(event.kind)] + (": " + event.text);
  std::string line = editor.line();
  return line.insert(editor.cursor(), "|");
}

TEST(LineEditor, KeysDoWhatTheirRowsSay) {
  std::ifstream file(TEST_DATA_DIR "/editor-keys.txt");
  std::string settings, row;
  std::vector<std::string> history;
  int rows = 0;
  for (int number = 1; std::getline(file, row); number++) {
    if (row.starts_with("set ")) settings.clear();
    if (row.starts_with("+")) history.push_back(row.substr(2));
    const size_t arrow = row.find(" => ");
    if (arrow == std::string::npos) settings += row + '\n';  // what is no setting is left alone
    if (arrow == std::string::npos) continue;
    for (const size_t piece : {size_t{1}, size_t{3}, size_t{1000}}) {
      Editor editor(options());
      editor.configure(settings);
      for (const std::string &line : history) editor.remember(line);
      EXPECT_EQ(outcome(editor, bytes_of(row.substr(0, arrow)), piece), bytes_of(row.substr(arrow + 4)))
          << "line " << number << " in pieces of " << piece;
    }
    rows++;
  }
  EXPECT_GT(rows, 100);
}

// ---- What a terminal shows ----

struct Shown {
  std::string bytes;  // as typed
  size_t width, reach;
  std::string text = bytes;  // as shown
};
const Shown kCharacters[] = {
    {"a", 1, 1},
    {"Z", 1, 1},
    {" ", 1, 1},
    {"\u00e4", 1, 1},
    {"e\u0301\u0323", 1, 1},
    {"\u65e5", 2, 2},
    {"\U0001f44d", 2, 2},
    {"\u2764\ufe0f", 2, 2},
    {"\U0001f44b\U0001f3fd", 2, 4},
    {"\U0001f468\u200d\U0001f469\u200d\U0001f467", 2, 6},
    {"\xff", 4, 1, "\\xff"},
    {"\x16\x01", 2, 1, "^A"},
    {"\u202e", 12, 1, "\\xe2\\x80\\xae"},
};

// A plain string with a cursor, in rows.
struct Plain {
  std::vector<const Shown *> line;
  size_t cursor = 0;

  struct Rows {
    std::vector<std::string> rows{""};
    size_t row = 0, column = 0;
  };
  Rows rows(std::string_view prompt, size_t columns, bool joins) const {
    Rows out;
    size_t column = 0;
    const auto put = [&](std::string_view text, size_t width, size_t reach, bool here) {
      if (reach > columns) text = "?", width = reach = 1;
      if (column + reach > columns) out.rows.emplace_back(), column = 0;
      if (here) out.row = out.rows.size() - 1, out.column = column;
      // A terminal that does not join shows what fits into the columns: the first of them.
      const bool cut = !joins && reach > width;
      out.rows.back() +=
          cut ? text.substr(0, text.find(text.ends_with("\U0001f3fd") ? "\U0001f3fd" : "\U0001f469")) : text;
      if (!joins && text.ends_with("\ufe0f")) out.rows.back() += ' ';
      column += width;
    };
    for (const char c : prompt) put(std::string_view(&c, 1), 1, 1, false);
    for (size_t i = 0; i < line.size(); i++) {
      const bool spelt = line[i]->reach < line[i]->width;
      if (!spelt) put(line[i]->text, line[i]->width, line[i]->reach, i == cursor);
      for (size_t at = 0; spelt && at < line[i]->text.size(); at++)
        put(std::string_view(line[i]->text).substr(at, 1), 1, 1, i == cursor && at == 0);
    }
    if (cursor == line.size()) {
      if (column >= columns) out.rows.emplace_back(), column = 0;
      out.row = out.rows.size() - 1, out.column = column;
    }
    for (std::string &row : out.rows) row.resize(row.find_last_not_of(' ') + 1);
    return out;
  }
};

// One key for both.
std::string random_key(std::mt19937 &random, Plain &plain) {
  const size_t size = plain.line.size();
  const auto at = [&](size_t place) { return plain.line.begin() + static_cast<ptrdiff_t>(place); };
  switch (random() % 16) {
    case 0:
      plain.cursor -= plain.cursor > 0 ? 1 : 0;
      return "\033[D";
    case 1:
      plain.cursor += plain.cursor < size ? 1 : 0;
      return "\033OC";
    case 2:
      plain.cursor = 0;
      return "\x01";
    case 3:
      plain.cursor = size;
      return "\033[4~";
    case 4:
      if (plain.cursor > 0) plain.line.erase(at(--plain.cursor));
      return "\x7f";
    case 5:
      if (plain.cursor < size) plain.line.erase(at(plain.cursor));
      return "\033[3~";
    case 6:
      if (random() % 4 != 0) return "\033[99;99z";
      plain.line.erase(at(plain.cursor), plain.line.end());
      return "\x0b";
    case 7:
      if (random() % 4 != 0) return "\033O5z";
      plain.line.erase(plain.line.begin(), at(plain.cursor));
      plain.cursor = 0;
      return "\x15";
    default: {
      const Shown &character = kCharacters[random() % std::size(kCharacters)];
      plain.line.insert(at(plain.cursor++), &character);
      return character.bytes;
    }
  }
}

TEST(LineEditor, TheScreenShowsWhatAPlainStringSays) {
  std::mt19937 random(20);
  for (int round = 0; round < 300; round++) {
    size_t columns = 1 + random() % (round % 3 == 0 ? 6 : 60), height = 1 + random() % 12;
    const bool joins = random() % 2 == 0, wraps = random() % 2 == 0;
    Terminal terminal(columns, height, joins, wraps);
    Editor editor(options());
    Plain plain;
    editor.resize(columns, height);
    editor.begin("cli> ");
    size_t messages = 0, resized = 0;
    std::string input;
    for (int step = 0; step < 80; step++) {
      input += random_key(random, plain);
      const size_t cut = random() % (input.size() + 1);
      editor.feed(std::string_view(input).substr(0, cut));
      input.erase(0, cut);
      ASSERT_EQ(editor.next().kind, Event::Kind::kNone);
      if (random() % 4 == 0) terminal.write(editor.take_output());
      if (random() % 4 != 0) continue;
      editor.feed(input);
      input.clear();
      ASSERT_EQ(editor.next().kind, Event::Kind::kNone);
      if (random() % 8 == 0) editor.message("m" + std::to_string(messages++));
      terminal.write(editor.take_output());
      if (random() % 8 == 0 && columns > 8) {
        columns = 8 + random() % 60, height = 1 + random() % 12, resized++;
        terminal.resize(columns, height);
        editor.resize(columns, height);
        terminal.write(editor.take_output());
      }
      const Plain::Rows expected = plain.rows("cli> ", columns, joins);
      const size_t count = std::min(height, expected.rows.size());
      ASSERT_EQ(terminal.fault, "");
      // The window may show another part of a long line, so long as the cursor is in it.
      bool shown = false;
      for (size_t top = 0; top + count <= expected.rows.size() && !shown; top++) {
        if (expected.row < top || expected.row >= top + count || terminal.row() < expected.row - top) continue;
        const size_t first = terminal.row() - (expected.row - top);
        shown = true;
        for (size_t i = first + count; i < terminal.rows(); i++) shown = shown && terminal.text(i).empty();
        for (size_t i = 0; i < count; i++) shown = shown && terminal.text(first + i) == expected.rows[top + i];
        if (shown && resized == 0 && columns > 3) {
          ASSERT_EQ(first, messages);
        }
      }
      std::string screen;
      for (size_t i = 0; i < terminal.rows(); i++) screen += terminal.text(i) + '\n';
      ASSERT_TRUE(shown && terminal.column() == expected.column)
          << "round " << round << " step " << step << " window " << columns << 'x' << height << " joins " << joins
          << " wraps " << wraps << "\n"
          << screen << "cursor " << terminal.row() << ',' << terminal.column() << " expected " << expected.row << ','
          << expected.column << "\n"
          << testing::PrintToString(expected.rows);
    }
  }
}

// All that a terminal shows after these bytes were typed one by one.
struct Session {
  explicit Session(Options with = options(), size_t columns = 40, size_t rows = 8)
      : editor(std::move(with)), terminal(columns, rows, true, true) {
    editor.resize(columns, rows);
    editor.begin("> ");
  }
  Event type(const std::string &bytes) {
    editor.feed(bytes);
    const Event event = editor.next();
    terminal.write(editor.take_output());
    return event;
  }
  std::string screen() const {
    std::string text;
    for (size_t i = 0; i < terminal.rows(); i++) text += terminal.text(i) + '\n';
    return text.substr(0, text.find_last_not_of('\n') + 2);
  }
  Editor editor;
  Terminal terminal;
};

TEST(LineEditor, ChoicesStandBelowTheLineInPages) {
  Session session;
  Choices choices;
  for (int i = 10; i < 30; i++) choices.words.push_back({"w" + std::to_string(i) + " ", "Help " + std::to_string(i)});
  for (int i = 0; i < 2; i++) {
    EXPECT_EQ(session.type("\t").kind, Event::Kind::kComplete);
    EXPECT_TRUE(session.editor.complete(choices));
    session.type("");
  }
  const std::string line = "> w\n";
  session.type("\t");
  EXPECT_EQ(session.type("\t").kind, Event::Kind::kNone);
  EXPECT_EQ(session.screen(), line +
                                  "w22  Help 22\nw23  Help 23\nw24  Help 24\nw25  Help 25\nw26  Help 26\nw27  Help 27\n"
                                  "-- 3 of 4, Tab for more --\n");
  session.type("x");
  EXPECT_EQ(session.screen(), "> wx\n");
}

TEST(LineEditor, ColoursAndARestFollowTheLine) {
  Options with = options();
  with.look = [](const std::string &line) {
    return Look{{{0, std::min<size_t>(2, line.size()), cli_editor::Style::kWord}}, line == "sh" ? "ow" : ""};
  };
  Editor editor(with);
  editor.begin("> ");
  editor.feed("sh");
  EXPECT_EQ(editor.next().kind, Event::Kind::kNone);
  EXPECT_EQ(editor.take_output(), "> \033[32msh\033[0;2mow\033[m\b\b");
  editor.feed("\033[C");
  EXPECT_EQ(editor.next().kind, Event::Kind::kNone);
  EXPECT_EQ(editor.line(), "show");
  EXPECT_EQ(editor.take_output(), "ow");
}

TEST(LineEditor, QuestionsShowAndKeepNothing) {
  Session session;
  EXPECT_EQ(session.type("visible\r").text, "visible");
  session.editor.remember("visible");
  session.editor.ask("Password: ", false, 8);
  EXPECT_EQ(session.type("se\033[Acr?\x7f\x12\t\x1a\x15secret and more\r").text, "secret a");
  EXPECT_EQ(session.screen(), "> visible\nPassword:\n");
  for (const char *key : {"\x03", "\x04"}) {
    session.editor.ask("Password: ", false, 8);
    EXPECT_EQ(session.type(std::string("half") + key).kind, Event::Kind::kAbandoned);
  }
  session.editor.begin("> ");
  session.type("\x19\x1f\033[A");
  EXPECT_EQ(session.editor.line(), "visible");
}

TEST(LineEditor, LinesOfAPasteWaitForEachOther) {
  Session session;
  EXPECT_EQ(session
                .type("\033[200~one\ttab\r\ntwo\nthr\x01"
                      "ee\033[201")
                .kind,
            Event::Kind::kNone);
  EXPECT_EQ(session.type("~").text, "one\ttab");
  EXPECT_EQ(session.editor.next().kind, Event::Kind::kNone) << "no line is read";
  session.editor.begin("> ");
  EXPECT_EQ(session.type("").text, "two");
  session.editor.begin("> ");
  EXPECT_EQ(session.type("x\r").text, "threex");
  session.editor.feed(
      "typed ahead\r\x03"
      "kept");
  EXPECT_EQ(session.editor.next().kind, Event::Kind::kInterrupt);
  session.editor.begin("> ");
  EXPECT_EQ(session.type("\r").text, "kept");
}

TEST(LineEditor, ALineHasABound) {
  Options with = options();
  with.longest_line = 10;
  Session session(with);
  EXPECT_EQ(session.type("12345678\u65e5\u65e5x\033[200~" + std::string(100, 'y') + "\033[201~\r").text, "12345678xy");
}

// The bytes that a key costs at 80 columns.
TEST(LineEditor, AKeyWritesWhatItChanges) {
  Session session(options(), 80, 24);
  session.type("show interfaces ethernet 0/1 counters");
  for (const auto &[keys, most] : {std::pair{"x", 1U},
                                   {"\x7f", 4U},
                                   {"\033[D", 1U},
                                   {"\x01", 5U},
                                   {"\033f", 4U},
                                   {"\x05", 5U},
                                   {" ", 1U},
                                   {"\x17", 12U},
                                   {"\x1d"
                                    "x",
                                    1U}}) {
    const size_t before = session.terminal.written;
    session.type(keys);
    EXPECT_LE(session.terminal.written - before, most) << keys;
  }
}

TEST(LineEditor, ADumbTerminalGetsOneRow) {
  Options with = options();
  with.sequences = false;
  Editor editor(with);
  Terminal terminal(20, 5, false, false);
  editor.resize(20, 5);
  editor.begin("> ");
  for (const char *keys : {"show interfaces ethernet 0/1", "\x01", "\033f", "X", "\x05", "\x17", "\u65e5"}) {
    editor.feed(keys);
    EXPECT_EQ(editor.next().kind, Event::Kind::kNone);
    const std::string out = editor.take_output();
    EXPECT_EQ(out.find('\033'), std::string::npos);
    terminal.write(out);
    EXPECT_EQ(terminal.rows(), 1U);
    const std::string whole = "> " + editor.line();
    const std::string shown = terminal.text(0);
    const size_t at = whole.find(shown.substr(0, shown.size() - shown.find_last_not_of(' ') == 1 ? shown.size() : 5));
    EXPECT_NE(at, std::string::npos) << shown;
  }
}

}  // namespace
