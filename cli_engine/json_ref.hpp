// References to JSON values, and reading members of objects. A JSON null counts as present.
#ifndef CLI_ENGINE_JSON_REF_HPP
#define CLI_ENGINE_JSON_REF_HPP

#include <jansson.h>

#include <memory>

namespace cli_engine {

struct JsonRelease {
  void operator()(json_t *value) const { json_decref(value); }
};
using JsonRef = std::unique_ptr<json_t, JsonRelease>;  // owns one reference

// A text that jansson allocated.
struct JsonTextRelease {
  void operator()(char *text) const {
    json_free_t release = nullptr;
    json_get_alloc_funcs(nullptr, &release);
    release(text);
  }
};
using JsonText = std::unique_ptr<char, JsonTextRelease>;

// The text of a string member, or null when it is absent or of another type.
inline const char *string_member(const json_t *object, const char *key) {
  return json_string_value(json_object_get(object, key));
}

inline bool true_member(const json_t *object, const char *key) {
  return json_is_true(json_object_get(object, key));
}

}  // namespace cli_engine

#endif
