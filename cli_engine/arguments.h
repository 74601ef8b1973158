/* Reading the arguments of a line by their paths, without a JSON value between.
 *
 * A path is one of cli_node_find: names below a node, separated by blanks ("interface vlan id"); what an enclosing
 * mode's line gave is read from the root. Each function answers for what the last line matched, in its handler and
 * until the next line. Hosts include cli_engine/cli_engine.h, which includes this. */
#ifndef CLI_ENGINE_ARGUMENTS_H
#define CLI_ENGINE_ARGUMENTS_H

#include <stdint.h>

#include "cli_engine/node.h"
#include "libglobal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* 1 when the line gave what the path names, be it a word, a keyword, a group or a value, else 0; 0 too for a null node
 * or path. */
CLI_API int cli_arg_given(cli_node *node, const char *path);

/* The functions below read a value. They return 0, or -1 with nothing changed when it was not given, when the path
 * names no value or one of another kind, and when the node, the path or the place of the result is null. */

/* The text of a value of any type: as typed, quotes and backslashes removed, or, where an entry of an enumeration was
 * abbreviated, that entry in full. Borrowed until the next line (of a mode's line: until the mode is left). */
CLI_API int cli_arg_text(cli_node *node, const char *path, const char **out);

/* The number of a value of base type int or unsignedInt. A type with a converter of the host's own is read through it:
 * any type that it makes an integer of. */
CLI_API int cli_arg_int(cli_node *node, const char *path, int64_t *out);

/* The address of a value of an IPv4 or IPv6 type, or of a text type of the host's own when the text has the notation of
 * an address or prefix. *family is AF_INET or AF_INET6; the address stands in network order at the front of `bytes`, of
 * which an IPv4 address takes four and leaves the others 0; *prefix_len is what the text says behind its "/", 32 or 128
 * when it says nothing. The address is not masked. family and prefix_len may be null. */
CLI_API int cli_arg_address(cli_node *node, const char *path, int *family, uint8_t bytes[16], unsigned *prefix_len);

/* The six bytes of a value of type MACAddress, or of a text type of the host's own when the text has its notation. */
CLI_API int cli_arg_mac(cli_node *node, const char *path, uint8_t bytes[6]);

#ifdef __cplusplus
}
#endif

#endif
