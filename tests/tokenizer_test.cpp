// Words of a line, where the cursor falls, copies that outlive the line, and words put in the place of another.
#include "cli_engine/tokenizer.h"

#include <gtest/gtest.h>

#include <cctype>
#include <set>
#include <string>

#include "engine_support.hpp"

namespace {

// The words of a list with "|" between them and "^" at the cursor; "-" for an empty list. Their texts must follow each
// other from the first one's on.
std::string words(token *first) {
  if (first == nullptr) {
    return "-";
  }
  std::string shown;
  const char *text = first->text;
  for (token *tok = first; tok != nullptr; tok = token_next(tok)) {
    EXPECT_EQ(tok->text, text) << "a gap before " << tok->text;
    text += tok->len + 1;
    std::string word(tok->text, tok->len + 1);  // with its NUL
    EXPECT_EQ(word.back(), '\0');
    word.pop_back();
    if (tok->cursor >= 0) {
      word.insert(static_cast<std::size_t>(tok->cursor), "^");
    }
    shown += (tok == first ? "" : "|") + word;
  }
  return shown;
}

class Tokenizer : public testing::Test {
 protected:
  Tokenizer() { tokenizer_open(&tokens_); }
  ~Tokenizer() override { tokenizer_close(&tokens_); }
  Tokenizer(const Tokenizer &) = delete;
  Tokenizer &operator=(const Tokenizer &) = delete;

  std::string run(const std::string &line, int cursor = -1) {
    tokenizer_run(&tokens_, line.c_str(), cursor);
    return words(tokenizer_first(&tokens_));
  }
  token *at(int index) {
    token *tok = tokens_.tokens.first;
    for (; index > 0; --index) {
      tok = tok->next;
    }
    return tok;
  }

  tokenizer tokens_ = {};
};

// Lines of data/words.json with the place of the cursor and the words.
TEST_F(Tokenizer, SplitsAndUnquotes) {
  engine_support::for_each_case("words.json", "words", [&](const json_t *row) {
    const std::string shown = json_string_value(json_array_get(row, 2));
    const auto cursor = static_cast<int>(json_integer_value(json_array_get(row, 1)));
    EXPECT_EQ(run(json_string_value(json_array_get(row, 0)), cursor), shown);
    const bool has_cursor = shown.find('^') != std::string::npos;
    EXPECT_EQ(tokens_.cursor_token != nullptr && tokens_.cursor_token->cursor >= 0, has_cursor);
  });
}

TEST_F(Tokenizer, OnlyBlanksSeparate) {
  for (int byte = 1; byte < 256; ++byte) {
    const std::string c(1, static_cast<char>(byte));
    const bool dropped = c == "'" || c == "\"" || c == "\\";
    EXPECT_EQ(run("x" + c + "y"), isspace(byte) != 0 ? "x|y" : dropped ? "xy" : "x" + c + "y") << byte;
  }
}

TEST_F(Tokenizer, WalkEndsBeforeTheHiddenCursorWord) {
  run("show ip ro", 10);
  tokens_.stop_at_cursor = 1;
  EXPECT_EQ(words(tokenizer_first(&tokens_)), "show|ip");
  EXPECT_EQ(token_list_size(tokenizer_first(&tokens_)), 8U);
  EXPECT_EQ(run("sh", 2), "-");
  token_list copy;
  tokenizer_copy_list(&tokens_, &copy);
  EXPECT_EQ(words(copy.first), "-");
  EXPECT_EQ(run("show", -1), "show");
}

TEST_F(Tokenizer, CopiesOutliveTheLine) {
  token_list none = {};
  tokenizer_destroy_list(&none);
  run("interface 'eth 0' up", 14);
  at(1)->node = reinterpret_cast<struct cli_node *>(this);
  token_list whole;
  tokenizer_copy_list(&tokens_, &whole);
  tokens_.stop_at_cursor = 1;
  token_list part;
  tokenizer_copy_list(&tokens_, &part);
  tokens_.stop_at_cursor = 0;
  run("something else that is longer than the line before");
  tokenizer_run(&tokens_, nullptr, -1);
  EXPECT_EQ(words(tokenizer_first(&tokens_)), "-");
  EXPECT_EQ(words(whole.first), "interface|eth^ 0|up");
  EXPECT_EQ(whole.first->next->node, reinterpret_cast<struct cli_node *>(this));
  EXPECT_EQ(words(part.first), "interface");
  for (token_list *list : {&whole, &part, &part}) {
    tokenizer_destroy_list(list);
    EXPECT_EQ(list->first, nullptr);
  }
}

TEST_F(Tokenizer, ReplacesOneWordByOthers) {
  const std::string wide(5000, 'w');
  const struct {
    std::string replacement, line;
    int cursor, old;
    std::string words, result;
  } rows[] = {
      {"x yy", "one two three", -1, 1, "one|x|yy|three", "x|yy|three"},
      {"x yy", "one two three", 1, 0, "x|yy|two|three", "x|yy|two|three"},
      {"x yy", "one two three", 1, 2, "o^ne|two|x|yy", "x|yy"},
      {"x", "one", 3, 0, "x", "x"},
      {"", "one two three", 12, 1, "one|thre^e", "thre^e"},
      {"", "one two", -1, 1, "one", "-"},
      {"", "one", -1, 0, "-", "-"},
      {wide + " ''", "one two three", 9, 1, "one|" + wide + "||t^hree", wide + "||t^hree"},
  };
  tokenizer source;
  tokenizer_open(&source);
  for (const auto &row : rows) {
    SCOPED_TRACE(row.words.substr(0, 40));
    token_list replacement;
    tokenizer_run(&source, row.replacement.c_str(), 1);
    tokenizer_copy_list(&source, &replacement);
    run(row.line, row.cursor);
    EXPECT_EQ(words(tokenizer_replace(&tokens_, &replacement, at(row.old))), row.result);
    EXPECT_EQ(words(tokenizer_first(&tokens_)), row.words);
    EXPECT_EQ(tokens_.cursor_token != nullptr, row.words.find('^') != std::string::npos);
    EXPECT_EQ(*tokens_.tokens.last_link, nullptr);
    tokenizer_destroy_list(&replacement);
    EXPECT_EQ(run("a b c d e f"), "a|b|c|d|e|f") << "afterwards";
  }
  tokenizer_close(&source);
}

TEST_F(Tokenizer, ReusesItsMemory) {
  const auto records = [this] {
    std::set<const void *> seen = {tokens_.buffer};
    for (const token *tok = tokens_.tokens.first; tok != nullptr; tok = tok->next) {
      seen.insert(tok);
    }
    return seen;
  };
  run("one two three");
  EXPECT_EQ(tokens_.capacity, 14U + 256U);
  const auto before = records();
  run(std::string(260, 'x') + " two 3.");
  EXPECT_EQ(records(), before);
  EXPECT_EQ(tokens_.capacity, 14U + 256U);
  run(std::string(270, 'x'));
  EXPECT_EQ(tokens_.capacity, 271U + 256U);
}

}  // namespace
