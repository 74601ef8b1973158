// The registry, and what validators take from declarations and types.
#include "cli_engine/validator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <cstring>
#include <span>
#include <string>
#include <utility>

#include "engine_support.hpp"

namespace {

using engine_support::for_each_case;
using engine_support::json;
using engine_support::Json;
using engine_support::text_of;

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
  validator opened(json_t *declaration) {
    validator v;
    std::memset(&v, 0xff, sizeof v);
    EXPECT_EQ(validator_open(types_, &v, declaration), 0) << text_of(declaration);
    validator_close(&v);
    return v;
  }

  validator_typesystem *types_;
  validator_type bounded_{};
};

TEST_F(Registry, ValidatorsTakeTheirFacets) {
  for_each_case("validators.json", "facets", [&](json_t *row) {
    const auto number = [&](const char *member) { return json_integer_value(json_object_get(row, member)); };
    const validator v = opened(json_object_get(row, "declaration"));
    const bool is_text = validator_get_basetype(&v) == BASETYPE_STRING;
    EXPECT_EQ((v.flags & VALIDATOR_BOUNDED) != 0, json_is_true(json_object_get(row, "bounded")));
    EXPECT_EQ((v.flags & VALIDATOR_ENUM) != 0, json_is_true(json_object_get(row, "enumerated")));
    EXPECT_EQ(is_text ? v.min_length : v.min_inclusive, number("least"));
    EXPECT_EQ(is_text ? v.max_length : v.max_inclusive, number("most"));
    EXPECT_EQ(is_text ? 0 : v.base, number("base"));
    EXPECT_EQ(is_text ? 0 : v.width, number("width"));
  });
}

using RegistryDeathTest = Registry;

// The first fault in the order of the checks is the one reported.
TEST_F(RegistryDeathTest, ContradictoryFacetsAreReported) {
  for_each_case("validators.json", "faults", [&](json_t *row) {
    const std::string claim = json_string_value(json_object_get(row, "report"));
    EXPECT_EXIT(opened(json_object_get(row, "declaration")), testing::KilledBySignal(SIGABRT),
                testing::StartsWith("cli_engine/validator:validator_open: assertion \"" + claim + "\" failed\n"))
        << text_of(row);
  });
}

TEST_F(RegistryDeathTest, NullArgumentsAreReported) {
  const Json declaration = json("{'#type': 'int'}");
  validator v;
  EXPECT_EXIT(validator_open(nullptr, &v, declaration.get()), testing::KilledBySignal(SIGABRT),
              testing::StartsWith("cli_engine/validator:validator_find_type: assertion \"ts != NULL\" failed\n"));
  EXPECT_EXIT(validator_get_basetype(nullptr), testing::KilledBySignal(SIGABRT),
              testing::StartsWith("cli_engine/validator:validator_get_basetype: assertion \"validator\" failed\n"));
}

TEST_F(Registry, UnknownTypesLeaveTheValidatorZero) {
  for (const char *text :
       {"{'#type': 'Int'}", "{'#type': ''}", "{'#type': 'intx', '#enum': [1]}", "{'#type': 5}", "{}"}) {
    const Json declaration = json(text);
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
    const validator v = opened(json(std::string("{'#type': '") + name + "'}").get());
    EXPECT_NE(v.type, &second);
    EXPECT_EQ(validator_get_basetype(&v), basetype);
  }
}

// Each validator holds one reference: of the declared enumeration, else of its type's own.
TEST_F(Registry, EnumerationsAreCounted) {
  const Json own(json_pack("[s]", "own"));
  bounded_.defaults.flags |= VALIDATOR_ENUM;
  bounded_.defaults.enum_array = own.get();
  const Json declaration(json_pack("{s:s, s:[s]}", "#type", "percent", "#enum", "declared"));
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
