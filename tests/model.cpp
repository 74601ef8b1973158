#include "model.hpp"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace model {
namespace {

template <typename... Args>
std::string format(const char *pattern, Args... args) {
  char text[4096];
  snprintf(text, sizeof text, pattern, args...);
  return text;
}

bool starts(const std::string &word, const std::string &prefix) {
  return word.size() >= prefix.size() && strncasecmp(word.c_str(), prefix.c_str(), prefix.size()) == 0;
}

bool before(const std::string &a, const std::string &b) {
  const int order = strncasecmp(a.c_str(), b.c_str(), std::min(a.size(), b.size()));
  return order != 0 ? order < 0 : a.size() < b.size();
}

bool optional(const Node &node) {
  return node.kind >= kKey && node.kind <= kGroup && !node.required;
}

Node *enclosing(const Node *node) {
  Node *mode = node->parent;
  while (mode && mode->kind != kMode) mode = mode->parent;
  return mode;
}

Node *first_arg(const Node &node) {
  return node.args.empty() ? nullptr : node.args.front().get();
}

Node &adopt(Nodes &list, Node &parent, std::unique_ptr<Node> child) {
  child->parent = &parent;
  list.push_back(std::move(child));
  return *list.back();
}

// ---- JSON ----

std::optional<std::string> text_of(json_t *object, const char *key) {
  const char *text = json_string_value(json_object_get(object, key));
  return text ? std::optional<std::string>(text) : std::nullopt;
}

std::string encoded(json_t *value) {
  char *text = json_dumps(value, JSON_ENCODE_ANY);
  std::string copy = text ? text : "";
  free(text);
  return copy;
}

std::string entry_text(json_t *value) {
  return json_is_string(value) ? json_string_value(value) : encoded(value);
}

void require(bool condition) {
  if (!condition) throw BadDocument();
}

// ---- Values ----

int digit(char c) {
  const int lower = std::tolower(static_cast<unsigned char>(c));
  if (lower >= '0' && lower <= '9') return lower - '0';
  return lower >= 'a' && lower <= 'z' ? lower - 'a' + 10 : 99;
}

std::optional<long long> number(const Node &value, std::string text) {
  int base = value.base;
  const bool minus = value.negative && text.substr(0, 1) == "-";
  if (minus) text.erase(0, 1);
  const bool hexadecimal = text.size() >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
  if (hexadecimal && base != 10) {
    text.erase(0, 2);
    base = 16;
  }
  if (base == 0) base = text.size() > 1 && text[0] == '0' ? 8 : 10;
  if (text.empty()) return std::nullopt;
  long long result = 0;
  for (const char c : text) {
    if (digit(c) >= base) return std::nullopt;
    result = std::min(result * base + digit(c), 1LL << 40);
  }
  if (minus) result = -result;
  const bool in_range =
      value.negative ? result >= -2147483648LL && result <= 2147483647LL : result >= 0 && result <= 4294967295LL;
  return in_range ? std::optional<long long>(result) : std::nullopt;
}

// What the text stands for in the value's enumeration; undecided: it begins several entries, or one that is no string.
std::optional<std::string> entry_meant(const Node &value, const std::string &text, bool &undecided) {
  std::vector<std::pair<std::string, bool>> longer;
  for (const auto &entry : value.entries) {
    if (entry.first == text) return text;
    if (entry.first.size() > text.size() && entry.first.compare(0, text.size(), text) == 0) longer.push_back(entry);
  }
  if (longer.size() == 1 && longer[0].second) return longer[0].first;
  undecided = !longer.empty();
  return std::nullopt;
}

// More characters can lengthen a text, and take a number further from 0.
int match_bounds(const Node &value, const std::string &text, long long n) {
  if (!value.numeric) n = static_cast<long long>(text.size());
  if (n >= value.low && n <= value.high) return 1;
  return (n < value.low) == (n >= 0) ? 0 : -1;
}

void read_facets(Node &value, json_t *declaration) {
  const std::string type = text_of(declaration, "#type").value_or("");
  require(type == "string" || type == "int" || type == "unsignedInt");
  value.numeric = type != "string";
  value.negative = type == "int";
  const auto read = [&](const char *key, long long otherwise) {
    json_t *facet = json_object_get(declaration, key);
    return facet ? static_cast<long long>(json_integer_value(facet)) : otherwise;
  };
  const auto has = [&](const char *key) { return json_object_get(declaration, key) != nullptr; };
  if (value.numeric && (has("#min_inclusive") || has("#max_inclusive"))) {
    value.bounded = true;
    value.width = static_cast<int>(read("#width", 1));
    value.base = static_cast<int>(read("#base", 10));
    value.low = read("#min_inclusive", value.negative ? -2147483648LL : 0);
    value.high = read("#max_inclusive", value.negative ? 2147483647LL : 4294967295LL);
    require(value.width > 0 && (value.base == 10 || (value.base == 16 && !value.negative)));
  } else if (!value.numeric && (has("#min_length") || has("#max_length"))) {
    value.bounded = true;
    value.low = read("#min_length", 0);
    value.high = read("#max_length", 4294967295LL);
  }
  require(value.low <= value.high);
  if (json_t *list = json_object_get(declaration, "#enum")) {
    require(json_is_array(list));
    value.listed = true;
    for (size_t i = 0; i < json_array_size(list); ++i) {
      json_t *entry = json_array_get(list, i);
      value.entries.emplace_back(entry_text(entry), json_is_string(entry));
    }
  }
}

// ---- Marks ----

void clear_all(Node &node) {
  node.used = node.completed = false;
  node.token = nullptr;
  for (const auto &arg : node.args) clear_all(*arg);
  for (const auto &word : node.words) clear_all(*word);
}

// The marks of a mode's words go, those of its own arguments stay.
void clear_below(Node &node, const Node &keep) {
  if (&node != &keep) {
    if (!node.used && !node.completed) return;
    node.used = node.completed = false;
    node.token = nullptr;
    for (const auto &arg : node.args) clear_below(*arg, keep);
  }
  for (const auto &word : node.words) clear_below(*word, keep);
}

void mark_group(Node &group) {
  if (group.order == kExclusive) {
    for (const auto &arg : group.args) group.completed = group.completed || (arg->used && arg->completed);
    return;
  }
  size_t passed = group.args.size();
  while (passed > 0 && !(group.args[passed - 1]->used && group.args[passed - 1]->completed)) --passed;
  if (passed == 0 || optional(*group.args[passed - 1])) return;
  for (size_t i = 0; i + 1 < passed; ++i) group.args[i]->completed = true;
  if (passed == group.args.size()) group.completed = true;
}

void mark_upwards(Node *node, const Node *stop) {
  for (; node != stop; node = node->parent) {
    node->used = true;
    if (node->kind == kValue) node->completed = true;
    if (node->kind == kKey && (node->args.empty() || node->args[0]->completed)) node->completed = true;
    if (node->kind == kGroup) mark_group(*node);
  }
}

Node *find_used(const Node &node, const std::string &name) {
  if (node.parent && !node.used) return nullptr;
  for (const Nodes *list : {&node.args, &node.words}) {
    for (const auto &child : *list) {
      if (child->used && !child->name.empty() && same(child->name, name)) return child.get();
      if (Node *found = find_used(*child, name)) return found;
    }
  }
  return nullptr;
}

// ---- Notation of the dump ----

void space(std::string &text) {
  if (!text.empty() && !strchr(" <[{", text.back())) text += ' ';
}

void dump_arg(const Node &node, std::string &text) {
  space(text);
  if (node.kind == kGroup) {
    if (node.args.empty()) return;
    const bool ordered = node.order == kSequential;
    if (!ordered) text += node.order == kSelective ? "[" : "{";
    for (size_t i = 0; i < node.args.size(); ++i) {
      if (i > 0 && !ordered) text += " | ";
      dump_arg(*node.args[i], text);
    }
    if (!ordered) text += node.order == kSelective ? "]" : "}";
    return;
  }
  const char *repeat[] = {"", "[,]", "[-]", "[,|-]"};
  if (!node.required) text += "[";
  text += node.kind == kValue ? "<" + node.name + repeat[node.repeat] + ">" : node.name;
  for (const auto &arg : node.args) dump_arg(*arg, text);
  if (!node.required) text += "]";
}

std::string dump_path(const Node &node) {
  if (!node.parent) return "";
  std::string text = dump_path(*node.parent);
  space(text);
  text += node.name;
  for (const auto &arg : node.args) dump_arg(*arg, text);
  return text;
}

}  // namespace

