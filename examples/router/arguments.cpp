#include "arguments.hpp"

#include <algorithm>

namespace router {

namespace {

// The bytes of a value. Only a choice may stand abbreviated; other texts are taken as they are, because one that is not
// UTF-8 has no JSON value.
std::string value_text(cli_node *value, const token *tok) {
  if ((value->value.validator.flags & VALIDATOR_ENUM) != 0) {
    const json_t *choice = cli_node_value(value);
    if (json_is_string(choice)) return json_string_value(choice);
  }
  return {tok->text, static_cast<size_t>(tok->len)};
}

std::string group_of(const cli_node *argument) {
  for (const cli_node *node = argument->parent; node != nullptr; node = node->parent) {
    if (node->type == TYPE_CONTAINER && node->name != nullptr) return node->name;
  }
  return {};
}

Word word_of(const token *tok) {
  cli_node *node = tok->node;
  const bool is_value = node->type == TYPE_VALUE;
  return {.group = group_of(node),
          .name = node->name,
          .text = is_value ? value_text(node, tok) : node->name,
          .keyword = !is_value,
          .secret = is_value && std::string_view(node->name) == "secret"};
}

bool needs_quotes(char c) {
  return static_cast<unsigned char>(c) <= ' ' || c == '\x7f' ||
         std::string_view("\"'\\|?!#").find(c) != std::string_view::npos;
}

}  // namespace

std::vector<Word> words_after(token *first, const cli_node *command) {
  token *tok = first;
  while (tok != nullptr && tok->node != command) tok = token_next(tok);
  std::vector<Word> words;
  for (tok = token_next(tok); tok != nullptr && tok->node != nullptr; tok = token_next(tok))
    words.push_back(word_of(tok));
  return words;
}

std::string command_path(const cli_node *node) {
  std::string path = node->name;
  for (node = node->parent; node != nullptr && node->type != TYPE_SUBCONFIG; node = node->parent) {
    path.insert(0, std::string(node->name) + ' ');
  }
  return path;
}

bool given(cli_node *command, std::string_view name) {
  return cli_node_getn(command, name.data(), name.size()) != nullptr;
}

std::string text_argument(cli_node *command, std::string_view name) {
  cli_node *node = cli_node_getn(command, name.data(), name.size());
  return node != nullptr && node->type == TYPE_VALUE && node->token != nullptr ? value_text(node, node->token) : "";
}

int64_t number_argument(cli_node *command, std::string_view name, int64_t otherwise) {
  const json_t *value = cli_node_value(cli_node_getn(command, name.data(), name.size()));
  return json_is_integer(value) ? json_integer_value(value) : otherwise;
}

std::string quoted(std::string_view text) {
  if (!text.empty() && std::none_of(text.begin(), text.end(), needs_quotes)) return std::string(text);
  std::string result = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') result += '\\';
    result += c;
  }
  return result + '"';
}

}  // namespace router
