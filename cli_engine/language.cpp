// A language that engines share. Its tree stands below a root of its own while no engine has it; the links of its "do"
// lead there for good.
#define CLI_ENGINE_NO_LAYOUT_CHECK  // this is what the check stands before
#include "cli_engine/language.hpp"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <new>

#include "cli_engine/engine_state.hpp"
#include "cli_engine/loader.hpp"
#include "cli_engine/node.hpp"
#include "cli_engine/parser.hpp"
#include "cli_engine/prompt.hpp"
#include "cli_engine/text_document.hpp"
#include "libglobal/chain.hpp"
#include "libglobal/report.hpp"

struct cli_language {
  cli home;                       // its root holds the words, its tokenizer the aliases' records
  cli *owner;                     // whose root the top level stands under; null: the home's
  cli_engine::TextDocument text;  // of one from JSON without a text
  bool is_from_text;
  cli_engine::Vector<cli_node *> top;  // the words of the top level
};

namespace cli_engine {
namespace {

template <class T, class... Arguments>
T *make(Arguments &&...arguments) {
  return new (libglobal::xmalloc(sizeof(T), LIBGLOBAL_CALLER(kEngineSource))) T{arguments...};
}

template <class T>
void release(T *object) {
  object->~T();
  std::free(object);
}

Session *session_of(const cli *engine) {
  const EngineState *const state = state_of(engine);
  return state == nullptr ? nullptr : state->session;
}

void move_line(token_list &from, token_list &to) {
  to = from;
  if (to.first == nullptr) {
    libglobal::make_empty(to);
  }
  libglobal::make_empty(from);
}

void put_top_below(const cli_language &language, cli_node *root) {
  for (cli_node *word : language.top) {
    word->parent = root;
  }
}

// Takes the tree from the engine that has it, and keeps for it what it leaves there: but for the top level's place
// below that engine's root, which only the next one changes.
void give_back(cli_language &language) {
  cli *const owner = language.owner;
  if (owner == nullptr) {
    return;
  }
  Session &session = *session_of(owner);
  session.modes.clear();
  for (cli_node *mode = owner->mode_stack.first; mode != nullptr;) {
    cli_node *const next = mode->subconfig.stack_link.next;
    token_list line{};
    move_line(mode->subconfig.tokens, line);
    session.modes.push_back({mode, line});
    mode->subconfig.stack_link = {nullptr, nullptr};
    mode = next;
  }
  marks_of_root(owner->root)->park();
  language.owner = nullptr;
}

void push_mode(cli_node_list &stack, cli_node *mode) {
  mode->subconfig.stack_link = {nullptr, stack.last_link};
  *stack.last_link = mode;
  stack.last_link = &mode->subconfig.stack_link.next;
}

// Gives an engine the tree, which nobody has.
void hand_over(cli_language &language, cli *engine) {
  Session &session = *session_of(engine);
  put_top_below(language, &engine->root);
  language.owner = engine;
  list_init(engine->mode_stack);
  for (Session::OpenMode &open : session.modes) {
    move_line(open.line, open.mode->subconfig.tokens);
    push_mode(engine->mode_stack, open.mode);
  }
  marks_of_root(engine->root)->restore();
}

// The engine's root shows the language's words, whoever has the tree.
void join_language(cli *engine, cli_language *language) {
  state_of(engine)->session = make<Session>(language, Vector<Session::OpenMode>{});
  engine->root.subconfig.choices = language->home.root.subconfig.choices;
  Marks &marks = marks_of(&engine->root);
  marks.sharer = engine;
  marks.language = language;
  marks.home = marks_of_root(language->home.root);
}

cli_language *new_language(const cli_language_source &source) {
  auto *language = make<cli_language>();
  language->home.exit_handler = source.exit_handler;
  language->home.end_handler = source.end_handler;
  language->home.current = &language->home.root;
  list_init(language->home.mode_stack);
  tokenizer_open(&language->home.tokenizer);
  return language;
}

// Null, and the language released, when there were errors.
cli_language *load(cli_language *language, validator_typesystem *types, const cli_language_source &source,
                   const Value &definitions, const Value &privileges, Faults &faults) {
  load_tree(&language->home, {types, definitions, privileges, source.handlers, source.flags, &faults,
                              language->is_from_text ? &language->text : nullptr});
  if (faults.errors() > 0) {
    cli_language_free(language);
    return nullptr;
  }
  for (cli_node *word = first_choice(language->home.root.subconfig.choices); word != nullptr;
       word = next_choice(*word)) {
    language->top.push_back(word);
  }
  std::sort(language->top.begin(), language->top.end(), std::less<>());  // walked in the order of the memory
  marks_of(&language->home.root).language = language;
  return language;
}

// ---- Another language for a running engine ----

// The node of the same names in another tree; null when there is none.
cli_node *counterpart(const cli_node *node, cli_node *root) {
  if (node->parent == nullptr) {
    return root;
  }
  cli_node *const parent = counterpart(node->parent, root);
  if (parent == nullptr) {
    return nullptr;
  }
  if (is_choice_kind(*node)) {
    const cli_node_set *choices = choices_of(*parent);
    return choices == nullptr ? nullptr : find_choice(*choices, name_of(*node));
  }
  for (cli_node *arg = first_arg(parent); arg != nullptr; arg = arg->arg_link) {
    const bool both_unnamed = arg->name == nullptr && node->name == nullptr;
    if (arg->type == node->type &&
        (both_unnamed || (arg->name != nullptr && node->name != nullptr && same_name(name_of(*arg), name_of(*node))))) {
      return arg;
    }
  }
  return nullptr;
}

// What an engine takes along: the line typed at the top level, and the modes that are still there with theirs.
struct Luggage {
  token_list line;
  Vector<Session::OpenMode> modes;
};

void bind_elsewhere(token_list &line, cli_node *root) {
  for (token *tok = line.first; tok != nullptr; tok = tok->next) {
    tok->node = tok->node == nullptr ? nullptr : counterpart(tok->node, root);
  }
}

// Leaves the modes that are not in the other tree, and those entered from them; says how many.
int leave_missing_modes(cli *engine, cli_node *root) {
  int missing = 0;
  for (const cli_node *mode = engine->mode_stack.first; mode != nullptr; mode = mode->subconfig.stack_link.next) {
    const cli_node *other = counterpart(mode, root);
    missing += missing > 0 || other == nullptr || !is_mode(other) ? 1 : 0;
  }
  for (int i = 0; i < missing; i++) {
    cli_pop_subconfig(engine);
  }
  return missing;
}

Luggage pack(cli *engine, cli_node *root) {
  Luggage luggage{};
  move_line(engine->root.subconfig.tokens, luggage.line);
  bind_elsewhere(luggage.line, root);
  for (cli_node *mode = engine->mode_stack.first; mode != nullptr;) {
    cli_node *const next = mode->subconfig.stack_link.next;
    token_list line{};
    move_line(mode->subconfig.tokens, line);
    bind_elsewhere(line, root);
    luggage.modes.push_back({counterpart(mode, root), line});
    mode->subconfig.stack_link = {nullptr, nullptr};
    mode = next;
  }
  list_init(engine->mode_stack);
  engine->current = &engine->root;
  return luggage;
}

int exchange(cli *engine, cli_language &language) {
  own_language(engine);
  cli_node *const root = &language.home.root;
  const int closed = leave_missing_modes(engine, root);
  Luggage luggage = pack(engine, root);
  cli_unload_commands(engine);

  join_language(engine, &language);
  move_line(luggage.line, engine->root.subconfig.tokens);
  for (token *tok = engine->root.subconfig.tokens.first; tok != nullptr; tok = tok->next) {
    tok->node = tok->node == root ? &engine->root : tok->node;
  }
  session_of(engine)->modes.swap(luggage.modes);
  for (const Session::OpenMode &open : session_of(engine)->modes) {
    engine->current = open.mode;
  }
  take_over(engine);
  Marks &marks = marks_of(engine->current);
  mark_mode(marks, engine->current);
  bind_open_lines(marks, engine->current);
  parser_set_root(&engine->parser, engine->current);
  refresh_prompt(engine);
  return closed;
}

const cli_language *language_of(const cli_node *node) {
  const Marks *marks = marks_of_root(*tree_root(const_cast<cli_node *>(node)));
  return marks == nullptr ? nullptr : marks->language;
}

// The text that declared a node, and where in it; null for a node without a place.
const TextDocument *declaring_text(const cli_node *node, std::uint32_t &offset) {
  const cli_language *language = node == nullptr || node->parent == nullptr ? nullptr : language_of(node);
  if (language == nullptr || !language->is_from_text) {
    return nullptr;
  }
  offset = offset_of(*node);
  return offset == kNoOffset ? nullptr : &language->text;
}

}  // namespace

const cli &loaded_by(const cli &engine) {
  const Session *const session = session_of(&engine);
  return session == nullptr ? engine : session->language->home;
}

void take_over(cli *engine) {
  cli_language &language = *session_of(engine)->language;
  if (language.owner != engine) {
    give_back(language);
    hand_over(language, engine);
  }
}

void leave_language(cli *engine) {
  Session *const session = session_of(engine);
  if (session == nullptr) {
    return;
  }
  take_over(engine);
  give_back(*session->language);
  put_top_below(*session->language, &session->language->home.root);
  engine->root.subconfig.choices.root = nullptr;
  state_of(engine)->session = nullptr;
  release(session);
  Marks *const marks = marks_of_root(engine->root);
  engine->root.internal = nullptr;
  release(marks);
}

}  // namespace cli_engine

