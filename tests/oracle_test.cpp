// What lines mean, by exhaustive search: which words can bind to which nodes of the library's own tree, from what the
// nodes declare. A parse must bind as one of the readings does, and where every word has one reading only, it must come
// to the same end.
//   ORACLE_ROUNDS=n  how many languages      ORACLE_SEED=n  the first one's seed
#include <random>
#include <set>

#include "cli_engine/node.hpp"
#include "engine_support.hpp"
#include "fuzz/language.hpp"

namespace {

using Nodes = std::vector<const cli_node *>;

Nodes arguments(const cli_node *node) {
  Nodes list;
  for (cli_node *arg = cli_node_first_arg(node); arg != nullptr; arg = cli_node_next_arg(arg)) list.push_back(arg);
  return list;
}

bool required(const cli_node *node) {
  switch (node->type) {
    case TYPE_KEY:
      return node->key.required != 0;
    case TYPE_VALUE:
      return node->value.required != 0;
    default:
      return node->container.required != 0;
  }
}

bool is_exclusive(const cli_node *node) {
  return node->type == TYPE_CONTAINER && node->container.mode == CONTAINER_EXCLUSIVE;
}

// ---- What an argument can and must take, after what was given ----

class Given {
 public:
  void add(const cli_node *leaf) { leaves_.insert(leaf); }

  // Something of it was given.
  [[nodiscard]] bool touched(const cli_node *node) const {
    if (node->type != TYPE_CONTAINER) return leaves_.contains(node);
    const Nodes members = arguments(node);
    return std::any_of(members.begin(), members.end(), [&](const cli_node *member) { return touched(member); });
  }

  // Nothing more of it can be given: its value stands, or its chosen alternative is full, or its last member, which
  // is required.
  [[nodiscard]] bool full(const cli_node *node) const {
    if (!touched(node)) return false;
    const Nodes members = arguments(node);
    if (node->type != TYPE_CONTAINER) return members.empty() || full(members[0]);
    if (!is_exclusive(node)) return required(members.back()) && full(members.back());
    return std::any_of(members.begin(), members.end(), [&](const cli_node *member) { return full(member); });
  }

  // The members of a group that count now: all behind the last required one that is full, up to the next required one;
  // of an exclusive group the chosen one, or all.
  [[nodiscard]] Nodes present(const cli_node *group) const {
    Nodes members = arguments(group);
    if (is_exclusive(group)) {
      for (const cli_node *member : members) {
        if (touched(member)) return {member};
      }
      return members;
    }
    size_t first = 0, last = 0;
    for (size_t i = 0; i < members.size(); i++) {
      if (required(members[i]) && full(members[i])) first = i + 1;
    }
    for (last = first; last < members.size() && !required(members[last]); last++) {
    }
    members.resize(std::min(members.size(), last + 1));
    members.erase(members.begin(), members.begin() + static_cast<ptrdiff_t>(first));
    return members;
  }

  // The keys and values that can take the next word.
  void add_open(const cli_node *node, Nodes &open) const {
    if (node == nullptr || full(node)) return;
    if (node->type != TYPE_CONTAINER && !touched(node)) return open.push_back(node);
    for (const cli_node *member : node->type == TYPE_CONTAINER ? present(node) : arguments(node))
      add_open(member, open);
  }

  // The line must not end, nor go on to a word, before more of it is given.
  [[nodiscard]] bool due(const cli_node *node) const {
    if (node == nullptr || full(node)) return false;
    if (!touched(node)) return required(node);
    const Nodes members = node->type == TYPE_CONTAINER ? present(node) : arguments(node);
    return std::any_of(members.begin(), members.end(), [&](const cli_node *member) { return due(member); });
  }

