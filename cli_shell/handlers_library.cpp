#include "cli_shell/handlers_library.hpp"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>

#include <cstring>

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
  HandlersLibrary found{};
  found.handle = library;
  find_function(library, "cli_shell_register_types", found.register_types);
  find_function(library, "cli_shell_start", found.start);
  find_function(library, "cli_shell_stop", found.stop);
  find_function(library, "cli_shell_complete", found.complete);
  find_function(library, "cli_shell_secrets", found.secrets);
  return found;
}

}  // namespace

cli_handler HandlersLibrary::handler(const char *name) const {
  link_map *own = nullptr;
  void *const symbol = handle ? dlsym(handle, name) : nullptr;  // looks into what the library needs, too
  Dl_info found;
  ElfW(Sym) *entry = nullptr;
  if (!symbol || dlinfo(handle, RTLD_DI_LINKMAP, &own) != 0 ||
      dladdr1(symbol, &found, reinterpret_cast<void **>(&entry), RTLD_DL_SYMENT) == 0)
    return nullptr;
  const bool is_own = reinterpret_cast<ElfW(Addr)>(found.dli_fbase) == own->l_addr;
  return is_own && entry && ELF64_ST_TYPE(entry->st_info) == STT_FUNC ? reinterpret_cast<cli_handler>(symbol) : nullptr;
}

HandlerTable::HandlerTable(json_t *definitions, const std::vector<HandlersLibrary> &libraries) {
  add_named_in(definitions, libraries);
  entries_.push_back({nullptr, nullptr});
}

void HandlerTable::add_named_in(json_t *value, const std::vector<HandlersLibrary> &libraries) {
  const char *key;
  json_t *member;
  json_object_foreach(value, key, member) {
    add_named_in(member, libraries);
    const char *const name = std::strcmp(key, "#handler") == 0 ? json_string_value(member) : nullptr;
    if (!name) continue;
    for (const HandlersLibrary &library : libraries) {
      const cli_handler handler = library.handler(name);
      if (!handler) continue;
      names_.emplace_back(name);
      entries_.push_back({names_.back().c_str(), handler});
      break;
    }
  }
}

std::vector<HandlersLibrary> load_handlers_libraries(const std::vector<std::string> &paths) {
  std::vector<HandlersLibrary> libraries;
  libraries.reserve(paths.size());
  for (const std::string &path : paths) libraries.push_back(load_library(path));
  return libraries;
}

}  // namespace cli_shell
