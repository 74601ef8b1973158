// The checker and the loader agree on which documents load. Documents that load are changed at random; each result is
// given to both, the loader in a process of its own, because it ends one.
//
// CHECK_MUTATIONS and CHECK_SEED in the environment replace the number of documents and the seed. CHECK_KEEP is a
// folder that gets each document and the rules that the checker found broken; with CHECK_SAMPLES_ONLY the large
// documents are left out.
#include <gtest/gtest.h>
#include <jansson.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "cli_check/check.hpp"
#include "cli_engine/cli_engine.h"
#include "cli_engine/json_ref.hpp"

namespace {

using cli_engine::JsonRef;

struct Texts {
  std::string definitions;
  std::string privileges;
};

// ---- The two verdicts ----

struct CheckerVerdict {
  bool loads = true;
  std::set<std::string> rules;  // all that something was found for
};

std::string in_file(const std::string &name, const std::string &text) {
  const std::string path = testing::TempDir() + "check-" + std::to_string(getpid()) + name;
  std::ofstream(path) << text;
  return path;
}

// Handlers are not the checker's business here.
int handle(cli *, cli_node *) {
  return 0;
}
constexpr cli_handler_entry kAnyHandler[] = {{"*", handle}, {nullptr, nullptr}};

CheckerVerdict checker_verdict(const Texts &texts, validator_typesystem *types) {
  cli_check::Request request;
  request.types = types;
  request.handlers = kAnyHandler;
  request.definitions = in_file("d.json", texts.definitions);
  request.definitions_text = texts.definitions;
  request.privileges = in_file("p.json", texts.privileges);
  request.privileges_text = texts.privileges;
  const cli_check::Findings findings = cli_check::check(request);
  std::filesystem::remove(request.definitions);
  std::filesystem::remove(*request.privileges);
  CheckerVerdict verdict;
  for (const cli_check::Finding &finding : findings.all()) {
    verdict.loads = verdict.loads && finding.severity != CLI_ERROR;
    verdict.rules.insert(finding.rule);
  }
  return verdict;
}

// Calls visit(name, value) for everything below a value; items of arrays have no name.
template <class Visit>
void visit_below(json_t *value, const Visit &visit) {
  const char *name = nullptr;
  json_t *inner = nullptr;
  json_object_foreach(value, name, inner) {
    visit(std::string_view(name), inner);
    visit_below(inner, visit);
  }
  std::size_t index = 0;
  json_array_foreach(value, index, inner) {
    visit(std::string_view(), inner);
    visit_below(inner, visit);
  }
}

[[noreturn]] void load_and_exit(const Texts &texts, validator_typesystem *types) {
  const rlimit no_core = {0, 0};
  setrlimit(RLIMIT_CORE, &no_core);
  if (std::freopen("/dev/null", "w", stdout) == nullptr || std::freopen("/dev/null", "w", stderr) == nullptr) {
    std::abort();
  }
  cli engine = {};
  engine.exit_handler = handle;
  engine.end_handler = handle;
  engine.handlers = kAnyHandler;
  const auto read = [](const std::string &text) {
    return json_loadb(text.data(), text.size(), JSON_REJECT_DUPLICATES, nullptr);
  };
  json_t *const definitions = read(texts.definitions), *const privileges = read(texts.privileges);
  const bool are_read = json_is_object(definitions) && json_is_object(privileges);
  _exit(are_read && cli_init(&engine, types, definitions, nullptr, privileges) != nullptr ? 0 : 1);
}

enum class Verdict { kLoads, kRefused, kCrashed };

// A refusal is an exit or the assertion report; any other end is the loader's own fault.
Verdict loader_verdict(const Texts &texts, validator_typesystem *types) {
  std::fflush(stdout);  // or the child writes what waits there once more
  const pid_t child = fork();
  if (child == 0) {
    load_and_exit(texts, types);
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child) {
    return Verdict::kCrashed;
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) <= 1) {
    return WEXITSTATUS(status) == 0 ? Verdict::kLoads : Verdict::kRefused;
  }
  return WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT ? Verdict::kRefused : Verdict::kCrashed;
}

// ---- Mutations ----

// Changes documents by what none would hold, but a slip of the hand may give: the values and names of mutations.json.
class Mutator {
 public:
  explicit Mutator(unsigned seed) : random_(seed) {}

  Texts mutate(const Texts &base) {
    Texts texts = base;
    std::string &text = below(5) == 0 ? texts.privileges : texts.definitions;
    const JsonRef document(json_loadb(text.data(), text.size(), 0, nullptr));
    for (std::size_t changes = 1 + below(2); changes > 0; --changes) {
      change_structure(document.get());
    }
    const std::unique_ptr<char, decltype(&std::free)> dump(json_dumps(document.get(), JSON_INDENT(1)), &std::free);
    text = dump.get();
    return texts;
  }

 private:
  std::size_t below(std::size_t count) { return std::uniform_int_distribution<std::size_t>(0, count - 1)(random_); }

  json_t *pick(const char *kind) {
    const json_t *all = json_object_get(pool_.get(), kind);
    return json_array_get(all, below(json_array_size(all)));
  }

  // A value from the pool, or a copy of one that stands elsewhere in the document.
  json_t *any_value(const std::vector<json_t *> &containers) {
    return json_deep_copy(below(4) == 0 ? containers[below(containers.size())] : pick("values"));
  }

  // Names of which the two longest stand on either side of the limit.
  std::string any_name() {
    const std::size_t choice = below(30);
    return choice < 2 ? std::string(4095 + choice, 'k') : json_string_value(pick("names"));
  }