 private:
  std::set<const cli_node *> leaves_;
};

// ---- The readings of a line ----

struct End {
  int code;
  Nodes bound;  // by the words, in order
  const cli_node *node;
  bool operator<(const End &other) const {
    return std::tie(code, bound, node) < std::tie(other.code, other.bound, other.node);
  }
};

class Readings {
 public:
  Readings(const cli &engine, std::vector<std::string> words) : engine_(engine) {
    State state{std::move(words), engine.current, engine.current, {}, {}};
    if (state.words.empty()) {
      ends.insert({E_INCOMPLETE, {}, nullptr});
    } else {
      follow(state);
    }
  }

  std::set<End> ends;
  bool single = true;  // no word had two readings
  bool given_up = false;

 private:
  struct State {
    std::vector<std::string> words;
    const cli_node *mode, *node;  // where the line began, and what it came to
    Given given;
    Nodes bound;
    bool first = true;
    int expansions = 0;
  };

  // Those that the text names in full, or else those that it abbreviates.
  static Nodes named(const Nodes &nodes, const std::string &text) {
    Nodes whole, begun;
    for (const cli_node *node : nodes) {
      if (strncasecmp(node->name, text.c_str(), text.size()) != 0) continue;
      (node->name_len == text.size() ? whole : begun).push_back(node);
    }
    return whole.empty() ? begun : whole;
  }

  Nodes words_below(const cli_node *node, const std::string &text) const {
    Nodes visible;
    for (cli_node *word = cli_node_first_choice(node); word != nullptr; word = cli_node_next_choice(word)) {
      if (word->privilege <= engine_.parser.privilege) visible.push_back(word);
    }
    return named(visible, text);
  }

  void follow(State &state) {
    if (++followed_ > 20000) given_up = true;
    if (given_up) return;
    const cli_node *argument = cli_node_first_arg(state.node);
    const bool due = state.given.due(argument);
    const size_t at = state.bound.size();
    if (at == state.words.size()) {
      ends.insert({due ? E_INCOMPLETE : E_OK, state.bound, due ? nullptr : state.node});
      return;
    }
    const std::string &text = state.words[at];
    Nodes open, keys, readings, words;
    state.given.add_open(argument, open);
    for (const cli_node *leaf : open) {
      if (leaf->type == TYPE_KEY) keys.push_back(leaf);
      if (leaf->type == TYPE_VALUE && validator_match(&leaf->value.validator, text.c_str(), text.size()) != 0)
        readings.push_back(leaf);
    }
    keys = named(keys, text);
    readings.insert(readings.end(), keys.begin(), keys.end());
    // A word goes before an optional value, even in a group that waits for any one of its members.
    if ((!due || !readings.empty()) && (state.node == state.mode || state.node->type != TYPE_SUBCONFIG)) {
      words = words_below(state.node, text);
      for (cli_node *mode = const_cast<cli_node *>(state.node); words.empty() && state.first && mode != nullptr;) {
        mode = cli_get_parent_subconfig(mode);
        if (mode != nullptr) words = words_below(mode, text);
      }
    }
    // Where another member waits for more, taking an optional one may fail the line.
    const bool passes_over =
        due && std::any_of(readings.begin(), readings.end(), [](const cli_node *leaf) { return !required(leaf); });
    if (readings.size() + words.size() > 1 || passes_over) single = false;
    if (readings.empty() && words.empty())
      ends.insert({due ? E_INVALID_ARGUMENT : E_EXTRA_INPUT, state.bound, nullptr});
    for (const cli_node *leaf : readings) {
      State next = state;
      next.given.add(leaf);
      next.bound.push_back(leaf);
      follow(next);
    }
    for (const cli_node *word : words) take(state, word);
  }

  void take(State next, const cli_node *word) {
    next.first = false;
    if (word->type == TYPE_ALIAS) {
      if (++next.expansions > 16) {
        ends.insert({E_EXTRA_INPUT, next.bound, nullptr});
        return;
      }
      const auto place = next.words.erase(next.words.begin() + static_cast<ptrdiff_t>(next.bound.size()));
      std::vector<std::string> meant;
      for (const token *tok = word->alias.alias_tokens.first; tok != nullptr; tok = tok->next)
        meant.push_back(tok->text);
      next.words.insert(place, meant.begin(), meant.end());
      return follow(next);
    }
    next.bound.push_back(word);
    const cli_node *reached = word->type == TYPE_WORD && word->word.link != nullptr ? word->word.link : word;
    if (next.node == next.mode && reached->parent != next.mode) {
      const cli_node *mode = cli_get_parent_subconfig(const_cast<cli_node *>(reached));
      next.mode = mode != nullptr ? mode : reached;
      next.given = {};
    }
    next.node = reached;
    follow(next);
  }