bool same(const std::string &a, const std::string &b) {
  return a.size() == b.size() && starts(a, b);
}

Tokens tokenize(const std::string &line, TokenRef *last) {
  Tokens tokens;
  std::string text;
  bool quoted = false, escaped = false;
  char quote = 0;
  const auto emit = [&] {
    const bool is_word = quoted || !text.empty();
    if (is_word) tokens.push_back(std::make_shared<Token>(Token{text}));
    text.clear();
    quoted = false;
    return is_word;
  };
  for (const char c : line) {
    if (!escaped && c == '\\') {
      escaped = true;
    } else if (!escaped && quote && c == quote) {
      quote = 0;
    } else if (!escaped && !quote && (c == '\'' || c == '"')) {
      quote = c;
      quoted = true;
    } else if (!escaped && !quote && isspace(static_cast<unsigned char>(c))) {
      emit();
    } else {
      text += c;
      escaped = false;
    }
  }
  if (emit() && last) *last = tokens.back();
  return tokens;
}

int match(const Node &value, const std::string &text) {
  long long n = 0;
  if (value.numeric) {
    const std::optional<long long> converted = number(value, text);
    if (!converted) return -1;
    n = *converted;
    if (text.size() >= 2 && text[0] == '0' && text[1] != 'x' && text[1] != 'X') return -1;
    if (text.size() >= 3 && text.substr(0, 2) == "-0") return -1;
  }
  if (value.bounded) {
    const int result = match_bounds(value, text, n);
    if (result != 1) return result;
  }
  bool undecided = false;
  if (value.listed && !entry_meant(value, text, undecided)) return undecided ? 0 : -1;
  return 1;
}

