// Documents -> tree, in one pass over the definitions.
#include "cli_engine/loader.hpp"

#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "cli_engine/handler_table.hpp"
#include "cli_engine/help_template.hpp"
#include "cli_engine/json_ref.hpp"
#include "cli_engine/node.hpp"
#include "cli_engine/privilege_index.hpp"
#include "libglobal/dyn_string.hpp"
#include "libglobal/report.hpp"

namespace cli_engine {
namespace {

constexpr const char *kSource = kLoaderSource;
constexpr std::size_t kLongestKey = 4095;
constexpr std::uint32_t kHighestPrivilege = 15;

// Documents nest no deeper; recursion through them is thereby bounded.
constexpr int kDeepest = 4096;

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
  explicit Help(json_t *help) : text_(json_string_value(help)), expanded_(text_ == nullptr ? get_help(help) : nullptr) {
    if (expanded_ != nullptr) {
      text_ = dyn_string_text(expanded_.get());
    }
  }
  [[nodiscard]] const char *text() const { return text_; }

 private:
  const char *text_;
  libglobal::DynStringOwner expanded_;
};

// ---- Arguments ----

void load_args(validator_typesystem *types, cli_node *parent, json_t *declaring, int depth);

int32_t repeat_of(const json_t *declaration) {
  return (true_member(declaration, "#multi") ? REPEAT_MULTI : 0) |
         (true_member(declaration, "#range") ? REPEAT_RANGE : 0);
}

int32_t mode_of(const json_t *declaration) {
  if (true_member(declaration, "#sequential")) {
    return CONTAINER_SEQUENTIAL;
  }
  return true_member(declaration, "#exclusive") ? CONTAINER_EXCLUSIVE : CONTAINER_SELECTIVE;
}

cli_node *load_container(json_t *declaration, const char *name, int32_t required) {
  cli_node *node = new_node(declaration, name, nullptr, TYPE_CONTAINER);
  node->container.required = required;
  node->container.mode = mode_of(declaration);
  return node;
}

cli_node *load_value(validator_typesystem *types, json_t *declaration, const char *name, const char *type,
                     const char *help, int32_t required) {
  cli_node *node = new_node(declaration, name, help, TYPE_VALUE);
  node->value.required = required;
  node->value.repeat = repeat_of(declaration);
  if (validator_open(types, &node->value.validator, declaration) != 0) {
    refuse("Cannot load type '%s' for the argument '%s'\n", type, name);
  }
  return node;
}

cli_node *load_arg(validator_typesystem *types, json_t *declaration) {
  const char *name = string_member(declaration, "#name");
  const char *type = string_member(declaration, "#type");
  const Help help(json_object_get(declaration, "#help"));
  const int32_t required = true_member(declaration, "#optional") ? 0 : 1;
  const std::string_view kind = type == nullptr ? "" : type;
  if (kind == "key") {
    cli_node *node = new_node(declaration, name, help.text(), TYPE_KEY);
    node->key.required = required;
    return node;
  }
  if (kind == "container") {
    return load_container(declaration, name, required);
  }
  return load_value(types, declaration, name, kind.data(), help.text(), required);
}

void load_args(validator_typesystem *types, cli_node *parent, json_t *declaring, int depth) {
  const json_t *declarations = json_object_get(declaring, "#args");
  const std::size_t size = json_array_size(declarations);
  if (size > 0 && depth > kDeepest) {
    refuse("Cannot load the arguments of '%s': \"#args\" nest deeper than %d levels\n",
           parent->name == nullptr ? "" : parent->name, kDeepest);
  }
  for (std::size_t i = 0; i < size; i++) {
    json_t *declaration = json_array_get(declarations, i);
    cli_node *node = load_arg(types, declaration);
    append_node_arg(parent, node);
    load_args(types, node, declaration, depth + 1);
  }
}

// Several arguments of a command are given in their order: they become the members of one group.
void group_args(cli_node *node) {
  cli_node_list *args = args_of(*node);
  if (args->first == nullptr || args->first->arg_link == nullptr) {
    return;
  }
  cli_node *group = new_node(nullptr, nullptr, nullptr, TYPE_CONTAINER);
  group->container.required = 1;
  group->container.mode = CONTAINER_SEQUENTIAL;
  group->container.args = *args;
  for (cli_node *arg = args->first; arg != nullptr; arg = arg->arg_link) {
    arg->parent = group;
  }
  list_init(*args);
  append_node_arg(node, group);
}

// ---- Definitions ----

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

cli_node *find_node(cli_node *parent, std::string_view path) {
  while (parent != nullptr) {
    const std::size_t start = path.find_first_not_of(' ');
    if (start == std::string_view::npos) {
      break;
    }
    path.remove_prefix(start);
    const std::string_view word = path.substr(0, path.find(' '));
    const cli_node_set *choices = choices_of(*parent);
    libglobal::require(choices != nullptr, "choices", kSource, __func__);
    parent = find_choice(*choices, word);
    path.remove_prefix(word.size());
  }
  return parent;
}

node_type type_of(const json_t *prompt, const char *alias, const char *handler) {
  if (prompt != nullptr) {
    return TYPE_SUBCONFIG;
  }
  if (alias != nullptr) {
    return TYPE_ALIAS;
  }
  return handler != nullptr ? TYPE_COMMAND : TYPE_WORD;
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
  Loader(cli *engine, validator_typesystem *types, const json_t *privileges)
      : engine_(engine), types_(types), privileges_(privileges), outer_(!privileges_.empty()) {}

  // Every definition of an object, below engine->current.
  void import_subconfig(json_t *definitions) {
    for (void *member = json_object_iter(definitions); member != nullptr;
         member = json_object_iter_next(definitions, member)) {
      import_definition(json_object_iter_key(member), json_object_iter_value(member));
    }
  }

 private:
  void import_definition(const char *key, json_t *definition) {
    constexpr const char *kFunction = "import_subconfig";
    const std::size_t length = std::strlen(key);
    if (length == 0 || length > kLongestKey) {
      log_assert_fmt("(__commandlength > 0) && (__commandlength < 4096)", kSource, kFunction,
                     "Invalid string: %s (with length %zu)", key, length);
    }
    const auto [path, name] = split_key(key);
    cli_node *parent = find_node(engine_->current, path);
    libglobal::require(parent != nullptr, "parent != NULL", kSource, kFunction);

    const char *alias = string_member(definition, "#alias");
    const Help help(json_object_get(definition, "#help"));
    const char *handler_name = string_member(definition, "#handler");
    json_t *prompt = json_object_get(definition, "#prompt");

    const char *inherited_prompt = parent->mode_prompt == nullptr ? "" : parent->mode_prompt;
    const char *mode_prompt = prompt == nullptr ? inherited_prompt : cli_select_prompt(engine_, prompt, name);
    const int32_t privilege = privilege_of(key, *parent, prompt != nullptr, mode_prompt);
    const cli_handler handler = find_handler(key, handler_name);

    cli_node *node = nullptr;
    switch (type_of(prompt, alias, handler_name)) {
      case TYPE_SUBCONFIG:
        libglobal::require(mode_prompt != nullptr, "new_prompt", kSource, kFunction);
        node = new_node(definition, name, help.text(), TYPE_SUBCONFIG);
        node->subconfig.prompt = json_incref(prompt);
        node->subconfig.handler = handler;
        node->privilege = privilege;
        break;
      case TYPE_ALIAS:
        node = new_node(definition, name, "", TYPE_ALIAS);
        tokenizer_run(&engine_->tokenizer, alias, -1);
        tokenizer_copy_list(&engine_->tokenizer, &node->alias.alias_tokens);
        node->alias.alias =
            static_cast<char *>(libglobal::xmemdup(alias, std::strlen(alias) + 1, LIBGLOBAL_CALLER(kSource)));
        break;
      case TYPE_COMMAND:
        node = new_command_node(definition, name, help.text(), privilege, handler);
        break;
      default:
        node = new_node(definition, name, help.text(), TYPE_WORD);
        node->privilege = privilege;
        break;
    }
    node->mode_prompt = mode_prompt;

    if (json_object_get(definition, "#args") != nullptr) {
      libglobal::require(
          is_word_kind(*node),
          "new_node->type == TYPE_SUBCONFIG || new_node->type == TYPE_COMMAND || new_node->type == TYPE_WORD", kSource,
          kFunction);
      load_args(types_, node, definition, 1);
      group_args(node);
    }

    const bool reachable = append_node_choice(parent, node);
    if (json_t *commands = json_object_get(definition, "#commands"); json_object_size(commands) > 0) {
      import_commands(node, commands);
    }
    if (node->type == TYPE_SUBCONFIG) {
      add_builtins(node);
    }
    if (!reachable) {
      node_free(node);  // an equal name came first
    }
  }

  void import_commands(cli_node *node, json_t *commands) {
    if (++depth_ > kDeepest) {
      refuse("Cannot load the commands of '%s': \"#commands\" nest deeper than %d levels\n", node->name, kDeepest);
    }
    cli_node *const outer = engine_->current;
    const OuterNames::Mark names = outer_.descend(outer, node);
    engine_->current = node;
    import_subconfig(commands);
    engine_->current = outer;
    outer_.ascend(names);
    depth_--;
  }

  [[nodiscard]] int32_t privilege_of(const char *key, const cli_node &parent, bool is_declared,
                                     const char *mode_prompt) {
    const char *lookup_prompt = parent.mode_prompt == nullptr ? "" : parent.mode_prompt;
    if (is_declared_mode(*engine_->current)) {
      lookup_prompt = engine_->current->mode_prompt;
    } else if (is_declared && parent.mode_prompt != nullptr) {
      lookup_prompt = mode_prompt;
    }
    // A reload does not check all variants: the chosen one may lack its value, which is reported when the node is made.
    const int32_t level =
        lookup_prompt == nullptr ? 0 : privileges_.level(lookup_prompt, outer_.text(), outer_.hash(), key);
    const int32_t privilege = level >= 1 ? level : parent.privilege;
    if (static_cast<std::uint32_t>(privilege) > kHighestPrivilege) {
      const char *reason = dlerror();
      refuse("Invalid privilege '%d' for command '%s': %s\n", privilege, key,
             reason == nullptr ? "levels are 0 to 15" : reason);
    }
    return privilege;
  }

  [[nodiscard]] cli_handler find_handler(const char *key, const char *name) {
    if (name == nullptr) {
      return nullptr;
    }
    const cli_handler handler = handlers_.find(name);
    if (handler == nullptr) {
      const char *reason = dlerror();
      refuse("Cannot load handler '%s' for command '%s': %s\n", name, key,
             reason == nullptr ? "its address is null" : reason);
    }
    return handler;
  }

  // ---- "do", "end" and "exit", unless the mode declares its own ----

  static void add_builtin(cli_node *mode, cli_node *builtin) {
    if (!append_node_choice(mode, builtin)) {
      node_free(builtin);
    }
  }

  void add_builtins(cli_node *mode) {
    cli_node *run = new_node(nullptr, "do", kDoHelp, TYPE_WORD);
    run->word.link = &engine_->root;
    add_builtin(mode, run);
    if (engine_->end_handler != nullptr) {
      add_builtin(mode, new_command_node(nullptr, "end", kEndHelp, 0, engine_->end_handler));
    }
    if (engine_->exit_handler != nullptr) {
      const JsonRef help = exit_help(*mode);
      const char *text = json_string_value(help.get());
      add_builtin(mode,
                  new_command_node(nullptr, "exit", text == nullptr ? kExitHelp : text, 0, engine_->exit_handler));
    }
  }

  [[nodiscard]] JsonRef exit_help(const cli_node &mode) const {
    const json_t *variants = mode.subconfig.prompt;
    const std::size_t size = json_array_size(variants);
    for (std::size_t i = 0; i < size; i++) {
      json_t *variant = json_array_get(variants, i);
      if (cli_check_parameter_condition(engine_, variant) == 0) {
        continue;
      }
      const char *description = string_member(variant, "description");
      if (description == nullptr) {
        refuse("Cannot load command '%s': variant %zu of \"#prompt\" has no \"description\" for the help of \"exit\"\n",
               mode.name, i);
      }
      return JsonRef{json_sprintf(kExitVariantHelp, description)};
    }
    return nullptr;
  }

  cli *engine_;
  validator_typesystem *types_;
  HandlerTable handlers_;
  PrivilegeIndex privileges_;
  OuterNames outer_;
  int depth_ = 0;
};

}  // namespace

void load_tree(cli *engine, validator_typesystem *types, json_t *definitions, json_t *privileges) {
  Loader(engine, types, privileges).import_subconfig(definitions);
}

}  // namespace cli_engine
