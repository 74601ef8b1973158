#include "cli_shell/check.hpp"

#include <dlfcn.h>
#include <fcntl.h>
#include <getopt.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli_engine/validator.h"
#include "cli_shell/check_exports.hpp"
#include "cli_shell/check_warnings.hpp"

namespace cli_check {

namespace {

constexpr const char *kUsage =
    "usage: cli-shell check DEFINITION [--privileges FILE] [--handlers LIB]... [--format=text|json]";

constexpr int kCouldNotRun = 2;

// Why the check cannot run; one line.
class CannotRun : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

// ---- Options ----

struct Options {
  std::string definitions;
  std::optional<std::string> privileges;
  std::vector<std::string> handlers;
  bool as_json = false;
  bool help = false;
};

bool is_json_format(std::string_view name) {
  if (name != "json" && name != "text") {
    throw CannotRun("--format is text or json");
  }
  return name == "json";
}

Options read_options(int argc, char **argv) {
  static constexpr option kOptions[] = {{"privileges", required_argument, nullptr, 'p'},
                                        {"handlers", required_argument, nullptr, 'H'},
                                        {"format", required_argument, nullptr, 'f'},
                                        {"help", no_argument, nullptr, 'h'},
                                        {nullptr, 0, nullptr, 0}};
  Options options;
  optind = 0;  // read from the start, whatever was read before
  opterr = 0;
  for (int letter = 0; (letter = getopt_long(argc, argv, "h", kOptions, nullptr)) != -1;) {
    switch (letter) {
      case 'p':
        options.privileges = optarg;
        break;
      case 'H':
        options.handlers.emplace_back(optarg);
        break;
      case 'f':
        options.as_json = is_json_format(optarg);
        break;
      case 'h':
        options.help = true;
        return options;
      default:
        throw CannotRun(kUsage);
    }
  }
  if (argc - optind != 1) {
    throw CannotRun(kUsage);
  }
  options.definitions = argv[optind];
  return options;
}

// ---- Files ----

struct File {
  explicit File(const std::string &path) : descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
  ~File() {
    if (descriptor >= 0) {
      close(descriptor);
    }
  }
  File(const File &) = delete;
  File &operator=(const File &) = delete;
  int descriptor;
};

std::string read_bytes(const std::string &path, bool is_text = true) {
  const File file(path);
  const auto cannot = [&path](const std::string &reason) { return CannotRun(path + ": " + reason); };
  struct stat about {};
  if (file.descriptor < 0 || fstat(file.descriptor, &about) != 0) {
    throw cannot(std::strerror(errno));
  }
  if (S_ISDIR(about.st_mode)) {
    throw cannot("is a folder, not a document");
  }
  std::string bytes;
  if (about.st_size > 0 && static_cast<std::size_t>(about.st_size) <= kLargestDocument) {
    bytes.reserve(static_cast<std::size_t>(about.st_size) + 1);
  }
  std::array<char, 65536> block{};
  for (;;) {
    const ssize_t count = read(file.descriptor, block.data(), block.size());
    if (count < 0 && errno != EINTR) {
      throw cannot(std::strerror(errno));
    }
    if (count == 0) {
      return bytes;
    }
    if (count > 0) {
      bytes.append(block.data(), static_cast<std::size_t>(count));
    }
    if (is_text && std::memchr(block.data(), '\0', count > 0 ? static_cast<std::size_t>(count) : 0) != nullptr) {
      throw cannot("is not a text");
    }
    if (bytes.size() > kLargestDocument) {
      throw cannot("is larger than 1 GiB");
    }
  }
}

// ---- Handlers libraries ----

struct TypesRelease {
  void operator()(validator_typesystem *types) const { validator_typesystem_free(types); }
};
using Types = std::unique_ptr<validator_typesystem, TypesRelease>;

// A library stays loaded until the process ends.
void load_library(const std::string &path, validator_typesystem *types) {
  // A name without a slash means a file here, not one of the system's libraries.
  const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
  void *library = dlopen(file.c_str(), RTLD_LAZY | RTLD_GLOBAL);
  if (library == nullptr) {
    throw CannotRun(std::string("cannot load handlers: ") + dlerror());
  }
  using Register = void (*)(validator_typesystem *);
  if (const auto add_types = reinterpret_cast<Register>(dlsym(library, "cli_shell_register_types"))) {
    add_types(types);
  }
}

Host host_with(const std::vector<std::string> &libraries, validator_typesystem *types) {
  Host host;
  host.types = types;
  if (libraries.empty()) {
    return host;
  }
  for (const std::string &path : libraries) {
    load_library(path, types);
    for (std::string &handler : exported_handlers(read_bytes(path, /*is_text=*/false))) {
      host.exported_handlers.push_back(std::move(handler));
    }
  }
  host.has_handler = [](const char *name) { return dlsym(RTLD_DEFAULT, name) != nullptr; };
  return host;
}

int check(const Options &options) {
  JsonDocument definitions(options.definitions, read_bytes(options.definitions));
  std::optional<JsonDocument> privileges;
  if (options.privileges) {
    privileges.emplace(*options.privileges, read_bytes(*options.privileges));
  }
  const Types types(validator_typesystem_new());
  const Host host = host_with(options.handlers, types.get());
  Findings findings;
  check_documents(definitions, privileges ? &*privileges : nullptr, host, findings);
  (options.as_json ? print_as_json : print_as_text)(findings, stdout);
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    throw CannotRun(std::string("cannot write: ") + std::strerror(errno));
  }
  return findings.count(Severity::kError) == 0 ? 0 : 1;
}

}  // namespace

void check_documents(JsonDocument &definitions, JsonDocument *privileges, const Host &host, Findings &findings) {
  Language language;
  load_language(definitions, privileges, host, language, findings);
  warn_about_members(language, findings);
  warn_about_words(language, findings);
  warn_about_prompts(language, findings);
  warn_about_arguments(language, findings);
  warn_about_values(language, host, findings);
  warn_about_aliases(language, host, findings);
  warn_about_handlers(language, host, findings);
  findings.sort(std::array<const JsonDocument *, 2>{&definitions, privileges});
}

int check_main(int argc, char **argv) {
  try {
    const Options options = read_options(argc, argv);
    if (options.help) {
      std::puts(kUsage);
      return 0;
    }
    return check(options);
  } catch (const CannotRun &reason) {
    std::fprintf(stderr, "cli-shell check: %s\n", reason.what());
  } catch (const std::bad_alloc &) {
    std::fputs("cli-shell check: not enough memory for the documents\n", stderr);
  }
  return kCouldNotRun;
}

}  // namespace cli_check
