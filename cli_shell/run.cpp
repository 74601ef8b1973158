// The shell itself.
#include "cli_shell/language_files.hpp"
#include "cli_shell/session.hpp"
#include "cli_shell/subcommands.hpp"

namespace cli_shell {
namespace {

int dump(const Options &options, const std::string &path) {
  std::vector<HandlersLibrary> libraries = load_handlers_libraries(options.handlers);
  const Documents documents = load_language(path, options.privileges, libraries, kNoHandlers);
  Shell shell(options, documents, std::move(libraries));
  shell.print([&] { cli_debug_dump(shell.engine()); }, true);
  return shell.output_lost() ? 1 : 0;
}

}  // namespace

int run_main(const Options &options) {
  const std::string &path = only_operand(options, "the definition document");
  if (options.dump) return dump(options, path);

  const Documents documents = load_documents(path, options.privileges);
  const Session session(options);
  Shell shell(options, documents, load_handlers_libraries(options.handlers));
  shell.start();
  return session.run(shell);
}

}  // namespace cli_shell
