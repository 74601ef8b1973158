// Loading a language, swept over everything that there may be many of. Figures are for one node of the tree; bytes are
// what it takes beyond its texts, and with them.
#include <malloc.h>

#include "bench/harness.hpp"

namespace {

using bench::Json;

std::size_t count_nodes(const cli_node *node) {
  std::size_t count = 1;
  for (const cli_node *arg = cli_node_first_arg(node); arg != nullptr; arg = cli_node_next_arg(arg)) {
    count += count_nodes(arg);
  }
  for (const cli_node *word = cli_node_first_choice(node); word != nullptr; word = cli_node_next_choice(word)) {
    count += count_nodes(word);
  }
  return count;
}

// What the texts of a tree take: the rest of each node's block behind its record, and an alias's own.
double text_bytes(cli_node *node) {
  constexpr double kHeader = 8;
  double bytes = node->parent == nullptr ? 0 : static_cast<double>(malloc_usable_size(node) - sizeof(cli_node));
  if (node->type == TYPE_ALIAS) {
    bytes += static_cast<double>(malloc_usable_size(node->alias.alias)) + kHeader;
    bytes += static_cast<double>(malloc_usable_size(node->alias.alias_tokens.first->text)) + kHeader;
  }
  for (cli_node *arg = cli_node_first_arg(node); arg != nullptr; arg = cli_node_next_arg(arg)) {
    bytes += text_bytes(arg);
  }
  for (cli_node *word = cli_node_first_choice(node); word != nullptr; word = cli_node_next_choice(word)) {
    bytes += text_bytes(word);
  }
  return bytes;
}

constexpr const char *kBare = R"({"#help":"Help","#handler":"bench_handler"})";

class Load : public bench::Path {
 public:
  void run(std::size_t /*number*/) override {
    cli_load_commands(engine_.get(), engine_.types(), definitions_.get(), privileges_.get());
  }
  void undo() override { cli_unload_commands(engine_.get()); }
  [[nodiscard]] bool has_undo() const override { return true; }
  [[nodiscard]] double units() const override { return nodes_; }
  [[nodiscard]] double bytes_per_unit() const override { return bytes_ / nodes_; }
  [[nodiscard]] double whole_bytes_per_unit() const override { return whole_bytes_ / nodes_; }
  bool holds(std::size_t /*operations*/) override {
    run(0);
    const auto nodes = static_cast<double>(count_nodes(&engine_->root));
    undo();
    return nodes == nodes_;
  }

 protected:
  explicit Load(Json definitions, Json privileges = nullptr)
      : engine_(Json{json_object()}.get(), nullptr),
        definitions_(std::move(definitions)),
        privileges_(std::move(privileges)) {
    const double before = bench::allocated();
    run(0);
    whole_bytes_ = bench::allocated() - before;
    bytes_ = whole_bytes_ - text_bytes(&engine_->root);
    nodes_ = static_cast<double>(count_nodes(&engine_->root));
    undo();
  }

 private:
  bench::Engine engine_;
  Json definitions_;
  Json privileges_;
  double nodes_ = 0;
  double bytes_ = 0;
  double whole_bytes_ = 0;
};

class Siblings : public Load {
 public:
  explicit Siblings(int commands) : Load(bench::read_json(bench::definitions({commands}))) {}
};

// The documents' texts are read as well. What was read is released with the tree, unmeasured: the tree holds parts of
// it, which would make the release look like a gain.
class Texts : public bench::Path {
 public:
  void run(std::size_t /*number*/) override {
    definitions_ = bench::read_json(text_);
    if (load_) {
      cli_load_commands(engine_.get(), engine_.types(), definitions_.get(), nullptr);
    }
    loaded_ = (first_choice() != nullptr) == load_;
  }
  void undo() override {
    cli_unload_commands(engine_.get());
    definitions_ = nullptr;
  }
  [[nodiscard]] bool has_undo() const override { return true; }
  [[nodiscard]] double units() const override { return commands_; }
  bool holds(std::size_t /*operations*/) override { return loaded_; }