std::optional<std::string> value_of(const Node &node) {
  if (node.kind == kKey) return node.token ? "true" : "false";
  if (node.kind != kValue || !node.token) return std::nullopt;
  bool undecided = false;
  std::string text = node.token->text;
  if (node.listed) text = entry_meant(node, text, undecided).value_or(text);
  if (node.numeric) return std::to_string(number(node, text).value_or(0));
  json_t *string = json_string(text.c_str());
  if (!string) return std::nullopt;  // not UTF-8
  std::string result = encoded(string);
  json_decref(string);
  return result;
}

int print_node(const Node &node, const Token *token, std::string &text) {
  const char *colour = node.kind == kValue ? "\x1b[36m" : node.kind == kKey ? "\x1b[33m" : "\x1b[32m";
  const std::string shown = node.kind == kValue && token ? token->text : node.name;
  std::string notes;
  if (node.kind == kValue && !token && node.bounded) {
    if (!node.numeric) notes += format(" <%lld-%lld>", node.low, node.high);
    if (node.numeric && node.base == 10)
      notes += format(" <%0*lld-%0*lld>", node.width, node.low, node.width, node.high);
    if (node.base == 16) notes += format(" <0x%0*llX-0x%0*llX>", node.width, node.low, node.width, node.high);
  }
  if (node.kind == kValue && !token && !node.entries.empty()) {
    for (size_t i = 0; i < node.entries.size(); ++i) notes += (i == 0 ? " <" : ", ") + node.entries[i].first;
    notes += ">";
  }
  text += colour;
  text += node.kind == kAlias ? "*" + shown + "=" + node.alias : shown + notes;
  text += "\x1b[m";
  return static_cast<int>(shown.size() + notes.size());
}

// ---- Loading ----

void Engine::load(json_t *definitions, json_t *privileges) {
  leave_all_modes();
  root.words.clear();
  import(root, definitions, privileges);
}

