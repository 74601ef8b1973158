// Reports on the machine's network: links, addresses, routes, neighbours, counters.
#include <sys/socket.h>

#include <algorithm>
#include <sstream>

#include "router.hpp"
#include "tables.hpp"

namespace {

using router::Cell;
using router::Entry;
using router::router_of;
using router::say;
using router::Table;
namespace machine = router::machine;

Cell state_of(const machine::Link &link) {
  if (!link.enabled) return {"disabled", router::kYellow};
  return link.running ? Cell{"up", router::kGreen} : Cell{"down", router::kRed};
}

void subtract(uint64_t (&from)[2], const uint64_t (&base)[2]) {
  for (size_t i = 0; i < 2; ++i) from[i] -= std::min(base[i], from[i]);  // a card that came back counts from 0 again
}

// The links with what they counted since "clear counters".
std::vector<machine::Link> links(cli *engine) {
  std::vector<machine::Link> found = machine::links();
  for (machine::Link &link : found) {
    const auto base = router_of(engine).cleared.find(link.name);
    if (base == router_of(engine).cleared.end()) continue;
    subtract(link.counters.bytes, base->second.bytes);
    subtract(link.counters.packets, base->second.packets);
    subtract(link.counters.errors, base->second.errors);
    subtract(link.counters.drops, base->second.drops);
  }
  return found;
}

uint64_t sum(const uint64_t (&counters)[2]) {
  return counters[0] + counters[1];
}

std::string description_of(cli *engine, const std::string &name) {
  for (const Entry *interface : router_of(engine).configuration.all("interface")) {
    if (interface->text("interface-name") != name) continue;
    const Entry *description = interface->find("description");
    return description == nullptr ? "" : description->text("text");
  }
  return {};
}

std::string addresses_of(int index, int family) {
  std::string text;
  for (const machine::Address &address : machine::addresses(family)) {
    if (address.index == index) text += (text.empty() ? "" : "\n") + address.text;
  }
  return text;
}

void say_counters(cli *engine, const char *what, const machine::Counters &counters, size_t direction) {
  say(engine, "  %s %llu packets, %llu bytes, %llu errors, %llu drops", what,
      static_cast<unsigned long long>(counters.packets[direction]),
      static_cast<unsigned long long>(counters.bytes[direction]),
      static_cast<unsigned long long>(counters.errors[direction]),
      static_cast<unsigned long long>(counters.drops[direction]));
}

void show_link(cli *engine, const machine::Link &link) {
  say(engine, "%s is %s, MTU %u bytes", link.name.c_str(), state_of(link).text.c_str(), link.mtu);
  if (const std::string text = description_of(engine, link.name); !text.empty())
    say(engine, "  Description: %s", text.c_str());
  if (!link.mac.empty()) say(engine, "  Hardware address %s", link.mac.c_str());
  for (const int family : {AF_INET, AF_INET6}) {
    for (const machine::Address &address : machine::addresses(family)) {
      if (address.index == link.index)
        say(engine, "  %s address %s", family == AF_INET ? "IPv4" : "IPv6", address.text.c_str());
    }
  }
  say_counters(engine, "Received", link.counters, 0);
  say_counters(engine, "Sent", link.counters, 1);
}

constexpr struct {
  std::string_view order;
  int column;
  table_compare compare;
} kLinkOrders[] = {{"name", 0, router::by_name}, {"traffic", 2, router::by_amount}, {"errors", 7, router::by_amount}};

void show_links(cli *engine, cli_node *command) {
  Table rows({{"Interface"},
              {"State"},
              {"Traffic", ALIGN_RIGHT},
              {"Received", ALIGN_RIGHT},
              {"Sent", ALIGN_RIGHT},
              {"Packets in", ALIGN_RIGHT},
              {"Packets out", ALIGN_RIGHT},
              {"Errors", ALIGN_RIGHT}});
  const bool only_inactive = router::given(command, "inactive");
  for (const machine::Link &link : links(engine)) {
    if (only_inactive && link.enabled && link.running) continue;
    const machine::Counters &counted = link.counters;
    const uint64_t errors = sum(counted.errors);
    rows.add_row({{link.name},
                  state_of(link),
                  {machine::scaled(sum(counted.bytes))},
                  {machine::scaled(counted.bytes[0])},
                  {machine::scaled(counted.bytes[1])},
                  {machine::scaled(counted.packets[0])},
                  {machine::scaled(counted.packets[1])},
                  {machine::scaled(errors), errors != 0 ? router::kRed : router::kPlain}});
  }
  const std::string wanted = router::text_argument(command, "order");
  for (const auto &row : kLinkOrders) {
    if (row.order == wanted) rows.sort(row.column, row.compare);
  }
  rows.print(engine);
}

int show_addresses(cli *engine, int family) {
  const std::vector<machine::Link> known = machine::links();
  Table rows({{"Interface"}, {"Address"}, {"Scope"}, {"State"}});
  for (const machine::Address &address : machine::addresses(family)) {
    const auto link = std::find_if(known.begin(), known.end(), [&](const auto &l) { return l.index == address.index; });
    if (link != known.end()) rows.add_row({{link->name}, {address.text}, {address.scope}, state_of(*link)});
  }
  rows.print(engine);
  return 0;
}

// "address" asks for the routes that lead there, "prefix" for those inside it, "origin" for those of one origin.
bool is_wanted(cli_node *command, const machine::Route &route) {
  const std::string address = router::text_argument(command, "address");
  const std::string prefix = router::text_argument(command, "prefix");
  const std::string origin = router::text_argument(command, "origin");
  return (address.empty() || machine::prefix_holds(route.destination, address)) &&
         (prefix.empty() || machine::prefix_holds(prefix, route.destination)) &&
         (origin.empty() || route.origin == origin);
}

int show_routes(cli *engine, cli_node *command, int family) {
  Table rows({{"Destination"}, {"Gateway"}, {"Interface"}, {"Origin"}, {"Metric", ALIGN_RIGHT}});
  for (const machine::Route &route : machine::routes(family)) {
    if (!is_wanted(command, route)) continue;
    rows.add_row({{route.destination},
                  {route.gateway.empty() ? "connected" : route.gateway},
                  {route.interface},
                  {route.origin},
                  {std::to_string(route.metric)}});
  }
  rows.sort(0, router::by_name);
  rows.print(engine);
  return 0;
}

int show_route_summary(cli *engine, int family) {
  std::map<std::string, int> counts;
  for (const machine::Route &route : machine::routes(family)) ++counts[route.origin];
  Table rows({{"Origin"}, {"Routes", ALIGN_RIGHT}});
  for (const auto &[origin, count] : counts) rows.add_row({{origin}, {std::to_string(count)}});
  rows.print(engine);
  return 0;
}

int show_neighbors(cli *engine, cli_node *command, int family) {
  const std::string interface = router::text_argument(command, "interface-name");
  Table rows({{"Address"}, {"Hardware address"}, {"Interface"}, {"State"}});
  for (const machine::Neighbor &neighbor : machine::neighbors(family)) {
    if (!interface.empty() && neighbor.interface != interface) continue;
    const bool lost = neighbor.state == "failed" || neighbor.state == "incomplete";
    rows.add_row({{neighbor.address},
                  {neighbor.mac},
                  {neighbor.interface},
                  {neighbor.state, lost ? router::kRed : router::kPlain}});
  }
  rows.sort(0, router::by_name);
  rows.print(engine);
  return 0;
}

// /proc/net/snmp has a line of names and a line of numbers for each protocol.
std::vector<std::pair<std::string, std::string>> ipv4_counters() {
  std::vector<std::pair<std::string, std::string>> found;
  const std::vector<std::string> lines = machine::lines_of("/proc/net/snmp");
  for (size_t i = 0; i + 1 < lines.size(); i += 2) {
    std::istringstream names(lines[i]);
    std::istringstream numbers(lines[i + 1]);
    std::string protocol;
    std::string name;
    std::string number;
    names >> protocol;
    numbers >> number;
    protocol.pop_back();  // the colon
    while (names >> name && numbers >> number) found.emplace_back(protocol + name, number);
  }
  return found;
}

std::vector<std::pair<std::string, std::string>> ipv6_counters() {
  std::vector<std::pair<std::string, std::string>> found;
  for (const std::string &line : machine::lines_of("/proc/net/snmp6")) {
    std::pair<std::string, std::string> counter;
    std::istringstream(line) >> counter.first >> counter.second;
    found.push_back(counter);
  }
  return found;
}

int show_counters(cli *engine, const std::vector<std::pair<std::string, std::string>> &counters) {
  Table rows({{"Counter"}, {"Value", ALIGN_RIGHT}});
  for (const auto &[name, value] : counters) {
    if (value != "0") rows.add_row({{name}, {value}});
  }
  rows.print(engine);
  return 0;
}

}  // namespace

