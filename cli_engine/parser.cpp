// The run over a line: arguments before words, words by unique abbreviation, enclosing modes for the first word, "do"
// and aliases; then the listing of what may follow.
#include "cli_engine/parser.hpp"

#include <cstdint>
#include <cstdlib>

#include "cli_engine/language_table.hpp"
#include "cli_engine/node.hpp"
#include "cli_engine/tokenizer.hpp"
#include "libglobal/report.hpp"

namespace cli_engine {
namespace {

constexpr const char *kSource = kParserSource;

bool is_visible(const parser &p, const cli_node &choice) {
  return choice.privilege <= p.privilege;
}

// ---- Choosing among candidates ----

class Selection {
 public:
  Selection(const parser &p, const token &tok)
      : words_beat_optional_values_(p.next_choice != nullptr && p.required_candidate == 0), length_(tok.len) {}

  void offer(cli_node *candidate) {
    libglobal::require(candidate->type == TYPE_KEY || candidate->type == TYPE_VALUE,
                       "candidate->type == TYPE_KEY || candidate->type == TYPE_VALUE", kSource, "select_candidate");
    if (candidate->type == TYPE_VALUE) {
      offer_value(candidate);
    } else {
      offer_key(candidate);
    }
  }

  [[nodiscard]] cli_node *selected() const { return selected_; }
  [[nodiscard]] bool ambiguous() const { return selected_ != nullptr && ambiguous_ && !full_match_; }

 private:
  void offer_value(cli_node *value) {
    if (words_beat_optional_values_) {
      return;
    }
    if (selected_ == nullptr || (selected_->type == TYPE_VALUE && is_optional(*selected_) && !is_optional(*value))) {
      selected_ = value;
    }
  }

  void offer_key(cli_node *key) {
    const bool full_match = key->name_len == length_;
    if (selected_ == nullptr || (selected_->type == TYPE_VALUE && is_optional(*selected_))) {
      selected_ = key;
      full_match_ = full_match;
    } else if (selected_->type == TYPE_KEY && !full_match_) {
      if (full_match) {
        selected_ = key;
        full_match_ = true;
      } else {
        ambiguous_ = true;
      }
    }
  }

  const bool words_beat_optional_values_;
  const std::size_t length_;  // of the token: a key of that length is typed in full
  cli_node *selected_ = nullptr;
  bool full_match_ = false;
  bool ambiguous_ = false;
};

void record_error(parser &p, int code, token *tok, cli_node *node) {
  p.error->errcode = code;
  p.error->token = tok;
  p.error->node = node;
}

cli_node *select_candidate(parser &p) {
  Selection selection(p, *p.current_token);
  for (void *candidate : libglobal::items(*p.candidates)) {
    selection.offer(static_cast<cli_node *>(candidate));
  }
  if (selection.ambiguous()) {
    record_error(p, E_AMBIGUOUS, p.current_token, nullptr);
    return nullptr;
  }
  return selection.selected();
}

// ---- Finding a word ----

// The word of one node that the text names or abbreviates. Words that share a beginning stand in a row, a word of just
// that text first. False when two are abbreviated; *found is null when none is.
bool find_word(const parser &p, const cli_node_set &choices, const WantedName &text, cli_node **found) {
  *found = nullptr;
  cli_node *child = first_choice_with_prefix(choices, text);
  for (; child != nullptr; child = next_choice_with_prefix(*child, text)) {
    if (!is_visible(p, *child)) {
      continue;
    }
    if (child->name_len == text.size()) {
      *found = child;
      return true;
    }
    if (*found != nullptr) {
      return false;
    }
    *found = child;
  }
  return true;
}

cli_node *lookup_next_choice(parser &p, cli_node *node, bool search_parents) {
  if (p.current_token == nullptr) {
    return nullptr;
  }
  for (; node != nullptr; node = search_parents ? cli_get_parent_subconfig(node) : nullptr) {
    const cli_node_set *choices = choices_of(*node);
    if (choices == nullptr || choices->root == nullptr) {
      continue;
    }
    cli_node *found = nullptr;
    if (!find_word(p, *choices, WantedName(text_of(*p.current_token)), &found)) {
      record_error(p, E_AMBIGUOUS, p.current_token, node);
      return nullptr;
    }
    if (found != nullptr) {
      return found;
    }
  }
  return nullptr;
}

// ---- The run ----

// The nearest mode, command or word at or above an argument.
const cli_node *owner_of(const cli_node *node) {
  while (!is_choice_kind(*node)) {
    node = node->parent;
  }
  return node;
}

class Run {
 public:
  Run(parser &p, tokenizer &t) : p_(p), t_(t), marks_(marks_of(p.root)) {}

  cli_node *match_line() {
    marks_.clear();
    mark_mode(marks_, p_.root);
    if (p_.root->parent != nullptr) {
      bind_open_lines(marks_, p_.root);
    }
    token *first = first_token(&t_);
    if (first == nullptr) {
      record_error(p_, E_INCOMPLETE, nullptr, p_.root);
      return nullptr;
    }
    p_.current_token = first;
    p_.error->line = first->text;
    cli_node *result = nullptr;
    bool going_on = true;
    while (going_on) {
      going_on = match_pass(&result);
    }
    return finish(result);
  }

