#include "cli_engine/help_template.hpp"

#include <cstdarg>
#include <cstdio>
#include <string_view>

#include "libglobal/dyn_string.hpp"
#include "libglobal/log_assert.h"

namespace cli_engine {
namespace {

constexpr char kSource[] = "cli_engine/loader";

// What the message about a field that cannot be shown calls its value.
const char *type_name(const Value &value) {
  static constexpr const char *kNames[] = {"object", "array", "string", "integer", "real", "true", "false", "null"};
  return kNames[static_cast<std::size_t>(value.shape())];
}

// The expansion of one template, which is left at the first character that is not expanded yet.
class Expansion {
 public:
  Expansion(const Value &fmt, const Value &args, DynString &out, const Reporter *reporter)
      : fmt_(fmt), text_(fmt.text()), rest_(text_), args_(args), out_(out), reporter_(reporter) {}

  void run() {
    while (literal() && field()) {
    }
  }

 private:
  bool literal() {
    const std::string_view rest{rest_};
    const std::string_view run = rest.substr(0, rest.find_first_of("{}"));
    rest_ += run.size();
    if (*rest_ == '}') {
      return stray("Unexpected '}'", rest_, "unexpected \"}\"");
    }
    libglobal::append(out_, run);
    return true;
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
      return stray("Unexpected '{'", end, "unexpected \"{\"");
    }
    if (*end == '\0') {
      return false;
    }
    if (key.empty()) {
      return stray("Empty replacement field", end, "empty replacement field");
    }
    append_argument(key);
    rest_ = end + 1;
    return true;
  }

  void append_argument(std::string_view key) {
    const libglobal::DynStringOwner name(dyn_string_new());
    libglobal::append(*name, key);
    const Value value = args_.member(dyn_string_text(name.get()));
    if (!value.is_given()) {
      if (reporter_ == nullptr) {
        print_error(text_, key.data(), "Key not found");
      }
      complain(key.data(), "\"args\" has no member ", Quoted{key});
    } else if (value.is(Shape::kString)) {
      libglobal::append(out_, value.view());
    } else if (value.is(Shape::kInteger)) {
      dyn_string_appendf(&out_, "%lld", static_cast<long long>(value.integer()));
    } else if (value.is(Shape::kTrue) || value.is(Shape::kFalse)) {
      libglobal::append(out_, type_name(value));
    } else {
      if (reporter_ == nullptr) {
        print_error(text_, key.data(), "Unexpected argument type (got %s). Supported only string/integer/boolean",
                    type_name(value));
      }
      complain(key.data(), "the member ", Quoted{key}, " of \"args\" is ", in_words(value.shape()),
               ", not a string, an integer or a boolean,");
    }
  }

  // A brace or field that ends the expansion.
  bool stray(const char *message, const char *at, const char *text) {
    if (reporter_ == nullptr) {
      print_error(text_, at, "%s", message);
    }
    complain(at, text);
    return false;
  }

  template <class... Pieces>
  void complain(const char *at, const Pieces &...pieces) {
    reporter_->add("help-template", fmt_, pieces..., " at character ", static_cast<std::int64_t>(at - text_ + 1),
                   " of the template");
  }

  const Value &fmt_;
  const char *text_;
  const char *rest_;
  const Value &args_;
  DynString &out_;
  const Reporter *reporter_;
};

}  // namespace

DynString *get_help(const Value &help, const Reporter *reporter) {
  if (!help.is_given()) {
    return nullptr;
  }
  libglobal::DynStringOwner out(dyn_string_new());
  if (help.is(Shape::kString)) {
    libglobal::append(*out, help.view());
    return out.release();
  }
  const Value fmt = help.member("fmt");
  if (fmt.view().empty()) {
    if (reporter == nullptr) {
      log_assert_fmt("json_is_string(fmt) && json_string_length(fmt) > 0", kSource, __func__,
                     "empty 'fmt' value in #help");
    }
    if (help.is(Shape::kObject)) {
      reporter->add("help-value", fmt.is_given() ? fmt : help,
                    "a template in \"#help\" needs a \"fmt\" that is a string and not empty");
    } else {
      reporter->add("help-value", help, "\"#help\" is a string or a template object, not ", in_words(help.shape()));
    }
    return out.release();
  }
  Expansion(fmt, help.member("args"), *out, reporter).run();
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
