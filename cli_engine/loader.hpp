// Building the tree from the documents.
#ifndef CLI_ENGINE_LOADER_HPP
#define CLI_ENGINE_LOADER_HPP

#include "cli_engine/cli_engine.h"

namespace cli_engine {

// Loads every definition of an object below the engine's root. A fault in a document ends the process.
void load_tree(cli *engine, validator_typesystem *types, json_t *definitions, json_t *privileges);

}  // namespace cli_engine

#endif
