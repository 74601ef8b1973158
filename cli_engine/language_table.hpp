// What the language of the documents is: its members, who reads them and as what, the types that every registry starts
// with, and the limits. Whoever reads or judges documents takes from here.
#ifndef CLI_ENGINE_LANGUAGE_TABLE_HPP
#define CLI_ENGINE_LANGUAGE_TABLE_HPP

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>

#include "cli_engine/validator.h"

namespace cli_engine {

// ---- Limits ----

inline constexpr std::size_t kLongestKey = 4095;         // bytes of a definition's key
inline constexpr std::int32_t kHighestPrivilege = 15;    // levels are 0 to 15
inline constexpr int kDeepest = 4096;                    // levels of "#commands", and of "#args"; bounds recursion
inline constexpr int kDeepestText = 2048;                // objects and arrays in each other, as Jansson reads them
inline constexpr int kMostExpansions = 16;               // aliases that one line may stand for
inline constexpr std::size_t kLongestPrivilegeKey = 20;  // digits

// ---- Members ----

// Who reads a member, as bits.
enum Reader : unsigned {
  kByMode = 1,
  kByAlias = 2,
  kByCommand = 4,  // words included
  kByKey = 8,
  kByGroup = 16,
  kByText = 32,
  kByNumber = 64,
  kByDefinition = kByMode | kByAlias | kByCommand,
  kByValue = kByText | kByNumber,
  kByArgument = kByKey | kByGroup | kByValue
};

// As what a member is read: any other value counts as absent, as false or as 0; or any value counts, or is a fault.
enum class ReadAs : std::uint8_t { kAny, kText, kBoolean, kInteger, kArray, kObject };

struct MemberRow {
  std::string_view name;
  unsigned readers;
  ReadAs read_as;
};

// The members of definitions and of arguments, the shorter names first.
enum class MemberId : std::uint8_t {
  kHelp,
  kArgs,
  kType,
  kName,
  kBase,
  kEnum,
  kAlias,
  kMulti,
  kRange,
  kWidth,
  kPrompt,
  kHandler,
  kCommands,
  kOptional,
  kExclusive,
  kMinLength,
  kMaxLength,
  kSequential,
  kMinInclusive,
  kMaxInclusive,
  kNone  // of any other name
};
inline constexpr std::size_t kMemberCount = static_cast<std::size_t>(MemberId::kNone);

inline constexpr MemberRow kMembers[kMemberCount] = {
    {"#help", kByMode | kByCommand | kByArgument, ReadAs::kAny},
    {"#args", kByDefinition | kByArgument, ReadAs::kArray},
    {"#type", kByArgument, ReadAs::kText},
    {"#name", kByArgument, ReadAs::kText},
    {"#base", kByNumber, ReadAs::kInteger},
    {"#enum", kByValue, ReadAs::kAny},
    {"#alias", kByAlias, ReadAs::kText},
    {"#multi", kByValue, ReadAs::kBoolean},
    {"#range", kByValue, ReadAs::kBoolean},
    {"#width", kByNumber, ReadAs::kInteger},
    {"#prompt", kByMode, ReadAs::kAny},
    {"#handler", kByMode | kByCommand, ReadAs::kText},
    {"#commands", kByDefinition, ReadAs::kObject},
    {"#optional", kByArgument, ReadAs::kBoolean},
    {"#exclusive", kByGroup, ReadAs::kBoolean},
    {"#min_length", kByText, ReadAs::kInteger},
    {"#max_length", kByText, ReadAs::kInteger},
    {"#sequential", kByGroup, ReadAs::kBoolean},
    {"#min_inclusive", kByNumber, ReadAs::kInteger},
    {"#max_inclusive", kByNumber, ReadAs::kInteger},
};
inline constexpr MemberRow kVariantMembers[] = {{"value", kByMode, ReadAs::kText},
                                                {"if", kByMode, ReadAs::kAny},
                                                {"if-not", kByMode, ReadAs::kAny},
                                                {"description", kByMode, ReadAs::kText}};
inline constexpr MemberRow kTemplateMembers[] = {{"fmt", kByDefinition | kByArgument, ReadAs::kText},
                                                 {"args", kByDefinition | kByArgument, ReadAs::kObject}};
inline constexpr MemberRow kPrivilegeMembers[] = {
    {"Level", 0, ReadAs::kInteger}, {"Name", 0, ReadAs::kText}, {"Prompt", 0, ReadAs::kText}};

constexpr const MemberRow &row_of(MemberId member) {
  return kMembers[static_cast<std::size_t>(member)];
}

constexpr MemberId member_id(std::string_view name) {
  if (name.empty() || name[0] != '#') {
    return MemberId::kNone;
  }
  std::size_t i = 0;
  while (i < kMemberCount && (kMembers[i].name.size() != name.size() || kMembers[i].name != name)) {
    i++;
  }
  return static_cast<MemberId>(i);
}
static_assert(member_id("#enum") == MemberId::kEnum && member_id("#width") == MemberId::kWidth &&
              member_id("#handler") == MemberId::kHandler && member_id("#exclusive") == MemberId::kExclusive &&
              member_id("#max_length") == MemberId::kMaxLength && member_id("#sequential") == MemberId::kSequential &&
              member_id("#max_inclusive") == MemberId::kMaxInclusive && member_id("#maximum") == MemberId::kNone);

// Members of a document and of "#commands" whose names begin so are comments, unless they declare something.
inline constexpr std::string_view kSchemaComment = "$schema";
inline constexpr std::string_view kCommentMark = "//";

// ---- Types ----

struct TypeRow {
  std::string_view name;
  std::int32_t basetype;
};
inline constexpr TypeRow kTypes[] = {
    {"string", BASETYPE_STRING},       {"IPv4Address", BASETYPE_STRING}, {"IPv4Prefix", BASETYPE_STRING},
    {"IPv4Extended", BASETYPE_STRING}, {"IPv6Address", BASETYPE_STRING}, {"IPv6Prefix", BASETYPE_STRING},
    {"IPv6Extended", BASETYPE_STRING}, {"IPAddress", BASETYPE_STRING},   {"int", BASETYPE_INT},
    {"unsignedInt", BASETYPE_UINT},    {"time", BASETYPE_STRING},        {"MACAddress", BASETYPE_STRING},
    {"FQDN", BASETYPE_STRING},
};

// What "#type" says of an argument that is no value.
inline constexpr std::string_view kKeyType = "key";
inline constexpr std::string_view kGroupType = "container";

}  // namespace cli_engine

#endif
