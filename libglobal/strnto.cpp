#include "libglobal/strnto.h"

#include <cstdint>
#include <string_view>

namespace {

bool has_hex_prefix(std::string_view text) {
  return text.size() >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

// 36 or more for what is no digit in any base.
unsigned digit_value(char c) {
  const auto byte = static_cast<unsigned char>(c);
  const unsigned decimal = byte - unsigned{'0'};
  if (decimal < 10) {
    return decimal;
  }
  const unsigned letter = (byte | 0x20U) - unsigned{'a'};
  return letter < 26 ? letter + 10 : 36;
}

// The digits of an unsigned number up to `limit`; the base is 0, 10 or 16.
bool convert_digits(std::string_view text, int base, std::uint64_t limit, std::uint64_t *out) {
  if (base != 0 && base != 10 && base != 16) {
    return false;
  }
  if (base != 10 && has_hex_prefix(text)) {
    text.remove_prefix(2);
    base = 16;
  } else if (base == 0) {
    base = !text.empty() && text[0] == '0' ? 8 : 10;
  }
  std::uint64_t value = 0;  // never beyond 16 times the limit, which has 32 bits
  for (const char c : text) {
    const unsigned digit = digit_value(c);
    if (digit >= static_cast<unsigned>(base)) {
      return false;
    }
    value = value * static_cast<unsigned>(base) + digit;
    if (value > limit) {
      return false;
    }
  }
  *out = value;
  return !text.empty();
}

int convert_signed(const char *text, std::size_t len, int base, std::int32_t *out) {
  std::string_view digits{text, len};
  const bool negative = !digits.empty() && digits[0] == '-';
  if (negative) {
    digits.remove_prefix(1);
  }
  std::uint64_t magnitude = 0;
  if (!convert_digits(digits, base, negative ? 2147483648U : 2147483647U, &magnitude)) {
    return -1;
  }
  const auto value = static_cast<std::int64_t>(magnitude);
  *out = static_cast<std::int32_t>(negative ? -value : value);
  return 0;
}

int convert_unsigned(const char *text, std::size_t len, int base, std::uint32_t *out) {
  std::uint64_t value = 0;
  if (!convert_digits({text, len}, base, UINT32_MAX, &value)) {
    return -1;
  }
  *out = static_cast<std::uint32_t>(value);
  return 0;
}

}  // namespace

int strntoi(const char *text, size_t len, int base, int32_t *out) {
  return convert_signed(text, len, base, out);
}
int strntou(const char *text, size_t len, int base, uint32_t *out) {
  return convert_unsigned(text, len, base, out);
}
int strntol(const char *text, size_t len, int base, int32_t *out) {
  return convert_signed(text, len, base, out);
}
int strntoul(const char *text, size_t len, int base, uint32_t *out) {
  return convert_unsigned(text, len, base, out);
}
