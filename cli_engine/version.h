/* The library's version. The build system reads it from here. */
#ifndef CLI_ENGINE_VERSION_H
#define CLI_ENGINE_VERSION_H

#include <stddef.h>

#include "libglobal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The version of the headers that a host is compiled with. */
#define CLI_ENGINE_VERSION_MAJOR 0
#define CLI_ENGINE_VERSION_MINOR 2 /* raised when something is added */
#define CLI_ENGINE_VERSION_PATCH 0 /* raised when something is mended */

/* The same as text. */
#define CLI_ENGINE_VERSION "0.2.0"

/* Raised whenever a record that hosts share with the library changes; the SONAME follows it. */
#define CLI_ENGINE_LAYOUT 0

/* The version of the library that the process runs with, as "MAJOR.MINOR.PATCH"; valid for ever. */
CLI_API const char *cli_engine_version(void);

/* Ends the process through the assertion report when the host was compiled for another layout of the records than the
 * library's: its CLI_ENGINE_LAYOUT, and the size that it gives the engine record. cli_init and cli_init_language do
 * this by themselves in every host that is compiled with cli_engine.h. */
CLI_API void cli_engine_check_layout(unsigned layout, size_t record_size);

#ifdef __cplusplus
}
#endif

#endif
