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
  const std::vector<Node *> &args = argument.args;
  switch (argument.kind) {
    case NodeKind::kKey:
      return !args.empty() && (!args[0]->is_required || may_stay_open(*args[0]));
    case NodeKind::kGroup:
      if (argument.mode == GroupMode::kExclusive) {
        return std::any_of(args.begin(), args.end(), [](const Node *arg) { return may_stay_open(*arg); });
      }
      return !args.empty() && (!args.back()->is_required || may_stay_open(*args.back()));
    default:
      return false;
  }
}

}  // namespace cli_check
