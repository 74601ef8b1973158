// Words that cannot be typed, reached or abbreviated; levels that nobody uses.
#include <algorithm>
#include <set>

#include "cli_shell/check_values.hpp"
#include "cli_shell/check_warnings.hpp"

namespace cli_check {

namespace {

class WordWarnings {
 public:
  WordWarnings(const Language &language, Findings &findings) : language_(language), findings_(findings) {}

  void look() {
    look_at_abbreviations(language_.root);
    for (const Node &node : language_.nodes) {
      if (node.is_builtin || node.definition == nullptr) {
        continue;
      }
      look_at_name(node);
      if (node.is_argument()) {
        continue;
      }
      if (!node.is_listed) {
        look_at_equal(node);
        continue;
      }
      look_at_level(node);
      look_at_end(node);
      look_at_enclosing(node);
      look_at_abbreviations(node);
    }
  }

 private:
  void add(const Node &node, Rule rule, std::string text) {
    findings_.add(rule, *language_.definitions, node.offset, in_words(node), std::move(text));
  }

  void look_at_name(const Node &node) {
    const bool is_typed = !node.is_argument() || node.kind == NodeKind::kKey;
    if (node.name.empty()) {
      if (is_typed && (!node.is_argument() || node.member("#name") != nullptr)) {
        add(node, Rule::kUntypeableName, "a name of no letters cannot be typed");
      }
    } else if (node.name.find(' ') != std::string_view::npos) {
      add(node, Rule::kUntypeableName, "a name with a blank in it is not found by conditions and handlers");
    } else if (is_typed && node.name.find_first_of("\t\n\v\f\r\"'\\") != std::string_view::npos) {
      add(node, Rule::kUntypeableName, "blanks, quotes and backslashes of a name can be typed only behind a backslash");
    } else if (!node.is_argument() && node.parent->kind == NodeKind::kMode &&
               (node.name[0] == '!' || node.name[0] == '#')) {
      add(node, Rule::kUntypeableName, "a line that begins with \"!\" or \"#\" is a comment");
    }
  }

  // An equal name came first, or the definition has no place, which is an error.
  void look_at_equal(const Node &node) {
    const auto first = node.parent->words.find(node.name);
    if (first != node.parent->words.end() && !first->second->is_builtin) {
      add(node, Rule::kUnreachableName, "cannot be reached: " + in_words(*first->second) + " is declared before it");
    }
  }

  void look_at_level(const Node &node) {
    if (node.level_entry == nullptr) {
      return;
    }
    const Node *highest = &node;
    for (const Node *at = node.parent; at != nullptr; at = at->parent) {
      highest = at->privilege > highest->privilege ? at : highest;
    }
    if (highest != &node) {
      findings_.add(Rule::kUnreachableLevel, *language_.privileges, node.level_entry->offset, in_words(node),
                    "nobody of level " + std::to_string(node.privilege) + " reaches it: " + in_words(*highest) +
                        " needs level " + std::to_string(highest->privilege));
    }
  }

  void look_at_end(const Node &node) {
    const auto is_own = [](const auto &entry) { return !entry.second->is_builtin; };
    const bool has_words = std::any_of(node.words.begin(), node.words.end(), is_own);
    if (node.kind == NodeKind::kWord && !has_words && node.definition->is_object()) {
      add(node, Rule::kDeadEnd, "leads nowhere: it has no \"#handler\" and no words follow it");
    } else if (node.kind == NodeKind::kMode && !has_words) {
      add(node, Rule::kDeadEnd, "the mode has no commands of its own");
    }
  }

  void look_at_enclosing(const Node &node) {
    if (node.parent->kind != NodeKind::kMode) {
      return;
    }
    for (const Node *mode = enclosing_mode(*node.parent); mode != nullptr; mode = enclosing_mode(*mode)) {
      const auto outer = mode->words.find(node.name);
      if (outer != mode->words.end() && !outer->second->is_builtin && !outer->second->words.empty()) {
        add(node, Rule::kHiddenWord, "in this mode, hides " + in_words(*outer->second) + " and what follows it");
        return;
      }
    }
  }

  // In the order of the words, those that begin with a word come right after it.
  void look_at_abbreviations(const Node &node) {
    for (auto word = node.words.begin(); word != node.words.end(); ++word) {
      const auto next = std::next(word);
      if (next != node.words.end() && !word->second->is_builtin && !word->first.empty() &&
          begins_with(next->first, word->first)) {
        add(*word->second, Rule::kNoAbbreviation,
            "cannot be abbreviated: " + quoted(next->first) + " begins with the whole of it");
      }
    }
  }

  const Language &language_;
  Findings &findings_;
};

}  // namespace

void warn_about_words(const Language &language, Findings &findings) {
  WordWarnings(language, findings).look();
}

void warn_about_handlers(const Language &language, const Host &host, Findings &findings) {
  std::set<std::string_view> named;
  for (const Node &node : language.nodes) {
    if (const JsonValue *handler = node.member("#handler"); handler != nullptr) {
      named.insert(handler->text());
    }
  }
  for (const std::string &handler : host.exported_handlers) {
    if (!named.contains(handler)) {
      findings.add(Rule::kUnusedHandler, *language.definitions, language.definitions->root.offset, "",
                   "no definition names the handler " + quoted(handler) + " of a handlers library");
    }
  }
}

}  // namespace cli_check
