// The notation in which nodes and matched lines are shown.
#include <array>
#include <cstring>
#include <string_view>

#include "cli_engine/display.hpp"
#include "cli_engine/matchers.hpp"
#include "cli_engine/node.hpp"
#include "cli_engine/tokenizer.hpp"
#include "libglobal/dyn_string.hpp"
#include "libglobal/report.hpp"

namespace cli_engine {
namespace {

constexpr const char *kSource = "cli_engine/print_command";

using Colour = std::array<char, 5>;  // the sequence that turns it on

constexpr Colour kWordColour{'\033', '[', '3', '2', 'm'};
constexpr Colour kKeyColour{'\033', '[', '3', '3', 'm'};
constexpr Colour kValueColour{'\033', '[', '3', '6', 'm'};
constexpr std::string_view kReset = "\033[m";

const Colour &colour_of(const cli_node &node) {
  return node.type == TYPE_VALUE ? kValueColour : node.type == TYPE_KEY ? kKeyColour : kWordColour;
}

// Lines are echoed in colour: every byte of it is written once.
void append_coloured(DynString &out, const Colour &colour, std::string_view text) {
  const std::size_t size = colour.size() + text.size() + kReset.size();
  char *at = libglobal::room_for(out, size);
  std::memcpy(at, colour.data(), colour.size());
  at += colour.size();
  std::memcpy(at, text.data(), text.size());
  at += text.size();
  std::memcpy(at, kReset.data(), kReset.size());
  at[kReset.size()] = '\0';
  out.len += size;
}

void append_bounds(const validator &v, DynString &out) {
  const int width = static_cast<int>(v.width);
  if (validator_get_basetype(&v) == BASETYPE_STRING) {
    dyn_string_appendf(&out, " <%u-%u>", v.min_length, v.max_length);
  } else if (v.base == 10) {
    dyn_string_appendf(&out, " <%0*lld-%0*lld>", width, static_cast<long long>(v.min_inclusive), width,
                       static_cast<long long>(v.max_inclusive));
  } else if (v.base == 16) {
    dyn_string_appendf(&out, " <0x%0*llX-0x%0*llX>", width, static_cast<unsigned long long>(v.min_inclusive), width,
                       static_cast<unsigned long long>(v.max_inclusive));
  }
}

void append_enumeration(const json_t *entries, DynString &out) {
  const std::size_t size = json_array_size(entries);
  for (std::size_t i = 0; i < size; i++) {
    libglobal::append(out, i == 0 ? " <" : " ");
    append_enum_entry(out, json_array_get(entries, i));
    libglobal::append(out, i + 1 == size ? '>' : ',');
  }
}

// What a value takes: its bounds and its entries; returns their length.
std::size_t append_syntax(const validator &v, DynString &out) {
  const std::size_t before = out.len;
  if ((v.flags & VALIDATOR_BOUNDED) != 0) {
    append_bounds(v, out);
  }
  if ((v.flags & VALIDATOR_ENUM) != 0) {
    append_enumeration(v.enum_array, out);
  }
  return out.len - before;
}

}  // namespace

int visible_width(const cli_node &node, DynString &scratch) {
  if (node.type != TYPE_VALUE) {
    return static_cast<int>(node.name_len);
  }
  const std::size_t before = scratch.len;
  const int width = print_node(node, nullptr, scratch, false);
  libglobal::truncate(scratch, before);
  return width;
}

int print_node(const cli_node &node, const token *tok, DynString &out, bool colour) {
  const bool takes_token = node.type == TYPE_VALUE && tok != nullptr;
  const std::string_view text = takes_token            ? std::string_view{tok->text, tok->len}
                                : node.name == nullptr ? std::string_view{}
                                                       : name_of(node);
  libglobal::require(text.data() != nullptr && node.type != TYPE_CONTAINER, "output", kSource, "cli_print_node");
  const bool is_alias = node.type == TYPE_ALIAS;
  if (colour && !is_alias && (node.type != TYPE_VALUE || takes_token)) [[likely]] {
    append_coloured(out, colour_of(node), text);
    return static_cast<int>(text.size());
  }
  std::size_t width = text.size();
  if (colour) {
    libglobal::append(out, {colour_of(node).data(), colour_of(node).size()});
  }
  if (is_alias) {
    libglobal::append_all(out, "*", text, "=", node.alias.alias);
  } else {
    libglobal::append(out, text);
  }
  if (node.type == TYPE_VALUE && !takes_token) {
    width += append_syntax(node.value.validator, out);
  }
  if (colour) {
    libglobal::append(out, kReset);
  }
  return static_cast<int>(width);
}

}  // namespace cli_engine

int cli_print_node(cli_node *node, token *tok, DynString *out, int colour) {
  return node == nullptr || out == nullptr ? 0 : cli_engine::print_node(*node, tok, *out, colour != 0);
}

int cli_print_command(token *first, DynString *out, int colour, token **rest) {
  int width = 0;
  token *tok = out == nullptr ? nullptr : first;
  for (; tok != nullptr && tok->node != nullptr && tok->node->used != 0; tok = cli_engine::next_token(tok)) {
    width += cli_engine::print_node(*tok->node, tok, *out, colour != 0) + 1;
    libglobal::append(*out, ' ');
  }
  if (rest != nullptr) {
    *rest = tok;
  }
  return width;
}
