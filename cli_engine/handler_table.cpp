#include "cli_engine/handler_table.hpp"

#include <dlfcn.h>

#include <utility>

namespace cli_engine {
namespace {

constexpr std::string_view kAnyHandler = "*";

}  // namespace

HandlerTable::HandlerTable(const cli_handler_entry *rows, bool rows_only) : rows_only_(rows_only) {
  entries_.resize(64);
  for (; rows != nullptr && rows->name != nullptr; rows++) {
    if (Entry &place = place_of(rows->name); place.name == nullptr) {
      add(place, rows->name, rows->handler);
    }
  }
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

void HandlerTable::add(Entry &place, const char *name, cli_handler handler) {
  place = {name, handler};
  used_++;
  if (used_ * 2 > entries_.size()) {
    grow();
  }
}

cli_handler HandlerTable::find(const char *name) {
  Entry &place = place_of(name);
  if (place.name != nullptr) {
    return place.handler;
  }
  if (const Entry &any = place_of(kAnyHandler); any.name != nullptr) {
    return any.handler;
  }
  if (rows_only_) {
    return nullptr;
  }
  if (symbols_ == nullptr) {
    symbols_ = dlopen(nullptr, RTLD_LAZY);
  }
  const auto handler = reinterpret_cast<cli_handler>(dlsym(symbols_, name));
  if (handler != nullptr) {
    add(place, name, handler);
  }
  return handler;
}

const char *HandlerTable::reason() const {
  const char *error = rows_only_ ? "it is not among the host's handlers" : dlerror();
  return error == nullptr ? "its address is null" : error;
}

}  // namespace cli_engine
