// Reports on the machine itself.
#include <dirent.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>

#include "router.hpp"
#include "tables.hpp"

namespace {

using router::say;
using router::Table;
namespace machine = router::machine;

uint64_t uptime_seconds() {
  return std::strtoull(machine::first_line("/proc/uptime").c_str(), nullptr, 10);
}

std::string time_text(const char *format) {
  const time_t now = std::time(nullptr);
  tm local{};
  char text[96] = "";
  std::strftime(text, sizeof text, format, localtime_r(&now, &local));
  return text;
}

std::string field(const std::map<std::string, std::string> &fields, const char *name, const char *otherwise) {
  const auto found = fields.find(name);
  return found == fields.end() ? otherwise : found->second;
}

std::string system_name() {
  std::string name = field(machine::fields_of("/etc/os-release", '='), "PRETTY_NAME", "Linux");
  std::erase(name, '"');
  return name;
}

std::string processor() {
  return field(machine::fields_of("/proc/cpuinfo", ':'), "model name", "unknown processor");
}

uint64_t kilobytes(const std::map<std::string, std::string> &memory, const char *name) {
  return std::strtoull(field(memory, name, "0").c_str(), nullptr, 10);
}

// A word for the shell. The types of the arguments let no mark of the shell through; the quotes do not rely on that.
std::string shell_word(const std::string &text) {
  std::string word = "'";
  for (const char c : text) word += c == '\'' ? "'\\''" : std::string(1, c);
  return word + "'";
}

std::string target_of(cli_node *command) {
  for (const char *name : {"address", "address6", "host"}) {
    if (router::given(command, name)) return router::text_argument(command, name);
  }
  return {};
}

struct Option {
  const char *keyword;
  const char *value;  // the number behind it; null for a keyword alone
  const char *flag;
};

std::string options_of(cli_node *command, const Option *begin, const Option *end) {
  std::string options;
  for (const Option *option = begin; option != end; ++option) {
    if (!router::given(command, option->keyword)) continue;
    options += std::string(" ") + option->flag;
    if (option->value != nullptr) options += ' ' + std::to_string(router::number_argument(command, option->value, 0));
  }
  return options;
}

// Runs a program of the machine. What it writes is shown as it comes, unless the host takes all output itself; Ctrl-C
// is for the program, which then says what it still has to say.
int run_program(cli *engine, const std::string &program, const std::string &arguments) {
  constexpr int kNotFound = 127;  // as the shell says it
  constexpr int kInterrupted = 130;
  // What was cut short by a signal ends its line.
  const std::string found = "command -v " + program + " >/dev/null || exit 127; trap i=1 INT; " + program + arguments +
                            " </dev/null 2>&1; s=$?; test $s -gt 128 && echo; test $i && exit 130; exit $s";
  std::fflush(stdout);  // the echo of the line stands before it
  const int status = engine->write != nullptr ? pager_feed_popen(&engine->pager, found.c_str())
                                              : std::system(found.c_str());  // NOLINT(cert-env33-c): words are quoted
  if (status == -1) return router::refuse(engine, "\"%s\" cannot be started", program.c_str());
  if (WIFEXITED(status) && WEXITSTATUS(status) == kNotFound)
    return router::refuse(engine, "This machine has no program \"%s\"", program.c_str());
  if (WIFEXITED(status) && WEXITSTATUS(status) == kInterrupted) cli_interrupt(engine);  // the host hears of it
  return 0;
}

struct Sensor {
  std::string name;
  double degrees;
};

std::vector<Sensor> temperatures() {
  std::vector<Sensor> found;
  const std::string zones = "/sys/class/thermal/";
  const std::unique_ptr<DIR, int (*)(DIR *)> folder(opendir(zones.c_str()), closedir);
  while (const dirent *entry = folder ? readdir(folder.get()) : nullptr) {
    const std::string zone = zones + entry->d_name;
    const std::string reading = machine::first_line((zone + "/temp").c_str());
    if (reading.empty()) continue;
    found.push_back({machine::first_line((zone + "/type").c_str()), std::strtod(reading.c_str(), nullptr) / 1000});
  }
  return found;
}

constexpr const char *kLogFiles[] = {"/var/log/syslog", "/var/log/messages", "/var/log/kern.log"};

}  // namespace

