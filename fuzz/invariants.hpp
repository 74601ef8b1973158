// What must hold after every operation, whatever came before. A claim that fails ends the process.
#ifndef FUZZ_INVARIANTS_HPP
#define FUZZ_INVARIANTS_HPP

#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>

#include "cli_engine/node.hpp"

extern "C" __attribute__((weak)) size_t __sanitizer_get_current_allocated_bytes();

namespace fuzz {

// What the process has to hold, as a text for the report.
#define FUZZ_REQUIRE(claim) ::fuzz::require((claim), #claim, __FILE__, __LINE__)
inline void require(bool holds, const char *claim, const char *file, int line) {
  if (holds) return;
  fprintf(stderr, "%s:%d: it does not hold that %s\n", file, line, claim);
  abort();
}

inline size_t heap_in_use() {
  if (__sanitizer_get_current_allocated_bytes != nullptr) return __sanitizer_get_current_allocated_bytes();
  const struct mallinfo2 heap = mallinfo2();
  return heap.uordblks + heap.hblkhd;
}

// The tokens of a list that follow one another without gaps, each closed by a NUL.
inline void check_tokens(const token_list &list, tokenizer *owner, std::set<const token *> &live) {
  const char *text = list.first == nullptr ? nullptr : list.first->text;
  token *const *last_link = &list.first;
  for (const token *tok = list.first; tok != nullptr; tok = tok->next) {
    FUZZ_REQUIRE(live.insert(tok).second);
    FUZZ_REQUIRE(tok->text == text);
    FUZZ_REQUIRE(strlen(tok->text) == tok->len);
    FUZZ_REQUIRE(tok->tokenizer == owner);
    FUZZ_REQUIRE(tok->cursor >= -1 && tok->cursor <= static_cast<int64_t>(tok->len));
    text += size_t{tok->len} + 1;
    last_link = &tok->next;
  }
  FUZZ_REQUIRE(list.last_link == last_link || (list.first == nullptr && list.last_link == nullptr));
}

// The present tokens lie in the buffer, at its beginning, and at most one of them holds the cursor.
inline void check_tokenizer(tokenizer &t, std::set<const token *> &live) {
  check_tokens(t.tokens, &t, live);
  FUZZ_REQUIRE(t.cursor_token == nullptr || live.contains(t.cursor_token));
  const char *end = t.buffer;
  for (const token *tok = t.tokens.first; tok != nullptr; tok = tok->next) {
    FUZZ_REQUIRE(tok->text == end);
    FUZZ_REQUIRE((tok->cursor >= 0) == (tok == t.cursor_token));
    end += size_t{tok->len} + 1;
  }
  FUZZ_REQUIRE(end <= t.buffer + t.capacity);
}

// One engine's tree, modes, tokens and parser record.
class EngineCheck {
 public:
  static void run(cli &engine) {
    EngineCheck check(engine);
    check.tree();
    check.modes();
    check.marks();
    check.parser_record();
  }

 private:
  using Nodes = std::set<const cli_node *>;

  explicit EngineCheck(cli &engine) : engine_(engine) {}

  void tree() { subtree(&engine_.root); }

  void subtree(cli_node *node) {
    nodes_.insert(node);
    FUZZ_REQUIRE(node->name == nullptr || strlen(node->name) == node->name_len);
    FUZZ_REQUIRE(node->privilege >= 0 && node->privilege <= 15);
    if (cli_node_list *args = cli_engine::args_of(*node)) {
      cli_node **link = &args->first;
      for (; *link != nullptr; link = &(*link)->arg_link) child(node, *link, false);
      FUZZ_REQUIRE(args->last_link == link || node == &engine_.root);  // which has none
    }
    if (const cli_node_set *choices = cli_engine::choices_of(*node)) {
      const cli_node *before = nullptr;
      for (cli_node *word = cli_node_first_choice(node); word != nullptr; word = cli_node_next_choice(word)) {
        FUZZ_REQUIRE(before == nullptr ||
                     cli_engine::name_compare(cli_engine::name_of(*before), cli_engine::name_of(*word)) < 0);
        FUZZ_REQUIRE(cli_engine::find_choice(*choices, cli_engine::name_of(*word)) == word);
        child(node, word, true);
        before = word;
      }
      black_height(choices->root, nullptr);
    }
  }

