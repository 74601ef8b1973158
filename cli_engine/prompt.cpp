// Assembling the prompt and choosing among the variants of a "#prompt".
#include "cli_engine/prompt.hpp"

#include <array>
#include <cstring>
#include <iterator>
#include <span>

#include "cli_engine/condition.hpp"
#include "cli_engine/node.hpp"
#include "libglobal/report.hpp"

namespace {

constexpr const char *kSource = cli_engine::kLoaderSource;

// Longest mode part before it is cut to its field, parentheses included.
constexpr std::size_t kModeText = 63;

bool continues_character(char c) {
  return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

// Copies what fits, a whole UTF-8 character at a time. The text may be the part itself.
void set_part(std::span<char> part, const char *text) {
  std::size_t length = strnlen(text, part.size());
  if (length == part.size()) {
    length--;
    while (length > 0 && continues_character(text[length])) {
      length--;
    }
  }
  std::memmove(part.data(), text, length);
  part[length] = '\0';
}

// A part of the prompt, put where the one before ended; returns its end.
char *put_part(char *at, std::span<const char> part) {
  const std::size_t length = strnlen(part.data(), part.size());
  std::memcpy(at, part.data(), length);
  return at + length;
}

using cli_engine::Reporter;
using cli_engine::Shape;
using cli_engine::Value;

constexpr const char *kSelect = "cli_select_prompt";

void check_variants(const Value &prompt, const char *name, const Reporter *reporter) {
  prompt.for_each_item([&](std::size_t i, const Value &variant) {
    const Value value = variant.member("value");
    if (const char *text = value.text(); text != nullptr && *text != '\0') {
      return;
    }
    if (reporter == nullptr) {
      log_assert_fmt("value && *value", kSource, kSelect, "empty #prompt.%zu.value: %s", i, name);
    }
    reporter->add("prompt-variant", value.is_given() ? value : variant,
                  "a variant of \"#prompt\" needs a \"value\" that is a string and not empty");
  });
}

const char *select_variant(cli *engine, const Value &prompt, const char *name, const Reporter *reporter) {
  const std::size_t faults_before = reporter == nullptr ? 0 : reporter->errors();
  Value chosen;
  prompt.for_each_item([&](std::size_t, const Value &variant) {
    if (!chosen.is_given() && cli_engine::condition_holds(engine, variant, reporter)) {
      chosen = variant;
    }
  });
  if (chosen.is_given()) {
    return chosen.member("value").text();
  }
  if (reporter == nullptr) {
    log_assert_fmt("0", kSource, kSelect, "cannot get fallback for #prompt: %s", name);
  }
  if (reporter->errors() == faults_before) {
    reporter->add("prompt-no-variant", prompt,
                  "no variant of \"#prompt\" holds while nothing is typed: add a last one without conditions");
  }
  return "";
}

}  // namespace

namespace cli_engine {

void refresh_prompt(cli *engine) {
  std::array<char, kModeText + 1> text{};
  if (json_t *prompt = engine->current->subconfig.prompt) {
    const char *value = cli_select_prompt(engine, prompt, engine->current->name);
    // A reload does not check all variants: one may lack its value.
    const std::size_t length = value == nullptr ? 0 : strnlen(value, kModeText - 1);
    text[0] = '(';
    std::memcpy(&text[1], value == nullptr ? "" : value, length);
    if (length + 1 < kModeText) {
      text[length + 1] = ')';
    }
  }
  cli_set_prompt(engine, nullptr, nullptr, text.data(), 0);
}

const char *select_prompt(cli *engine, const Value &prompt, const char *name, const Reporter *reporter) {
  if (!prompt.is_given()) {
    return "";
  }
  if (prompt.is(Shape::kString)) {
    if (prompt.length() == 0) {
      if (reporter == nullptr) {
        log_assert_fmt("json_string_length(prompt) > 0", kSource, kSelect, "empty #prompt value: %s", name);
      }
      reporter->add("prompt-value", prompt, "\"#prompt\" is empty");
    }
    return prompt.text();
  }
  if (!prompt.is(Shape::kArray)) {
    if (reporter == nullptr) {
      log_assert_fmt("json_typeof(prompt) == JSON_ARRAY", kSource, kSelect,
                     "#prompt must be a string or an array of variants: %s", name);
    }
    reporter->add("prompt-value", prompt, "\"#prompt\" is a string or an array of variants, not ",
                  in_words(prompt.shape()));
    return "";
  }
  if (engine->initialized == 0) {
    check_variants(prompt, name, reporter);
  }
  return select_variant(engine, prompt, name, reporter);
}

}  // namespace cli_engine

void cli_set_prompt(cli *engine, const char *host, const char *name, const char *mode, char end) {
  if (engine == nullptr) {
    return;
  }
  if (host != nullptr) {
    set_part(engine->prompt_host, host);
  }
  if (name != nullptr) {
    const std::size_t length = strnlen(name, sizeof engine->prompt_name - 1);
    std::memmove(engine->prompt_name, name, length);
    engine->prompt_name[length] = '\0';
  }
  if (mode != nullptr) {
    set_part(engine->prompt_mode, mode);
  }
  if (end != 0) {
    engine->prompt_end = end;
  }
  static_assert(sizeof engine->prompt_text > sizeof engine->prompt_host + sizeof engine->prompt_name +
                                                 sizeof engine->prompt_mode + std::size("> "),
                "all parts fit");
  char *at = put_part(engine->prompt_text, engine->prompt_host);
  at = put_part(at, engine->prompt_name);
  at = put_part(at, engine->prompt_mode);
  *at++ = engine->prompt_end;
  *at++ = ' ';
  *at = '\0';
}

const char *cli_select_prompt(cli *engine, json_t *prompt, const char *name) {
  return engine == nullptr ? "" : cli_engine::select_prompt(engine, Value(prompt), name, nullptr);
}
