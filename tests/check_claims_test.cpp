// What the checker claims about lines is so: random languages of a few commands, every line that can be typed in them
// up to a number of lines, and each claim looked for among them.
//   CLAIM_ROUNDS=n  how many languages      CLAIM_SEED=n  the first one's seed
#include <random>

#include "cli_check/check.hpp"
#include "cli_check/tree.hpp"
#include "engine_support.hpp"

namespace cli_check {
namespace {

int handle(cli *, cli_node *) {
  return 0;
}
constexpr cli_handler_entry kHandlers[] = {{"*", handle}, {nullptr, nullptr}};

// ---- Languages ----

class Writer {
 public:
  explicit Writer(unsigned seed) : random_(seed) {}

  std::string definitions() {
    return "{'c': {'#help': 'h', '#handler': 'f', '#args': [" + args(0) + "], '#commands': {" + words() + "}}}";
  }

 private:
  int below(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random_); }
  std::string any(std::initializer_list<const char *> texts) {
    return texts.begin()[below(static_cast<int>(texts.size()))];
  }
  std::string name() { return any({"a", "ab", "abc", "b", "ba", "Ab", "1", "12x"}); }

  std::string words() {
    std::string text;
    for (int i = below(3); i > 0; i--) {
      const std::string end = any({"'#alias': 'a'", "'#alias': 'c b'", "'#help': 'h', '#handler': 'f', '#args': ["});
      text += (text.empty() ? "'" : ", '") + name() + std::to_string(i).substr(below(2)) + "': {" + end +
              (end.back() == '[' ? args(2) + "]}" : "}");
    }
    return text;
  }

  std::string args(int depth) {
    std::string text;
    for (int i = 1 + below(depth == 2 ? 1 : 3); i > 0; i--) {
      const std::string type =
          any({"'key'", "'key'", "'key'", "'key', '#args': [", "'int', '#min_inclusive': 1, '#max_inclusive': 5",
               "'int', '#min_inclusive': 5, '#max_inclusive': 12", "'string'", "'unsignedInt'",
               "'string', '#enum': ['a', 'ab', 'x', 'x']", "'int', '#max_inclusive': 5, '#enum': [1, 12]",
               "'container'", "'container', '#args': [", "'container', '#args': [",
               "'container', '#exclusive': true, '#args': [", "'container', '#exclusive': true, '#args': ["});
      const bool is_deep = type.back() == '[';
      if (is_deep && depth > 1) continue;
      text += std::string(text.empty() ? "" : ", ") + "{'#help': 'h'" +
              (type[1] == 'c' ? "" : ", '#name': '" + name() + "'") + any({"", ", '#optional': true"}) +
              ", '#type': " + type + (is_deep ? args(type[1] == 'k' ? 2 : depth + 1) + "]}" : "}");
    }
    return text;
  }

  std::mt19937 random_;
};

// ---- Lines ----

struct Line {
  size_t before;  // the line without its last word
  std::string text, last;
  const cli_node *taken;  // by its last word; null when nothing takes it
  int code;
  const cli_node *end;
};

// Every line but for those that go on behind a word that nothing takes.
std::vector<Line> lines_of(cli *engine, const std::set<std::string> &words, size_t most) {
  std::vector<Line> lines = {{0, "", "", nullptr, E_INCOMPLETE, nullptr}};
  for (size_t at = 0; at < lines.size() && lines.size() < most; at++) {
    if (lines[at].code != E_OK && (lines[at].code != E_INCOMPLETE || (at > 0 && lines[at].taken == nullptr))) continue;
    for (const std::string &word : words) {
      Line line{at, lines[at].text + " " + word, word, nullptr, E_OK, nullptr};
      tokenizer_run(&engine->tokenizer, line.text.c_str(), -1);
      parser_error error = {};
      line.end = parser_run(&engine->parser, &engine->tokenizer, &error);
      line.code = error.errcode;
      for (const token *tok = engine->tokenizer.tokens.first; tok != nullptr; tok = tok->next) line.taken = tok->node;
      lines.push_back(std::move(line));
    }
  }
  return lines;
}

bool is_below(const cli_node *node, const cli_node *top) {
  while (node != nullptr && node != top) node = node->parent;
  return node == top;
}

// ---- Claims ----

struct Claim {
  const cli_node *node;
  std::string text, quoted;              // what is claimed; the first text in quotes
  std::vector<const cli_node *> others;  // that it names behind the words that tell it from others
  const std::vector<Line> *lines;
  cli *engine;

