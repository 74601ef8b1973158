#include "machine.hpp"

#include <arpa/inet.h>
#include <dirent.h>
#include <linux/if.h>
#include <linux/neighbour.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>

namespace router::machine {

namespace {

// ---- Questions to the kernel over a netlink socket ----

class Descriptor {
 public:
  explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
  ~Descriptor() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;
  [[nodiscard]] int get() const { return descriptor_; }

 private:
  int descriptor_;
};

using Attributes = std::map<int, std::string_view>;

template <class Header>
using Answer = std::function<void(const Header &, const Attributes &)>;

Attributes attributes_of(const rtattr *attribute, size_t length) {
  Attributes found;
  for (auto left = static_cast<unsigned>(length); RTA_OK(attribute, left); attribute = RTA_NEXT(attribute, left)) {
    found[attribute->rta_type] = {static_cast<const char *>(RTA_DATA(attribute)), RTA_PAYLOAD(attribute)};
  }
  return found;
}

// Returns false after the last message of the answer, or one that says that there is none.
template <class Header>
bool read_answer(const char *data, size_t size, const Answer<Header> &answer) {
  const auto *message = reinterpret_cast<const nlmsghdr *>(data);
  for (auto left = static_cast<unsigned>(size); NLMSG_OK(message, left); message = NLMSG_NEXT(message, left)) {
    if (message->nlmsg_type == NLMSG_DONE || message->nlmsg_type == NLMSG_ERROR) return false;
    if (message->nlmsg_len < NLMSG_LENGTH(sizeof(Header))) continue;
    const char *body = reinterpret_cast<const char *>(message) + NLMSG_HDRLEN;
    const size_t header = NLMSG_ALIGN(sizeof(Header));
    const size_t rest = message->nlmsg_len - NLMSG_HDRLEN;
    answer(*reinterpret_cast<const Header *>(body),
           attributes_of(reinterpret_cast<const rtattr *>(body + header), rest > header ? rest - header : 0));
  }
  return true;
}

template <class Header>
void ask(uint16_t question, int family, const Answer<Header> &answer) {
  const Descriptor netlink(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
  struct {
    nlmsghdr header;
    std::array<unsigned char, 16> body;  // every kind of question begins with the family
  } request{};
  request.header.nlmsg_len = sizeof request;
  request.header.nlmsg_type = question;
  request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  request.body[0] = static_cast<unsigned char>(family);
  if (send(netlink.get(), &request, sizeof request, 0) < 0) return;
  const std::unique_ptr<nlmsghdr[]> buffer(new nlmsghdr[65536 / sizeof(nlmsghdr)]);
  for (;;) {
    const ssize_t size = recv(netlink.get(), buffer.get(), 65536, 0);
    if (size <= 0) return;
    if (!read_answer<Header>(reinterpret_cast<const char *>(buffer.get()), static_cast<size_t>(size), answer)) return;
  }
}

template <class Number>
Number number_of(const Attributes &attributes, int type) {
  Number number{};
  const auto found = attributes.find(type);
  if (found != attributes.end())
    std::memcpy(&number, found->second.data(), std::min(sizeof number, found->second.size()));
  return number;
}

std::string mac_of(const Attributes &attributes, int type) {
  const auto found = attributes.find(type);
  std::string text;
  if (found == attributes.end() || found->second.size() != 6) return text;
  for (const char byte : found->second) {
    char digits[4];
    std::snprintf(digits, sizeof digits, "%s%02x", text.empty() ? "" : ":", static_cast<unsigned char>(byte));
    text += digits;
  }
  return text;
}

std::string address_of(const Attributes &attributes, int type, int family) {
  const auto found = attributes.find(type);
  char text[INET6_ADDRSTRLEN];
  if (found == attributes.end() || found->second.size() < (family == AF_INET ? 4U : 16U)) return {};
  return inet_ntop(family, found->second.data(), text, sizeof text) == nullptr ? "" : text;
}

struct Named {
  unsigned value;
  const char *name;
};

constexpr Named kScopes[] = {
    {RT_SCOPE_UNIVERSE, "global"}, {RT_SCOPE_SITE, "site"}, {RT_SCOPE_LINK, "link"}, {RT_SCOPE_HOST, "host"}};
constexpr Named kOrigins[] = {{RTPROT_REDIRECT, "redirect"}, {RTPROT_KERNEL, "kernel"}, {RTPROT_BOOT, "boot"},
                              {RTPROT_STATIC, "static"},     {RTPROT_RA, "ra"},         {RTPROT_DHCP, "dhcp"}};
constexpr Named kNeighborStates[] = {
    {NUD_INCOMPLETE, "incomplete"}, {NUD_REACHABLE, "reachable"}, {NUD_STALE, "stale"}, {NUD_DELAY, "delay"},
    {NUD_PROBE, "probe"},           {NUD_FAILED, "failed"},       {NUD_NOARP, "noarp"}, {NUD_PERMANENT, "permanent"}};
constexpr Named kTcpStates[] = {{1, "established"}, {2, "syn-sent"},   {3, "syn-received"}, {4, "fin-wait-1"},
                                {5, "fin-wait-2"},  {6, "time-wait"},  {7, "closed"},       {8, "close-wait"},
                                {9, "last-ack"},    {10, "listening"}, {11, "closing"}};

template <size_t Size>
std::string name_of(const Named (&table)[Size], unsigned value) {
  for (const Named &row : table) {
    if (row.value == value) return row.name;
  }
  return std::to_string(value);
}

Counters counters_of(const Attributes &attributes) {
  const auto stats = number_of<rtnl_link_stats64>(attributes, IFLA_STATS64);
  return {.bytes = {stats.rx_bytes, stats.tx_bytes},
          .packets = {stats.rx_packets, stats.tx_packets},
          .errors = {stats.rx_errors, stats.tx_errors},
          .drops = {stats.rx_dropped, stats.tx_dropped}};
}

// ---- Prefixes ----

struct Prefix {
  int family = 0;
  std::array<unsigned char, 16> bytes{};
  unsigned length = 0;
};

Prefix parse_prefix(const std::string &text) {
  Prefix prefix;
  const size_t slash = text.find('/');
  const std::string address = text.substr(0, slash);
  prefix.family = address.find(':') == std::string::npos ? AF_INET : AF_INET6;
  if (inet_pton(prefix.family, address.c_str(), prefix.bytes.data()) != 1) prefix.family = 0;
  prefix.length = prefix.family == AF_INET ? 32 : 128;
  if (slash != std::string::npos) prefix.length = static_cast<unsigned>(std::atoi(text.c_str() + slash + 1));
  return prefix;
}

// ---- Files ----

Socket socket_of(const std::string &line, int family) {
  unsigned state = 0;
  unsigned port[2] = {0, 0};
  char raw[2][33] = {"", ""};
  if (std::sscanf(line.c_str(), " %*d: %32[0-9A-F]:%x %32[0-9A-F]:%x %x", raw[0], &port[0], raw[1], &port[1], &state) !=
      5) {
    return {};
  }
  std::string ends[2];
  for (size_t end = 0; end < 2; ++end) {
    std::array<uint32_t, 4> words{};  // each in the byte order of the machine
    for (size_t i = 0; i * 8 < std::strlen(raw[end]); ++i) {
      words[i] = static_cast<uint32_t>(std::stoul(std::string(raw[end] + i * 8, 8), nullptr, 16));
    }
    char text[INET6_ADDRSTRLEN] = "";
    inet_ntop(family, words.data(), text, sizeof text);
    ends[end] =
        (family == AF_INET6 ? '[' + std::string(text) + ']' : std::string(text)) + ':' + std::to_string(port[end]);
  }
  return {.local = ends[0], .remote = ends[1], .state = name_of(kTcpStates, state)};
}

bool read_process(const char *pid, Process &process) {
  const std::string stat = first_line(("/proc/" + std::string(pid) + "/stat").c_str());
  const size_t open = stat.find('(');
  const size_t close = stat.rfind(')');  // the name may hold parentheses of its own
  if (open == std::string::npos || close == std::string::npos) return false;
  unsigned long user = 0;
  unsigned long kernel = 0;
  long pages = 0;
  if (std::sscanf(stat.c_str() + close + 1,
                  " %c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %lu %lu %*d %*d %*d %*d %*d %*d %*u %*u %ld",
                  &process.state, &user, &kernel, &pages) != 4) {
    return false;
  }
  process.pid = std::atoi(pid);
  process.name = stat.substr(open + 1, close - open - 1);
  process.memory_kb = static_cast<uint64_t>(pages) * static_cast<uint64_t>(sysconf(_SC_PAGESIZE)) / 1024;
  process.cpu_seconds = static_cast<double>(user + kernel) / static_cast<double>(sysconf(_SC_CLK_TCK));
  return true;
}

std::string trimmed(const std::string &text) {
  const size_t begin = text.find_first_not_of(" \t");
  return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

}  // namespace

std::vector<Link> links() {
  std::vector<Link> found;
  ask<ifinfomsg>(RTM_GETLINK, AF_UNSPEC, [&found](const ifinfomsg &link, const Attributes &attributes) {
    const auto name = attributes.find(IFLA_IFNAME);
    if (name == attributes.end()) return;
    found.push_back({.index = link.ifi_index,
                     .name = std::string(name->second.data()),
                     .mac = mac_of(attributes, IFLA_ADDRESS),
                     .mtu = number_of<unsigned>(attributes, IFLA_MTU),
                     .enabled = (link.ifi_flags & IFF_UP) != 0,
                     .running = (link.ifi_flags & IFF_RUNNING) != 0,
                     .counters = counters_of(attributes)});
  });
  std::sort(found.begin(), found.end(), [](const Link &a, const Link &b) { return a.index < b.index; });
  return found;
}

std::string link_name(const std::vector<Link> &links, int index) {
  const auto link = std::find_if(links.begin(), links.end(), [index](const Link &l) { return l.index == index; });
  return link == links.end() ? "" : link->name;
}

std::vector<Address> addresses(int family) {
  std::vector<Address> found;
  ask<ifaddrmsg>(RTM_GETADDR, family, [&found, family](const ifaddrmsg &address, const Attributes &attributes) {
    if (address.ifa_family != family) return;
    const bool has_local = attributes.contains(IFA_LOCAL);  // IFA_ADDRESS is the far end of a point-to-point link then
    found.push_back({.index = static_cast<int>(address.ifa_index),
                     .text = address_of(attributes, has_local ? IFA_LOCAL : IFA_ADDRESS, family) + '/' +
                             std::to_string(address.ifa_prefixlen),
                     .scope = name_of(kScopes, address.ifa_scope)});
  });
  return found;
}

std::vector<Route> routes(int family) {
  const std::vector<Link> known = links();
  std::vector<Route> found;
  ask<rtmsg>(RTM_GETROUTE, family, [&](const rtmsg &route, const Attributes &attributes) {
    if (route.rtm_family != family || route.rtm_table != RT_TABLE_MAIN || route.rtm_type != RTN_UNICAST) return;
    std::string destination = address_of(attributes, RTA_DST, family);
    if (destination.empty()) destination = family == AF_INET ? "0.0.0.0" : "::";
    found.push_back({.destination = destination + '/' + std::to_string(route.rtm_dst_len),
                     .gateway = address_of(attributes, RTA_GATEWAY, family),
                     .interface = link_name(known, number_of<int>(attributes, RTA_OIF)),
                     .origin = name_of(kOrigins, route.rtm_protocol),
                     .metric = number_of<uint32_t>(attributes, RTA_PRIORITY)});
  });
  return found;
}

std::vector<Neighbor> neighbors(int family) {
  const std::vector<Link> known = links();
  std::vector<Neighbor> found;
  ask<ndmsg>(RTM_GETNEIGH, family, [&](const ndmsg &neighbor, const Attributes &attributes) {
    if (neighbor.ndm_family != family || (neighbor.ndm_state & ~NUD_NOARP) == 0) return;
    found.push_back({.address = address_of(attributes, NDA_DST, family),
                     .mac = mac_of(attributes, NDA_LLADDR),
                     .interface = link_name(known, neighbor.ndm_ifindex),
                     .state = name_of(kNeighborStates, neighbor.ndm_state)});
  });
  return found;
}

std::vector<Process> processes() {
  std::vector<Process> found;
  const std::unique_ptr<DIR, int (*)(DIR *)> folder(opendir("/proc"), closedir);
  while (const dirent *entry = folder ? readdir(folder.get()) : nullptr) {
    Process process;
    if (std::isdigit(static_cast<unsigned char>(entry->d_name[0])) != 0 && read_process(entry->d_name, process)) {
      found.push_back(process);
    }
  }
  return found;
}

std::vector<Socket> tcp_sockets() {
  std::vector<Socket> found;
  for (const auto &[path, family] : {std::pair{"/proc/net/tcp", AF_INET}, std::pair{"/proc/net/tcp6", AF_INET6}}) {
    for (const std::string &line : lines_of(path)) {
      if (Socket one = socket_of(line, family); !one.state.empty()) found.push_back(std::move(one));
    }
  }
  return found;
}

std::vector<FileSystem> file_systems() {
  std::vector<FileSystem> found;
  for (const std::string &line : lines_of("/proc/self/mounts")) {
    FileSystem one;
    std::string device;
    std::istringstream(line) >> device >> one.mount >> one.type;
    struct statvfs state {};
    if (device.empty() || device[0] != '/' || statvfs(one.mount.c_str(), &state) != 0 || state.f_blocks == 0) continue;
    one.size = static_cast<uint64_t>(state.f_blocks) * state.f_frsize;
    one.free = static_cast<uint64_t>(state.f_bavail) * state.f_frsize;
    found.push_back(one);
  }
  return found;
}

std::string network_beneath(const std::string &text) {
  Prefix prefix = parse_prefix(text);
  if (prefix.family == 0) return {};
  for (size_t bit = prefix.length; bit < prefix.bytes.size() * 8; ++bit)
    prefix.bytes[bit / 8] = static_cast<unsigned char>(prefix.bytes[bit / 8] & ~(0x80U >> (bit % 8)));
  if (prefix.bytes == parse_prefix(text).bytes) return {};
  char network[INET6_ADDRSTRLEN];
  inet_ntop(prefix.family, prefix.bytes.data(), network, sizeof network);
  return std::string(network) + '/' + std::to_string(prefix.length);
}

bool prefix_holds(const std::string &outer_text, const std::string &inner_text) {
  const Prefix outer = parse_prefix(outer_text);
  const Prefix inner = parse_prefix(inner_text);
  if (outer.family == 0 || outer.family != inner.family || outer.length > inner.length) return false;
  for (unsigned bit = 0; bit < outer.length; ++bit) {
    if (((outer.bytes[bit / 8] ^ inner.bytes[bit / 8]) & (0x80 >> bit % 8)) != 0) return false;
  }
  return true;
}

std::string first_line(const char *path) {
  std::string line;
  std::ifstream file(path);
  std::getline(file, line);
  return line;
}

std::vector<std::string> lines_of(const char *path) {
  std::vector<std::string> lines;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

std::map<std::string, std::string> fields_of(const char *path, char separator) {
  std::map<std::string, std::string> fields;
  for (const std::string &line : lines_of(path)) {
    const size_t end = line.find(separator);
    if (end != std::string::npos) fields.emplace(trimmed(line.substr(0, end)), trimmed(line.substr(end + 1)));
  }
  return fields;
}

std::string duration(uint64_t seconds) {
  constexpr struct {
    uint64_t seconds;
    const char *name;
  } kUnits[] = {{86400, "day"}, {3600, "hour"}, {60, "minute"}};
  std::string text;
  for (const auto &unit : kUnits) {
    const uint64_t count = seconds / unit.seconds;
    seconds %= unit.seconds;
    if (count == 0) continue;
    text += (text.empty() ? "" : ", ") + std::to_string(count) + ' ' + unit.name + (count == 1 ? "" : "s");
  }
  return text.empty() ? "less than a minute" : text;
}

constexpr std::string_view kFactors = " kMGTPE";

std::string scaled(uint64_t bytes) {
  if (bytes < 1000) return std::to_string(bytes);
  auto value = static_cast<double>(bytes);
  size_t factor = 0;
  while (value >= 999.95) {  // which would be written as 1000.0
    value /= 1000;
    ++factor;
  }
  char text[16];
  std::snprintf(text, sizeof text, "%.1f%c", value, kFactors[factor]);
  return text;
}

double unscaled(std::string_view text) {
  double value = std::strtod(std::string(text).c_str(), nullptr);
  const size_t factor = text.empty() ? std::string_view::npos : kFactors.find(text.back());
  for (size_t i = 0; factor != std::string_view::npos && i < factor; ++i) value *= 1000;
  return value;
}

}  // namespace router::machine
