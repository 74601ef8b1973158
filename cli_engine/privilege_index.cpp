#include "cli_engine/privilege_index.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cli_engine/json_ref.hpp"

namespace cli_engine {
namespace {

constexpr std::size_t kLongestMember = 20;

// Other members may hold what the host likes.
bool is_counted(const char *member) {
  const std::size_t digits = std::strspn(member, "0123456789");
  return digits > 0 && digits <= kLongestMember && member[digits] == '\0';
}

std::string_view required_text(const char *member, const json_t *value, const char *field) {
  const json_t *text = json_object_get(value, field);
  if (!json_is_string(text)) {
    std::printf("Cannot load privilege '%s': \"%s\" is not a string\n", member, field);
    std::exit(1);
  }
  return {json_string_value(text), json_string_length(text)};
}

std::uint64_t key_hash(std::uint64_t name_hash, std::string_view prompt) {
  return hash(hash(name_hash, {"\n", 1}), prompt);
}

}  // namespace

PrivilegeIndex::PrivilegeIndex(const json_t *table) {
  auto *members = const_cast<json_t *>(table);
  for (void *member = json_object_iter(members); member != nullptr; member = json_object_iter_next(members, member)) {
    if (is_counted(json_object_iter_key(member))) {
      add(json_object_iter_key(member), json_object_iter_value(member));
    }
  }
  fill_buckets();
}

void PrivilegeIndex::add(const char *member, const json_t *value) {
  const std::string_view name = required_text(member, value, "Name");
  const std::string_view prompt = required_text(member, value, "Prompt");
  const auto level = static_cast<std::int32_t>(json_integer_value(json_object_get(value, "Level")));
  entries_.push_back({name, prompt, key_hash(hash(kHashSeed, name), prompt), level, 0});
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

std::int32_t PrivilegeIndex::level(std::string_view prompt, std::string_view outer, std::uint64_t outer_hash,
                                   std::string_view key) const {
  if (entries_.empty()) {
    return 0;
  }
  const std::uint64_t wanted = key_hash(hash(outer_hash, key), prompt);
  for (std::uint32_t place = buckets_[bucket_of(wanted)]; place != 0; place = entries_[place - 1].next) {
    const Entry &entry = entries_[place - 1];
    if (entry.hash == wanted && entry.prompt == prompt && entry.name.size() == outer.size() + key.size() &&
        entry.name.starts_with(outer) && entry.name.ends_with(key)) {
      return entry.level;
    }
  }
  return 0;
}

}  // namespace cli_engine
