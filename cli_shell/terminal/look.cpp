#include "cli_shell/terminal/look.hpp"

#include <algorithm>
#include <string_view>

#include "cli_shell/output/filters.hpp"
#include "cli_shell/words.hpp"

namespace cli_shell {
namespace {

using cli_editor::Look;
using cli_editor::Style;

constexpr size_t kLongestLook = 4096;  // a longer line was pasted
constexpr int kFewChoices = 8;         // so many may be listed with every key

Style style_of(const TypedWord &word) {
  if (!word.matched) return Style::kWord;  // an alias
  const cli_node *const node = word.matched->node;
  if (!node) return Style::kPlain;
  return node->type == TYPE_VALUE ? Style::kValue : node->type == TYPE_KEY ? Style::kKeyword : Style::kWord;
}

// The node's own words; of "do" those of the top level.
bool has_few_choices(const cli_node *node) {
  if (!node) return false;
  if (node->type == TYPE_WORD && node->word.link) node = node->word.link;
  int count = 0;
  for (const cli_node *word = cli_node_first_choice(node); word && count <= kFewChoices; ++count)
    word = cli_node_next_choice(word);
  return count <= kFewChoices;
}

// Whether the word is the beginning of the one that it was taken for.
bool is_abbreviation(const TypedWord &word) {
  const cli_node *const node = word.matched ? word.matched->node : nullptr;
  return node && node->type != TYPE_VALUE && word.matched->len < node->name_len;
}

// What is missing of the only word that the last one may become.
std::string rest_of(const Completer::Future &future, std::string_view typed) {
  if (future.value || future.words.size() != 1 || !future.words[0].starts_with(typed)) return "";
  return future.words[0].substr(typed.size(), future.words[0].size() - typed.size() - 1);
}

void look_at_command(cli *engine, Completer &completer, const std::string &command, bool ends_here, Look &look) {
  const cli_node *const selected = cli_parse(engine, command.c_str(), nullptr);
  const std::vector<TypedWord> words = typed_words(engine, command);
  if (words.empty()) return;
  const auto blamed = blamed_word(engine, words);
  for (auto word = words.begin(); word != blamed; ++word)
    look.spans.push_back({word->begin, word->end, style_of(*word)});

  const TypedWord last = words.back();
  const int errcode = engine->parser.error->errcode;
  const bool in_word = ends_here && last.end == command.size();
  const bool last_is_blamed = in_word && blamed == words.end() - 1;
  const bool is_beginning = errcode == E_INCOMPLETE || (selected && selected->type == TYPE_WORD);
  const bool may_be_one = in_word ? last_is_blamed || (blamed == words.end() && is_abbreviation(last))
                                  : is_beginning && has_few_choices(engine->parser.current_node);
  Completer::Future future;
  if (ends_here && may_be_one && errcode != E_AMBIGUOUS) future = completer.future_of(command);
  const bool goes_on = last_is_blamed && (errcode == E_AMBIGUOUS || future.value || !future.words.empty());
  if (blamed != words.end() && !goes_on) look.spans.push_back({blamed->begin, command.size(), Style::kError});
  look.rest = rest_of(future, in_word ? std::string_view(command).substr(last.begin) : "");
}

// A filter between two bars, or behind the last one. False where nothing fits.
bool look_at_filter(std::string_view line, size_t begin, size_t end, Look &look) {
  const std::string_view filter = line.substr(begin, end - begin);
  const size_t name = filter.find_first_not_of(" \t");
  if (name == std::string_view::npos) return true;
  const size_t name_end = std::min(filter.find_first_of(" \t", name), filter.size());
  const FilterChoices choices = filter_choices(filter);
  const bool known = !choices.helps.empty();
  look.spans.push_back({begin + name, known ? begin + name_end : line.size(), known ? Style::kKeyword : Style::kError});
  const bool ends_in_name = begin + name_end == line.size();
  if (ends_in_name && choices.names.size() == 1) look.rest = choices.names[0].substr(name_end - name);
  return known;
}

}  // namespace

Look look_of(cli *engine, Completer &completer, const std::string &line) {
  Look look;
  const size_t first = line.find_first_not_of(" \t");
  const bool is_text = first == std::string::npos || line[first] == '!' || line[first] == '#';
  if (is_text || line.size() > kLongestLook || (engine->flags & CLI_NO_COLOUR) != 0) return look;
  std::vector<size_t> bars = filter_bars(line);
  const bool filtered = !bars.empty();
  bars.push_back(line.size());
  look_at_command(engine, completer, line.substr(0, bars[0]), !filtered, look);
  for (size_t i = 0; i + 1 < bars.size() && i < kMostFilters; ++i)
    if (!look_at_filter(line, bars[i] + 1, bars[i + 1], look)) break;
  return look;
}

}  // namespace cli_shell
