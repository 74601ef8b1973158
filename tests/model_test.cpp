// Random small languages and sessions: the library must do what the model does, after every single operation.
//   MODEL_ROUNDS=n  how many sessions      MODEL_SEED=n  the first one's seed
// A difference is reported with its seed and the smallest session and document found that still show it.
#include "model.hpp"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "cli_engine/cli_engine.h"

namespace {

struct JsonRelease {
  void operator()(json_t *value) const { json_decref(value); }
};
using JsonRef = std::unique_ptr<json_t, JsonRelease>;

enum Action { kExecute, kHelp, kComplete, kLeave, kLeaveAll, kPrivilege, kReload, kFind, kCondition, kActions };
constexpr const char *kActionNames[kActions] = {"execute",   "help",   "complete", "leave",    "leave all",
                                                "privilege", "reload", "find",     "condition"};

struct Step {
  Action action;
  std::string text;  // a line, a path or a condition
  int number = 0;    // a privilege level, the language to load
};

struct Language {
  JsonRef definitions, privileges;
};

struct Session {
  Language languages[2];
  std::vector<Step> steps;
  std::string host;  // the first part of the prompt
};

// ---- What both sides are asked for, as text ----

// What the handlers do, besides writing: those of modes may refuse or leave modes, "exit" and "end" leave them.
struct Behaviour {
  const char *name;
  int result, leave;  // leave: modes to leave
};
constexpr Behaviour kBehaviours[] = {
    {"handler_plain", 0, 0}, {"handler_refuse", 1, 0}, {"handler_exit", 0, 1}, {"handler_end", 0, 99}};

std::string handler_seen;  // marks as the handlers found them

const char *or_none(const char *text) {
  return text ? text : "-";
}

// The tree of either side, one line for each marked node: number, name, used, completed, token, value.
class Marks {
 public:
  static std::string of(cli &engine) {
    Marks marks;
    marks.walk(&engine.root);
    return marks.text_ + "mode " + or_none(engine.current->name) + ", prompt " + engine.prompt_text + "\n";
  }
  static std::string of(const model::Engine &engine) {
    Marks marks;
    marks.walk(engine.root);
    return marks.text_ + "mode " + (engine.current->parent ? engine.current->name : "-") + ", prompt " + engine.prompt +
           "\n";
  }

 private:
  void line(const std::string &name, bool used, bool completed, const std::string &token, const std::string &value,
            const std::string &saved) {
    ++number_;
    if (used || completed || token != "-" || saved != "") {
      text_ += std::to_string(number_) + " " + name + (used ? " used" : "") + (completed ? " completed" : "") +
               " token " + token + " value " + value + saved + "\n";
    }
  }

  void walk(cli_node *node) {
    std::string saved, value = "-";
    if (node->type == TYPE_SUBCONFIG) {
      for (token *t = node->subconfig.tokens.first; t; t = t->next) saved += std::string(" [") + t->text + "]";
    }
    json_t *converted = cli_node_value(node);
    if (converted) {
      char *encoded = json_dumps(converted, JSON_ENCODE_ANY);
      value = encoded;
      free(encoded);
    }
    line(or_none(node->name), node->used || !node->parent, node->completed, node->token ? node->token->text : "-",
         value, saved);
    for (cli_node *arg = cli_node_first_arg(node); arg; arg = cli_node_next_arg(arg)) walk(arg);
    for (cli_node *word = cli_node_first_choice(node); word; word = cli_node_next_choice(word)) walk(word);
  }

  void walk(const model::Node &node) {
    std::string saved;
    for (const model::TokenRef &token : node.line) saved += " [" + token->text + "]";
    line(node.name.empty() ? "-" : node.name, node.used || !node.parent, node.completed,
         node.token ? node.token->text : "-", model::value_of(node).value_or("-"), saved);
    for (const auto &arg : node.args) walk(*arg);
    for (const auto &word : node.words) walk(*word);
  }

