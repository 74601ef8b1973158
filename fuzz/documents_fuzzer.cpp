// Documents: those that are written so as to load, and any text, of which comes a language or an error.
#include <sys/mman.h>
#include <unistd.h>

#include "host.hpp"
#include "invariants.hpp"
#include "language.hpp"

namespace {

void count_error(void *errors, const cli_fault *fault) {
  FUZZ_REQUIRE(*fault->rule != '\0' && *fault->text != '\0' && strchr(fault->text, '\n') == nullptr);
  *static_cast<int *>(errors) += fault->severity == CLI_ERROR ? 1 : 0;
}

void speak(cli_language *language, int errors) {
  FUZZ_REQUIRE((language == nullptr) == (errors > 0));
  if (language == nullptr) return;
  fuzz::Host host(language);
  for (const char *line : {"", "a", "do ", "a 1 "}) {
    for (const int action : {0, int{fuzz::kHelp}, int{fuzz::kComplete}}) host.act(action, line);
  }
}

// A file of the text, by the name under which it can be opened.
class File {
 public:
  explicit File(std::string_view text) {
    FUZZ_REQUIRE(write(file_, text.data(), text.size()) == static_cast<ssize_t>(text.size()));
  }
  File(const File &) = delete;
  File &operator=(const File &) = delete;
  ~File() { close(file_); }

  [[nodiscard]] const char *name() const { return name_.c_str(); }

 private:
  int file_ = memfd_create("document", 0);
  std::string name_ = "/proc/self/fd/" + std::to_string(file_);
};

// Nothing is printed, and nothing ends the process.
void load_texts(std::string_view definitions, std::string_view privileges) {
  static validator_typesystem *const types = validator_typesystem_new();
  const File definitions_file(definitions), privileges_file(privileges);
  const cli_handler_entry handlers[] = {{"fuzz_run", fuzz_run}, {"cli_free", fuzz_run}, {nullptr, nullptr}};
  const cli_language_source source{.definitions = definitions_file.name(),
                                   .privileges = privileges.empty() ? nullptr : privileges_file.name(),
                                   .handlers = handlers,
                                   .flags = CLI_HANDLERS_ONLY,
                                   .exit_handler = fuzz_leave,
                                   .end_handler = fuzz_leave};
  int errors = 0;
  cli_language *language = cli_language_load(types, &source, count_error, &errors);
  speak(language, errors);
  cli_language_free(language);
}

void load_written(fuzz::Source &source) {
  fuzz::Writer writer(source);
  const fuzz::Json definitions = writer.definitions(), privileges = writer.privileges();
  fuzz::Host host(definitions.get(), privileges.get());
  while (!source.ended()) host.act(source.below(fuzz::kActions), fuzz::line_for(source, host.engine()));
  const fuzz::Json others = fuzz::Writer(source).definitions();
  host.reload(others.get(), nullptr);
}

}  // namespace

// A first byte of '{' begins a document as it is, which a NUL and the privilege table may follow.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::lose_output();
  fuzz::Source source(data, size);
  if (size == 0 || data[0] != '{') {
    load_written(source);
    return 0;
  }
  const std::string_view all = source.rest();
  const size_t end = std::min(all.find('\0'), all.size());
  load_texts(all.substr(0, end), all.substr(std::min(end + 1, all.size())));
  return 0;
}
