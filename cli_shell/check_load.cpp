#include "cli_shell/check_load.hpp"

#include <algorithm>
#include <string>
#include <unordered_map>

#include "cli_shell/check_match.hpp"
#include "cli_shell/check_values.hpp"

namespace cli_check {

namespace {

constexpr std::size_t kLongestKey = 4095;
constexpr int32_t kHighestPrivilege = 15;

struct TypeRow {
  std::string_view name;
  BaseType basetype;
};
constexpr TypeRow kTypes[] = {
    {"string", BaseType::kText},       {"IPv4Address", BaseType::kText},
    {"IPv4Prefix", BaseType::kText},   {"IPv4Extended", BaseType::kText},
    {"IPv6Address", BaseType::kText},  {"IPv6Prefix", BaseType::kText},
    {"IPv6Extended", BaseType::kText}, {"IPAddress", BaseType::kText},
    {"int", BaseType::kInt},           {"unsignedInt", BaseType::kUnsigned},
    {"time", BaseType::kText},         {"MACAddress", BaseType::kText},
    {"FQDN", BaseType::kText},
};

bool is_true(const JsonValue *value) {
  return value != nullptr && value->is(JsonKind::kTrue);
}

std::string_view text_of(const JsonValue *value) {
  return value == nullptr ? "" : value->text();
}

bool is_text(const JsonValue *value) {
  return value != nullptr && value->is_string();
}

// ---- The privilege table ----

bool is_counted(std::string_view key) {
  return !key.empty() && key.size() <= 20 && key.find_first_not_of("0123456789") == std::string_view::npos;
}

std::string privilege_key(std::string_view prompt, std::string_view name) {
  std::string key(prompt);
  key += '\0';  // in no text of a document
  key += name;
  return key;
}

class Privileges {
 public:
  Privileges(Language &language, Findings &findings) : language_(language), findings_(findings) {}

  void read(const JsonValue &table) {
    for (const JsonMember &member : table.members()) {
      if (is_counted(member.name)) {
        add(member);
      }
    }
  }

  // The entry of that name and prompt, or null.
  PrivilegeEntry *find(std::string_view prompt, std::string_view name) {
    if (index_.empty()) {
      return nullptr;
    }
    const auto found = index_.find(privilege_key(prompt, name));
    return found == index_.end() ? nullptr : &language_.entries[found->second];
  }

 private:
  void add(const JsonMember &member) {
    const Reporter reporter{findings_, *language_.privileges, nullptr, member.name};
    bool complete = true;
    for (const char *field : {"Name", "Prompt"}) {
      const JsonValue *value = member.value.find(field);
      if (!is_text(value)) {
        complete = false;
        reporter.add(Rule::kPrivilegeEntry, value == nullptr ? member.value : *value,
                     "a privilege entry needs a " + quoted(field) + " that is a string");
      }
    }
    if (!complete) {
      return;
    }
    const JsonValue *level = member.value.find("Level");
    const std::string_view name = text_of(member.value.find("Name"));
    const std::string_view prompt = text_of(member.value.find("Prompt"));
    const bool is_first = index_.emplace(privilege_key(prompt, name), language_.entries.size()).second;
    language_.entries.push_back(
        {&member, name, prompt, level == nullptr ? 0 : static_cast<int32_t>(level->integer()), !is_first, false});
  }

  Language &language_;
  Findings &findings_;
  std::unordered_map<std::string, std::size_t> index_;
};

// ---- The definitions ----

class Loader {
 public:
  Loader(const Host &host, Language &language, Findings &findings)
      : host_(host), language_(language), findings_(findings), privileges_(language, findings) {}

  void read_privileges(const JsonValue &table) { privileges_.read(table); }

  // Every definition of an object, below the node.
  void read_definitions(const JsonValue &object, Node &current) {
    for (const JsonMember &member : object.members()) {
      if (!member.repeated) {
        read_definition(member, current);
      }
    }
  }

 private:
  [[nodiscard]] Reporter about(const Node &node) { return {findings_, *language_.definitions, &node}; }

  Node &new_node(Node *parent, NodeKind kind, std::string_view name, uint32_t offset, const JsonValue *definition) {
    Node &node = language_.nodes.emplace_back();
    node.parent = parent;
    node.kind = kind;
    node.name = name;
    node.offset = offset;
    node.definition = definition;
    return node;
  }