  std::string text_;
  int number_ = 0;
};

int behave(const Behaviour &what, cli *engine, cli_node *node) {
  printf("(%s %s)\n", what.name, node->name);
  pager_feed(&engine->pager, what.name);
  pager_newline(&engine->pager);
  handler_seen += Marks::of(*engine);
  for (int i = 0; i < what.leave && engine->current != &engine->root; ++i) cli_pop_subconfig(engine);
  return what.result;
}

int behave(model::Engine &engine, const model::Node &node) {
  for (const Behaviour &what : kBehaviours) {
    if (node.handler != what.name) continue;
    engine.out += "(" + node.handler + " " + node.name + ")\n";
    engine.pager.push_back(what.name);
    handler_seen += Marks::of(engine);
    for (int i = 0; i < what.leave; ++i) engine.leave_mode();
    return what.result;
  }
  return 0;
}

}  // namespace

#define HANDLER(index, name)                                                               \
  extern "C" __attribute__((visibility("default"))) int name(cli *engine, cli_node *node); \
  int name(cli *engine, cli_node *node) {                                                  \
    return behave(kBehaviours[index], engine, node);                                       \
  }
HANDLER(0, handler_plain)
HANDLER(1, handler_refuse)
HANDLER(2, handler_exit)
HANDLER(3, handler_end)

namespace {

// ---- Languages ----

// Short words that abbreviate one another, in both cases, and names that the library adds itself.
constexpr const char *kWords[] = {"a",
                                  "ab",
                                  "abc",
                                  "A",
                                  "b",
                                  "bc",
                                  "aB",
                                  "ba",
                                  "c",
                                  "cd",
                                  "do",
                                  "e",
                                  "end",
                                  "exi",
                                  "exit",
                                  "x1",
                                  "1",
                                  "12",
                                  "a-word-wide-enough-to-fill-lines",
                                  "caf\xc3\xa9"};
constexpr const char *kEntries[] = {"\"a\"", "\"ab\"", "\"abc\"", "\"ABC\"", "\"on\"", "\"off\"",
                                    "\"1\"", "\"12\"", "12",      "10",      "true",   "\"x y\""};
constexpr const char *kPrompts[] = {"p", "q", "a"};

class Generator {
 public:
  explicit Generator(unsigned seed) : random_(seed) {}

  Session session() {
    Session session;
    if (chance(20)) session.host = std::string(31, 'h');
    model::Engine engine;
    engine.handler = [&](model::Node &node) { return behave(engine, node); };
    for (Language &language : session.languages) language = loadable();
    engine.load(session.languages[0].definitions.get(), session.languages[0].privileges.get());
    for (int i = 6 + pick(20); i > 0; --i) {
      session.steps.push_back(step(engine));
      apply(engine, session, session.steps.back());
    }
    return session;
  }

  // What the model answers to a step, besides what it prints.
  static std::string apply(model::Engine &engine, const Session &session, const Step &step) {
    std::string answer;
    if (step.action == kExecute) engine.execute(step.text);
    if (step.action == kHelp) engine.help(step.text);
    if (step.action == kLeave) engine.leave_mode();
    if (step.action == kLeaveAll) engine.leave_all_modes();
    if (step.action == kPrivilege) engine.privilege = step.number;
    if (step.action == kComplete) {
      std::vector<std::string> words = {"kept"};
      engine.complete(step.text, words);
      for (const std::string &word : words) answer += "[" + word + "]";
    }
    if (step.action == kReload) {
      const Language &language = session.languages[step.number];
      engine.load(language.definitions.get(), language.privileges.get());
    }
    if (step.action == kFind) {
      const model::Node *node = engine.find(step.number ? *engine.current : engine.root, step.text);
      answer = node ? node->name + "/" + node->help : "-";
    }
    if (step.action == kCondition) {
      const JsonRef condition(json_loads(step.text.c_str(), 0, nullptr));
      answer = engine.holds(condition.get()) ? "1" : "0";
    }
    return answer;
  }

