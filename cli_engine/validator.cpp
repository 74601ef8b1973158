#include "cli_engine/validator.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "cli_engine/json_ref.hpp"
#include "cli_engine/matchers.hpp"
#include "libglobal/report.hpp"

namespace {

constexpr char kSource[] = "cli_engine/validator";

constexpr validator_type text_type(const char *name, validator_match_text match) {
  return {BASETYPE_STRING, name, {}, {.text = match}, nullptr};
}

constexpr validator_type number_type(const char *name, int32_t basetype) {
  return {basetype, name, {}, {.number = nullptr}, nullptr};
}

constexpr validator_type kBuiltinTypes[] = {
    text_type("string", nullptr),
    text_type("IPv4Address", cli_engine::match_ipv4_address),
    text_type("IPv4Prefix", cli_engine::match_ipv4_prefix),
    text_type("IPv4Extended", cli_engine::match_ipv4_prefix),
    text_type("IPv6Address", cli_engine::match_ipv6_address),
    text_type("IPv6Prefix", cli_engine::match_ipv6_prefix),
    text_type("IPv6Extended", cli_engine::match_ipv6_prefix),
    text_type("IPAddress", cli_engine::match_any_ip),
    number_type("int", BASETYPE_INT),
    number_type("unsignedInt", BASETYPE_UINT),
    text_type("time", cli_engine::match_time),
    text_type("MACAddress", cli_engine::match_mac_address),
    text_type("FQDN", cli_engine::match_host_name),
};

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

bool declares_any(const json_t *declaration, const char *one, const char *other) {
  return json_object_get(declaration, one) != nullptr || json_object_get(declaration, other) != nullptr;
}

// The integer of a facet, 0 when it is given as another kind of value, `missing` when it is not given.
json_int_t facet(const json_t *declaration, const char *key, json_int_t missing) {
  const json_t *value = json_object_get(declaration, key);
  return value == nullptr ? missing : json_integer_value(value);
}

void require_facet(bool holds, const char *expression) {
  libglobal::require(holds, expression, kSource, "validator_open");
}

// The base and the width are 32-bit fields: of a larger number their low half is what counts.
void read_number_bounds(validator *v, const json_t *declaration, int64_t lowest, int64_t highest) {
  if (!declares_any(declaration, "#min_inclusive", "#max_inclusive")) {
    return;
  }
  v->flags |= VALIDATOR_BOUNDED;
  v->width = static_cast<uint32_t>(facet(declaration, "#width", 1));
  v->base = static_cast<int32_t>(facet(declaration, "#base", 10));
  v->min_inclusive = facet(declaration, "#min_inclusive", lowest);
  v->max_inclusive = facet(declaration, "#max_inclusive", highest);

  require_facet(v->width > 0, "validator->width > 0");
  if (v->type->basetype == BASETYPE_INT) {
    require_facet(v->base == 10, "validator->base == 10");
    require_facet(v->min_inclusive >= lowest, "validator->min_inclusive >= INT32_MIN");
    require_facet(v->max_inclusive <= highest, "validator->max_inclusive <= INT32_MAX");
  } else {
    require_facet(v->base == 10 || v->base == 16, "validator->base == 10 || validator->base == 16");
    require_facet(v->min_inclusive >= lowest, "validator->min_inclusive >= 0");
    require_facet(v->max_inclusive <= highest, "validator->max_inclusive <= UINT32_MAX");
  }
  require_facet(v->min_inclusive <= v->max_inclusive, "validator->min_inclusive <= validator->max_inclusive");
}

void read_length_bounds(validator *v, const json_t *declaration) {
  if (!declares_any(declaration, "#min_length", "#max_length")) {
    return;
  }
  v->flags |= VALIDATOR_BOUNDED;
  v->min_length = static_cast<uint32_t>(facet(declaration, "#min_length", 0));
  v->max_length = static_cast<uint32_t>(facet(declaration, "#max_length", UINT32_MAX));
  require_facet(v->min_length <= v->max_length, "validator->min_length <= validator->max_length");
}

void read_bounds(validator *v, const json_t *declaration) {
  switch (v->type->basetype) {
    case BASETYPE_INT:
      read_number_bounds(v, declaration, INT32_MIN, INT32_MAX);
      break;
    case BASETYPE_UINT:
      read_number_bounds(v, declaration, 0, UINT32_MAX);
      break;
    case BASETYPE_STRING:
      read_length_bounds(v, declaration);
      break;
  }
}

// A declared enumeration takes the place of the type's own.
void read_enumeration(validator *v, const json_t *declaration) {
  json_t *choices = json_object_get(declaration, "#enum");
  if (choices == nullptr) {
    return;
  }
  require_facet(json_is_array(choices), "json_is_array(enum_array)");
  validator_close(v);
  v->flags |= VALIDATOR_ENUM;
  v->enum_array = json_incref(choices);
}

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
  const char *name = cli_engine::string_member(declaration, "#type");
  std::memset(v, 0, sizeof *v);
  const validator_type *type = validator_find_type(types, name == nullptr ? "" : name);
  if (name == nullptr || type == nullptr) {
    return -1;
  }
  v->type = type;
  take_defaults(v, type->defaults, type->basetype);
  read_bounds(v, declaration);
  read_enumeration(v, declaration);
  return 0;
}

void validator_close(validator *v) {
  if ((v->flags & VALIDATOR_ENUM) != 0) {
    json_decref(v->enum_array);
  }
}

int validator_get_basetype(const validator *v) {
  libglobal::require(v != nullptr, "validator", kSource, __func__);
  return v->type->basetype;
}
