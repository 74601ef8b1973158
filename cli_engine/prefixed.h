/* The engine beside headers that take the names of its error codes: here they are CLI_E_OK and so on, and what the
 * other header made of E_OK stays. Include this in place of cli_engine.h, before every other header of the library. */
#ifndef CLI_ENGINE_PREFIXED_H
#define CLI_ENGINE_PREFIXED_H

#ifdef CLI_ENGINE_PARSER_H
#error "include cli_engine/prefixed.h before the other headers of the library"
#endif

#pragma push_macro("E_OK")
#undef E_OK
#define E_OK CLI_E_OK
#pragma push_macro("E_INVALID_ARGUMENT")
#undef E_INVALID_ARGUMENT
#define E_INVALID_ARGUMENT CLI_E_INVALID_ARGUMENT
#pragma push_macro("E_AMBIGUOUS")
#undef E_AMBIGUOUS
#define E_AMBIGUOUS CLI_E_AMBIGUOUS
#pragma push_macro("E_EXTRA_INPUT")
#undef E_EXTRA_INPUT
#define E_EXTRA_INPUT CLI_E_EXTRA_INPUT
#pragma push_macro("E_INCOMPLETE")
#undef E_INCOMPLETE
#define E_INCOMPLETE CLI_E_INCOMPLETE

#include "cli_engine/cli_engine.h"

#undef E_OK
#pragma pop_macro("E_OK")
#undef E_INVALID_ARGUMENT
#pragma pop_macro("E_INVALID_ARGUMENT")
#undef E_AMBIGUOUS
#pragma pop_macro("E_AMBIGUOUS")
#undef E_EXTRA_INPUT
#pragma pop_macro("E_EXTRA_INPUT")
#undef E_INCOMPLETE
#pragma pop_macro("E_INCOMPLETE")

#endif
