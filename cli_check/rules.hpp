// The rules that warn, one function for each, which has the rule's name; docs/check-rules.md says what each finds.
#ifndef CLI_CHECK_RULES_HPP
#define CLI_CHECK_RULES_HPP

#include <functional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cli_check/findings.hpp"
#include "cli_check/text.hpp"
#include "cli_check/tree.hpp"
#include "cli_engine/language_table.hpp"

namespace cli_check {

using cli_engine::MemberRow;

struct Rule;

// A member of a declaration.
struct Member {
  std::string name;
  Part key;
  Part value;
  const MemberRow *row;  // null for one that the language does not have
};

// A definition, an argument or an entry of the privilege table as it is written, whether it loads or not.
struct Declaration {
  enum class Kind : uint8_t { kMode, kAlias, kWord, kKey, kGroup, kValue, kEntry, kOtherEntry };

  Kind kind;
  unsigned reader;    // of its members: a bit, or all for a value of a type that is not known
  Part place;         // its key; of an argument the object
  std::string where;  // in words
  std::string type;   // of an argument
  std::vector<Member> members;

  [[nodiscard]] Part operator[](std::string_view name) const;  // the member's value, or nothing
};

// What rules look at, and where they say what they found: in the name of the rule that runs.
class Scope {
 public:
  std::vector<Declaration> declarations;  // of both documents
  cli *engine = nullptr;                  // on the language; null when the documents do not load
  std::vector<cli_node *> nodes;          // of the language, in its order
  mutable WordIndex words;
  std::vector<std::string> exported_handlers;
  std::function<bool(const char *)> is_foreign;
  const Text *definitions = nullptr;
  Findings *findings = nullptr;
  const Rule *rule = nullptr;

  // About a node, at its place; or about something at a part of a document.
  void add(const cli_node &node, std::string text) const;
  void add(const Part &part, std::string where, std::string text) const;
  void add(const Part &part, std::string where, std::string text, int32_t severity) const;

  // The declaration of a node; of the group around a command's arguments, the command's.
  [[nodiscard]] Part declaration(const cli_node &node) const;

 private:
  [[nodiscard]] Place place_of(const cli_node &node) const;
};

struct Rule {
  using OfLanguage = void (*)(const Scope &scope);
  using OfNode = void (*)(const Scope &scope, const cli_node &node);
  using OfDeclaration = void (*)(const Scope &scope, const Declaration &declaration);

  constexpr Rule(std::string_view its_name, int32_t its_severity, OfLanguage function)
      : name(its_name), severity(its_severity), of_language(function) {}
  constexpr Rule(std::string_view its_name, int32_t its_severity, OfNode function)
      : name(its_name), severity(its_severity), of_node(function) {}
  constexpr Rule(std::string_view its_name, int32_t its_severity, OfDeclaration function)
      : name(its_name), severity(its_severity), of_declaration(function) {}

  std::string_view name;
  int32_t severity;
  OfLanguage of_language = nullptr;
  OfNode of_node = nullptr;  // needs documents that load
  OfDeclaration of_declaration = nullptr;
};

[[nodiscard]] std::span<const Rule> all_rules();

// The declarations of a document in their order, without comments; the entries of a privilege table.
[[nodiscard]] std::vector<Declaration> declarations_of(const Text &definitions, validator_typesystem *types);
[[nodiscard]] std::vector<Declaration> entries_of(const Text &privileges);

// The text by which an entry of an enumeration is given.
[[nodiscard]] std::string entry_text(json_t *entry);

namespace rules {

// members.cpp: what nothing reads.
void unread_member(const Scope &scope, const Declaration &declaration);
void blank_in_key(const Scope &scope, const Declaration &declaration);
void misplaced_definition(const Scope &scope, const Declaration &declaration);
void ignored_member(const Scope &scope, const Declaration &declaration);
void ignored_value(const Scope &scope, const Declaration &declaration);
void ignored_facet(const Scope &scope, const Declaration &declaration);
void impossible_facet(const Scope &scope, const Declaration &declaration);
void help_text(const Scope &scope, const cli_node &node);
void handler_name(const Scope &scope, const Declaration &declaration);
void foreign_handler(const Scope &scope, const Declaration &declaration);
void unused_handler(const Scope &scope);

// words.cpp: words that cannot be typed, reached or abbreviated.
void untypeable_name(const Scope &scope, const cli_node &node);
void dead_end(const Scope &scope, const cli_node &node);
void alias_line(const Scope &scope);
void alias_level(const Scope &scope);
void hidden_word(const Scope &scope);
void no_abbreviation(const Scope &scope);

// prompts.cpp
void condition_path(const Scope &scope);
void condition_later(const Scope &scope, const cli_node &node);
void condition_either(const Scope &scope, const cli_node &node);
void prompt_fallback(const Scope &scope, const cli_node &node);
void unreachable_variant(const Scope &scope, const cli_node &node);

// arguments.cpp: arguments that hide each other or what follows them.
void unreachable_name(const Scope &scope, const cli_node &node);
void empty_group(const Scope &scope, const cli_node &node);
void never_bare(const Scope &scope, const cli_node &node);
void open_argument(const Scope &scope, const cli_node &node);
void hidden_commands(const Scope &scope, const cli_node &node);
void taken_abbreviation(const Scope &scope, const cli_node &node);
void blocking_group(const Scope &scope, const cli_node &node);

// values.cpp: values that nothing can match or that another value or a keyword takes.
void hidden_value(const Scope &scope, const cli_node &node);
void overlapping_values(const Scope &scope, const cli_node &node);
void value_before_keyword(const Scope &scope, const cli_node &node);
void keyword_before_value(const Scope &scope, const cli_node &node);
void refused_offer(const Scope &scope, const cli_node &node);
void crossed_values(const Scope &scope, const cli_node &node);
void unreachable_entry(const Scope &scope, const cli_node &node);

// privileges.cpp: entries of the privilege table that have no effect.
void unread_privilege(const Scope &scope, const Declaration &entry);
void privilege_without_effect(const Scope &scope, const Declaration &entry);
void shared_privilege(const Scope &scope);
void unreachable_level(const Scope &scope, const cli_node &node);

}  // namespace rules
}  // namespace cli_check

#endif
