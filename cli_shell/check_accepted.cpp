// Values that nothing can match or that another value or a keyword takes.
#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "cli_shell/check_candidates.hpp"
#include "cli_shell/check_match.hpp"
#include "cli_shell/check_warnings.hpp"

namespace cli_check {

namespace {

// Types all of whose texts another type takes.
constexpr std::pair<std::string_view, std::string_view> kWider[] = {
    {"IPAddress", "IPv4Address"},    {"IPAddress", "IPv4Prefix"},    {"IPAddress", "IPv4Extended"},
    {"IPAddress", "IPv6Address"},    {"IPAddress", "IPv6Prefix"},    {"IPAddress", "IPv6Extended"},
    {"IPv4Extended", "IPv4Address"}, {"IPv4Extended", "IPv4Prefix"}, {"IPv6Extended", "IPv6Address"},
    {"IPv6Extended", "IPv6Prefix"},
};

// A value argument with its facets in force.
class Value {
 public:
  Value(validator_typesystem *types, const Candidate &candidate)
      : candidate_(candidate), acceptance_(types, *candidate.node) {}

  [[nodiscard]] const Node &node() const { return *candidate_.node; }
  [[nodiscard]] const Node *member() const { return candidate_.member; }
  [[nodiscard]] bool accepts(std::string_view text) const { return acceptance_.accepts(std::string(text)); }

  // Sure to take every text that the other takes.
  [[nodiscard]] bool covers(const Value &other) const {
    if (const JsonValue *entries = other.enumeration()) {
      return covers_entries(entries->items());
    }
    if (enumeration() != nullptr) {
      return false;
    }
    if (type() == "string" && !is_bounded()) {
      return true;
    }
    if (node().basetype != BaseType::kText) {
      return covers_numbers(other);
    }
    return other.node().basetype == BaseType::kText && covers_lengths(other) && covers_type(other);
  }

 private:
  [[nodiscard]] const JsonValue *enumeration() const { return node().member("#enum"); }
  [[nodiscard]] const validator &facets() const { return acceptance_.facets(); }
  [[nodiscard]] bool is_bounded() const { return (facets().flags & VALIDATOR_BOUNDED) != 0; }
  [[nodiscard]] std::string_view type() const { return facets().type->name; }

  [[nodiscard]] bool covers_entries(std::span<const JsonValue> entries) const {
    return !entries.empty() && std::all_of(entries.begin(), entries.end(),
                                           [&](const JsonValue &entry) { return accepts(entry_text(entry)); });
  }

  [[nodiscard]] bool covers_type(const Value &other) const {
    return type() == "string" || type() == other.type() ||
           std::find(std::begin(kWider), std::end(kWider), std::pair(type(), other.type())) != std::end(kWider);
  }

  [[nodiscard]] bool covers_lengths(const Value &other) const {
    return !is_bounded() || (other.is_bounded() && facets().min_length <= other.facets().min_length &&
                             facets().max_length >= other.facets().max_length);
  }

  [[nodiscard]] bool covers_numbers(const Value &other) const {
    const bool is_plain = facets().type->match_fn.number == nullptr;
    if (other.node().basetype == BaseType::kText || (!is_plain && type() != other.type())) {
      return false;
    }
    const auto [low, high] = range();
    const auto [other_low, other_high] = other.range();
    const bool same_digits = facets().base == other.facets().base || facets().base == 0;
    return low <= other_low && high >= other_high && same_digits;
  }

  [[nodiscard]] std::pair<int64_t, int64_t> range() const {
    if (is_bounded()) {
      return {facets().min_inclusive, facets().max_inclusive};
    }
    return node().basetype == BaseType::kInt ? std::pair<int64_t, int64_t>(INT32_MIN, INT32_MAX)
                                             : std::pair<int64_t, int64_t>(0, UINT32_MAX);
  }

  Candidate candidate_;
  Acceptance acceptance_;
};

class ValueWarnings {
 public:
  ValueWarnings(const Language &language, const Host &host, Findings &findings)
      : language_(language), host_(host), findings_(findings) {}

