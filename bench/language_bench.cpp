// Languages of their own: from a text to the first line, beside Jansson's reading of the same text, and engines that
// share one. At 67 modes the routing language has some 33 000 nodes and 6 MB of text. Figures of `text/` are for one
// node; bytes are what the loaded language holds for each, at the peak while loading too.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "bench/harness.hpp"

namespace {

using bench::Json;

struct Release {
  void operator()(cli_language *language) const { cli_language_free(language); }
  void operator()(validator_typesystem *types) const { validator_typesystem_free(types); }
};
using Language = std::unique_ptr<cli_language, Release>;

int leave_mode(cli *engine, cli_node * /*node*/) {
  cli_pop_subconfig(engine);
  return 0;
}

class Session {
 public:
  explicit Session(cli_language *language) {
    if (cli_init_language(&engine_, language, nullptr) == nullptr) {
      std::exit(1);
    }
  }
  ~Session() { cli_free(&engine_); }
  Session(const Session &) = delete;
  Session &operator=(const Session &) = delete;
  cli *get() { return &engine_; }

 private:
  cli engine_{};
};

// A document in a file.
class File {
 public:
  explicit File(const std::string &text) {
    close(mkstemp(name_.data()));
    std::ofstream(name_, std::ios::binary) << text;
  }
  ~File() { std::remove(name_.c_str()); }
  File(const File &) = delete;
  File &operator=(const File &) = delete;
  [[nodiscard]] const char *name() const { return name_.c_str(); }

 private:
  std::string name_ = "/tmp/languageXXXXXX";
};

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

// A language in a file.
class Document : public bench::Path {
 public:
  [[nodiscard]] double units() const override { return nodes_; }
  [[nodiscard]] bool has_undo() const override { return true; }
  void undo() override { json_ = nullptr, language_ = nullptr; }
  bool holds(std::size_t /*operations*/) override { return done_; }

 protected:
  Document(const std::string &text, std::string line) : file_(text), line_(std::move(line)) {
    load();
    Session session(language_.get());
    nodes_ = static_cast<double>(count_nodes(&session.get()->root));
  }
  void load() {
    const cli_language_source source{file_.name(), nullptr, nullptr, 0, leave_mode, nullptr};
    language_.reset(cli_language_load(types_.get(), &source, nullptr, nullptr));
  }
  void read() { json_.reset(json_load_file(file_.name(), 0, nullptr)); }
  void run_line(cli *engine) {
    cli_execute(engine, line_.c_str());
    done_ = engine->parser.error->errcode == E_OK;
  }

  const std::unique_ptr<validator_typesystem, Release> types_{validator_typesystem_new()};
  Language language_;
  Json json_;
  bool done_ = false;

 private:
  const File file_;
  const std::string line_;
  double nodes_ = 0;
};

class Routing : public Document {
 protected:
  explicit Routing(int modes) : Document(bench::routing(modes), "show-0 x metric 5 10.0.0.0/8") {}
};
class Commands : public Document {
 protected:
  explicit Commands(int commands) : Document(bench::definitions({commands}), bench::command_line(commands / 2)) {}
};

template <class Kind>
class ReadByJansson : public Kind {
 public:
  explicit ReadByJansson(int size) : Kind(size) { this->undo(); }
  void run(std::size_t /*number*/) override {
    this->read();
    this->done_ = this->json_ != nullptr;
  }
};

template <class Kind>
class ToFirstLine : public Kind {
 public:
  explicit ToFirstLine(int size) : Kind(size) {
    this->undo();
    const double before = bench::allocated();
    this->load();
    bytes_ = bench::allocated() - before;
    this->undo();
  }
  void run(std::size_t /*number*/) override {
    this->load();
    Session session(this->language_.get());
    this->run_line(session.get());
  }
  [[nodiscard]] double whole_bytes_per_unit() const override { return bytes_ / this->units(); }

 private:
  double bytes_ = 0;
};

// ---- Engines on one language ----

class Shared : public Routing {
 public:
  [[nodiscard]] double units() const override { return 1; }
  [[nodiscard]] bool has_undo() const override { return false; }
  void undo() override {}

 protected:
  using Routing::Routing;
};

class FurtherEngine : public Shared {
 public:
  explicit FurtherEngine(int modes) : Shared(modes) {
    const double before = bench::allocated();
    Session session(language_.get());
    run_line(session.get());
    bytes_ = bench::allocated() - before + sizeof(cli);
  }
  void run(std::size_t /*number*/) override { Session session(language_.get()); }
  [[nodiscard]] double whole_bytes_per_unit() const override { return bytes_; }

 private:
  double bytes_ = 0;
};

class SameEngine : public Shared {
 public:
  explicit SameEngine(int modes) : Shared(modes), one_(language_.get()), other_(language_.get()) {}
  void run(std::size_t /*number*/) override { run_line(one_.get()); }

 protected:
  Session one_;
  Session other_;
};

class ChangingEngine : public SameEngine {
 public:
  using SameEngine::SameEngine;
  void run(std::size_t number) override { run_line(number % 2 == 0 ? one_.get() : other_.get()); }
};

const bench::Registration kRows[] = {
    {"text/routing_jansson", {1, 10, 67}, bench::make_path<ReadByJansson<Routing>>},
    {"text/routing_first_line", {1, 10, 67}, bench::make_path<ToFirstLine<Routing>>},
    {"text/commands_jansson", bench::siblings(), bench::make_path<ReadByJansson<Commands>>},
    {"text/commands_first_line", bench::siblings(), bench::make_path<ToFirstLine<Commands>>},
    {"language/engine", {1, 10, 67}, bench::make_path<FurtherEngine>},
    {"language/line", {1, 10, 67}, bench::make_path<SameEngine>},
    {"language/line_after_change", {1, 10, 67}, bench::make_path<ChangingEngine>},
};

}  // namespace
