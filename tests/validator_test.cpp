// The registry, and what validators take from declarations and types.
#include "cli_engine/validator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <utility>

#include "cli_engine/json_ref.hpp"

namespace {

using cli_engine::JsonRef;

class Registry : public testing::Test {
 protected:
  Registry() : types_(validator_typesystem_new()) {
    bounded_.name = "percent";
    bounded_.basetype = BASETYPE_INT;
    bounded_.defaults.flags = VALIDATOR_BOUNDED;
    bounded_.defaults.min_inclusive = 1;
    bounded_.defaults.max_inclusive = 100;
    bounded_.defaults.base = 16;
    bounded_.defaults.width = 3;
    validator_typesystem_add_custom_type(types_, &bounded_);
  }
  ~Registry() override { validator_typesystem_free(types_); }

  // Opens and closes a validator of the declaration and returns what it said.
  validator opened(const char *declaration) {
    const JsonRef document(json_loads(declaration, 0, nullptr));
    validator v;
    std::memset(&v, 0xff, sizeof v);
    EXPECT_EQ(validator_open(types_, &v, document.get()), 0) << declaration;
    validator_close(&v);
    return v;
  }

  validator_typesystem *types_;
  validator_type bounded_{};
};

struct Facets {
  const char *declaration;
  std::uint32_t flags;
  std::int64_t least, most;  // of numbers, or of lengths
  std::int32_t base;
  std::uint32_t width;
};

constexpr Facets kFacets[] = {
    {R"({"#type": "int"})", 0, 0, 0, 0, 0},
    {R"({"#type": "int", "#width": 4, "#base": 16, "#min_length": 3})", 0, 0, 0, 0, 0},
    {R"({"#type": "int", "#min_inclusive": 5, "#max_inclusive": 5, "#width": 4})", VALIDATOR_BOUNDED, 5, 5, 10, 4},
    {R"({"#type": "int", "#min_inclusive": -2147483648})", VALIDATOR_BOUNDED, INT32_MIN, INT32_MAX, 10, 1},
    {R"({"#type": "int", "#min_inclusive": null})", VALIDATOR_BOUNDED, 0, INT32_MAX, 10, 1},
    {R"({"#type": "int", "#max_inclusive": 7, "#enum": [1]})", VALIDATOR_BOUNDED | VALIDATOR_ENUM, INT32_MIN, 7, 10, 1},
    {R"({"#type": "unsignedInt", "#base": 16, "#max_inclusive": 255})", VALIDATOR_BOUNDED, 0, 255, 16, 1},
    {R"({"#type": "unsignedInt", "#min_inclusive": 4294967295})", VALIDATOR_BOUNDED, UINT32_MAX, UINT32_MAX, 10, 1},
    {R"({"#type": "percent", "#width": 9})", VALIDATOR_BOUNDED, 1, 100, 16, 3},
    {R"({"#type": "percent", "#min_inclusive": -5})", VALIDATOR_BOUNDED, -5, INT32_MAX, 10, 1},
    {R"({"#type": "string", "#max_length": 8})", VALIDATOR_BOUNDED, 0, 8, 0, 0},
    {R"({"#type": "IPv4Address", "#min_length": 4})", VALIDATOR_BOUNDED, 4, UINT32_MAX, 0, 0},
    {R"({"#type": "FQDN", "#min_inclusive": 1, "#max_inclusive": 0})", 0, 0, 0, 0, 0},
    {R"({"#type": "string", "#min_length": "3"})", VALIDATOR_BOUNDED, 0, UINT32_MAX, 0, 0},
    {R"({"#type": "string", "#min_length": 5, "#max_length": -1})", VALIDATOR_BOUNDED, 5, UINT32_MAX, 0, 0},
    {R"({"#type": "MACAddress", "#enum": []})", VALIDATOR_ENUM, 0, 0, 0, 0},
};

TEST_F(Registry, ValidatorsTakeTheirFacets) {
  for (const Facets &row : kFacets) {
    SCOPED_TRACE(row.declaration);
    const validator v = opened(row.declaration);
    const bool is_text = validator_get_basetype(&v) == BASETYPE_STRING;
    EXPECT_EQ(v.flags, row.flags);
    EXPECT_EQ(is_text ? v.min_length : v.min_inclusive, row.least);
    EXPECT_EQ(is_text ? v.max_length : v.max_inclusive, row.most);
    EXPECT_EQ(is_text ? 0 : v.base, row.base);
    EXPECT_EQ(is_text ? 0 : v.width, row.width);
  }
}

// The first fault in the order of the checks is the one reported.
constexpr std::pair<const char *, const char *> kFaults[] = {
    {R"({"#type": "int", "#max_inclusive": 1, "#width": 0, "#base": 2})", "validator->width > 0"},
    {R"({"#type": "int", "#max_inclusive": 1, "#width": "3"})", "validator->width > 0"},
    {R"({"#type": "int", "#max_inclusive": 1, "#width": 4294967296})", "validator->width > 0"},
    {R"({"#type": "int", "#max_inclusive": 255, "#base": 16, "#min_inclusive": -2147483649})", "validator->base == 10"},
    {R"({"#type": "int", "#min_inclusive": -2147483649})", "validator->min_inclusive >= INT32_MIN"},
    {R"({"#type": "int", "#max_inclusive": 2147483648})", "validator->max_inclusive <= INT32_MAX"},
    {R"({"#type": "int", "#min_inclusive": 6, "#max_inclusive": 5})",
     "validator->min_inclusive <= validator->max_inclusive"},
    {R"({"#type": "unsignedInt", "#max_inclusive": 1, "#width": null})", "validator->width > 0"},
    {R"({"#type": "unsignedInt", "#max_inclusive": 1, "#base": 0})", "validator->base == 10 || validator->base == 16"},
    {R"({"#type": "unsignedInt", "#min_inclusive": -1})", "validator->min_inclusive >= 0"},
    {R"({"#type": "unsignedInt", "#max_inclusive": 4294967296})", "validator->max_inclusive <= UINT32_MAX"},
    {R"({"#type": "unsignedInt", "#max_inclusive": -1})", "validator->min_inclusive <= validator->max_inclusive"},
    {R"({"#type": "string", "#min_length": 3, "#max_length": 2})", "validator->min_length <= validator->max_length"},
    {R"({"#type": "string", "#min_length": -1, "#max_length": 2})", "validator->min_length <= validator->max_length"},
    {R"({"#type": "string", "#enum": "a"})", "json_is_array(enum_array)"},
    {R"({"#type": "int", "#enum": null})", "json_is_array(enum_array)"},
};

using RegistryDeathTest = Registry;

TEST_F(RegistryDeathTest, ContradictoryFacetsAreReported) {
  for (const auto &[declaration, expression] : kFaults) {
    EXPECT_EXIT(opened(declaration), testing::KilledBySignal(SIGABRT),
                testing::StartsWith(std::string("cli_engine/validator:validator_open: assertion \"") + expression +
                                    "\" failed\n"))
        << declaration;
  }
}

TEST_F(RegistryDeathTest, NullArgumentsAreReported) {
  const JsonRef declaration(json_loads(R"({"#type": "int"})", 0, nullptr));
  validator v;
  EXPECT_EXIT(validator_open(nullptr, &v, declaration.get()), testing::KilledBySignal(SIGABRT),
              testing::StartsWith("cli_engine/validator:validator_find_type: assertion \"ts != NULL\" failed\n"));
  EXPECT_EXIT(validator_get_basetype(nullptr), testing::KilledBySignal(SIGABRT),
              testing::StartsWith("cli_engine/validator:validator_get_basetype: assertion \"validator\" failed\n"));
}

TEST_F(Registry, UnknownTypesLeaveTheValidatorZero) {
  for (const char *text :
       {R"({"#type": "Int"})", R"({"#type": ""})", R"({"#type": "intx", "#enum": [1]})", R"({"#type": 5})", "{}"}) {
    const JsonRef declaration(json_loads(text, 0, nullptr));
    validator v;
    std::memset(&v, 0xff, sizeof v);
    EXPECT_EQ(validator_open(types_, &v, declaration.get()), -1) << text;
    EXPECT_THAT(std::as_bytes(std::span(&v, 1)), testing::Each(std::byte{0})) << text;
    validator_close(&v);
  }
}

TEST_F(Registry, TheFirstTypeOfANameStays) {
  validator_type second{};
  for (const auto &[name, basetype] :
       {std::pair{"string", BASETYPE_STRING}, {"percent", BASETYPE_INT}, {"unsignedInt", BASETYPE_UINT}}) {
    second.name = name;
    second.basetype = basetype == BASETYPE_UINT ? BASETYPE_INT : BASETYPE_UINT;
    EXPECT_EQ(validator_typesystem_add_custom_type(types_, &second), 0);
    const validator v = opened((std::string(R"({"#type": ")") + name + "\"}").c_str());
    EXPECT_NE(v.type, &second);
    EXPECT_EQ(validator_get_basetype(&v), basetype);
  }
}

// Each validator holds one reference: of the declared enumeration, else of its type's own.
TEST_F(Registry, EnumerationsAreCounted) {
  const JsonRef own(json_pack("[s]", "own"));
  bounded_.defaults.flags |= VALIDATOR_ENUM;
  bounded_.defaults.enum_array = own.get();
  const JsonRef declaration(json_pack("{s:s, s:[s]}", "#type", "percent", "#enum", "declared"));
  json_t *declared = json_object_get(declaration.get(), "#enum");

  validator v;
  ASSERT_EQ(validator_open(types_, &v, declaration.get()), 0);
  EXPECT_EQ(v.enum_array, declared);
  EXPECT_EQ(v.flags, bounded_.defaults.flags);
  EXPECT_EQ(declared->refcount, 2U);
  EXPECT_EQ(own->refcount, 1U);
  validator_close(&v);
  EXPECT_EQ(declared->refcount, 1U);

  json_object_del(declaration.get(), "#enum");
  ASSERT_EQ(validator_open(types_, &v, declaration.get()), 0);
  EXPECT_EQ(v.enum_array, own.get());
  EXPECT_EQ(own->refcount, 2U);
  validator_close(&v);
  EXPECT_EQ(own->refcount, 1U);
}

}  // namespace
