// Values that nothing can match or that another value or a keyword takes.
#include <algorithm>
#include <set>
#include <string>
#include <utility>

#include "cli_check/rules.hpp"
#include "cli_check/trial.hpp"
#include "cli_engine/json_ref.hpp"

namespace cli_check {

std::string entry_text(json_t *entry) {
  if (json_is_string(entry)) {
    return {json_string_value(entry), json_string_length(entry)};
  }
  const cli_engine::JsonText text(json_dumps(entry, JSON_ENCODE_ANY));
  return text == nullptr ? "" : text.get();
}

namespace rules {

namespace {

// Types all of whose texts another type takes.
constexpr std::pair<std::string_view, std::string_view> kWider[] = {
    {"IPAddress", "IPv4Address"},    {"IPAddress", "IPv4Prefix"},    {"IPAddress", "IPv4Extended"},
    {"IPAddress", "IPv6Address"},    {"IPAddress", "IPv6Prefix"},    {"IPAddress", "IPv6Extended"},
    {"IPv4Extended", "IPv4Address"}, {"IPv4Extended", "IPv4Prefix"}, {"IPv6Extended", "IPv6Address"},
    {"IPv6Extended", "IPv6Prefix"},
};

struct Range {
  int64_t low, high;
};

// A value argument among others.
class Value {
 public:
  explicit Value(const Candidate &candidate) : candidate_(candidate), facets_(candidate.node->value.validator) {}

  [[nodiscard]] const cli_node &node() const { return *candidate_.node; }
  [[nodiscard]] const cli_node *member() const { return candidate_.member; }
  [[nodiscard]] bool only_first() const { return candidate_.only_first; }
  [[nodiscard]] bool is_required() const { return !is_optional(node()); }
  [[nodiscard]] std::string_view type() const { return facets_.type->name; }
  [[nodiscard]] bool is_number() const { return validator_get_basetype(&facets_) != BASETYPE_STRING; }
  [[nodiscard]] json_t *enumeration() const {
    return (facets_.flags & VALIDATOR_ENUM) != 0 ? facets_.enum_array : nullptr;
  }

  [[nodiscard]] bool accepts(std::string_view text) const {
    return validator_match(&facets_, std::string(text).c_str(), text.size()) != 0;
  }

  // Sure to take every text that the other takes.
  [[nodiscard]] bool covers(const Value &other) const {
    if (json_t *entries = other.enumeration()) {
      return covers_entries(entries);
    }
    if (enumeration() != nullptr) {
      return false;
    }
    if (type() == "string" && !is_bounded()) {
      return true;
    }
    return is_number() ? covers_numbers(other) : !other.is_number() && covers_lengths(other) && covers_type(other);
  }

  // Of two plain numbers the numbers that both take; `low` is above `high` when there are none.
  [[nodiscard]] Range shared_with(const Value &other) const {
    const bool are_plain = is_plain_number() && other.is_plain_number();
    const Range mine = range();
    const Range others = other.range();
    return are_plain ? Range{std::max(mine.low, others.low), std::min(mine.high, others.high)} : Range{1, 0};
  }

 private:
  [[nodiscard]] bool is_bounded() const { return (facets_.flags & VALIDATOR_BOUNDED) != 0; }
  [[nodiscard]] bool is_plain_number() const {
    return is_number() && facets_.type->match_fn.number == nullptr && enumeration() == nullptr;
  }

  [[nodiscard]] bool covers_entries(json_t *entries) const {
    bool covers_all = json_array_size(entries) > 0;
    for (std::size_t at = 0; at < json_array_size(entries) && covers_all; ++at) {
      covers_all = accepts(entry_text(json_array_get(entries, at)));
    }
    return covers_all;
  }

  [[nodiscard]] bool covers_type(const Value &other) const {
    return type() == "string" || type() == other.type() ||
           std::find(std::begin(kWider), std::end(kWider), std::pair(type(), other.type())) != std::end(kWider);
  }

  [[nodiscard]] bool covers_lengths(const Value &other) const {
    return !is_bounded() || (other.is_bounded() && facets_.min_length <= other.facets_.min_length &&
                             facets_.max_length >= other.facets_.max_length);
  }

  [[nodiscard]] bool covers_numbers(const Value &other) const {
    const bool is_plain = facets_.type->match_fn.number == nullptr;
    if (!other.is_number() || (!is_plain && type() != other.type())) {
      return false;
    }
    const bool same_digits = facets_.base == other.facets_.base || facets_.base == 0;
    return range().low <= other.range().low && range().high >= other.range().high && same_digits;
  }

