// Documents -> tree, in one pass over the definitions. A fault ends the process, or, when Faults are collected, is
// reported and reading goes on with what can be understood.
#include "cli_engine/loader.hpp"

#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "cli_engine/condition.hpp"
#include "cli_engine/declaration.hpp"
#include "cli_engine/handler_table.hpp"
#include "cli_engine/help_template.hpp"
#include "cli_engine/json_ref.hpp"
#include "cli_engine/node.hpp"
#include "cli_engine/privilege_index.hpp"
#include "cli_engine/prompt.hpp"
#include "cli_engine/text_document.hpp"
#include "cli_engine/validator.hpp"
#include "libglobal/dyn_string.hpp"
#include "libglobal/report.hpp"

namespace cli_engine {
namespace {

constexpr const char *kSource = kLoaderSource;
constexpr const char *kImport = "import_subconfig";

constexpr const char *kDoHelp = "To run exec commands in config mode";
constexpr const char *kEndHelp = "Exit from configure mode";
constexpr const char *kExitHelp = "Exit from configure mode";
constexpr const char *kExitVariantHelp = "Exit from %s configure mode";

// The document cannot be used: says why and ends the process.
[[noreturn]] CLI_PRINTF(1, 2) void refuse(const char *format, ...) {
  va_list args;
  va_start(args, format);
  std::vprintf(format, args);
  va_end(args);
  std::exit(1);
}

// The text of a "#help": a string as it stands, a template expanded.
class Help {
 public:
  Help(const Value &help, const Reporter *reporter)
      : text_(help.text()), expanded_(text_ == nullptr ? get_help(help, reporter) : nullptr) {
    if (expanded_ != nullptr) {
      text_ = dyn_string_text(expanded_.get());
    }
  }
  [[nodiscard]] const char *text() const { return text_; }

 private:
  const char *text_;
  libglobal::DynStringOwner expanded_;
};

int32_t repeat_of(const Declaration &declaration) {
  return (declaration[MemberId::kMulti].is_true() ? REPEAT_MULTI : 0) |
         (declaration[MemberId::kRange].is_true() ? REPEAT_RANGE : 0);
}

int32_t mode_of(const Declaration &declaration) {
  if (declaration[MemberId::kSequential].is_true()) {
    return CONTAINER_SEQUENTIAL;
  }
  return declaration[MemberId::kExclusive].is_true() ? CONTAINER_EXCLUSIVE : CONTAINER_SELECTIVE;
}

node_type type_of(const Declaration &definition) {
  if (definition[MemberId::kPrompt].is_given()) {
    return TYPE_SUBCONFIG;
  }
  if (definition[MemberId::kAlias].is(Shape::kString)) {
    return TYPE_ALIAS;
  }
  return definition[MemberId::kHandler].is(Shape::kString) ? TYPE_COMMAND : TYPE_WORD;
}

bool declares_something(const Value &value) {
  bool declares = false;
  value.for_each_member([&](const Member &member) { declares = declares || member.name[0] == '#'; });
  return declares;
}

// A name that marks a comment; an object that has members of a definition is one all the same.
bool is_comment(const Member &member) {
  return (member.name[0] == '/' || member.name[0] == '$') &&
         (kSchemaComment == member.name || std::string_view{member.name}.starts_with(kCommentMark)) &&
         !declares_something(member.value);
}

// What the words of a key before its last one are, and the last one.
struct KeyParts {
  std::string_view path;
  const char *name;
};

KeyParts split_key(const char *key) {
  const char *space = std::strrchr(key, ' ');
  if (space == nullptr) {
    return {{}, key};
  }
  return {{key, static_cast<std::size_t>(space - key)}, space + 1};
}

// The names that stand before a key's own words when its privilege is looked up: those of the node whose "#commands"
// are read and of what encloses it in the same mode. Outer names are kept while inner definitions are read.
class OuterNames {
 public:
  struct Mark {
    std::size_t start;
    std::size_t end;
    std::uint64_t hash;
  };

  explicit OuterNames(bool wanted) : wanted_(wanted), text_(dyn_string_new()) { dyn_string_append(text_.get(), ""); }

  // Goes down from one node into another below it; the result takes it back.
  Mark descend(const cli_node *from, const cli_node *to) {
    const Mark before = now_;
    if (wanted_) {
      append(from, to);
    }
    return before;
  }

  void ascend(const Mark &before) {
    now_ = before;
    text_->len = before.end;
  }

