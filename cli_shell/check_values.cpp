#include "cli_shell/check_values.hpp"

#include <cstdint>
#include <limits>

namespace cli_check {

namespace {

// ---- Help ----

// Appends what a replacement field shows; false when the value cannot be shown.
bool append_shown(std::string &out, const JsonValue &value) {
  switch (value.kind) {
    case JsonKind::kString:
      out += value.text();
      return true;
    case JsonKind::kInteger:
      out += std::to_string(value.integer());
      return true;
    case JsonKind::kTrue:
      out += "true";
      return true;
    case JsonKind::kFalse:
      out += "false";
      return true;
    default:
      return false;
  }
}

void expand_template(const JsonValue &fmt, const JsonValue *args, const Reporter &reporter, std::string &out) {
  const auto complain = [&](std::size_t at, const std::string &text) {
    reporter.add(Rule::kHelpTemplate, fmt, text + " at character " + std::to_string(at + 1) + " of the template");
  };
  const std::string_view text = fmt.text();
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t brace = std::min(text.find_first_of("{}", at), text.size());
    out += text.substr(at, brace - at);
    if (brace == text.size()) {
      return;
    }
    if (text[brace] == '}') {
      return complain(brace, "unexpected \"}\"");
    }
    const std::size_t start = brace + 1;
    const std::size_t end = text.find_first_of("{}", start);
    if (end == std::string_view::npos) {
      return;  // a field that is left open shows nothing
    }
    if (text[end] == '{') {
      return complain(end, "unexpected \"{\"");
    }
    if (end == start) {
      return complain(end, "empty replacement field");
    }
    const std::string_view key = text.substr(start, end - start);
    const JsonValue *value = args == nullptr ? nullptr : args->find(key);
    if (value == nullptr) {
      complain(start, "\"args\" has no member " + quoted(key));
    } else if (!append_shown(out, *value)) {
      complain(start, "the member " + quoted(key) + " of \"args\" is " + std::string(kind_in_words(*value)) +
                          ", not a string, an integer or a boolean,");
    }
    at = end + 1;
  }
}

// ---- Prompts ----

// A condition as it stands while nothing was typed. Only what is looked at then must be of a right type.
bool holds_at_load(const JsonValue *condition, bool negate, const Reporter &reporter, bool &complained) {
  if (condition == nullptr) {
    return false;
  }
  if (condition->is(JsonKind::kArray)) {
    for (const JsonValue &item : condition->items()) {
      if (!holds_at_load(&item, negate, reporter, complained)) {
        return false;
      }
    }
    return true;
  }
  if (!condition->is_string()) {
    complained = true;
    reporter.add(Rule::kConditionType, *condition,
                 "a condition is a path or an array of paths, not " + std::string(kind_in_words(*condition)));
    return false;
  }
  return negate;
}

bool variant_holds(const JsonValue &variant, const Reporter &reporter, bool &complained) {
  const JsonValue *condition = variant.find("if");
  const JsonValue *opposite = variant.find("if-not");
  if (condition == nullptr && opposite == nullptr) {
    return true;
  }
  return holds_at_load(condition, false, reporter, complained) || holds_at_load(opposite, true, reporter, complained);
}

bool check_variant_value(const JsonValue &variant, const Reporter &reporter) {
  const JsonValue *value = variant.find("value");
  if (value != nullptr && !value->text().empty()) {
    return true;
  }
  reporter.add(Rule::kPromptVariant, value == nullptr ? variant : *value,
               "a variant of \"#prompt\" needs a \"value\" that is a string and not empty");
  return false;
}

std::string_view check_variants(const JsonValue &prompt, const Reporter &reporter) {
  for (const JsonValue &variant : prompt.items()) {
    check_variant_value(variant, reporter);
  }
  bool complained = false;
  for (const JsonValue &variant : prompt.items()) {
    if (!variant_holds(variant, reporter, complained)) {
      continue;
    }
    const JsonValue *description = variant.find("description");
    if (description == nullptr || !description->is_string()) {
      reporter.add(Rule::kExitDescription, description == nullptr ? variant : *description,
                   "this variant of \"#prompt\" needs a \"description\" that is a string, for the help of \"exit\"");
    }
    const JsonValue *value = variant.find("value");
    return value == nullptr ? "" : value->text();
  }
  if (!complained) {
    reporter.add(Rule::kPromptNoVariant, prompt,
                 "no variant of \"#prompt\" holds while nothing is typed: add a last one without conditions");
  }
  return "";
}

// ---- Facets ----

// Checks one declaration's bounds in the order in which the engine looks at them.
class Facets {
 public:
  Facets(const JsonValue &declaration, const Reporter &reporter) : declaration_(declaration), reporter_(reporter) {}

