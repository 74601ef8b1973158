// The state of the example behind one engine, and what all handlers share.
#ifndef EXAMPLES_ROUTER_ROUTER_HPP
#define EXAMPLES_ROUTER_ROUTER_HPP

#include <map>
#include <string>

#include "cli_engine/cli_engine.h"
#include "configuration.hpp"
#include "machine.hpp"

// A function that router.json names as "#handler".
#define ROUTER_HANDLER extern "C" CLI_API int

namespace router {

constexpr int kUserLevel = 1;
constexpr int kFullLevel = 15;

struct Prompt {
  std::string host;
  std::string name;
  char end;
};

struct Router {
  Entry configuration{};
  std::string refusal{};                               // why the present line was refused; "" when it was not
  std::map<std::string, machine::Counters> cleared{};  // counters of the interfaces at "clear counters"
  Prompt prompt;                                       // as the host preset it
  std::string user{};                                  // who logged in, or ""
  int lines = 24;                                      // "terminal length"
  // The saved configuration was not applied whole, so that its passwords may be missing: no level is raised without one
  // and nothing is saved over it, until its password was given or it was erased.
  bool incomplete = false;
};

// The state hangs from the engine's context; it is made when it is first asked for.
Router &router_of(cli *engine);
void release_router(cli *engine);

// Ends the present line of output with a text, as printf would write it.
void say(cli *engine, const char *format, ...) CLI_PRINTF(2, 3);

// The same for a command that cannot be done; what it says is kept, so that a replay can report it. 1, which is the
// result of its handler.
int refuse(cli *engine, const char *format, ...) CLI_PRINTF(2, 3);

// A line on standard error, which may be a terminal: every byte that could drive it is shown as \xNN.
void report(const std::string &line);

// The secret that an entry keeps as a hash.
std::string hash_secret(const std::string &secret);
bool secret_matches(const char *secret, const std::string &hash);

// Puts the configured host name, or what the host preset, into the prompt; "#" marks the full level.
void renew_prompt(cli *engine);

}  // namespace router

#endif
