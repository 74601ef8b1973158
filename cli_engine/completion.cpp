// What can stand for the word at the cursor, with help and as the line needs it written.
#include "cli_engine/completion.h"

#include <climits>
#include <cstring>

#include "cli_engine/engine_state.hpp"
#include "cli_engine/json_ref.hpp"
#include "cli_engine/matchers.hpp"
#include "cli_engine/partial_line.hpp"
#include "cli_engine/words.hpp"
#include "libglobal/report.hpp"

namespace cli_engine {
namespace {

constexpr const char *kSource = "cli_engine/interactive";

const char *kind_of(const cli_node &node) {
  switch (node.type) {
    case TYPE_KEY:
      return "keyword";
    case TYPE_VALUE:
      return "value";
    case TYPE_ALIAS:
      return "alias";
    case TYPE_SUBCONFIG:
    case TYPE_COMMAND:
    case TYPE_WORD:
    case TYPE_CONTAINER:
      break;
  }
  return "word";
}

// An alias mostly has no help of its own: what it stands for tells more.
const char *help_of(const cli_node &node) {
  return node.type == TYPE_ALIAS && *node.help == '\0' ? node.alias.alias : node.help;
}

// Collects what may stand for the word being typed.
class Offers {
 public:
  Offers(const PartialLine &line, OpenWord word, json_t *result)
      : line_(line), word_(word), result_(result), text_(dyn_string_new()) {}

  void add(cli *engine, cli_node &node) {
    if (node.type != TYPE_VALUE) {
      if (is_helpful(node, line_.word())) {
        add(node, name_of(node));
      }
    } else if ((node.value.validator.flags & VALIDATOR_ENUM) != 0) {
      add_entries(node);
    } else if (engine->complete != nullptr && is_helpful(node, line_.word())) {
      add_words_of_host(engine, node);
    }
  }

 private:
  void add_entries(const cli_node &value) {
    const json_t *entries = value.value.validator.enum_array;
    const libglobal::DynStringOwner entry(dyn_string_new());
    for (std::size_t i = 0; i < json_array_size(entries); i++) {
      libglobal::clear(*entry);
      append_enum_entry(*entry, json_array_get(entries, i));
      add_value(value, dyn_string_text(entry.get()));
    }
  }

  void add_words_of_host(cli *engine, cli_node &value) {
    const JsonRef words(json_array());
    engine->complete(engine, &value, line_.word() == nullptr ? "" : line_.word()->text, words.get());
    for (std::size_t i = 0; i < json_array_size(words.get()); i++) {
      if (const char *word = json_string_value(json_array_get(words.get(), i))) {
        add_value(value, word);
      }
    }
  }

  void add_value(const cli_node &value, const char *text) {
    const std::size_t length = std::strlen(text);
    if (begins_with({text, length}, line_.prefix()) && validator_match(&value.value.validator, text, length) != 0) {
      add(value, {text, length});
    }
  }

  void add(const cli_node &node, std::string_view text) {
    // At the beginning of a line these make a comment of it.
    const bool comment = word_.start == 0 && (text.starts_with('!') || text.starts_with('#'));
    libglobal::clear(*text_);
    append_word(*text_, text, word_.quote == '\0' && comment ? '"' : word_.quote);
    json_t *const offer =
        json_pack("{s:s%, s:s, s:s}", "text", text_->data, text_->len, "help", help_of(node), "kind", kind_of(node));
    if (offer == nullptr || json_array_append_new(result_, offer) != 0) {
      libglobal::report_exhausted(LIBGLOBAL_CALLER(kSource));
    }
  }

  const PartialLine &line_;
  const OpenWord word_;
  json_t *result_;
  libglobal::DynStringOwner text_;
};

long complete(cli *engine, std::string_view typed, json_t *result) {
  const OpenWord word = open_word(typed);
  const PartialLine line(engine, typed.data(), typed.size(), true);
  if (line.error() == E_OK || line.error() == E_INCOMPLETE) {
    Offers offers(line, word, result);
    for (void *node : libglobal::items(line.available())) {
      offers.add(engine, *static_cast<cli_node *>(node));
    }
  }
  return static_cast<long>(word.start);
}

}  // namespace
}  // namespace cli_engine

long cli_complete(cli *engine, const char *line, size_t cursor, json_t *result) {
  if (!cli_engine::is_ready(engine) || line == nullptr || !json_is_array(result) || cursor > INT_MAX ||
      strnlen(line, cursor) < cursor) {
    return -1;
  }
  if (line[cursor] == '\0') {
    return cli_engine::complete(engine, {line, cursor}, result);
  }
  const libglobal::DynStringOwner typed(dyn_string_new());
  dyn_string_append_n(typed.get(), line, cursor);
  return cli_engine::complete(engine, {dyn_string_text(typed.get()), cursor}, result);
}
