// The functions that handlers are: the host's own table, then the process's exported functions. A language names few
// handlers many times, so each is looked up once.
#ifndef CLI_ENGINE_HANDLER_TABLE_HPP
#define CLI_ENGINE_HANDLER_TABLE_HPP

#include <string_view>

#include "cli_engine/cli_engine.h"
#include "cli_engine/privilege_index.hpp"

namespace cli_engine {

class HandlerTable {
 public:
  // The rows end with a null name and may be null; names that are not among them are asked of the dynamic linker,
  // unless the rows are all that counts.
  HandlerTable(const cli_handler_entry *rows, bool rows_only);
  ~HandlerTable();
  HandlerTable(const HandlerTable &) = delete;
  HandlerTable &operator=(const HandlerTable &) = delete;

  // The function, or null. The name must outlive the table.
  cli_handler find(const char *name);

  // Why find returned null last.
  [[nodiscard]] const char *reason() const;

 private:
  struct Entry {
    const char *name;  // null in a free place
    cli_handler handler;
  };

  void grow();
  Entry &place_of(std::string_view name);

  void add(Entry &place, const char *name, cli_handler handler);

  bool rows_only_;
  void *symbols_ = nullptr;  // opened for the first name that it is asked for
  Vector<Entry> entries_;    // open addressing; a power of two
  std::size_t used_ = 0;
};

}  // namespace cli_engine

#endif