  void change_structure(json_t *document) {
    std::vector<json_t *> containers = {document};
    visit_below(document, [&](std::string_view, json_t *value) {
      if (json_is_object(value) || json_is_array(value)) {
        containers.push_back(value);
      }
    });
    json_t *place = containers[below(containers.size())];
    json_is_object(place) ? change_object(place, any_value(containers)) : change_array(place, any_value(containers));
  }

  void change_object(json_t *object, json_t *value) {
    const std::string name = any_name();
    if (json_object_size(object) == 0 || below(4) == 0) {
      json_object_set_new(object, name.c_str(), value);
      return;
    }
    void *member = json_object_iter(object);
    for (std::size_t skip = below(json_object_size(object)); skip > 0; --skip) {
      member = json_object_iter_next(object, member);
    }
    const std::string old = json_object_iter_key(member);
    switch (below(3)) {
      case 0:
        json_object_set_new(object, name.c_str(), json_deep_copy(json_object_iter_value(member)));
        json_object_del(object, old.c_str());
        break;
      case 1:
        json_object_del(object, old.c_str());
        break;
      default:
        json_object_set(object, old.c_str(), value);
    }
    json_decref(value);
  }

  void change_array(json_t *array, json_t *value) {
    const std::size_t size = json_array_size(array);
    if (size == 0 || below(2) == 0) {
      json_array_insert_new(array, below(size + 1), value);
    } else {
      json_array_set_new(array, below(size), value);
    }
  }

  std::mt19937 random_;
  const JsonRef pool_{json_load_file(TEST_DATA_DIR "/mutations.json", 0, nullptr)};
};

// ---- The documents that the mutations begin with ----

std::string read_file(const std::filesystem::path &path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

std::vector<Texts> documents_that_load() {
  const std::filesystem::path samples = PROJECT_DIR "/schema/samples/good", router = PROJECT_DIR "/examples/router";
  const std::string campus_privileges = read_file(samples / "campus.privileges.json");
  std::vector<Texts> documents = {{read_file(samples / "campus.json"), campus_privileges},
                                  {read_file(samples / "smallest.json"), campus_privileges}};
  if (std::getenv("CHECK_SAMPLES_ONLY") == nullptr) {
    documents.push_back({read_file(router / "router.json"), read_file(router / "privileges.json")});
  }
  return documents;
}

// The types that the documents name, as types of the host's own; the built-in ones keep their places.
validator_typesystem *types_of(const std::vector<Texts> &documents) {
  static std::deque<std::string> names;
  static std::deque<validator_type> types;
  static const std::unique_ptr<validator_typesystem, decltype(&validator_typesystem_free)> registry(
      validator_typesystem_new(), validator_typesystem_free);
  for (const Texts &texts : documents) {
    const JsonRef document(json_loads(texts.definitions.c_str(), 0, nullptr));
    visit_below(document.get(), [](std::string_view name, json_t *value) {
      if (name == "#type" && json_is_string(value)) {
        validator_type &type = types.emplace_back();
        type.basetype = BASETYPE_STRING;
        type.name = names.emplace_back(json_string_value(value)).c_str();
        validator_typesystem_add_custom_type(registry.get(), &type);
      }
    });
  }
  return registry.get();
}

unsigned from_environment(const char *name, unsigned otherwise) {
  const char *text = std::getenv(name);
  return text == nullptr ? otherwise : static_cast<unsigned>(std::strtoul(text, nullptr, 10));
}

// Writes the documents, and what the checker found in them, for who wants to see them.
std::string keep(const Texts &texts, const CheckerVerdict &verdict, const std::filesystem::path &folder,
                 unsigned number) {
  const std::string path = folder / ("check-mutation-" + std::to_string(number));
  std::ofstream(path + ".json") << texts.definitions;
  std::ofstream(path + ".privileges.json") << texts.privileges;
  std::ofstream rules(path + ".rules");
  for (const std::string &rule : verdict.rules) {
    rules << rule << '\n';
  }
  return path;
}

TEST(CheckMutation, CheckerAndLoaderAgree) {
  const std::vector<Texts> documents = documents_that_load();
  validator_typesystem *const types = types_of(documents);
  for (const Texts &texts : documents) {
    ASSERT_TRUE(checker_verdict(texts, types).loads);
    ASSERT_EQ(loader_verdict(texts, types), Verdict::kLoads);
  }
  const unsigned count = from_environment("CHECK_MUTATIONS", 500);
  const char *folder = std::getenv("CHECK_KEEP");
  Mutator mutator(from_environment("CHECK_SEED", 1));
  unsigned loading = 0;
  for (unsigned number = 0; number < count; ++number) {
    const Texts texts = mutator.mutate(documents[number % documents.size()]);
    const Verdict loader = loader_verdict(texts, types);
    const CheckerVerdict checker = checker_verdict(texts, types);
    ASSERT_NE(loader, Verdict::kCrashed) << keep(texts, checker, testing::TempDir(), number);
    ASSERT_EQ(checker.loads, loader == Verdict::kLoads) << keep(texts, checker, testing::TempDir(), number);
    if (folder != nullptr) {
      keep(texts, checker, folder, number);
    }
    loading += loader == Verdict::kLoads ? 1 : 0;
  }
  // Mutations that all break the document, or none, would compare nothing.
  EXPECT_GT(loading, count / 20);
  EXPECT_LT(loading, count - count / 20);
}

}  // namespace
