// What an experienced colleague would say after a failed line. Every sentence is tried on the line before it is said.
#include <algorithm>
#include <climits>

#include "cli_engine/completion.h"
#include "cli_engine/display.hpp"
#include "cli_engine/engine_state.hpp"
#include "cli_engine/language_table.hpp"
#include "cli_engine/matchers.hpp"
#include "cli_engine/node.hpp"
#include "cli_engine/parser.hpp"
#include "cli_engine/resemblance.hpp"
#include "cli_engine/trial.hpp"
#include "cli_engine/words.hpp"

namespace cli_engine {
namespace {

constexpr int kMostNearWords = 3;
constexpr int kMostModes = 3;
constexpr int kMostCandidates = 10;
constexpr std::size_t kMostQuoted = 32;  // words that are tried as one text

bool encloses(const cli_node *mode, const cli_node *node) {
  while (node != nullptr && node != mode) {
    node = node->parent;
  }
  return node != nullptr;
}

class Explanation {
 public:
  Explanation(cli &engine, DynString &out)
      : engine_(engine), out_(out), privilege_(engine.parser.privilege), trial_(engine), line_(dyn_string_new()) {
    for (const token *tok = engine.tokenizer.tokens.first; tok != nullptr; tok = tok->next) {
      words_.push_back(text_of(*tok));
    }
  }

  int explain() {
    if (!fails_as_before()) {
      return 0;
    }
    if (trial_.error().errcode == E_AMBIGUOUS) {
      name_candidates();
      return count_;
    }
    suggest_near_words();
    suggest_quotes();
    name_modes();
    if ((engine_.flags & CLI_EXPLAIN_LEVELS) != 0) {
      name_level();
    }
    return count_;
  }

 private:
  [[nodiscard]] std::string_view blamed() const { return words_[place_]; }

  // The words of the line as they were matched, with the text given in the place of `count` of them.
  const char *line_with(std::size_t place, std::size_t count, std::string_view text) {
    libglobal::clear(*line_);
    for (std::size_t i = 0; i < words_.size(); i++) {
      if (i > place && i < place + count) {
        continue;
      }
      append_word(*line_, i == place && count != 0 ? text : words_[i], '\0');
      libglobal::append(*line_, ' ');
    }
    return dyn_string_text(line_.get());
  }
  const char *line_as_it_was() { return line_with(0, 0, {}); }

  bool run_here(const char *line) { return trial_.run(line, engine_.current, privilege_); }

  // Tries the line itself: what is said must be of just this failure.
  bool fails_as_before() {
    const parser_error &error = *engine_.parser.error;
    if (error.token == nullptr || words_.empty() || run_here(line_as_it_was())) {
      return false;
    }
    std::size_t rest = 0;
    for (const token *tok = error.token; tok != nullptr; tok = tok->next) {
      rest++;
    }
    rest_ = trial_.rest();
    place_ = words_.size() - std::min(rest_, words_.size());
    const bool typed = rest <= state_of(engine_.parser).behind_alias;  // and no word that an alias stands for
    return typed && rest_ == rest && trial_.error().errcode == error.errcode;
  }

  void end_sentence() {
    libglobal::append(out_, '\n');
    count_++;
  }

  // ---- Ambiguous words ----

  void name_candidates() {
    const cli_node *searched = trial_.error().node;
    int named = 0;
    const auto name = [&](const cli_node &candidate, bool last) {
      libglobal::append_all(out_, named == 0 ? "" : last ? " or " : ", ", "\"", name_of(candidate), "\"");
      named++;
    };
    Vector<const cli_node *> candidates;
    const auto is_full = [&candidates] { return candidates.size() > kMostCandidates; };
    if (searched == nullptr) {
      for (const void *item : libglobal::items(*trial_.result().candidates)) {
        const auto *key = static_cast<const cli_node *>(item);
        if (key->type == TYPE_KEY && !is_full()) {
          candidates.push_back(key);
        }
      }
    } else if (const cli_node_set *choices = choices_of(*searched)) {
      const WantedName wanted(blamed());
      const cli_node *choice = first_choice_with_prefix(*choices, wanted);
      for (; choice != nullptr && !is_full(); choice = next_choice_with_prefix(*choice, wanted)) {
        if (choice->privilege <= privilege_) {
          candidates.push_back(choice);
        }
      }
    }
    libglobal::append_all(out_, "\"", blamed(), "\" could be ");
    const bool more = is_full();
    const std::size_t shown = more ? kMostCandidates : candidates.size();
    for (std::size_t i = 0; i < shown; i++) {
      name(*candidates[i], !more && i + 1 == shown);
    }
    libglobal::append(out_, more ? ", ..." : "");
    end_sentence();
  }

  // ---- Slips ----