 private:
  int pick(int n) { return static_cast<int>(random_() % static_cast<unsigned>(n)); }
  bool chance(int percent) { return pick(100) < percent; }
  size_t index(size_t n) { return random_() % n; }
  template <typename T, size_t n>
  T any(T (&list)[n]) {
    return list[pick(static_cast<int>(n))];
  }

  std::string word() {
    std::string text = any(kWords);
    return chance(10) ? text + any(kWords) : text;
  }

  std::string cased(std::string text) {
    if (chance(85)) return text;
    for (char &c : text) c = static_cast<char>(chance(50) ? toupper(c) : tolower(c));
    return text;
  }

  // Names that may lead somewhere: declared ones, or those that the last line matched.
  std::string path() {
    std::string text;
    for (int i = 1 + pick(2); i > 0; --i) {
      const std::string name = names_.empty() || chance(20) ? word() : names_[index(names_.size())];
      text += (text.empty() ? "" : " ") + cased(name);
    }
    return text;
  }

  void gather_used(const model::Node &node) {
    if (!node.used) return;
    if (!node.name.empty()) names_.push_back(node.name);
    for (const model::Nodes *list : {&node.args, &node.words}) {
      for (const auto &child : *list) gather_used(*child);
    }
  }

  static void set(json_t *object, const char *key, const std::string &value) {
    json_object_set_new(object, key, json_string(value.c_str()));
  }

  Language loadable() {
    for (;;) {
      paths_.clear();
      names_.clear();
      Language language{JsonRef(commands(0)), JsonRef(chance(50) ? levels() : nullptr)};
      try {
        model::Engine().load(language.definitions.get(), language.privileges.get());
        return language;
      } catch (const model::BadDocument &) {
        // a path that ends in an alias, or nowhere
      }
    }
  }

  json_t *condition(int depth) {
    if (depth > 0 || chance(60)) return json_string(path().c_str());
    json_t *list = json_array();
    for (int i = pick(3); i > 0; --i) json_array_append_new(list, condition(depth + 1));
    return list;
  }

  json_t *conditions() {
    json_t *holder = json_object();
    if (chance(60)) json_object_set_new(holder, "if", condition(0));
    if (chance(40)) json_object_set_new(holder, "if-not", condition(0));
    return holder;
  }

  json_t *prompt() {
    if (chance(60)) return json_string(any(kPrompts));
    json_t *variants = json_array();
    for (int i = pick(3); i >= 0; --i) {
      json_t *variant = i > 0 ? conditions() : json_object();
      set(variant, "value", any(kPrompts) + std::to_string(i));
      set(variant, "description", word());
      json_array_append_new(variants, variant);
    }
    return variants;
  }

  void add_facets(json_t *value, const std::string &type) {
    const auto number = [&](const char *key, int n) { json_object_set_new(value, key, json_integer(n)); };
    const int least = type == "int" ? pick(60) - 30 : pick(20);
    if (chance(30)) number(type == "string" ? "#min_length" : "#min_inclusive", type == "string" ? pick(3) : least);
    if (chance(30)) number(type == "string" ? "#max_length" : "#max_inclusive", 30 + pick(2) * 270);
    if (chance(20)) number("#width", 1 + pick(4));
    if (type == "unsignedInt" && chance(30)) number("#base", 16);
    if (!chance(30)) return;
    json_t *entries = json_array();
    for (int i = pick(5); i > 0; --i)
      json_array_append_new(entries, json_loads(any(kEntries), JSON_DECODE_ANY, nullptr));
    json_object_set_new(value, "#enum", entries);
  }

