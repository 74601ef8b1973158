#include "cli_shell/secrets.hpp"

#include <strings.h>

#include <algorithm>
#include <cstring>
#include <tuple>

#include "cli_shell/words.hpp"

namespace cli_shell {
namespace {

// What the engine prints goes nowhere while this lives.
class Silence {
 public:
  explicit Silence(cli *engine) : engine_(engine), write_(engine->write) {
    engine->write = [](void *, const char *, size_t) { return 0; };
  }
  ~Silence() { engine_->write = write_; }
  Silence(const Silence &) = delete;
  Silence &operator=(const Silence &) = delete;

 private:
  cli *engine_;
  cli_write write_;
};

// Between the marks that a report sets around words: blanks, quotes, colour sequences, line ends.
bool is_between(std::string_view text, size_t start, size_t end) {
  constexpr std::string_view kBefore = " 'm\n";
  constexpr std::string_view kBehind = " '\x1b\n";
  return (start == 0 || kBefore.find(text[start - 1]) != std::string_view::npos) &&
         (end == text.size() || kBehind.find(text[end]) != std::string_view::npos);
}

void replace_words(std::string &text, const std::string &word) {
  for (size_t at = 0; (at = text.find(word, at)) != std::string::npos;) {
    const bool whole = is_between(text, at, at + word.size());
    if (whole) text.replace(at, word.size(), kHidden);
    at += whole ? kHidden.size() : 1;
  }
}

size_t end_of_lines(std::string_view text, size_t lines) {
  size_t end = 0;
  for (; lines > 0 && end < text.size(); --lines) end = std::min(text.find('\n', end), text.size() - 1) + 1;
  return end;
}

// The line with the caret, whose blanks are as wide as the words above them.
void shift_caret(std::string &report, std::ptrdiff_t columns) {
  const size_t start = end_of_lines(report, 1);
  const size_t blanks = std::min(report.find_first_not_of(' ', start), report.size()) - start;
  if (blanks == 0 || report.compare(start + blanks, 2, "^\n") != 0) return;
  report.replace(start, blanks, static_cast<size_t>(static_cast<std::ptrdiff_t>(blanks) + columns), ' ');
}

}  // namespace

bool Secrets::is_name(const char *name) const {
  return name && std::any_of(names_.begin(), names_.end(),
                             [name](const std::string &secret) { return strcasecmp(secret.c_str(), name) == 0; });
}

bool Secrets::is_value(const cli_node *node) const {
  if (!node || node->type != TYPE_VALUE) return false;
  if (is_name(node->name) || is_name(node->value.validator.type->name)) return true;
  const cli_node *owner = node->parent;
  while (owner && owner->type == TYPE_CONTAINER) owner = owner->parent;
  return owner && is_name(owner->name);
}

// A word that may be meant for a secret's name, abbreviated or mistyped.
bool Secrets::resembles_name(const token &word) const {
  constexpr size_t kShortest = 3;
  const std::string_view text(word.text, word.len);
  if (text.size() < (token_next(const_cast<token *>(&word)) ? kShortest - 1 : kShortest)) return false;
  return std::any_of(names_.begin(), names_.end(), [&](const std::string &secret) {
    return (text.size() <= secret.size() && strncasecmp(secret.c_str(), text.data(), text.size()) == 0) ||
           (text.size() > kShortest && differs_by_typing(text, secret));
  });
}

bool Secrets::is_mention(const token &word, bool failed) const {
  return is_name(word.text) || (word.node && is_name(word.node->name)) || (failed && resembles_name(word));
}

std::vector<token *> Secrets::words(cli *engine, bool failed) const {
  std::vector<token *> found;
  bool behind_name = false;
  for (token *word = tokenizer_first(&engine->tokenizer); word; word = token_next(word)) {
    if (behind_name || is_value(word->node)) found.push_back(word);
    behind_name = behind_name || (failed && is_mention(*word, true));
  }
  return found;
}

bool Secrets::are_mentioned(cli *engine, bool failed) const {
  for (token *word = tokenizer_first(&engine->tokenizer); word; word = token_next(word))
    if (is_mention(*word, failed) || is_value(word->node)) return true;
  return false;
}

WordsHidden::WordsHidden(const std::vector<token *> &words) : words_(words) {
  static char hidden[kHidden.size() + 1];
  kHidden.copy(hidden, kHidden.size());
  for (token *word : words) {
    typed_.emplace_back(word->text, word->len);
    word->text = hidden;
    word->len = kHidden.size();
  }
}

WordsHidden::~WordsHidden() {
  for (size_t i = 0; i < words_.size(); ++i) std::tie(words_[i]->text, words_[i]->len) = typed_[i];
}

HiddenWords::HiddenWords(const std::vector<token *> &words) {
  for (const token *word : words) {
    if (word->len == 0) continue;
    words_.emplace_back(word->text, word->len);
    if (word->node && word->node->used) shift_ += static_cast<std::ptrdiff_t>(kHidden.size()) - word->len;
  }
}

std::string HiddenWords::hidden_in(const std::string &text, size_t lines) const {
  const size_t end = end_of_lines(text, lines);
  std::string head = text.substr(0, end);
  for (const std::string &word : words_) replace_words(head, word);
  shift_caret(head, shift_);
  return head + text.substr(end);
}

void forget_line(cli *engine) {
  if (engine->tokenizer.buffer) explicit_bzero(engine->tokenizer.buffer, engine->tokenizer.capacity);
  // What the engine made of the line goes with the next one, and what it printed lies under the list of all commands.
  const Silence silence(engine);
  cli_help(engine, "");
}

}  // namespace cli_shell