void Engine::import(Node &under, json_t *definitions, json_t *privileges) {
  const char *member = nullptr;
  json_t *definition = nullptr;
  json_object_foreach(definitions, member, definition) {
    const std::string key = member;
    const size_t blank = key.rfind(' ');
    const std::string name = blank == std::string::npos ? key : key.substr(blank + 1);
    require(!name.empty());
    Node *parent = &under;
    for (const TokenRef &word : tokenize(key.substr(0, key.size() - name.size()))) {
      Node *next = nullptr;
      for (const auto &child : parent->words) next = same(child->name, word->text) ? child.get() : next;
      require(next != nullptr);
      parent = next;
    }
    require(parent->kind != kAlias);

    json_t *variants = json_object_get(definition, "#prompt");
    const std::optional<std::string> alias = text_of(definition, "#alias"), function = text_of(definition, "#handler"),
                                     help = text_of(definition, "#help");
    auto node = std::make_unique<Node>(variants ? kMode : alias ? kAlias : function ? kCommand : kWord);
    node->name = name;
    node->parent = parent;
    node->prompt = variants;
    node->mode_prompt = variants ? choose_prompt(variants) : parent->mode_prompt.value_or("");
    if (node->kind == kAlias) {
      node->alias = *alias;
      require(!json_object_get(definition, "#args"));
    } else {
      require(help.has_value());
      node->help = *help;
      node->handler = function.value_or("");
      node->privilege = level_of(under, *node, key, privileges);
      import_args(*node, definition);
    }
    if (node->args.size() > 1) {
      require(node->kind != kMode);
      auto group = std::make_unique<Node>(kGroup);
      group->order = kSequential;
      for (auto &arg : node->args) adopt(group->args, *group, std::move(arg));
      node->args.clear();
      adopt(node->args, *node, std::move(group));
    }

    // A name that is taken already leaves the new node out of the tree, though its own commands are still read.
    Node *const added = node.get();
    const auto place = std::find_if(parent->words.begin(), parent->words.end(),
                                    [&](const auto &word) { return !before(word->name, name); });
    const bool taken = place != parent->words.end() && same((*place)->name, name);
    if (!taken) parent->words.insert(place, std::move(node));
    json_t *commands = json_object_get(definition, "#commands");
    require(added->kind != kAlias || json_object_size(commands) == 0);
    import(*added, commands, privileges);
    if (added->kind == kMode) add_built_ins(*added);
  }
}

void Engine::import_args(Node &node, json_t *declaration) {
  json_t *list = json_object_get(declaration, "#args");
  for (size_t i = 0; i < json_array_size(list); ++i) {
    json_t *entry = json_array_get(list, i);
    const auto is_true = [&](const char *key) { return json_is_true(json_object_get(entry, key)); };
    const std::string type = text_of(entry, "#type").value_or("");
    const std::optional<std::string> name = text_of(entry, "#name"), help = text_of(entry, "#help");
    require(node.kind != kValue && (node.kind != kKey || node.args.empty()));
    Node &arg = adopt(node.args, node,
                      std::make_unique<Node>(type == "key"         ? kKey
                                             : type == "container" ? kGroup
                                                                   : kValue));
    arg.name = name.value_or("");
    arg.required = !is_true("#optional");
    if (arg.kind == kGroup) {
      arg.order = is_true("#sequential") ? kSequential : is_true("#exclusive") ? kExclusive : kSelective;
    } else {
      require(name && help);
      arg.help = *help;
    }
    if (arg.kind == kValue) {
      arg.repeat = (is_true("#multi") ? 1 : 0) + (is_true("#range") ? 2 : 0);
      read_facets(arg, entry);
    }
    import_args(arg, entry);
  }
}