  static void list_word(Node &parent, Node &word) {
    word.is_listed = parent.takes_words() && parent.words.emplace(word.name, &word).second;
  }

  void read_definition(const JsonMember &member, Node &current) {
    const std::size_t last_blank = member.name.rfind(' ');
    const bool has_path = last_blank != std::string_view::npos;
    const std::string_view name = has_path ? member.name.substr(last_blank + 1) : member.name;
    Node *parent = has_path ? find_path(member, member.name.substr(0, last_blank), current) : &current;
    const bool has_place = parent != nullptr;
    if (!has_place) {
      parent = &current;  // what is in the definition can be looked at all the same
    }

    const JsonValue *prompt = member.value.find("#prompt");
    Node &node = new_node(parent, kind_of(member.value), name, member.offset, &member.value);
    const Reporter reporter = about(node);
    check_key(member, reporter);
    read_help(node, reporter);
    node.mode_prompt = prompt == nullptr ? parent->mode_prompt : check_prompt(*prompt, reporter);
    if (has_place) {
      read_privilege(node, member, current, prompt != nullptr);
    }
    check_handler(member.value, reporter);
    read_command_args(node, reporter);
    if (has_place) {
      list_word(*parent, node);
    } else {
      node.is_listed = false;
    }
    read_commands(node, reporter);
    if (node.kind == NodeKind::kMode) {
      add_builtins(node);
    }
  }

  // The node that the words of a path lead to, or null after a complaint.
  Node *find_path(const JsonMember &member, std::string_view path, Node &current) {
    Node *at = &current;
    for (std::string_view word = first_word(path); !word.empty(); word = first_word(path)) {
      const auto found = at->words.find(word);
      if (found == at->words.end()) {
        const std::string below = at->parent == nullptr ? "" : " below " + in_words(*at);
        complain_about_path(member, "the word " + quoted(word) + " is not declared before this definition" + below);
        return nullptr;
      }
      at = found->second;
      if (!at->takes_words()) {
        complain_about_path(member, "the path leads through the alias " + quoted(at->name));
        return nullptr;
      }
    }
    return at;
  }

  // Takes the first word off a path; empty at its end.
  static std::string_view first_word(std::string_view &path) {
    path.remove_prefix(std::min(path.find_first_not_of(' '), path.size()));
    const std::string_view word = path.substr(0, path.find(' '));
    path.remove_prefix(word.size());
    return word;
  }

  void complain_about_path(const JsonMember &member, std::string text) {
    findings_.add(Rule::kUnknownPath, *language_.definitions, member.offset, quoted(member.name), std::move(text));
  }

  static NodeKind kind_of(const JsonValue &definition) {
    if (definition.find("#prompt") != nullptr) {
      return NodeKind::kMode;
    }
    if (is_text(definition.find("#alias"))) {
      return NodeKind::kAlias;
    }
    return is_text(definition.find("#handler")) ? NodeKind::kCommand : NodeKind::kWord;
  }

  static void check_key(const JsonMember &member, const Reporter &reporter) {
    if (member.name.empty() || member.name.size() > kLongestKey) {
      reporter.add(Rule::kKeyLength, member.offset,
                   "the key has " + std::to_string(member.name.size()) + " bytes; 1 to 4095 are allowed");
    }
    if (!member.value.is_object()) {
      reporter.add(Rule::kNotADefinition, member.value,
                   "a definition is an object, not " + std::string(kind_in_words(member.value)));
    }
  }

  void read_help(Node &node, const Reporter &reporter) {
    const JsonValue *help = node.member("#help");
    if (help != nullptr) {
      check_help(*help, reporter);
    } else if (node.kind != NodeKind::kAlias && node.kind != NodeKind::kGroup && node.definition->is_object()) {
      reporter.add(Rule::kMissingHelp, node.offset, "\"#help\" is missing");
    }
  }

  void check_handler(const JsonValue &definition, const Reporter &reporter) {
    const JsonValue *handler = definition.find("#handler");
    if (!host_.has_handler || !is_text(handler)) {
      return;
    }
    const std::string name(handler->text());
    if (!host_.has_handler(name.c_str())) {
      reporter.add(Rule::kUnknownHandler, *handler, "no handlers library exports the handler " + quoted(name));
    } else if (host_.is_foreign && host_.is_foreign(name.c_str())) {
      reporter.add(
          Rule::kForeignHandler, *handler,
          "the handler " + quoted(name) + " is no function of a handlers library, but something else of that name");
    }
  }