  void look() {
    for (const Node &node : language_.nodes) {
      if (node.kind == NodeKind::kGroup) {
        for (const Contest &contest : contests_of(node)) {
          look_at_contest(contest);
        }
      } else if (node.kind == NodeKind::kValue && node.is_sound && node.member("#enum") != nullptr) {
        look_at_entries(node, *node.member("#enum"));
      }
    }
  }

 private:
  // A group has few values that compete; more than these would be a document made to take long.
  static constexpr std::size_t kMostValues = 16;

  void add(const Node &node, Rule rule, std::string text) {
    findings_.add(rule, *language_.definitions, node.offset, in_words(node), std::move(text));
  }

  // ---- Enumerations ----

  void look_at_entries(const Node &node, const JsonValue &entries) {
    const Acceptance acceptance(host_.types, node);
    const auto complain = [&](const JsonValue &entry, std::string text) {
      findings_.add(Rule::kUnreachableEntry, *language_.definitions, entry.offset, in_words(node), std::move(text));
    };
    if (entries.items().empty()) {
      complain(entries, "an empty \"#enum\" lets nothing through");
    }
    // To ask for every entry of a long list costs its square; the engine would not be quick with it either.
    constexpr std::size_t kLongList = 2000;
    std::set<std::string> texts;
    for (const JsonValue &entry : entries.items()) {
      std::string text = entry_text(entry);
      if (entries.items().size() <= kLongList && !acceptance.accepts(text)) {
        complain(entry, "the entry " + quoted(text) + " is never accepted: the type or a bound refuses it");
      }
      if (!texts.insert(std::move(text)).second) {
        complain(entry, "an equal entry stands before this one");
      }
    }
  }

  // ---- Values and keywords that compete ----

  void look_at_contest(const Contest &contest) {
    std::vector<std::unique_ptr<Value>> values;
    for (const Candidate &candidate : contest.candidates) {
      if (candidate.node->kind == NodeKind::kKey) {
        look_at_keyword(candidate, values);
      } else if (candidate.node->is_sound && values.size() < kMostValues) {
        values.push_back(std::make_unique<Value>(host_.types, candidate));
        look_at_value(*contest.group, values);
      }
    }
  }

  // A required value that the parser asks earlier keeps the word.
  void look_at_keyword(const Candidate &key, const std::vector<std::unique_ptr<Value>> &before) {
    const auto taker = std::find_if(before.begin(), before.end(), [&](const auto &value) {
      return value->node().is_required && value->member() != key.member && value->accepts(key.node->name);
    });
    if (taker != before.end() && !key.node->name.empty()) {
      add(*key.node, Rule::kValueBeforeKeyword,
          "the keyword's text is taken by " + in_words((*taker)->node()) + ", which stands before it");
    }
  }

  // The last value against those before it. Of two values a required one is taken before an optional one, otherwise the
  // first. Outside exclusive groups what comes second can still be given second, unless the first closes it.
  void look_at_value(const Node &group, const std::vector<std::unique_ptr<Value>> &values) {
    const Value &last = *values.back();
    for (const auto &value : values) {
      if (value->member() == last.member()) {
        continue;
      }
      const bool last_wins = last.node().is_required && !value->node().is_required;
      if (last_wins && last.covers(*value)) {
        add(value->node(), Rule::kHiddenValue, "is never taken: " + in_words(last.node()) + " takes the same texts");
      } else if (!last_wins && group.mode == GroupMode::kExclusive && value->covers(last)) {
        return add(last.node(), Rule::kHiddenValue,
                   "is never taken: " + in_words(value->node()) + " takes the same texts");
      }
    }
  }

  const Language &language_;
  const Host &host_;
  Findings &findings_;
};

}  // namespace

void warn_about_values(const Language &language, const Host &host, Findings &findings) {
  if (host.types != nullptr) {
    ValueWarnings(language, host, findings).look();
  }
}

}  // namespace cli_check
