#include "replay.hpp"

#include <string_view>

#include "router.hpp"

namespace router {

namespace {

// What the engine prints goes nowhere while this lives: the echo of a line is for those who type.
class SilentOutput {
 public:
  explicit SilentOutput(cli *engine) : engine_(engine), write_(engine->write) {
    engine->write = [](void *, const char *, size_t) { return 0; };
  }
  ~SilentOutput() { engine_->write = write_; }
  SilentOutput(const SilentOutput &) = delete;
  SilentOutput &operator=(const SilentOutput &) = delete;

 private:
  cli *engine_;
  cli_write write_;
};

class FullPrivilege {
 public:
  explicit FullPrivilege(cli *engine) : engine_(engine), level_(parser_get_privilege(&engine->parser)) {
    parser_set_privilege(&engine_->parser, kFullLevel);
  }
  ~FullPrivilege() { parser_set_privilege(&engine_->parser, level_); }
  FullPrivilege(const FullPrivilege &) = delete;
  FullPrivilege &operator=(const FullPrivilege &) = delete;

 private:
  cli *engine_;
  int level_;
};

const char *message_of(int code) {
  switch (code) {
    case E_INVALID_ARGUMENT:
      return "Invalid argument";
    case E_AMBIGUOUS:
      return "Ambiguous input";
    case E_EXTRA_INPUT:
      return "Unknown word";
    default:
      return "Incomplete command";
  }
}

std::string reason_of(const cli_outcome &outcome, std::string_view line) {
  if (outcome.column + outcome.length > line.size()) return "A zero byte inside the line";
  const std::string message = message_of(outcome.errcode);
  if (outcome.length == 0) return message;
  return message + " at '" + std::string(line.substr(outcome.column, outcome.length)) + "'";
}

// What is wrong with a line, or "".
std::string fault_of(const cli_outcome &outcome, std::string_view line, const std::string &refusal) {
  switch (outcome.kind) {
    case CLI_SKIPPED:
      if (outcome.interrupted != 0) return "Left out after an interrupt";
      return outcome.errcode == E_OK && outcome.node == nullptr ? "" : "Left out with the line that it belongs to";
    case CLI_LISTED:
      return message_of(E_INCOMPLETE);
    case CLI_REFUSED:
      return refusal.empty() ? "Not a configuration command" : refusal;
    case CLI_FAILED:
      return reason_of(outcome, line);
    default:
      return refusal;
  }
}

struct Report {
  cli *engine;
  const std::string &name;
  int faults = 0;
};

void report_line(void *data, size_t number, const char *line, const cli_outcome *outcome) {
  Report &told = *static_cast<Report *>(data);
  std::string &refusal = router_of(told.engine).refusal;
  const std::string fault = fault_of(*outcome, line, refusal);
  refusal.clear();
  if (fault.empty()) return;
  report(told.name + ':' + std::to_string(number) + ": " + fault);
  ++told.faults;
}

}  // namespace

int replay(cli *engine, const std::string &name, const std::string &content) {
  const SilentOutput silence(engine);
  const FullPrivilege privilege(engine);
  Report told{engine, name};
  cli_outcome entered;
  cli_run(engine, "configure terminal", 0, &entered);
  if (entered.kind != CLI_ENTERED) {
    report(name + ": The configuration mode cannot be entered");
    return 1;
  }
  cli_replay(engine, content.data(), content.size(), CLI_STAY, report_line, &told);
  cli_reset_subconfig(engine);
  return told.faults;
}

}  // namespace router
