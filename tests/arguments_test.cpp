// Arguments read by path and kind.
#include <arpa/inet.h>
#include <gtest/gtest.h>

#include "engine_support.hpp"

using engine_support::Engine;

extern "C" CLI_API int test_keep(cli *, cli_node *) {
  return 0;
}

namespace {

// A port is a name or a number: its converter decides. A place is an address or a name.
int match_any(const validator *, const char *, size_t) {
  return MATCH_COMPLETE;
}
json_t *convert_port(const validator *, const char *text, size_t len) {
  return std::string_view(text, len) == "http" ? json_integer(80) : json_stringn(text, len);
}
const validator_type kPort{BASETYPE_STRING, "port", {}, {.text = match_any}, convert_port};
const validator_type kPlace{BASETYPE_STRING, "place", {}, {.text = match_any}, nullptr};

std::string address_of(cli_node *node, const char *path) {
  int family = -7;
  uint8_t bytes[16] = {9, 9, 9, 9, 9};
  unsigned prefix = 7;
  if (cli_arg_address(node, path, &family, bytes, &prefix) != 0) {
    return family == -7 && bytes[4] == 9 && prefix == 7 ? "none" : "touched";
  }
  char text[INET6_ADDRSTRLEN];
  return std::string(inet_ntop(family, bytes, text, sizeof text)) + "/" + std::to_string(prefix);
}

std::string mac_of(cli_node *node, const char *path) {
  uint8_t bytes[6] = {9};
  if (cli_arg_mac(node, path, bytes) != 0) return bytes[0] == 9 ? "none" : "touched";
  char text[18];
  std::snprintf(text, sizeof text, "%02x-%02x-%02x-%02x-%02x-%02x", bytes[0], bytes[1], bytes[2], bytes[3], bytes[4],
                bytes[5]);
  return text;
}

// What each function says of the same path: given, text, number, address, hardware address.
std::string all_of(cli_node *node, const char *path) {
  const char *text = "none";
  int64_t number = -77;
  cli_arg_text(node, path, &text);
  const bool is_number = cli_arg_int(node, path, &number) == 0;
  return std::to_string(cli_arg_given(node, path)) + " " + text + " " +
         (is_number || number != -77 ? std::to_string(number) : "none") + " " + address_of(node, path) + " " +
         mac_of(node, path);
}

// Rows of a type, a text, and what is read of it; "none" of a text that is no value.
TEST(Arguments, EachKindReadsItsOwnAndLeavesTheRest) {
  engine_support::for_each_case("arguments.json", "cases", [](const json_t *row) {
    const std::vector<std::string> texts = engine_support::texts_of(row);
    validator_typesystem *types = validator_typesystem_new();
    validator_typesystem_add_custom_type(types, &kPort);
    validator_typesystem_add_custom_type(types, &kPlace);
    const engine_support::Json document = engine_support::json(
        std::string("{'c': {'#help': 'h', '#handler': 'test_keep', '#args': [{'#name': 'v', '#help': 'h', '#type': ") +
        texts[0] + "}]}}");
    cli engine{};
    ASSERT_NE(cli_init(&engine, types, document.get(), nullptr, nullptr), nullptr);
    const std::string line = "c " + texts[1];
    engine_support::printed_by([&] { cli_execute(&engine, line.c_str()); });
    if (engine.parser.error->errcode != E_OK) {
      EXPECT_EQ(texts[2], "none");
    } else {
      EXPECT_EQ(all_of(&engine.root, "c v"), texts[2]);
    }
    cli_free(&engine);
    validator_typesystem_free(types);
  });
}

TEST(Arguments, WhatWasNotGivenIsNotRead) {
  Engine engine(R"({'c': {'#help': 'h', '#handler': 'test_keep', '#args': [{'#type': 'container', '#args': [
    {'#type': 'key', '#name': 'k', '#help': 'h', '#args': [{'#type': 'int', '#name': 'n', '#help': 'h'}]},
    {'#type': 'key', '#name': 'o', '#help': 'h', '#optional': true}]}]}})");
  engine.execute("c k 5");
  cli_node *root = &engine->root;
  EXPECT_EQ(all_of(root, "c k"), "1 none none none none");  // a keyword is given and has no value of its own
  EXPECT_EQ(all_of(root, "c k n"), "1 5 5 none none");
  for (const char *path : {"c o", "c n o", "", "c  k x"}) EXPECT_EQ(all_of(root, path), "0 none none none none");
  EXPECT_EQ(all_of(root, nullptr), "0 none none none none");
  EXPECT_EQ(all_of(nullptr, "c"), "0 none none none none");
  EXPECT_EQ(cli_arg_text(root, "c k n", nullptr) + cli_arg_int(root, "c k n", nullptr), -2);
  EXPECT_EQ(cli_arg_address(root, "c k n", nullptr, nullptr, nullptr) + cli_arg_mac(root, "c k n", nullptr), -2);
}

}  // namespace