// Looked up by the words that lead to the node inside its mode, and by the prompt name of that mode.
int Engine::level_of(const Node &under, const Node &node, const std::string &key, json_t *privileges) const {
  std::string path = key, mode;
  for (const Node *above = &under; above->kind != kMode; above = above->parent) path.insert(0, above->name + " ");
  if (under.prompt) {
    mode = *under.mode_prompt;
  } else if (node.prompt) {
    mode = node.parent->mode_prompt ? *node.mode_prompt : "";
  } else {
    mode = node.parent->mode_prompt.value_or("");
  }
  const char *member = nullptr;
  json_t *entry = nullptr;
  json_object_foreach(privileges, member, entry) {
    if (strlen(member) > 20 || strspn(member, "0123456789") != strlen(member)) continue;
    if (text_of(entry, "Name") != path || text_of(entry, "Prompt") != mode) continue;
    const auto level = static_cast<int>(json_integer_value(json_object_get(entry, "Level")));
    if (level >= 1) return level;
    break;
  }
  return node.parent->privilege;
}

void Engine::add_built_ins(Node &mode) {
  std::string exit_help = "Exit from configure mode";
  for (size_t i = 0; i < json_array_size(mode.prompt); ++i) {
    json_t *variant = json_array_get(mode.prompt, i);
    if (!holds(variant)) continue;
    const std::optional<std::string> description = text_of(variant, "description");
    require(description.has_value());
    exit_help = "Exit from " + *description + " configure mode";
    break;
  }
  const std::string built_ins[][3] = {{"do", "", "To run exec commands in config mode"},
                                      {"end", "handler_end", "Exit from configure mode"},
                                      {"exit", "handler_exit", exit_help}};
  for (const auto &[name, function, text] : built_ins) {
    const auto place = std::find_if(mode.words.begin(), mode.words.end(),
                                    [&, word = name](const auto &other) { return !before(other->name, word); });
    if (place != mode.words.end() && same((*place)->name, name)) continue;
    auto node = std::make_unique<Node>(function.empty() ? kWord : kCommand);
    node->name = name;
    node->help = text;
    node->handler = function;
    node->parent = &mode;
    node->link = function.empty() ? &root : nullptr;
    mode.words.insert(place, std::move(node));
  }
}

// ---- Conditions, prompts and modes ----

Node *Engine::find(Node &from, const std::string &path) const {
  Node *node = &from;
  for (size_t i = 0; i < path.size() && node;) {
    const size_t end = std::min(path.find(' ', i), path.size());
    if (end > i) node = find_used(*node, path.substr(i, end - i));
    i = end + 1;
  }
  return node == &from ? nullptr : node;
}

bool Engine::check(json_t *condition, bool negate) {
  if (!condition) return false;
  if (json_is_string(condition)) return (find(root, json_string_value(condition)) != nullptr) != negate;
  require(json_is_array(condition));
  for (size_t i = 0; i < json_array_size(condition); ++i) {
    if (!check(json_array_get(condition, i), negate)) return false;
  }
  return true;
}

bool Engine::holds(json_t *conditions) {
  json_t *positive = json_object_get(conditions, "if"), *negative = json_object_get(conditions, "if-not");
  return (!positive && !negative) || check(positive, false) || check(negative, true);
}

std::string Engine::choose_prompt(json_t *value) {
  if (json_is_string(value)) return json_string_value(value);
  for (size_t i = 0; i < json_array_size(value); ++i) {
    json_t *variant = json_array_get(value, i);
    require(text_of(variant, "value").has_value());
    if (holds(variant)) return *text_of(variant, "value");
  }
  throw BadDocument();
}

void Engine::refresh_prompt() {
  const std::string mode = current->prompt ? "(" + choose_prompt(current->prompt) + ")" : "";
  prompt = host + "cli" + mode.substr(0, 31) + "> ";
}

void Engine::enter_mode(Node *node) {
  modes.push_back(node);
  current->line.clear();
  for (const TokenRef &token : tokens) {
    current->line.push_back(std::make_shared<Token>(*token));
    if (token->node) token->node->token = current->line.back();
  }
  current = node;
  refresh_prompt();
}

void Engine::leave_mode() {
  if (modes.empty()) return;
  modes.pop_back();
  current = modes.empty() ? &root : modes.back();
  for (const TokenRef &token : current->line) {
    if (token->node) token->node->token = nullptr;
  }
  current->line.clear();
  refresh_prompt();
}

