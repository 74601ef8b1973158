// Conditions and variants of prompts.
#include <algorithm>
#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "cli_shell/check_values.hpp"
#include "cli_shell/check_warnings.hpp"

namespace cli_check {

namespace {

std::string lower(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return out;
}

std::vector<std::string> words_of(std::string_view path) {
  std::vector<std::string> words;
  while (true) {
    path.remove_prefix(std::min(path.find_first_not_of(' '), path.size()));
    if (path.empty()) {
      return words;
    }
    const std::string_view word = path.substr(0, path.find(' '));
    words.push_back(lower(word));
    path.remove_prefix(word.size());
  }
}

// The nodes that a line can mark, by name.
class Names {
 public:
  explicit Names(const Language &language) {
    for (const Node &node : language.nodes) {
      if (node.is_listed && node.kind != NodeKind::kAlias && !node.name.empty()) {
        nodes_[lower(node.name)].push_back(&node);
      }
    }
  }

  // Is there a chain of nodes of these names, each somewhere below the one before?
  bool has_path(std::string_view path) {
    const auto [known, is_new] = paths_.try_emplace(std::string(path), false);
    if (is_new) {
      const std::vector<std::string> words = words_of(path);
      const auto last = words.empty() ? nodes_.end() : nodes_.find(words.back());
      known->second = last != nodes_.end() && std::any_of(last->second.begin(), last->second.end(),
                                                          [&](const Node *n) { return stands_below(*n, words); });
    }
    return known->second;
  }

 private:
  static bool stands_below(const Node &node, const std::vector<std::string> &words) {
    std::size_t left = words.size() - 1;
    for (const Node *at = node.parent; at != nullptr && left > 0; at = at->parent) {
      left -= same_letters(at->name, words[left - 1]) ? 1 : 0;
    }
    return left == 0;
  }

  std::unordered_map<std::string, std::vector<const Node *>> nodes_;
  std::unordered_map<std::string, bool> paths_;
};

class PromptWarnings {
 public:
  PromptWarnings(const Language &language, Findings &findings)
      : language_(language), findings_(findings), names_(language) {
    for (const Finding &finding : findings.all()) {
      if (finding.rule == Rule::kConditionType || finding.rule == Rule::kPromptNoVariant) {
        reported_.insert(finding.offset);
      }
    }
  }

  void look() {
    for (const Node &node : language_.nodes) {
      const JsonValue *prompt = node.kind == NodeKind::kMode ? node.member("#prompt") : nullptr;
      if (prompt == nullptr) {
        continue;
      }
      const Reporter reporter{findings_, *language_.definitions, &node};
      for (const JsonValue &variant : prompt->items()) {
        look_at_variant(variant, reporter);
      }
      look_at_fallback(*prompt, reporter);
    }
  }

 private:
  void look_at_variant(const JsonValue &variant, const Reporter &reporter) {
    for (const char *member : {"if", "if-not"}) {
      if (const JsonValue *condition = variant.find(member); condition != nullptr) {
        look_at_condition(*condition, reporter);
      }
    }
  }

  void look_at_condition(const JsonValue &condition, const Reporter &reporter) {
    for (const JsonValue &item : condition.items()) {
      look_at_condition(item, reporter);
    }
    if (condition.is_string()) {
      if (!names_.has_path(condition.text())) {
        reporter.add(Rule::kConditionPath, condition, "the path " + quoted(condition.text()) + " names nothing");
      }
    } else if (!condition.is(JsonKind::kArray) && !reported_.contains(condition.offset)) {
      reporter.add(Rule::kConditionLater, condition,
                   "a condition is a path or an array of paths, not " + std::string(kind_in_words(condition)) +
                       "; this one ends the process once it is looked at");
    }
  }

  // The only path of a condition.
  static std::optional<std::string> single_path(const JsonValue *condition) {
    if (condition != nullptr && condition->items().size() == 1) {
      return single_path(condition->items().data());
    }
    return condition != nullptr && condition->is_string() ? std::optional(lower(condition->text())) : std::nullopt;
  }

  static bool is_empty_array(const JsonValue *condition) {
    return condition != nullptr && condition->is(JsonKind::kArray) && condition->items().empty();
  }

  static bool always_holds(const JsonValue &variant) {
    const JsonValue *condition = variant.find("if");
    const JsonValue *opposite = variant.find("if-not");
    return (condition == nullptr && opposite == nullptr) || is_empty_array(condition) || is_empty_array(opposite) ||
           (single_path(condition) && single_path(condition) == single_path(opposite));
  }

  // A path and its opposite leave nothing out.
  static bool leaves_nothing_out(const JsonValue &prompt) {
    std::vector<std::string> wanted;
    std::vector<std::string> unwanted;
    for (const JsonValue &variant : prompt.items()) {
      if (always_holds(variant)) {
        return true;
      }
      if (const auto path = single_path(variant.find("if"))) {
        wanted.push_back(*path);
      }
      if (const auto path = single_path(variant.find("if-not"))) {
        unwanted.push_back(*path);
      }
    }
    return std::any_of(wanted.begin(), wanted.end(), [&](const std::string &path) {
      return std::find(unwanted.begin(), unwanted.end(), path) != unwanted.end();
    });
  }

  void look_at_fallback(const JsonValue &prompt, const Reporter &reporter) const {
    if (!prompt.items().empty() && !leaves_nothing_out(prompt) && !reported_.contains(prompt.offset)) {
      reporter.add(Rule::kPromptFallback, prompt,
                   "when no variant of \"#prompt\" holds the process ends: add a last one without conditions");
    }
  }

  const Language &language_;
  Findings &findings_;
  Names names_;
  std::unordered_set<uint32_t> reported_;  // conditions and prompts that fail while the document is loaded: errors
};

}  // namespace

void warn_about_prompts(const Language &language, Findings &findings) {
  PromptWarnings(language, findings).look();
}

}  // namespace cli_check