  [[nodiscard]] bool names(const cli_node *other) const {
    return std::find(others.begin(), others.end(), other) != others.end();
  }
  [[nodiscard]] const Line &before(const Line &line) const { return lines->at(line.before); }
  // With another last word.
  [[nodiscard]] bool beside(const Line &line, const std::function<bool(const Line &)> &holds) const {
    return std::any_of(lines->begin(), lines->end(),
                       [&](const Line &other) { return other.before == line.before && holds(other); });
  }
  [[nodiscard]] bool gives(const Line &line, const cli_node *top) const {
    return is_below(line.taken, top) || (!line.text.empty() && gives(before(line), top));
  }
};

// Whether a line refutes the claim, or is one that it needs to be true.
struct Judge {
  const char *rule, *says;
  bool refutes;
  bool (*looks_at)(const Claim &c, const Line &l);
};
bool takes(const Claim &c, const Line &l) {
  return l.taken == c.node;
}
bool takes_quoted(const Claim &c, const Line &l) {
  return takes(c, l) && l.last == c.quoted;
}
bool takes_whole(const Line &l) {
  return l.last.size() == l.taken->name_len;
}
bool is_complete(const Claim &c, const Line &l) {
  return l.code == E_OK && l.end == &owner_of(*c.node);
}
bool is_in_range(const Claim &c, const Line &l) {
  long low = 0, high = 0;
  std::sscanf(c.text.c_str(), "%ld to %ld", &low, &high);
  return takes(c, l) && std::stol(l.last) >= low && std::stol(l.last) <= high;
}
bool finds_another(const Claim &c, const Line &l) {
  tokenizer_run(&c.engine->tokenizer, l.text.c_str(), -1);
  return is_complete(c, l) && c.gives(l, c.node) &&
         parser_run(&c.engine->parser, &c.engine->tokenizer, nullptr) != nullptr &&
         cli_node_find(const_cast<cli_node *>(l.end), c.node->name) != c.node;
}
bool is_word_behind(const Claim &c, const Line &l) {
  const cli_node *owner = &owner_of(*c.node);
  return l.taken != nullptr && l.taken->parent == owner && !is_argument(*l.taken) && c.before(l).taken == owner;
}
bool leaves_out(const Claim &c, const Line &l) {
  return is_complete(c, l) && c.gives(l, c.node) &&
         std::any_of(c.others.begin(), c.others.end(), [&](const cli_node *other) { return !c.gives(l, other); });
}
constexpr Judge kJudges[] = {
    {"hidden-value", "never taken", true, takes},
    {"unreachable-name", "of an earlier alternative", true, takes},
    {"unreachable-name", "that ask for this name", false, finds_another},
    {"refused-offer", "but", false,
     [](const Claim &c, const Line &l) { return c.names(l.taken) && c.before(l).taken == c.node->parent; }},
    {"crossed-values", "instead", false,
     [](const Claim &c, const Line &l) { return l.text == " " + c.quoted && is_complete(c, l) && c.gives(l, c.node); }},
    {"alias-line", "does not parse", true,
     [](const Claim &c, const Line &l) {
       return l.last == c.node->name && c.before(l).taken == c.node->parent && l.code == E_OK &&
              !(l.taken != nullptr && is_argument(*l.taken));
     }},
    {"unreachable-entry", "never accepted", true, takes_quoted},
    {"overlapping-values", "are taken by", true, is_in_range},
    {"value-before-keyword", "is taken by", false,
     [](const Claim &c, const Line &l) { return c.names(l.taken) && l.last == c.node->name; }},
    {"keyword-before-value", "which", false,
     [](const Claim &c, const Line &l) {
       return takes_quoted(c, l) && c.beside(l, [&](const Line &other) { return c.names(other.taken); });
     }},
    {"taken-abbreviation", ", as an abbreviation, from the word", false,
     [](const Claim &c, const Line &l) {
       return takes_quoted(c, l) &&
              c.beside(l, [&](const Line &other) { return c.names(other.taken) && takes_whole(other); });
     }},
    {"taken-abbreviation", "\" from the word", false,
     [](const Claim &c, const Line &l) { return takes_quoted(c, l) && c.before(l).code == E_OK; }},
    {"no-abbreviation", "cannot be abbreviated: ", true,
     [](const Claim &c, const Line &l) { return takes(c, l) && l.last.size() < c.node->name_len; }},
    {"never-bare", "", true, [](const Claim &c, const Line &l) { return takes(c, l) && l.code == E_OK; }},
    {"hidden-commands", "", true, is_word_behind},
    {"empty-group", "never complete", true, is_complete},
    {"blocking-group", "is taken without", false, leaves_out},
};

class Claims : public testing::Test {
 protected:
  void judge(unsigned seed, json_t *definitions) {
    const std::string path = testing::TempDir() + "claims-" + std::to_string(getpid()) + ".json";
    json_dump_file(definitions, path.c_str(), JSON_INDENT(1));
    const auto dump = std::unique_ptr<char, decltype(&free)>(json_dumps(definitions, JSON_INDENT(1)), free);
    Request request;
    request.definitions = path;
    request.definitions_text = dump.get();
    request.types = types_.get();
    request.handlers = kHandlers;
    const Findings findings = check(request);
    const cli_language_source source = {path.c_str(), nullptr, kHandlers, 0, nullptr, nullptr};
    cli_language *language = cli_language_load(types_.get(), &source, nullptr, nullptr);
    ASSERT_NE(language, nullptr);
    cli engine = {};
    cli_init_language(&engine, language, nullptr);
    std::vector<cli_node *> nodes;
    append_nodes_below(engine.root, nodes);
    std::set<std::string> words = {"1", "5", "a", "x"};
    std::map<Place, const cli_node *> places;
    for (const cli_node *node : nodes) {
      if (Place place; cli_node_position(node, nullptr, nullptr, &place.line, &place.column) == 0) places[place] = node;
      for (size_t length = 1; node->type != TYPE_VALUE && length <= node->name_len; length++)
        words.emplace(node->name, length);
    }
    const std::vector<Line> lines = lines_of(&engine, words, kMostLines);
    for (const Finding &finding : findings.all())
      for (const Judge &judge : kJudges)
        if (const size_t says = finding.text.find(judge.says);
            finding.rule == judge.rule && says != std::string::npos) {
          Claim claim{std::prev(places.upper_bound(finding.place))->second, finding.text, {}, {}, &lines, &engine};
          const size_t quote = finding.text.find('"') + 1;
          claim.quoted = finding.text.substr(quote, finding.text.find('"', quote) - quote);
          for (const cli_node *node : nodes)
            if (finding.text.find(in_words(*node), says) != std::string::npos) claim.others.push_back(node);
          const auto found = std::find_if(lines.begin() + 1, lines.end(),
                                          [&](const Line &line) { return judge.looks_at(claim, line); });
          count(seed, finding, judge, found == lines.end() ? nullptr : &*found, lines.size() < kMostLines, definitions);
        }
    cli_free(&engine);
    cli_language_free(language);
  }

