// Each rule of the checker with a document that breaks it and one, close to it, that does not; the form of reports; the
// JSON reader beside Jansson.
#include "cli_shell/check.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <jansson.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace cli_check {
namespace {

std::string read_file(const std::filesystem::path &path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

// The documents checked together, and what was found.
class Checked {
 public:
  explicit Checked(std::string definitions_text, const char *privileges_text = nullptr)
      : definitions_("d.json", std::move(definitions_text)) {
    if (privileges_text != nullptr) {
      privileges_ = std::make_unique<JsonDocument>("p.json", privileges_text);
    }
    Host host;
    host.types = types_.get();
    host.has_handler = [](const char *name) { return std::string_view(name) != "missing"; };
    host.exported_handlers = {"f"};
    check_documents(definitions_, privileges_.get(), host, findings_);
  }

  // Rules of that severity or a graver one of which something was found, but for the handler that most samples do not
  // name.
  [[nodiscard]] std::set<std::string_view> rules(Severity least = Severity::kNote) const {
    std::set<std::string_view> names;
    for (const Finding &finding : findings_.all()) {
      if (rule_row(finding.rule).severity <= least) {
        names.insert(rule_row(finding.rule).name);
      }
    }
    names.erase("unused-handler");
    return names;
  }

  [[nodiscard]] bool has(std::string_view rule) const {
    return std::any_of(findings_.all().begin(), findings_.all().end(),
                       [&](const Finding &finding) { return rule_row(finding.rule).name == rule; });
  }

  [[nodiscard]] const Findings &findings() const { return findings_; }

  [[nodiscard]] std::string report(void (*print)(const Findings &, std::FILE *)) const {
    char *text = nullptr;
    std::size_t size = 0;
    std::FILE *out = open_memstream(&text, &size);
    print(findings_, out);
    std::fclose(out);
    std::string report(text, size);
    std::free(text);
    return report;
  }

 private:
  struct Release {
    void operator()(validator_typesystem *types) const { validator_typesystem_free(types); }
  };
  std::unique_ptr<validator_typesystem, Release> types_{validator_typesystem_new()};
  JsonDocument definitions_;
  std::unique_ptr<JsonDocument> privileges_;
  Findings findings_;
};

// ---- Rules ----

// A command "c" with these "#args" and, when there are any, "#commands".
std::string command(const std::string &args, const std::string &commands = "") {
  return R"({"c": {"#help": "h", "#handler": "f", "#args": [)" + args + "]" +
         (commands.empty() ? "" : ", \"#commands\": {" + commands + "}") + "}}";
}

// A mode "m" with this "#prompt", and in it a command "x" with a keyword "k".
std::string mode(const std::string &prompt, const std::string &more = "") {
  return R"({"m": {"#help": "h", "#prompt": )" + prompt + more +
         R"(, "#commands": {"x": {"#help": "h", "#handler": "f", "#args": [{"#type": "key", "#name": "k", "#help": "h"}]}}}})";
}

std::string key(const std::string &name, const std::string &more = "") {
  return R"({"#type": "key", "#name": ")" + name + R"(", "#help": "h")" + more + "}";
}

std::string value(const std::string &name, const std::string &type, const std::string &more = "") {
  return R"({"#type": ")" + type + R"(", "#name": ")" + name + R"(", "#help": "h")" + more + "}";
}

std::string group(const std::string &how, const std::string &members) {
  return R"({"#type": "container", )" + how + R"("#args": [)" + members + "]}";
}

const std::string kOptional = R"(, "#optional": true)";
const std::string kOptionalGroup = R"("#optional": true, )";
const std::string kExclusive = R"("#exclusive": true, )";
const std::string kWord = R"("w": {"#help": "h", "#handler": "f"})";
const std::string kTwoWords = R"({"a": {"#help": "h", "#handler": "f"}, "b": {"#help": "h", "#handler": "f"})";
const std::string kMissing = R"({"a": {"#help": "h", "#handler": "missing"}})";

struct RuleCase {
  std::string_view rule;
  std::string breaks;
  std::string keeps;
  const char *privileges_break = nullptr;
  const char *privileges_keep = nullptr;
};

std::vector<RuleCase> rule_cases() {
  return {
      // Errors that one declaration alone does not show; the others stand under schema/samples/bad.
      {"json", R"({"a": {"#help": "h" "#handler": "f"}})", R"({"a": {"#help": "h", "#handler": "f"}})"},
      {"repeated-member", R"({"a": {"#help": "h", "#help": "h", "#handler": "f"}})", kTwoWords + "}"},
      {"unknown-path", R"({"s x": {"#help": "h", "#handler": "f"}, "s": {"#help": "h"}})",
       R"({"s": {"#help": "h"}, "S  x": {"#help": "h", "#handler": "f"}})"},
      {"unknown-path",
       R"({"s": {"#alias": "t"}, "s x": {"#help": "h", "#handler": "f"}, "t": {"#help": "h", "#handler": "f"}})",
       R"({"t": {"#help": "h"}, "t x": {"#help": "h", "#handler": "f"}, "s": {"#alias": "t"}})"},
      {"help-template", R"({"a": {"#help": {"fmt": "{n}", "args": {"n": 1.0}}, "#handler": "f"}})",
       R"({"a": {"#help": {"fmt": "{n} {b} {s}", "args": {"n": 1, "b": true, "s": "}"}}, "#handler": "f"}})"},
      {"help-template", R"({"a": {"#help": {"fmt": "a}"}, "#handler": "f"}})",
       R"({"a": {"#help": {"fmt": "a{b"}, "#handler": "f"}})"},
      {"help-template", R"({"a": {"#help": {"fmt": "{N}", "args": {"n": 1}}, "#handler": "f"}})",
       R"({"a": {"#help": "{N}", "#handler": "f"}})"},
      {"prompt-no-variant", mode(R"([{"value": "v", "description": "d", "if": "x k"}])"),
       mode(R"([{"value": "v", "description": "d", "if-not": "x k"}, {"value": "w"}])")},
      {"prompt-no-variant", mode("[]"), mode(R"("p")")},
      {"exit-description", mode(R"([{"value": "v", "description": 5}])"),
       mode(R"([{"value": "v", "if": "x"}, {"value": "w", "description": "d"}])")},
      {"condition-type", mode(R"([{"value": "v", "if": null}, {"value": "w", "description": "d"}])"),
       mode(R"([{"value": "v", "if": ["x", ["x k"]]}, {"value": "w", "description": "d"}])")},
      {"unknown-handler", kMissing, kTwoWords + "}"},
      {"unknown-type", command(value("v", "Int")), command(value("v", "int"))},
      {"facet-range", command(value("v", "int", R"(, "#max_inclusive": 2147483648)")),
       command(value("v", "int", R"(, "#max_inclusive": 2147483647)"))},
      {"facet-range", command(value("v", "unsignedInt", R"(, "#max_inclusive": 9, "#width": "3")")),
       command(value("v", "unsignedInt", R"(, "#max_inclusive": 9, "#width": 3, "#base": 16)"))},
      {"facet-range", command(value("v", "string", R"(, "#min_length": 6, "#max_length": 5)")),
       command(value("v", "string", R"(, "#min_length": 5, "#max_length": 5)"))},
      {"second-argument", command(key("k", R"(, "#args": [)" + value("v", "int") + ", " + value("w", "int") + "]")),
       command(key("k", R"(, "#args": [)" + value("v", "int") + "]"))},
      {"privilege-level", kTwoWords + "}", kTwoWords + "}", R"({"1": {"Name": "a", "Prompt": "", "Level": 16}})",
       R"({"1": {"Name": "a", "Prompt": "", "Level": 15}})"},
      {"privilege-level", mode(R"("p")"), mode(R"("p")"), R"({"1": {"Name": "x", "Prompt": "p", "Level": 99}})",
       R"({"1": {"Name": "x", "Prompt": "p", "Level": 9}})"},
      // Members.
      {"unread-member", command(key("k", R"(, "#optinal": true)")), command(key("k", R"(, "optic": true)"))},
      {"unread-member", command(key("k", R"(, "optional": true)")), command(key("k", kOptional))},
      {"unread-member", mode(R"([{"value": "v", "descripton": "x", "description": "d"}])"),
       mode(R"([{"value": "v", "description": "d", "colour": 5}])")},
      {"unread-member", R"({"a": {"#help": {"fmt": "h {n}", "args": {"n": 1, "m": 2}}, "#handler": "f"}})",
       R"({"a": {"#help": {"fmt": "h {n}", "args": {"n": 1}}, "#handler": "f"}})"},
      {"ignored-value", command(value("v", "string", R"(, "#max_length": 4294967296)")),
       command(value("v", "string", R"(, "#max_length": 4294967295)"))},
      {"ignored-member", command(key("k", R"(, "#multi": true)")), command(value("v", "int", R"(, "#multi": true)"))},
      {"ignored-member", R"({"a": {"#alias": "b", "#help": "h"}, "b": {"#help": "h", "#handler": "f"}})",
       R"({"a": {"#alias": "b"}, "b": {"#help": "h", "#handler": "f"}})"},
      {"ignored-member", command(group(R"("#sequential": true, "#exclusive": true, )", key("k"))),
       command(group(R"("#sequential": true, )", key("k")))},
      {"ignored-value", command(key("k", R"(, "#optional": "yes")")), command(key("k", R"(, "#optional": false)"))},
      {"ignored-facet", command(value("v", "int", R"(, "#min_length": 5)")),
       command(value("v", "string", R"(, "#min_length": 5)"))},
      {"ignored-facet", command(value("v", "int", R"(, "#width": 4)")),
       command(value("v", "int", R"(, "#width": 4, "#min_inclusive": 0)"))},
      {"help-text", R"({"a": {"#help": "", "#handler": "f"}})", R"({"a": {"#help": "h", "#handler": "f"}})"},
      {"help-text", R"({"a": {"#help": "two\nlines", "#handler": "f"}})",
       R"({"a": {"#help": {"fmt": "one {x}", "args": {"x": "line"}}, "#handler": "f"}})"},
      {"help-text", R"({"a": {"#help": ")" + std::string(81, 'h') + R"(", "#handler": "f"}})",
       R"({"a": {"#help": ")" + std::string(80, 'h') + R"(", "#handler": "f"}})"},
      // Words.
      {"untypeable-name", command(key("two words")), command(key("two-words"))},
      {"untypeable-name", R"({"#a": {"#help": "h", "#handler": "f"}})",
       R"({"s": {"#help": "h", "#commands": {"#a": {"#help": "h", "#handler": "f"}}}})"},
      {"unreachable-name", kTwoWords + R"(, "A": {"#help": "h", "#handler": "f"}})",
       kTwoWords + R"(, "ab": {"#help": "h", "#handler": "f"}})"},
      {"unreachable-name", command(group(kExclusive, key("k") + ", " + key("K"))),
       command(group(kExclusive, key("k") + ", " + key("l")))},
      {"dead-end", R"({"a": {"#help": "h"}})", R"({"a": {"#help": "h"}, "a b": {"#help": "h", "#handler": "f"}})"},
      {"dead-end", R"({"a": {"#help": "h", "#prompt": "p"}})", mode(R"("p")")},
      {"alias-line", kTwoWords + R"(, "z": {"#alias": "y"}})", kTwoWords + R"(, "z": {"#alias": "'a'"}})"},
      {"alias-line", kTwoWords + R"(, "z": {"#alias": "y"}, "y": {"#alias": "z x"}})",
       kTwoWords + R"(, "z": {"#alias": "y"}, "y": {"#alias": "a"}})"},
      {"alias-line",
       R"({"m": {"#help": "h", "#prompt": "p", "#args": [{"#type": "int", "#name": "v", "#help": "h"}], "#commands": {"z": {"#alias": "y"}, "x": {"#help": "h", "#handler": "f"}}}})",
       R"({"m": {"#help": "h", "#prompt": "p", "#args": [{"#type": "int", "#name": "v", "#help": "h"}], "#commands": {"z": {"#alias": "x"}, "x": {"#help": "h", "#handler": "f"}}}})"},
      {"hidden-word",
       R"({"s": {"#help": "h"}, "s t": {"#help": "h", "#handler": "f"}, "m": {"#help": "h", "#prompt": "p", "#commands": {"S": {"#help": "h", "#handler": "f"}}}})",
       R"({"s": {"#help": "h"}, "s t": {"#help": "h", "#handler": "f"}, "m": {"#help": "h", "#prompt": "p", "#commands": {"t": {"#help": "h", "#handler": "f"}}}})"},
      {"no-abbreviation", kTwoWords + R"(, "Ab": {"#help": "h", "#handler": "f"}})",
       kTwoWords + R"(, "c": {"#help": "h", "#handler": "f"}})"},
      {"no-abbreviation", command(group("", key("k", kOptional) + ", " + key("kk", kOptional))),
       command(group("", key("k") + ", " + key("kk")))},
      {"unused-handler", R"({"a": {"#help": "h", "#handler": "g"}})", kTwoWords + "}"},
      // Prompts.
      {"condition-path", mode(R"([{"value": "v", "if": "k x"}, {"value": "w", "description": "d"}])"),
       mode(R"([{"value": "v", "if": "M K"}, {"value": "w", "description": "d"}])")},
      {"condition-later", mode(R"([{"value": "v", "if": ["x", 5]}, {"value": "w", "description": "d"}])"),
       mode(R"([{"value": "v", "if": ["x", "k"]}, {"value": "w", "description": "d"}])")},
      {"prompt-fallback", mode(R"([{"value": "v", "description": "d", "if-not": "x"}, {"value": "w", "if": "x k"}])"),
       mode(R"([{"value": "v", "description": "d", "if-not": "x"}, {"value": "w", "if": ["X"]}])")},
      // Arguments.
      {"never-bare", command(key("k", kOptional) + ", " + key("l", kOptional)),
       command(group(kOptionalGroup, key("k", kOptional) + ", " + key("l", kOptional)))},
      {"never-bare", command(group("", key("k", kOptional) + ", " + key("l", kOptional))),
       command(key("k", kOptional) + ", " + key("l"))},
      {"open-argument", mode(R"("p")", R"(, "#args": [)" + key("o", kOptional) + "]"),
       mode(R"("p")", R"(, "#args": [)" + key("o") + "]")},
      {"open-argument", mode(R"("p")", R"(, "#args": [)" + group("", key("o") + ", " + key("q", kOptional)) + "]"),
       mode(R"("p")", R"(, "#args": [)" + group("", key("o", kOptional) + ", " + key("q")) + "]")},
      {"hidden-commands", command(value("v", "int"), kWord), command(value("v", "int", kOptional), kWord)},
      {"taken-abbreviation", command(key("wide", kOptional), kWord), command(key("narrow", kOptional), kWord)},
      {"blocking-group", command(group("", key("k") + ", " + key("l", kOptional)) + ", " + key("z")),
       command(group("", key("k", kOptional) + ", " + key("l")) + ", " + key("z"))},
      {"blocking-group", command(key("k", R"(, "#args": [)" + value("v", "int", kOptional) + "]") + ", " + key("z")),
       command(key("z") + ", " + key("k", R"(, "#args": [)" + value("v", "int", kOptional) + "]"))},
      {"hidden-value", command(group(kExclusive, value("v", "string") + ", " + value("w", "int"))),
       command(group(kExclusive, value("w", "int") + ", " + value("v", "string")))},
      {"hidden-value", command(group(kExclusive, value("v", "IPAddress") + ", " + value("w", "IPv4Prefix"))),
       command(group(kExclusive, value("v", "IPv4Address") + ", " + value("w", "IPv6Address")))},
      {"hidden-value",
       command(group(kExclusive, value("v", "int", R"(, "#min_inclusive": 1, "#max_inclusive": 9)") + ", " +
                                     value("w", "int", R"(, "#enum": [1, 9])"))),
       command(group(kExclusive, value("v", "int", R"(, "#min_inclusive": 1, "#max_inclusive": 9)") + ", " +
                                     value("w", "int", R"(, "#enum": [1, 10])")))},
      {"hidden-value", command(value("v", "int", kOptional) + ", " + value("w", "string")),
       command(value("v", "int", kOptional) + ", " + value("w", "string", kOptional) + ", " + key("z"))},
      {"value-before-keyword", command(group(kExclusive, value("v", "string") + ", " + key("k"))),
       command(group(kExclusive, key("k") + ", " + value("v", "string")))},
      {"value-before-keyword", command(group(kOptionalGroup, value("v", "string")) + ", " + key("z")),
       command(group(kOptionalGroup, value("v", "int")) + ", " + key("z"))},
      {"unreachable-entry", command(value("v", "IPv4Address", R"(, "#enum": ["any", "10.0.0.1"])")),
       command(value("v", "IPv4Address", R"(, "#enum": ["10.0.0.1"])"))},
      {"unreachable-entry", command(value("v", "int", R"(, "#max_inclusive": 9, "#enum": [5, 10])")),
       command(value("v", "int", R"(, "#max_inclusive": 9, "#enum": [5, 9])"))},
      {"unreachable-entry", command(value("v", "string", R"(, "#enum": ["5", 5])")),
       command(value("v", "string", R"(, "#enum": ["5", 6, 1.5])"))},
      // Privileges.
      {"unmatched-privilege", kTwoWords + "}", kTwoWords + "}", R"({"1": {"Name": "A", "Prompt": "", "Level": 1}})",
       R"({"1": {"Name": "a", "Prompt": "", "Level": 1}})"},
      {"unmatched-privilege", kTwoWords + "}", kTwoWords + "}",
       R"({"1": {"Name": "a", "Prompt": "", "Level": 1}, "2": {"Name": "a", "Prompt": "", "Level": 2}})",
       R"({"1": {"Name": "a", "Prompt": "", "Level": 1}, "2": {"Name": "b", "Prompt": "", "Level": 2}})"},
      {"unmatched-privilege", mode(R"("p")"), mode(R"("p")"), R"({"1": {"Name": "m x", "Prompt": "", "Level": 1}})",
       R"({"1": {"Name": "x", "Prompt": "p", "Level": 1}})"},
      {"unread-privilege", kTwoWords + "}", kTwoWords + "}", R"({"level1": {"Name": "a", "Prompt": "", "Level": 1}})",
       R"({"comment": "levels of the lab"})"},
      {"privilege-without-effect", kTwoWords + "}", kTwoWords + "}",
       R"({"1": {"Name": "a", "Prompt": "", "Level": -1}})", R"({"1": {"Name": "a", "Prompt": "", "Level": 0}})"},
      {"unreachable-level", mode(R"("p")"), mode(R"("p")"),
       R"({"1": {"Name": "m", "Prompt": "", "Level": 5}, "2": {"Name": "x", "Prompt": "p", "Level": 4}})",
       R"({"1": {"Name": "m", "Prompt": "", "Level": 5}, "2": {"Name": "x", "Prompt": "p", "Level": 6}})"},
  };
}

TEST(Check, EachRuleHasWhatBreaksItAndWhatDoesNot) {
  for (const RuleCase &row : rule_cases()) {
    const Checked broken(row.breaks, row.privileges_break);
    const Checked kept(row.keeps, row.privileges_keep);
    EXPECT_TRUE(broken.has(row.rule)) << row.rule << ": " << row.breaks << testing::PrintToString(broken.rules());
    EXPECT_FALSE(kept.has(row.rule)) << kept.report(print_as_text);
    EXPECT_EQ(kept.findings().count(Severity::kError), 0U) << kept.report(print_as_text) << row.keeps;
  }
}

// Samples of an error alone are named after its rule.
std::set<std::string> rules_of_samples() {
  std::set<std::string> rules;
  for (const auto &file : std::filesystem::directory_iterator(PROJECT_DIR "/schema/samples/bad")) {
    const std::string name = file.path().stem().stem().string();
    const bool of_privileges = file.path().stem().extension() == ".privileges";
    const std::string text = read_file(file.path());
    const std::string definitions = R"({"show": {"#help": "h", "#handler": "f"}})";
    const Checked checked(of_privileges ? definitions : text, of_privileges ? text.c_str() : nullptr);
    EXPECT_EQ(checked.rules(Severity::kError), std::set<std::string_view>({name})) << file.path();
    rules.insert(name);
  }
  return rules;
}

TEST(Check, GoodSamplesHaveNothingToSay) {
  const std::string privileges = read_file(PROJECT_DIR "/schema/samples/good/campus.privileges.json");
  const Checked campus(read_file(PROJECT_DIR "/schema/samples/good/campus.json"), privileges.c_str());
  EXPECT_EQ(campus.rules(), std::set<std::string_view>()) << campus.report(print_as_text);
}

TEST(Check, EveryRuleIsTestedAndDocumented) {
  std::set<std::string> tested = rules_of_samples();
  for (const RuleCase &row : rule_cases()) {
    tested.emplace(row.rule);
  }
  const std::string manual = read_file(PROJECT_DIR "/docs/check-rules.md");
  for (std::size_t rule = 0; rule < static_cast<std::size_t>(Rule::kCount); ++rule) {
    const RuleRow &row = rule_row(static_cast<Rule>(rule));
    EXPECT_TRUE(tested.contains(std::string(row.name))) << row.name;
    EXPECT_THAT(manual, testing::HasSubstr("| " + std::string(row.name) + " | " +
                                           std::string(severity_name(row.severity)) + " |"));
  }
}

// ---- Reports ----

TEST(CheckReport, FindingsStandWhereTheyAreInTheOrderOfTheDocuments) {
  const Checked checked(
      "{\n \"\xc3\xa9t\xc3\xa9\": {\"#handler\": \"f\", \"#optinal\": 1},\n"
      " \"s\": {\"#help\": \"h\", \"#handler\": \"f\", \"#args\": [{\"#type\": \"key\", \"#name\": \"k\", \"#help\": "
      "\"h\",\n"
      "  \"#args\": [{\"#type\": \"Int\", \"#name\": \"v\\n\", \"#help\": \"h\"}]}]}}",
      "{\"1\": {}}");
  EXPECT_EQ(checked.report(print_as_text),
            "d.json:2:2: error: \"\xc3\xa9t\xc3\xa9\": \"#help\" is missing [missing-help]\n"
            "d.json:2:27: warning: \"\xc3\xa9t\xc3\xa9\": nothing reads \"#optinal\"; did you mean \"#optional\"? "
            "[unread-member]\n"
            "d.json:4:23: error: \"s\", argument \"k v\\x0a\": there is no type \"Int\"; did you mean \"int\"? "
            "[unknown-type]\n"
            "p.json:1:7: error: \"1\": a privilege entry needs a \"Name\" that is a string [privilege-entry]\n"
            "p.json:1:7: error: \"1\": a privilege entry needs a \"Prompt\" that is a string [privilege-entry]\n");
  EXPECT_EQ(Checked("{\"a\": {\"#help\": \"h\", \"#handler\": \"f\"}}").report(print_as_text), "");
}

TEST(CheckReport, JsonHoldsTheSame) {
  const Checked checked("{\"a\\\"b\": {\"#handler\": \"f\"}}");
  json_t *report = json_loads(checked.report(print_as_json).c_str(), 0, nullptr);
  ASSERT_EQ(json_array_size(report), 2U);  // the name is hard to type as well
  const json_t *first = json_array_get(report, 0);
  EXPECT_STREQ(json_string_value(json_object_get(first, "rule")), "missing-help");
  EXPECT_STREQ(json_string_value(json_object_get(first, "definition")), "\"a\"b\"");
  EXPECT_EQ(json_integer_value(json_object_get(first, "column")), 2);
  json_decref(report);
  EXPECT_EQ(Checked("{}").report(print_as_json).substr(0, 1), "[");
}

// ---- The JSON reader ----

TEST(CheckJson, TakesWhatJanssonTakes) {
  const auto nested = [](std::size_t levels, const std::string &core) {
    return std::string(levels, '[') + core + std::string(levels, ']');
  };
  std::vector<std::string> texts = {"",
                                    " ",
                                    "5",
                                    "\"a\"",
                                    "null",
                                    "{}",
                                    " [ ] \n",
                                    "[1,]",
                                    "[,]",
                                    "{\"a\":1,}",
                                    "{\"a\" 1}",
                                    "{a:1}",
                                    "[1] 2",
                                    "[1]x",
                                    "[1",
                                    "{",
                                    "[\"a",
                                    nested(2048, ""),
                                    nested(2049, ""),
                                    nested(2047, "1"),
                                    nested(2048, "1"),
                                    "\xef\xbb\xbf[]",
                                    std::string("[]\0", 3),
                                    std::string("[\"\0\"]", 5),
                                    "[\"\t\"]",
                                    "[\"\x7f\"]",
                                    "[\v]",
                                    "[\f]"};
  for (const char *item : {"0",
                           "-0",
                           "00",
                           "-",
                           "+1",
                           "01",
                           "1.",
                           ".5",
                           "1.5",
                           "1e5",
                           "1E+5",
                           "1e",
                           "1e-",
                           "1e999",
                           "-1e999",
                           "0e999",
                           "1e-999",
                           "9223372036854775807",
                           "9223372036854775808",
                           "-9223372036854775808",
                           "-9223372036854775809",
                           "0x1",
                           "1a",
                           "true",
                           "tru",
                           "truex",
                           "True",
                           "nul",
                           "NaN",
                           "Infinity",
                           "\"\\u0000\"",
                           "\"\\u00e9\"",
                           "\"\\ud800\"",
                           "\"\\udc00\"",
                           "\"\\ud83d\\ude00\"",
                           "\"\\ud83d\\u0041\"",
                           "\"\\ud83dx\"",
                           "\"\\u12\"",
                           "\"\\x\"",
                           "\"\\/\\b\\f\\n\\r\\t\"",
                           "\"\xc3\xa9\"",
                           "\"\xc3\"",
                           "\"\xc0\x80\"",
                           "\"\xe0\x80\x80\"",
                           "\"\xed\xa0\x80\"",
                           "\"\xef\xbf\xbf\"",
                           "\"\xf0\x9f\x98\x80\"",
                           "\"\xf4\x90\x80\x80\"",
                           "\"\xf5\x80\x80\x80\"",
                           "\"\xff\"",
                           "\xc3\xa9",
                           "{\"a\":1,\"b\":2}",
                           "{\"\\u0061\":1,\"a\":2}"}) {
    texts.push_back("[" + std::string(item) + "]");
    texts.push_back("{\"k\": " + std::string(item) + " }");
  }
  for (const std::string &text : texts) {
    const std::unique_ptr<json_t, decltype(&json_decref)> document(
        json_loadb(text.data(), text.size(), JSON_REJECT_DUPLICATES, nullptr), &json_decref);
    const Checked checked(text);
    EXPECT_EQ(checked.has("json") || checked.has("repeated-member"), document == nullptr) << text.substr(0, 80);
  }
}

}  // namespace
}  // namespace cli_check