ROUTER_HANDLER router_show_interfaces(cli *engine, cli_node *command) {
  const std::string name = router::text_argument(command, "interface-name");
  if (name.empty()) {
    show_links(engine, command);
    return 0;
  }
  const std::vector<machine::Link> known = links(engine);
  const auto link = std::find_if(known.begin(), known.end(), [&](const auto &l) { return l.name == name; });
  if (link == known.end()) return router::refuse(engine, "There is no interface \"%s\" on this machine", name.c_str());
  show_link(engine, *link);
  return 0;
}

ROUTER_HANDLER router_show_interfaces_brief(cli *engine, cli_node * /*command*/) {
  Table rows({{"Interface"}, {"State"}, {"MTU", ALIGN_RIGHT}, {"Hardware address"}, {"IPv4 address"}});
  for (const machine::Link &link : machine::links()) {
    rows.add_row(
        {{link.name}, state_of(link), {std::to_string(link.mtu)}, {link.mac}, {addresses_of(link.index, AF_INET)}});
  }
  rows.print(engine);
  return 0;
}

ROUTER_HANDLER router_show_interfaces_counters(cli *engine, cli_node *command) {
  const bool only_errors = router::given(command, "errors");
  Table rows({{"Interface"},
              {"Packets in", ALIGN_RIGHT},
              {"Errors", ALIGN_RIGHT},
              {"Drops", ALIGN_RIGHT},
              {"Packets out", ALIGN_RIGHT},
              {"Errors", ALIGN_RIGHT},
              {"Drops", ALIGN_RIGHT}});
  for (const machine::Link &link : links(engine)) {
    const machine::Counters &counted = link.counters;
    if (only_errors && sum(counted.errors) + sum(counted.drops) == 0) continue;
    std::vector<Cell> row = {{link.name}};
    for (size_t direction = 0; direction < 2; ++direction) {
      const uint64_t errors = counted.errors[direction];
      row.push_back({std::to_string(counted.packets[direction])});
      row.push_back({std::to_string(errors), errors != 0 ? router::kRed : router::kPlain});
      row.push_back({std::to_string(counted.drops[direction])});
    }
    rows.add_row(row);
  }
  rows.print(engine);
  return 0;
}