void Engine::leave_all_modes() {
  while (current != &root) leave_mode();
}

// ---- Parsing ----

Node *Engine::fail(Code code, const TokenRef &blamed, Node *node) {
  error = {code, blamed, node};
  return nullptr;
}

int Engine::add_candidate(Node &node) {
  error.code = kOk;
  candidates.push_back(&node);
  due = due || !optional(node);
  return 1;
}

int Engine::lookup(Node *node) {
  if (!node || node->completed) return 0;
  if (node->kind == kGroup) return node->order == kExclusive ? lookup_exclusive(*node) : lookup_ordered(*node);
  if (node->kind != kKey && node->kind != kValue) return 0;
  if (node->kind == kKey && node->used) return lookup(first_arg(*node));
  const TokenRef next = token();
  if (collect || (next && (node->kind == kKey ? starts(node->name, next->text) : match(*node, next->text) == 1))) {
    return add_candidate(*node);
  }
  if (node->required) fail(next ? kInvalid : kIncomplete, next, node);
  return 0;
}

int Engine::lookup_exclusive(Node &group) {
  if (group.used) {
    for (const auto &arg : group.args) {
      if (arg->used) return lookup(arg.get());
    }
    return 0;
  }
  const bool was_due = due;
  int total = 0;
  for (const auto &arg : group.args) total += lookup(arg.get());
  if (total == 0 && group.required) {
    fail(token() ? kInvalid : kIncomplete, token(), &group);
    return 0;
  }
  error.code = kOk;
  if (!group.required) due = was_due;
  return total;
}

int Engine::lookup_ordered(Node &group) {
  const auto error_before = error;
  const bool was_due = due;
  size_t first = 0;
  for (size_t i = 0; i < group.args.size(); ++i) {
    const Node &arg = *group.args[i];
    if (!optional(arg) && arg.used) first = arg.completed ? i + 1 : i;
  }
  int total = 0;
  bool stopped = false;
  for (size_t i = first; i < group.args.size() && !stopped; ++i) {
    const int count = lookup(group.args[i].get());
    total += count;
    stopped = !optional(*group.args[i]);
    if (stopped && total > 0 && count == 0) error.code = kOk;
  }
  if (!stopped && total == 0 && !group.used && group.required) fail(token() ? kInvalid : kIncomplete, token(), &group);
  if (total == 0 && !group.used && !group.required) error = error_before;
  if (total > 0 && !group.used && !group.required) due = was_due;
  return total;
}

Node *Engine::select() {
  Node *selected = nullptr;
  bool whole = false, ambiguous = false;
  for (Node *candidate : candidates) {
    if (candidate->kind == kValue) {
      if (choice && !due) continue;
      const bool better = selected && selected->kind == kValue && !selected->required && candidate->required;
      if (!selected || better) selected = candidate;
      continue;
    }
    const bool exact = candidate->name.size() == token()->text.size();
    if (selected && selected->kind == kValue && selected->required) continue;
    if (!selected || selected->kind == kValue || (!whole && exact)) {
      selected = candidate;
      whole = exact;
    } else if (!whole) {
      ambiguous = true;
    }
  }
  return selected && ambiguous && !whole ? fail(kAmbiguous, token(), nullptr) : selected;
}

Node *Engine::find_word(Node *node, bool in_parents) {
  Node *found = nullptr;
  for (const auto &word : node->words) {
    if (word->privilege > privilege || !starts(word->name, token()->text)) continue;
    if (word->name.size() == token()->text.size()) return word.get();
    if (found) return fail(kAmbiguous, token(), node);
    found = word.get();
  }
  Node *above = enclosing(node);
  return found || !in_parents || !above ? found : find_word(above, true);
}

void Engine::bind(Node *node) {
  node->used = true;
  node->token = token();
  token()->node = node;
  last = node;
  ++at;
}