cli_language *cli_language_load(validator_typesystem *types, const cli_language_source *source, cli_report report,
                                void *data) {
  if (types == nullptr || source == nullptr || source->definitions == nullptr) {
    return nullptr;
  }
  using cli_engine::Source;
  cli_engine::Faults faults(report, data);
  cli_language *language = cli_engine::new_language(*source);
  language->is_from_text = true;
  const bool has_definitions = language->text.read(source->definitions, Source::kDefinitions, faults);
  cli_engine::TextDocument privileges;
  const bool has_privileges =
      source->privileges != nullptr && privileges.read(source->privileges, Source::kPrivileges, faults);
  if (!has_definitions) {
    cli_language_free(language);
    return nullptr;
  }
  language = cli_engine::load(language, types, *source, language->text.root(),
                              has_privileges ? privileges.root() : cli_engine::Value{}, faults);
  if (language != nullptr) {
    language->text.release_values();
  }
  return language;
}

cli_language *cli_language_from_json(validator_typesystem *types, json_t *definitions, json_t *privileges,
                                     const cli_language_source *source, cli_report report, void *data) {
  if (types == nullptr || source == nullptr) {
    return nullptr;
  }
  cli_engine::Faults faults(report, data);
  if (!json_is_object(definitions)) {
    const cli_engine::Reporter reporter(&faults, cli_engine::Source::kDefinitions, nullptr);
    reporter.add_at(cli_engine::kNoOffset, "not-an-object", "the document is ",
                    definitions == nullptr ? "missing" : in_words(cli_engine::Value(definitions).shape()),
                    ", not an object");
    return nullptr;
  }
  cli_language *const language = cli_engine::new_language(*source);
  return cli_engine::load(language, types, *source, cli_engine::Value(definitions), cli_engine::Value(privileges),
                          faults);
}