ROUTER_HANDLER router_show_version(cli *engine, cli_node * /*command*/) {
  utsname kernel{};
  uname(&kernel);
  say(engine, "Command-line router example, on %s", system_name().c_str());
  say(engine, "Kernel %s %s on %s", kernel.sysname, kernel.release, kernel.machine);
  say(engine, "%ld x %s", sysconf(_SC_NPROCESSORS_ONLN), processor().c_str());
  say(engine, "%s is up for %s", kernel.nodename, machine::duration(uptime_seconds()).c_str());
  return 0;
}

ROUTER_HANDLER router_show_clock(cli *engine, cli_node *command) {
  say(engine, "%s", time_text("%H:%M:%S %Z %a %b %e %Y").c_str());
  if (router::given(command, "detail")) {
    const char *source = "/sys/devices/system/clocksource/clocksource0/current_clocksource";
    const std::string clock = machine::first_line(source);
    say(engine, "Offset from UTC %s, clock source %s", time_text("%z").c_str(),
        clock.empty() ? "unknown" : clock.c_str());
  }
  return 0;
}

ROUTER_HANDLER router_show_uptime(cli *engine, cli_node * /*command*/) {
  say(engine, "Up for %s", machine::duration(uptime_seconds()).c_str());
  return 0;
}

ROUTER_HANDLER router_show_load(cli *engine, cli_node * /*command*/) {
  double load[3] = {0, 0, 0};
  if (getloadavg(load, 3) != 3) return 0;
  say(engine, "Load averages: %.2f in one minute, %.2f in five, %.2f in fifteen", load[0], load[1], load[2]);
  return 0;
}

ROUTER_HANDLER router_show_memory(cli *engine, cli_node *command) {
  constexpr struct {
    std::string_view name;
    double kilobytes;
  } kUnits[] = {{"bytes", 1.0 / 1024}, {"kilobytes", 1}, {"megabytes", 1024}};
  constexpr struct {
    const char *title;
    const char *field;
  } kRows[] = {{"Total", "MemTotal"},    {"Free", "MemFree"},      {"Available", "MemAvailable"},
               {"Buffers", "Buffers"},   {"Page cache", "Cached"}, {"Swap total", "SwapTotal"},
               {"Swap free", "SwapFree"}};
  const std::string wanted = router::text_argument(command, "unit");
  const auto *unit =
      std::find_if(std::begin(kUnits), std::end(kUnits), [&](const auto &u) { return u.name == wanted; });
  if (unit == std::end(kUnits)) unit = &kUnits[1];
  const auto memory = machine::fields_of("/proc/meminfo", ':');
  Table rows({{"Memory"}, {unit->name.data(), ALIGN_RIGHT}});
  for (const auto &row : kRows) {
    char amount[32];
    std::snprintf(amount, sizeof amount, "%.0f", static_cast<double>(kilobytes(memory, row.field)) / unit->kilobytes);
    rows.add_row({{row.title}, {amount}});
  }
  rows.print(engine);
  return 0;
}

ROUTER_HANDLER router_show_processes(cli *engine, cli_node *command) {
  Table rows({{"PID", ALIGN_RIGHT}, {"Name"}, {"State"}, {"Memory", ALIGN_RIGHT}, {"CPU seconds", ALIGN_RIGHT}});
  std::vector<machine::Process> processes = machine::processes();
  const std::string order = router::text_argument(command, "order");
  const auto limit =
      static_cast<size_t>(router::number_argument(command, "rows", static_cast<int64_t>(processes.size())));
  std::stable_sort(processes.begin(), processes.end(), [&order](const auto &a, const auto &b) {
    if (order == "memory") return a.memory_kb > b.memory_kb;
    if (order == "time") return a.cpu_seconds > b.cpu_seconds;
    return order == "name" ? router::natural_less(a.name, b.name) : a.pid < b.pid;
  });
  processes.resize(std::min(limit, processes.size()));
  for (const machine::Process &process : processes) {
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.2f", process.cpu_seconds);
    rows.add_row({{std::to_string(process.pid)},
                  {process.name},
                  {std::string(1, process.state), process.state == 'Z' ? router::kRed : router::kPlain},
                  {machine::scaled(process.memory_kb * 1024)},
                  {seconds}});
  }
  rows.print(engine);
  return 0;
}

