// Reports on the configuration and on the session.
#include <algorithm>
#include <set>

#include "router.hpp"
#include "storage.hpp"
#include "tables.hpp"

namespace {

using router::Entry;
using router::refuse;
using router::router_of;
using router::say;
using router::Table;
using router::TableGroup;

void say_lines(cli *engine, const std::vector<std::string> &lines) {
  for (const std::string &line : lines) say(engine, "%s", line.c_str());
}

void say_entry(cli *engine, const Entry &entry) {
  std::vector<std::string> lines;
  router::append_lines(entry, 0, lines);
  say_lines(engine, lines);
}

int show_saved(cli *engine, const std::string &path) {
  std::string text;
  const std::string wrong = router::read_whole(path, text);
  if (!wrong.empty()) return refuse(engine, "%s", wrong.c_str());
  say_lines(engine, router::split_lines(text));
  return 0;
}

const Entry &configuration_of(cli *engine) {
  return router_of(engine).configuration;
}

std::string setting(const Entry &entry, const char *command, const char *otherwise) {
  const Entry *found = entry.find(command);
  return found == nullptr ? otherwise : found->arguments();
}

std::string name_of(const Entry &interface) {
  return interface.arguments();
}

std::string name_of_vlan(const Entry &vlan) {
  const Entry *name = vlan.find("name");
  return name == nullptr ? "" : name->text("text");
}

// Does a list such as 10,20-30 hold the number?
bool list_holds(const std::string &list, int vlan) {
  for (size_t begin = 0; begin < list.size();) {
    const size_t end = std::min(list.find(',', begin), list.size());
    const std::string range = list.substr(begin, end - begin);
    const size_t dash = range.find('-');
    const int first = std::atoi(range.c_str());
    const int last = dash == std::string::npos ? first : std::atoi(range.c_str() + dash + 1);
    if (first <= vlan && vlan <= last) return true;
    begin = end + 1;
  }
  return false;
}

// How an interface carries a VLAN: "untagged", "tagged", or "" when it does not.
std::string membership(const Entry &interface, const std::string &vlan) {
  const Entry *access = interface.find("switchport access");
  const Entry *native = interface.find("switchport trunk-native");
  const Entry *allowed = interface.find("switchport trunk-allowed");
  const bool trunk = setting(interface, "switchport mode", "access") == "trunk";
  if (!trunk) return access != nullptr && access->text("vlan-id") == vlan ? "untagged" : "";
  if (native != nullptr && native->text("vlan-id") == vlan) return "untagged";
  return allowed != nullptr && list_holds(allowed->text("vlan-list"), std::atoi(vlan.c_str())) ? "tagged" : "";
}

Table ports_of(const Entry &configuration, const std::string &vlan) {
  Table rows({{"Port"}, {"Frames"}, {"Configured"}});
  for (const Entry *interface : configuration.all("interface")) {
    const std::string kind = membership(*interface, vlan);
    if (kind.empty()) continue;
    const bool down = interface->find("shutdown") != nullptr;
    rows.add_row(
        {{name_of(*interface)}, {kind}, {down ? "shutdown" : "enabled", down ? router::kRed : router::kGreen}});
  }
  return rows;
}

// The words of a group, with a line for each keyword and its value.
std::string lines_of(const Entry &rule, std::string_view group) {
  std::string text;
  for (const router::Word &word : rule.group(group)) {
    if (!text.empty()) text += word.keyword ? '\n' : ' ';
    text += router::quoted(word.text);
  }
  return text;
}

Table rules_of(const Entry &list) {
  Table rows({{"Action"}, {"Source"}, {"Destination"}, {"Options"}});
  for (const Entry *rule : list.all("rule")) {
    const bool deny = rule->has("deny");
    rows.add_row({{lines_of(*rule, "action") + ' ' + lines_of(*rule, "protocol"), deny ? router::kRed : router::kGreen},
                  {lines_of(*rule, "source")},
                  {lines_of(*rule, "destination")},
                  {lines_of(*rule, "options")}},
                 rule->text("sequence").c_str());
  }
  return rows;
}

void add_aliases(const cli_node *node, const std::string &path, Table &rows) {
  for (const cli_node *word = cli_node_first_choice(node); word != nullptr; word = cli_node_next_choice(word)) {
    const std::string name = path + word->name;
    if (word->type == TYPE_ALIAS) {
      rows.add_row({{name}, {word->alias.alias}});
    } else {
      add_aliases(word, name + ' ', rows);
    }
  }
}

// The lines of a script with those of a mode behind the line that enters it, so that each tells where it belongs.
std::set<std::string> paths(const std::vector<std::string> &lines) {
  std::set<std::string> found;
  std::vector<std::string> open;
  for (const std::string &line : lines) {
    const size_t indent = std::min(line.find_first_not_of(' '), line.size());
    const std::string text = line.substr(indent);
    if (text.empty() || text == "!" || text == "exit" || text == "end") continue;
    open.resize(std::min(indent, open.size()));
    std::string path;
    for (const std::string &outer : open) path += outer + " / ";
    found.insert(path + text);
    open.push_back(text);
  }
  return found;
}

void say_missing(cli *engine, char mark, const std::set<std::string> &from, const std::set<std::string> &other) {
  for (const std::string &line : from) {
    if (!other.contains(line)) say(engine, "%c %s", mark, line.c_str());
  }
}

}  // namespace

