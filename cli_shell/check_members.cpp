// Members and values that nothing reads, help texts that do not fit their place.
#include <algorithm>
#include <array>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "cli_shell/check_values.hpp"
#include "cli_shell/check_warnings.hpp"

namespace cli_check {

namespace {

constexpr std::size_t kLongestHelp = 80;  // bytes, as the engine counts widths

// Who reads a member, as bits.
enum Reader : unsigned {
  kByMode = 1,
  kByAlias = 2,
  kByCommand = 4,  // words included
  kByKey = 8,
  kByGroup = 16,
  kByText = 32,
  kByNumber = 64,
};
constexpr unsigned kByDefinition = kByMode | kByAlias | kByCommand;
constexpr unsigned kByValue = kByText | kByNumber;
constexpr unsigned kByArgument = kByKey | kByGroup | kByValue;

enum class Shape : uint8_t { kAny, kText, kBoolean, kInteger, kArray, kObject };

struct MemberRow {
  std::string_view name;
  unsigned readers;
  Shape shape;
};

// A value of any shape is read, or is an error of its own. A group evaluates its "#help" and shows it nowhere: it
// serves as a comment. What a "#commands" or "#args" that is not read would hold is an error unless it is empty.
constexpr MemberRow kMembers[] = {
    {"#help", kByMode | kByCommand | kByArgument, Shape::kAny},
    {"#prompt", kByMode, Shape::kAny},
    {"#alias", kByAlias, Shape::kText},
    {"#handler", kByMode | kByCommand, Shape::kText},
    {"#commands", kByDefinition, Shape::kObject},
    {"#args", kByDefinition | kByArgument, Shape::kArray},
    {"#type", kByArgument, Shape::kText},
    {"#name", kByArgument, Shape::kText},
    {"#optional", kByArgument, Shape::kBoolean},
    {"#sequential", kByGroup, Shape::kBoolean},
    {"#exclusive", kByGroup, Shape::kBoolean},
    {"#multi", kByValue, Shape::kBoolean},
    {"#range", kByValue, Shape::kBoolean},
    {"#min_inclusive", kByNumber, Shape::kInteger},
    {"#max_inclusive", kByNumber, Shape::kInteger},
    {"#width", kByNumber, Shape::kInteger},
    {"#base", kByNumber, Shape::kInteger},
    {"#min_length", kByText, Shape::kInteger},
    {"#max_length", kByText, Shape::kInteger},
    {"#enum", kByValue, Shape::kAny},
};

constexpr MemberRow kVariantMembers[] = {
    {"value", 0, Shape::kText}, {"if", 0, Shape::kAny}, {"if-not", 0, Shape::kAny}, {"description", 0, Shape::kText}};
constexpr MemberRow kTemplateMembers[] = {{"fmt", 0, Shape::kText}, {"args", 0, Shape::kObject}};
constexpr MemberRow kEntryMembers[] = {
    {"Level", 0, Shape::kInteger}, {"Name", 0, Shape::kText}, {"Prompt", 0, Shape::kText}};

// Insertions, removals, replacements and swaps of neighbours that lead from one name to the other.
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::vector<std::size_t>> steps(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) {
    for (std::size_t j = 0; j <= b.size(); ++j) {
      if (i == 0 || j == 0) {
        steps[i][j] = i + j;
        continue;
      }
      const std::size_t replaced = steps[i - 1][j - 1] + (same_letters(a.substr(i - 1, 1), b.substr(j - 1, 1)) ? 0 : 1);
      steps[i][j] = std::min({replaced, steps[i - 1][j] + 1, steps[i][j - 1] + 1});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        steps[i][j] = std::min(steps[i][j], steps[i - 2][j - 2] + 1);
      }
    }
  }
  return steps[a.size()][b.size()];
}