  [[nodiscard]] std::string_view text() const {
    return libglobal::view(*text_).substr(now_.start, now_.end - now_.start);
  }
  [[nodiscard]] std::uint64_t hash() const { return now_.hash; }

 private:
  static bool ends_names(const cli_node &node) { return node.name == nullptr || is_declared_mode(node); }

  void start_anew() {
    now_.start = text_->len;
    now_.end = text_->len;
    now_.hash = kHashSeed;
  }

  void append(const cli_node *from, const cli_node *node) {
    if (ends_names(*node)) {
      start_anew();
      return;
    }
    if (node->parent != from) {
      append(from, node->parent);
    }
    const std::string_view name = name_of(*node);
    libglobal::append(*text_, name);
    libglobal::append(*text_, ' ');
    now_.end = text_->len;
    now_.hash = cli_engine::hash(cli_engine::hash(now_.hash, name), " ");
  }

  bool wanted_;
  libglobal::DynStringOwner text_;
  Mark now_{0, 0, kHashSeed};
};

class Loader {
 public:
  Loader(cli *engine, const LoadSource &source)
      : engine_(engine),
        types_(source.types),
        faults_(source.faults),
        is_from_text_(source.definitions.is_from_text()),
        handlers_(source.handlers, (source.flags & CLI_HANDLERS_ONLY) != 0),
        privileges_(source.privileges, source.faults),
        outer_(!privileges_.empty()) {}

  // Entries without a command; what is behind a fault would be among them.
  void report_unmatched_privileges() const {
    if (!ends_process() && faults_->errors() == 0) {
      privileges_.report_unmatched(faults_);
    }
  }

  // A member of the document or of "#commands", below engine->current.
  void import(const Member &member, const Frame *outer) {
    if (!is_comment(member)) [[likely]] {
      import_definition(member, outer);
    }
  }

 private:
  // Reports about one place; null where the first fault ends the process.
  class Place : public Reporter {
   public:
    Place(Faults *faults, const Frame &frame)
        : Reporter(faults, Source::kDefinitions, &frame), reporter_(faults == nullptr ? nullptr : this) {}
    operator const Reporter *() const { return reporter_; }

   private:
    const Reporter *reporter_;
  };

  [[nodiscard]] bool ends_process() const { return faults_ == nullptr; }

  [[nodiscard]] Origin origin_of(const Value &value, const TextItem *item) const {
    return is_from_text_ ? Origin{nullptr, true, item->offset} : Origin{value.json(), false, kNoOffset};
  }
  [[nodiscard]] Origin no_origin() const { return {nullptr, is_from_text_, kNoOffset}; }

  // ---- Definitions ----

  // What is left to read of a definition when its node is made. The frames of the recursion hold no more.
  struct Declared {
    cli_node *node;
    Value commands;
    Value prompt;       // nothing for one with faults, and for what is no mode
    bool is_reachable;  // false for a node that is read for its faults alone: no word of its parent
  };

  void import_definition(const Member &member, const Frame *outer) {
    const auto [path, name] = split_key(member.name);
    Frame frame{outer, member.name, 0, name, engine_->current};
    const Declared declared = declare(member, path, name, frame);
    if (declared.commands.has_members()) {
      import_commands(declared.node, declared.commands, frame);
    }
    if (declared.node->type == TYPE_SUBCONFIG) {
      add_builtins(declared.node, declared.prompt, frame);
    }
    if (!declared.is_reachable) {
      node_free(declared.node);
    }
  }

