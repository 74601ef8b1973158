#include "cli_shell/check_language.hpp"

#include <strings.h>

#include <algorithm>

#include "cli_shell/check_findings.hpp"

namespace cli_check {

namespace {

int compare_letters(std::string_view a, std::string_view b) {
  return strncasecmp(a.data(), b.data(), std::min(a.size(), b.size()));
}

// The names from below `top` down to the node; a part without a name is passed over.
std::string names_below(const Node *top, const Node &node) {
  std::vector<std::string_view> names;
  for (const Node *at = &node; at != top && at != nullptr; at = at->parent) {
    if (!at->name.empty()) {
      names.push_back(at->name);
    }
  }
  std::string text;
  for (auto name = names.rbegin(); name != names.rend(); ++name) {
    text += text.empty() ? "" : " ";
    text += *name;
  }
  return text;
}

}  // namespace

bool same_letters(std::string_view a, std::string_view b) {
  return a.size() == b.size() && compare_letters(a, b) == 0;
}

bool begins_with(std::string_view text, std::string_view beginning) {
  return text.size() >= beginning.size() && compare_letters(text, beginning) == 0;
}

bool WordOrder::operator()(std::string_view a, std::string_view b) const {
  const int difference = compare_letters(a, b);
  return difference != 0 ? difference < 0 : a.size() < b.size();
}

const Node *enclosing_mode(const Node &node) {
  const Node *at = node.parent;
  while (at != nullptr && at->kind != NodeKind::kMode) {
    at = at->parent;
  }
  return at;
}

const Node &owner_of(const Node &argument) {
  const Node *at = &argument;
  while (at->is_argument()) {
    at = at->parent;
  }
  return *at;
}

std::string words_to(const Node &node) {
  return names_below(nullptr, node);
}

std::string in_words(const Node &node) {
  if (!node.is_argument()) {
    return quoted(words_to(node));
  }
  const Node &owner = owner_of(node);
  std::string text = quoted(words_to(owner));
  const std::string argument = names_below(&owner, node);
  if (argument.empty()) {
    return text + ", a group";
  }
  return text + ", argument " + quoted(argument);
}

}  // namespace cli_check
