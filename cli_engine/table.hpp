// What the two halves of the table module share: the model (table.cpp) and the drawing (table_render.cpp).
#ifndef CLI_ENGINE_TABLE_HPP
#define CLI_ENGINE_TABLE_HPP

#include "cli_engine/table.h"

namespace cli_engine {

// The source that every report of the module names.
inline constexpr const char *kTableSource = "cli_engine/table_render";

// A cell made from a text, or an empty one from a null text. Its lines stand side by side in one block, each followed
// by the next, so that line n is lines.first[n]; last_link is null while there is none.
content content_new(const char *text);

// The label cell of the header, which is always empty, or of the row shown at a place; the cells of the columns follow.
const content *table_header_cells(const table &t);
const content *table_row_cells(const table &t, int32_t row);

// Computes the layout: col_width, row_height, col_hidden, header_height and label_width.
void table_update_size(table *t);

}  // namespace cli_engine

#endif
