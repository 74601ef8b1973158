#include "cli_engine/handler_table.hpp"

#include <dlfcn.h>

#include <utility>

namespace cli_engine {

HandlerTable::HandlerTable() : symbols_(dlopen(nullptr, RTLD_LAZY)) {
  entries_.resize(64);
}

HandlerTable::~HandlerTable() {
  if (symbols_ != nullptr) {
    dlclose(symbols_);
  }
}

HandlerTable::Entry &HandlerTable::place_of(std::string_view name) {
  auto i = static_cast<std::size_t>(hash(kHashSeed, name));
  while (entries_[i & (entries_.size() - 1)].name != nullptr && entries_[i & (entries_.size() - 1)].name != name) {
    i++;
  }
  return entries_[i & (entries_.size() - 1)];
}

void HandlerTable::grow() {
  Vector<Entry> old;
  old.resize(entries_.size() * 2);
  std::swap(old, entries_);
  for (const Entry &entry : old) {
    if (entry.name != nullptr) {
      place_of(entry.name) = entry;
    }
  }
}

cli_handler HandlerTable::find(const char *name) {
  Entry *place = &place_of(name);
  if (place->name != nullptr) {
    return place->handler;
  }
  const auto handler = reinterpret_cast<cli_handler>(dlsym(symbols_, name));
  if (handler == nullptr) {
    return nullptr;
  }
  if (used_ * 2 >= entries_.size()) {
    grow();
    place = &place_of(name);
  }
  *place = {name, handler};
  used_++;
  return handler;
}

}  // namespace cli_engine