  // One slip may be anywhere; who makes more of them begins with the right letter.
  void suggest_near_words() {
    const unsigned most = Slips::most_in(blamed().size());
    if (most > 0 && !suggest_near_words(1, false) && most > 1) {
      suggest_near_words(most, true);
    }
  }

  bool suggest_near_words(unsigned most, bool same_beginning) {
    run_here(line_as_it_was());
    NearWords near(blamed(), most, same_beginning);
    Vector<libglobal::DynStringOwner> entries;  // of enumerations that are no strings
    const bool words_may_follow = offer_arguments(near, entries);
    const cli_node_set *choices = words_may_follow ? available_choices(trial_.result()) : nullptr;
    if (choices != nullptr) {
      near.offer_choices(*choices, privilege_);
    }
    if (place_ == 0) {
      for (cli_node *mode = around(engine_.current); mode != nullptr; mode = around(mode)) {
        near.offer_choices(mode->subconfig.choices, privilege_);
      }
    }
    return say_nearest(near);
  }

  static cli_node *around(cli_node *mode) { return cli_get_parent_subconfig(mode); }

  bool say_nearest(const NearWords &near) {
    unsigned nearest = UINT_MAX;
    int said = 0;
    for (auto word = near.begin(); word != near.end() && said < kMostNearWords; ++word) {
      const auto same = [&word](const NearWords::Found &other) { return same_name(other.text, word->text); };
      if (word->slips > nearest || std::find_if(near.begin(), word, same) != word) {
        continue;
      }
      run_here(line_with(place_, 1, word->text));
      if (trial_.rest() < rest_) {
        libglobal::append_all(out_, "did you mean \"", word->text, "\"?");
        end_sentence();
        nearest = word->slips;
        said++;
      }
    }
    return said > 0;
  }

  bool offer_arguments(NearWords &near, Vector<libglobal::DynStringOwner> &entries) {
    PtrVector &nodes = *state_of(trial_.result()).nodes;
    const bool words_may_follow = get_available_arguments(trial_.result(), &nodes);
    for (const void *item : libglobal::items(nodes)) {
      const auto &node = *static_cast<const cli_node *>(item);
      if (node.type == TYPE_KEY) {
        near.offer(name_of(node));
      } else if ((node.value.validator.flags & VALIDATOR_ENUM) != 0) {
        offer_entries(node.value.validator.enum_array, near, entries);
      }
    }
    return words_may_follow;
  }

  static void offer_entries(const json_t *list, NearWords &near, Vector<libglobal::DynStringOwner> &entries) {
    for (std::size_t i = 0; i < json_array_size(list); i++) {
      const json_t *entry = json_array_get(list, i);
      if (!json_is_string(entry)) {
        entries.emplace_back(dyn_string_new());
        append_enum_entry(*entries.back(), entry);
      }
      near.offer(json_is_string(entry) ? std::string_view{json_string_value(entry), json_string_length(entry)}
                                       : libglobal::view(*entries.back()));
    }
  }

  // ---- Quotes ----

  void suggest_quotes() {
    const std::size_t first = place_ == 0 ? 0 : place_ - 1;
    for (std::size_t start = first; start <= place_; start++) {
      for (std::size_t end = std::min(words_.size(), start + kMostQuoted); end > std::max(start + 1, place_); end--) {
        if (is_one_text(start, end)) {
          libglobal::append(out_, "Quote text that holds blanks");
          end_sentence();
          return;
        }
      }
    }
  }

  // Whether the line would be run if these words were one value.
  bool is_one_text(std::size_t start, std::size_t end) {
    const libglobal::DynStringOwner text(dyn_string_new());
    for (std::size_t i = start; i < end; i++) {
      libglobal::append_all(*text, i == start ? "" : " ", words_[i]);
    }
    if (!run_here(line_with(start, end - start, libglobal::view(*text)))) {
      return false;
    }
    const token *tok = trial_.first();
    for (std::size_t i = 0; i < start && tok != nullptr; i++) {
      tok = tok->next;
    }
    return tok != nullptr && tok->node != nullptr && tok->node->type == TYPE_VALUE &&
           validator_get_basetype(&tok->node->value.validator) == BASETYPE_STRING;
  }

  // ---- Other modes ----

  // The modes around the present one are searched by the parser.
  void name_modes() {
    int said = 0;
    for (cli_node *mode : marks_of(engine_.current).modes()) {
      if (!encloses(mode, engine_.current) && is_visible(mode) && name_mode(*mode) && ++said == kMostModes) {
        return;
      }
    }
  }

  [[nodiscard]] bool is_visible(const cli_node *node) const {
    while (node != nullptr && node->privilege <= privilege_) {
      node = node->parent;
    }
    return node == nullptr;
  }

