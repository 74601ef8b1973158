// The shell itself.
#include "cli_shell/handlerless.hpp"
#include "cli_shell/session.hpp"
#include "cli_shell/subcommands.hpp"

namespace cli_shell {
namespace {

int dump(const Options &options, Documents documents) {
  documents.definitions = handlerless(documents.definitions.get());
  Shell shell(options, documents, load_handlers_libraries(options.handlers));
  shell.print([&] { cli_debug_dump(shell.engine()); }, true);
  return shell.output_lost() ? 1 : 0;
}

}  // namespace

int run_main(const Options &options) {
  Documents documents = load_documents(only_operand(options, "the definition document"), options.privileges);
  if (options.dump) return dump(options, std::move(documents));

  const Session session(options);
  Shell shell(options, documents, load_handlers_libraries(options.handlers));
  shell.start();
  return session.run(shell);
}

}  // namespace cli_shell
