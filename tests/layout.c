/* The layout of every record that hosts share with the library, compared with a committed list:
 *
 *     layout FILE   says what differs from the list in FILE; exit status 1 then
 *     layout        prints the list
 *
 * Lines are "RECORD SIZE" and "  FIELD OFFSET SIZE". There is a list for each word size; that for 32 bits is of
 * machines that align 64-bit numbers to 8 bytes. A difference means that CLI_ENGINE_LAYOUT (cli_engine/version.h) must
 * be raised together with the lists. */
#include <stdio.h>
#include <string.h>

#include "cli_engine/cli_engine.h"
#include "cli_engine/table.h"

typedef struct entry {
  const char *record;
  const char *field; /* null for the record itself */
  size_t offset;
  size_t size;
} entry;

#define RECORD(record) \
  { #record, NULL, 0, sizeof(struct record) }
#define FIELD(record, field) \
  { #record, #field, offsetof(struct record, field), sizeof(((struct record *)NULL)->field) }

static const entry kEntries[] = {
    /* clang-format off */
    RECORD(cli_node_set),
    FIELD(cli_node_set, root),
    RECORD(cli_node_list),
    FIELD(cli_node_list, first), FIELD(cli_node_list, last_link),
    RECORD(cli_node_subconfig),
    FIELD(cli_node_subconfig, handler), FIELD(cli_node_subconfig, choices), FIELD(cli_node_subconfig, args),
    FIELD(cli_node_subconfig, prompt), FIELD(cli_node_subconfig, stack_link.next),
    FIELD(cli_node_subconfig, stack_link.prev_link), FIELD(cli_node_subconfig, tokens),
    RECORD(cli_node_word),
    FIELD(cli_node_word, choices), FIELD(cli_node_word, link), FIELD(cli_node_word, args),
    RECORD(cli_node_key),
    FIELD(cli_node_key, args), FIELD(cli_node_key, required),
    RECORD(cli_node_container),
    FIELD(cli_node_container, args), FIELD(cli_node_container, required), FIELD(cli_node_container, mode),
    RECORD(cli_node_value_part),
    FIELD(cli_node_value_part, validator), FIELD(cli_node_value_part, required), FIELD(cli_node_value_part, repeat),
    FIELD(cli_node_value_part, value),
    RECORD(cli_node_alias),
    FIELD(cli_node_alias, alias), FIELD(cli_node_alias, alias_tokens),
    RECORD(cli_node),
    FIELD(cli_node, type), FIELD(cli_node, definition), FIELD(cli_node, parent), FIELD(cli_node, help),
    FIELD(cli_node, name), FIELD(cli_node, mode_prompt), FIELD(cli_node, name_len), FIELD(cli_node, privilege),
    FIELD(cli_node, subconfig), FIELD(cli_node, word), FIELD(cli_node, key), FIELD(cli_node, container),
    FIELD(cli_node, value), FIELD(cli_node, alias), FIELD(cli_node, choice_link.left),
    FIELD(cli_node, choice_link.right), FIELD(cli_node, choice_link.parent), FIELD(cli_node, choice_link.colour),
    FIELD(cli_node, arg_link), FIELD(cli_node, completed), FIELD(cli_node, used), FIELD(cli_node, token),
    FIELD(cli_node, internal),
    RECORD(cli),
    FIELD(cli, initialized), FIELD(cli, prompt_host), FIELD(cli, prompt_mode), FIELD(cli, prompt_name),
    FIELD(cli, prompt_end), FIELD(cli, prompt_text), FIELD(cli, context), FIELD(cli, level), FIELD(cli, tokenizer),
    FIELD(cli, parser), FIELD(cli, pager), FIELD(cli, root), FIELD(cli, current), FIELD(cli, mode_stack),
    FIELD(cli, exit_handler), FIELD(cli, end_handler), FIELD(cli, handlers), FIELD(cli, write), FIELD(cli, write_data),
    FIELD(cli, complete), FIELD(cli, flags), FIELD(cli, internal),
    RECORD(cli_handler_entry),
    FIELD(cli_handler_entry, name), FIELD(cli_handler_entry, handler),
    RECORD(token_list),
    FIELD(token_list, first), FIELD(token_list, last_link),
    RECORD(token),
    FIELD(token, text), FIELD(token, len), FIELD(token, cursor), FIELD(token, node), FIELD(token, tokenizer),
    FIELD(token, next),
    RECORD(tokenizer),
    FIELD(tokenizer, buffer), FIELD(tokenizer, capacity), FIELD(tokenizer, cursor_token),
    FIELD(tokenizer, stop_at_cursor), FIELD(tokenizer, pool), FIELD(tokenizer, tokens),
    RECORD(validator_defaults),
    FIELD(validator_defaults, flags), FIELD(validator_defaults, min_length), FIELD(validator_defaults, max_length),
    FIELD(validator_defaults, min_inclusive), FIELD(validator_defaults, max_inclusive),
    FIELD(validator_defaults, base), FIELD(validator_defaults, width), FIELD(validator_defaults, enum_array),
    RECORD(validator_type),
    FIELD(validator_type, basetype), FIELD(validator_type, name), FIELD(validator_type, defaults),
    FIELD(validator_type, match_fn.text), FIELD(validator_type, match_fn.number), FIELD(validator_type, value_fn),
    RECORD(validator),
    FIELD(validator, type), FIELD(validator, flags), FIELD(validator, min_length), FIELD(validator, max_length),
    FIELD(validator, min_inclusive), FIELD(validator, max_inclusive), FIELD(validator, base), FIELD(validator, width),
    FIELD(validator, enum_array),
    RECORD(parser_error),
    FIELD(parser_error, line), FIELD(parser_error, errcode), FIELD(parser_error, token), FIELD(parser_error, node),
    RECORD(parser),
    FIELD(parser, root), FIELD(parser, collect), FIELD(parser, privilege), FIELD(parser, error),
    FIELD(parser, current_token), FIELD(parser, last_node), FIELD(parser, current_node), FIELD(parser, next_choice),
    FIELD(parser, required_candidate), FIELD(parser, candidates), FIELD(parser, internal),
    RECORD(pager_line_entry),
    FIELD(pager_line_entry, text), FIELD(pager_line_entry, next),
    RECORD(pager_line_list),
    FIELD(pager_line_list, first), FIELD(pager_line_list, last_link),
    RECORD(pager),
    FIELD(pager, window), FIELD(pager, indent), FIELD(pager, cur_line), FIELD(pager, lines), FIELD(pager, spare),
    FIELD(pager, internal),
    RECORD(cell_attr),
    FIELD(cell_attr, attr), FIELD(cell_attr, halign), FIELD(cell_attr, valign),
    RECORD(content_line),
    FIELD(content_line, text), FIELD(content_line, len), FIELD(content_line, next),
    RECORD(content_line_list),
    FIELD(content_line_list, first), FIELD(content_line_list, last_link),
    RECORD(content),
    FIELD(content, width), FIELD(content, nlines), FIELD(content, lines), FIELD(content, attr),
    FIELD(content, halign), FIELD(content, valign),
    RECORD(table_style),
    FIELD(table_style, col_sep), FIELD(table_style, row_sep), FIELD(table_style, label_sep),
    FIELD(table_style, header_sep), FIELD(table_style, cross), FIELD(table_style, label_header_cross),
    FIELD(table_style, label_cross), FIELD(table_style, header_cross), FIELD(table_style, border_side),
    FIELD(table_style, border_line), FIELD(table_style, corner_top_left), FIELD(table_style, corner_top_right),
    FIELD(table_style, corner_bottom_left), FIELD(table_style, corner_bottom_right),
    FIELD(table_style, side_row_left), FIELD(table_style, side_row_right), FIELD(table_style, line_col_top),
    FIELD(table_style, line_col_bottom), FIELD(table_style, side_header_left), FIELD(table_style, side_header_right),
    FIELD(table_style, line_label_top), FIELD(table_style, line_label_bottom), FIELD(table_style, pad_left),
    FIELD(table_style, pad_right), FIELD(table_style, flags), FIELD(table_style, show_total),
    FIELD(table_style, hide_empty),
    RECORD(table),
    FIELD(table, cells), FIELD(table, row_index), FIELD(table, ncols), FIELD(table, nrows), FIELD(table, style),
    FIELD(table, col_width), FIELD(table, row_height), FIELD(table, col_hidden), FIELD(table, header_height),
    FIELD(table, label_width),
    RECORD(table_group_entry),
    FIELD(table_group_entry, table), FIELD(table_group_entry, title),
    RECORD(table_group),
    FIELD(table_group, entries), FIELD(table_group, col_width), FIELD(table_group, row_height),
    FIELD(table_group, header_height), FIELD(table_group, label_width), FIELD(table_group, ncols),
    FIELD(table_group, nrows),
    /* clang-format on */
};

static void describe(const entry *e, char *out, size_t size) {
  if (e->field == NULL) {
    snprintf(out, size, "%s %zu\n", e->record, e->size);
  } else {
    snprintf(out, size, "  %s %zu %zu\n", e->field, e->offset, e->size);
  }
}

int main(int argc, char **argv) {
  FILE *list = argc > 1 ? fopen(argv[1], "r") : NULL;
  int faults = 0;
  char here[256];
  char listed[256];
  if (argc > 1 && list == NULL) {
    perror(argv[1]);
    return 2;
  }
  for (size_t i = 0; i < sizeof kEntries / sizeof kEntries[0]; i++) {
    describe(&kEntries[i], here, sizeof here);
    if (list == NULL) {
      fputs(here, stdout);
      continue;
    }
    if (fgets(listed, sizeof listed, list) == NULL) {
      strcpy(listed, "(the end)\n");
    }
    if (strcmp(here, listed) != 0) {
      printf("%s: here    %s%*s  listed  %s", kEntries[i].record, here, (int)strlen(kEntries[i].record), "", listed);
      faults++;
    }
  }
  if (list != NULL && fgets(listed, sizeof listed, list) != NULL) {
    printf("only listed: %s", listed);
    faults++;
  }
  return faults == 0 ? 0 : 1;
}
