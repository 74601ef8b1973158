// Definition documents that load, whatever the input says, and lines of the language that an engine holds.
#ifndef FUZZ_LANGUAGE_HPP
#define FUZZ_LANGUAGE_HPP

#include <jansson.h>

#include <algorithm>
#include <string>
#include <vector>

#include "cli_engine/cli_engine.h"
#include "cli_engine/json_ref.hpp"
#include "source.hpp"

namespace fuzz {

using Json = cli_engine::JsonRef;

// Words that abbreviate one another, in both cases, and names that the library adds itself.
inline constexpr const char *kWords[] = {"a", "ab", "abc", "A", "b", "bc", "do", "end", "exit", "e", "x1", "1"};
inline constexpr const char *kTypes[] = {"string",       "int",         "unsignedInt", "IPv4Address",  "IPv4Prefix",
                                         "IPv4Extended", "IPv6Address", "IPv6Prefix",  "IPv6Extended", "IPAddress",
                                         "time",         "MACAddress",  "FQDN"};

class Writer {
 public:
  explicit Writer(Source &source) : source_(source) {}

  Json definitions() { return Json(commands(0)); }

  Json privileges() {
    json_t *table = json_object();
    for (int i = source_.below(6); i > 0; --i) {
      const char *const prompts[] = {"", "p", "a"};
      json_t *entry = json_pack("{s:s+, s:s, s:i}", "Name", source_.any(kWords), source_.seldom() ? " a" : "", "Prompt",
                                source_.any(prompts), "Level", source_.below(4));
      json_object_set_new(table, std::to_string(i).c_str(), entry);
    }
    return Json(table);
  }

  // An argument of a value type with facets that agree with one another.
  json_t *value() {
    const std::string type = source_.any(kTypes);
    json_t *declaration = json_pack("{s:s, s:s, s:s}", "#type", type.c_str(), "#name", name().c_str(), "#help", "h");
    const int least = source_.below(128), span = source_.below(256);
    const bool is_signed = type == "int", numeric = is_signed || type == "unsignedInt";
    const auto set = [&](const char *key, int number) {
      if (source_.seldom()) json_object_set_new(declaration, key, json_integer(number));
    };
    set(numeric ? "#min_inclusive" : "#min_length", is_signed ? least - 100 : least % 4);
    set(numeric ? "#max_inclusive" : "#max_length", least + span);
    if (numeric) set("#width", 1 + least % 4);
    if (type == "unsignedInt") set("#base", 16);
    if (source_.seldom()) json_object_set_new(declaration, "#enum", entries());
    return declaration;
  }

 private:
  std::string name() {
    if (!source_.seldom()) return source_.any(kWords);
    std::string own = source_.text(8);
    std::erase_if(own, [](char c) { return c == ' ' || (c & 0x80) != 0; });
    return own.empty() ? "n" : own;
  }

  json_t *entries() {
    json_t *list = json_array();
    for (int i = source_.below(5); i > 0; --i) {
      json_array_append_new(list, source_.seldom() ? json_integer(source_.below(30)) : json_string(name().c_str()));
    }
    return list;
  }

  json_t *args(int count, int depth) {
    json_t *list = json_array();
    for (; count > 0; --count) {
      const int kind = source_.below(4);
      json_t *arg = kind < 2 ? value() : json_pack("{s:s, s:s}", "#name", name().c_str(), "#help", "h");
      if (kind >= 2) {
        const bool group = kind == 2 && depth < 3;
        json_object_set_new(arg, "#type", json_string(group ? "container" : "key"));
        const int members = group ? source_.below(4) : depth < 3 && source_.often() ? 1 : 0;
        if (members > 0) json_object_set_new(arg, "#args", args(members, depth + 1));
      }
      flags(arg);
      json_array_append_new(list, arg);
    }
    return list;
  }

  void flags(json_t *arg) {
    const int bits = source_.byte();
    const char *const names[] = {"#optional", "#sequential", "#exclusive", "#multi", "#range"};
    for (int i = 0; i < 5; i++) {
      if ((bits >> i & 1) != 0) json_object_set_new(arg, names[i], json_true());
    }
  }

  json_t *prompt() {
    if (source_.often()) return json_string(source_.seldom() ? "prompt-that-is-too-wide-for-its-field" : "p");
    json_t *variants = json_array();
    for (int i = source_.below(3); i > 0; --i) {
      json_array_append_new(variants, json_pack("{s:s, s:s, s:s}", "value", "v", "description", "d",
                                                source_.seldom() ? "if-not" : "if", (name() + " " + name()).c_str()));
    }
    json_array_append_new(variants, json_pack("{s:s, s:s}", "value", "a", "description", "d"));
    return variants;
  }

