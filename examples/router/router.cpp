#include "router.hpp"

#include <crypt.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>

namespace router {

namespace {

std::string format_text(const char *format, va_list arguments) {
  const std::unique_ptr<DynString, void (*)(DynString *)> text(dyn_string_new(), dyn_string_free);
  dyn_string_vappendf(text.get(), format, arguments);
  return dyn_string_text(text.get());
}

void feed_line(cli *engine, const std::string &text) {
  pager_feed(&engine->pager, text.c_str());
  pager_newline(&engine->pager);
}

}  // namespace

Router &router_of(cli *engine) {
  if (engine->context == nullptr) {
    engine->context = new Router{.prompt = {engine->prompt_host, engine->prompt_name, engine->prompt_end}};
  }
  return *static_cast<Router *>(engine->context);
}

void release_router(cli *engine) {
  delete static_cast<Router *>(engine->context);
  engine->context = nullptr;
}

void say(cli *engine, const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  feed_line(engine, format_text(format, arguments));
  va_end(arguments);
}

int refuse(cli *engine, const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  router_of(engine).refusal = format_text(format, arguments);
  va_end(arguments);
  feed_line(engine, "% " + router_of(engine).refusal);
  return 1;
}

void report(const std::string &line) {
  std::string shown;
  for (const char c : line) {
    char digits[8] = {c};
    if (static_cast<unsigned char>(c) < ' ' || static_cast<unsigned char>(c) > '~')
      std::snprintf(digits, sizeof digits, "\\x%02x", static_cast<unsigned char>(c));
    shown += digits;
  }
  std::fprintf(stderr, "%s\n", shown.c_str());
}

std::string hash_secret(const std::string &secret) {
  crypt_data data{};
  char salt[CRYPT_GENSALT_OUTPUT_SIZE] = "";
  if (crypt_gensalt_rn("$6$", 0, nullptr, 0, salt, sizeof salt) == nullptr) return {};
  const char *hash = crypt_rn(secret.c_str(), salt, &data, sizeof data);
  return hash == nullptr ? "" : hash;
}

bool secret_matches(const char *secret, const std::string &hash) {
  crypt_data data{};
  const char *again = crypt_rn(secret, hash.c_str(), &data, sizeof data);
  const bool matching = again != nullptr && hash == again;
  explicit_bzero(&data, sizeof data);
  return matching;
}

void renew_prompt(cli *engine) {
  const Router &router = router_of(engine);
  const Entry *host = router.configuration.find("hostname");
  const bool full = parser_get_privilege(&engine->parser) >= kFullLevel;
  cli_set_prompt(engine, host != nullptr ? host->text("host-name").c_str() : router.prompt.host.c_str(),
                 host != nullptr ? "" : router.prompt.name.c_str(), nullptr, full ? '#' : router.prompt.end);
}

}  // namespace router
