// The session: privilege levels, logging in, the terminal, and what is saved and read again.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cli_shell/plugin.h"
#include "replay.hpp"
#include "router.hpp"
#include "storage.hpp"

#pragma weak cli_shell_ask  // other hosts of these handlers have nobody to ask

namespace {

using router::Entry;
using router::refuse;
using router::router_of;
using router::say;

constexpr int kNotDone = 1;

enum class Passage { kFree, kBarred, kLeft };  // left: the user took the question back, and nothing is to be said

// With the password of the line or, at the prompt, the one that is typed when asked for.
Passage passage(cli *engine, cli_node *command, const Entry &lock) {
  if (lock.has("nopassword")) return Passage::kFree;
  const std::string hash = lock.text("secret-hash");
  const auto matches = [&](const char *secret) {
    return router::secret_matches(secret, hash) ? Passage::kFree : Passage::kBarred;
  };
  if (router::given(command, "password")) return matches(router::text_argument(command, "secret").c_str());
  char typed[256] = "";
  const bool asks = cli_shell_ask != nullptr;
  if (asks && cli_shell_ask(engine, "Password: ", 0, typed, sizeof typed) == CLI_SHELL_CANCELLED) return Passage::kLeft;
  const Passage result = matches(typed);
  explicit_bzero(typed, sizeof typed);
  return result;
}

void set_level(cli *engine, int64_t level) {
  parser_set_privilege(&engine->parser, static_cast<int>(level));
  router::renew_prompt(engine);
}

std::string joined(const std::vector<std::string> &lines) {
  std::string text;
  for (const std::string &line : lines) text += line + '\n';
  return text;
}

int report(cli *engine, const std::string &wrong, const std::string &done) {
  if (!wrong.empty()) return refuse(engine, "%s", wrong.c_str());
  say(engine, "%s", done.c_str());
  return 0;
}

int save_running(cli *engine, const std::string &path) {
  const std::vector<std::string> lines = router::script(router_of(engine).configuration);
  return report(engine, router::write_whole(path, joined(lines)), "Saved to " + path);
}

int copy_file(cli *engine, const std::string &from, const std::string &to) {
  std::string content;
  std::string wrong = router::read_whole(from, content);
  if (wrong.empty()) wrong = router::write_whole(to, content);
  return report(engine, wrong, "Saved to " + to);
}

// Whether a startup configuration that was not read whole would be lost; that is said.
bool keeps_startup(cli *engine) {
  if (!router_of(engine).incomplete) return false;
  refuse(engine, "The startup configuration was not read whole; \"erase startup-config\" gives it up");
  return true;
}

std::string named_path(cli_node *command) {
  return router::saved_path(router::text_argument(command, "file-name"));
}

}  // namespace

ROUTER_HANDLER router_enable(cli *engine, cli_node *command) {
  const int64_t level = router::number_argument(command, "level", router::kFullLevel);
  const Entry *lock = router_of(engine).configuration.find("enable secret");
  const bool raises = level > parser_get_privilege(&engine->parser);
  if (raises && lock == nullptr && router_of(engine).incomplete) {
    return refuse(engine, "The startup configuration was not read whole, and its password is not known");
  }
  const Passage way = raises && lock != nullptr ? passage(engine, command, *lock) : Passage::kFree;
  if (way == Passage::kBarred) return refuse(engine, "Wrong password");
  if (way == Passage::kLeft) return kNotDone;
  if (raises && lock != nullptr) router_of(engine).incomplete = false;
  set_level(engine, level);
  return 0;
}

ROUTER_HANDLER router_disable(cli *engine, cli_node *command) {
  const int64_t level = router::number_argument(command, "level", router::kUserLevel);
  if (level > parser_get_privilege(&engine->parser)) {
    return refuse(engine, "Use \"enable\" to raise the level");
  }
  set_level(engine, level);
  return 0;
}

ROUTER_HANDLER router_login(cli *engine, cli_node *command) {
  const std::string name = router::text_argument(command, "user-name");
  const std::vector<const Entry *> users = router_of(engine).configuration.all("username");
  const auto user =
      std::find_if(users.begin(), users.end(), [&](const Entry *e) { return e->text("user-name") == name; });
  const Passage way = user == users.end() ? Passage::kBarred : passage(engine, command, **user);
  if (way == Passage::kBarred) return refuse(engine, "Wrong name or password");
  if (way == Passage::kLeft) return kNotDone;
  router_of(engine).user = name;
  const std::string level = (*user)->text("level");
  set_level(engine, level.empty() ? router::kUserLevel : std::atoi(level.c_str()));
  return 0;
}

ROUTER_HANDLER router_terminal_length(cli *engine, cli_node *command) {
  router_of(engine).lines = static_cast<int>(router::number_argument(command, "lines", 0));
  pager_set_window(&engine->pager, router_of(engine).lines, -1);
  return 0;
}

ROUTER_HANDLER router_save_startup(cli *engine, cli_node * /*command*/) {
  if (keeps_startup(engine)) return 1;
  return save_running(engine, router::startup_path());
}

ROUTER_HANDLER router_save_file(cli *engine, cli_node *command) {
  return save_running(engine, named_path(command));
}

ROUTER_HANDLER router_backup_startup(cli *engine, cli_node *command) {
  return copy_file(engine, router::startup_path(), named_path(command));
}

ROUTER_HANDLER router_restore_file(cli *engine, cli_node *command) {
  if (keeps_startup(engine)) return 1;
  return copy_file(engine, named_path(command), router::startup_path());
}

ROUTER_HANDLER router_erase_startup(cli *engine, cli_node * /*command*/) {
  const std::string wrong = router::remove_file(router::startup_path());
  if (wrong.empty()) router_of(engine).incomplete = false;
  return report(engine, wrong, "Erased " + router::startup_path());
}

ROUTER_HANDLER router_erase_file(cli *engine, cli_node *command) {
  return report(engine, router::remove_file(named_path(command)), "Erased " + named_path(command));
}

void cli_shell_start(cli *engine) {
  router::renew_prompt(engine);
  const std::string path = router::startup_path();
  if (path.empty() || (access(path.c_str(), F_OK) != 0 && errno == ENOENT)) return;
  std::string content;
  const std::string wrong = router::read_whole(path, content);
  if (!wrong.empty()) {
    router::report(wrong);
    router_of(engine).incomplete = true;
    if (parser_get_privilege(&engine->parser) > router::kUserLevel) set_level(engine, router::kUserLevel);
    return;
  }
  router_of(engine).incomplete = router::replay(engine, path, content) > 0;
  router::renew_prompt(engine);
}

void cli_shell_stop(cli *engine) {
  router::release_router(engine);
}