void cli_language_free(cli_language *language) {
  if (language == nullptr) {
    return;
  }
  cli_engine::node_free(&language->home.root);
  tokenizer_close(&language->home.tokenizer);
  cli_engine::release(language);
}

cli *cli_init_language(cli *engine, cli_language *language, void *context) {
  if (engine == nullptr || language == nullptr) {
    return nullptr;
  }
  cli_engine::open_state(engine);
  tokenizer_open(&engine->tokenizer);
  engine->current = &engine->root;
  cli_engine::list_init(engine->mode_stack);
  cli_engine::join_language(engine, language);
  return cli_engine::bring_up(engine, context);
}

int cli_exchange_language(cli *engine, cli_language *language) {
  return language == nullptr || !cli_engine::is_ready(engine) ? -1 : cli_engine::exchange(engine, *language);
}

json_t *cli_node_definition(cli_node *node) {
  std::uint32_t offset = 0;
  if (node == nullptr || node->definition != nullptr) {
    return node == nullptr ? nullptr : node->definition;
  }
  if (const cli_engine::TextDocument *text = cli_engine::declaring_text(node, offset)) {
    node->definition = text->value_at(offset, cli_engine::is_choice_kind(*node));
  }
  return node->definition;
}

int cli_node_position(const cli_node *node, const char *member, const char **file, uint32_t *line, uint32_t *column) {
  std::uint32_t offset = 0;
  const cli_engine::TextDocument *text = cli_engine::declaring_text(node, offset);
  if (text == nullptr ||
      (member != nullptr && !text->find_part(offset, cli_engine::is_choice_kind(*node), member, offset))) {
    return -1;
  }
  std::uint32_t found_line = 0;
  std::uint32_t found_column = 0;
  if (!text->find_line(offset, found_line, found_column)) {
    return -1;
  }
  if (file != nullptr) {
    *file = text->file();
  }
  if (line != nullptr) {
    *line = found_line;
  }
  if (column != nullptr) {
    *column = found_column;
  }
  return 0;
}
