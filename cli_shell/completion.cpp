#include "cli_shell/completion.hpp"

#include <strings.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string_view>
#include <unordered_set>

#include "cli_shell/documents.hpp"
#include "cli_shell/filters.hpp"
#include "cli_shell/words.hpp"

namespace cli_shell {
namespace {

constexpr size_t kMostChoices = 10000;

struct VectorRelease {
  void operator()(PtrVector *vector) const { ptr_vector_free(vector); }
};
using VectorRef = std::unique_ptr<PtrVector, VectorRelease>;

// What may come at the end of the line, and what of it is typed already.
struct Expected {
  int errcode;
  bool is_complete_command;
  std::string typed;  // without quotes
  std::vector<cli_node *> nodes;
};

Expected expect(cli *engine, const std::string &line, bool in_word) {
  tokenizer &words = engine->tokenizer;
  words.stop_at_cursor = in_word;
  tokenizer_run(&words, line.c_str(), static_cast<int>(line.size()));
  parser_set_root(&engine->parser, engine->current);
  const cli_node *selected = parser_run(&engine->parser, &words, nullptr);

  Expected expected;
  expected.errcode = engine->parser.error->errcode;
  expected.is_complete_command = selected && selected->type == TYPE_COMMAND && selected->parent;
  if (in_word && words.cursor_token) expected.typed.assign(words.cursor_token->text, words.cursor_token->len);
  const VectorRef nodes(ptr_vector_new());
  parser_get_available_nodes(&engine->parser, nodes.get());
  for (size_t i = 0; i < ptr_vector_size(nodes.get()); ++i)
    expected.nodes.push_back(static_cast<cli_node *>(ptr_vector_get(nodes.get(), i)));
  words.stop_at_cursor = 0;
  return expected;
}

bool begins_with(std::string_view text, std::string_view beginning) {
  return text.starts_with(beginning);
}

bool begins_with_word(std::string_view text, const std::string &beginning) {
  return text.size() >= beginning.size() &&
         strncasecmp(std::string(text).c_str(), beginning.c_str(), beginning.size()) == 0;
}

std::vector<std::string> strings_of(json_t *array) {
  std::vector<std::string> texts;
  size_t index;
  json_t *entry;
  json_array_foreach(array, index, entry) {
    if (json_is_string(entry)) texts.emplace_back(json_string_value(entry), json_string_length(entry));
  }
  return texts;
}

// The values that the handlers libraries know for a node and that begin with what is typed.
std::vector<std::string> known_values(cli *engine, const std::vector<HandlersLibrary> &libraries, cli_node *value,
                                      const std::string &typed) {
  const JsonRef offered(json_array());
  for (const HandlersLibrary &library : libraries)
    if (library.complete) library.complete(engine, value, typed.c_str(), offered.get());
  std::vector<std::string> values;
  for (const std::string &text : strings_of(offered.get()))
    if (begins_with(text, typed)) values.push_back(quoted(text) + " ");
  return values;
}

std::vector<std::string> enumeration_values(const cli_node *value, const std::string &typed) {
  std::vector<std::string> values;
  size_t index;
  json_t *entry;
  json_array_foreach(value->value.validator.enum_array, index, entry) {
    const std::unique_ptr<char, decltype(&free)> dumped(
        json_is_string(entry) ? nullptr : json_dumps(entry, JSON_ENCODE_ANY), free);
    const std::string text = dumped ? dumped.get() : json_string_value(entry);
    if (begins_with_word(text, typed)) values.push_back(quoted(text) + " ");
  }
  return values;
}

// All that fits, when a handlers library knows a value that may come: the engine's own list ends at the first value.
std::vector<std::string> with_known_values(cli *engine, const std::vector<HandlersLibrary> &libraries,
                                           const Expected &expected) {
  std::vector<std::string> words;
  bool known = false;
  for (cli_node *node : expected.nodes) {
    std::vector<std::string> fitting;
    if (node->type == TYPE_ALIAS) continue;
    if (node->type != TYPE_VALUE) {
      if (begins_with_word(node->name, expected.typed)) fitting.push_back(std::string(node->name) + " ");
    } else if (node->value.validator.flags & VALIDATOR_ENUM) {
      fitting = enumeration_values(node, expected.typed);
    } else {
      fitting = known_values(engine, libraries, node, expected.typed);
      known = known || !fitting.empty();
    }
    words.insert(words.end(), fitting.begin(), fitting.end());
  }
  return known ? words : std::vector<std::string>();
}

void remove_repeats(std::vector<std::string> &words) {
  std::unordered_set<std::string> seen;
  std::erase_if(words, [&seen](const std::string &word) { return !seen.insert(word).second; });
  if (words.size() > kMostChoices) words.resize(kMostChoices);
}

}  // namespace

Completion complete_line(cli *engine, const std::vector<HandlersLibrary> &libraries, const std::string &line) {
  Completion completion{.start = last_word_start(line), .words = {}};
  const bool in_word = completion.start < line.size() || line.empty();
  const Expected expected = expect(engine, line, in_word);
  const bool fits = expected.errcode == E_OK || expected.errcode == E_INCOMPLETE;
  if (!fits || (!in_word && expected.is_complete_command && expected.nodes.empty())) return completion;

  completion.words = with_known_values(engine, libraries, expected);
  const bool ends_in_quoted_blank = in_word && !line.empty() && is_blank(line.back());
  if (completion.words.empty() && !ends_in_quoted_blank) {
    const JsonRef result(json_array());
    cli_autocomplete(engine, line.c_str(), static_cast<int>(line.size()), result.get());
    for (std::string &text : strings_of(result.get())) {
      if (text.ends_with(' ')) text.pop_back();
      completion.words.push_back(quoted(text) + " ");
    }
  }
  remove_repeats(completion.words);
  return completion;
}

Completion complete_filter(const std::string &line, size_t filter_start) {
  Completion completion{.start = std::max(last_word_start(line), filter_start), .words = {}};
  const FilterChoices choices = filter_choices(std::string_view(line).substr(filter_start));
  if (!choices.name_due) return completion;
  const std::string blank = filter_start == line.size() ? " " : "";  // a bar stands between blanks
  for (const std::string &name : choices.names) completion.words.push_back(blank + name + " ");
  return completion;
}

}  // namespace cli_shell
