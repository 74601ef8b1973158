// What the machine is and does, read from the kernel. Nothing here changes the machine. What cannot be read is left
// out: an empty list, an empty text, a 0.
#ifndef EXAMPLES_ROUTER_MACHINE_HPP
#define EXAMPLES_ROUTER_MACHINE_HPP

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace router::machine {

struct Counters {
  uint64_t bytes[2];  // received, sent; the others likewise
  uint64_t packets[2];
  uint64_t errors[2];
  uint64_t drops[2];
};

struct Link {
  int index;
  std::string name;
  std::string mac;
  unsigned mtu;
  bool enabled;  // the operator wants it up
  bool running;  // it can carry packets
  Counters counters;
};

struct Address {
  int index;         // of its link
  std::string text;  // with prefix length
  std::string scope;
};

struct Route {
  std::string destination;  // with prefix length
  std::string gateway;      // or ""
  std::string interface;
  std::string origin;
  uint32_t metric;
};

struct Neighbor {
  std::string address;
  std::string mac;
  std::string interface;
  std::string state;
};

struct Process {
  int pid;
  std::string name;
  char state;
  uint64_t memory_kb;  // resident
  double cpu_seconds;
};

struct Socket {
  std::string local;
  std::string remote;
  std::string state;
};

struct FileSystem {
  std::string mount;
  std::string type;
  uint64_t size;  // bytes
  uint64_t free;
};

std::vector<Link> links();                   // by index
std::vector<Address> addresses(int family);  // AF_INET or AF_INET6; likewise below
std::vector<Route> routes(int family);       // of the main table
std::vector<Neighbor> neighbors(int family);
std::vector<Process> processes();
std::vector<Socket> tcp_sockets();
std::vector<FileSystem> file_systems();

// The name of a link by its index.
std::string link_name(const std::vector<Link> &links, int index);

// Does the prefix (with length) hold the address or prefix? Both of one family.
bool prefix_holds(const std::string &prefix, const std::string &inner);

// The prefix without the bits beyond its length, or "" when it has none there.
std::string network_beneath(const std::string &prefix);

std::string first_line(const char *path);
std::vector<std::string> lines_of(const char *path);

// The values of a file of "name: value" lines, such as /proc/meminfo.
std::map<std::string, std::string> fields_of(const char *path, char separator);

std::string duration(uint64_t seconds);  // "2 days, 3 hours, 4 minutes"
std::string scaled(uint64_t bytes);      // "12.5M"
double unscaled(std::string_view text);  // about what `scaled` was given

}  // namespace router::machine

#endif