  [[gnu::noinline]] Declared declare(const Member &member, std::string_view path, const char *name, Frame &frame) {
    const Place place(faults_, frame);
    check_key(member, place);
    cli_node *parent = find_parent(path, member, frame);
    const bool has_place = parent != nullptr;
    if (!has_place) {
      parent = engine_->current;  // what is in the definition can be looked at all the same
    }
    frame.parent = parent;

    const Declaration definition(member.value);
    const node_type type = type_of(definition);
    const Help help(definition[MemberId::kHelp], place);
    const char *help_text = help.text();
    if (help_text == nullptr && type != TYPE_ALIAS && !ends_process()) {
      report_missing_help(member, place);
      help_text = "";
    }
    const Value &prompt = definition[MemberId::kPrompt];
    const JsonRef kept_prompt{prompt.to_json()};
    const char *mode_prompt = parent->mode_prompt == nullptr ? "" : parent->mode_prompt;
    if (prompt.is_given()) {
      mode_prompt = select_mode_prompt(prompt, kept_prompt.get(), name, place);
    }
    const bool has_sound_prompt = mode_prompt != nullptr;
    if (!has_sound_prompt && !ends_process()) {
      mode_prompt = "";
    }
    const int32_t privilege =
        has_place ? privilege_of(member.name, *parent, prompt.is_given(), mode_prompt, frame) : parent->privilege;
    const cli_handler handler = find_handler(member.name, definition[MemberId::kHandler], place);

    const bool is_alias = type == TYPE_ALIAS;
    libglobal::require(type != TYPE_SUBCONFIG || mode_prompt != nullptr, "new_prompt", kSource, kImport);
    cli_node *node = new_node(origin_of(member.value, member.name_item), name, is_alias ? "" : help_text, type);
    node->mode_prompt = mode_prompt;
    if (is_alias) {
      set_alias(*node, definition[MemberId::kAlias].text());
    } else {
      node->privilege = privilege;
    }
    if (type == TYPE_SUBCONFIG || type == TYPE_COMMAND) {
      node->subconfig.handler = handler;
      node->subconfig.prompt = json_incref(kept_prompt.get());
    }
    load_command_args(node, definition, place, frame);

    Value commands = definition[MemberId::kCommands];
    if (is_alias && commands.has_members() && !ends_process()) {
      place.add("alias-commands", commands, "an alias cannot have \"#commands\"");
      commands = {};
    }
    if (!has_place) {
      node->parent = parent;
    }
    const bool is_reachable = has_place && append_node_choice(parent, node);
    if (has_place && !is_reachable && !ends_process()) {
      report_hidden(*node, member, frame);
    }
    return {node, commands, has_sound_prompt ? prompt : Value{}, is_reachable};
  }

  void check_key(const Member &member, const Place &place) const {
    const std::size_t length = std::strlen(member.name);
    if (length > 0 && length <= kLongestKey) [[likely]] {
      return;
    }
    if (ends_process()) {
      log_assert_fmt("(__commandlength > 0) && (__commandlength < 4096)", kSource, kImport,
                     "Invalid string: %s (with length %zu)", member.name, length);
    }
    place.add_at(offset_of(member), "key-length", "the key has ", static_cast<std::int64_t>(length), " bytes; 1 to ",
                 static_cast<std::int64_t>(kLongestKey), " are allowed");
  }

  void report_hidden(const cli_node &node, const Member &member, const Frame &frame) const {
    Reporter(faults_, Source::kDefinitions, &frame, CLI_WARNING)
        .add_at(offset_of(member), "unreachable-name", "cannot be reached: the word ",
                Quoted{name_of(*find_choice(*choices_of(*node.parent), name_of(node)))}, " is declared before it");
  }

  static std::uint32_t offset_of(const Member &member) {
    return member.name_item == nullptr ? kNoOffset : member.name_item->offset;
  }

  static Frame with_whole_key(const Frame &frame, const Member &member) {
    Frame whole = frame;
    whole.name = member.name;
    return whole;
  }

  // The node that the words of a path lead to from the present one; null after a report that there is none.
  cli_node *find_parent(std::string_view path, const Member &member, const Frame &frame) {
    cli_node *parent = engine_->current;
    while (parent != nullptr) {
      const std::size_t start = path.find_first_not_of(' ');
      const cli_node_set *choices = choices_of(*parent);
      if (choices == nullptr && !ends_process()) {
        const Frame whole = with_whole_key(frame, member);
        const Place place(faults_, whole);
        place.add_at(offset_of(member), "unknown-path", "the path leads through the alias ", Quoted{name_of(*parent)});
        return nullptr;
      }
      if (start == std::string_view::npos) {
        return parent;
      }
      path.remove_prefix(start);
      const std::string_view word = path.substr(0, path.find(' '));
      libglobal::require(choices != nullptr, "choices", kSource, "find_node");
      cli_node *next = find_choice(*choices, word);
      if (next == nullptr && !ends_process()) {
        const Frame whole = with_whole_key(frame, member);
        const Place place(faults_, whole);
        report_unknown_word(word, *parent, member, place);
      }
      parent = next;
      path.remove_prefix(word.size());
    }
    libglobal::require(!ends_process(), "parent != NULL", kSource, kImport);
    return nullptr;
  }

