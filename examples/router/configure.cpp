// Configuration commands. Most share three handlers: one stores the line, one removes it, one enters a mode. What they
// need to know stands beside the command in router.json, in members of our own that the engine passes over:
//   "keyed-by"  the arguments that tell several entries of the command apart; true for all of them
//   "order"     where the entry stands when the configuration is shown
// A command that must look at more gets a handler of its own, and calls one of the three when it agrees.
#include <net/if.h>

#include <algorithm>
#include <charconv>
#include <cstdio>

#include "router.hpp"

namespace {

using router::Entry;
using router::Place;
using router::refuse;
using router::router_of;
using router::Word;

constexpr int kUsualOrder = 500;

std::vector<std::string> key_of(const json_t *keyed_by, const Entry &entry) {
  std::vector<std::string> key;
  if (json_is_true(keyed_by)) {
    for (const Word &word : entry.words) key.push_back(word.text);
  }
  size_t index = 0;
  json_t *name = nullptr;
  json_array_foreach(keyed_by, index, name) key.push_back(entry.text(json_string_value(name)));
  while (!key.empty() && key.back().empty()) key.pop_back();
  return key;
}

Place place_of(const cli_node *command, const Entry &entry) {
  const json_t *order = json_object_get(command->definition, "order");
  return {.order = json_is_integer(order) ? static_cast<int>(json_integer_value(order)) : kUsualOrder,
          .command = entry.command,
          .key = key_of(json_object_get(command->definition, "keyed-by"), entry)};
}

Entry entry_of(token *first, const cli_node *command) {
  return {.command = router::command_path(command),
          .words = router::words_after(first, command),
          .is_mode = command->type == TYPE_SUBCONFIG};
}

Entry entry_of(cli *engine, const cli_node *command) {
  return entry_of(tokenizer_first(&engine->tokenizer), command);
}

// The entry of the mode that a command is declared in; the lines that entered the open modes tell which one it is.
Entry &enclosing_entry(cli *engine, cli_node *command) {
  cli_node *mode = cli_get_parent_subconfig(command);
  cli_node *outer = cli_get_parent_subconfig(mode);
  if (outer == &engine->root) return router_of(engine).configuration;
  const Entry entry = entry_of(cli_get_subconfig_first_token(nullptr, outer), mode);
  return enclosing_entry(engine, mode).entries.try_emplace(place_of(mode, entry), entry).first->second;
}

bool holds_line_break(const Entry &entry) {
  return std::any_of(entry.words.begin(), entry.words.end(),
                     [](const Word &word) { return word.text.find('\n') != std::string::npos; });
}

// A line break inside a value would make two lines of one when the configuration is read again.
int store(cli *engine, cli_node *command, Entry entry) {
  if (holds_line_break(entry)) {
    return refuse(engine, "A value cannot hold a line break");
  }
  const std::string network = router::machine::network_beneath(entry.text("prefix"));
  if (!network.empty()) {
    return refuse(engine, "The prefix has bits beyond its length; did you mean %s?", network.c_str());
  }
  Place place = place_of(command, entry);
  enclosing_entry(engine, command).entries.insert_or_assign(std::move(place), std::move(entry));
  return 0;
}

// What a "no" command removes: what the same words without "no" would set.
Place place_to_remove(cli *engine, const cli_node *command) {
  Entry entry = entry_of(engine, command);
  entry.command.erase(0, std::string_view("no ").size());
  return place_of(command, entry);
}

int remove(cli *engine, cli_node *command, const Place &place) {
  const size_t removed = std::erase_if(enclosing_entry(engine, command).entries,
                                       [&](const auto &item) { return place.covers(item.first); });
  return removed == 0 && !place.key.empty() ? refuse(engine, "There is no such entry") : 0;
}

// A mode's handler shows what it says itself, and its result decides whether the mode is entered.
int refuse_mode(cli *engine, const std::string &reason) {
  refuse(engine, "%s", reason.c_str());
  pager_show(&engine->pager);
  return 1;
}

std::string vlan_interface_of(const Entry &configuration, const std::string &vlan) {
  for (const Entry *interface : configuration.all("interface")) {
    if (interface->text("vlan-id") == vlan) return interface->line();
  }
  return {};
}

bool holds(const Entry &mode, const Entry &wanted) {
  const std::vector<const Entry *> entries = mode.all(wanted.command);
  return std::any_of(entries.begin(), entries.end(),
                     [&](const Entry *entry) { return entry->line() == wanted.line(); });
}

// Subnets may not overlap, except on one and the same interface.
std::string interface_with_overlap(const Entry &configuration, const Entry &own, const std::string &address) {
  for (const Entry *interface : configuration.all("interface")) {
    if (interface == &own) continue;
    for (const Entry *other : interface->all("ip address")) {
      const std::string text = other->text("address");
      if (router::machine::prefix_holds(text, address) || router::machine::prefix_holds(address, text))
        return interface->line();
    }
  }
  return {};
}

void hash_secrets(Entry &entry) {
  for (Word &word : entry.words) {
    if (word.name == "password") word.name = word.text = "hash";
    if (word.secret) word = {.group = "", .name = "secret-hash", .text = router::hash_secret(word.text)};
  }
}

unsigned last_sequence(const Entry &list) {
  unsigned last = 0;
  for (const Entry *rule : list.all("rule")) {
    const std::string text = rule->text("sequence");
    std::from_chars(text.data(), text.data() + text.size(), last);
  }
  return last;
}

}  // namespace

