/* The switch's handlers. Each is found by the name that switch.json gives it. */
#include <cli_engine/cli_engine.h>
#include <cli_engine/table.h>
#include <stdio.h>

enum { PORTS = 4 };
static char speeds[PORTS + 1][8] = {"", "auto", "auto", "auto", "auto"}; /* by the port's number */

CLI_API int set_speed(cli *engine, cli_node *node) {
  int64_t port = 0;
  const char *rate = "";
  cli_arg_int(&engine->root, "port number", &port); /* of the line that entered the mode */
  cli_arg_text(node, "rate", &rate);
  snprintf(speeds[port], sizeof speeds[port], "%s", rate);
  return 0;
}

CLI_API int show_ports(cli *engine, cli_node *node) {
  (void)node;
  const table_style style = {.flags = TABLE_HEADER_RULE, .pad_right = 2};
  table *ports = table_new(2, &style);
  table_set_header(ports, 0, "Port", NULL);
  table_set_header(ports, 1, "Speed", NULL);
  for (int port = 1; port <= PORTS; port++) {
    char number[12];
    snprintf(number, sizeof number, "%d", port);
    const int row = table_new_row(ports, NULL, NULL);
    table_set_cell(ports, row, 0, number, NULL);
    table_set_cell(ports, row, 1, speeds[port], NULL);
  }
  table_print(ports, &engine->pager, 1);
  table_free(ports);
  return 0;
}
