#include "cli_engine/privilege_index.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cli_engine/language_table.hpp"

namespace cli_engine {
namespace {

// Other members may hold what the host likes.
bool is_counted(const char *member) {
  const std::size_t digits = std::strspn(member, "0123456789");
  return digits > 0 && digits <= kLongestPrivilegeKey && member[digits] == '\0';
}

// Null after a report that the member lacks.
const char *required_text(const char *member, const Value &value, const char *field, Faults *faults) {
  const Value text = value.member(field);
  if (!text.is(Shape::kString)) {
    if (faults == nullptr) {
      std::printf("Cannot load privilege '%s': \"%s\" is not a string\n", member, field);
      std::exit(1);
    }
    const Frame frame{nullptr, member, 0, member, nullptr};
    Reporter(faults, Source::kPrivileges, &frame)
        .add("privilege-entry", text.is_given() ? text : value, "a privilege entry needs a ", Quoted{field},
             " that is a string");
  }
  return text.text();
}

std::uint64_t key_hash(std::uint64_t name_hash, std::string_view prompt) {
  return hash(hash(name_hash, {"\n", 1}), prompt);
}

}  // namespace

PrivilegeIndex::PrivilegeIndex(const Value &table, Faults *faults) {
  table.for_each_member([&](const Member &member) {
    if (is_counted(member.name)) {
      add(member.name, member.value, faults);
    }
  });
  fill_buckets();
}

void PrivilegeIndex::add(const char *member, const Value &value, Faults *faults) {
  const char *name = required_text(member, value, "Name", faults);
  const char *prompt = required_text(member, value, "Prompt", faults);
  if (name != nullptr && prompt != nullptr) {
    const auto level = static_cast<std::int32_t>(value.member("Level").integer());
    entries_.push_back({name, prompt, key_hash(hash(kHashSeed, name), prompt), level, 0, value, member, false});
  }
}

// The last entry goes in first, so that each bucket has its entries in member order.
void PrivilegeIndex::fill_buckets() {
  if (entries_.empty()) {
    return;
  }
  std::size_t count = 16;
  while (count < entries_.size() * 2) {
    count *= 2;
  }
  buckets_.resize(count);
  for (std::size_t i = entries_.size(); i > 0; i--) {
    std::uint32_t &bucket = buckets_[bucket_of(entries_[i - 1].hash)];
    entries_[i - 1].next = bucket;
    bucket = static_cast<std::uint32_t>(i);
  }
}

PrivilegeIndex::Entry *PrivilegeIndex::find(std::string_view prompt, std::string_view outer, std::uint64_t outer_hash,
                                            std::string_view key) {
  if (entries_.empty()) {
    return nullptr;
  }
  const std::uint64_t wanted = key_hash(hash(outer_hash, key), prompt);
  for (std::uint32_t place = buckets_[bucket_of(wanted)]; place != 0; place = entries_[place - 1].next) {
    Entry &entry = entries_[place - 1];
    if (entry.hash == wanted && entry.prompt == prompt && entry.name.size() == outer.size() + key.size() &&
        entry.name.starts_with(outer) && entry.name.ends_with(key)) {
      return &entry;
    }
  }
  return nullptr;
}

void PrivilegeIndex::report_unmatched(Faults *faults) const {
  for (const Entry &entry : entries_) {
    if (entry.is_matched) {
      continue;
    }
    // An entry of the same words comes first in its bucket.
    std::uint32_t first = buckets_[bucket_of(entry.hash)];
    while (entries_[first - 1].name != entry.name || entries_[first - 1].prompt != entry.prompt) {
      first = entries_[first - 1].next;
    }
    const Frame frame{nullptr, entry.member, 0, entry.member, nullptr};
    const Reporter reporter(faults, Source::kPrivileges, &frame, CLI_WARNING);
    const char *what = &entries_[first - 1] == &entry ? "there is no command " : "an earlier entry is for the command ";
    if (entry.prompt.empty()) {
      reporter.add("unmatched-privilege", entry.declared, what, Quoted{entry.name});
    } else {
      reporter.add("unmatched-privilege", entry.declared, what, Quoted{entry.name}, " in the mode ",
                   Quoted{entry.prompt});
    }
  }
}

}  // namespace cli_engine