Node *Engine::run() {
  error = {};
  start = reached = current;
  last = choice = nullptr;
  collect = due = false;
  candidates.clear();
  at = 0;
  clear_all(root);
  for (Node *node = start; node; node = node->parent) node->used = true;
  for (const Node *mode = enclosing(start); mode; mode = enclosing(mode)) {
    for (const TokenRef &token : mode->line) {
      token->node->token = token;
      const Node *owner = token->node;
      while (owner->kind > kWord) owner = owner->parent;
      mark_upwards(token->node, owner);
    }
  }
  if (!token()) return fail(kIncomplete, nullptr, start);
  return finish(parse());
}

Node *Engine::finish(Node *result) {
  if (!result) return nullptr;
  const Node *arg = first_arg(*result);
  return arg && !arg->used && !optional(*arg) ? fail(kIncomplete, nullptr, result) : result;
}

Node *Engine::parse() {
  bool in_parents = true;
  int expansions = 0;
  while (token()) {
    Node *const node = reached;
    const bool offers_words = node == start || node->kind != kMode;
    Node *word = choice = offers_words ? find_word(node, false) : nullptr;
    for (;;) {
      due = false;
      candidates.clear();
      Node *taken = lookup(first_arg(*node)) > 0 ? select() : nullptr;
      if (error.code != kOk) return nullptr;
      if (!taken) break;
      bind(taken);
      choice = nullptr;
      mark_upwards(taken, node);
    }
    if (!choice) {
      if (!token()) return node;
      word = offers_words ? find_word(node, in_parents) : nullptr;
      if (!word) return fail(kExtra, token(), node);
    }
    in_parents = false;
    if (word->kind == kAlias) {
      if (++expansions > 16) return fail(kExtra, token(), node);
      const Tokens replacement = tokenize(word->alias);
      const auto place = tokens.erase(tokens.begin() + static_cast<long>(at));
      tokens.insert(place, replacement.begin(), replacement.end());
      continue;
    }
    bind(word);
    Node *next = word->link ? word->link : word;
    if (node == start && next->parent != start) {
      Node *mode = enclosing(next);
      start = mode ? mode : next;
      clear_below(*start, *start);
      start->used = next->used = true;
    }
    reached = next;
  }
  return reached;
}

std::vector<Node *> Engine::available() {
  Node *from = last ? last : reached;
  if (from->kind <= kWord) from = first_arg(*from);
  while (from && from->completed) from = from->parent;
  collect = true;
  error.code = kOk;
  due = false;
  candidates.clear();
  lookup(from);
  std::vector<Node *> result = candidates;
  if (due || (reached->kind == kMode && reached != start)) return result;
  for (const auto &word : reached->words) {
    if (word->privilege <= privilege) result.push_back(word.get());
  }
  return result;
}

// ---- Lines ----

void Engine::split(const std::string &line, bool with_cursor) {
  cursor = nullptr;
  tokens = tokenize(line, with_cursor ? &cursor : nullptr);
  const bool typing = line.empty() || !isspace(static_cast<unsigned char>(line.back()));
  if (cursor && typing) tokens.erase(std::find(tokens.begin(), tokens.end(), cursor), tokens.end());
}

int Engine::print_matched(std::string &text, size_t &rest) const {
  int width = 0;
  for (rest = 0; rest < tokens.size() && tokens[rest]->node && tokens[rest]->node->used; ++rest) {
    width += print_node(*tokens[rest]->node, tokens[rest].get(), text) + 1;
    text += " ";
  }
  return width;
}

void Engine::execute(const std::string &line) {
  if (!line.empty() && (line[0] == '!' || line[0] == '#')) return;
  split(line, false);
  Node *result = run();
  if (!result) report_error();
  if (!result || result->kind == kWord || !result->parent) return list_available();
  if (result->kind == kMode) {
    if (!result->handler.empty() && handler(*result) != 0) return;
    Node *const outside = enclosing(result);
    while (current != outside && current != &root) leave_mode();
    if (current != outside) return;
    enter_mode(result);
    for (Node *node = current; node; node = node->parent) node->used = true;
    return;
  }
  size_t rest = 0;
  print_matched(out, rest);
  out += "\n";
  if (start != current && !tokens.front()->node->link) {
    while (current != start && current != &root) leave_mode();
    if (current != start) return;
  }
  pager.clear();
  handler(*result);
  for (const std::string &text : pager) out += text + "\n";
  pager.clear();
}

