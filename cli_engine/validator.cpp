#include "cli_engine/validator.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "cli_engine/matchers.hpp"
#include "cli_engine/validator.hpp"
#include "libglobal/report.hpp"

namespace {

constexpr char kSource[] = "cli_engine/validator";

// The matcher that goes with a built-in type; by their order in the table of the language.
constexpr validator_match_text kMatchers[] = {
    nullptr,
    cli_engine::match_ipv4_address,
    cli_engine::match_ipv4_prefix,
    cli_engine::match_ipv4_prefix,
    cli_engine::match_ipv6_address,
    cli_engine::match_ipv6_prefix,
    cli_engine::match_ipv6_prefix,
    cli_engine::match_any_ip,
    nullptr,
    nullptr,
    cli_engine::match_time,
    cli_engine::match_mac_address,
    cli_engine::match_host_name,
};

template <std::size_t... places>
constexpr auto make_types(std::index_sequence<places...>) {
  return std::array<validator_type, sizeof...(places)>{{{cli_engine::kTypes[places].basetype,
                                                         cli_engine::kTypes[places].name.data(),
                                                         {},
                                                         {.text = kMatchers[places]},
                                                         nullptr}...}};
}

constexpr auto kBuiltinTypes = make_types(std::make_index_sequence<std::size(cli_engine::kTypes)>());
static_assert(std::size(kMatchers) == std::size(cli_engine::kTypes));

using TypeList = std::vector<const validator_type *, libglobal::ReportingAllocator<const validator_type *>>;

}  // namespace

struct validator_typesystem {
  TypeList types;  // in the order of their names, each name once
};

namespace {

TypeList::const_iterator not_before(const TypeList &types, const char *name) {
  const auto before = [](const validator_type *type, const char *wanted) {
    return std::strcmp(type->name, wanted) < 0;
  };
  return std::lower_bound(types.begin(), types.end(), name, before);
}

bool is_at(const TypeList &types, TypeList::const_iterator place, const char *name) {
  return place != types.end() && std::strcmp((*place)->name, name) == 0;
}

const validator_type *validator_find_type(const validator_typesystem *ts, const char *name) {
  libglobal::require(ts != nullptr, "ts != NULL", kSource, __func__);
  const auto place = not_before(ts->types, name);
  return is_at(ts->types, place, name) ? *place : nullptr;
}

// Field by field: the facets stand at other offsets in a type's defaults than in a validator.
void take_defaults(validator *v, const validator_defaults &defaults, int basetype) {
  v->flags = defaults.flags;
  if (basetype == BASETYPE_STRING) {
    v->min_length = defaults.min_length;
    v->max_length = defaults.max_length;
  } else {
    v->min_inclusive = defaults.min_inclusive;
    v->max_inclusive = defaults.max_inclusive;
    v->base = defaults.base;
    v->width = defaults.width;
  }
  if ((defaults.flags & VALIDATOR_ENUM) != 0) {
    v->enum_array = json_incref(defaults.enum_array);
  }
}

using cli_engine::Declaration;
using cli_engine::MemberId;
using cli_engine::Quoted;
using cli_engine::Shape;
using cli_engine::Value;

// Reads the facets of one declaration, in the order in which they are checked.
class FacetReader {
 public:
  FacetReader(validator *v, const Declaration &declaration, const cli_engine::Reporter *reporter)
      : v_(v), declaration_(declaration), reporter_(reporter) {}

  void read() {
    switch (v_->type->basetype) {
      case BASETYPE_INT:
        read_number_bounds(INT32_MIN, INT32_MAX);
        break;
      case BASETYPE_UINT:
        read_number_bounds(0, UINT32_MAX);
        break;
      case BASETYPE_STRING:
        read_length_bounds();
        break;
    }
    read_enumeration();
  }

 private:
  [[nodiscard]] const Value &at(MemberId id) const { return declaration_[id]; }

  [[nodiscard]] bool declares_any(MemberId one, MemberId other) const {
    return at(one).is_given() || at(other).is_given();
  }

  // The integer of a facet, 0 when it is given as another kind of value, `missing` when it is not given.
  [[nodiscard]] json_int_t facet(MemberId id, json_int_t missing) const {
    return at(id).is_given() ? at(id).integer() : missing;
  }

  // Reports that a facet breaks a rule, which the pieces say, or ends the process.
  template <class... Pieces>
  void require_facet(bool holds, const char *expression, MemberId id, const Pieces &...pieces) {
    if (holds) [[likely]] {
      return;
    }
    if (reporter_ == nullptr) {
      log_assert(expression, kSource, "validator_open");
    }
    const Value &value = at(id);
    const bool counts_as_0 = value.is_given() && !value.is(Shape::kInteger);
    reporter_->add("facet-range", value.is_given() ? value : declaration_.object(), Quoted{row_of(id).name}, pieces...,
                   counts_as_0 ? "; " : "", counts_as_0 ? in_words(value.shape()) : "",
                   counts_as_0 ? " counts as 0" : "");
  }

  void require_order(bool holds, const char *expression, MemberId low, json_int_t lower, MemberId high,
                     json_int_t higher) {
    const bool blames_high = at(high).is_given();
    const MemberId other = blames_high ? low : high;
    require_facet(holds, expression, blames_high ? high : low, " is ", std::int64_t{blames_high ? higher : lower},
                  blames_high ? ", below " : ", above ", Quoted{row_of(other).name}, ", which is ",
                  std::int64_t{blames_high ? lower : higher});
  }

