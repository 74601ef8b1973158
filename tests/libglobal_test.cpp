// Number conversion at its limits, and the byte-addressed array.
#include <cstring>

#include "engine_support.hpp"
#include "libglobal/dyn_array.h"
#include "libglobal/dyn_string.h"
#include "libglobal/strnto.h"

namespace {

// Texts of data/numbers.json with their bases, and the signed and unsigned numbers that they are.
TEST(Strnto, ConvertsExactlyTheBytesGiven) {
  engine_support::for_each_case("numbers.json", "numbers", [&](const json_t *row) {
    const std::string text = json_string_value(json_array_get(row, 0));
    const auto at = [&](size_t n, json_int_t otherwise) {
      const json_t *number = json_array_get(row, n);
      return json_is_null(number) ? otherwise : json_integer_value(number);
    };
    const auto base = static_cast<int>(at(1, 0));
    std::int32_t number = 77;
    std::uint32_t magnitude = 77;
    EXPECT_EQ(strntoi(text.data(), text.size(), base, &number), json_is_null(json_array_get(row, 2)) ? -1 : 0);
    EXPECT_EQ(number, at(2, 77));
    EXPECT_EQ(strntoul(text.data(), text.size(), base, &magnitude), json_is_null(json_array_get(row, 3)) ? -1 : 0);
    EXPECT_EQ(magnitude, at(3, 77));
  });
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
