// The process's exported functions by name. A language names few handlers many times, so each is looked up once.
#ifndef CLI_ENGINE_HANDLER_TABLE_HPP
#define CLI_ENGINE_HANDLER_TABLE_HPP

#include <string_view>

#include "cli_engine/cli_engine.h"
#include "cli_engine/privilege_index.hpp"

namespace cli_engine {

class HandlerTable {
 public:
  HandlerTable();
  ~HandlerTable();
  HandlerTable(const HandlerTable &) = delete;
  HandlerTable &operator=(const HandlerTable &) = delete;

  // The function, or null with the reason in dlerror. The name must outlive the table.
  cli_handler find(const char *name);

 private:
  struct Entry {
    const char *name;  // null in a free place
    cli_handler handler;
  };

  void grow();
  Entry &place_of(std::string_view name);

  void *symbols_;
  Vector<Entry> entries_;  // open addressing; a power of two
  std::size_t used_ = 0;
};

}  // namespace cli_engine

#endif