// The known member whose name was misspelt, or null. Short names are near to too many others.
const MemberRow *resembled(std::string_view name, std::span<const MemberRow> known) {
  constexpr std::size_t kLongestName = 32;
  const auto bare = [](std::string_view text) { return text.starts_with('#') ? text.substr(1) : text; };
  if (name.size() > kLongestName) {
    return nullptr;
  }
  for (const MemberRow &row : known) {
    const std::size_t allowed = bare(row.name).size() >= 6 ? 2 : bare(row.name).size() >= 5 ? 1 : 0;
    if (distance(bare(name), bare(row.name)) <= allowed) {
      return &row;
    }
  }
  return nullptr;
}

const MemberRow *find_row(std::string_view name, std::span<const MemberRow> known) {
  const auto row = std::find_if(known.begin(), known.end(), [&](const MemberRow &r) { return r.name == name; });
  return row == known.end() ? nullptr : &*row;
}

bool has_shape(const JsonValue &value, Shape shape) {
  switch (shape) {
    case Shape::kAny:
      return true;
    case Shape::kText:
      return value.is_string();
    case Shape::kBoolean:
      return value.is(JsonKind::kTrue) || value.is(JsonKind::kFalse);
    case Shape::kInteger:
      return value.is(JsonKind::kInteger);
    case Shape::kArray:
      return value.is(JsonKind::kArray);
    case Shape::kObject:
      return value.is_object();
  }
  return true;
}

std::string_view counts_as(Shape shape) {
  switch (shape) {
    case Shape::kBoolean:
      return "false";
    case Shape::kInteger:
      return "0";
    default:
      return "absent";
  }
}

unsigned reader_of(const Node &node) {
  switch (node.kind) {
    case NodeKind::kMode:
      return kByMode;
    case NodeKind::kAlias:
      return kByAlias;
    case NodeKind::kCommand:
    case NodeKind::kWord:
      return kByCommand;
    case NodeKind::kKey:
      return kByKey;
    case NodeKind::kGroup:
      return kByGroup;
    case NodeKind::kValue:
      return node.basetype == BaseType::kText ? kByText : kByNumber;
  }
  return 0;
}

std::string reader_in_words(const Node &node) {
  static constexpr std::string_view kNames[] = {
      "a word that enters a mode", "a command", "a word", "an alias", "a keyword", "a value", "a group"};
  if (node.kind != NodeKind::kValue) {
    return std::string(kNames[static_cast<std::size_t>(node.kind)]);
  }
  const JsonValue *type = node.member("#type");
  return "a value of the type " + quoted(type == nullptr ? "" : type->text());
}

bool is_facet(const MemberRow &row) {
  return row.shape == Shape::kInteger || row.name == "#enum";
}

class MemberWarnings {
 public:
  MemberWarnings(const Language &language, Findings &findings) : language_(language), findings_(findings) {}

  void look() {
    for (const Node &node : language_.nodes) {
      if (node.definition != nullptr) {
        look_at(node);
      }
    }
    if (language_.privileges != nullptr) {
      look_at_privileges();
    }
  }

 private:
  void look_at(const Node &node) {
    const Reporter reporter{findings_, *language_.definitions, &node};
    for (const JsonMember &member : node.definition->members()) {
      look_at_member(node, member, reporter);
    }
    if (const JsonValue *prompt = node.member("#prompt"); prompt != nullptr && node.kind == NodeKind::kMode) {
      for (const JsonValue &variant : prompt->items()) {
        look_at_members(variant, kVariantMembers, reporter);
      }
    }
    if (const JsonValue *help = node.member("#help"); help != nullptr && node.kind != NodeKind::kGroup) {
      look_at_members(*help, kTemplateMembers, reporter);
      look_at_help(node, *help, reporter);
      look_at_replacements(*help, reporter);
    }
  }