  [[nodiscard]] Range range() const {
    if (is_bounded()) {
      return {facets_.min_inclusive, facets_.max_inclusive};
    }
    return validator_get_basetype(&facets_) == BASETYPE_INT ? Range{INT32_MIN, INT32_MAX} : Range{0, UINT32_MAX};
  }

  Candidate candidate_;
  const validator &facets_;
};

// A group has few values that compete; more than these would be a document made to take long.
constexpr std::size_t kMostValues = 16;

// Calls visit(group, earlier, later) for the values of each contest, two and two.
template <class Visit>
void visit_pairs(const cli_node &group, const Visit &visit) {
  if (group.type != TYPE_CONTAINER) {
    return;
  }
  for (const Contest &contest : contests_of(group)) {
    std::vector<Value> values;
    for (const Candidate &candidate : contest.candidates) {
      if (candidate.node->type == TYPE_VALUE && values.size() < kMostValues) {
        const Value later(candidate);
        for (const Value &earlier : values) {
          if (earlier.member() != later.member()) {
            visit(earlier, later);
          }
        }
        values.push_back(later);
      }
    }
  }
}

// Does the text go to the argument where the keyword may come?
bool takes(const Scope &scope, const cli_node &taker, const cli_node &key, std::string_view text) {
  const std::optional<std::string> before = line_before(key);
  return before && Typed(scope.engine, owner_of(key), *before + std::string(text)).last() == &taker;
}

// Calls visit(key, value, is_before) for the keywords of each contest and the values beside them; `is_before`: the
// parser asks the value first.
template <class Visit>
void visit_keywords(const cli_node &group, const Visit &visit) {
  if (group.type != TYPE_CONTAINER) {
    return;
  }
  for (const Contest &contest : contests_of(group)) {
    for (auto key = contest.candidates.begin(); key != contest.candidates.end(); ++key) {
      std::size_t values = 0;
      for (auto value = contest.candidates.begin();
           key->node->type == TYPE_KEY && value != contest.candidates.end() && values < kMostValues; ++value) {
        if (value->node->type == TYPE_VALUE && value->member != key->member) {
          values++;
          visit(*key, Value(*value), value < key);
        }
      }
    }
  }
}

}  // namespace

// Of two values a required one is taken before an optional one, otherwise the first. Outside exclusive groups what
// comes second can still be given second, unless the first closes it.
void hidden_value(const Scope &scope, const cli_node &node) {
  std::set<const cli_node *> said;
  visit_pairs(node, [&](const Value &earlier, const Value &later) {
    const bool later_wins = later.is_required() && !earlier.is_required();
    const Value &hidden = later_wins ? earlier : later;
    const Value &taker = later_wins ? later : earlier;
    const bool is_closed = is_exclusive(node) || (later_wins && !is_optional(*taker.member()));
    if (is_closed && hidden.only_first() && taker.covers(hidden) && said.insert(&hidden.node()).second) {
      scope.add(hidden.node(), "is never taken: " + in_words(taker.node()) + " takes the same texts");
    }
  });
}

void overlapping_values(const Scope &scope, const cli_node &node) {
  visit_pairs(node, [&](const Value &earlier, const Value &later) {
    const bool later_wins = later.is_required() && !earlier.is_required();
    const Value &loser = later_wins ? earlier : later;
    const Value &taker = later_wins ? later : earlier;
    const Range shared = earlier.shared_with(later);
    if (is_exclusive(node) && loser.only_first() && shared.low <= shared.high && !taker.covers(loser)) {
      scope.add(loser.node(), std::to_string(shared.low) + " to " + std::to_string(shared.high) + " are taken by " +
                                  in_words(taker.node()));
    }
  });
}

// A required value that the parser asks earlier keeps the word. To put it last cures this for all keywords at once.
void value_before_keyword(const Scope &scope, const cli_node &node) {
  std::set<const cli_node *> said;
  visit_keywords(node, [&](const Candidate &key, const Value &value, bool is_before) {
    if (is_before && value.is_required() && !said.contains(&value.node()) &&
        takes(scope, value.node(), *key.node, name_of(*key.node))) {
      said.insert(&value.node());
      scope.add(*key.node, "the keyword's text is taken by " + in_words(value.node()) + ", which stands before it");
    }
  });
}

// Elsewhere the keyword is taken, and by each of its abbreviations. Of a text this is said for one keyword.
void keyword_before_value(const Scope &scope, const cli_node &node) {
  std::set<const cli_node *> said;
  visit_keywords(node, [&](const Candidate &key, const Value &value, bool) {
    const std::string_view name = name_of(*key.node);
    const std::string text = accepted_beginning(value.node(), name.substr(0, name.size() - 1));
    const std::string sample = sample_of(value.node()).value_or("");
    if (text.empty() || sample.empty() || said.contains(&value.node()) || !takes(scope, *key.node, *key.node, text) ||
        !takes(scope, value.node(), *key.node, sample)) {
      return;
    }
    if (!value.is_number()) {
      said.insert(&value.node());
    }
    scope.add(scope.declaration(*key.node), in_words(*key.node),
              quoted(text) + ", which " + in_words(value.node()) + " accepts, is taken for this keyword's abbreviation",
              value.is_number() ? CLI_WARNING : CLI_NOTE);
  });
}

// Help lists what can be typed next, also when another argument takes every text of it.
void refused_offer(const Scope &scope, const cli_node &node) {
  const std::optional<std::string> before =
      node.type == TYPE_VALUE && node.parent->type == TYPE_KEY && is_optional(node) ? line_before(node) : std::nullopt;
  const std::optional<std::string> sample = before ? sample_of(node) : std::nullopt;
  if (!sample) {
    return;
  }
  const Typed keyword(scope.engine, owner_of(node), *before);
  const Typed typed(scope.engine, owner_of(node), *before + *sample);
  const cli_node *taker = typed.last();
  if (keyword.last() == node.parent && typed.taken.size() > keyword.taken.size() && taker->type == TYPE_VALUE &&
      taker != &node && Value({taker, nullptr, true}).covers(Value({&node, nullptr, true}))) {
    scope.add(node, "help offers it behind its keyword, but " + in_words(*taker) + " takes " + quoted(*sample) +
                        " there, as every text of it");
  }
}

// What is given in the order in which the syntax shows it may go elsewhere.
void crossed_values(const Scope &scope, const cli_node &node) {
  constexpr std::size_t kLongLine = 1000;  // a line costs the square of its arguments
  if (is_argument(node) || cli_node_first_arg(&node) == nullptr) {
    return;
  }
  const std::optional<Steps> steps = steps_of(node, [](const cli_node &) { return true; });
  if (!steps || steps->size() > kLongLine) {
    return;
  }
  const Typed typed(scope.engine, node, line_of(*steps));
  const bool are_meant = std::all_of(typed.taken.begin(), typed.taken.end(), [&](const cli_node *taken) {
    return std::any_of(steps->begin(), steps->end(), [&](const Step &step) { return step.node == taken; });
  });
  if (typed.end != &node || typed.taken.size() != steps->size() || !are_meant) {
    return;
  }
  for (std::size_t at = 0; at < steps->size(); ++at) {
    const cli_node &meant = *(*steps)[at].node;
    const cli_node &taken = *typed.taken[at];
    if (&meant != &taken && &owner_of(meant) == &node && meant.type == TYPE_VALUE && taken.type == TYPE_VALUE) {
      return scope.add(meant, "in " + quoted(line_of(*steps)) + ", in the order of the syntax, word " +
                                  std::to_string(at + 1) + " is taken by " + in_words(taken) + " instead");
    }
  }
}

void unreachable_entry(const Scope &scope, const cli_node &node) {
  // To ask for every entry of a long list costs its square; the engine would not be quick with it either.
  constexpr std::size_t kLongList = 2000;
  json_t *entries = node.type == TYPE_VALUE && (node.value.validator.flags & VALIDATOR_ENUM) != 0
                        ? node.value.validator.enum_array
                        : nullptr;
  if (entries == nullptr) {
    return;
  }
  const auto complain = [&](std::size_t at, std::string text) {
    scope.add(scope.declaration(node).at("#enum").at(at), in_words(node), std::move(text));
  };
  const std::size_t size = json_array_size(entries);
  if (size == 0) {
    complain(0, "an empty \"#enum\" lets nothing through");
  }
  std::set<std::string> texts;
  for (std::size_t at = 0; at < size; ++at) {
    const std::string text = entry_text(json_array_get(entries, at));
    if (size <= kLongList && validator_match(&node.value.validator, text.c_str(), text.size()) == 0) {
      complain(at, "the entry " + quoted(text) + " is never accepted: the type or a bound refuses it");
    }
    if (!texts.insert(text).second) {
      complain(at, "an equal entry stands before this one");
    }
  }
}

}  // namespace rules
}  // namespace cli_check
