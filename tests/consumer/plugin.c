/* A handler that lives in a plug-in; the library's functions are those of the program that loads it. */
#include <cli_engine/cli_engine.h>

int plugged(cli *engine, cli_node *node) {
  (void)node;
  return pager_feed(&engine->pager, "plugged in");
}