  static void look_at_member(const Node &node, const JsonMember &member, const Reporter &reporter) {
    const MemberRow *row = find_row(member.name, kMembers);
    if (row == nullptr) {
      return look_at_unknown(member, kMembers, reporter);
    }
    const bool is_read = (row->readers & reader_of(node)) != 0 || (node.kind == NodeKind::kValue && !node.is_sound);
    if (!is_read) {
      return add_unread(node, *row, member, reporter);
    }
    if (node.kind == NodeKind::kGroup && row->name == "#exclusive" && is_true(node.member("#sequential"))) {
      return reporter.add(Rule::kIgnoredMember, member.offset,
                          "\"#exclusive\" is not read when \"#sequential\" is true");
    }
    if ((row->name == "#width" || row->name == "#base") && node.member("#min_inclusive") == nullptr &&
        node.member("#max_inclusive") == nullptr) {
      return reporter.add(Rule::kIgnoredFacet, member.offset,
                          quoted(row->name) + " is not read without \"#min_inclusive\" or \"#max_inclusive\"");
    }
    look_at_shape(member, *row, reporter);
    look_at_half(member, *row, reporter);
  }

  // Of these the engine keeps 32 bits.
  static void look_at_half(const JsonMember &member, const MemberRow &row, const Reporter &reporter) {
    const bool is_cut =
        row.name == "#width" || row.name == "#base" || row.name == "#min_length" || row.name == "#max_length";
    const int64_t written = member.value.integer();
    const auto kept = static_cast<uint32_t>(written);
    if (is_cut && written != kept) {
      reporter.add(Rule::kIgnoredValue, member.value,
                   quoted(row.name) + " counts as " + std::to_string(kept) + ": it does not fit 32 bits");
    }
  }

  static bool is_true(const JsonValue *value) { return value != nullptr && value->is(JsonKind::kTrue); }

  static void add_unread(const Node &node, const MemberRow &row, const JsonMember &member, const Reporter &reporter) {
    const bool by_facet = node.kind == NodeKind::kValue && is_facet(row);
    reporter.add(by_facet ? Rule::kIgnoredFacet : Rule::kIgnoredMember, member.offset,
                 quoted(row.name) + " is not read for " + reader_in_words(node));
  }

  static void look_at_members(const JsonValue &object, std::span<const MemberRow> known, const Reporter &reporter) {
    for (const JsonMember &member : object.members()) {
      if (const MemberRow *row = find_row(member.name, known)) {
        look_at_shape(member, *row, reporter);
      } else {
        look_at_unknown(member, known, reporter);
      }
    }
  }

  // The host may have members of its own; those with a "#" are the engine's.
  static void look_at_unknown(const JsonMember &member, std::span<const MemberRow> known, const Reporter &reporter) {
    const MemberRow *meant = resembled(member.name, known);
    if (meant != nullptr) {
      reporter.add(Rule::kUnreadMember, member.offset,
                   "nothing reads " + quoted(member.name) + "; did you mean " + quoted(meant->name) + "?");
    } else if (member.name.starts_with('#')) {
      reporter.add(Rule::kUnreadMember, member.offset, "nothing reads " + quoted(member.name));
    }
  }

  static void look_at_shape(const JsonMember &member, const MemberRow &row, const Reporter &reporter) {
    if (!has_shape(member.value, row.shape)) {
      reporter.add(Rule::kIgnoredValue, member.value,
                   quoted(row.name) + " counts as " + std::string(counts_as(row.shape)) + ": it is " +
                       std::string(kind_in_words(member.value)));
    }
  }

  static void look_at_replacements(const JsonValue &help, const Reporter &reporter) {
    const JsonValue *fmt = help.find("fmt");
    const JsonValue *args = help.find("args");
    if (fmt == nullptr || args == nullptr) {
      return;
    }
    for (const JsonMember &member : args->members()) {
      if (fmt->text().find("{" + std::string(member.name) + "}") == std::string_view::npos) {
        reporter.add(Rule::kUnreadMember, member.offset, "no field of the template shows " + quoted(member.name));
      }
    }
  }

