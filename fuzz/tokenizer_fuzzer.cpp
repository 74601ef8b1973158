// Runs, copies and replacements; the words written out in quotes come back as they were.
#include <string>
#include <vector>

#include "cli_engine/tokenizer.h"
#include "invariants.hpp"
#include "source.hpp"

namespace {

using Words = std::vector<std::string>;

Words words_of(const token_list &list) {
  Words words;
  for (const token *tok = list.first; tok != nullptr; tok = tok->next) words.emplace_back(tok->text, tok->len);
  return words;
}

Words checked_words(tokenizer &t) {
  std::set<const token *> live;
  fuzz::check_tokenizer(t, live);
  return words_of(t.tokens);
}

void check_copy(tokenizer &t, const token_list &copy) {
  std::set<const token *> live;
  fuzz::check_tokens(copy, &t, live);
}

std::string quoted(const Words &words) {
  std::string line;
  for (const std::string &word : words) {
    line += '"';
    for (const char c : word) line += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
    line += "\"\t";
  }
  return line;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::Source source(data, size);
  tokenizer t;
  tokenizer_open(&t);
  token_list saved{};
  while (!source.ended()) {
    const int action = source.below(4);
    const Words before = checked_words(t);
    if (action < 2) {
      const int cursor = source.byte() - 1;
      const std::string line = source.text();
      tokenizer_run(&t, line.c_str(), cursor);
      const bool in_line = cursor >= 0 && static_cast<size_t>(cursor) <= line.size();
      FUZZ_REQUIRE(in_line || t.cursor_token == nullptr);
      t.stop_at_cursor = source.seldom() ? 1 : 0;
      const Words words = checked_words(t);
      size_t bytes = 0, walked = 0;
      for (const std::string &word : words) bytes += word.size() + 1;
      FUZZ_REQUIRE(bytes <= line.size() + 1);
      for (token *tok = tokenizer_first(&t); tok != nullptr; tok = token_next(tok)) walked++;
      FUZZ_REQUIRE(walked == words.size() || t.stop_at_cursor != 0);
      t.stop_at_cursor = 0;
      tokenizer again;
      tokenizer_open(&again);
      tokenizer_run(&again, quoted(words).c_str(), -1);
      FUZZ_REQUIRE(checked_words(again) == words);
      tokenizer_close(&again);
    } else if (action == 2) {
      tokenizer_destroy_list(&saved);
      t.stop_at_cursor = source.seldom() ? 1 : 0;
      tokenizer_copy_list(&t, &saved);
      check_copy(t, saved);
      FUZZ_REQUIRE(t.stop_at_cursor != 0 || words_of(saved) == before);
      t.stop_at_cursor = 0;
    } else if (!before.empty()) {
      const size_t place = source.index(before.size());
      token *old = t.tokens.first;
      for (size_t i = 0; i < place; i++) old = old->next;
      Words expected = words_of(saved);
      expected.insert(expected.begin(), before.begin(), before.begin() + static_cast<ptrdiff_t>(place));
      expected.insert(expected.end(), before.begin() + static_cast<ptrdiff_t>(place) + 1, before.end());
      if (expected.size() > 4096) break;  // a list that is put into itself doubles
      const token *put = tokenizer_replace(&t, &saved, old);
      FUZZ_REQUIRE(checked_words(t) == expected);
      check_copy(t, saved);
      FUZZ_REQUIRE((put == nullptr) == (place == expected.size()));
      FUZZ_REQUIRE(put == nullptr || expected[place] == put->text);
    }
  }
  tokenizer_destroy_list(&saved);
  tokenizer_close(&t);
  return 0;
}