 protected:
  Texts(int commands, bool load)
      : engine_(Json{json_object()}.get(), nullptr),
        text_(bench::definitions({commands})),
        commands_(commands),
        load_(load) {}

 private:
  [[nodiscard]] const cli_node *first_choice() { return cli_node_first_choice(&engine_->root); }

  bench::Engine engine_;
  Json definitions_;
  std::string text_;
  double commands_;
  bool load_;
  bool loaded_ = false;
};

class ReadAlone : public Texts {
 public:
  explicit ReadAlone(int commands) : Texts(commands, false) {}
};

class ReadAndLoad : public Texts {
 public:
  explicit ReadAndLoad(int commands) : Texts(commands, true) {}
};

// A privilege table with an entry for every tenth command.
class Privileges : public Load {
 public:
  explicit Privileges(int commands)
      : Load(bench::read_json(bench::definitions({commands})),
             bench::read_json(bench::privileges({commands, 8, commands / 10}))) {}
};

class Aliases : public Load {
 public:
  explicit Aliases(int aliases) : Load(bench::read_json(bench::definitions({100, 8, 0, aliases}))) {}
};

// Commands within commands, so many deep; some ten thousand in all.
class Depth : public Load {
 public:
  explicit Depth(int depth) : Load(document(depth), bench::read_json(bench::privileges({100, 8, 100}))) {}

 private:
  static Json document(int depth) {
    constexpr int kCommands = 10000;
    Json all{json_object()};
    for (int chain = 0; chain < kCommands / depth; chain++) {
      json_t *at = all.get();
      for (int i = 0; i < depth; i++) {
        const Json next = bench::read_json(kBare);
        json_t *commands = json_object();
        json_object_set_new(next.get(), "#commands", commands);
        json_object_set(at, (i == 0 ? bench::command_name(chain) : std::string("word")).c_str(), next.get());
        at = commands;
      }
    }
    return all;
  }
};

// Ten thousand arguments, so many to a command.
class Arguments : public Load {
 public:
  explicit Arguments(int each) : Load(document(each)) {}

 private:
  static Json document(int each) {
    constexpr int kArguments = 10000;
    Json all{json_object()};
    for (int command = 0; command < kArguments / each; command++) {
      json_t *args = json_array();
      for (int i = 0; i < each; i++) {
        json_array_append_new(args, json_pack("{s:s,s:s,s:s,s:b}", "#type", "key", "#name",
                                              bench::command_name(i).c_str(), "#help", "Help", "#optional", 1));
      }
      const Json definition = bench::read_json(kBare);
      json_object_set_new(definition.get(), "#args", args);
      json_object_set(all.get(), bench::command_name(command).c_str(), definition.get());
    }
    return all;
  }
};

// Modes with their built-in commands and a prompt of two variants.
class Modes : public Load {
 public:
  explicit Modes(int modes) : Load(document(modes)) {}

 private:
  static Json document(int modes) {
    Json all{json_object()};
    const Json mode = bench::read_json(
        R"({"#help":"Help","#prompt":[{"value":"special","description":"special","if":"absent"},)"
        R"({"value":"plain","description":"plain"}],"#commands":{"set":{"#help":"Help","#handler":"bench_handler"}}})");
    for (int i = 0; i < modes; i++) {
      json_object_set(all.get(), bench::command_name(i).c_str(), mode.get());
    }
    return all;
  }
};

const bench::Registration kRows[] = {
    {"load/siblings", bench::siblings(), bench::make_path<Siblings>},
    {"load/read_alone", bench::siblings(), bench::make_path<ReadAlone>},
    {"load/read_and_load", bench::siblings(), bench::make_path<ReadAndLoad>},
    {"load/privileges", bench::siblings(), bench::make_path<Privileges>},
    {"load/aliases", bench::siblings(), bench::make_path<Aliases>},
    {"load/modes", {100, 1000, 10000}, bench::make_path<Modes>},
    {"load/depth", {1, 10, 100, 1000}, bench::make_path<Depth>},
    {"load/arguments", {1, 10, 100, 1000, 10000}, bench::make_path<Arguments>},
};

}  // namespace