void Engine::report_error() {
  const char *const messages[] = {"success", "Invalid argument", "Ambiguous input", "Extra input at end of command",
                                  "Incomplete command"};
  size_t rest = 0;
  const int width = print_matched(out, rest);
  out += "\x1b[31m";
  for (size_t i = rest; i < tokens.size(); ++i) out += tokens[i]->text + " ";
  out += "\n" + std::string(static_cast<size_t>(width), ' ') + "^\n";
  const Node *named = error.node;
  while (named && named->name.empty()) named = named->parent;
  out += "\x1b[35m" + std::string(messages[error.code]) + "\x1b[m at '" +
         (rest < tokens.size() ? tokens[rest]->text : "") + "': '" + (named ? named->name : "") + "'\n";
}

void Engine::list_available() {
  const auto outcome = error;
  const std::vector<Node *> nodes = available();
  error = outcome;
  std::string scratch;
  int widest = 0;
  if (!nodes.empty()) out += "Available: \n";
  for (const Node *node : nodes) {
    if (node->kind != kAlias) widest = std::max(widest, print_node(*node, nullptr, scratch));
  }
  for (const Node *node : nodes) {
    if (node->kind == kAlias) continue;
    out += "\t";
    const int width = print_node(*node, nullptr, out);
    out += ":" + std::string(static_cast<size_t>(widest - width), ' ') + "\t" + node->help + "\n";
  }
}

bool Engine::fits(const Node &node) const {
  if (!cursor) return true;
  return node.kind == kValue ? match(node, cursor->text) >= 0 : starts(node.name, cursor->text);
}

void Engine::help(const std::string &line) {
  split(line, true);
  const bool typing = line.empty() || !isspace(static_cast<unsigned char>(line.back()));
  const Node *result = run();
  if (error.code != kOk && error.code != kIncomplete) {
    out += "% Unrecognized input\n";
    return;
  }
  size_t rest = 0;
  out += "> [";
  const int matched = print_matched(out, rest);
  out += "?]\n";
  std::vector<Node *> nodes = available();
  std::erase_if(nodes, [&](const Node *node) { return cursor ? !fits(*node) : node->kind == kAlias; });
  std::string scratch;
  int widest = 0;
  for (const Node *node : nodes) widest = std::max(widest, print_node(*node, nullptr, scratch));
  for (const Node *node : nodes) {
    const int width = print_node(*node, nullptr, out);
    out += std::string(static_cast<size_t>(widest - width), ' ') + "\t" + node->help + "\n";
  }
  if (typing && nodes.empty()) {
    out += "% Unrecognized input\n";
  } else if (result && result->parent && result->kind <= kCommand) {
    out += "<cr>\n";
  }
  for (int columns = matched + 1 + static_cast<int>(prompt.size()); columns > 80; columns -= 80) out += "\n";
}

void Engine::complete(const std::string &line, std::vector<std::string> &result) {
  split(line, true);
  const bool typing = line.empty() || !isspace(static_cast<unsigned char>(line.back()));
  const Node *selected = run();
  if (!typing && (selected ? selected->kind == kCommand : error.code == kExtra)) return;
  for (const Node *node : available()) {
    if (node->kind == kAlias) continue;
    if (node->kind == kValue && node->listed) {
      for (const auto &entry : node->entries) {
        if (!cursor || starts(entry.first, cursor->text)) result.push_back(entry.first + " ");
      }
      return;
    }
    if (!fits(*node)) continue;
    if (node->kind == kValue) return result.clear();
    result.push_back(node->name + " ");
  }
}

void Engine::dump(const Node &node) {
  for (const auto &word : node.words) {
    if (word->kind <= kCommand) out += dump_path(*word) + "\n";
    dump(*word);
  }
}

}  // namespace model