  std::string aliased() {
    std::string line;
    for (int i = source_.below(4); i > 0; --i) line += std::string(source_.any(kWords)) + " ";
    return line;
  }

  // A key is a path only below a word that cannot be an alias: the first of its name, whatever its case.
  json_t *commands(int depth) {
    struct Sibling {
      std::string folded;
      bool alias;
    };
    std::vector<Sibling> siblings;
    json_t *object = json_object();
    for (int i = 1 + source_.below(depth == 0 ? 6 : 4); i > 0; --i) {
      const int kind = source_.below(depth < 3 ? 8 : 5);  // 0 alias, 1 and 2 words, 3 and 4 commands, the rest modes
      const std::string own = name();
      std::string folded = own;
      std::transform(own.begin(), own.end(), folded.begin(), tolower);
      const auto same = [&](const Sibling &other) { return other.folded == folded; };
      const bool is_new = std::none_of(siblings.begin(), siblings.end(), same);
      std::string key = own;
      if (!siblings.empty() && source_.seldom()) {
        const Sibling &parent = siblings[source_.index(siblings.size())];
        if (!parent.alias) key = parent.folded + " " + own;
      }
      if (json_object_get(object, key.c_str()) != nullptr) continue;
      if (is_new && key == own) siblings.push_back({folded, kind == 0});
      json_object_set_new(object, key.c_str(), definition(kind, depth));
    }
    return object;
  }

  json_t *definition(int kind, int depth) {
    json_t *definition = json_pack("{s:s}", "#help", "h");
    if (kind == 0) {
      json_object_set_new(definition, "#alias", json_string(aliased().c_str()));
      return definition;
    }
    if (kind >= 3 && (kind < 5 || source_.seldom())) {
      const char *const handlers[] = {"fuzz_run", "fuzz_run", "fuzz_refuse", "fuzz_leave"};
      json_object_set_new(definition, "#handler", json_string(source_.any(handlers)));
    }
    if (const int count = source_.below(kind >= 5 ? 2 : 4); count > 0)
      json_object_set_new(definition, "#args", args(count, 0));
    if (kind >= 5) json_object_set_new(definition, "#prompt", prompt());
    if (depth < 3 && source_.often()) json_object_set_new(definition, "#commands", commands(depth + 1));
    return definition;
  }

  Source &source_;
};

// ---- Lines ----

inline void add_arguments(Source &source, const cli_node *node, std::string &line) {
  constexpr const char *kValues[] = {"1",         "a",       "-5",       "0x1f",   "10.0.0.1", "10.0.0.0/8",
                                     "fe80::/10", "::1",     "12:00:00", "host.a", "eth0",     "00:11:22:33:44:55",
                                     "1-5,7",     "default", "\"x y\"",  "4095"};
  for (const cli_node *arg = cli_node_first_arg(node); arg != nullptr; arg = cli_node_next_arg(arg)) {
    if (source.seldom()) continue;
    if (arg->type == TYPE_KEY) line += std::string(arg->name) + " ";
    if (arg->type == TYPE_VALUE) {
      const json_t *entry = json_array_get(arg->value.validator.enum_array, source.index(4));
      line += json_is_string(entry) ? json_string_value(entry) : source.any(kValues);
      line += " ";
    }
    add_arguments(source, arg, line);
  }
}

// A line that leads through the words below the present mode, the enclosing ones or the root, more or less.
inline std::string line_for(Source &source, const cli &engine) {
  std::string line;
  const cli_node *node = engine.current;
  const int start = source.below(8);
  if (start == 0) return source.text();
  if (start == 1) line = "do ";
  for (; start < 3 && node->parent != nullptr; node = node->parent) {
  }
  for (int left = 8; left > 0; --left) {
    std::vector<const cli_node *> words;
    for (cli_node *word = cli_node_first_choice(node); word != nullptr; word = cli_node_next_choice(word)) {
      words.push_back(word);
    }
    if (words.empty()) break;
    node = words[source.index(words.size())];
    line += std::string(node->name, source.seldom() ? 1 + source.index(node->name_len) : node->name_len) + " ";
    add_arguments(source, node, line);
    if (node->type == TYPE_SUBCONFIG || source.seldom()) break;
    if (node->type == TYPE_WORD && node->word.link != nullptr) node = node->word.link;
  }
  if (source.seldom()) line += source.text(64);
  if (source.seldom()) line.resize(source.index(line.size() + 1));
  return line;
}

}  // namespace fuzz

#endif