 private:
  void accept(cli_node *node) {
    marks_.use(*node, p_.current_token);
    p_.last_node = node;
    p_.current_token->node = node;
    p_.current_token = next_token(p_.current_token);
  }

  // Gives tokens to the arguments of a node as long as they take them; false when the line fails.
  bool match_arguments(cli_node *node) {
    cli_node *const argument = first_arg(node);
    for (;;) {
      p_.required_candidate = 0;
      libglobal::clear(*p_.candidates);
      const int count = lookup_candidate(p_, argument);
      cli_node *selected = count > 0 ? select_candidate(p_) : nullptr;
      if (p_.error->errcode != E_OK) {
        return false;
      }
      if (selected == nullptr) {
        return true;
      }
      accept(selected);
      p_.next_choice = nullptr;
      update_tree_flags(marks_, selected, node);
    }
  }

  // One pass: the arguments of the node reached, then a word. True when another pass is due; *result is what is
  // reached, null when the line failed.
  bool match_pass(cli_node **result) {
    cli_node *const node = p_.current_node;
    const bool takes_words = node == p_.root || !is_mode(node);
    p_.next_choice = takes_words ? lookup_next_choice(p_, node, false) : nullptr;
    cli_node *choice = p_.next_choice;
    *result = nullptr;
    if (!match_arguments(node)) {
      return false;
    }
    if (p_.next_choice == nullptr) {
      if (p_.current_token == nullptr) {
        *result = node;
        return false;
      }
      choice = takes_words ? lookup_next_choice(p_, node, search_parents_) : nullptr;
    }
    if (choice == nullptr || (choice->type == TYPE_ALIAS && expansions_ == kMostExpansions)) {
      record_error(p_, E_EXTRA_INPUT, p_.current_token, node);
      return false;
    }
    *result = choice->type == TYPE_ALIAS ? expand(choice, node) : take_word(choice, node);
    p_.current_node = *result;
    search_parents_ = false;
    return p_.current_token != nullptr;
  }

  cli_node *expand(cli_node *alias, cli_node *node) {
    expansions_++;
    token *const old = p_.current_token;
    note_alias(old);
    if (p_.error->token == old) {
      p_.error->token = nullptr;  // blamed by a group that was given up; its record is about to be released
    }
    token *const next = tokenizer_replace(old->tokenizer, &alias->alias.alias_tokens, old);
    // After an alias that stands for nothing, this may be the word still being typed, which no line contains yet.
    p_.current_token = t_.stop_at_cursor != 0 && next == t_.cursor_token ? nullptr : next;
    p_.error->line = t_.buffer;  // where the first token stands, wherever the buffer was moved
    return node;
  }

  // Every word behind an alias was typed, or belongs to the alias that this one came from: the fewest are the typed
  // ones.
  void note_alias(const token *alias) {
    std::size_t behind = 0;
    for (const token *tok = alias->next; tok != nullptr; tok = tok->next) {
      behind++;
    }
    std::size_t &fewest = state_of(p_).behind_alias;
    fewest = behind < fewest ? behind : fewest;
  }

  cli_node *take_word(cli_node *word, cli_node *node) {
    accept(word);
    // Engines may share a tree: the link is taken to the root that has it now.
    cli_node *reached = word->type == TYPE_WORD && word->word.link != nullptr ? tree_root(word) : word;
    if (node == p_.root && reached->parent != p_.root) {
      cli_node *mode = cli_get_parent_subconfig(reached);
      enter_enclosing_mode(mode == nullptr ? reached : mode, reached);
    }
    return reached;
  }

  // From here on the line is matched in that mode.
  void enter_enclosing_mode(cli_node *mode, cli_node *reached) {
    p_.current_node = mode;
    p_.root = mode;
    marks_.clear_below(mode);
    marks_.use(*mode);
    marks_.use(*reached);
  }

  cli_node *finish(cli_node *result) {
    if (p_.current_token != nullptr) {
      if (p_.error->errcode == E_OK) {
        record_error(p_, E_EXTRA_INPUT, p_.current_token, result);
      }
      return nullptr;
    }
    if (result == nullptr) {
      return nullptr;
    }
    if (const cli_node *arg = first_arg(result); arg != nullptr && arg->used == 0 && !is_optional(*arg)) {
      record_error(p_, E_INCOMPLETE, nullptr, result);
      return nullptr;
    }
    return result;
  }

