#include "cli_check/rules.hpp"

#include <utility>

namespace cli_check {

namespace {

constexpr Rule kRules[] = {
    {"unread-member", CLI_WARNING, rules::unread_member},
    {"blank-in-key", CLI_WARNING, rules::blank_in_key},
    {"misplaced-definition", CLI_WARNING, rules::misplaced_definition},
    {"ignored-member", CLI_WARNING, rules::ignored_member},
    {"ignored-value", CLI_WARNING, rules::ignored_value},
    {"ignored-facet", CLI_WARNING, rules::ignored_facet},
    {"impossible-facet", CLI_WARNING, rules::impossible_facet},
    {"help-text", CLI_WARNING, rules::help_text},
    {"handler-name", CLI_WARNING, rules::handler_name},
    {"foreign-handler", CLI_WARNING, rules::foreign_handler},
    {"unused-handler", CLI_WARNING, rules::unused_handler},
    {"untypeable-name", CLI_WARNING, rules::untypeable_name},
    {"unreachable-name", CLI_WARNING, rules::unreachable_name},
    {"dead-end", CLI_WARNING, rules::dead_end},
    {"alias-line", CLI_WARNING, rules::alias_line},
    {"alias-level", CLI_NOTE, rules::alias_level},
    {"hidden-word", CLI_NOTE, rules::hidden_word},
    {"no-abbreviation", CLI_NOTE, rules::no_abbreviation},
    {"condition-path", CLI_WARNING, rules::condition_path},
    {"condition-later", CLI_WARNING, rules::condition_later},
    {"condition-either", CLI_NOTE, rules::condition_either},
    {"prompt-fallback", CLI_WARNING, rules::prompt_fallback},
    {"unreachable-variant", CLI_WARNING, rules::unreachable_variant},
    {"empty-group", CLI_WARNING, rules::empty_group},
    {"never-bare", CLI_WARNING, rules::never_bare},
    {"open-argument", CLI_WARNING, rules::open_argument},
    {"hidden-commands", CLI_WARNING, rules::hidden_commands},
    {"taken-abbreviation", CLI_WARNING, rules::taken_abbreviation},
    {"blocking-group", CLI_WARNING, rules::blocking_group},
    {"hidden-value", CLI_WARNING, rules::hidden_value},
    {"overlapping-values", CLI_WARNING, rules::overlapping_values},
    {"value-before-keyword", CLI_WARNING, rules::value_before_keyword},
    {"keyword-before-value", CLI_WARNING, rules::keyword_before_value},
    {"refused-offer", CLI_WARNING, rules::refused_offer},
    {"crossed-values", CLI_WARNING, rules::crossed_values},
    {"unreachable-entry", CLI_WARNING, rules::unreachable_entry},
    {"unread-privilege", CLI_WARNING, rules::unread_privilege},
    {"privilege-without-effect", CLI_WARNING, rules::privilege_without_effect},
    {"shared-privilege", CLI_WARNING, rules::shared_privilege},
    {"unreachable-level", CLI_WARNING, rules::unreachable_level},
};

}  // namespace

std::span<const Rule> all_rules() {
  return kRules;
}

// ---- Where a finding stands ----

Place Scope::place_of(const cli_node &node) const {
  Place place;
  const cli_node *at = &node;
  while (at != nullptr && cli_node_position(at, nullptr, nullptr, &place.line, &place.column) != 0) {
    at = at->parent;  // the group around a command's arguments has none
  }
  return place;
}

Part Scope::declaration(const cli_node &node) const {
  return definitions->part_at(place_of(node));
}

void Scope::add(const cli_node &node, std::string text) const {
  findings->add(
      {rule->severity, std::string(rule->name), definitions->file(), place_of(node), in_words(node), std::move(text)});
}

void Scope::add(const Part &part, std::string where, std::string text) const {
  add(part, std::move(where), std::move(text), rule->severity);
}

void Scope::add(const Part &part, std::string where, std::string text, int32_t severity) const {
  findings->add(
      {severity, std::string(rule->name), part.document()->file(), part.place(), std::move(where), std::move(text)});
}

}  // namespace cli_check