ROUTER_HANDLER router_show_running_config(cli *engine, cli_node * /*command*/) {
  say_lines(engine, router::script(configuration_of(engine)));
  return 0;
}

ROUTER_HANDLER router_show_running_config_interface(cli *engine, cli_node *command) {
  const std::vector<router::Word> words = router::words_after(tokenizer_first(&engine->tokenizer), command);
  const std::string wanted = Entry{.command = "interface", .words = words}.line();
  for (const Entry *interface : configuration_of(engine).all("interface")) {
    if (interface->line() != wanted) continue;
    say_entry(engine, *interface);
    return 0;
  }
  return refuse(engine, "\"%s\" has no configuration", wanted.c_str());
}

ROUTER_HANDLER router_show_running_config_section(cli *engine, cli_node *command) {
  const std::string text = router::text_argument(command, "text");
  for (const auto &[place, entry] : configuration_of(engine).entries) {
    if (entry.line().find(text) != std::string::npos) say_entry(engine, entry);
  }
  return 0;
}

// Entries of the commands that the member "shows" of the definition names.
ROUTER_HANDLER router_show_configured(cli *engine, cli_node *command) {
  size_t index = 0;
  json_t *shown = nullptr;
  json_array_foreach(json_object_get(command->definition, "shows"), index, shown) {
    for (const Entry *entry : configuration_of(engine).all(json_string_value(shown))) say_entry(engine, *entry);
  }
  if (pager_line_count(&engine->pager) == 0) say(engine, "There are none");
  return 0;
}

ROUTER_HANDLER router_show_startup_config(cli *engine, cli_node * /*command*/) {
  return show_saved(engine, router::startup_path());
}

ROUTER_HANDLER router_show_file(cli *engine, cli_node *command) {
  return show_saved(engine, router::saved_path(router::text_argument(command, "file-name")));
}

ROUTER_HANDLER router_show_files(cli *engine, cli_node * /*command*/) {
  Table rows({{"Name"}, {"Size", ALIGN_RIGHT}, {"Changed"}});
  for (const router::SavedFile &file : router::saved_files()) {
    rows.add_row({{file.name}, {std::to_string(file.size)}, {file.changed}});
  }
  rows.print(engine);
  return 0;
}

ROUTER_HANDLER router_show_configuration_differences(cli *engine, cli_node * /*command*/) {
  std::string text;
  const std::string wrong = router::read_whole(router::startup_path(), text);
  if (!wrong.empty()) return refuse(engine, "%s", wrong.c_str());
  const std::set<std::string> saved = paths(router::split_lines(text));
  const std::set<std::string> running = paths(router::script(configuration_of(engine)));
  say_missing(engine, '-', saved, running);
  say_missing(engine, '+', running, saved);
  if (saved == running) say(engine, "There are none");
  return 0;
}

