// Value types of the example's own, and the words that complete its values.
#include <algorithm>
#include <cctype>
#include <string>

#include "cli_shell/plugin.h"
#include "router.hpp"
#include "storage.hpp"

namespace {

using router::Entry;

constexpr int64_t kLastVlan = 4094;

bool is_name_character(char c, std::string_view punctuation) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || punctuation.find(c) != std::string_view::npos;
}

// A name that is safe as a file name and as a word of a shell command: no blank, quote, slash or leading dash.
int match_name(std::string_view text, std::string_view punctuation) {
  if (text.empty()) return MATCH_INCOMPLETE;
  if (std::isalnum(static_cast<unsigned char>(text.front())) == 0) return MATCH_NONE;
  const auto allowed = [punctuation](char c) { return is_name_character(c, punctuation); };
  return std::all_of(text.begin(), text.end(), allowed) ? MATCH_COMPLETE : MATCH_NONE;
}

int match_interface_name(const validator * /*v*/, const char *text, size_t len) {
  return match_name({text, len}, ".-_:@");
}

int match_file_name(const validator * /*v*/, const char *text, size_t len) {
  return match_name({text, len}, ".-_");
}

// VLANs 1002 to 1005 have been taken since the days of other kinds of networks.
int match_vlan_id(const validator * /*v*/, int64_t vlan) {
  return vlan >= 1002 && vlan <= 1005 ? MATCH_NONE : MATCH_COMPLETE;
}

// Reads a number of a list of VLANs off the text; 0 when there is none that a VLAN can have.
int64_t take_vlan(std::string_view &text) {
  int64_t vlan = 0;
  for (; !text.empty() && std::isdigit(static_cast<unsigned char>(text.front())) != 0; text.remove_prefix(1)) {
    vlan = vlan * 10 + (text.front() - '0');
    if (vlan == 0 || vlan > kLastVlan) return 0;
  }
  return vlan;
}

// Numbers and ranges joined by commas. With `ranges`, appends a [first, last] pair for each.
int read_vlan_list(std::string_view text, json_t *ranges) {
  for (;;) {
    if (text.empty()) return MATCH_INCOMPLETE;
    const int64_t first = take_vlan(text);
    if (first == 0) return MATCH_NONE;
    int64_t last = first;
    if (!text.empty() && text.front() == '-') {
      text.remove_prefix(1);
      if (text.empty()) return MATCH_INCOMPLETE;
      last = take_vlan(text);
      if (last == 0) return MATCH_NONE;
      if (last < first) return text.empty() && last * 10 <= kLastVlan ? MATCH_INCOMPLETE : MATCH_NONE;
    }
    if (ranges != nullptr) json_array_append_new(ranges, json_pack("[I, I]", first, last));
    if (text.empty()) return MATCH_COMPLETE;
    if (text.front() != ',') return MATCH_NONE;
    text.remove_prefix(1);
  }
}

int match_vlan_list(const validator * /*v*/, const char *text, size_t len) {
  return read_vlan_list({text, len}, nullptr);
}

json_t *vlan_list_value(const validator * /*v*/, const char *text, size_t len) {
  json_t *ranges = json_array();
  read_vlan_list({text, len}, ranges);
  return ranges;
}

validator_type text_type(const char *name, uint32_t longest, validator_match_text match,
                         validator_value_fn value = nullptr) {
  validator_type type{};
  type.basetype = BASETYPE_STRING;
  type.name = name;
  type.defaults.flags = VALIDATOR_BOUNDED;
  type.defaults.min_length = 1;
  type.defaults.max_length = longest;
  type.match_fn.text = match;
  type.value_fn = value;
  return type;
}

validator_type number_type(const char *name, int64_t least, int64_t most, validator_match_number match) {
  validator_type type{};
  type.basetype = BASETYPE_UINT;
  type.name = name;
  type.defaults.flags = VALIDATOR_BOUNDED;
  type.defaults.min_inclusive = least;
  type.defaults.max_inclusive = most;
  type.defaults.base = 10;
  type.defaults.width = 1;
  type.match_fn.number = match;
  return type;
}

// ---- Completion: an argument's "complete" in router.json names the words it may be given ----

using Words = std::vector<std::string>;

Words values_of(cli *engine, const char *command, const char *argument) {
  Words words;
  for (const Entry *entry : router::router_of(engine).configuration.all(command))
    words.push_back(entry->text(argument));
  return words;
}

Words joined(Words words, const Words &more) {
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

Words interfaces(cli *engine) {
  Words words = values_of(engine, "interface", "interface-name");
  for (const router::machine::Link &link : router::machine::links()) words.push_back(link.name);
  return words;
}

Words access_lists(cli *engine) {
  return joined(values_of(engine, "ip access-list", "list-name"), values_of(engine, "ipv6 access-list", "list-name"));
}

Words files(cli * /*engine*/) {
  Words words;
  for (const router::SavedFile &file : router::saved_files()) words.push_back(file.name);
  return words;
}

constexpr struct {
  std::string_view name;
  Words (*words)(cli *engine);
} kCompletions[] = {
    {"interfaces", interfaces},
    {"access-lists", access_lists},
    {"files", files},
    {"vlans", [](cli *engine) { return values_of(engine, "vlan", "vlan-id"); }},
    {"users", [](cli *engine) { return values_of(engine, "username", "user-name"); }},
    {"time-ranges", [](cli *engine) { return values_of(engine, "time-range", "range-name"); }},
    {"route-maps", [](cli *engine) { return values_of(engine, "route-map", "map-name"); }},
};

}  // namespace

void cli_shell_register_types(validator_typesystem *types) {
  static const validator_type kTypes[] = {
      text_type("InterfaceName", 15, match_interface_name),
      text_type("FileName", 64, match_file_name),
      text_type("VlanList", 512, match_vlan_list, vlan_list_value),
      number_type("VlanId", 1, kLastVlan, match_vlan_id),
  };
  for (const validator_type &type : kTypes) validator_typesystem_add_custom_type(types, &type);
}

void cli_shell_complete(cli *engine, cli_node *value, const char * /*text*/, json_t *result) {
  const char *wanted = json_string_value(json_object_get(value->definition, "complete"));
  const auto found = std::find_if(std::begin(kCompletions), std::end(kCompletions),
                                  [wanted](const auto &row) { return wanted != nullptr && row.name == wanted; });
  if (found == std::end(kCompletions)) return;
  Words words = found->words(engine);
  std::sort(words.begin(), words.end(), router::natural_less);
  words.erase(std::unique(words.begin(), words.end()), words.end());
  for (const std::string &word : words) {
    if (!word.empty()) json_array_append_new(result, json_stringn(word.data(), word.size()));
  }
}

const char *const *cli_shell_secrets(void) {
  static const char *const kSecrets[] = {"secret", "secret-hash", "community", nullptr};
  return kSecrets;
}
