// Each rule of the checker with a document that breaks it and one, close to it, that does not; the form of reports.
#include "cli_check/check.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <jansson.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "cli_check/rules.hpp"

namespace cli_check {
namespace {

std::string read_file(const std::filesystem::path &path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

int handle(cli *, cli_node *) {
  return 0;
}
constexpr cli_handler_entry kOneHandler[] = {{"f", handle}, {nullptr, nullptr}};
constexpr cli_handler_entry kEveryHandler[] = {{"*", handle}, {nullptr, nullptr}};

// The documents checked together, as the files d.json and p.json, and what was found.
class Checked {
 public:
  explicit Checked(std::string definitions, const std::string &privileges = "", std::set<std::string> ignored = {}) {
    Request request;
    request.types = types_.get();
    request.handlers = definitions.find("missing") == std::string::npos ? kEveryHandler : kOneHandler;
    request.flags = CLI_HANDLERS_ONLY;
    request.exported_handlers = {"f"};
    request.is_foreign = [](const char *name) { return std::string_view(name) == "foreign"; };
    request.ignored = std::move(ignored);
    request.definitions = folder_ + "d.json";
    std::ofstream(request.definitions) << definitions;
    request.definitions_text = std::move(definitions);
    if (!privileges.empty()) {
      request.privileges = folder_ + "p.json";
      request.privileges_text = privileges;
      std::ofstream(*request.privileges) << privileges;
    }
    findings_ = check(request);
  }
  ~Checked() { std::filesystem::remove_all(folder_); }
  Checked(const Checked &) = delete;
  Checked &operator=(const Checked &) = delete;

  // Rules of that severity or a graver one of which something was found, but for the handler that most samples do not
  // name.
  [[nodiscard]] std::set<std::string_view> rules(int32_t least = CLI_NOTE) const {
    std::set<std::string_view> names;
    for (const Finding &finding : findings_.all()) {
      if (finding.severity <= least) {
        names.insert(finding.rule);
      }
    }
    names.erase("unused-handler");
    return names;
  }

  [[nodiscard]] bool has(std::string_view rule) const {
    return std::any_of(findings_.all().begin(), findings_.all().end(),
                       [&](const Finding &finding) { return finding.rule == rule; });
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
    for (std::size_t at = report.find(folder_); at != std::string::npos; at = report.find(folder_)) {
      report.erase(at, folder_.size());
    }
    return report;
  }

 private:
  static std::string new_folder() {
    std::string folder = testing::TempDir() + "check-XXXXXX";
    return std::string(mkdtemp(folder.data())) + "/";
  }

  struct Release {
    void operator()(validator_typesystem *types) const { validator_typesystem_free(types); }
  };
  std::unique_ptr<validator_typesystem, Release> types_{validator_typesystem_new()};
  std::string folder_ = new_folder();
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
    EXPECT_EQ(kept.findings().count(CLI_ERROR), 0U) << kept.report(print_as_text) << row.keeps;
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
    EXPECT_EQ(checked.rules(CLI_ERROR), std::set<std::string_view>({name})) << file.path();
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
  for (const Rule &rule : all_rules()) {
    EXPECT_THAT(manual, testing::HasSubstr("| " + std::string(rule.name) + " | " +
                                           std::string(severity_name(rule.severity)) + " |"));
  }
  std::istringstream lines(manual);
  for (std::string line; std::getline(lines, line);) {
    const std::string name = line.substr(std::min<std::size_t>(2, line.size()), line.find(' ', 2) - 2);
    if (line.starts_with("| ") && name != "rule") {
      EXPECT_TRUE(tested.contains(name)) << name;
    }
  }
}

// ---- Reports ----

TEST(CheckReport, FindingsStandWhereTheyAreInTheOrderOfTheDocuments) {
  const Checked checked(
      "{\n \"\xc3\xa9t\xc3\xa9\": {\"#handler\": \"f\", \"#optinal\": 1},\n"
      " \"s\": {\"#help\": \"h\", \"#handler\": \"f\", \"#args\": [{\"#type\": \"key\", \"#name\": \"k\", \"#help\": "
      "\"h\",\n"
      "  \"#args\": [{\"#type\": \"Int\", \"#name\": \"v\\n\", \"#help\": \"h\"}]}]}}",
      R"({"1": {}})");
  EXPECT_EQ(checked.report(print_as_text),
            "d.json:2:2: error: \"\xc3\xa9t\xc3\xa9\": \"#help\" is missing [missing-help]\n"
            "d.json:2:29: warning: \"\xc3\xa9t\xc3\xa9\": nothing reads \"#optinal\"; did you mean \"#optional\"? "
            "[unread-member]\n"
            "d.json:4:23: error: \"s\", argument \"k v\\x0a\": there is no type \"Int\"; did you mean \"int\"? "
            "[unknown-type]\n"
            "p.json:1:7: error: \"1\": a privilege entry needs a \"Name\" that is a string [privilege-entry]\n"
            "p.json:1:7: error: \"1\": a privilege entry needs a \"Prompt\" that is a string [privilege-entry]\n");
  const Checked privileges(json("{'s': {@}}"), json("{'2': {'Name': 'S', 'Prompt': 'x', 'Level': 1}}"));
  EXPECT_EQ(
      privileges.report(print_as_text),
      "p.json:1:7: warning: \"2\": there is no command \"S\" in the mode \"x\"; did you mean the \"Name\" \"s\" with "
      "the \"Prompt\" \"\"? [unmatched-privilege]\n");
}

TEST(CheckReport, JsonHoldsTheSame) {
  const Checked checked("{\"a\\\"b\": {\"#handler\": \"f\"}}");
  json_t *report = json_loads(checked.report(print_as_json).c_str(), 0, nullptr);
  ASSERT_EQ(json_array_size(report), 1U);
  const json_t *first = json_array_get(report, 0);
  EXPECT_STREQ(json_string_value(json_object_get(first, "rule")), "missing-help");
  EXPECT_STREQ(json_string_value(json_object_get(first, "definition")), "\"a\"b\"");
  EXPECT_EQ(json_integer_value(json_object_get(first, "column")), 2);
  json_decref(report);
  EXPECT_EQ(Checked("{}").report(print_as_json).substr(0, 1), "[");
}

}  // namespace
}  // namespace cli_check