  json_t *args(int count, int depth) {
    json_t *list = json_array();
    for (; count > 0; --count) {
      json_t *arg = json_object();
      const char *const types[] = {"string", "int", "unsignedInt"};
      const std::string type = depth < 3 && chance(30) ? "container" : chance(45) ? "key" : any(types);
      set(arg, "#type", type);
      names_.push_back(word());
      if (type != "container" || chance(20)) set(arg, "#name", names_.back());
      set(arg, "#help", "help " + std::to_string(pick(1000)));
      for (const char *flag : {"#optional", "#sequential", "#exclusive", "#multi", "#range"}) {
        if (chance(40)) json_object_set_new(arg, flag, json_boolean(chance(90)));
      }
      if (type == "container") {
        json_object_set_new(arg, "#args", args(chance(5) ? 0 : 1 + pick(3), depth + 1));
      } else if (type == "key") {
        if (chance(50)) json_object_set_new(arg, "#args", args(1, depth + 1));
      } else {
        add_facets(arg, type);
      }
      json_array_append_new(list, arg);
    }
    return list;
  }

  json_t *commands(int depth) {
    json_t *object = json_object();
    std::vector<std::string> keys;
    for (int i = depth == 0 ? 2 + pick(5) : pick(4); i > 0; --i) {
      json_t *definition = json_object();
      const int kind = pick(depth < 3 ? 11 : 7);
      names_.push_back(word());
      std::string key = names_.back();
      if (!keys.empty() && chance(35)) key.insert(0, cased(keys[index(keys.size())]) + " ");
      if (kind == 0) set(definition, "#alias", line(nullptr));
      if (kind > 1 && (kind < 5 || chance(50))) {
        set(definition, "#handler", chance(80) ? kBehaviours[0].name : kBehaviours[pick(4)].name);
      }
      if (kind != 0) set(definition, "#help", "help " + std::to_string(pick(1000)));
      const bool with_args = kind != 0 && chance(50);
      if (with_args) json_object_set_new(definition, "#args", args(kind > 6 ? 1 : pick(4), 0));
      if (kind > 6) json_object_set_new(definition, "#prompt", prompt());
      paths_.push_back(key);
      if (kind != 0) keys.push_back(key);
      if (kind != 0 && depth < 3 && chance(kind > 6 ? 80 : 30)) {
        json_object_set_new(definition, "#commands", commands(depth + 1));
      }
      json_object_set_new(object, key.c_str(), definition);
    }
    return object;
  }

  json_t *levels() {
    json_t *table = json_object();
    for (int i = 1 + pick(8); i > 0; --i) {
      const auto some_path = [&] { return paths_[index(paths_.size())]; };
      std::string prompt_name = chance(50) ? "" : any(kPrompts);
      if (!prompt_name.empty() && chance(30)) prompt_name += "0";
      json_t *entry = json_object();
      set(entry, "Name", chance(70) ? some_path() : some_path() + " " + some_path());
      set(entry, "Prompt", prompt_name);
      json_object_set_new(entry, "Level", json_integer(chance(95) ? pick(5) - 1 : 4294967298));
      const std::string key = chance(90) ? std::to_string(i) : chance(50) ? "level" : "100000000000000000000";
      json_object_set_new(table, key.c_str(), entry);
    }
    return table;
  }

  // ---- Lines ----

  std::string value(const model::Node &node) {
    if (!node.entries.empty() && chance(80)) {
      const std::string text = node.entries[index(node.entries.size())].first;
      return chance(50) ? text : text.substr(0, static_cast<size_t>(pick(4)));
    }
    if (!node.numeric) return word();
    const char *const odd[] = {"0", "-0", "007", "0x1F", "-5", "4294967295", "2147483648", "99999999999", "ff"};
    return chance(20) ? any(odd) : std::to_string(pick(40));
  }

  std::string abbreviated(const std::string &name) {
    return cased(chance(75) ? name : name.substr(0, 1 + index(name.size())));
  }

  void add_args(std::vector<std::string> &words, const model::Node &node) {
    std::vector<const model::Node *> list;
    for (const auto &arg : node.args) list.push_back(arg.get());
    if (node.kind == model::kGroup && node.order != model::kSequential) std::shuffle(list.begin(), list.end(), random_);
    if (node.kind == model::kGroup && node.order == model::kExclusive && !list.empty())
      list.erase(list.begin() + 1, list.end());
    for (const model::Node *arg : list) {
      if (chance(arg->required ? 4 : 50)) continue;
      if (arg->kind == model::kKey) words.push_back(abbreviated(arg->name));
      if (arg->kind == model::kValue) words.push_back(value(*arg));
      add_args(words, *arg);
    }
  }

