#include "cli_shell/terminal/completion.hpp"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "cli_shell/documents.hpp"
#include "cli_shell/output/filters.hpp"
#include "cli_shell/words.hpp"

namespace cli_shell {
namespace {

constexpr size_t kMostChoices = 10000;

std::string text_of(json_t *choice, const char *member) {
  const char *const text = json_string_value(json_object_get(choice, member));
  return text ? text : "";
}

bool is_value(json_t *choice) {
  return text_of(choice, "kind") == "value";
}

// Whether a token is what stands in the line there, as far as that can be told of a quoted word.
bool may_be(std::string_view typed, const token *made) {
  return typed.find_first_of("\"'\\") != std::string_view::npos || typed == std::string_view(made->text, made->len);
}

}  // namespace

void Completer::offer_values(cli_node *value, const char *text, json_t *result) {
  free_value_due_ = true;
  for (const HandlersLibrary &library : libraries_)
    if (asks_libraries_ && library.complete) library.complete(engine_, value, text, result);
}

cli_editor::Choices Completer::offered(const std::string &line, size_t cursor) {
  free_value_due_ = false;
  const JsonRef result(json_array());
  cli_editor::Choices choices{.start = 0, .words = {}, .note = {}};
  choices.start = static_cast<size_t>(std::max(0L, cli_complete(engine_, line.c_str(), cursor, result.get())));
  bool knows_values = false;
  size_t index;
  json_t *choice;
  json_array_foreach(result.get(), index, choice) {
    if (index == kMostChoices) break;
    knows_values = knows_values || is_value(choice);
    const std::string text = text_of(choice, "text");
    choices.words.push_back({(text == "|" ? quoted(text) : text) + ' ', text_of(choice, "help")});
  }
  free_value_due_ = free_value_due_ && !knows_values;
  return choices;
}

cli_editor::Choices Completer::complete(const std::string &line) {
  cli_editor::Choices choices = offered(line, line.size());
  // Beside a value that only the user knows no word is certain.
  if (free_value_due_) choices.words.clear();
  if (!choices.words.empty() || engine_->parser.error->errcode != E_AMBIGUOUS) return choices;
  const std::vector<TypedWord> words = typed_words(engine_, line);
  const auto blamed = blamed_word(engine_, words);
  if (blamed == words.end()) return choices;
  const std::string word = line.substr(blamed->begin, blamed->end - blamed->begin);
  choices = offered(line, blamed->end);
  choices.note = "% Ambiguous word \"" + word + "\":";
  return choices;
}

Completer::Future Completer::future_of(const std::string &line) {
  asks_libraries_ = false;
  Future future;
  for (cli_editor::Choices::Word &word : offered(line, line.size()).words) future.words.push_back(std::move(word.text));
  future.value = free_value_due_;
  asks_libraries_ = true;
  return future;
}

cli_editor::Choices complete_filter(const std::string &line, size_t filter_start) {
  cli_editor::Choices choices{.start = std::max(last_word_start(line), filter_start), .words = {}, .note = {}};
  const FilterChoices filters = filter_choices(std::string_view(line).substr(filter_start));
  if (!filters.name_due) return choices;
  const std::string blank = filter_start == line.size() ? " " : "";  // a bar stands between blanks
  for (size_t i = 0; i < filters.names.size(); ++i)
    choices.words.push_back({blank + filters.names[i] + " ", filters.helps[i].help});
  return choices;
}

// Where an alias stood there are more tokens, or other ones: what stands before and behind it is found from both ends.
std::vector<TypedWord> typed_words(cli *engine, std::string_view line) {
  std::vector<TypedWord> words;
  WordScanner scanner;
  bool in_word = false;
  for (size_t i = 0; i < line.size(); ++i) {
    const bool separates = scanner.separates(line[i]);
    if (!separates && !in_word) words.push_back({i, i, nullptr});
    if (!separates) words.back().end = i + 1;
    in_word = !separates;
  }
  std::vector<const token *> made;
  for (token *word = tokenizer_first(&engine->tokenizer); word; word = token_next(word)) made.push_back(word);
  const auto fits = [&](size_t word, size_t token) {
    const bool fitting = may_be(line.substr(words[word].begin, words[word].end - words[word].begin), made[token]);
    if (fitting) words[word].matched = made[token];
    return fitting;
  };
  const size_t shared = std::min(words.size(), made.size());
  size_t before = 0;
  while (before < shared && fits(before, before)) ++before;
  for (size_t behind = 1; before + behind <= shared; ++behind)
    if (!fits(words.size() - behind, made.size() - behind)) break;
  return words;
}

std::vector<TypedWord>::const_iterator blamed_word(const cli *engine, const std::vector<TypedWord> &words) {
  const token *const blamed = engine->parser.error->token;
  if (!blamed || engine->parser.error->errcode == E_OK) return words.end();
  const auto is_it = [blamed](const TypedWord &word) { return word.matched == blamed; };
  const auto found = std::find_if(words.begin(), words.end(), is_it);
  if (found != words.end()) return found;
  return std::find_if(words.begin(), words.end(), [](const TypedWord &word) { return !word.matched; });
}

}  // namespace cli_shell
