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

// In the documents below ' stands for a quotation mark and @ for the members of a plain command.
std::string json(std::string_view text) {
  std::string out;
  for (const char c : text) {
    c == '@' ? out.append(R"("#help": "h", "#handler": "f")") : out.append(1, c == '\'' ? '"' : c);
  }
  return out;
}

std::string with(const std::string &args) {
  return ", '#args': [" + args + "]";
}

// A command "c" with these "#args" and, when there are any, "#commands".
std::string command(const std::string &args, const std::string &commands = "") {
  return "{'c': {@" + with(args) + (commands.empty() ? "" : ", '#commands': {" + commands + "}") + "}}";
}

// A mode "m" with this "#prompt", and in it a command "x" with a keyword "k".
std::string mode(const std::string &prompt, const std::string &more = "") {
  return "{'m': {'#help': 'h', '#prompt': " + prompt + more +
         ", '#commands': {'x': {@, '#args': [{'#type': 'key', '#name': 'k', '#help': 'h'}]}}}}";
}

std::string key(const std::string &name, const std::string &more = "") {
  return "{'#type': 'key', '#name': '" + name + "', '#help': 'h'" + more + "}";
}

// Named after its type.
std::string value(const std::string &type, const std::string &more = "") {
  return "{'#type': '" + type + "', '#name': '" + type + "', '#help': 'h'" + more + "}";
}

std::string templated(const std::string &fmt, const std::string &args) {
  return "{'a': {'#help': {'fmt': '" + fmt + "', 'args': {" + args + "}}, '#handler': 'f'}}";
}

std::string group(const std::string &how, const std::string &members) {
  return "{'#type': 'container', " + how + "'#args': [" + members + "]}";
}

const std::string kLast = "{'value': 'w', 'description': 'd'}]";  // a variant that always holds

std::string entry(const std::string &name, const std::string &prompt, int level) {
  return "{'Name': '" + name + "', 'Prompt': '" + prompt + "', 'Level': " + std::to_string(level) + "}";
}

// A privilege table of these entries, the first of which is numbered; none when there are none.
std::string table(const std::string &entries) {
  return entries.empty() ? "" : json("{'1': " + entries + "}");
}

const std::string kOptional = ", '#optional': true";
const std::string kOptionalGroup = "'#optional': true, ";
const std::string kExclusive = "'#exclusive': true, ";
const std::string kWord = "'w': {@}";
const std::string kPlain = "{'a': {@}, 'b': {@}}";
const std::string kNine = ", '#min_inclusive': 1, '#max_inclusive': 9";
const std::string kHost = "'#help': 'h', '#prompt': 'p', '#args': [{'#type': 'int', '#name': 'v', '#help': 'h'}]";

struct RuleCase {
  std::string_view rule;
  std::string breaks;
  std::string keeps;
  std::string privileges_break = "";
  std::string privileges_keep = "";
};

// Errors that one declaration alone shows stand under schema/samples/bad.
std::vector<RuleCase> rule_cases() {
  return {
      {"json", "{'a': {'#help': 'h' '#handler': 'f'}}", kPlain},
      {"repeated-member", "{'a': {'#help': 'h', @}}", kPlain},
      {"unknown-path", "{'s x': {@}, 's': {'#help': 'h'}}", "{'s': {'#help': 'h'}, 'S  x': {@}}"},
      {"unknown-path", "{'s': {'#alias': 't'}, 's x': {@}, 't': {@}}", "{'t': {@}, 't x': {@}, 's': {'#alias': 't'}}"},
      {"help-template", templated("{n}", "'n': 1.0"), templated("{n} {b} {s}", "'n': 1, 'b': true, 's': '}'")},
      {"help-template", templated("a}", ""), templated("a{b", "")},
      {"help-template", templated("{N}", "'n': 1"), "{'a': {'#help': '{N}', '#handler': 'f'}}"},
      {"prompt-no-variant", mode("[{'value': 'v', 'description': 'd', 'if': 'x k'}]"),
       mode("[{'value': 'v', 'description': 'd', 'if-not': 'x k'}, {'value': 'w'}]")},
      {"prompt-no-variant", mode("[]"), mode("'p'")},
      {"exit-description", mode("[{'value': 'v', 'description': 5}]"), mode("[{'value': 'v', 'if': 'x'}, " + kLast)},
      {"unknown-handler", "{'a': {'#help': 'h', '#handler': 'missing'}}", kPlain},
      {"facet-range", command(value("int", ", '#max_inclusive': 2147483648")),
       command(value("int", ", '#max_inclusive': 2147483647"))},
      {"facet-range", command(value("unsignedInt", ", '#max_inclusive': 9, '#width': '3'")),
       command(value("unsignedInt", ", '#max_inclusive': 9, '#width': 3, '#base': 16"))},
      {"facet-range", command(value("string", ", '#min_length': 6, '#max_length': 5")),
       command(value("string", ", '#min_length': 5, '#max_length': 5"))},
      {"privilege-level", kPlain, kPlain, entry("a", "", 16), entry("a", "", 15)},
      // Members.
      {"unread-member", command(key("k", ", '#optinal': true")), command(key("k", ", 'optic': true"))},
      {"unread-member", command(key("k", ", 'optional': true")), command(key("k", kOptional))},
      {"unread-member", mode("[{'value': 'v', 'descripton': 'x', 'description': 'd'}]"),
       mode("[{'value': 'v', 'description': 'd', 'colour': 5}]")},
      {"unread-member", templated("h {n}", "'n': 1, 'm': 2"), templated("h {n}", "'n': 1")},
      {"ignored-value", command(value("string", ", '#max_length': 4294967296")),
       command(value("string", ", '#max_length': 4294967295"))},
      {"ignored-value", command(key("k", ", '#optional': 'yes'")), command(key("k", ", '#optional': false"))},
      {"ignored-member", command(key("k", ", '#multi': true")), command(value("int", ", '#multi': true"))},
      {"ignored-member", "{'a': {'#alias': 'b', '#help': 'h'}, 'b': {@}}", "{'a': {'#alias': 'b'}, 'b': {@}}"},
      {"ignored-member", command(group("'#sequential': true, '#exclusive': true, ", key("k"))),
       command(group("'#sequential': true, ", key("k")))},
      {"ignored-facet", command(value("int", ", '#min_length': 5")), command(value("string", ", '#min_length': 5"))},
      {"ignored-facet", command(value("int", ", '#width': 4")),
       command(value("int", ", '#width': 4, '#min_inclusive': 0"))},
      {"help-text", "{'a': {'#help': '', '#handler': 'f'}}", kPlain},
      {"help-text", "{'a': {'#help': 'two\\nlines', '#handler': 'f'}}", templated("one {x}", "'x': 'line'")},
      {"help-text", "{'a': {'#help': '" + std::string(81, 'h') + "', '#handler': 'f'}}",
       "{'a': {'#help': '" + std::string(80, 'h') + "', '#handler': 'f'}}"},
      // Words.
      {"untypeable-name", command(key("two words")), command(key("two-words"))},
      {"untypeable-name", "{'#a': {@}}", "{'s': {'#help': 'h', '#commands': {'#a': {@}}}}"},
      {"unreachable-name", "{'a': {@}, 'A': {@}}", "{'a': {@}, 'ab': {@}}"},
      {"unreachable-name", command(group(kExclusive, key("k") + ", " + key("K"))),
       command(group(kExclusive, key("k") + ", " + key("l")))},
      {"unreachable-name", command(key("k") + ", " + group(kExclusive, key("l") + ", " + key("K"))),
       command(key("k") + ", " + group(kExclusive + "'#name': 'g', ", key("l") + ", " + key("k")))},
      {"unreachable-name", command(value("int") + ", " + value("int", kOptional)),
       command(group(kExclusive, value("int", ", '#enum': [1]") + ", " + value("int")))},
      {"dead-end", "{'a': {'#help': 'h'}}", "{'a': {'#help': 'h'}, 'a b': {@}}"},
      {"dead-end", "{'a': {'#help': 'h', '#prompt': 'p'}}", mode("'p'")},
      {"alias-line", "{'a': {@}, 'z': {'#alias': 'y'}}", "{'a': {@}, 'z': {'#alias': '\\'a\\''}}"},
      {"alias-line", "{'a': {@}, 'z': {'#alias': 'y'}, 'y': {'#alias': 'z x'}}",
       "{'a': {@}, 'z': {'#alias': 'y'}, 'y': {'#alias': 'a'}}"},
      {"alias-line", "{'m': {" + kHost + ", '#commands': {'z': {'#alias': 'y'}, 'x': {@}}}}",
       "{'m': {" + kHost + ", '#commands': {'z': {'#alias': 'x'}, 'x': {@}}}}"},
      {"hidden-word", "{'s': {'#help': 'h'}, 's t': {@}, 'm': {" + kHost + ", '#commands': {'S': {@}}}}",
       "{'s': {'#help': 'h'}, 's t': {@}, 'm': {" + kHost + ", '#commands': {'t': {@}}}}"},
      {"no-abbreviation", "{'a': {@}, 'Ab': {@}}", kPlain},
      {"no-abbreviation", command(group("", key("k", kOptional) + ", " + key("kk", kOptional))),
       command(group("", key("k") + ", " + key("kk")))},
      {"unused-handler", "{'a': {'#help': 'h', '#handler': 'g'}}", kPlain},
      // Prompts.
      {"condition-path", mode("[{'value': 'v', 'if': 'k x'}, " + kLast),
       mode("[{'value': 'v', 'if': 'M K'}, " + kLast)},
      {"condition-later", mode("[{'value': 'v', 'if': ['x', 5]}, " + kLast),
       mode("[{'value': 'v', 'if': ['x', 'k']}, " + kLast)},
      {"prompt-fallback", mode("[{'value': 'v', 'description': 'd', 'if-not': 'x'}, {'value': 'w', 'if': 'x k'}]"),
       mode("[{'value': 'v', 'description': 'd', 'if-not': 'x'}, {'value': 'w', 'if': ['X']}]")},
      {"prompt-fallback", mode("[{'value': 'v', 'description': 'd', 'if-not': 'x'}]"), mode("[" + kLast)},
      // Arguments.
      {"never-bare", command(key("k", kOptional) + ", " + key("l", kOptional)),
       command(group(kOptionalGroup, key("k", kOptional) + ", " + key("l", kOptional)))},
      {"never-bare", command(group("", key("k", kOptional) + ", " + key("l", kOptional))),
       command(key("k", kOptional) + ", " + key("l"))},
      {"open-argument", mode("'p'", with(key("o", kOptional))), mode("'p'", with(key("o")))},
      {"open-argument", mode("'p'", with(group("", key("o") + ", " + key("q", kOptional)))),
       mode("'p'", with(group("", key("o", kOptional) + ", " + key("q"))))},
      {"open-argument", mode("'p'", with(group(kExclusive, key("o") + ", " + key("q", with(value("int", kOptional)))))),
       mode("'p'", with(group(kExclusive, key("o") + ", " + key("q", with(value("int"))))))},
      {"hidden-commands", command(value("int"), kWord), command(value("int", kOptional), kWord)},
      {"taken-abbreviation", command(key("wide", kOptional), kWord), command(key("narrow", kOptional), kWord)},
      {"taken-abbreviation", command(value("int") + ", " + key("wide", kOptional), kWord),
       command(key("wide", kOptional) + ", " + value("int"), kWord)},
      {"taken-abbreviation", command(group(kOptionalGroup, key("n", kOptional + with(key("wide", kOptional)))), kWord),
       command(group(kOptionalGroup, key("n", kOptional + with(key("wide")))), kWord)},
      {"blocking-group", command(group("", key("k") + ", " + key("l", kOptional)) + ", " + key("z")),
       command(group("", key("k", kOptional) + ", " + key("l")) + ", " + key("z"))},
      {"blocking-group", command(key("k", with(value("int", kOptional))) + ", " + key("z")),
       command(key("z") + ", " + key("k", with(value("int", kOptional))))},
      {"hidden-value", command(group(kExclusive, value("string") + ", " + value("int"))),
       command(group(kExclusive, value("int") + ", " + value("string")))},
      {"hidden-value", command(group(kExclusive, value("IPAddress") + ", " + value("IPv4Prefix"))),
       command(group(kExclusive, value("IPv4Address") + ", " + value("IPv6Address")))},
      {"hidden-value", command(group(kExclusive, value("int", kNine) + ", " + value("int", ", '#enum': [1, 9]"))),
       command(group(kExclusive, value("int", kNine) + ", " + value("int", ", '#enum': [1, 10]")))},
      {"hidden-value", command(value("int", kOptional) + ", " + value("string")),
       command(value("int", kOptional) + ", " + value("string", kOptional) + ", " + key("z"))},
      {"value-before-keyword", command(group(kExclusive, value("string") + ", " + key("k"))),
       command(group(kExclusive, key("k") + ", " + value("string")))},
      {"value-before-keyword", command(group(kOptionalGroup, value("string")) + ", " + key("z")),
       command(group(kOptionalGroup, value("int")) + ", " + key("z"))},
      {"unreachable-entry", command(value("IPv4Address", ", '#enum': ['any', '10.0.0.1']")),
       command(value("IPv4Address", ", '#enum': ['10.0.0.1']"))},
      {"unreachable-entry", command(value("int", kNine + ", '#enum': [5, 10]")),
       command(value("int", kNine + ", '#enum': [5, 9]"))},
      {"unreachable-entry", command(value("string", ", '#enum': ['5', 5]")),
       command(value("string", ", '#enum': ['5', 6, 1.5]"))},
      // Privileges.
      {"unmatched-privilege", kPlain, kPlain, entry("A", "", 1), entry("a", "", 1)},
      {"unmatched-privilege", kPlain, kPlain, entry("a", "", 1) + ", '2': " + entry("a", "", 2),
       entry("a", "", 1) + ", '2': " + entry("b", "", 2)},
      {"unmatched-privilege", mode("'p'"), mode("'p'"), entry("m x", "", 1), entry("x", "p", 1)},
      {"unread-privilege", kPlain, kPlain, entry("a", "", 1) + ", 'level1': " + entry("a", "", 1),
       entry("a", "", 1) + ", 'comment': 'levels of the lab'"},
      {"privilege-without-effect", kPlain, kPlain, entry("a", "", -1), entry("a", "", 0)},
      {"unreachable-level", mode("'p'"), mode("'p'"), entry("m", "", 5) + ", '2': " + entry("x", "p", 4),
       entry("m", "", 5) + ", '2': " + entry("x", "p", 6)},
  };
}

TEST(Check, EachRuleHasWhatBreaksItAndWhatDoesNot) {
  for (const RuleCase &row : rule_cases()) {
    const Checked broken(json(row.breaks), table(row.privileges_break));
    const Checked kept(json(row.keeps), table(row.privileges_keep));
    EXPECT_TRUE(broken.has(row.rule)) << row.rule << ": " << row.breaks << testing::PrintToString(broken.rules());
    EXPECT_FALSE(kept.has(row.rule)) << kept.report(print_as_text);
    EXPECT_EQ(kept.findings().count(Severity::kError), 0U) << kept.report(print_as_text) << row.keeps;
  }
}

TEST(Check, AnErrorIsNotAWarningAsWell) {
  const Checked checked(json(mode("[{'value': 'v', 'description': 'd', 'if': 'm x'}]")));
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
