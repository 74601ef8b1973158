// Number conversion at its limits, and the byte-addressed array.
#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <string_view>

#include "libglobal/dyn_array.h"
#include "libglobal/dyn_string.h"
#include "libglobal/strnto.h"

namespace {

struct NumberCase {
  std::string_view text;
  int base;
  std::optional<std::int32_t> as_signed;
  std::optional<std::uint32_t> as_unsigned;
};

constexpr NumberCase kNumbers[] = {
    {"0", 0, 0, 0},
    {"-0", 0, 0, {}},
    {"2147483647", 10, 2147483647, 2147483647U},
    {"2147483648", 10, {}, 2147483648U},
    {"-2147483648", 10, -2147483647 - 1, {}},
    {"-2147483649", 10, {}, {}},
    {"4294967295", 0, {}, 4294967295U},
    {"4294967296", 0, {}, {}},
    {"99999999999999999999999", 10, {}, {}},
    {"0x1F", 0, 31, 31},
    {"0X1f", 16, 31, 31},
    {"-0x10", 0, -16, {}},
    {"ff", 16, 255, 255},
    {"ff", 10, {}, {}},
    {"010", 0, 8, 8},
    {"010", 10, 10, 10},
    {"09", 0, {}, {}},
    {"0x", 0, {}, {}},
    {"0x", 16, {}, {}},
    {"0x-1", 16, {}, {}},
    {"--1", 10, {}, {}},
    {"+1", 10, {}, {}},
    {" 1", 10, {}, {}},
    {"1 ", 10, {}, {}},
    {"-", 10, {}, {}},
    {"", 10, {}, {}},
    {"1", 8, {}, {}},
};

TEST(Strnto, ConvertsExactlyTheBytesGiven) {
  for (const NumberCase &row : kNumbers) {
    SCOPED_TRACE(row.text);
    std::int32_t number = 77;
    std::uint32_t magnitude = 77;
    EXPECT_EQ(strntoi(row.text.data(), row.text.size(), row.base, &number), row.as_signed ? 0 : -1);
    EXPECT_EQ(number, row.as_signed.value_or(77));
    EXPECT_EQ(strntoul(row.text.data(), row.text.size(), row.base, &magnitude), row.as_unsigned ? 0 : -1);
    EXPECT_EQ(magnitude, row.as_unsigned.value_or(77));
  }
}

TEST(DynArray, MovesElementsAndRefusesBrokenOffsets) {
  DynArray *a = dyn_array_new(sizeof(int));
  const int first[] = {1, 2, 3};
  const int middle[] = {8, 9};
  EXPECT_EQ(dyn_array_append(a, first, sizeof first), 0);
  EXPECT_EQ(dyn_array_insert(a, sizeof(int), middle, sizeof middle), 0);
  EXPECT_EQ(dyn_array_remove(a, 0, sizeof(int)), 0);
  const int left[] = {8, 9, 2, 3};
  ASSERT_EQ(dyn_array_size(a), sizeof left);
  EXPECT_EQ(std::memcmp(dyn_array_at(a, 0), left, sizeof left), 0);
  EXPECT_EQ(dyn_array_insert(a, 1, middle, sizeof middle), -1);
  EXPECT_EQ(dyn_array_insert(a, sizeof left + sizeof(int), middle, sizeof middle), -1);
  EXPECT_EQ(dyn_array_remove(a, sizeof(int), sizeof left), -1);
  EXPECT_EQ(dyn_array_at(a, sizeof left), nullptr);
  EXPECT_EQ(dyn_array_size(a), sizeof left);
  dyn_array_free(a);
}

TEST(DynString, FormatsAcrossItsGrowth) {
  DynString *s = dyn_string_new();
  std::string expected;
  for (int i = 0; i < 300; i++) {
    EXPECT_EQ(dyn_string_appendf(s, "%d,", i), 0);
    expected += std::to_string(i) + ",";
    ASSERT_EQ(expected, dyn_string_text(s));
    ASSERT_EQ(expected.size(), dyn_string_len(s));
  }
  dyn_string_clear(s);
  EXPECT_STREQ(dyn_string_text(s), "");
  dyn_string_free(s);
}

}  // namespace