ROUTER_HANDLER router_show_interfaces_description(cli *engine, cli_node * /*command*/) {
  Table rows({{"Interface"}, {"State"}, {"Description"}});
  for (const machine::Link &link : machine::links()) {
    rows.add_row({{link.name}, state_of(link), {description_of(engine, link.name)}});
  }
  rows.print(engine);
  return 0;
}

ROUTER_HANDLER router_clear_counters(cli *engine, cli_node *command) {
  const std::string name = router::text_argument(command, "interface-name");
  for (const machine::Link &link : machine::links()) {
    if (name.empty() || link.name == name) router_of(engine).cleared[link.name] = link.counters;
  }
  return 0;
}

ROUTER_HANDLER router_show_ip_interface(cli *engine, cli_node * /*command*/) {
  return show_addresses(engine, AF_INET);
}

ROUTER_HANDLER router_show_ipv6_interface(cli *engine, cli_node * /*command*/) {
  return show_addresses(engine, AF_INET6);
}

ROUTER_HANDLER router_show_ip_route(cli *engine, cli_node *command) {
  return show_routes(engine, command, AF_INET);
}

ROUTER_HANDLER router_show_ipv6_route(cli *engine, cli_node *command) {
  return show_routes(engine, command, AF_INET6);
}

ROUTER_HANDLER router_show_ip_route_summary(cli *engine, cli_node * /*command*/) {
  return show_route_summary(engine, AF_INET);
}

ROUTER_HANDLER router_show_ipv6_route_summary(cli *engine, cli_node * /*command*/) {
  return show_route_summary(engine, AF_INET6);
}

ROUTER_HANDLER router_show_ip_neighbors(cli *engine, cli_node *command) {
  return show_neighbors(engine, command, AF_INET);
}

ROUTER_HANDLER router_show_ipv6_neighbors(cli *engine, cli_node *command) {
  return show_neighbors(engine, command, AF_INET6);
}

ROUTER_HANDLER router_show_ip_traffic(cli *engine, cli_node * /*command*/) {
  return show_counters(engine, ipv4_counters());
}

ROUTER_HANDLER router_show_ipv6_traffic(cli *engine, cli_node * /*command*/) {
  return show_counters(engine, ipv6_counters());
}

ROUTER_HANDLER router_show_ip_sockets(cli *engine, cli_node *command) {
  const bool only_listening = router::given(command, "listening");
  Table rows({{"Local"}, {"Remote"}, {"State"}});
  for (const machine::Socket &socket : machine::tcp_sockets()) {
    if (!only_listening || socket.state == "listening") rows.add_row({{socket.local}, {socket.remote}, {socket.state}});
  }
  rows.print(engine);
  return 0;
}

ROUTER_HANDLER router_show_name_servers(cli *engine, cli_node * /*command*/) {
  Table rows({{"Name server"}});
  for (const std::string &line : machine::lines_of("/etc/resolv.conf")) {
    std::string word;
    std::string address;
    if (std::istringstream(line) >> word >> address && word == "nameserver") rows.add_row({{address}});
  }
  rows.print(engine);
  return 0;
}