ROUTER_HANDLER router_show_vlan(cli *engine, cli_node *command) {
  const std::string wanted = router::text_argument(command, "vlan-id");
  TableGroup group;
  for (const Entry *vlan : configuration_of(engine).all("vlan")) {
    const std::string number = vlan->text("vlan-id");
    if (!wanted.empty() && number != wanted) continue;
    const std::string name = name_of_vlan(*vlan);
    group.add("VLAN " + number + (name.empty() ? "" : ' ' + name), ports_of(configuration_of(engine), number));
  }
  group.print(engine);
  return 0;
}

ROUTER_HANDLER router_show_vlan_brief(cli *engine, cli_node * /*command*/) {
  Table rows({{"VLAN", ALIGN_RIGHT}, {"Name"}, {"State"}, {"Ports"}});
  for (const Entry *vlan : configuration_of(engine).all("vlan")) {
    std::string ports;
    for (const Entry *interface : configuration_of(engine).all("interface")) {
      if (membership(*interface, vlan->text("vlan-id")).empty()) continue;
      if (!ports.empty()) ports += '\n';
      ports += name_of(*interface);
    }
    const std::string state = setting(*vlan, "state", "active");
    rows.add_row({{vlan->text("vlan-id")},
                  {name_of_vlan(*vlan)},
                  {state, state == "suspend" ? router::kRed : router::kPlain},
                  {ports}});
  }
  rows.print(engine);
  return 0;
}

ROUTER_HANDLER router_show_vlan_ports(cli *engine, cli_node * /*command*/) {
  Table rows({{"Interface"}, {"Mode"}, {"Access", ALIGN_RIGHT}, {"Native", ALIGN_RIGHT}, {"Allowed"}});
  for (const Entry *interface : configuration_of(engine).all("interface")) {
    const Entry *access = interface->find("switchport access");
    const Entry *native = interface->find("switchport trunk-native");
    const Entry *allowed = interface->find("switchport trunk-allowed");
    if (access == nullptr && native == nullptr && allowed == nullptr && interface->find("switchport mode") == nullptr)
      continue;
    rows.add_row({{name_of(*interface)},
                  {setting(*interface, "switchport mode", "access")},
                  {access == nullptr ? "" : access->text("vlan-id")},
                  {native == nullptr ? "" : native->text("vlan-id")},
                  {allowed == nullptr ? "" : allowed->text("vlan-list")}});
  }
  rows.print(engine);
  return 0;
}

ROUTER_HANDLER router_show_access_lists(cli *engine, cli_node *command) {
  const std::string wanted = router::text_argument(command, "list-name");
  for (const char *kind : {"ip access-list", "ipv6 access-list"}) {
    for (const Entry *list : configuration_of(engine).all(kind)) {
      if (!wanted.empty() && list->text("list-name") != wanted) continue;
      if (pager_line_count(&engine->pager) > 0) say(engine, "%s", "");
      say(engine, "%s:", list->line().c_str());
      rules_of(*list).print(engine);
    }
  }
  if (pager_line_count(&engine->pager) == 0) say(engine, "There are none");
  return 0;
}

ROUTER_HANDLER router_show_users(cli *engine, cli_node * /*command*/) {
  Table rows({{"User"}, {"Level", ALIGN_RIGHT}, {"Password"}, {"Session"}});
  for (const Entry *user : configuration_of(engine).all("username")) {
    const std::string level = user->text("level");
    const bool open = user->has("nopassword");
    rows.add_row({{user->text("user-name")},
                  {level.empty() ? std::to_string(router::kUserLevel) : level},
                  {open ? "none" : "set", open ? router::kRed : router::kPlain},
                  {user->text("user-name") == router_of(engine).user ? "this one" : ""}});
  }
  rows.print(engine);
  return 0;
}

ROUTER_HANDLER router_show_privilege(cli *engine, cli_node * /*command*/) {
  say(engine, "The privilege level is %d", parser_get_privilege(&engine->parser));
  return 0;
}

ROUTER_HANDLER router_show_terminal(cli *engine, cli_node * /*command*/) {
  const int lines = router_of(engine).lines;
  say(engine, "Length %d, pager program %s", lines, lines == 0 ? "off" : "on");
  return 0;
}

ROUTER_HANDLER router_show_aliases(cli *engine, cli_node * /*command*/) {
  Table rows({{"Alias"}, {"Stands for"}});
  add_aliases(&engine->root, "", rows);
  rows.print(engine);
  return 0;
}