  void check_numbers(BaseType basetype) const {
    if (!declares_any("#min_inclusive", "#max_inclusive")) {
      return;
    }
    const bool is_signed = basetype == BaseType::kInt;
    const int64_t lowest = is_signed ? std::numeric_limits<int32_t>::min() : 0;
    const int64_t highest = is_signed ? std::numeric_limits<int32_t>::max() : std::numeric_limits<uint32_t>::max();
    // The engine keeps the width and the base in 32 bits.
    if (static_cast<uint32_t>(facet("#width", 1)) == 0) {
      complain("#width", "\"#width\" is at least 1");
    }
    const auto base = static_cast<int32_t>(facet("#base", 10));
    if (base != 10 && (is_signed || base != 16)) {
      complain("#base", is_signed ? "\"#base\" of a signed number is 10" : "\"#base\" is 10 or 16");
    }
    const int64_t low = facet("#min_inclusive", lowest);
    const int64_t high = facet("#max_inclusive", highest);
    if (low < lowest) {
      complain("#min_inclusive", "\"#min_inclusive\" is at least " + std::to_string(lowest));
    }
    if (high > highest) {
      complain("#max_inclusive", "\"#max_inclusive\" is at most " + std::to_string(highest));
    }
    check_order("#min_inclusive", low, "#max_inclusive", high);
  }

  void check_lengths() const {
    if (declares_any("#min_length", "#max_length")) {
      check_order("#min_length", static_cast<uint32_t>(facet("#min_length", 0)), "#max_length",
                  static_cast<uint32_t>(facet("#max_length", std::numeric_limits<uint32_t>::max())));
    }
  }

  void check_enumeration() const {
    const JsonValue *entries = declaration_.find("#enum");
    if (entries != nullptr && !entries->is(JsonKind::kArray)) {
      reporter_.add(Rule::kEnumeration, *entries, "\"#enum\" is an array, not " + std::string(kind_in_words(*entries)));
    }
  }

 private:
  [[nodiscard]] bool declares_any(const char *one, const char *other) const {
    return declaration_.find(one) != nullptr || declaration_.find(other) != nullptr;
  }

  // What is no integer counts as 0.
  [[nodiscard]] int64_t facet(const char *name, int64_t missing) const {
    const JsonValue *value = declaration_.find(name);
    return value == nullptr ? missing : value->integer();
  }

  void complain(const char *name, std::string text) const {
    const JsonValue *value = declaration_.find(name);
    if (value != nullptr && !value->is(JsonKind::kInteger)) {
      text += "; " + std::string(kind_in_words(*value)) + " counts as 0";
    }
    reporter_.add(Rule::kFacetRange, value == nullptr ? declaration_ : *value, std::move(text));
  }

  void check_order(const char *low_name, int64_t low, const char *high_name, int64_t high) const {
    if (low > high) {
      complain(declaration_.find(high_name) == nullptr ? low_name : high_name,
               quoted(low_name) + " is " + std::to_string(low) + ", above " + quoted(high_name) + ", which is " +
                   std::to_string(high));
    }
  }

  const JsonValue &declaration_;
  const Reporter &reporter_;
};

}  // namespace

std::string_view kind_in_words(const JsonValue &value) {
  switch (value.kind) {
    case JsonKind::kNull:
      return "null";
    case JsonKind::kFalse:
      return "false";
    case JsonKind::kTrue:
      return "true";
    case JsonKind::kInteger:
      return "an integer";
    case JsonKind::kReal:
      return "a real number";
    case JsonKind::kString:
      return "a string";
    case JsonKind::kArray:
      return "an array";
    case JsonKind::kObject:
      return "an object";
  }
  return "";
}

void check_help(const JsonValue &help, const Reporter &reporter, std::string *expanded) {
  std::string text;
  if (help.is_string()) {
    text = help.text();
  } else {
    const JsonValue *fmt = help.find("fmt");
    if (!help.is_object()) {
      reporter.add(Rule::kHelpValue, help,
                   "\"#help\" is a string or a template object, not " + std::string(kind_in_words(help)));
    } else if (fmt == nullptr || fmt->text().empty()) {
      reporter.add(Rule::kHelpValue, fmt == nullptr ? help : *fmt,
                   "a template in \"#help\" needs a \"fmt\" that is a string and not empty");
    } else {
      expand_template(*fmt, help.find("args"), reporter, text);
    }
  }
  if (expanded != nullptr) {
    *expanded = std::move(text);
  }
}

std::string_view check_prompt(const JsonValue &prompt, const Reporter &reporter) {
  if (prompt.is(JsonKind::kArray)) {
    return check_variants(prompt, reporter);
  }
  if (prompt.text().empty()) {
    reporter.add(Rule::kPromptValue, prompt,
                 prompt.is_string()
                     ? "\"#prompt\" is empty"
                     : "\"#prompt\" is a string or an array of variants, not " + std::string(kind_in_words(prompt)));
  }
  return prompt.text();
}

bool check_facets(const JsonValue &declaration, BaseType basetype, const Reporter &reporter) {
  const std::size_t before = reporter.findings.all().size();
  const Facets facets(declaration, reporter);
  if (basetype == BaseType::kText) {
    facets.check_lengths();
  } else {
    facets.check_numbers(basetype);
  }
  facets.check_enumeration();
  return reporter.findings.all().size() == before;
}

}  // namespace cli_check
