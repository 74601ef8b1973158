/* Value types, and the validator that every typed argument carries.
 *
 * A registry maps the names that "#type" may give to type descriptors. It starts with thirteen built-in types; a host
 * may add its own. A validator is made from one argument declaration: its type, the facets ("#min_inclusive", "#enum"
 * and so on), and the checks that follow from them. */
#ifndef CLI_ENGINE_VALIDATOR_H
#define CLI_ENGINE_VALIDATOR_H

#include <jansson.h>
#include <stddef.h>
#include <stdint.h>

#include "libglobal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct validator validator;
typedef struct validator_type validator_type;
typedef struct validator_defaults validator_defaults;
typedef struct validator_typesystem validator_typesystem; /* opaque: the registry */

/* What a type's tokens are; decides the facets, the conversion before a check and the JSON value. */
enum {
  BASETYPE_STRING = 0, /* text; "#min_length", "#max_length", "#enum" */
  BASETYPE_INT = 1,    /* signed 32-bit; "#min_inclusive", "#max_inclusive", "#width", "#base", "#enum" */
  BASETYPE_UINT = 2    /* unsigned 32-bit; the same */
};

/* What a matcher answers. */
enum {
  MATCH_NONE = -1,      /* not a value, whatever follows */
  MATCH_INCOMPLETE = 0, /* not a value yet */
  MATCH_COMPLETE = 1    /* a value */
};

/* Bits of `flags`. */
enum {
  VALIDATOR_BOUNDED = 1, /* the bounds are in force */
  VALIDATOR_ENUM = 2     /* enum_array holds an enumeration */
};

/* The matcher of a type of BASETYPE_STRING: is `text`, of len bytes and NUL-terminated behind them, a value? Called
 * after the bounds and the enumeration were satisfied. */
typedef int (*validator_match_text)(const validator *v, const char *text, size_t len);

/* The matcher of a type of BASETYPE_INT or BASETYPE_UINT: is the converted number a value? */
typedef int (*validator_match_number)(const validator *v, int64_t value);

/* The converter of a type: a new reference to the JSON value of a matched text, or null to let the base type's
 * conversion run. */
typedef json_t *(*validator_value_fn)(const validator *v, const char *text, size_t len);

/* A type's default facets: the fields of `validator` after its `type`, by the same names. */
struct validator_defaults {
  uint32_t flags; /* VALIDATOR_... */
  __extension__ union {
    __extension__ struct {
      uint32_t min_length;
      uint32_t max_length;
    };
    __extension__ struct {
      int64_t min_inclusive;
      int64_t max_inclusive;
      int32_t base;
      uint32_t width;
    };
  };
  json_t *enum_array; /* borrowed */
};

/* A value type. The built-in ones are constant data of the library; one that a host adds stays the host's, and must
 * stay valid as long as the registry and every tree loaded with it. */
struct validator_type {
  int32_t basetype;            /* BASETYPE_... */
  const char *name;            /* the "#type" that selects it; case matters */
  validator_defaults defaults; /* taken over by each argument that declares no bound of its own; an enum_array must
                                  go with VALIDATOR_ENUM, validators take references of their own */
  union {
    validator_match_text text;     /* for BASETYPE_STRING */
    validator_match_number number; /* for the other two */
  } match_fn;                      /* null: no check beyond the base type's and the facets' */
  validator_value_fn value_fn;     /* null: the base type's conversion */
};

/* What one typed argument accepts: its type and facets. Lives inside its node. */
struct validator {
  const validator_type *type; /* borrowed from the registry; null after a failed validator_open */
  uint32_t flags;             /* VALIDATOR_... */
  __extension__ union {
    __extension__ struct {
      uint32_t min_length; /* bytes */
      uint32_t max_length; /* bytes; UINT32_MAX for no limit */
    };
    __extension__ struct {
      int64_t min_inclusive;
      int64_t max_inclusive;
      int32_t base;   /* 10, 16, or 0: by the token's own prefix */
      uint32_t width; /* digits with which the bounds are shown, at the least */
    };
  };
  json_t *enum_array; /* a reference of the validator's own while VALIDATOR_ENUM is set */
};

/* A new registry with the built-in types, owned by the caller. It must outlive every tree loaded with it. */
CLI_API validator_typesystem *validator_typesystem_new(void);

/* Registers a type, which is borrowed, under its name; always 0. A name that is registered already stays as it is. */
CLI_API int validator_typesystem_add_custom_type(validator_typesystem *types, const validator_type *type);

/* Releases the registry, not the types; a null pointer is harmless. */
CLI_API void validator_typesystem_free(validator_typesystem *types);

/* Builds a validator from an argument declaration. 0, or -1 and a zero-filled validator when "#type" names no
 * registered type. Facets that contradict each other end the process through the assertion report. */
CLI_API int validator_open(validator_typesystem *types, validator *v, json_t *declaration);

/* Drops the reference that an enumeration holds. */
CLI_API void validator_close(validator *v);

/* BASETYPE_... of the validator's type. */
CLI_API int validator_get_basetype(const validator *v);

/* 1 when the text is a value, else 0. The text has len bytes and a NUL behind them. */
CLI_API int validator_match(const validator *v, const char *text, size_t len);

/* 1 when the text is a value or may still become one, else 0. */
CLI_API int validator_match_partial(const validator *v, const char *text, size_t len);

#ifdef __cplusplus
}
#endif

#endif
