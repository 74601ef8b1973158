// cli-shell: a shell that speaks the command language of a definition document.
#include <fcntl.h>
#include <langinfo.h>
#include <sys/auxv.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <string_view>

#include "cli_shell/memory_gone.hpp"
#include "cli_shell/output/raw_write.hpp"
#include "cli_shell/private_memory.hpp"
#include "cli_shell/subcommands.hpp"
#include "libglobal/resembling.hpp"

namespace cli_shell {
namespace {

constexpr int kCannotRun = 2;

// The first row is what a command line without a subcommand means.
constexpr Subcommand kSubcommands[] = {
    {"run", run_main, "run [options] DEFINITION.json", "the shell itself; what is done without a name", {}},
    {"check", check_main, "check [options] DEFINITION.json", "the faults of both documents, with file, line and column",
     kCheckOptions},
    {"preview",
     preview_main,
     "preview [options] DEFINITION.json",
     "the language at a prompt without handlers: commands show what they would call",
     {}},
    {"test", test_main, "test [options] SCRIPT...", "sessions with the output expected from them", kTestOptions},
    {"reference", reference_main, "reference [options] DEFINITION.json", "the command reference of a language",
     kReferenceOptions},
    {"new", new_main, "new [--language LANGUAGE] NAME", "a small language to begin with: handlers, a test, a build",
     kNewOptions},
};

// Characters are UTF-8, whatever encoding the environment names.
void set_character_encoding() {
  std::setlocale(LC_CTYPE, "");
  if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0) std::setlocale(LC_CTYPE, "C.UTF-8");
}

// A standard descriptor that was closed would be the number of the next file that is opened. Standard output that was
// closed stays one that cannot be written.
void open_standard_descriptors() {
  while (true) {
    const int fd = open("/dev/null", O_RDONLY);
    if (fd > STDERR_FILENO) close(fd);
    if (fd < 0 || fd >= STDERR_FILENO) return;
  }
}

// The user names libraries to load and files to write: with rights that are not the user's own they would be the way to
// those rights.
void refuse_raised_rights() {
  if (getauxval(AT_SECURE) != 0) throw UserError("it does not run set-user-ID or set-group-ID");
}

int print_text(const std::string &text) {
  if (std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0) return 0;
  say_on_standard_error(std::string("cannot write standard output: ") + std::strerror(errno));
  return 1;
}

const Subcommand *subcommand_named(std::string_view name) {
  for (const Subcommand &row : kSubcommands)
    if (name == row.name) return &row;
  return nullptr;
}

// A first word that is no file was meant as a subcommand when it resembles one.
void refuse_misspelt(const char *word) {
  for (const Subcommand &row : kSubcommands)
    if (libglobal::resembles(word, row.name) && access(word, F_OK) != 0)
      throw UserError(std::string("there is no file '") + word + "'; did you mean cli-shell " + row.name + "?");
}

// The arguments behind the program's name.
int run(int argc, char **argv) {
  const Subcommand *const named = argc > 0 ? subcommand_named(argv[0]) : nullptr;
  const Subcommand &subcommand = named ? *named : kSubcommands[0];
  if (argc > 0 && !named) refuse_misspelt(argv[0]);
  const Options options = parse_options({argv + (named ? 1 : 0), argv + argc}, subcommand.extra);
  if (options.help) return print_text(usage(kSubcommands));
  if (options.version) return print_text("cli-shell " CLI_SHELL_VERSION "\n");
  return subcommand.main(options);
}

}  // namespace
}  // namespace cli_shell

int main(int argc, char **argv) try {
  cli_shell::end_orderly_without_memory();
  cli_shell::refuse_raised_rights();
  cli_shell::keep_memory_private();
  cli_shell::open_standard_descriptors();
  cli_shell::set_character_encoding();
  return cli_shell::run(argc - std::min(argc, 1), argv + std::min(argc, 1));
} catch (const std::bad_alloc &) {
  cli_shell::say_memory_is_gone();
  return cli_shell::kCannotRun;
} catch (const std::exception &error) {
  cli_shell::say_on_standard_error(error.what());
  return cli_shell::kCannotRun;
}
