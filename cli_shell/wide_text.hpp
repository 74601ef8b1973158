// Between the bytes of lines and the wide characters that the line editor works with.
#ifndef CLI_SHELL_WIDE_TEXT_HPP
#define CLI_SHELL_WIDE_TEXT_HPP

#include <cstddef>
#include <string>
#include <string_view>

namespace cli_shell {

// Takes the user's character set; where the environment asks for none beyond ASCII, UTF-8. Nothing else of the locale
// is touched: numbers keep their point.
void use_character_set_of_user();

// Bytes that are no character are left out.
std::wstring decode(std::string_view bytes);
std::string encode(std::wstring_view text);

// The terminal columns that the text takes when it begins in the first one.
size_t columns(std::wstring_view text);

}  // namespace cli_shell

#endif