  const cli &engine_;
  int followed_ = 0;
};

// ---- The library's end, and the comparison ----

End parsed(cli &engine) {
  const cli_node *node = parser_run(&engine.parser, &engine.tokenizer, nullptr);
  End end{node != nullptr ? E_OK : engine.parser.error->errcode, {}, node};
  for (const token *tok = engine.tokenizer.tokens.first; tok != nullptr && tok->node != nullptr; tok = tok->next)
    end.bound.push_back(tok->node);
  return end;
}

std::string shown(const End &end) {
  std::string text = "code " + std::to_string(end.code) + ", at " + (end.node && end.node->name ? end.node->name : "-");
  for (const cli_node *node : end.bound) text += std::string(" ") + node->name + "/" + std::to_string(node->type);
  return text + "\n";
}

// Groups that end in an optional member never close, so that a required one keeps all that follow from being reached.
bool closes(const cli_node *node) {
  const Nodes members = arguments(node);
  if (node->type == TYPE_VALUE || (node->type == TYPE_KEY && members.empty())) return true;
  if (is_exclusive(node)) return std::all_of(members.begin(), members.end(), closes);
  return !members.empty() && required(members.back()) && closes(members.back());
}

// Whether the search can tell what a language means: it cannot where a group never closes before others that follow,
// nor where an optional choice, which forgets what the members before it lack, is not the first of its group.
bool judged(const cli_node *node) {
  const Nodes members = arguments(node);
  for (const cli_node *member : members) {
    const bool stuck = node->type == TYPE_CONTAINER && member != members.back() && required(member) && !closes(member);
    const bool forgets = is_exclusive(member) && !required(member) && member != members.front();
    if (!judged(member) || (stuck && !is_exclusive(node)) || forgets) return false;
  }
  for (cli_node *word = cli_node_first_choice(node); word != nullptr; word = cli_node_next_choice(word)) {
    if (!judged(word)) return false;
  }
  return true;
}

void add_modes(cli_node *node, std::vector<cli_node *> &modes) {
  if (node->type == TYPE_SUBCONFIG) modes.push_back(node);
  for (cli_node *word = cli_node_first_choice(node); word != nullptr; word = cli_node_next_choice(word))
    add_modes(word, modes);
}

// ---- Completion and help ----

// What completion offers beside the entries of values, as the words that would be typed.
std::vector<std::string> offered(cli *engine, const std::string &line) {
  const fuzz::Json found(json_array());
  EXPECT_EQ(cli_complete(engine, line.c_str(), line.size(), found.get()) < 0, false);
  std::vector<std::string> words;
  for (size_t i = 0; i < json_array_size(found.get()); i++) {
    const json_t *offer = json_array_get(found.get(), i);
    if (std::string_view(json_string_value(json_object_get(offer, "kind"))) == "value") continue;
    tokenizer_run(&engine->tokenizer, json_string_value(json_object_get(offer, "text")), -1);
    words.push_back(engine->tokenizer.tokens.first->text);
  }
  return words;
}

// What help lists, as names, without the values that may come.
std::vector<std::string> listed(cli *engine, const std::string &line) {
  std::string text;
  engine->write_data = &text;
  cli_help(engine, line.c_str());
  std::vector<std::string> words;
  for (size_t at = text.find('\n') + 1, end; (end = text.find('\n', at)) != std::string::npos; at = end + 1) {
    std::string row = text.substr(at, end - at);
    if (row.rfind('\t') == std::string::npos) continue;
    row.resize(row.find_last_not_of(' ', row.rfind('\t') - 1) + 1);
    words.push_back(row);
  }
  PtrVector *nodes = ptr_vector_new();
  parser_get_available_nodes(&engine->parser, nodes);  // arguments come first
  const token *typed = engine->tokenizer.cursor_token;
  for (size_t i = 0, at = 0; i < ptr_vector_size(nodes) && at < words.size(); i++) {
    const auto *node = static_cast<const cli_node *>(ptr_vector_get(nodes, i));
    const bool is_value = node->type == TYPE_VALUE;
    const std::string alias = node->type == TYPE_ALIAS ? std::string("*") + node->name + "=" : "";
    if (typed && !(is_value ? validator_match_partial(&node->value.validator, typed->text, typed->len)
                            : strncasecmp(node->name, typed->text, typed->len) == 0))
      continue;
    if (is_value) {
      words.erase(words.begin() + static_cast<std::ptrdiff_t>(at));
    } else if (alias.empty() ? words[at] == node->name : words[at].starts_with(alias)) {
      words[at++] = node->name;
    }
  }
  ptr_vector_free(nodes);
  return words;
}

unsigned from_environment(const char *name, unsigned otherwise) {
  const char *text = getenv(name);
  return text != nullptr ? static_cast<unsigned>(strtoul(text, nullptr, 10)) : otherwise;
}

TEST(Oracle, AgreesWithTheLibraryOnRandomLines) {
  const unsigned first = from_environment("ORACLE_SEED", 1), rounds = from_environment("ORACLE_ROUNDS", 2000);
  int judgements = 0, accepted = 0, single = 0, languages = 0;
  for (unsigned seed = first; seed < first + rounds && !HasFailure(); seed++) {
    std::mt19937 random(seed);
    std::string bytes(6000, '\0');
    for (char &byte : bytes) byte = static_cast<char>(random());
    fuzz::Source source(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
    fuzz::Writer writer(source);
    const fuzz::Json definitions = writer.definitions(), privileges = writer.privileges();
    engine_support::Engine engine(definitions.get(), privileges.get());
    if (!judged(&engine->root)) continue;
    engine->flags = CLI_NO_COLOUR;
    engine->write = [](void *text, const char *piece, size_t len) {
      static_cast<std::string *>(text)->append(piece, len);
      return 0;
    };
    languages++;
    std::vector<cli_node *> modes;
    add_modes(&engine->root, modes);
    while (!source.ended() && !HasFailure()) {
      engine->current = modes[source.index(modes.size())];
      parser_set_privilege(&engine->parser, source.below(4));
      const std::string line = fuzz::line_for(source, *engine.get());
      EXPECT_EQ(offered(engine.get(), line), listed(engine.get(), line))
          << "seed " << seed << "\n"
          << engine_support::text_of(definitions.get()) << "\n"
          << line;
      parser_set_root(&engine->parser, engine->current);
      tokenizer_run(&engine->tokenizer, line.c_str(), -1);
      std::vector<std::string> words;
      for (const token *tok = engine->tokenizer.tokens.first; tok != nullptr; tok = tok->next)
        words.push_back(tok->text);
      const Readings readings(*engine.get(), words);
      if (readings.given_up) continue;
      const End end = parsed(*engine.get());
      judgements++;
      accepted += end.code == E_OK;
      single += readings.single;
      if (readings.ends.contains(end) || (!readings.single && end.code != E_OK)) continue;
      std::string expected;
      for (const End &reading : readings.ends) expected += shown(reading);
      ADD_FAILURE() << "seed " << seed << "\n"
                    << engine_support::text_of(definitions.get()) << "\nin "
                    << (engine->current->name ? engine->current->name : "-") << ": " << line << "\nreadings:\n"
                    << expected << "library:\n"
                    << shown(end);
    }
    engine->current = &engine->root;
  }
  EXPECT_GT(accepted, judgements / 10);
  EXPECT_GT(single, judgements / 2);
  std::printf("%d languages, %d lines, %d accepted, %d with one reading\n", languages, judgements, accepted, single);
}

}  // namespace
