// What nothing reads: members and values of declarations, handlers of libraries, help that does not fit its place.
#include <algorithm>
#include <map>
#include <string>

#include "cli_check/rules.hpp"
#include "cli_engine/json_ref.hpp"
#include "libglobal/resembling.hpp"

namespace cli_check {

using cli_engine::ReadAs;
using Kind = Declaration::Kind;

namespace {

// ---- Declarations ----

const MemberRow *find_row(std::string_view name, std::span<const MemberRow> known) {
  const auto row = std::find_if(known.begin(), known.end(), [&](const MemberRow &r) { return r.name == name; });
  return row == known.end() ? nullptr : &*row;
}

std::vector<Member> members_of(const Part &object, std::span<const MemberRow> known) {
  std::vector<Member> members;
  for (Entry &entry : object.members()) {
    const MemberRow *row = find_row(entry.name, known);
    members.push_back({std::move(entry.name), entry.key, entry.value, row});
  }
  return members;
}

bool declares_something(const Part &value) {
  const std::vector<Entry> members = value.members();
  return std::any_of(members.begin(), members.end(), [](const Entry &entry) { return entry.name.starts_with('#'); });
}

bool is_comment(const Entry &entry) {
  return (entry.name == cli_engine::kSchemaComment || entry.name.starts_with(cli_engine::kCommentMark)) &&
         !declares_something(entry.value);
}

// Words and blanks as one line shows them.
std::string joined(const std::string &outer, std::string_view more) {
  std::string text = outer;
  while (true) {
    more.remove_prefix(std::min(more.find_first_not_of(' '), more.size()));
    if (more.empty()) {
      return text;
    }
    const std::string_view word = more.substr(0, more.find(' '));
    text.append(text.empty() ? "" : " ").append(word);
    more.remove_prefix(word.size());
  }
}

class Reader {
 public:
  explicit Reader(validator_typesystem *types) : types_(types) {}

  void read_definitions(const Part &object, const std::string &outer) {
    for (const Entry &entry : object.members()) {
      if (!is_comment(entry) && entry.value.is(Shape::kObject)) {
        read_definition(entry, joined(outer, entry.name));
      }
    }
  }

  std::vector<Declaration> take() { return std::move(declarations_); }

 private:
  void read_definition(const Entry &entry, const std::string &words) {
    Declaration declaration{Kind::kWord, cli_engine::kByCommand,
                            entry.key,   quoted(words),
                            "",          members_of(entry.value, cli_engine::kMembers)};
    if (declaration["#prompt"]) {
      declaration.kind = Kind::kMode;
      declaration.reader = cli_engine::kByMode;
    } else if (declaration["#alias"].is(Shape::kString)) {
      declaration.kind = Kind::kAlias;
      declaration.reader = cli_engine::kByAlias;
    }
    const Part args = declaration["#args"];
    const Part commands = declaration["#commands"];
    declarations_.push_back(std::move(declaration));
    read_args(args, quoted(words), "");
    read_definitions(commands, words);
  }

  void read_args(const Part &array, const std::string &command, const std::string &outer) {
    for (const Part &argument : array.parts()) {
      if (argument.is(Shape::kObject)) {
        read_arg(argument, command, outer);
      }
    }
  }

  void read_arg(const Part &object, const std::string &command, const std::string &outer) {
    Declaration declaration{Kind::kValue, 0, object, "", "", members_of(object, cli_engine::kMembers)};
    const std::string words = joined(outer, declaration["#name"].view());
    declaration.where = command + (words.empty() ? ", a group" : ", argument " + quoted(words));
    declaration.type = declaration["#type"].string();
    if (declaration.type == cli_engine::kKeyType) {
      declaration.kind = Kind::kKey;
      declaration.reader = cli_engine::kByKey;
    } else if (declaration.type == cli_engine::kGroupType) {
      declaration.kind = Kind::kGroup;
      declaration.reader = cli_engine::kByGroup;
    } else {
      declaration.reader = reader_of(declaration.type);
    }
    const Part args = declaration["#args"];
    declarations_.push_back(std::move(declaration));
    read_args(args, command, words);
  }