  static void report_unknown_word(std::string_view word, const cli_node &parent, const Member &member,
                                  const Place &place) {
    const libglobal::DynStringOwner suggestion(dyn_string_new());
    suggest_word(*choices_of(parent), word, *suggestion);
    if (parent.parent == nullptr) {
      place.add_at(offset_of(member), "unknown-path", "the word ", Quoted{word},
                   " is not declared before this definition", libglobal::view(*suggestion));
    } else {
      place.add_at(offset_of(member), "unknown-path", "the word ", Quoted{word},
                   " is not declared before this definition below ", Quoted{name_of(parent)},
                   libglobal::view(*suggestion));
    }
  }

  static void report_missing_help(const Member &member, const Place &place) {
    if (member.value.is(Shape::kObject)) {
      place.add_at(offset_of(member), "missing-help", "\"#help\" is missing");
    } else {
      place.add("not-a-definition", member.value, "a definition is an object, not ", in_words(member.value.shape()));
    }
  }

  // The text belongs to the JSON value, which the node keeps.
  const char *select_mode_prompt(const Value &prompt, json_t *kept, const char *name, const Place &place) {
    const std::size_t errors = ends_process() ? 0 : faults_->errors();
    const char *text = select_prompt(engine_, prompt, name, place);
    if (ends_process()) {
      return text;
    }
    return faults_->errors() == errors ? select_prompt(engine_, Value(kept), name, place) : nullptr;
  }

  void set_alias(cli_node &node, const char *alias) {
    tokenizer_run(&engine_->tokenizer, alias, -1);
    tokenizer_copy_list(&engine_->tokenizer, &node.alias.alias_tokens);
    node.alias.alias =
        static_cast<char *>(libglobal::xmemdup(alias, std::strlen(alias) + 1, LIBGLOBAL_CALLER(kSource)));
  }

  void import_commands(cli_node *node, const Value &commands, const Frame &frame) {
    if (++depth_ > kDeepest) {
      refuse_depth("commands", *node, commands, frame);
    } else {
      cli_node *const outer = engine_->current;
      const OuterNames::Mark names = outer_.descend(outer, node);
      engine_->current = node;
      commands.for_each_member([&](const Member &member) { import(member, &frame); });
      engine_->current = outer;
      outer_.ascend(names);
    }
    depth_--;
  }

  void refuse_depth(const char *what, const cli_node &node, const Value &blamed, const Frame &frame) {
    if (ends_process()) {
      refuse("Cannot load the %s of '%s': \"#%s\" nest deeper than %d levels\n",
             std::strcmp(what, "args") == 0 ? "arguments" : what, node.name == nullptr ? "" : node.name, what,
             kDeepest);
    }
    const Place place(faults_, frame);
    place.add("depth", blamed, "\"#", what, "\" nest deeper than ", std::int64_t{kDeepest}, " levels");
  }

  [[nodiscard]] int32_t privilege_of(const char *key, const cli_node &parent, bool is_declared, const char *mode_prompt,
                                     const Frame &frame) {
    const char *lookup_prompt = parent.mode_prompt == nullptr ? "" : parent.mode_prompt;
    if (is_declared_mode(*engine_->current)) {
      lookup_prompt = engine_->current->mode_prompt;
    } else if (is_declared && parent.mode_prompt != nullptr) {
      lookup_prompt = mode_prompt;
    }
    // A reload does not check all variants: the chosen one may lack its value, which is reported when the node is made.
    PrivilegeIndex::Entry *entry =
        lookup_prompt == nullptr ? nullptr : privileges_.find(lookup_prompt, outer_.text(), outer_.hash(), key);
    if (entry != nullptr) {
      entry->is_matched = true;
    }
    const int32_t privilege = entry != nullptr && entry->level >= 1 ? entry->level : parent.privilege;
    if (privilege >= 0 && privilege <= kHighestPrivilege) [[likely]] {
      return privilege;
    }
    if (ends_process()) {
      const char *reason = dlerror();
      refuse("Invalid privilege '%d' for command '%s': %s\n", privilege, key,
             reason == nullptr ? "levels are 0 to 15" : reason);
    }
    Reporter(faults_, Source::kPrivileges, &frame)
        .add("privilege-level", entry->declared.member("Level"), "the level is ", std::int64_t{privilege}, "; 0 to ",
             std::int64_t{kHighestPrivilege}, " are allowed");
    return parent.privilege;
  }