  void child(cli_node *parent, cli_node *node, bool is_word) {
    FUZZ_REQUIRE(node->parent == parent);
    FUZZ_REQUIRE(cli_engine::is_choice_kind(*node) == is_word);
    FUZZ_REQUIRE(!nodes_.contains(node));
    subtree(node);
  }

  // Every way down passes equally many black nodes, and no red node stands below another.
  static int black_height(const cli_node *node, const cli_node *parent) {
    if (node == nullptr) return 0;
    FUZZ_REQUIRE(node->choice_link.parent == parent);
    FUZZ_REQUIRE(node->choice_link.colour == 0 || (parent != nullptr && parent->choice_link.colour == 0));
    const int height = black_height(node->choice_link.left, node);
    FUZZ_REQUIRE(height == black_height(node->choice_link.right, node));
    return height + (node->choice_link.colour == 0 ? 1 : 0);
  }

  // A line is kept with the root and every open mode but the innermost, and nowhere else.
  void modes() {
    FUZZ_REQUIRE(engine_.tokenizer.stop_at_cursor == 0);
    check_tokenizer(engine_.tokenizer, live_);
    const std::set<const token *> present = live_;
    Nodes keepers;
    cli_node *innermost = &engine_.root;
    cli_node **link = &engine_.mode_stack.first;
    for (; *link != nullptr; link = &innermost->subconfig.stack_link.next) {
      keepers.insert(innermost);
      innermost = *link;
      FUZZ_REQUIRE(nodes_.contains(innermost) && innermost->type == TYPE_SUBCONFIG);
      FUZZ_REQUIRE(innermost->subconfig.stack_link.prev_link == link);
    }
    FUZZ_REQUIRE(engine_.mode_stack.last_link == link);
    FUZZ_REQUIRE(engine_.current == innermost);
    for (const cli_node *node : nodes_) {
      if (node->type != TYPE_SUBCONFIG) continue;
      const token_list &line = node->subconfig.tokens;
      FUZZ_REQUIRE(keepers.contains(node) || line.first == nullptr);
      check_tokens(line, &engine_.tokenizer, live_);
    }
    for (const token *tok : live_) FUZZ_REQUIRE(tok->node == nullptr || nodes_.contains(tok->node));
    FUZZ_REQUIRE(memchr(engine_.prompt_text, '\0', sizeof engine_.prompt_text) != nullptr);
  }

  void marks() {
    for (const cli_node *node : nodes_) {
      const bool marked = node->used != 0 || node->completed != 0 || node->token != nullptr;
      FUZZ_REQUIRE(!marked || node->parent == nullptr || node->internal != nullptr);
      FUZZ_REQUIRE(node->token == nullptr || live_.contains(node->token));
      FUZZ_REQUIRE(node->type != TYPE_VALUE || node->value.value == nullptr || marked);
      if (node->used == 0 || node->type == TYPE_SUBCONFIG) continue;
      // A kept line may hold an argument of the mode that it left: that mode is not used.
      const bool of_mode = node->parent->type == TYPE_SUBCONFIG && !cli_engine::is_choice_kind(*node);
      FUZZ_REQUIRE(node->parent->used != 0 || of_mode);
    }
  }

  void parser_record() {
    const parser &p = engine_.parser;
    const bool ran = p.error != nullptr;
    for (const cli_node *node : {p.root, p.last_node, p.current_node, p.next_choice, ran ? p.error->node : nullptr}) {
      FUZZ_REQUIRE(node == nullptr || nodes_.contains(node));
    }
    for (const token *tok : {p.current_token, ran ? p.error->token : nullptr}) {
      FUZZ_REQUIRE(tok == nullptr || live_.contains(tok));
    }
    for (size_t i = 0; i < ptr_vector_size(p.candidates); i++) {
      FUZZ_REQUIRE(nodes_.contains(static_cast<const cli_node *>(ptr_vector_get(p.candidates, i))));
    }
  }

  cli &engine_;
  Nodes nodes_;
  std::set<const token *> live_;
};

}  // namespace fuzz

#endif
