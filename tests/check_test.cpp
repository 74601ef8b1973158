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

#include "cli_shell/check_match.hpp"

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
  explicit Checked(std::string definitions_text, std::string privileges_text = "")
      : definitions_("d.json", std::move(definitions_text)) {
    if (!privileges_text.empty()) {
      privileges_ = std::make_unique<JsonDocument>("p.json", std::move(privileges_text));
    }
    Host host;
    host.types = types_.get();
    host.has_handler = [](const char *name) { return std::string_view(name) != "missing"; };
    host.is_foreign = [](const char *name) { return std::string_view(name) == "foreign"; };
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

struct RuleCase {
  std::string rule, breaks, keeps, privileges_break, privileges_keep;
};

std::string json(std::string_view text) {
  std::string out;
  for (const char c : text) {
    c == '@' ? out.append(R"("#help": "h", "#handler": "f")") : out.append(1, c == '\'' ? '"' : c);
  }
  return out;
}

// The cases of data/check_rules.txt.
std::vector<RuleCase> rule_cases() {
  std::vector<RuleCase> cases;
  std::ifstream file(TEST_DATA_DIR "/check_rules.txt");
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line.starts_with("#")) continue;
    const std::string kind = line.substr(0, line.find(' '));
    const std::string text = json(std::string_view(line).substr(std::min(kind.size() + 1, line.size())));
    if (kind == "-") cases.back().breaks = text;
    if (kind == "+") cases.back().keeps = text;
    if (kind == "-p") cases.back().privileges_break = text;
    if (kind == "+p") cases.back().privileges_keep = text;
    if (kind == line) cases.emplace_back().rule = line;
  }
  EXPECT_GT(cases.size(), 70U);
  return cases;
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

TEST(Check, AnErrorIsNotAWarningAsWell) {
  const Checked checked(json(
      "{'m': {'#help': 'h', '#commands': {'x': {@}}, '#prompt': [{'value': 'v', 'description': 'd', 'if': 'm x'}]}}"));
  EXPECT_EQ(checked.rules(), std::set<std::string_view>({"prompt-no-variant"}));
}

// Samples of an error alone are named after its rule.
std::set<std::string> rules_of_samples() {
  std::set<std::string> rules;
  for (const auto &file : std::filesystem::directory_iterator(PROJECT_DIR "/schema/samples/bad")) {
    const std::string name = file.path().stem().stem().string();
    const bool of_privileges = file.path().stem().extension() == ".privileges";
    const std::string text = read_file(file.path());
    const std::string definitions = R"({"show": {"#help": "h", "#handler": "f"}})";
    const Checked checked(of_privileges ? definitions : text, of_privileges ? text : "");
    EXPECT_EQ(checked.rules(Severity::kError), std::set<std::string_view>({name})) << file.path();
    rules.insert(name);
  }
  return rules;
}

TEST(Check, GoodSamplesHaveNothingToSay) {
  const std::string privileges = read_file(PROJECT_DIR "/schema/samples/good/campus.privileges.json");
  const Checked campus(read_file(PROJECT_DIR "/schema/samples/good/campus.json"), privileges);
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
      R"({"1": {}, "2": {"Name": "S", "Prompt": "x", "Level": 1}})");
  EXPECT_EQ(
      checked.report(print_as_text),
      "d.json:2:2: error: \"\xc3\xa9t\xc3\xa9\": \"#help\" is missing [missing-help]\n"
      "d.json:2:27: warning: \"\xc3\xa9t\xc3\xa9\": nothing reads \"#optinal\"; did you mean \"#optional\"? "
      "[unread-member]\n"
      "d.json:4:23: error: \"s\", argument \"k v\\x0a\": there is no type \"Int\"; did you mean \"int\"? "
      "[unknown-type]\n"
      "p.json:1:7: error: \"1\": a privilege entry needs a \"Name\" that is a string [privilege-entry]\n"
      "p.json:1:7: error: \"1\": a privilege entry needs a \"Prompt\" that is a string [privilege-entry]\n"
      "p.json:1:11: warning: \"2\": there is no command \"S\" in the mode \"x\"; did you mean the \"Name\" \"s\" with "
      "the \"Prompt\" \"\"? [unmatched-privilege]\n");
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

// Parts between bars.
std::vector<std::string> split(std::string_view text) {
  std::vector<std::string> parts(1);
  for (const char c : text) {
    c == '|' ? static_cast<void>(parts.emplace_back()) : parts.back().push_back(c);
  }
  return parts;
}

TEST(CheckJson, TakesWhatJanssonTakes) {
  std::vector<std::string> texts = split(
      "| |5|\"a\"|null|{}| [ ] \n|[1,]|[,]|{\"a\":1,}|{\"a\" 1}|{a:1}|[1] 2|[1]x|[1|{|[\"a|\xef\xbb\xbf[]|[\"\t\"]|"
      "[\"\x7f\"]|[\v]|[\f]");
  texts.insert(texts.end(), {std::string("[]\0", 3), std::string("[\"\0\"]", 5)});
  for (const auto &[levels, core] : {std::pair(2048, ""), {2049, ""}, {2047, "1"}, {2048, "1"}}) {
    texts.push_back(std::string(levels, '[') + core + std::string(levels, ']'));
  }
  for (const std::string &item : split(
           R"(0|-0|00|-|+1|01|1.|.5|1.5|1e5|1E+5|1e|1e-|1e999|-1e999|0e999|1e-999|0x1|1a|true|tru|truex|True|nul|NaN|)"
           R"(9223372036854775807|9223372036854775808|-9223372036854775808|-9223372036854775809|Infinity|)"
           R"("\u0000"|"\u00e9"|"\ud800"|"\udc00"|"\ud83d\ude00"|"\ud83d\u0041"|"\ud83dx"|"\u12"|"\x"|"\/\b\f\n\r\t"|)"
           R"({"a":1,"b":2}|{"\u0061":1,"a":2}|)"
           "\"\xc3\xa9\"|\"\xc3\"|\"\xc0\x80\"|\"\xe0\x80\x80\"|\"\xed\xa0\x80\"|\"\xef\xbf\xbf\"|\"\xf0\x9f\x98\x80\"|"
           "\"\xf4\x90\x80\x80\"|\"\xf5\x80\x80\x80\"|\"\xff\"|\xc3\xa9")) {
    texts.insert(texts.end(), {"[" + item + "]", "{\"k\": " + item + " }"});
  }
  for (const std::string &text : texts) {
    const JsonRef document(json_loadb(text.data(), text.size(), JSON_REJECT_DUPLICATES, nullptr));
    const Checked checked(text);
    EXPECT_EQ(checked.has("json") || checked.has("repeated-member"), document == nullptr) << text.substr(0, 80);
  }
}

}  // namespace
}  // namespace cli_check