  [[nodiscard]] cli_handler find_handler(const char *key, const Value &name, const Place &place) {
    if (!name.is(Shape::kString)) {
      return nullptr;
    }
    const cli_handler handler = handlers_.find(name.text());
    if (handler == nullptr) {
      const char *reason = handlers_.reason();
      if (ends_process()) {
        refuse("Cannot load handler '%s' for command '%s': %s\n", name.text(), key, reason);
      }
      place.add("unknown-handler", name, "there is no handler ", Quoted{name.view()}, ": ", reason);
    }
    return handler;
  }

  // ---- Arguments ----

  void load_command_args(cli_node *node, const Declaration &definition, const Place &place, const Frame &frame) {
    if (!definition[MemberId::kArgs].is_given()) {
      return;
    }
    if (!is_word_kind(*node) && !ends_process()) {
      place.add("alias-arguments", definition[MemberId::kArgs], "an alias cannot have \"#args\"");
      return;
    }
    libglobal::require(
        is_word_kind(*node),
        "new_node->type == TYPE_SUBCONFIG || new_node->type == TYPE_COMMAND || new_node->type == TYPE_WORD", kSource,
        kImport);
    load_args(node, definition[MemberId::kArgs], 1, frame);
    group_args(node);
  }

  void load_args(cli_node *parent, const Value &declarations, int depth, const Frame &outer) {
    if (depth > kDeepest && declarations.items() > 0) {
      return refuse_depth("args", *parent, declarations, outer);
    }
    declarations.for_each_item([&](std::size_t index, const Value &declaration) {
      Frame frame{&outer, nullptr, index, nullptr, nullptr};
      Value inner;
      cli_node *node = load_arg(declaration, frame, inner);
      const bool is_attached = attach_arg(parent, node, declaration, outer);
      load_args(node, inner, depth + 1, frame);
      if (!is_attached) {
        node_free(node);
      }
    });
  }

  // False after a report that the parent takes no further argument.
  bool attach_arg(cli_node *parent, cli_node *arg, const Value &declaration, const Frame &outer) {
    if (!ends_process()) {
      const cli_node_list *args = args_of(*parent);
      const bool takes_one = parent->type == TYPE_SUBCONFIG || parent->type == TYPE_KEY;
      const Place place(faults_, outer);
      if (args == nullptr) {
        place.add("value-arguments", declaration, "a value cannot have \"#args\"");
      } else if (takes_one && args->first != nullptr) {
        place.add("second-argument", declaration,
                  parent->type == TYPE_KEY ? "a keyword" : "a command that enters a mode",
                  " takes one argument; put several into a \"container\"");
      }
      if (args == nullptr || (takes_one && args->first != nullptr)) {
        arg->parent = parent;
        return false;
      }
    }
    append_node_arg(parent, arg);
    return true;
  }

  // An argument without those inside it, which are left to read.
  [[gnu::noinline]] cli_node *load_arg(const Value &value, Frame &frame, Value &inner) {
    const Declaration declaration(value);
    inner = declaration[MemberId::kArgs];
    const char *name = declaration[MemberId::kName].text();
    frame.name = name;
    const Place place(faults_, frame);
    const std::string_view kind = declaration[MemberId::kType].view();
    const Help help(declaration[MemberId::kHelp], place);
    const char *help_text = help.text();
    const int32_t required = declaration[MemberId::kOptional].is_true() ? 0 : 1;
    const Origin origin = origin_of(value, is_from_text_ ? value.item() : nullptr);
    if (kind == kGroupType) {
      cli_node *node = new_node(origin, name, nullptr, TYPE_CONTAINER);
      node->container.required = required;
      node->container.mode = mode_of(declaration);
      return node;
    }
    if (!ends_process()) {
      report_missing(declaration, place);
      name = name == nullptr ? "" : name;
      help_text = help_text == nullptr ? "" : help_text;
    }
    if (kind == kKeyType) {
      cli_node *node = new_node(origin, name, help_text, TYPE_KEY);
      node->key.required = required;
      return node;
    }
    cli_node *node = new_node(origin, name, help_text, TYPE_VALUE);
    node->value.required = required;
    node->value.repeat = repeat_of(declaration);
    if (open_validator(types_, &node->value.validator, declaration, place) != 0) {
      refuse_type(declaration, name, place);
    }
    return node;
  }