  static void look_at_help(const Node &node, const JsonValue &help, const Reporter &reporter) {
    if (node.kind == NodeKind::kAlias) {
      return;  // it has none; that was said already
    }
    Findings said_before;
    std::string text;
    check_help(help, {said_before, reporter.document, &node}, &text);
    if (said_before.all().size() > 0) {
      return;
    }
    if (text.find_first_not_of(' ') == std::string::npos) {
      reporter.add(Rule::kHelpText, help, "the help text is empty");
    } else if (std::any_of(text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; })) {
      reporter.add(Rule::kHelpText, help, "the help text holds a line break or another control character");
    } else if (text.size() > kLongestHelp) {
      reporter.add(Rule::kHelpText, help,
                   "the help text has " + std::to_string(text.size()) + " bytes, more than the " +
                       std::to_string(kLongestHelp) + " of a line");
    }
  }

  // ---- The privilege table ----

  void look_at_privileges() {
    std::size_t next = 0;
    const auto entries = std::span(language_.entries);
    for (const JsonMember &member : language_.privileges->root.members()) {
      const Reporter reporter{findings_, *language_.privileges, nullptr, member.name};
      if (next < entries.size() && entries[next].member == &member) {
        look_at_entry(entries[next++], reporter);
      } else if (member.value.find("Level") != nullptr && !is_counted(member.name)) {
        reporter.add(Rule::kUnreadPrivilege, member.offset, "only entries named by 1 to 20 decimal digits are read");
      }
    }
  }

  static bool is_counted(std::string_view name) {
    return !name.empty() && name.size() <= 20 && name.find_first_not_of("0123456789") == std::string_view::npos;
  }

  void look_at_entry(const PrivilegeEntry &entry, const Reporter &reporter) {
    look_at_members(entry.member->value, kEntryMembers, reporter);
    const std::string command =
        quoted(entry.name) + (entry.prompt.empty() ? "" : " in the mode " + quoted(entry.prompt));
    if (entry.is_repeated) {
      reporter.add(Rule::kUnmatchedPrivilege, entry.member->offset, "an earlier entry is for " + command + " already");
    } else if (!entry.is_matched) {
      reporter.add(Rule::kUnmatchedPrivilege, entry.member->offset,
                   "there is no command " + command + similar_entry(entry.name));
    }
    const JsonValue *level = entry.member->value.find("Level");
    const int64_t written = level == nullptr ? 0 : level->integer();
    if (written != entry.level || written < 0) {
      reporter.add(Rule::kPrivilegeWithoutEffect, *level,
                   "the level " + std::to_string(written) + " counts as " + std::to_string(std::max(0, entry.level)));
    } else if (level == nullptr) {
      reporter.add(Rule::kPrivilegeWithoutEffect, entry.member->offset, "without a \"Level\" the entry has no effect");
    }
  }

  // The entry that was meant, if a command has such a name in another mode or such words from the top level.
  std::string similar_entry(std::string_view name) {
    if (similar_.empty()) {
      for (const PrivilegeLookup &lookup : language_.lookups) {
        similar_.try_emplace(words_to(*lookup.node), &lookup);
      }
      for (const PrivilegeLookup &lookup : language_.lookups) {
        similar_.try_emplace(lookup.name, &lookup);
      }
    }
    const auto found = similar_.find(name);
    return found == similar_.end() ? ""
                                   : "; did you mean the \"Name\" " + quoted(found->second->name) +
                                         " with the \"Prompt\" " + quoted(found->second->prompt) + "?";
  }

  const Language &language_;
  Findings &findings_;
  std::map<std::string, const PrivilegeLookup *, WordOrder> similar_;  // made for the first entry that needs it
};

}  // namespace

void warn_about_members(const Language &language, Findings &findings) {
  MemberWarnings(language, findings).look();
}

}  // namespace cli_check