  bool name_mode(cli_node &mode) {
    if (first_choice_with_prefix(mode.subconfig.choices, WantedName(words_.front())) == nullptr) {
      return false;
    }
    trial_.run_inside(line_as_it_was(), &mode, privilege_);
    const token *first = trial_.first();
    const cli_node *word = first == nullptr ? nullptr : first->node;
    if (trial_.rest() >= rest_ || word == nullptr || word->parent != &mode || is_built_in(*word)) {
      return false;
    }
    const libglobal::DynStringOwner said(dyn_string_new());
    libglobal::append(*said, "\"");
    for (const token *tok = first; tok != nullptr && tok->node != nullptr && is_choice_kind(*tok->node);
         tok = tok->next) {
      libglobal::append_all(*said, tok == first ? "" : " ", name_of(*tok->node));
    }
    const char *name = mode.mode_prompt == nullptr || *mode.mode_prompt == '\0' ? mode.name : mode.mode_prompt;
    libglobal::append_all(*said, "\" is a command of mode ", name, ":");
    if (!append_way(mode, *said)) {
      return false;
    }
    libglobal::append(out_, libglobal::view(*said));
    end_sentence();
    return true;
  }

  // Every mode has these.
  [[nodiscard]] bool is_built_in(const cli_node &word) const {
    if (word.type == TYPE_COMMAND) {
      const cli_handler handler = word.subconfig.handler;
      const cli &loader = loaded_by(engine_);
      return handler == loader.exit_handler || handler == loader.end_handler;
    }
    return word.type == TYPE_WORD && word.word.link != nullptr;
  }

  // The lines that lead from the present mode to another one. False when something stands in the way.
  bool append_way(cli_node &mode, DynString &said) {
    Vector<cli_node *> steps;
    for (cli_node *step = &mode; step != nullptr && !encloses(step, engine_.current);
         step = cli_get_parent_subconfig(step)) {
      steps.push_back(step);
    }
    cli_node *from = engine_.current;
    for (std::size_t i = steps.size(); i > 0; i--) {
      if (!leads_to(from, *steps[i - 1])) {
        return false;
      }
      libglobal::append(said, i == steps.size() ? " " : ", ");
      append_path(*steps[i - 1], said);
      from = steps[i - 1];
    }
    return true;
  }

  // Whether the words of a mode, typed in another one, find it, as far as they come without their arguments.
  bool leads_to(cli_node *from, const cli_node &mode) {
    const libglobal::DynStringOwner words(dyn_string_new());
    for_path(mode, [&](const cli_node &word) {
      append_word(*words, name_of(word), '\0');
      libglobal::append(*words, ' ');
    });
    if (from == engine_.current) {
      run_here(dyn_string_text(words.get()));
    } else {
      trial_.run_inside(dyn_string_text(words.get()), from, privilege_);
    }
    const parser &result = trial_.result();
    return trial_.first() != nullptr && trial_.first()->node != nullptr && result.current_node != nullptr &&
           encloses(result.current_node, &mode) && !encloses(result.current_node, result.root);
  }

  // Calls visit for each word from the mode around down to this one.
  template <class Visit>
  static void for_path(const cli_node &mode, Visit visit) {
    if (!is_mode(mode.parent)) {
      for_path(*mode.parent, visit);
    }
    visit(mode);
  }

  static void append_path(const cli_node &mode, DynString &said) {
    for_path(mode, [&said](const cli_node &word) { append_word_syntax(word, said); });
  }

  // ---- Levels ----

  void name_level() {
    if (privilege_ >= kHighestPrivilege) {
      return;
    }
    trial_.run(line_as_it_was(), engine_.current, kHighestPrivilege);
    if (trial_.rest() >= rest_) {
      return;
    }
    const token *tok = trial_.first();
    for (std::size_t i = 0; i < place_ && tok != nullptr; i++) {
      tok = tok->next;
    }
    if (tok != nullptr && tok->node != nullptr && tok->node->privilege > privilege_) {
      libglobal::append_all(out_, "\"", name_of(*tok->node), "\"");
      dyn_string_appendf(&out_, " needs level %d", static_cast<int>(tok->node->privilege));
      end_sentence();
    }
  }

  cli &engine_;
  DynString &out_;
  const std::int32_t privilege_;
  Trial trial_;
  libglobal::DynStringOwner line_;
  Vector<std::string_view> words_;  // of the engine's line
  std::size_t place_ = 0;           // of the word blamed
  std::size_t rest_ = 0;            // what the line did not come to: the word blamed and all behind it
  int count_ = 0;
};

}  // namespace
}  // namespace cli_engine

int cli_explain(cli *engine, DynString *out) {
  if (!cli_engine::is_ready(engine) || out == nullptr) {
    return -1;
  }
  cli_engine::own_language(engine);
  const parser_error *const error = engine->parser.error;
  if (error == nullptr || error->errcode == E_OK) {
    return 0;
  }
  return cli_engine::Explanation(*engine, *out).explain();
}
