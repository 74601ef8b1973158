#include "cli_shell/check_candidates.hpp"

#include <algorithm>
#include <utility>

namespace cli_check {

namespace {

// What can begin an argument, in the order in which the parser asks.
void append_first(const Node &argument, const Node *member, Candidates &out) {
  if (argument.kind != NodeKind::kGroup) {
    out.push_back({&argument, member});
    return;
  }
  for (const Node *inner : argument.args) {
    append_first(*inner, member, out);
    if (argument.mode != GroupMode::kExclusive && inner->is_required) {
      return;
    }
  }
}

// What can still be given when nothing is missing any more.
void append_last(const Node &argument, Candidates &out) {
  const std::vector<Node *> &args = argument.args;
  auto next = args.begin();
  if (argument.kind == NodeKind::kGroup && argument.mode == GroupMode::kExclusive) {
    for (const Node *alternative : args) {
      append_last(*alternative, out);
    }
    return;
  }
  const auto last_required = std::find_if(args.rbegin(), args.rend(), [](const Node *arg) { return arg->is_required; });
  if (last_required != args.rend()) {
    append_last(**last_required, out);
    next = last_required.base();
  }
  for (; next != args.end(); ++next) {
    append_first(**next, *next, out);
    append_last(**next, out);
  }
}

}  // namespace

std::vector<Contest> contests_of(const Node &group) {
  std::vector<Contest> contests;
  Candidates run;
  for (const Node *member : group.args) {
    append_first(*member, member, run);
    if (group.mode != GroupMode::kExclusive && member->is_required) {
      contests.push_back({&group, std::exchange(run, {})});
    }
  }
  contests.push_back({&group, std::move(run)});
  return contests;
}

bool may_stay_open(const Node &argument) {
  Candidates last;
  append_last(argument, last);
  return !last.empty();
}

Candidates beside_words(const Node &argument) {
  Candidates candidates;
  if (!argument.is_required) {
    append_first(argument, &argument, candidates);
  }
  append_last(argument, candidates);
  return candidates;
}

}  // namespace cli_check
