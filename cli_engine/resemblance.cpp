#include "cli_engine/resemblance.hpp"

#include <algorithm>

#include "cli_engine/faults.hpp"
#include "cli_engine/node.hpp"
#include "cli_engine/privilege_index.hpp"
#include "libglobal/ptr_vector.hpp"

namespace cli_engine {
namespace {

// The first word of a set that does not come before a text, or null.
const cli_node *first_from(const cli_node_set &choices, const WantedName &text) {
  const cli_node *found = nullptr;
  const cli_node *node = choices.root;
  while (node != nullptr) {
    if (text.compare(*node) <= 0) {
      found = node;
      node = node->choice_link.left;
    } else {
      node = node->choice_link.right;
    }
  }
  return found;
}

// The lower, the more a name resembles a word; kUnlike when it does not.
constexpr std::size_t kUnlike = SIZE_MAX;
constexpr std::size_t kBegunAlike = Slips::kLongest;  // beyond all numbers of slips

std::size_t unlikeness(Slips &slips, std::string_view word, const cli_node &node) {
  if (node.type == TYPE_VALUE || word.empty()) {
    return 0;
  }
  const unsigned count = slips.to(name_of(node));
  if (count <= slips.most()) {
    return count;
  }
  const std::size_t common = common_length(word, name_of(node));
  return common * 2 >= word.size() ? kBegunAlike + word.size() - common : kUnlike;
}

}  // namespace

void NearWords::offer(std::string_view text) {
  if (!begins_with(text, beginning_)) {
    return;
  }
  const Found found{text, slips_.to(text)};
  if (found.slips > slips_.most()) {
    return;
  }
  std::size_t place = count_;
  while (place > 0 && found_[place - 1].slips > found.slips) {
    place--;
  }
  if (place == found_.size()) {
    return;
  }
  count_ = std::min(count_ + 1, found_.size());
  std::copy_backward(found_.begin() + place, found_.begin() + count_ - 1, found_.begin() + count_);
  found_[place] = found;
}

void suggest_word(const cli_node_set &choices, std::string_view word, DynString &out) {
  NearWords near(word, word.size() < 3 ? 0 : word.size() < 6 ? 1 : 2, true);  // short words are near to too many
  near.offer_choices(choices, kHighestPrivilege);
  if (near.begin() != near.end()) {
    append_suggestion(out, near.begin()->text);
  }
}

void NearWords::offer_choices(const cli_node_set &choices, std::int32_t privilege) {
  const WantedName beginning(beginning_);
  const cli_node *choice = first_choice_with_prefix(choices, beginning);
  while (choice != nullptr && beginning.begins(*choice)) {
    if (choice->privilege <= privilege) {
      offer(name_of(*choice));
    } else {
      slips_.to(name_of(*choice));
    }
    const cli_node *next = next_choice(*choice);
    if (next != nullptr && slips_.passes_over()) {
      const std::string_view onward = slips_.onward();
      if (onward.empty()) {
        return;
      }
      const WantedName wanted(onward);
      next = wanted.compare(*next) <= 0 ? next : first_from(choices, wanted);
    }
    choice = next;
  }
}

void keep_resembling(PtrVector &nodes, std::string_view word, std::size_t most) {
  struct Row {
    std::size_t unlikeness;
    std::size_t place;
  };
  Slips slips(word);
  Vector<Row> rows;
  for (std::size_t place = 0; place < nodes.size; place++) {
    const auto &node = *static_cast<const cli_node *>(nodes.items[place]);
    const std::size_t distance = node.type == TYPE_ALIAS ? kUnlike : unlikeness(slips, word, node);
    if (distance != kUnlike) {
      rows.push_back({distance, place});
    }
  }
  const auto nearer = [](const Row &a, const Row &b) {
    return a.unlikeness != b.unlikeness ? a.unlikeness < b.unlikeness : a.place < b.place;
  };
  const auto kept = rows.begin() + static_cast<std::ptrdiff_t>(std::min(most, rows.size()));
  std::partial_sort(rows.begin(), kept, rows.end(), nearer);
  std::sort(rows.begin(), kept, [](const Row &a, const Row &b) { return a.place < b.place; });
  nodes.size = 0;
  for (auto row = rows.begin(); row != kept; ++row) {
    nodes.items[nodes.size++] = nodes.items[row->place];
  }
}

}  // namespace cli_engine
