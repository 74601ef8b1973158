#include "cli_engine/matchers.hpp"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>

#include "libglobal/dyn_string.hpp"
#include "libglobal/report.hpp"
#include "libglobal/strnto.h"

namespace cli_engine {
namespace {

constexpr const char *kSource = "cli_engine/validator";

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

bool is_letter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool is_hex_digit(char c) {
  return is_digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

std::optional<std::uint32_t> number_up_to(std::uint32_t limit, std::string_view text, int base) {
  std::uint32_t value = 0;
  if (strntou(text.data(), text.size(), base, &value) != 0 || value > limit) {
    return std::nullopt;
  }
  return value;
}

// ---- Addresses ----

// One part of an IPv4 address, at most 255: nearly always decimal, but octal or hexadecimal behind a zero. Returns
// where it ends, or null.
const char *skip_octet(const char *at, const char *end) {
  if (*at == '0' && at + 1 != end && at[1] != '.') {
    const char *const stop = std::find(at, end, '.');
    return number_up_to(255, {at, static_cast<std::size_t>(stop - at)}, 0) ? stop : nullptr;
  }
  const char *const start = at;
  unsigned value = 0;
  while (at != end && is_digit(*at) && value <= 255) {
    value = value * 10 + static_cast<unsigned>(*at++ - '0');
  }
  return at == start || value > 255 ? nullptr : at;
}

// One pass over the groups of an IPv6 address.
class Ipv6Scan {
 public:
  explicit Ipv6Scan(std::string_view text) : text_(text) {}

  int run() {
    if (text_.size() > kLongest || !skip_leading_colons()) {
      return MATCH_NONE;
    }
    for (; position_ < text_.size(); position_++) {
      const char c = text_[position_];
      if (c == '.') {
        return embedded_ipv4();
      }
      if (c == ':' ? !colon() : !digit(c)) {
        return MATCH_NONE;
      }
    }
    return at_end();
  }

 private:
  static constexpr std::size_t kLongest = 46;

  bool skip_leading_colons() {
    if (text_.empty() || text_[0] != ':') {
      return true;
    }
    if (text_.size() == 1) {
      position_ = 1;
      return true;
    }
    position_ = 2;
    colons_ = 1;  // the pair counts as one
    double_colon_ = true;
    return text_[1] == ':';
  }

  bool digit(char c) {
    if (!is_hex_digit(c) || digits_ == 4) {
      return false;
    }
    if (digits_ == 0) {
      group_start_ = position_;
    }
    digits_++;
    after_single_colon_ = false;
    return true;
  }

  bool colon() {
    colons_++;
    if (digits_ == 0) {  // the second one of a pair
      after_single_colon_ = false;
      return !std::exchange(double_colon_, true);
    }
    groups_closed_++;
    digits_ = 0;
    after_single_colon_ = true;
    return colons_ < 8;
  }

  int embedded_ipv4() const {
    const bool in_place = colons_ != 0 && (double_colon_ ? groups_closed_ < 6 : colons_ == 6);
    if (!in_place || digits_ == 0) {
      return MATCH_NONE;
    }
    const std::string_view address = text_.substr(group_start_);
    return match_ipv4_address(nullptr, address.data(), address.size());
  }

  int at_end() const {
    if (after_single_colon_) {
      return MATCH_INCOMPLETE;
    }
    return double_colon_ || colons_ == 7 ? MATCH_COMPLETE : MATCH_INCOMPLETE;
  }

  std::string_view text_;
  std::size_t position_ = 0;
  std::size_t group_start_ = 0;
  int digits_ = 0;  // of the current group
  int colons_ = 0;
  int groups_closed_ = 0;
  bool double_colon_ = false;
  bool after_single_colon_ = false;
};

struct PrefixSyntax {
  validator_match_text address;
  std::uint32_t longest;          // bits
  const char *slash_is_optional;  // for the type of this name
};

constexpr PrefixSyntax kIpv4Prefix{match_ipv4_address, 32, "IPv4Extended"};
constexpr PrefixSyntax kIpv6Prefix{match_ipv6_address, 128, "IPv6Extended"};

int match_prefix(const PrefixSyntax &syntax, const validator *v, std::string_view text) {
  const std::size_t slash = text.find('/');
  const std::string_view address = text.substr(0, slash);
  const int result = syntax.address(v, address.data(), address.size());
  if (result == MATCH_NONE) {
    return MATCH_NONE;
  }
  if (slash == std::string_view::npos) {
    return std::strcmp(v->type->name, syntax.slash_is_optional) == 0 ? result : MATCH_INCOMPLETE;
  }
  if (result != MATCH_COMPLETE) {
    return MATCH_NONE;
  }
  const std::string_view bits = text.substr(slash + 1);
  if (bits.empty()) {
    return MATCH_INCOMPLETE;
  }
  return number_up_to(syntax.longest, bits, 10) ? MATCH_COMPLETE : MATCH_NONE;
}

// ---- Enumerations ----

enum class Likeness { kNone, kLonger, kEqual };  // kLonger: begins with the text and goes on

Likeness likeness(std::string_view entry, std::string_view text) {
  if (!entry.starts_with(text)) {
    return Likeness::kNone;
  }
  return entry.size() == text.size() ? Likeness::kEqual : Likeness::kLonger;
}

// Compares a text with the JSON encoding of a value piece by piece, so that the encoding is never stored.
struct EncodingComparison {
  std::string_view rest;  // of the text, not yet met
  bool longer = false;
  bool differs = false;
};

int compare_piece(const char *piece, std::size_t size, void *state) {
  auto &comparison = *static_cast<EncodingComparison *>(state);
  const std::size_t common = std::min(size, comparison.rest.size());
  if (std::string_view{piece, common} != comparison.rest.substr(0, common)) {
    comparison.differs = true;
    return -1;
  }
  comparison.rest.remove_prefix(common);
  comparison.longer = comparison.longer || common < size;
  return 0;
}

Likeness encoding_likeness(const json_t *entry, std::string_view text) {
  EncodingComparison comparison{text};
  if (json_dump_callback(entry, compare_piece, &comparison, JSON_ENCODE_ANY) != 0 && !comparison.differs) {
    libglobal::report_exhausted(LIBGLOBAL_CALLER(kSource));
  }
  if (comparison.differs || !comparison.rest.empty()) {
    return Likeness::kNone;
  }
  return comparison.longer ? Likeness::kLonger : Likeness::kEqual;
}

std::string_view string_text(const json_t *string) {
  return {json_string_value(string), json_string_length(string)};
}

// ---- The check ----

// Whether a number is written without superfluous zeros.
bool is_plain_number(std::string_view text) {
  if (text.size() >= 2 && text[0] == '0') {
    return text[1] == 'x' || text[1] == 'X';
  }
  return text.size() < 3 || !text.starts_with("-0");
}

bool convert_number(const validator *v, int basetype, std::string_view text, std::int64_t *out) {
  if (basetype == BASETYPE_INT) {
    std::int32_t number = 0;
    const bool ok = strntoi(text.data(), text.size(), v->base, &number) == 0;
    *out = number;
    return ok;
  }
  std::uint32_t number = 0;
  const bool ok = strntou(text.data(), text.size(), v->base, &number) == 0;
  *out = number;
  return ok;
}

// A number on the wrong side of a bound is unfinished when more digits would take it across.
int check_bounds(const validator *v, std::int64_t number) {
  if (number > v->max_inclusive) {
    return number >= 0 ? MATCH_NONE : MATCH_INCOMPLETE;
  }
  if (number < v->min_inclusive) {
    return number >= 0 ? MATCH_INCOMPLETE : MATCH_NONE;
  }
  return MATCH_COMPLETE;
}

int check_bounds(const validator *v, std::string_view text) {
  if (text.size() > v->max_length) {
    return MATCH_NONE;
  }
  return text.size() < v->min_length ? MATCH_INCOMPLETE : MATCH_COMPLETE;
}

EnumMatch check_enumeration(const validator *v, std::string_view text) {
  return (v->flags & VALIDATOR_ENUM) != 0 ? enum_text(v->enum_array, text) : EnumMatch{MATCH_COMPLETE, text};
}

int check_string(const validator *v, std::string_view text) {
  if ((v->flags & VALIDATOR_BOUNDED) != 0) {
    const int bounds = check_bounds(v, text);
    if (bounds != MATCH_COMPLETE) {
      return bounds;
    }
  }
  const EnumMatch choice = check_enumeration(v, text);
  const validator_match_text match = v->type->match_fn.text;
  if (choice.result != MATCH_COMPLETE || match == nullptr) {
    return choice.result;
  }
  return match(v, choice.text.data(), choice.text.size());
}

int check_number(const validator *v, int basetype, std::string_view text) {
  std::int64_t number = 0;
  if (!convert_number(v, basetype, text, &number) || !is_plain_number(text)) {
    return MATCH_NONE;
  }
  if ((v->flags & VALIDATOR_BOUNDED) != 0) {
    const int bounds = check_bounds(v, number);
    if (bounds != MATCH_COMPLETE) {
      return bounds;
    }
  }
  const int choice = check_enumeration(v, text).result;
  const validator_match_number match = v->type->match_fn.number;
  return choice != MATCH_COMPLETE || match == nullptr ? choice : match(v, number);
}

}  // namespace

int match_ipv4_address(const validator * /*v*/, const char *text, std::size_t len) {
  const char *at = text;
  const char *const end = text + len;
  int parts = 0;
  while (at != end) {
    at = skip_octet(at, end);
    if (at == nullptr) {
      return MATCH_NONE;
    }
    parts++;
    if (at == end) {
      break;
    }
    if (*at != '.' || parts == 4) {
      return MATCH_NONE;
    }
    at++;
  }
  return parts == 4 ? MATCH_COMPLETE : MATCH_INCOMPLETE;
}

int match_ipv6_address(const validator * /*v*/, const char *text, std::size_t len) {
  return Ipv6Scan({text, len}).run();
}

int match_ipv4_prefix(const validator *v, const char *text, std::size_t len) {
  return match_prefix(kIpv4Prefix, v, {text, len});
}

int match_ipv6_prefix(const validator *v, const char *text, std::size_t len) {
  return match_prefix(kIpv6Prefix, v, {text, len});
}

int match_any_ip(const validator *v, const char *text, std::size_t len) {
  constexpr validator_match_text kForms[] = {match_ipv6_address, match_ipv6_prefix, match_ipv4_address,
                                             match_ipv4_prefix};
  const auto complete = [&](validator_match_text form) { return form(v, text, len) == MATCH_COMPLETE; };
  return std::any_of(std::begin(kForms), std::end(kForms), complete) ? MATCH_COMPLETE : MATCH_NONE;
}

int match_time(const validator * /*v*/, const char *text, std::size_t len) {
  constexpr std::array kLimits{23, 59, 59};
  constexpr std::size_t kWhole = 8;  // 00:00:00
  if (len > kWhole) {
    return MATCH_NONE;
  }
  std::size_t field = 0;
  int digits = 0;
  int value = 0;
  for (const char c : std::string_view{text, len}) {
    if (c == ':') {
      if (digits == 0) {
        return MATCH_NONE;
      }
      field++;
      digits = value = 0;
    } else if (is_digit(c) && field < kLimits.size() && digits < 2) {
      digits++;
      value = value * 10 + (c - '0');
      if (value > kLimits[field]) {
        return MATCH_NONE;
      }
    } else {
      return MATCH_NONE;
    }
  }
  return len == kWhole ? MATCH_COMPLETE : MATCH_INCOMPLETE;
}

int match_mac_address(const validator * /*v*/, const char *text, std::size_t len) {
  constexpr std::size_t kWhole = 17;  // 00:00:00:00:00:00
  std::string_view rest{text, len};
  int parts = 0;
  while (!rest.empty()) {
    const std::size_t colon = rest.find(':');
    const bool last = colon == std::string_view::npos;
    parts++;
    if ((!last && (parts == 6 || colon != 2)) || !number_up_to(255, rest.substr(0, colon), 16)) {
      return MATCH_NONE;
    }
    rest.remove_prefix(last ? rest.size() : colon + 1);
  }
  return parts == 6 && len == kWhole ? MATCH_COMPLETE : MATCH_INCOMPLETE;
}

int match_host_name(const validator * /*v*/, const char *text, std::size_t len) {
  constexpr std::size_t kLongest = 253;
  constexpr int kLongestLabel = 63;
  if (len > kLongest) {
    return MATCH_NONE;
  }
  int label = 0;  // bytes
  char before = '\0';
  bool may_be_address = true;
  for (const char c : std::string_view{text, len}) {
    if (c == '.') {
      if (label == 0 || before == '-') {
        return MATCH_NONE;
      }
      label = 0;
    } else if (is_digit(c) || is_letter(c) || (c == '-' && label != 0)) {
      if (++label > kLongestLabel) {
        return MATCH_NONE;
      }
      may_be_address = may_be_address && is_digit(c);
    } else {
      return MATCH_NONE;
    }
    before = c;
  }
  in_addr address{};
  return may_be_address && inet_pton(AF_INET, text, &address) == 1 ? MATCH_INCOMPLETE : MATCH_COMPLETE;
}

EnumMatch enum_text(const json_t *choices, std::string_view text) {
  std::size_t candidates = 0;
  std::size_t string_candidates = 0;
  std::string_view candidate = text;
  const std::size_t count = json_array_size(choices);
  for (std::size_t i = 0; i < count; i++) {
    const json_t *entry = json_array_get(choices, i);
    const bool is_string = json_is_string(entry);
    const Likeness found = is_string ? likeness(string_text(entry), text) : encoding_likeness(entry, text);
    if (found == Likeness::kEqual) {
      return {MATCH_COMPLETE, text};
    }
    if (found == Likeness::kLonger) {
      candidates++;
      if (is_string) {
        string_candidates++;
        candidate = string_text(entry);
      }
    }
  }
  const bool unique = candidates == 1 && string_candidates == 1;
  const int result = unique ? MATCH_COMPLETE : candidates != 0 ? MATCH_INCOMPLETE : MATCH_NONE;
  return {result, string_candidates == 1 ? candidate : text};
}

void append_enum_entry(DynString &out, const json_t *entry) {
  if (json_is_string(entry)) {
    libglobal::append(out, string_text(entry));
    return;
  }
  constexpr auto append_piece = [](const char *piece, std::size_t size, void *to) {
    libglobal::append(*static_cast<DynString *>(to), {piece, size});
    return 0;
  };
  if (json_dump_callback(entry, append_piece, &out, JSON_ENCODE_ANY) != 0) {
    libglobal::report_exhausted(LIBGLOBAL_CALLER(kSource));
  }
}

int validator_check(const validator *v, const char *text, std::size_t len) {
  const int basetype = validator_get_basetype(v);
  return basetype == BASETYPE_STRING ? check_string(v, {text, len}) : check_number(v, basetype, {text, len});
}

}  // namespace cli_engine

int validator_match(const validator *v, const char *text, size_t len) {
  return cli_engine::validator_check(v, text, len) == MATCH_COMPLETE ? 1 : 0;
}

int validator_match_partial(const validator *v, const char *text, size_t len) {
  return cli_engine::validator_check(v, text, len) >= MATCH_INCOMPLETE ? 1 : 0;
}