  void count(unsigned seed, const Finding &finding, const Judge &judge, const Line *line, bool are_all,
             json_t *definitions) {
    Count &row = counts_[std::string(judge.rule) + " " + judge.says];
    row.claims++;
    row.open += line == nullptr && !are_all ? 1 : 0;
    EXPECT_FALSE(judge.refutes ? line != nullptr : line == nullptr && are_all)
        << "seed " << seed << ": " << as_line(finding) << (line != nullptr ? "\nbut:" + line->text : "") << "\n"
        << engine_support::text_of(definitions);
  }

  struct Count {
    int claims, open;
  };
  std::map<std::string, Count> counts_;
  const std::unique_ptr<validator_typesystem, decltype(&validator_typesystem_free)> types_{validator_typesystem_new(),
                                                                                           validator_typesystem_free};
  static constexpr size_t kMostLines = 20000;
};

TEST_F(Claims, AreTrueOfEveryLine) {
  const char *seed = getenv("CLAIM_SEED"), *rounds = getenv("CLAIM_ROUNDS");
  const unsigned first = seed == nullptr ? 1 : static_cast<unsigned>(atoi(seed));
  for (unsigned at = first; at < first + (rounds == nullptr ? 300U : static_cast<unsigned>(atoi(rounds))); at++) {
    const engine_support::Json definitions = engine_support::json(Writer(at).definitions());
    judge(at, definitions.get());
  }
  for (const auto &[name, row] : counts_) std::printf("%5d claims, %d open: %s\n", row.claims, row.open, name.c_str());
  EXPECT_GT(counts_.size(), std::size(kJudges) - 5);  // some are rare
}

}  // namespace
}  // namespace cli_check
