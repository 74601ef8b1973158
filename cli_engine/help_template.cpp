#include "cli_engine/help_template.hpp"

#include <cstdarg>
#include <cstdio>
#include <string_view>

#include "libglobal/dyn_string.hpp"
#include "libglobal/log_assert.h"

namespace cli_engine {
namespace {

constexpr char kSource[] = "cli_engine/loader";

const char *type_name(const json_t *value) {
  switch (json_typeof(value)) {
    case JSON_OBJECT:
      return "object";
    case JSON_ARRAY:
      return "array";
    case JSON_STRING:
      return "string";
    case JSON_INTEGER:
      return "integer";
    case JSON_REAL:
      return "real";
    case JSON_TRUE:
      return "true";
    case JSON_FALSE:
      return "false";
    case JSON_NULL:
      break;
  }
  return "null";
}

// The expansion of one template, which is left at the first character that is not expanded yet.
class Expansion {
 public:
  Expansion(const char *text, const json_t *args, DynString &out) : text_(text), rest_(text), args_(args), out_(out) {}

  void run() {
    do {
      literal();
    } while (field());
  }

 private:
  void literal() {
    const std::string_view rest{rest_};
    const std::string_view run = rest.substr(0, rest.find_first_of("{}"));
    rest_ += run.size();
    if (*rest_ == '}') {
      print_error(text_, rest_, "Unexpected '}'");
    }
    libglobal::append(out_, run);
  }

  // Replaces the field that begins here. False at the end of the template: a field left open there gives nothing.
  bool field() {
    if (*rest_ == '\0') {
      return false;
    }
    const std::string_view opened{rest_ + 1};
    const std::string_view key = opened.substr(0, opened.find_first_of("{}"));
    const char *end = key.data() + key.size();
    if (*end == '{') {
      print_error(text_, end, "Unexpected '{'");
    }
    if (*end == '\0') {
      return false;
    }
    if (key.empty()) {
      print_error(text_, end, "Empty replacement field");
    }
    append_argument(key);
    rest_ = end + 1;
    return true;
  }

  void append_argument(std::string_view key) {
    const libglobal::DynStringOwner name(dyn_string_new());
    libglobal::append(*name, key);
    const json_t *value = json_object_get(args_, dyn_string_text(name.get()));
    if (value == nullptr) {
      print_error(text_, key.data(), "Key not found");
    }
    if (json_is_string(value)) {
      libglobal::append(out_, {json_string_value(value), json_string_length(value)});
    } else if (json_is_integer(value)) {
      dyn_string_appendf(&out_, "%lld", static_cast<long long>(json_integer_value(value)));
    } else if (json_is_boolean(value)) {
      libglobal::append(out_, type_name(value));
    } else {
      print_error(text_, key.data(), "Unexpected argument type (got %s). Supported only string/integer/boolean",
                  type_name(value));
    }
  }

  const char *text_;
  const char *rest_;
  const json_t *args_;
  DynString &out_;
};

}  // namespace

DynString *get_help(json_t *help) {
  if (help == nullptr) {
    return nullptr;
  }
  libglobal::DynStringOwner out(dyn_string_new());
  if (json_is_string(help)) {
    libglobal::append(*out, {json_string_value(help), json_string_length(help)});
    return out.release();
  }
  const json_t *fmt = json_object_get(help, "fmt");
  if (!json_is_string(fmt) || json_string_length(fmt) == 0) {
    log_assert_fmt("json_is_string(fmt) && json_string_length(fmt) > 0", kSource, __func__,
                   "empty 'fmt' value in #help");
  }
  Expansion(json_string_value(fmt), json_object_get(help, "args"), *out).run();
  return out.release();
}

void print_error(const char *text, const char *offending, const char *format, ...) {
  std::fprintf(stderr, "%s\n%*s%c ", text, static_cast<int>(offending - text), "", '^');
  va_list args;
  va_start(args, format);
  std::vfprintf(stderr, format, args);
  va_end(args);
  std::fputc('\n', stderr);
  log_assert("0", kSource, __func__);
}

}  // namespace cli_engine
