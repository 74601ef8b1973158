/* What a public header needs to declare an exported name. */
#ifndef LIBGLOBAL_EXPORT_H
#define LIBGLOBAL_EXPORT_H

/* A name that the shared library exports. */
#define CLI_API __attribute__((visibility("default")))

/* A function whose arguments are checked against its format, as those of printf. */
#if defined(__clang__)
#define CLI_PRINTF(format_index, first_argument) __attribute__((format(printf, format_index, first_argument)))
#else
#define CLI_PRINTF(format_index, first_argument) __attribute__((format(gnu_printf, format_index, first_argument)))
#endif

#endif