ROUTER_HANDLER router_set(cli *engine, cli_node *command) {
  return store(engine, command, entry_of(engine, command));
}

ROUTER_HANDLER router_unset(cli *engine, cli_node *command) {
  return remove(engine, command, place_to_remove(engine, command));
}

ROUTER_HANDLER router_enter(cli *engine, cli_node *mode) {
  Entry entry = entry_of(engine, mode);
  if (holds_line_break(entry)) return refuse_mode(engine, "A name cannot hold a line break");
  const Place place = place_of(mode, entry);
  enclosing_entry(engine, mode).entries.try_emplace(place, std::move(entry));
  return 0;
}

ROUTER_HANDLER router_enter_interface(cli *engine, cli_node *mode) {
  const Entry entry = entry_of(engine, mode);
  const std::string vlan = entry.text("vlan-id");
  const std::vector<const Entry *> vlans = router_of(engine).configuration.all("vlan");
  if (!vlan.empty() &&
      std::none_of(vlans.begin(), vlans.end(), [&](const Entry *v) { return v->text("vlan-id") == vlan; })) {
    return refuse_mode(engine, "VLAN " + vlan + " does not exist; make it with \"vlan " + vlan + "\" first");
  }
  const std::string name = entry.text("interface-name");
  if (!name.empty() && if_nametoindex(name.c_str()) == 0) {
    router::say(engine, "%s is not present on this machine", name.c_str());
    pager_show(&engine->pager);
  }
  return router_enter(engine, mode);
}

ROUTER_HANDLER router_no_vlan(cli *engine, cli_node *command) {
  const std::string user =
      vlan_interface_of(router_of(engine).configuration, router::text_argument(command, "vlan-id"));
  if (user.empty()) return router_unset(engine, command);
  return refuse(engine, "The VLAN is in use by \"%s\"", user.c_str());
}

ROUTER_HANDLER router_hostname(cli *engine, cli_node *command) {
  const int result = router_set(engine, command);
  router::renew_prompt(engine);
  return result;
}

ROUTER_HANDLER router_no_hostname(cli *engine, cli_node *command) {
  const int result = router_unset(engine, command);
  router::renew_prompt(engine);
  return result;
}

// Keeps a password as its hash, which is what the configuration shows.
ROUTER_HANDLER router_set_secret(cli *engine, cli_node *command) {
  Entry entry = entry_of(engine, command);
  hash_secrets(entry);
  return store(engine, command, std::move(entry));
}

// A further address has the word "secondary"; a first one takes the place of the first one before.
ROUTER_HANDLER router_set_address(cli *engine, cli_node *command) {
  Entry entry = entry_of(engine, command);
  Entry &interface = enclosing_entry(engine, command);
  if (holds(interface, entry)) return 0;
  const std::string address = entry.text("address");
  const std::string overlap = interface_with_overlap(router_of(engine).configuration, interface, address);
  if (!address.empty() && !overlap.empty()) {
    return refuse(engine, "%s overlaps with an address of \"%s\"", address.c_str(), overlap.c_str());
  }
  if (!entry.has("secondary")) {
    std::erase_if(interface.entries, [&](const auto &item) {
      return item.second.command == entry.command && !item.second.has("secondary");
    });
  }
  return store(engine, command, std::move(entry));
}

// A rule without a number goes behind the last one.
ROUTER_HANDLER router_set_rule(cli *engine, cli_node *command) {
  constexpr unsigned kStep = 10;
  constexpr unsigned kLast = 99999;
  Entry entry = entry_of(engine, command);
  if (!entry.has("sequence")) {
    const unsigned sequence = last_sequence(enclosing_entry(engine, command)) / kStep * kStep + kStep;
    if (sequence > kLast) {
      return refuse(engine, "There is no number left behind the last rule; use \"resequence\"");
    }
    entry.words.insert(entry.words.begin(), {.group = "", .name = "sequence", .text = std::to_string(sequence)});
  }
  return store(engine, command, std::move(entry));
}

ROUTER_HANDLER router_resequence(cli *engine, cli_node *command) {
  int64_t sequence = router::number_argument(command, "start", 10);
  const int64_t step = router::number_argument(command, "step", 10);
  Entry &list = enclosing_entry(engine, command);
  std::map<Place, Entry> renumbered;
  for (const auto &[old_place, old_entry] : list.entries) {
    Place place = old_place;
    Entry entry = old_entry;
    if (entry.command == "rule") {
      place.key = {std::to_string(sequence)};
      entry.words.front().text = place.key.front();
      sequence += step;
    }
    renumbered.emplace(std::move(place), std::move(entry));
  }
  if (sequence - step > 99999) {
    return refuse(engine, "The last rule would have the number %lld", static_cast<long long>(sequence - step));
  }
  list.entries = std::move(renumbered);
  return 0;
}
