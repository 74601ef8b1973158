// Help texts: what templates expand to, and the reports of those that cannot be expanded.
#include "cli_engine/help_template.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <string>

#include "cli_engine/json_ref.hpp"
#include "libglobal/dyn_string.hpp"

namespace {

using cli_engine::get_help;
using cli_engine::JsonRef;

JsonRef document(const char *text) {
  JsonRef value(json_loads(text, JSON_DECODE_ANY, nullptr));
  EXPECT_NE(value, nullptr) << text;
  return value;
}

struct HelpCase {
  const char *help;
  const char *expanded;
};

constexpr HelpCase kHelps[] = {
    {R"("a {b} }c{")", "a {b} }c{"},
    {R"("")", ""},
    {R"({"fmt": "Show the routes"})", "Show the routes"},
    {R"({"fmt": "Port {n} is {b} on {s}", "args": {"n": 3, "b": true, "s": "eth0"}})", "Port 3 is true on eth0"},
    {R"({"fmt": "{n}{n}{f}", "args": {"n": -5, "f": false}})", "-5-5false"},
    {R"({"fmt": "{n}", "args": {"n": 9223372036854775807}})", "9223372036854775807"},
    {R"({"fmt": "{a b}.", "args": {"a b": "{x}", "a": 1}})", "{x}."},
    {R"({"fmt": "Total: {n", "args": {"n": 1}})", "Total: "},
    {R"({"fmt": "Total: {"})", "Total: "},
};

TEST(Help, ExpandsItsTemplate) {
  for (const HelpCase &row : kHelps) {
    const libglobal::DynStringOwner help(get_help(document(row.help).get()));
    EXPECT_STREQ(dyn_string_text(help.get()), row.expanded) << row.help;
  }
  EXPECT_EQ(get_help(nullptr), nullptr);
}

constexpr char kEmptyFmt[] =
    "cli_engine/loader:get_help: assertion \"json_is_string(fmt) && json_string_length(fmt) > 0\" failed: "
    "empty 'fmt' value in #help\n";

// What is printed ends in the report of print_error.
constexpr HelpCase kFaults[] = {
    {R"({"fmt": "a}b"})", "a}b\n ^ Unexpected '}'\n"},
    {R"({"fmt": "}"})", "}\n^ Unexpected '}'\n"},
    {R"({"fmt": "{n}}", "args": {"n": 1}})", "{n}}\n   ^ Unexpected '}'\n"},
    {R"({"fmt": "{{n}}", "args": {"n": 1}})", "{{n}}\n ^ Unexpected '{'\n"},
    {R"({"fmt": "{n{m}", "args": {"n": 1, "m": 1}})", "{n{m}\n  ^ Unexpected '{'\n"},
    {R"({"fmt": "a {}", "args": {"": 1}})", "a {}\n   ^ Empty replacement field\n"},
    {R"({"fmt": "Port {nr}", "args": {"n": 1, "NR": 2}})", "Port {nr}\n      ^ Key not found\n"},
    {R"({"fmt": "{n}"})", "{n}\n ^ Key not found\n"},
    {R"({"fmt": "{n}", "args": {"n": 1.0}})",
     "{n}\n ^ Unexpected argument type (got real). Supported only string/integer/boolean\n"},
    {R"({"fmt": "{n}", "args": {"n": null}})",
     "{n}\n ^ Unexpected argument type (got null). Supported only string/integer/boolean\n"},
    {R"({"fmt": "{n}", "args": {"n": {}}})",
     "{n}\n ^ Unexpected argument type (got object). Supported only string/integer/boolean\n"},
    {R"({"fmt": "{n}", "args": {"n": []}})",
     "{n}\n ^ Unexpected argument type (got array). Supported only string/integer/boolean\n"},
    {R"({"fmt": "%s%n {}"})", "%s%n {}\n      ^ Empty replacement field\n"},
};

TEST(HelpDeathTest, FaultsEndTheProcessWithTheirReport) {
  for (const HelpCase &row : kFaults) {
    const std::string report = std::string(row.expanded) + "cli_engine/loader:print_error: assertion \"0\" failed\n";
    EXPECT_EXIT((void)get_help(document(row.help).get()), testing::KilledBySignal(SIGABRT),
                testing::StartsWith(report));
  }
  for (const char *help : {"null", "5", "[]", "{}", R"({"args": {}})", R"({"fmt": ""})", R"({"fmt": null})"}) {
    EXPECT_EXIT((void)get_help(document(help).get()), testing::KilledBySignal(SIGABRT), testing::StartsWith(kEmptyFmt))
        << help;
  }
}

}  // namespace
