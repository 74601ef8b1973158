// Arguments by their paths, converted where they stand.
#include "cli_engine/arguments.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <span>

#include "cli_engine/matchers.hpp"
#include "cli_engine/node_value.hpp"
#include "libglobal/strnto.h"

namespace cli_engine {
namespace {

// The value that the line gave at a path, or null.
cli_node *given_value(cli_node *node, const char *path) {
  cli_node *found = cli_node_find(node, path);
  return found != nullptr && found->type == TYPE_VALUE && found->token != nullptr ? found : nullptr;
}

std::string_view text_of_value(const cli_node &value) {
  return given_text(value.value.validator, *value.token);
}

// ---- Types ----

constexpr validator_match_text kAddressMatchers[] = {match_ipv4_address, match_ipv4_prefix, match_ipv6_address,
                                                     match_ipv6_prefix, match_any_ip};
constexpr validator_match_text kOtherMatchers[] = {nullptr, match_time, match_mac_address, match_host_name};

bool is_one_of(std::span<const validator_match_text> matchers, validator_match_text match) {
  return std::find(matchers.begin(), matchers.end(), match) != matchers.end();
}

bool is_of_host(validator_match_text match) {
  return !is_one_of(kAddressMatchers, match) && !is_one_of(kOtherMatchers, match);
}

// A value of a text type that takes addresses always, or as far as its text shows.
bool holds_address(const validator &v, std::string_view text) {
  if (v.type->basetype != BASETYPE_STRING) {
    return false;
  }
  const validator_match_text match = v.type->match_fn.text;
  return is_one_of(kAddressMatchers, match) ||
         (is_of_host(match) && match_any_ip(&v, text.data(), text.size()) == MATCH_COMPLETE);
}

bool holds_mac(const validator &v, std::string_view text) {
  if (v.type->basetype != BASETYPE_STRING) {
    return false;
  }
  const validator_match_text match = v.type->match_fn.text;
  return (match == match_mac_address || is_of_host(match)) &&
         match_mac_address(&v, text.data(), text.size()) == MATCH_COMPLETE;
}

// ---- Addresses whose notation was checked ----

std::uint8_t byte_of(std::string_view text, int base) {
  std::uint32_t number = 0;
  strntou(text.data(), text.size(), base, &number);
  return static_cast<std::uint8_t>(number);
}

// Takes the text up to a separator, and the separator, off the front.
std::string_view take_part(std::string_view &rest, char separator) {
  const std::string_view part = rest.substr(0, rest.find(separator));
  rest.remove_prefix(std::min(rest.size(), part.size() + 1));
  return part;
}

void read_ipv4(std::string_view text, std::uint8_t *bytes) {
  for (int i = 0; i < 4; i++) {
    bytes[i] = byte_of(take_part(text, '.'), 0);  // octal and hexadecimal too
  }
}

// The groups before a "::" stand at the front and those after it at the end; an embedded IPv4 address is two groups.
void read_ipv6(std::string_view text, std::uint8_t *bytes) {
  constexpr std::size_t kBytes = 16;
  std::array<std::uint8_t, kBytes> groups{};
  std::size_t size = 0;
  std::size_t front = kBytes;
  while (!text.empty() && size < kBytes) {
    if (text.front() == ':') {
      const bool pair = text.starts_with("::");
      front = pair ? size : front;
      text.remove_prefix(pair ? 2 : 1);
      continue;
    }
    const std::string_view group = text.substr(0, text.find(':'));
    text.remove_prefix(group.size());
    if (group.find('.') != std::string_view::npos) {
      read_ipv4(group, &groups[size]);
      size += 4;
      break;
    }
    std::uint16_t number = 0;
    std::from_chars(group.data(), group.data() + group.size(), number, 16);
    groups[size++] = static_cast<std::uint8_t>(number >> 8U);
    groups[size++] = static_cast<std::uint8_t>(number & 0xFFU);
  }
  front = std::min(front, size);
  std::fill_n(bytes, kBytes, std::uint8_t{0});
  std::copy_n(groups.data(), front, bytes);
  std::copy_n(groups.data() + front, size - front, bytes + kBytes - (size - front));
}

struct Address {
  int family = AF_INET;
  std::array<std::uint8_t, 16> bytes{};
  unsigned prefix_len = 32;
};

Address read_address(std::string_view text) {
  Address address;
  const std::string_view host = take_part(text, '/');
  if (host.find(':') == std::string_view::npos) {
    read_ipv4(host, address.bytes.data());
  } else {
    address.family = AF_INET6;
    address.prefix_len = 128;
    read_ipv6(host, address.bytes.data());
  }
  if (!text.empty()) {
    address.prefix_len = byte_of(text, 10);
  }
  return address;
}

// ---- Numbers ----

bool read_number(cli_node &value, std::int64_t &number) {
  const validator &v = value.value.validator;
  if (v.type->value_fn != nullptr) {
    const json_t *converted = cli_node_value(&value);
    number = json_integer_value(converted);
    return json_is_integer(converted);
  }
  number = number_of(v, text_of_value(value));
  return v.type->basetype == BASETYPE_INT || v.type->basetype == BASETYPE_UINT;
}

}  // namespace
}  // namespace cli_engine

using cli_engine::given_value;

int cli_arg_given(cli_node *node, const char *path) {
  return path != nullptr && cli_node_find(node, path) != nullptr ? 1 : 0;
}

int cli_arg_text(cli_node *node, const char *path, const char **out) {
  const cli_node *value = given_value(node, path);
  if (value == nullptr || out == nullptr) {
    return -1;
  }
  *out = cli_engine::text_of_value(*value).data();
  return 0;
}

int cli_arg_int(cli_node *node, const char *path, int64_t *out) {
  cli_node *value = given_value(node, path);
  std::int64_t number = 0;
  if (value == nullptr || out == nullptr || !cli_engine::read_number(*value, number)) {
    return -1;
  }
  *out = number;
  return 0;
}

int cli_arg_address(cli_node *node, const char *path, int *family, uint8_t bytes[16], unsigned *prefix_len) {
  const cli_node *value = given_value(node, path);
  if (value == nullptr || bytes == nullptr) {
    return -1;
  }
  const std::string_view text = cli_engine::text_of_value(*value);
  if (!cli_engine::holds_address(value->value.validator, text)) {
    return -1;
  }
  const cli_engine::Address address = cli_engine::read_address(text);
  std::copy(address.bytes.begin(), address.bytes.end(), bytes);
  if (family != nullptr) {
    *family = address.family;
  }
  if (prefix_len != nullptr) {
    *prefix_len = address.prefix_len;
  }
  return 0;
}

int cli_arg_mac(cli_node *node, const char *path, uint8_t bytes[6]) {
  const cli_node *value = given_value(node, path);
  if (value == nullptr || bytes == nullptr) {
    return -1;
  }
  std::string_view text = cli_engine::text_of_value(*value);
  if (!cli_engine::holds_mac(value->value.validator, text)) {
    return -1;
  }
  for (int i = 0; i < 6; i++) {
    bytes[i] = cli_engine::byte_of(cli_engine::take_part(text, ':'), 16);
  }
  return 0;
}
