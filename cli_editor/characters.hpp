// What a line's bytes are on a screen: one thing that the cursor steps over after the other.
#ifndef CLI_EDITOR_CHARACTERS_HPP
#define CLI_EDITOR_CHARACTERS_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace cli_editor {

// The columns that a character takes, as wcwidth says it: 0 for one that joins the one before, -1 for none that can be
// shown.
using WidthOf = int (*)(char32_t character);

// A character with all that joins it; a byte that belongs to none.
struct Cluster {
  enum class Kind {
    kPlain,     // written as it is
    kDoubtful,  // the same, and terminals differ on its width: the cursor is put in its place behind it
    kTab,
    kControl,  // shown as ^X
    kBytes,    // shown as \xNN, byte by byte
  };
  Kind kind;
  size_t length;  // bytes
  size_t width;   // columns of a plain or doubtful one
  size_t reach;   // columns that it takes on the terminal that takes the most
};

// The first one of a text that is not empty.
Cluster first_cluster(std::string_view text, WidthOf width_of);

// The length of the UTF-8 character at the start of a text, 0 when it is cut short, and 1 with `valid` false for a byte
// that begins none.
size_t character_length(std::string_view text, bool &valid);

// The text with every cluster that is not plain spelt out, tabs as one blank: fit for any terminal.
std::string spelt_out(std::string_view text, WidthOf width_of);
std::string spelling(std::string_view cluster, Cluster::Kind kind);

// The columns of a text without tabs.
size_t columns_of(std::string_view text, WidthOf width_of);

}  // namespace cli_editor

#endif
