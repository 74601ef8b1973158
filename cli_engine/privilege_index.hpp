// The privilege table, indexed once for each load.
#ifndef CLI_ENGINE_PRIVILEGE_INDEX_HPP
#define CLI_ENGINE_PRIVILEGE_INDEX_HPP

#include <cstdint>
#include <string_view>

#include "cli_engine/document.hpp"
#include "cli_engine/faults.hpp"
#include "cli_engine/vector.hpp"

namespace cli_engine {

// A hash of text that can be gone on with: hash(hash(seed, a), b) is the hash of a followed by b.
inline constexpr std::uint64_t kHashSeed = 14695981039346656037U;
inline std::uint64_t hash(std::uint64_t seed, std::string_view text) {
  for (const char c : text) {
    seed = (seed ^ static_cast<unsigned char>(c)) * 1099511628211U;
  }
  return seed;
}

class PrivilegeIndex {
 public:
  struct Entry {
    std::string_view name;
    std::string_view prompt;
    std::uint64_t hash;
    std::int32_t level;
    std::uint32_t next;  // in the same bucket: place in entries_ plus 1, or 0
    Value declared;
    const char *member;
    bool is_matched;  // for the loader to say
  };

  // Indexes the members of a table, which must outlive the index; nothing and anything but an object hold none. An
  // entry without a "Name" or a "Prompt" is reported and left out, or ends the process without Faults.
  PrivilegeIndex(const Value &table, Faults *faults);

  [[nodiscard]] bool empty() const { return entries_.empty(); }

  // The first entry for that mode prompt whose name is `outer` followed by `key`; null when there is none. outer_hash
  // is the hash of `outer`.
  [[nodiscard]] Entry *find(std::string_view prompt, std::string_view outer, std::uint64_t outer_hash,
                            std::string_view key);

  // Reports a warning for each entry that is not matched.
  void report_unmatched(Faults *faults) const;

 private:
  void add(const char *member, const Value &value, Faults *faults);
  void fill_buckets();

  // The number of buckets is a power of two.
  [[nodiscard]] std::size_t bucket_of(std::uint64_t hash) const {
    return static_cast<std::size_t>(hash) & (buckets_.size() - 1);
  }

  Vector<Entry> entries_;  // in member order
  Vector<std::uint32_t> buckets_;
};

}  // namespace cli_engine

#endif
