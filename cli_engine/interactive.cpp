// "?" and completion: what may follow the line, or complete the word that is being typed.
#include <cstring>
#include <string_view>

#include "cli_engine/engine_state.hpp"
#include "cli_engine/json_ref.hpp"
#include "cli_engine/line.hpp"
#include "cli_engine/node.hpp"
#include "cli_engine/parser.hpp"
#include "cli_engine/partial_line.hpp"
#include "cli_engine/words.hpp"
#include "libglobal/report.hpp"

namespace cli_engine {
namespace {

constexpr const char *kSource = "cli_engine/interactive";
constexpr const char *kUnrecognized = "% Unrecognized input\n";
constexpr std::size_t kScreenWidth = 80;

// The last word counts as being typed unless a blank stands behind it.
PartialLine parse_partial(cli *engine, const char *line) {
  const std::size_t length = line == nullptr ? 0 : std::strlen(line);
  return {engine, line, length, length == 0 || !is_blank(line[length - 1])};
}

void keep_helpful(PtrVector &nodes, const token *word) {
  std::size_t kept = 0;
  for (void *item : libglobal::items(nodes)) {
    if (is_helpful(*static_cast<const cli_node *>(item), word)) {
      nodes.items[kept++] = item;
    }
  }
  nodes.size = kept;
}

bool is_complete_command(const cli_node *selected) {
  return selected != nullptr && selected->parent != nullptr &&
         (selected->type == TYPE_SUBCONFIG || selected->type == TYPE_COMMAND);
}

// A prompt and line longer than the screen are shown again below the help, on as many lines.
void append_wrapped_lines(DynString &text, std::size_t width) {
  for (; width > kScreenWidth; width -= kScreenWidth) {
    libglobal::append(text, '\n');
  }
}

void help(cli *engine, const char *line) {
  const PartialLine partial = parse_partial(engine, line);
  if (partial.error() != E_OK && partial.error() != E_INCOMPLETE) {
    write_out(engine, std::string_view{kUnrecognized});
    return;
  }
  DynString &text = *state_of(engine->parser).text;
  libglobal::clear(text);
  libglobal::append(text, "> [");
  const int width =
      cli_print_command(tokenizer_first(&engine->tokenizer), &text, has_colours(*engine) ? 1 : 0, nullptr);
  libglobal::append(text, "?]\n");

  PtrVector &nodes = partial.available();
  keep_helpful(nodes, partial.word());
  NodeTable{engine, text, nodes}.print("", "", [](const cli_node &) { return true; });
  if (partial.is_partial() && nodes.size == 0) {
    libglobal::append(text, kUnrecognized);
  } else if (is_complete_command(partial.selected())) {
    libglobal::append(text, "<cr>\n");
  }
  append_wrapped_lines(text, static_cast<std::size_t>(width) + 1 + std::strlen(engine->prompt_text));
  write_out(engine, text);
}

// Collects completions: a text and the blank after it.
class Completions {
 public:
  Completions(DynString &scratch, json_t *result) : text_(scratch), result_(result) {}

  void add(std::string_view word) {
    libglobal::clear(text_);
    libglobal::append(text_, word);
    libglobal::append(text_, ' ');
    // The document's texts are UTF-8 already: what is left to fail is memory.
    json_t *const completion = json_stringn_nocheck(text_.data, text_.len);
    if (completion == nullptr || (json_array_append_new(result_, completion) != 0 && json_is_array(result_))) {
      libglobal::report_exhausted(LIBGLOBAL_CALLER(kSource));
    }
  }

  void add_entries(const json_t *enumeration, std::string_view prefix) {
    const std::size_t size = json_array_size(enumeration);
    for (std::size_t i = 0; i < size; i++) {
      const json_t *entry = json_array_get(enumeration, i);
      if (json_is_string(entry)) {
        add_if_begins({json_string_value(entry), json_string_length(entry)}, prefix);
      } else {
        add_if_begins(encoded(entry).get(), prefix);
      }
    }
  }

  void add_if_begins(std::string_view word, std::string_view prefix) {
    if (begins_with(word, prefix)) {
      add(word);
    }
  }

  void clear() { json_array_clear(result_); }

 private:
  static JsonText encoded(const json_t *entry) {
    JsonText text{json_dumps(entry, JSON_ENCODE_ANY)};
    if (text == nullptr) {
      libglobal::report_exhausted(LIBGLOBAL_CALLER(kSource));
    }
    return text;
  }

  DynString &text_;
  json_t *result_;
};

// A value that may be due decides: its entries are offered, or, when it is free text, nothing is.
void complete(const PtrVector &nodes, const token *word, Completions &completions) {
  const std::string_view prefix = word == nullptr ? std::string_view{} : text_of(*word);
  for (std::size_t i = 0; i < nodes.size; i++) {
    const auto &node = *static_cast<const cli_node *>(nodes.items[i]);
    if (node.type == TYPE_VALUE) {
      const validator &v = node.value.validator;
      if ((v.flags & VALIDATOR_ENUM) != 0) {
        completions.add_entries(v.enum_array, prefix);
        return;
      }
      if (word == nullptr || may_become_value(node, *word)) {
        completions.clear();
        return;
      }
    } else if (node.type != TYPE_ALIAS) {
      completions.add_if_begins(name_of(node), prefix);
    }
  }
}

void autocomplete(cli *engine, const char *line, json_t *result) {
  const PartialLine partial = parse_partial(engine, line);
  const cli_node *selected = partial.selected();
  if (!partial.is_partial()) {
    const bool is_command = selected != nullptr && selected->type == TYPE_COMMAND && selected->parent != nullptr;
    if (is_command || (selected == nullptr && partial.error() == E_EXTRA_INPUT)) {
      return;
    }
  }
  const PtrVector &nodes = partial.available();
  Completions completions(*state_of(engine->parser).text, result);
  complete(nodes, partial.word(), completions);
}

}  // namespace
}  // namespace cli_engine

void cli_help(cli *engine, const char *line) {
  if (cli_engine::is_ready(engine)) {
    cli_engine::help(engine, line);
  }
}

void cli_autocomplete(cli *engine, const char *line, int /*cursor*/, json_t *result) {
  if (cli_engine::is_ready(engine)) {
    cli_engine::autocomplete(engine, line, result);
  }
}
