// Texts: the reader takes what Jansson takes, and from both grow the same tree and the same faults.
#include <sys/mman.h>
#include <unistd.h>

#include "host.hpp"
#include "invariants.hpp"
#include "language.hpp"

namespace {

void add_fault(void *faults, const cli_fault *fault) {
  *static_cast<std::string *>(faults) += std::string(fault->rule) + " " + fault->path + " " + fault->text + "\n";
}

bool same(const char *one, const char *other) {
  return one == other || (one != nullptr && other != nullptr && strcmp(one, other) == 0);
}

void compare(cli_node *read, cli_node *made) {
  FUZZ_REQUIRE(read->type == made->type && read->privilege == made->privilege);
  FUZZ_REQUIRE(same(read->name, made->name) && same(read->help, made->help));
  FUZZ_REQUIRE(same(read->mode_prompt, made->mode_prompt));
  json_t *const definition = cli_node_definition(read);
  FUZZ_REQUIRE(definition == made->definition || json_equal(definition, made->definition) != 0);
  const int placed = cli_node_position(read, nullptr, nullptr, nullptr, nullptr);
  FUZZ_REQUIRE((placed == 0) == (definition != nullptr));
  const auto compare_all = [](cli_node *one, cli_node *other, cli_node *(*next)(const cli_node *)) {
    for (; one != nullptr && other != nullptr; one = next(one), other = next(other)) compare(one, other);
    FUZZ_REQUIRE(one == nullptr && other == nullptr);
  };
  compare_all(cli_node_first_arg(read), cli_node_first_arg(made), cli_node_next_arg);
  compare_all(cli_node_first_choice(read), cli_node_first_choice(made), cli_node_next_choice);
}

void compare(const std::string &text) {
  static validator_typesystem *const types = validator_typesystem_new();
  static const int file = memfd_create("text", 0);
  static const std::string name = "/proc/self/fd/" + std::to_string(file);
  FUZZ_REQUIRE(ftruncate(file, 0) == 0);
  FUZZ_REQUIRE(pwrite(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()));
  const fuzz::Json json(json_loadb(text.data(), text.size(), JSON_REJECT_DUPLICATES, nullptr));
  const cli_language_source source{name.c_str(), nullptr, nullptr, 0, fuzz_leave, fuzz_leave};
  std::string faults, others;
  cli_language *const read = cli_language_load(types, &source, add_fault, &faults);
  cli_language *const made = cli_language_from_json(types, json.get(), nullptr, &source, add_fault, &others);
  // Jansson takes 0e999, and a NUL behind a number.
  const bool is_stricter =
      faults.find("the number is too large") != faults.npos || faults.find("a NUL byte") != faults.npos;
  FUZZ_REQUIRE((read == nullptr) == (made == nullptr || is_stricter));
  FUZZ_REQUIRE(faults == others || json == nullptr || is_stricter);
  if (read != nullptr) {
    cli one{}, other{};
    compare(&cli_init_language(&one, read, nullptr)->root, &cli_init_language(&other, made, nullptr)->root);
    cli_free(&one);
    cli_free(&other);
  }
  cli_language_free(read);
  cli_language_free(made);
}

}  // namespace

// A first byte of '{' begins a text as it is.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::Source source(data, size);
  if (size > 0 && data[0] == '{') {
    compare(std::string(source.rest()));
    return 0;
  }
  char *const written = json_dumps(fuzz::Writer(source).definitions().get(), 0);
  compare(std::string(written));
  free(written);
  return 0;
}