  // A line of the engine's language, more or less; without an engine, any words.
  std::string line(const model::Engine *engine) {
    std::vector<std::string> words;
    const model::Node *node = engine ? engine->current : nullptr;
    if (node && node->parent && chance(15)) words.push_back("do");
    for (; node && node->parent && (!words.empty() || chance(20)); node = node->parent) {
    }
    if (node && chance(15)) add_args(words, *node);
    while (node && !node->words.empty() && chance(words.empty() ? 100 : 75)) {
      node = node->words[index(node->words.size())].get();
      words.push_back(abbreviated(node->name));
      add_args(words, *node);
      if (node->link) node = node->link;
      if (node->kind == model::kMode && node->parent && chance(95)) break;
    }
    if (!node) {
      for (int i = pick(chance(5) ? 20 : 4); i > 0; --i) words.push_back(word());
    }
    if (chance(12)) words.insert(words.begin() + pick(static_cast<int>(words.size()) + 1), word());
    if (chance(6) && !words.empty()) words.erase(words.begin() + pick(static_cast<int>(words.size())));
    std::string text = chance(3) ? " " : chance(1) ? "!" : "";
    for (const std::string &each : words) {
      const bool quote = each.empty() || each.find(' ') != std::string::npos || chance(4);
      text += (quote ? "\"" + each + "\"" : each) + (chance(5) ? "  " : " ");
    }
    if (chance(engine ? 60 : 90) && !text.empty()) text.pop_back();
    if (chance(4)) text.insert(index(text.size() + 1), 1, "\\'\"\t#\xc3\xff"[pick(7)]);
    if (chance(3)) text += chance(50) ? "\"\"" : chance(50) ? "\\" : "\"a ";
    return text;
  }

  Step step(const model::Engine &engine) {
    const int kind = pick(100);
    if (kind < 50) return {kExecute, line(&engine)};
    if (kind < 80) {
      std::string text = line(&engine);
      if (chance(40)) text.resize(static_cast<size_t>(pick(static_cast<int>(text.size()) + 1)));
      return {kind < 65 ? kHelp : kComplete, text};
    }
    if (kind < 83) return {kLeave, ""};
    if (kind < 84) return {kLeaveAll, ""};
    if (kind < 88) return {kPrivilege, "", chance(10) ? -1 : pick(5)};
    if (kind < 90) return {kReload, "", pick(2)};
    names_.clear();
    gather_used(engine.root);
    if (kind < 95) return {kFind, path(), pick(2)};
    const JsonRef holder(conditions());
    char *text = json_dumps(holder.get(), 0);
    Step result{kCondition, text};
    free(text);
    return result;
  }

  std::mt19937 random_;
  std::vector<std::string> paths_, names_;
};

// ---- The library's side ----

// Standard output, caught in a file.
class Capture {
 public:
  Capture() : file_(tmpfile()) { dup2(fileno(file_), 1); }
  ~Capture() { fclose(file_); }
  Capture(const Capture &) = delete;
  Capture &operator=(const Capture &) = delete;

  std::string take() {
    fflush(stdout);
    std::string text(static_cast<size_t>(lseek(1, 0, SEEK_CUR)), '\0');
    if (pread(1, text.data(), text.size(), 0) < 0 || ftruncate(1, 0) != 0) text = "capture failed";
    lseek(1, 0, SEEK_SET);
    return text;
  }