  parser &p_;
  tokenizer &t_;
  Marks &marks_;
  bool search_parents_ = true;  // for the first pass only
  int expansions_ = 0;
};

void reset(parser &p, parser_error *error) {
  p.collect = 0;
  state_of(p).behind_alias = SIZE_MAX;
  p.error = error != nullptr ? error : &state_of(p).error;
  p.current_node = p.root;
  p.current_token = nullptr;
  p.last_node = nullptr;
  p.next_choice = nullptr;
  p.required_candidate = 0;
  libglobal::clear(*p.candidates);
  p.error->line = nullptr;
  p.error->errcode = E_OK;
}

// ---- What may follow ----

// Where the search for further arguments starts: above everything that is completed.
cli_node *open_argument(const parser &p) {
  cli_node *node = p.last_node != nullptr ? p.last_node : p.current_node;
  if (node != nullptr && is_word_kind(*node)) {
    node = first_arg(node);
  }
  while (node != nullptr && node->completed != 0) {
    node = node->parent;
  }
  return node;
}

// Keys and values that may follow; false when one of them is due.
bool collect_arguments(parser &p, PtrVector *out) {
  p.collect = 1;
  PtrVector *const own = p.candidates;
  p.candidates = out;
  p.error->errcode = E_OK;
  p.required_candidate = 0;
  lookup_candidate(p, open_argument(p));
  p.candidates = own;
  return p.required_candidate == 0;
}

}  // namespace

bool get_available_arguments(parser &p, PtrVector *out) {
  libglobal::clear(*out);
  return p.error != nullptr && collect_arguments(p, out);
}

const cli_node_set *available_choices(const parser &p) {
  const cli_node *node = p.current_node;
  return node == nullptr || (is_mode(node) && node != p.root) ? nullptr : choices_of(*node);
}

void get_available_nodes(parser &p, PtrVector *out, std::string_view prefix) {
  if (!get_available_arguments(p, out)) {
    return;
  }
  const cli_node_set *choices = available_choices(p);
  if (choices == nullptr) {
    return;
  }
  const WantedName wanted(prefix);
  cli_node *child = first_choice_with_prefix(*choices, wanted);
  for (; child != nullptr; child = next_choice_with_prefix(*child, wanted)) {
    if (is_visible(p, *child)) {
      libglobal::append(*out, child);
    }
  }
}

void bind_open_lines(Marks &marks, cli_node *current) {
  for (cli_node *mode = cli_get_parent_subconfig(current); mode != nullptr; mode = cli_get_parent_subconfig(mode)) {
    for (token *tok = mode->subconfig.tokens.first; tok != nullptr; tok = next_token(tok)) {
      if (tok->node == nullptr) {
        continue;
      }
      marks.bind(*tok->node, tok);
      update_tree_flags(marks, tok->node, owner_of(tok->node));
    }
  }
}

void forget_nodes(parser &p) {
  p.root = p.root == nullptr ? nullptr : tree_root(p.root);
  p.last_node = nullptr;
  p.current_node = nullptr;
  p.next_choice = nullptr;
  p.current_token = nullptr;
  if (p.candidates != nullptr) {
    libglobal::clear(*p.candidates);
  }
  if (p.internal != nullptr) {
    ParserState &state = state_of(p);
    state.error.node = nullptr;
    state.error.token = nullptr;
    libglobal::clear(*state.nodes);
  }
}

}  // namespace cli_engine

using cli_engine::kParserSource;

void parser_open(parser *p) {
  const libglobal::Caller caller = LIBGLOBAL_CALLER(kParserSource);
  *p = parser{};
  p->candidates = ptr_vector_new();
  p->privilege = 1;
  auto *state = static_cast<cli_engine::ParserState *>(libglobal::xcalloc(1, sizeof(cli_engine::ParserState), caller));
  state->text = dyn_string_new();
  state->nodes = ptr_vector_new();
  p->internal = state;
}

void parser_close(parser *p) {
  ptr_vector_free(p->candidates);
  p->candidates = nullptr;
  if (auto *state = static_cast<cli_engine::ParserState *>(p->internal)) {
    dyn_string_free(state->text);
    ptr_vector_free(state->nodes);
    std::free(state);
  }
  p->internal = nullptr;
  p->error = nullptr;
}

void parser_set_root(parser *p, cli_node *node) {
  libglobal::require(p != nullptr, "parser", kParserSource, __func__);
  p->root = node;
  if (node != nullptr) {
    cli_engine::mark_mode(cli_engine::marks_of(node), node);
  }
}

void parser_set_privilege(parser *p, int level) {
  libglobal::require(p != nullptr, "parser", kParserSource, __func__);
  p->privilege = level;
}

int parser_get_privilege(const parser *p) {
  libglobal::require(p != nullptr, "parser", kParserSource, __func__);
  return p->privilege;
}

cli_node *parser_run(parser *p, tokenizer *t, parser_error *error) {
  cli_engine::reset(*p, error);
  if (p->root == nullptr) {
    cli_engine::record_error(*p, E_INCOMPLETE, nullptr, nullptr);
    return nullptr;
  }
  return cli_engine::Run(*p, *t).match_line();
}

void parser_get_available_nodes(parser *p, PtrVector *out) {
  cli_engine::get_available_nodes(*p, out, {});
}