  // What a keyword or value lacks that new_node asks for.
  static void report_missing(const Declaration &declaration, const Place &place) {
    if (!declaration.object().is(Shape::kObject)) {
      return;  // its type is refused for that
    }
    const Value &name = declaration[MemberId::kName];
    if (!name.is(Shape::kString)) {
      place.add("missing-name", name.is_given() ? name : declaration.object(),
                "an argument needs a \"#name\" that is a string");
    }
    if (!declaration[MemberId::kHelp].is_given()) {
      place.add("missing-help", declaration.object(), "\"#help\" is missing");
    }
  }

  void refuse_type(const Declaration &declaration, const char *name, const Place &place) {
    const Value &type = declaration[MemberId::kType];
    const Value &object = declaration.object();
    if (ends_process()) {
      refuse("Cannot load type '%s' for the argument '%s'\n", type.text() == nullptr ? "" : type.text(), name);
    }
    if (!object.is(Shape::kObject)) {
      place.add("unknown-type", object, "an argument is declared by an object, not ", in_words(object.shape()));
    } else if (!type.is(Shape::kString)) {
      place.add("unknown-type", type.is_given() ? type : object, "an argument needs a \"#type\" that is a string");
    } else {
      const libglobal::DynStringOwner suggestion(dyn_string_new());
      suggest_type(*types_, type.view(), *suggestion);
      place.add("unknown-type", type, "there is no type ", Quoted{type.view()}, libglobal::view(*suggestion));
    }
  }

  // Several arguments of a command are given in their order: they become the members of one group.
  void group_args(cli_node *node) const {
    cli_node_list *args = args_of(*node);
    if (args->first == nullptr || args->first->arg_link == nullptr) {
      return;
    }
    cli_node *group = new_node(no_origin(), nullptr, nullptr, TYPE_CONTAINER);
    group->container.required = 1;
    group->container.mode = CONTAINER_SEQUENTIAL;
    group->container.args = *args;
    for (cli_node *arg = args->first; arg != nullptr; arg = arg->arg_link) {
      arg->parent = group;
    }
    list_init(*args);
    append_node_arg(node, group);
  }

  // ---- "do", "end" and "exit", unless the mode declares its own ----

  static void add_builtin(cli_node *mode, cli_node *builtin) {
    if (!append_node_choice(mode, builtin)) {
      node_free(builtin);
    }
  }

  void add_builtins(cli_node *mode, const Value &prompt, const Frame &frame) {
    cli_node *run = new_node(no_origin(), "do", kDoHelp, TYPE_WORD);
    run->word.link = &engine_->root;
    add_builtin(mode, run);
    if (engine_->end_handler != nullptr) {
      add_builtin(mode, new_command_node(no_origin(), "end", kEndHelp, 0, engine_->end_handler));
    }
    if (engine_->exit_handler != nullptr) {
      const JsonRef help = exit_help(*mode, prompt, frame);
      const char *text = json_string_value(help.get());
      add_builtin(mode,
                  new_command_node(no_origin(), "exit", text == nullptr ? kExitHelp : text, 0, engine_->exit_handler));
    }
  }

  [[nodiscard]] JsonRef exit_help(const cli_node &mode, const Value &prompt, const Frame &frame) const {
    JsonRef help;
    bool found = false;
    prompt.for_each_item([&](std::size_t i, const Value &variant) {
      if (found || !condition_holds(engine_, variant, Place(faults_, frame))) {
        return;
      }
      found = true;
      const Value description = variant.member("description");
      if (description.is(Shape::kString)) {
        help.reset(json_sprintf(kExitVariantHelp, description.text()));
      } else if (ends_process()) {
        refuse("Cannot load command '%s': variant %zu of \"#prompt\" has no \"description\" for the help of \"exit\"\n",
               mode.name, i);
      } else {
        Place(faults_, frame)
            .add("exit-description", description.is_given() ? description : variant,
                 "this variant of \"#prompt\" needs a \"description\" that is a string, for the help "
                 "of \"exit\"");
      }
    });
    return help;
  }

  cli *engine_;
  validator_typesystem *types_;
  Faults *faults_;  // null: the first fault ends the process
  bool is_from_text_;
  HandlerTable handlers_;
  PrivilegeIndex privileges_;
  OuterNames outer_;
  int depth_ = 0;
};

}  // namespace

void load_tree(cli *engine, const LoadSource &source) {
  Loader loader(engine, source);
  source.definitions.for_each_member([&](const Member &member) {
    if (source.text != nullptr) {
      source.text->release_before(*member.name_item);
    }
    loader.import(member, nullptr);
  });
  loader.report_unmatched_privileges();
}

}  // namespace cli_engine
