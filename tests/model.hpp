// A second command-line engine, slow and simple, that shares no code with the library: it re-reads the whole tree for
// every line and copies whatever it keeps. model_test compares the library with it.
#ifndef TESTS_MODEL_HPP
#define TESTS_MODEL_HPP

#include <jansson.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace model {

struct Node;

struct Token {
  std::string text;
  Node *node = nullptr;
};
using TokenRef = std::shared_ptr<Token>;
using Tokens = std::vector<TokenRef>;
using Nodes = std::vector<std::unique_ptr<Node>>;

enum Kind { kMode, kCommand, kWord, kKey, kValue, kGroup, kAlias };
enum Order { kSequential, kSelective, kExclusive };
enum Code { kOk, kInvalid, kAmbiguous, kExtra, kIncomplete };

struct Node {
  explicit Node(Kind of) : kind(of) {}

  Kind kind;
  std::string name, help, handler, alias;
  Node *parent = nullptr;
  Node *link = nullptr;  // "do" only
  int privilege = 0;
  std::optional<std::string> mode_prompt;
  json_t *prompt = nullptr;
  Nodes words;  // in name order
  Nodes args;
  bool required = true;
  int order = kSelective;
  int repeat = 0;
  Tokens line;  // modes: what entered the next deeper one

  // What a value accepts.
  bool numeric = false, negative = false, bounded = false, listed = false;
  long long low = 0, high = 0;
  int base = 0, width = 0;
  std::vector<std::pair<std::string, bool>> entries;  // text; whether it is a JSON string

  bool used = false, completed = false;
  TokenRef token;
};

struct BadDocument {};

class Engine {
 public:
  Engine() : root(kMode) {}

  void load(json_t *definitions, json_t *privileges);  // throws BadDocument; the documents must outlive the engine
  void execute(const std::string &line);
  void help(const std::string &line);
  void complete(const std::string &line, std::vector<std::string> &result);
  void leave_mode();
  void leave_all_modes();
  void refresh_prompt();
  void dump(const Node &node);

  [[nodiscard]] Node *find(Node &from, const std::string &path) const;
  [[nodiscard]] bool holds(json_t *conditions);

  Node root;
  Node *current = &root;
  std::vector<Node *> modes;
  int privilege = 1;
  std::string out, host, prompt = "cli> ";
  std::vector<std::string> pager;
  std::function<int(Node &)> handler;  // runs node.handler
  struct {
    Code code = kOk;
    TokenRef token;
    Node *node = nullptr;
  } error;

 private:
  void import(Node &under, json_t *definitions, json_t *privileges);
  void import_args(Node &node, json_t *declaration);
  int level_of(const Node &under, const Node &node, const std::string &key, json_t *privileges) const;
  std::string choose_prompt(json_t *value);
  bool check(json_t *condition, bool negate);
  void add_built_ins(Node &mode);
  void enter_mode(Node *node);

  Node *run();
  Node *parse();
  Node *finish(Node *result);
  void split(const std::string &line, bool with_cursor);
  [[nodiscard]] TokenRef token() const { return at < tokens.size() ? tokens[at] : nullptr; }
  Node *fail(Code code, const TokenRef &blamed, Node *node);
  void bind(Node *node);
  int lookup(Node *node);
  int lookup_exclusive(Node &group);
  int lookup_ordered(Node &group);
  int add_candidate(Node &node);
  Node *select();
  Node *find_word(Node *node, bool in_parents);
  std::vector<Node *> available();

  void report_error();
  void list_available();
  int print_matched(std::string &text, size_t &rest) const;
  bool fits(const Node &node) const;

  Tokens tokens;  // without the word under the cursor while that is being typed
  TokenRef cursor;
  size_t at = 0;
  bool collect = false, due = false;  // due: a required candidate was found
  Node *start = &root, *last = nullptr, *reached = nullptr, *choice = nullptr;
  std::vector<Node *> candidates;
};

Tokens tokenize(const std::string &line, TokenRef *last = nullptr);       // last: the word that the line ends in
int match(const Node &value, const std::string &text);                    // 1 complete, 0 incomplete, -1 none
std::optional<std::string> value_of(const Node &node);                    // as JSON text
int print_node(const Node &node, const Token *token, std::string &text);  // returns the visible width
bool same(const std::string &a, const std::string &b);                    // in any case

}  // namespace model

#endif
