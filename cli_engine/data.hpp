// A command's output as one JSON document, for engines with CLI_DATA.
#ifndef CLI_ENGINE_DATA_HPP
#define CLI_ENGINE_DATA_HPP

#include "cli_engine/cli_engine.h"
#include "cli_engine/table.h"
#include "libglobal/dyn_string.hpp"

namespace cli_engine {

// Collects, from a command's first word to its last, what its handler gives: the line, and the tables as JSON text.
struct Data {
  DynString *command = nullptr;  // null while no command writes data
  DynString *tables = nullptr;
};

// A command begins to write data: what its engine prints until end_data becomes one document.
void begin_data(cli *engine, Data &data);

// Writes the document of a command: its line, its tables, and as texts the lines of the pager, which is then empty.
void end_data(cli *engine, Data &data);

// Forgets a document that is not to be written.
void drop_data(Data &data);

// Whether what reaches the pager is kept for such a document.
bool writes_data(const pager &p);

// Takes the table as data; false when the pager belongs to no command that writes data.
bool take_table(const pager &p, const char *title, const table &t);

}  // namespace cli_engine

#endif
