// Where the keys for words and characters lead.
#ifndef CLI_EDITOR_MOTIONS_HPP
#define CLI_EDITOR_MOTIONS_HPP

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "cli_editor/line.hpp"

namespace cli_editor {

// How a line is cut: letters and digits; the same with other characters as words of their own, as vi has it; blanks.
enum class Words { kLetters, kVi, kBlanks };

size_t word_start_before(const Line &line, size_t from, Words words);
size_t word_end_behind(const Line &line, size_t from, Words words);      // behind its last character
size_t word_start_behind(const Line &line, size_t from, Words words);    // of the next word
size_t last_of_word_behind(const Line &line, size_t from, Words words);  // its last character

// The nth character of that text behind or before a place.
std::optional<size_t> find_character(const Line &line, size_t from, std::string_view character, bool back, size_t nth);

// The bracket that belongs to the first one at or behind a place.
std::optional<size_t> matching_bracket(const Line &line, size_t from);

// The last word of a line, quotes respected.
std::string_view last_word(std::string_view line);

}  // namespace cli_editor

#endif
