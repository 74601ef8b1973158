/* What is wrong with a document, told to a host. */
#ifndef CLI_ENGINE_LANGUAGE_H
#define CLI_ENGINE_LANGUAGE_H

#include <stdint.h>

#include "cli_engine/node.h"

#ifdef __cplusplus
extern "C" {
#endif

/* How grave a fault is. */
enum {
  CLI_ERROR = 0,   /* the documents cannot be loaded */
  CLI_WARNING = 1, /* they load, but cannot be meant so */
  CLI_NOTE = 2     /* worth knowing */
};

/* What is wrong with a document, and where. All texts are borrowed for the call of the report. */
typedef struct cli_fault {
  int32_t severity;      /* CLI_ERROR, CLI_WARNING, CLI_NOTE; loading reports errors */
  const char *file;      /* as given, or null for documents handed over as JSON */
  uint32_t line, column; /* 1-based, in bytes; 0 when unknown */
  const char *path; /* the keys down to the place: "configure terminal / interface / #args[0]"; "" for the document */
  const char *rule; /* a stable name: "unknown-type" */
  const char *text; /* one sentence that names the definition and says how to mend it */
} cli_fault;

/* Takes one fault. It must not use the language that is being loaded. */
typedef void (*cli_report)(void *data, const cli_fault *fault);

#ifdef __cplusplus
}
#endif

#endif