  // By the base type of a registered type; any reader for what is none.
  unsigned reader_of(const std::string &type) {
    const auto [known, is_new] = readers_.try_emplace(type, ~0U);
    if (is_new) {
      const cli_engine::JsonRef declaration(json_pack("{ss#}", "#type", type.data(), type.size()));
      validator opened;
      if (validator_open(types_, &opened, declaration.get()) == 0) {
        known->second =
            validator_get_basetype(&opened) == BASETYPE_STRING ? cli_engine::kByText : cli_engine::kByNumber;
        validator_close(&opened);
      }
    }
    return known->second;
  }

  validator_typesystem *types_;
  std::map<std::string, unsigned> readers_;
  std::vector<Declaration> declarations_;
};

}  // namespace

Part Declaration::operator[](std::string_view name) const {
  const auto member = std::find_if(members.begin(), members.end(), [&](const Member &m) { return m.name == name; });
  return member == members.end() ? Part() : member->value;
}

std::vector<Declaration> declarations_of(const Text &definitions, validator_typesystem *types) {
  Reader reader(types);
  reader.read_definitions(definitions.root(), "");
  return reader.take();
}

std::vector<Declaration> entries_of(const Text &privileges) {
  std::vector<Declaration> entries;
  for (const Entry &entry : privileges.root().members()) {
    const bool is_counted = !entry.name.empty() && entry.name.size() <= cli_engine::kLongestPrivilegeKey &&
                            entry.name.find_first_not_of("0123456789") == std::string::npos;
    entries.push_back({is_counted ? Kind::kEntry : Kind::kOtherEntry, ~0U, entry.key, quoted(entry.name), "",
                       members_of(entry.value, cli_engine::kPrivilegeMembers)});
  }
  return entries;
}

namespace rules {

namespace {

// ---- Members that the language does not have ----

// The known member whose name was misspelt or broken off, or null.
const MemberRow *resembled(std::string_view name, std::span<const MemberRow> known, unsigned reader) {
  const auto bare = [](std::string_view text) { return text.starts_with('#') ? text.substr(1) : text; };
  const auto meant = std::find_if(known.begin(), known.end(), [&](const MemberRow &row) {
    return libglobal::resembles(bare(name), bare(row.name)) ||
           (name.starts_with('#') && name.size() > 3 && row.name.starts_with(name) && (row.readers & reader) != 0);
  });
  return meant == known.end() ? nullptr : &*meant;
}

// The host may have members of its own where `is_open`; those with a "#" are the engine's.
void look_at_unknown(const Scope &scope, const std::string &where, const Member &member,
                     std::span<const MemberRow> known, bool is_open, unsigned reader = ~0U) {
  const MemberRow *meant = resembled(member.name, known, reader);
  if (meant != nullptr) {
    scope.add(member.key, where,
              "nothing reads " + quoted(member.name) + "; did you mean " + quoted(meant->name) + "?");
  } else if (member.name.starts_with('#') || !(is_open || member.name.starts_with(cli_engine::kCommentMark))) {
    scope.add(member.key, where, "nothing reads " + quoted(member.name));
  }
}

void look_at_unknown(const Scope &scope, const std::string &where, const Part &object, std::span<const MemberRow> known,
                     bool is_open) {
  for (const Member &member : members_of(object, known)) {
    if (member.row == nullptr) {
      look_at_unknown(scope, where, member, known, is_open);
    }
  }
}

// The parts of a declaration that are objects with members of their own, each with those that it may have.
template <class Visit>
void visit_inner(const Declaration &declaration, const Visit &visit) {
  if (declaration.kind == Kind::kMode) {
    for (const Part &variant : declaration["#prompt"].parts()) {
      visit(variant, std::span<const MemberRow>(cli_engine::kVariantMembers));
    }
  }
  if (declaration.kind != Kind::kGroup) {
    visit(declaration["#help"], std::span<const MemberRow>(cli_engine::kTemplateMembers));
  }
}

// Members of "args" that no field of the template shows.
void look_at_replacements(const Scope &scope, const Declaration &declaration, const Part &help) {
  const Part fmt = help.find("fmt");
  if (!fmt.is(Shape::kString)) {
    return;
  }
  const std::string text = fmt.string();
  for (const Entry &entry : help.find("args").members()) {
    if (text.find("{" + entry.name + "}") == std::string::npos) {
      scope.add(entry.key, declaration.where, "no field of the template shows " + quoted(entry.name));
    }
  }
}

bool looks_like_definition(const Part &value) {
  constexpr const char *kTelling[] = {"#help", "#handler", "#prompt", "#alias", "#commands"};
  return !value.find("#type") && std::any_of(std::begin(kTelling), std::end(kTelling),
                                             [&](const char *name) { return bool(value.find(name)); });
}

bool looks_like_argument(const Part &value) {
  return bool((value.is(Shape::kArray) && !value.parts().empty() ? value.parts()[0] : value).find("#type"));
}

// ---- Members that are known, but not there ----

std::string reader_in_words(const Declaration &declaration) {
  static constexpr std::string_view kNames[] = {"a word that enters a mode", "an alias", "a command", "a keyword",
                                                "a group"};
  return declaration.kind == Kind::kValue ? "a value of the type " + quoted(declaration.type)
                                          : std::string(kNames[static_cast<std::size_t>(declaration.kind)]);
}

bool is_facet(const MemberRow &row) {
  return row.read_as == ReadAs::kInteger || row.name == "#enum";
}

bool is_read(const Declaration &declaration, const Member &member) {
  return (member.row->readers & declaration.reader) != 0 || declaration.kind >= Kind::kEntry;
}

bool lacks_bound(const Declaration &declaration, const Member &member) {
  return (member.name == "#width" || member.name == "#base") && !declaration["#min_inclusive"] &&
         !declaration["#max_inclusive"];
}

bool has_shape(const Part &value, ReadAs read_as) {
  switch (read_as) {
    case ReadAs::kAny:
      return true;
    case ReadAs::kText:
      return value.is(Shape::kString);
    case ReadAs::kBoolean:
      return value.is(Shape::kTrue) || value.is(Shape::kFalse);
    case ReadAs::kInteger:
      return value.is(Shape::kInteger);
    case ReadAs::kArray:
      return value.is(Shape::kArray);
    case ReadAs::kObject:
      return value.is(Shape::kObject);
  }
  return true;
}

std::string_view counts_as(ReadAs read_as) {
  return read_as == ReadAs::kBoolean ? "false" : read_as == ReadAs::kInteger ? "0" : "absent";
}

void look_at_shape(const Scope &scope, const Declaration &declaration, const Member &member) {
  if (!has_shape(member.value, member.row->read_as)) {
    scope.add(member.value, declaration.where,
              quoted(member.name) + " counts as " + std::string(counts_as(member.row->read_as)) + ": it is " +
                  std::string(cli_engine::in_words(member.value.shape())) +
                  (member.row->read_as == ReadAs::kArray ? ", where an array is due" : ""));
  }
}

// Of these the engine keeps 32 bits.
void look_at_half(const Scope &scope, const Declaration &declaration, const Member &member) {
  const bool is_cut =
      member.name == "#width" || member.name == "#base" || member.name == "#min_length" || member.name == "#max_length";
  const json_int_t written = is_cut ? member.value.integer() : 0;
  const auto kept = static_cast<uint32_t>(written);
  if (written != kept) {
    scope.add(member.value, declaration.where,
              quoted(member.name) + " counts as " + std::to_string(kept) + ": it does not fit 32 bits");
  }
}

}  // namespace

void unread_member(const Scope &scope, const Declaration &declaration) {
  if (declaration.kind == Kind::kOtherEntry) {
    return;
  }
  for (const Member &member : declaration.members) {
    if (member.row == nullptr) {
      look_at_unknown(scope, declaration.where, member,
                      declaration.kind == Kind::kEntry ? std::span<const MemberRow>(cli_engine::kPrivilegeMembers)
                                                       : std::span<const MemberRow>(cli_engine::kMembers),
                      true, declaration.reader);
    }
  }
  visit_inner(declaration, [&](const Part &object, std::span<const MemberRow> known) {
    look_at_unknown(scope, declaration.where, object, known, known.data() != cli_engine::kVariantMembers);
  });
  if (declaration.kind < Kind::kEntry) {
    look_at_replacements(scope, declaration, declaration["#help"]);
  }
}

// Blanks that a path passes over count when a privilege entry is looked up.
void blank_in_key(const Scope &scope, const Declaration &declaration) {
  const std::string_view key = declaration.place.view();
  if (declaration.kind <= Kind::kWord && key != joined("", key)) {
    scope.add(declaration.place, declaration.where,
              "the key has a blank at an end or two in a row; entries of a privilege table must have them too");
  }
}

void misplaced_definition(const Scope &scope, const Declaration &declaration) {
  if (declaration.kind >= Kind::kValue) {
    return;
  }
  for (const Member &member : declaration.members) {
    if (member.row != nullptr || member.name.starts_with(cli_engine::kCommentMark)) {
      continue;
    }
    if (looks_like_argument(member.value)) {
      scope.add(member.key, declaration.where,
                quoted(member.name) + " looks like an argument and is not read: it belongs into \"#args\"");
    } else if (declaration.kind <= Kind::kWord && looks_like_definition(member.value)) {
      scope.add(member.key, declaration.where,
                quoted(member.name) + " looks like a word that follows and is not read: it belongs into \"#commands\"");
    }
  }
}

void ignored_member(const Scope &scope, const Declaration &declaration) {
  for (const Member &member : declaration.members) {
    if (member.row == nullptr) {
      continue;
    }
    if (!is_read(declaration, member) && !(declaration.kind == Kind::kValue && is_facet(*member.row))) {
      scope.add(member.key, declaration.where,
                quoted(member.name) + " is not read for " + reader_in_words(declaration));
    } else if (declaration.kind == Kind::kGroup && member.name == "#exclusive" &&
               declaration["#sequential"].is_true()) {
      scope.add(member.key, declaration.where, "\"#exclusive\" is not read when \"#sequential\" is true");
    }
  }
}

void ignored_facet(const Scope &scope, const Declaration &declaration) {
  if (declaration.kind != Kind::kValue) {
    return;
  }
  for (const Member &member : declaration.members) {
    if (member.row == nullptr || !is_facet(*member.row)) {
      continue;
    }
    if (!is_read(declaration, member)) {
      scope.add(member.key, declaration.where,
                quoted(member.name) + " is not read for " + reader_in_words(declaration));
    } else if (lacks_bound(declaration, member)) {
      scope.add(member.key, declaration.where,
                quoted(member.name) + " is not read without \"#min_inclusive\" or \"#max_inclusive\"");
    }
  }
}

void ignored_value(const Scope &scope, const Declaration &declaration) {
  if (declaration.kind == Kind::kOtherEntry) {
    return;
  }
  for (const Member &member : declaration.members) {
    if (member.row != nullptr && is_read(declaration, member) && !lacks_bound(declaration, member)) {
      look_at_shape(scope, declaration, member);
      look_at_half(scope, declaration, member);
    }
  }
  visit_inner(declaration, [&](const Part &object, std::span<const MemberRow> known) {
    for (const Member &member : members_of(object, known)) {
      if (member.row != nullptr) {
        look_at_shape(scope, declaration, member);
      }
    }
  });
}

void impossible_facet(const Scope &scope, const Declaration &declaration) {
  constexpr std::pair<std::string_view, json_int_t> kLongestTexts[] = {
      {"IPv6Address", 46}, {"time", 8}, {"MACAddress", 17}};
  if (declaration.kind != Kind::kValue) {
    return;
  }
  for (const char *list : {"#multi", "#range"}) {
    if (declaration[list].is_true() && declaration.reader == cli_engine::kByNumber) {
      scope.add(declaration[list], declaration.where,
                quoted(list) + " of a number: each value takes one number, a list never matches");
    }
  }
  if (const Part longest = declaration["#max_length"];
      declaration.reader == cli_engine::kByText && longest.is(Shape::kInteger) && longest.integer() == 0) {
    scope.add(longest, declaration.where, "with a \"#max_length\" of 0 no text that is not empty matches");
  }
  const auto row = std::find_if(std::begin(kLongestTexts), std::end(kLongestTexts),
                                [&](const auto &known) { return known.first == declaration.type; });
  const Part shortest = declaration["#min_length"];
  if (row != std::end(kLongestTexts) && shortest.integer() > row->second) {
    scope.add(shortest, declaration.where,
              "no text of the type " + quoted(declaration.type) + " is so long: it has at most " +
                  std::to_string(row->second) + " bytes");
  }
}

// ---- Help ----

void help_text(const Scope &scope, const cli_node &node) {
  constexpr std::size_t kLongestHelp = 80;  // bytes, as the engine counts widths
  if (node.help == nullptr || node.type == TYPE_ALIAS || is_builtin(node)) {
    return;
  }
  const std::string_view text = node.help;
  const auto complain = [&](std::string complaint) {
    scope.add(scope.declaration(node).at("#help"), in_words(node), std::move(complaint));
  };
  if (text.find_first_not_of(' ') == std::string_view::npos) {
    complain("the help text is empty");
  } else if (std::any_of(text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; })) {
    complain("the help text holds a line break or another control character");
  } else if (text.size() > kLongestHelp) {
    complain("the help text has " + std::to_string(text.size()) + " bytes, more than the " +
             std::to_string(kLongestHelp) + " of a line");
  } else if (const std::size_t open = text.find('{'); open != std::string_view::npos) {
    const std::size_t close =
        text.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_-0123456789", open + 1);
    if (close != std::string_view::npos && close > open + 1 && text[close] == '}' &&
        scope.declaration(node).find("#help").is(Shape::kString)) {
      complain("a plain help text shows " + quoted(text.substr(open, close - open + 1)) +
               " as it stands: fields need a template with \"fmt\" and \"args\"");
    }
  }
}

// ---- Handlers ----

void handler_name(const Scope &scope, const Declaration &declaration) {
  const Part handler = declaration["#handler"];
  if (declaration.kind > Kind::kWord || !handler.is(Shape::kString)) {
    return;
  }
  const std::string_view name = handler.view();
  constexpr std::string_view kDigits = "0123456789";
  const auto letters = [&](char c) {
    return c == '_' || (libglobal::small_letter(c) >= 'a' && libglobal::small_letter(c) <= 'z');
  };
  if (name.empty() || kDigits.find(name[0]) != std::string_view::npos ||
      !std::all_of(name.begin(), name.end(),
                   [&](char c) { return letters(c) || kDigits.find(c) != std::string_view::npos; })) {
    scope.add(handler, declaration.where, "no function can be named " + quoted(name));
  }
}

void foreign_handler(const Scope &scope, const Declaration &declaration) {
  const Part handler = declaration["#handler"];
  if (declaration.kind <= Kind::kWord && scope.engine != nullptr && handler.is(Shape::kString) && scope.is_foreign &&
      scope.is_foreign(handler.text())) {
    scope.add(handler, declaration.where,
              "the handler " + quoted(handler.view()) +
                  " is no function of a handlers library, but something else of that name");
  }
}

void unused_handler(const Scope &scope) {
  if (scope.definitions == nullptr || scope.exported_handlers.empty()) {
    return;
  }
  std::set<std::string> named;
  for (const Declaration &declaration : scope.declarations) {
    named.insert(declaration["#handler"].string());
  }
  for (const std::string &handler : scope.exported_handlers) {
    if (!named.contains(handler)) {
      scope.add(scope.definitions->root(), "",
                "no definition names the handler " + quoted(handler) + " of a handlers library");
    }
  }
}

}  // namespace rules
}  // namespace cli_check