ROUTER_HANDLER router_show_disks(cli *engine, cli_node * /*command*/) {
  constexpr uint64_t kNearlyFull = 90;
  Table rows({{"Mounted on"}, {"Type"}, {"Size", ALIGN_RIGHT}, {"Free", ALIGN_RIGHT}, {"Used", ALIGN_RIGHT}});
  for (const machine::FileSystem &disk : machine::file_systems()) {
    const uint64_t used = 100 - disk.free * 100 / disk.size;
    rows.add_row({{disk.mount},
                  {disk.type},
                  {machine::scaled(disk.size)},
                  {machine::scaled(disk.free)},
                  {std::to_string(used) + "%", used >= kNearlyFull ? router::kRed : router::kPlain}});
  }
  rows.print(engine);
  return 0;
}

ROUTER_HANDLER router_show_environment(cli *engine, cli_node * /*command*/) {
  constexpr double kHot = 85;
  Table rows({{"Sensor"}, {"Degrees Celsius", ALIGN_RIGHT}});
  for (const Sensor &sensor : temperatures()) {
    char degrees[32];
    std::snprintf(degrees, sizeof degrees, "%.1f", sensor.degrees);
    rows.add_row({{sensor.name}, {degrees, sensor.degrees >= kHot ? router::kRed : router::kPlain}});
  }
  rows.print(engine);
  return 0;
}

ROUTER_HANDLER router_show_inventory(cli *engine, cli_node * /*command*/) {
  Table rows({{"Part"}, {"Description"}});
  rows.add_row({{"Processors"}, {std::to_string(sysconf(_SC_NPROCESSORS_ONLN)) + " x " + processor()}});
  rows.add_row({{"Memory"}, {machine::scaled(kilobytes(machine::fields_of("/proc/meminfo", ':'), "MemTotal") * 1024)}});
  for (const machine::Link &link : machine::links()) {
    if (!link.mac.empty()) rows.add_row({{link.name}, {"Network card " + link.mac}});
  }
  rows.print(engine);
  return 0;
}

ROUTER_HANDLER router_show_logging(cli *engine, cli_node *command) {
  const std::string lines = std::to_string(router::number_argument(command, "lines", 20));
  const auto *file =
      std::find_if(std::begin(kLogFiles), std::end(kLogFiles), [](const char *f) { return access(f, R_OK) == 0; });
  if (file != std::end(kLogFiles)) {
    return run_program(engine, "tail", " -n " + lines + ' ' + *file);
  }
  return run_program(engine, "journalctl", " --no-pager --lines " + lines);
}

ROUTER_HANDLER router_ping(cli *engine, cli_node *command) {
  constexpr Option kOptions[] = {{"size", "bytes", "-s"}, {"timeout", "seconds", "-W"}, {"ttl", "hops", "-t"}};
  std::string arguments = " -c " + std::to_string(router::number_argument(command, "requests", 5));
  arguments += options_of(command, std::begin(kOptions), std::end(kOptions));
  const std::string interface = router::text_argument(command, "interface-name");
  if (!interface.empty()) arguments += " -I " + shell_word(interface);
  return run_program(engine, "ping", arguments + ' ' + shell_word(target_of(command)));
}

ROUTER_HANDLER router_traceroute(cli *engine, cli_node *command) {
  constexpr Option kOptions[] = {{"max-hops", "hops", "-m"}, {"numeric", nullptr, "-n"}};
  const std::string options = options_of(command, std::begin(kOptions), std::end(kOptions));
  return run_program(engine, "traceroute", options + ' ' + shell_word(target_of(command)));
}

ROUTER_HANDLER router_show_tech_support(cli *engine, cli_node *command) {
  constexpr struct {
    const char *title;
    cli_handler report;
  } kReports[] = {
      {"version", router_show_version},        {"clock", router_show_clock}, {"load", router_show_load},
      {"memory", router_show_memory},          {"disks", router_show_disks}, {"inventory", router_show_inventory},
      {"environment", router_show_environment}};
  for (const auto &report : kReports) {
    say(engine, "---- show %s ----", report.title);
    report.report(engine, command);
    say(engine, "%s", "");
  }
  return 0;
}
