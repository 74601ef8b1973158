#include "cli_shell/wide_text.hpp"

#include <langinfo.h>

#include <climits>
#include <clocale>
#include <cwchar>

namespace cli_shell {

namespace {

constexpr size_t kIllFormed = static_cast<size_t>(-1);
constexpr size_t kCutShort = static_cast<size_t>(-2);
constexpr size_t kTabWidth = 8;
constexpr size_t kControlWidth = 2;  // "^A"

}  // namespace

void use_character_set_of_user() {
  std::setlocale(LC_CTYPE, "");
  if (std::string_view(nl_langinfo(CODESET)) == "ANSI_X3.4-1968") std::setlocale(LC_CTYPE, "C.UTF-8");
}

std::wstring decode(std::string_view bytes) {
  std::wstring text;
  text.reserve(bytes.size());
  std::mbstate_t state{};
  while (!bytes.empty()) {
    wchar_t character = 0;
    size_t used = std::mbrtowc(&character, bytes.data(), bytes.size(), &state);
    if (used == kCutShort || used == kIllFormed) {
      state = {};
      used = 1;
    } else {
      used = used == 0 ? 1 : used;  // a NUL
      text += character;
    }
    bytes.remove_prefix(used);
  }
  return text;
}

std::string encode(std::wstring_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  std::mbstate_t state{};
  for (const wchar_t character : text) {
    char buffer[MB_LEN_MAX];
    const size_t length = std::wcrtomb(buffer, character, &state);
    if (length == kIllFormed) {
      state = {};
    } else {
      bytes.append(buffer, length);
    }
  }
  return bytes;
}

size_t columns(std::wstring_view text) {
  size_t column = 0;
  for (const wchar_t character : text) {
    const int width = wcwidth(character);
    if (character == L'\t') {
      column += kTabWidth - column % kTabWidth;
    } else {
      column += width < 0 ? kControlWidth : static_cast<size_t>(width);
    }
  }
  return column;
}

}  // namespace cli_shell