  // The base and the width are 32-bit fields: of a larger number their low half is what counts.
  void read_number_bounds(int64_t lowest, int64_t highest) {
    if (!declares_any(MemberId::kMinInclusive, MemberId::kMaxInclusive)) {
      return;
    }
    v_->flags |= VALIDATOR_BOUNDED;
    v_->width = static_cast<uint32_t>(facet(MemberId::kWidth, 1));
    v_->base = static_cast<int32_t>(facet(MemberId::kBase, 10));
    v_->min_inclusive = facet(MemberId::kMinInclusive, lowest);
    v_->max_inclusive = facet(MemberId::kMaxInclusive, highest);

    const bool is_signed = v_->type->basetype == BASETYPE_INT;
    require_facet(v_->width > 0, "validator->width > 0", MemberId::kWidth, " is at least 1");
    if (is_signed) {
      require_facet(v_->base == 10, "validator->base == 10", MemberId::kBase, " of a signed number is 10");
    } else {
      require_facet(v_->base == 10 || v_->base == 16, "validator->base == 10 || validator->base == 16", MemberId::kBase,
                    " is 10 or 16");
    }
    require_facet(v_->min_inclusive >= lowest,
                  is_signed ? "validator->min_inclusive >= INT32_MIN" : "validator->min_inclusive >= 0",
                  MemberId::kMinInclusive, " is at least ", lowest);
    require_facet(v_->max_inclusive <= highest,
                  is_signed ? "validator->max_inclusive <= INT32_MAX" : "validator->max_inclusive <= UINT32_MAX",
                  MemberId::kMaxInclusive, " is at most ", highest);
    require_order(v_->min_inclusive <= v_->max_inclusive, "validator->min_inclusive <= validator->max_inclusive",
                  MemberId::kMinInclusive, v_->min_inclusive, MemberId::kMaxInclusive, v_->max_inclusive);
  }

  void read_length_bounds() {
    if (!declares_any(MemberId::kMinLength, MemberId::kMaxLength)) {
      return;
    }
    v_->flags |= VALIDATOR_BOUNDED;
    v_->min_length = static_cast<uint32_t>(facet(MemberId::kMinLength, 0));
    v_->max_length = static_cast<uint32_t>(facet(MemberId::kMaxLength, UINT32_MAX));
    require_order(v_->min_length <= v_->max_length, "validator->min_length <= validator->max_length",
                  MemberId::kMinLength, v_->min_length, MemberId::kMaxLength, v_->max_length);
  }

  // A declared enumeration takes the place of the type's own.
  void read_enumeration() {
    const Value &choices = at(MemberId::kEnum);
    if (!choices.is_given()) {
      return;
    }
    if (!choices.is(Shape::kArray)) {
      if (reporter_ == nullptr) {
        log_assert("json_is_array(enum_array)", kSource, "validator_open");
      }
      reporter_->add("enumeration", choices, "\"#enum\" is an array, not ", in_words(choices.shape()));
      return;
    }
    validator_close(v_);
    v_->flags |= VALIDATOR_ENUM;
    v_->enum_array = choices.to_json();
  }

  validator *v_;
  const Declaration &declaration_;
  const cli_engine::Reporter *reporter_;
};

}  // namespace

validator_typesystem *validator_typesystem_new(void) {
  void *memory = libglobal::xmalloc(sizeof(validator_typesystem), LIBGLOBAL_CALLER(kSource));
  auto *types = new (memory) validator_typesystem{};
  types->types.reserve(std::size(kBuiltinTypes));
  for (const validator_type &type : kBuiltinTypes) {
    validator_typesystem_add_custom_type(types, &type);
  }
  return types;
}

int validator_typesystem_add_custom_type(validator_typesystem *types, const validator_type *type) {
  libglobal::require(types != nullptr, "ts != NULL", kSource, __func__);
  const auto place = not_before(types->types, type->name);
  if (!is_at(types->types, place, type->name)) {
    types->types.insert(place, type);
  }
  return 0;
}

void validator_typesystem_free(validator_typesystem *types) {
  if (types == nullptr) {
    return;
  }
  std::destroy_at(types);
  std::free(types);
}

int validator_open(validator_typesystem *types, validator *v, json_t *declaration) {
  return cli_engine::open_validator(types, v, Declaration(Value(declaration)), nullptr);
}

int cli_engine::open_validator(const validator_typesystem *types, validator *v, const Declaration &declaration,
                               const Reporter *reporter) {
  const char *name = declaration[MemberId::kType].text();
  std::memset(v, 0, sizeof *v);
  const validator_type *type = validator_find_type(types, name == nullptr ? "" : name);
  if (name == nullptr || type == nullptr) {
    return -1;
  }
  v->type = type;
  take_defaults(v, type->defaults, type->basetype);
  FacetReader(v, declaration, reporter).read();
  return 0;
}

void validator_close(validator *v) {
  if ((v->flags & VALIDATOR_ENUM) != 0) {
    json_decref(v->enum_array);
  }
}

void cli_engine::suggest_type(const validator_typesystem &types, std::string_view name, DynString &out) {
  std::vector<std::string_view, libglobal::ReportingAllocator<std::string_view>> names;
  for (const validator_type *type : types.types) {
    names.push_back(type->name);
  }
  for (const std::string_view other : {kKeyType, kGroupType}) {
    names.push_back(other);
  }
  if (const std::string_view meant = resembled_type(name, names); !meant.empty()) {
    append_suggestion(out, meant);
  }
}

int validator_get_basetype(const validator *v) {
  libglobal::require(v != nullptr, "validator", kSource, __func__);
  return v->type->basetype;
}
