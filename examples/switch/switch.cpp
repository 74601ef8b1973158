// The switch's handlers. Each is found by the name that switch.json gives it, so none has a name of C++.
#include <cli_engine/cli_engine.h>
#include <cli_engine/table.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>

namespace {

constexpr int kPorts = 4;
std::array<std::string, kPorts + 1> speeds = {"", "auto", "auto", "auto", "auto"};  // by the port's number

struct TableFree {
  void operator()(table *t) const { table_free(t); }
};

}  // namespace

extern "C" CLI_API int set_speed(cli *engine, cli_node *node) {
  std::int64_t port = 0;
  const char *rate = "";
  cli_arg_int(&engine->root, "port number", &port);  // of the line that entered the mode
  cli_arg_text(node, "rate", &rate);
  speeds[static_cast<std::size_t>(port)] = rate;
  return 0;
}

extern "C" CLI_API int show_ports(cli *engine, cli_node *) {
  table_style style{};
  style.flags = TABLE_HEADER_RULE;
  style.pad_right = 2;
  const std::unique_ptr<table, TableFree> ports(table_new(2, &style));
  table_set_header(ports.get(), 0, "Port", nullptr);
  table_set_header(ports.get(), 1, "Speed", nullptr);
  for (int port = 1; port <= kPorts; port++) {
    const int row = table_new_row(ports.get(), nullptr, nullptr);
    table_set_cell(ports.get(), row, 0, std::to_string(port).c_str(), nullptr);
    table_set_cell(ports.get(), row, 1, speeds[static_cast<std::size_t>(port)].c_str(), nullptr);
  }
  table_print(ports.get(), &engine->pager, 1);
  return 0;
}
