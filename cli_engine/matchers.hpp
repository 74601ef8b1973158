// Checks of one text against a validator, and the texts that an enumeration's entries stand for.
//
// A matcher answers MATCH_COMPLETE, MATCH_INCOMPLETE or MATCH_NONE. None reads past the text but match_host_name, which
// needs the NUL behind it.
#ifndef CLI_ENGINE_MATCHERS_HPP
#define CLI_ENGINE_MATCHERS_HPP

#include <cstddef>
#include <string_view>

#include "cli_engine/validator.h"
#include "libglobal/dyn_string.h"

namespace cli_engine {

// The built-in types' matchers, each fit for validator_type.match_fn.text.
int match_ipv4_address(const validator *v, const char *text, std::size_t len);  // v is not read and may be null
int match_ipv6_address(const validator *v, const char *text, std::size_t len);  // likewise
int match_ipv4_prefix(const validator *v, const char *text, std::size_t len);   // reads the type's name
int match_ipv6_prefix(const validator *v, const char *text, std::size_t len);   // likewise
int match_any_ip(const validator *v, const char *text, std::size_t len);        // likewise; never MATCH_INCOMPLETE
int match_time(const validator *v, const char *text, std::size_t len);
int match_mac_address(const validator *v, const char *text, std::size_t len);
int match_host_name(const validator *v, const char *text, std::size_t len);

// The whole check of a text: conversion, notation, bounds, enumeration, the type's matcher.
int validator_check(const validator *v, const char *text, std::size_t len);

// What a text is under an enumeration.
struct EnumMatch {
  int result;             // MATCH_COMPLETE when it equals an entry, or abbreviates one entry alone, which is a string
  std::string_view text;  // what the text stands for: that entry, or the text itself
};

// Finds a text among the entries of `choices`, an array; a null one has no entry. An equal entry wins wherever it
// stands. The result's text lives as long as the array and the text.
EnumMatch enum_text(const json_t *choices, std::string_view text);

// Appends the text of one entry: a string as it is, any other value as JSON.
void append_enum_entry(DynString &out, const json_t *entry);

}  // namespace cli_engine

#endif