 private:
  FILE *file_;
};

class Library {
 public:
  explicit Library(const Session &session) : session_(session), types_(validator_typesystem_new()) {
    engine.exit_handler = handler_exit;
    engine.end_handler = handler_end;
    snprintf(engine.prompt_host, sizeof engine.prompt_host, "%s", session.host.c_str());
    const Language &language = session.languages[0];
    cli_init(&engine, types_, language.definitions.get(), nullptr, language.privileges.get());
  }
  ~Library() {
    cli_free(&engine);
    validator_typesystem_free(types_);
  }
  Library(const Library &) = delete;
  Library &operator=(const Library &) = delete;

  std::string apply(const Step &step) {
    std::string answer;
    if (step.action == kExecute) cli_execute(&engine, step.text.c_str());
    if (step.action == kHelp) cli_help(&engine, step.text.c_str());
    if (step.action == kLeave) cli_pop_subconfig(&engine);
    if (step.action == kLeaveAll) cli_reset_subconfig(&engine);
    if (step.action == kPrivilege) parser_set_privilege(&engine.parser, step.number);
    if (step.action == kComplete) {
      const JsonRef words(json_pack("[s]", "kept"));
      cli_autocomplete(&engine, step.text.c_str(), 0, words.get());
      for (size_t i = 0; i < json_array_size(words.get()); ++i) {
        answer += std::string("[") + json_string_value(json_array_get(words.get(), i)) + "]";
      }
    }
    if (step.action == kReload) {
      const Language &language = session_.languages[step.number];
      cli_reset_subconfig(&engine);
      cli_unload_commands(&engine);
      cli_load_commands(&engine, types_, language.definitions.get(), language.privileges.get());
    }
    if (step.action == kFind) {
      const cli_node *node = cli_node_find(step.number ? engine.current : &engine.root, step.text.c_str());
      answer = node ? std::string(node->name) + "/" + (node->help ? node->help : "") : "-";
    }
    if (step.action == kCondition) {
      const JsonRef condition(json_loads(step.text.c_str(), 0, nullptr));
      answer = std::to_string(cli_check_parameter_condition(&engine, condition.get()));
    }
    return answer;
  }

  cli engine = {};

