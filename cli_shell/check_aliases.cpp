// Aliases that stand for no line: each is given to the engine, in the mode where it is declared.
#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "cli_engine/cli_engine.h"
#include "cli_shell/check_match.hpp"
#include "cli_shell/check_warnings.hpp"

namespace cli_check {

namespace {

constexpr int kHighestLevel = 15;

int leave(cli * /*engine*/, cli_node * /*node*/) {
  return 0;
}

// The engine with the documents loaded. Its modes and words answer to the checker's nodes.
class Engine {
 public:
  Engine(const Language &language, validator_typesystem *types) : definitions_(to_engine(language.definitions->root)) {
    engine_.exit_handler = leave;
    engine_.end_handler = leave;
    cli_init(&engine_, types, definitions_.get(), nullptr, nullptr);
    parser_set_privilege(&engine_.parser, kHighestLevel);
    pair(language.root, &engine_.root);
  }
  ~Engine() { cli_free(&engine_); }
  Engine(const Engine &) = delete;
  Engine &operator=(const Engine &) = delete;

  // The first word of the line that does not fit what stands before it, when the line is typed in the mode.
  std::optional<std::string> misfit(const Node &mode, const std::string &line) {
    tokenizer_run(&engine_.tokenizer, line.c_str(), -1);
    parser_set_root(&engine_.parser, modes_.at(&mode));
    parser_error error = {};
    parser_run(&engine_.parser, &engine_.tokenizer, &error);
    if (error.errcode == E_OK || error.errcode == E_INCOMPLETE) {
      return std::nullopt;  // more may be typed after an alias
    }
    return error.token == nullptr ? "" : std::string(error.token->text, error.token->len);
  }

 private:
  // Inside a mode the arguments of the line that entered it are given.
  void pair(const Node &node, cli_node *twin) {
    if (node.kind == NodeKind::kMode) {
      modes_.emplace(&node, twin);
      for (cli_node *arg = cli_node_first_arg(twin); arg != nullptr; arg = cli_node_next_arg(arg)) {
        arg->completed = 1;
      }
    }
    cli_node *other = cli_node_first_choice(twin);
    for (const auto &[name, word] : node.words) {
      if (other == nullptr) {
        return;
      }
      pair(*word, other);
      other = cli_node_next_choice(other);
    }
  }

  JsonRef definitions_;
  cli engine_ = {};
  std::unordered_map<const Node *, cli_node *> modes_;
};

std::string_view alias_text(const Node &alias) {
  return alias.member("#alias")->text();
}

std::string_view first_word(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
  return text.substr(0, text.find_first_of(" \t"));
}

// The word that the text selects among a node's words, or null.
const Node *selected(const Node &node, std::string_view text) {
  const auto found = node.words.lower_bound(text);
  if (text.empty() || found == node.words.end() || !begins_with(found->first, text)) {
    return nullptr;
  }
  const auto next = std::next(found);
  const bool is_only = next == node.words.end() || !begins_with(next->first, text);
  return same_letters(found->first, text) || is_only ? found->second : nullptr;
}

// Does the expansion come back to an alias that was expanded already?
bool expands_to_itself(const Node &alias) {
  constexpr std::size_t kMostExpansions = 16;  // in one line; a longer chain does not parse
  std::unordered_set<const Node *> expanded;
  const Node *at = &alias;
  while (at != nullptr && at->kind == NodeKind::kAlias && expanded.size() <= kMostExpansions) {
    if (!expanded.insert(at).second) {
      return true;
    }
    at = selected(*at->parent, first_word(alias_text(*at)));
  }
  return false;
}

// Words between the mode and the alias can be typed alone unless they require an argument.
bool words_stand_alone(const Node &alias) {
  for (const Node *at = alias.parent; at->kind != NodeKind::kMode; at = at->parent) {
    if (!at->args.empty() && at->args[0]->is_required) {
      return false;
    }
  }
  return true;
}

std::string line_of(const Node &alias) {
  std::string line(alias_text(alias));
  for (const Node *at = alias.parent; at->kind != NodeKind::kMode; at = at->parent) {
    line.insert(0, " ").insert(0, at->name);
  }
  return line;
}

}  // namespace

void warn_about_aliases(const Language &language, const Host &host, Findings &findings) {
  const bool loads = host.types != nullptr && findings.count(Severity::kError) == 0;
  std::unique_ptr<Engine> engine;  // made for the first alias
  for (const Node &alias : language.nodes) {
    if (alias.kind != NodeKind::kAlias || !alias.is_listed) {
      continue;
    }
    const auto complain = [&](std::string text) {
      findings.add(Rule::kAliasLine, *language.definitions, alias.member("#alias")->offset, in_words(alias),
                   std::move(text));
    };
    if (first_word(alias_text(alias)).empty()) {
      complain("the alias stands for nothing");
      continue;
    }
    if (expands_to_itself(alias)) {
      complain("the alias expands to itself");
      continue;
    }
    if (!loads || !words_stand_alone(alias)) {
      continue;
    }
    if (engine == nullptr) {
      engine = std::make_unique<Engine>(language, host.types);
    }
    if (const auto word = engine->misfit(*enclosing_mode(alias), line_of(alias))) {
      complain("the line that it stands for does not parse at " + quoted(*word));
    }
  }
}

}  // namespace cli_check