  // The words before a key's own ones in the privilege table: those of `current` and what encloses it in its mode.
  static std::string outer_words(const Node &current) {
    if (current.kind == NodeKind::kMode) {
      return "";
    }
    return outer_words(*current.parent) + std::string(current.name) + " ";
  }

  void read_privilege(Node &node, const JsonMember &member, const Node &current, bool is_mode) {
    const Node &parent = *node.parent;
    std::string_view prompt = parent.mode_prompt;
    if (current.kind == NodeKind::kMode && current.parent != nullptr) {
      prompt = current.mode_prompt;
    } else if (is_mode && parent.parent != nullptr && !parent.is_builtin) {
      prompt = node.mode_prompt;
    }
    PrivilegeEntry *entry = nullptr;
    if (!language_.entries.empty()) {
      language_.lookups.push_back({&node, outer_words(current) + std::string(member.name), prompt});
      entry = privileges_.find(prompt, language_.lookups.back().name);
    }
    if (entry != nullptr) {
      entry->is_matched = true;
    }
    const bool has_level = entry != nullptr && entry->level >= 1;
    if (has_level && entry->level > kHighestPrivilege) {
      findings_.add(Rule::kPrivilegeLevel, *language_.privileges, entry->member->value.find("Level")->offset,
                    in_words(node), "the level is " + std::to_string(entry->level) + "; 0 to 15 are allowed");
      return;
    }
    const int32_t privilege = has_level ? entry->level : parent.privilege;
    if (node.kind != NodeKind::kAlias) {
      node.privilege = privilege;
      node.level_entry = has_level ? entry->member : nullptr;
    }
  }

  void read_commands(Node &node, const Reporter &reporter) {
    const JsonValue *commands = node.member("#commands");
    if (commands == nullptr || commands->members().empty()) {
      return;
    }
    if (node.kind == NodeKind::kAlias) {
      reporter.add(Rule::kAliasCommands, *commands, "an alias cannot have \"#commands\"");
      return;
    }
    read_definitions(*commands, node);
  }

  void add_builtins(Node &mode) {
    for (const auto &[name, kind] : {std::pair("do", NodeKind::kWord), std::pair("end", NodeKind::kCommand),
                                     std::pair("exit", NodeKind::kCommand)}) {
      if (mode.words.find(name) == mode.words.end()) {
        Node &builtin = new_node(&mode, kind, name, mode.offset, nullptr);
        builtin.is_builtin = true;
        list_word(mode, builtin);
      }
    }
  }

  // ---- Arguments ----

  void read_command_args(Node &node, const Reporter &reporter) {
    const JsonValue *args = node.member("#args");
    if (args == nullptr) {
      return;
    }
    if (node.kind == NodeKind::kAlias) {
      reporter.add(Rule::kAliasArguments, *args, "an alias cannot have \"#args\"");
      return;
    }
    read_args(node, *args);
    group_args(node);
  }

  // Several arguments of a command are given in their order: they become the members of one group.
  void group_args(Node &node) {
    if (node.args.size() < 2) {
      return;
    }
    Node &group = new_node(&node, NodeKind::kGroup, "", node.offset, nullptr);
    group.args.swap(node.args);
    for (Node *arg : group.args) {
      arg->parent = &group;
    }
    node.args.push_back(&group);
  }

  void read_args(Node &parent, const JsonValue &declarations) {
    for (const JsonValue &declaration : declarations.items()) {
      Node &arg = read_arg(parent, declaration);
      check_place(parent, arg);
      parent.args.push_back(&arg);
      if (const JsonValue *inner = arg.member("#args"); inner != nullptr) {
        read_args(arg, *inner);
      }
    }
  }

  void check_place(const Node &parent, const Node &arg) {
    const bool has_one = !parent.args.empty();
    if (parent.kind == NodeKind::kValue) {
      about(parent).add(Rule::kValueArguments, arg.offset, "a value cannot have \"#args\"");
    } else if (has_one && parent.kind == NodeKind::kMode) {
      about(parent).add(Rule::kSecondArgument, arg.offset,
                        "a command that enters a mode takes one argument; put several into a \"container\"");
    } else if (has_one && parent.kind == NodeKind::kKey) {
      about(parent).add(Rule::kSecondArgument, arg.offset,
                        "a keyword takes one argument; put several into a \"container\"");
    }
  }

