// Assembling the prompt and choosing among the variants of a "#prompt".
#include "cli_engine/prompt.hpp"

#include <array>
#include <cstring>
#include <iterator>
#include <span>

#include "cli_engine/json_ref.hpp"
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

void check_variants(const json_t *prompt, const char *name, const char *function) {
  const std::size_t size = json_array_size(prompt);
  for (std::size_t i = 0; i < size; i++) {
    const char *value = cli_engine::string_member(json_array_get(prompt, i), "value");
    if (value == nullptr || *value == '\0') {
      log_assert_fmt("value && *value", kSource, function, "empty #prompt.%zu.value: %s", i, name);
    }
  }
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

}  // namespace cli_engine

void cli_set_prompt(cli *engine, const char *host, const char *name, const char *mode, char end) {
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
  if (prompt == nullptr) {
    return "";
  }
  if (json_is_string(prompt)) {
    if (json_string_length(prompt) == 0) {
      log_assert_fmt("json_string_length(prompt) > 0", kSource, __func__, "empty #prompt value: %s", name);
    }
    return json_string_value(prompt);
  }
  if (!json_is_array(prompt)) {
    log_assert_fmt("json_typeof(prompt) == JSON_ARRAY", kSource, __func__,
                   "#prompt must be a string or an array of variants: %s", name);
  }
  if (engine->initialized == 0) {
    check_variants(prompt, name, __func__);
  }
  const std::size_t size = json_array_size(prompt);
  for (std::size_t i = 0; i < size; i++) {
    json_t *variant = json_array_get(prompt, i);
    if (cli_check_parameter_condition(engine, variant) != 0) {
      return cli_engine::string_member(variant, "value");
    }
  }
  log_assert_fmt("0", kSource, __func__, "cannot get fallback for #prompt: %s", name);
}
