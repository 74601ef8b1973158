// A host whose handlers look at what the line gave, and that checks the engine after every call.
#ifndef FUZZ_HOST_HPP
#define FUZZ_HOST_HPP

#include <string>

#include "cli_engine/cli_engine.h"

extern "C" {
CLI_API int fuzz_run(cli *engine, cli_node *node);
CLI_API int fuzz_refuse(cli *engine, cli_node *node);
CLI_API int fuzz_leave(cli *engine, cli_node *node);
}

namespace fuzz {

// What a user or a host does; most of it is executing lines.
enum Action { kHelp = 10, kComplete, kPrivilege, kLeave, kLeaveAll, kCondition, kActions };

class Host {
 public:
  Host(json_t *definitions, json_t *privileges);
  explicit Host(cli_language *language);
  Host(const Host &) = delete;
  Host &operator=(const Host &) = delete;
  ~Host();

  void reload(json_t *definitions, json_t *privileges);
  void act(int action, const std::string &text);

  // From here on nothing is checked: for long sessions of lines that were checked before.
  void stop_checking() { engine_.context = this; }

  [[nodiscard]] const cli &engine() const { return engine_; }

 private:
  void check();

  validator_typesystem *types_ = validator_typesystem_new();
  cli engine_{};
};

// Standard output is not looked at: it goes nowhere from here on.
void lose_output();

// Exchanges the handlers that a document names for one of ours.
void take_over_handlers(json_t *definitions);

}  // namespace fuzz

#endif