  Node &read_arg(Node &parent, const JsonValue &declaration) {
    const JsonValue *name = declaration.find("#name");
    const JsonValue *type = declaration.find("#type");
    Node &arg = new_node(&parent, argument_kind(text_of(type)), text_of(name), declaration.offset, &declaration);
    arg.is_required = !is_true(declaration.find("#optional"));
    const Reporter reporter = about(arg);
    if (arg.kind == NodeKind::kGroup) {
      arg.mode = group_mode(declaration);
      if (const JsonValue *help = declaration.find("#help"); help != nullptr) {
        check_help(*help, reporter);
      }
      return arg;
    }
    if (!declaration.is_object()) {
      arg.is_sound = false;
      reporter.add(Rule::kUnknownType, declaration,
                   "an argument is declared by an object, not " + std::string(kind_in_words(declaration)));
      return arg;
    }
    if (!is_text(name)) {
      reporter.add(Rule::kMissingName, name == nullptr ? declaration : *name,
                   "an argument needs a \"#name\" that is a string");
    }
    read_help(arg, reporter);
    if (arg.kind == NodeKind::kValue) {
      read_type(arg, type, reporter);
    }
    return arg;
  }

  static NodeKind argument_kind(std::string_view type) {
    if (type == "key") {
      return NodeKind::kKey;
    }
    return type == "container" ? NodeKind::kGroup : NodeKind::kValue;
  }

  static GroupMode group_mode(const JsonValue &declaration) {
    if (is_true(declaration.find("#sequential"))) {
      return GroupMode::kSequential;
    }
    return is_true(declaration.find("#exclusive")) ? GroupMode::kExclusive : GroupMode::kSelective;
  }

  void read_type(Node &arg, const JsonValue *type, const Reporter &reporter) {
    if (!is_text(type)) {
      arg.is_sound = false;
      reporter.add(Rule::kUnknownType, type == nullptr ? *arg.definition : *type,
                   "an argument needs a \"#type\" that is a string");
      return;
    }
    const std::optional<BaseType> basetype = find_type(type->text());
    if (!basetype) {
      arg.is_sound = false;
      reporter.add(Rule::kUnknownType, *type, "there is no type " + quoted(type->text()) + similar_type(type->text()));
      return;
    }
    arg.basetype = *basetype;
    arg.is_sound = check_facets(*arg.definition, *basetype, reporter);
  }

  std::optional<BaseType> find_type(std::string_view name) {
    for (const TypeRow &row : kTypes) {
      if (row.name == name) {
        return row.basetype;
      }
    }
    return host_.types == nullptr ? std::nullopt : base_type(host_.types, name);
  }

  static std::string similar_type(std::string_view name) {
    for (const TypeRow &row : kTypes) {
      if (same_letters(row.name, name)) {
        return "; did you mean " + quoted(row.name) + "?";
      }
    }
    return "; those of a host are known with --handlers";
  }

  const Host &host_;
  Language &language_;
  Findings &findings_;
  Privileges privileges_;
};

// ---- Reading the texts ----

void find_repeated_members(const JsonDocument &document, const JsonValue &value, Findings &findings) {
  for (const JsonMember &member : value.members()) {
    if (member.repeated) {
      findings.add(Rule::kRepeatedMember, document, member.offset, "",
                   "an earlier member of this object is named " + quoted(member.name));
    }
    find_repeated_members(document, member.value, findings);
  }
  for (const JsonValue &item : value.items()) {
    find_repeated_members(document, item, findings);
  }
}

bool read_object(JsonDocument &document, Findings &findings) {
  JsonFault fault;
  if (!read_json(document, fault)) {
    findings.add(Rule::kJson, document, fault.offset, "", std::move(fault.text));
    return false;
  }
  find_repeated_members(document, document.root, findings);
  if (!document.root.is_object()) {
    findings.add(Rule::kNotAnObject, document, document.root.offset, "", "the document is an array, not an object");
  }
  return document.root.is_object();
}

}  // namespace

void load_language(JsonDocument &definitions, JsonDocument *privileges, const Host &host, Language &language,
                   Findings &findings) {
  language.definitions = &definitions;
  language.privileges = privileges;
  Loader loader(host, language, findings);
  const bool has_definitions = read_object(definitions, findings);
  if (privileges != nullptr && read_object(*privileges, findings)) {
    loader.read_privileges(privileges->root);
  }
  if (has_definitions) {
    loader.read_definitions(definitions.root, language.root);
  }
}

}  // namespace cli_check