 private:
  const Session &session_;
  validator_typesystem *types_;
};

// ---- Comparison ----

// Everything that a step shows on one side.
std::string report(const std::string &answer, const std::string &output, const std::string &marks, int errcode) {
  return "answer " + answer + "\n" + output + "---- handlers\n" + handler_seen + "---- marks, errcode " +
         std::to_string(errcode) + "\n" + marks;
}

std::string describe(const Session &session, size_t steps, const std::string &expected, const std::string &got) {
  std::string text;
  for (const Language &language : session.languages) {
    for (const JsonRef *document : {&language.definitions, &language.privileges}) {
      char *encoded = json_dumps(document->get(), JSON_ENCODE_ANY);
      text += (encoded ? encoded : "null") + std::string("\n");
      free(encoded);
    }
  }
  for (size_t i = 0; i < steps; ++i) {
    const Step &step = session.steps[i];
    text += std::string(kActionNames[step.action]) + " '" + step.text + "' " + std::to_string(step.number) + "\n";
  }
  return text + "==== the model\n" + expected + "==== the library\n" + got;
}

// Runs a session on both sides; what differs first, or nothing.
std::string differs(const Session &session) {
  Capture capture;
  Library library(session);
  model::Engine model;
  model.handler = [&](model::Node &node) { return behave(model, node); };
  model.host = session.host;
  model.refresh_prompt();
  model.load(session.languages[0].definitions.get(), session.languages[0].privileges.get());
  model.dump(model.root);
  cli_debug_dump(&library.engine);
  std::string got = capture.take();
  if (got != model.out) return describe(session, 0, model.out, got);
  for (size_t i = 0; i < session.steps.size(); ++i) {
    const Step &step = session.steps[i];
    handler_seen.clear();
    model.out.clear();
    std::string answer = Generator::apply(model, session, step);
    const std::string expected = report(answer, model.out, Marks::of(model), model.error.code);
    handler_seen.clear();
    answer = library.apply(step);
    const parser_error *error = library.engine.parser.error;
    got = report(answer, capture.take(), Marks::of(library.engine), error ? error->errcode : 0);
    if (got != expected) return describe(session, i + 1, expected, got);
  }
  return "";
}

// ---- Running and shrinking ----

// The child's answer survives it when it dies.
struct Shared {
  unsigned seed;
  char difference[1 << 16];
};

Shared *shared() {
  static auto *memory =
      static_cast<Shared *>(mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  return memory;
}

// Whether the body, in a process of its own, finds a difference or dies; both are faults.
template <typename Body>
bool fails(Body body, bool quiet) {
  shared()->difference[0] = '\0';
  fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    if (quiet && !freopen("/dev/null", "w", stderr)) _exit(2);
    const std::string difference = body();
    snprintf(shared()->difference, sizeof shared()->difference, "%s", difference.c_str());
    _exit(difference.empty() ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (status != 0 && shared()->difference[0] == '\0') {
    snprintf(shared()->difference, sizeof shared()->difference, "died with status %d", status);
  }
  return status != 0;
}

// Removes the nth member or element below a value, counted in document order; false when there is none.
bool remove_nth(json_t *value, int &n) {
  const char *key = nullptr;
  json_t *member = nullptr;
  void *next = nullptr;
  json_object_foreach_safe(value, next, key, member) {
    if (n-- == 0) return json_object_del(value, key) == 0;
    if (remove_nth(member, n)) return true;
  }
  for (size_t i = 0; i < json_array_size(value); ++i) {
    if (n-- == 0) return json_array_remove(value, i) == 0;
    if (remove_nth(json_array_get(value, i), n)) return true;
  }
  return false;
}

bool still_fails(const Session &session) {
  try {
    for (const Language &language : session.languages) {
      model::Engine().load(language.definitions.get(), language.privileges.get());
    }
    model::Engine engine;
    engine.handler = [&](model::Node &node) { return behave(engine, node); };
    engine.load(session.languages[0].definitions.get(), session.languages[0].privileges.get());
    for (const Step &step : session.steps) Generator::apply(engine, session, step);
  } catch (const model::BadDocument &) {
    return false;
  }
  return fails([&] { return differs(session); }, true);
}

void shrink(Session &session) {
  for (size_t i = session.steps.size(); i-- > 0;) {
    const Step dropped = session.steps[i];
    session.steps.erase(session.steps.begin() + static_cast<long>(i));
    if (!still_fails(session)) session.steps.insert(session.steps.begin() + static_cast<long>(i), dropped);
  }
  for (Language &language : session.languages) {
    for (JsonRef *document : {&language.privileges, &language.definitions}) {
      for (int i = 0;; ++i) {
        JsonRef whole(json_deep_copy(document->get()));
        int n = i;
        if (!remove_nth(document->get(), n)) break;
        if (still_fails(session)) {
          --i;
        } else {
          *document = std::move(whole);
        }
      }
    }
  }
}

unsigned from_environment(const char *name, unsigned otherwise) {
  const char *text = getenv(name);
  return text ? static_cast<unsigned>(strtoul(text, nullptr, 10)) : otherwise;
}

TEST(Model, AgreesWithTheLibraryOnRandomSessions) {
  const unsigned first = from_environment("MODEL_SEED", 1), rounds = from_environment("MODEL_ROUNDS", 2000);
  const bool failed = fails(
      [&] {
        std::string difference;
        for (unsigned seed = first; seed < first + rounds && difference.empty(); ++seed) {
          shared()->seed = seed;
          difference = differs(Generator(seed).session());
        }
        return difference;
      },
      false);
  if (!failed) return;
  Session session = Generator(shared()->seed).session();
  shrink(session);
  const bool again = still_fails(session);
  const std::string difference = shared()->difference;
  FAIL() << "seed " << shared()->seed << (again ? "\n" : ", but not when run again\n")
         << (difference.find('\n') == std::string::npos ? describe(session, session.steps.size(), "", "") : "")
         << difference;
}

}  // namespace
