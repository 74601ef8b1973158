// Building the tree from the documents.
#ifndef CLI_ENGINE_LOADER_HPP
#define CLI_ENGINE_LOADER_HPP

#include "cli_engine/cli_engine.h"
#include "cli_engine/document.hpp"
#include "cli_engine/faults.hpp"

namespace cli_engine {

struct LoadSource {
  validator_typesystem *types;
  Value definitions;                  // an object
  Value privileges;                   // or nothing
  const cli_handler_entry *handlers;  // may be null
  std::uint32_t flags;                // CLI_HANDLERS_ONLY counts
  Faults *faults;                     // takes the faults; null: the first one ends the process
  TextDocument *text = nullptr;       // whose values the definitions are, and which may give up what was read
};

// Loads every definition below the engine's root. When there were errors the tree is good for nothing but its release.
void load_tree(cli *engine, const LoadSource &source);

}  // namespace cli_engine

#endif
