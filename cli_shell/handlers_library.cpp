#include "cli_shell/handlers_library.hpp"

#include <dlfcn.h>

#include "cli_shell/options.hpp"

namespace cli_shell {
namespace {

template <typename Function>
void find_function(void *library, const char *name, Function &function) {
  function = reinterpret_cast<Function>(dlsym(library, name));
}

HandlersLibrary load_library(const std::string &path) {
  // A name without a slash means a file here, not one of the system's libraries.
  const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
  void *library = dlopen(file.c_str(), RTLD_NOW | RTLD_GLOBAL);
  if (!library) throw UserError(std::string("cannot load handlers: ") + dlerror());
  HandlersLibrary found;
  find_function(library, "cli_shell_register_types", found.register_types);
  find_function(library, "cli_shell_start", found.start);
  find_function(library, "cli_shell_stop", found.stop);
  find_function(library, "cli_shell_complete", found.complete);
  find_function(library, "cli_shell_secrets", found.secrets);
  return found;
}

}  // namespace

std::vector<HandlersLibrary> load_handlers_libraries(const std::vector<std::string> &paths) {
  std::vector<HandlersLibrary> libraries;
  libraries.reserve(paths.size());
  for (const std::string &path : paths) libraries.push_back(load_library(path));
  return libraries;
}

}  // namespace cli_shell
