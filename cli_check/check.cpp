#include "cli_check/check.hpp"

#include <algorithm>
#include <array>
#include <map>
#include <memory>

#include "cli_check/rules.hpp"
#include "libglobal/resembling.hpp"

namespace cli_check {

namespace {

struct LanguageRelease {
  void operator()(cli_language *language) const { cli_language_free(language); }
};
using LanguageRef = std::unique_ptr<cli_language, LanguageRelease>;

// A comment of the document that names rules which are not looked at.
constexpr const char *kIgnored = "//check-ignore";

// The engine of a language while rules look at it.
class Engine {
 public:
  explicit Engine(cli_language *language) {
    if (language != nullptr) {
      cli_init_language(&engine_, language, nullptr);
      parser_set_privilege(&engine_.parser, cli_engine::kHighestPrivilege);
    }
  }
  ~Engine() {
    if (engine_.internal != nullptr) {
      cli_free(&engine_);
    }
  }
  Engine(const Engine &) = delete;
  Engine &operator=(const Engine &) = delete;

  cli *get() { return &engine_; }

 private:
  cli engine_ = {};
};

class Check {
 public:
  explicit Check(const Request &request)
      : request_(request),
        definitions_(request.definitions, request.definitions_text),
        privileges_(request.privileges.value_or(""), request.privileges_text),
        ignored_(request.ignored) {
    for (const Part &rule : definitions_.root().find(kIgnored).parts()) {
      if (is_rule(rule.view())) {
        ignored_.insert(rule.string());
      } else {
        findings_.add({CLI_WARNING, "unread-member", request.definitions, rule.place(), quoted(kIgnored),
                       "no rule that warns is named " + quoted(rule.view())});
      }
    }
  }

  Findings run() {
    const LanguageRef language = load();
    Engine engine(language.get());
    look(language == nullptr ? nullptr : engine.get());
    findings_.arrange(std::array{request_.definitions, request_.privileges.value_or("")});
    return std::move(findings_);
  }

 private:
  LanguageRef load() {
    cli_language_source source = {};
    source.definitions = request_.definitions.c_str();
    source.privileges = request_.privileges ? request_.privileges->c_str() : nullptr;
    source.handlers = request_.handlers;
    source.flags = request_.flags;
    source.exit_handler = leave_mode;
    source.end_handler = leave_all_modes;
    return LanguageRef(cli_language_load(
        request_.types, &source,
        [](void *self, const cli_fault *fault) { static_cast<Check *>(self)->take_fault(*fault); }, this));
  }

  void take_fault(const cli_fault &fault) {
    Finding finding = finding_of(fault);
    if (finding.rule == "repeated-member") {
      repeated_.emplace(finding.file, finding.place);
    } else if (repeated_.contains({finding.file, finding.place})) {
      return;  // what is wrong with a member that goes is of no use
    }
    if (finding.rule == "unmatched-privilege") {
      unmatched_.push_back(std::move(finding));
    } else if (finding.severity == CLI_ERROR || !ignored_.contains(finding.rule)) {
      add_fault(std::move(finding));
    }
  }

  // A type that nobody here knows is one fault, however often it is used.
  void add_fault(Finding finding) {
    const bool is_foreign = finding.rule == "unknown-type" && finding.text.ends_with('"') && request_.has_no_libraries;
    if (!is_foreign || foreign_types_.insert(finding.text).second) {
      finding.text += is_foreign ? "; those of a host are known with --handlers" : "";
      findings_.add(std::move(finding));
    }
  }

  // The entry that was meant, if a command has such words from the top level or in another mode.
  void add_unmatched(const Scope &scope) {
    std::map<std::string, const cli_node *> similar;
    for (const cli_node *node : unmatched_.empty() ? std::vector<cli_node *>() : scope.nodes) {
      if (!is_argument(*node) && !is_builtin(*node)) {
        similar.try_emplace(in_small_letters(words_to(*node)), node);
        similar.try_emplace(in_small_letters(words_in_mode(*node)), node);
      }
    }
    for (Finding &finding : unmatched_) {
      const Part entry = privileges_.part_at(finding.place);
      const std::string name = in_small_letters(entry.find("Name").string());
      auto found = similar.find(name);
      if (found == similar.end()) {
        found = std::find_if(similar.begin(), similar.end(), [&](const auto &row) {
          return row.first.substr(0, 1) == name.substr(0, 1) && libglobal::resembles(name, row.first);
        });
      }
      if (found != similar.end() && finding.text.starts_with("there is no")) {
        const char *prompt = cli_get_parent_subconfig(const_cast<cli_node *>(found->second))->mode_prompt;
        finding.text += "; did you mean the \"Name\" " + quoted(words_in_mode(*found->second)) +
                        " with the \"Prompt\" " + quoted(prompt == nullptr ? "" : prompt) + "?";
      }
      findings_.add(std::move(finding));
    }
  }

  void look(cli *engine) {
    Scope scope;
    scope.exported_handlers = request_.exported_handlers;
    scope.is_foreign = request_.is_foreign;
    scope.findings = &findings_;
    scope.engine = engine;
    if (engine != nullptr) {
      append_nodes_below(engine->root, scope.nodes);
    }
    scope.definitions = &definitions_;
    scope.declarations = declarations_of(definitions_, request_.types);
    std::vector<Declaration> entries = entries_of(privileges_);
    std::move(entries.begin(), entries.end(), std::back_inserter(scope.declarations));
    if (!ignored_.contains("unmatched-privilege")) {
      add_unmatched(scope);
    }
    for (const Rule &rule : all_rules()) {
      if (!ignored_.contains(std::string(rule.name))) {
        scope.rule = &rule;
        apply(rule, scope);
      }
    }
  }

  static void apply(const Rule &rule, const Scope &scope) {
    if (rule.of_declaration != nullptr) {
      for (const Declaration &declaration : scope.declarations) {
        rule.of_declaration(scope, declaration);
      }
    }
    if (rule.of_node != nullptr) {
      for (const cli_node *node : scope.nodes) {
        rule.of_node(scope, *node);
      }
    }
    if (rule.of_language != nullptr && scope.engine != nullptr) {
      rule.of_language(scope);
    }
  }

  const Request &request_;
  Text definitions_;
  Text privileges_;
  std::set<std::string> ignored_;
  std::set<std::pair<std::string, Place>> repeated_;
  std::set<std::string> foreign_types_;
  std::vector<Finding> unmatched_;  // until the commands are known that may have been meant
  Findings findings_;
};

}  // namespace

Findings check(const Request &request) {
  return Check(request).run();
}

bool is_rule(std::string_view name) {
  const std::span<const Rule> rules = all_rules();
  return name == "unmatched-privilege" ||  // which the library reports
         std::any_of(rules.begin(), rules.end(), [&](const Rule &rule) { return rule.name == name; });
}

}  // namespace cli_check
