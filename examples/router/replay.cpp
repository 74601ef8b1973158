#include "replay.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "router.hpp"

namespace router {

namespace {

// Standard output goes nowhere while this lives: the echo of a line is for those who type.
class SilentOutput {
 public:
  SilentOutput() : kept_((std::fflush(stdout), fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0))) {
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0) return;
    dup2(nowhere, STDOUT_FILENO);
    close(nowhere);
  }
  ~SilentOutput() {
    std::fflush(stdout);
    if (kept_ < 0) return;
    dup2(kept_, STDOUT_FILENO);
    close(kept_);
  }
  SilentOutput(const SilentOutput &) = delete;
  SilentOutput &operator=(const SilentOutput &) = delete;

 private:
  int kept_;
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

std::string reason_of(const parser_error &error) {
  const std::string message = message_of(error.errcode);
  return error.token == nullptr ? message : message + " at '" + error.token->text + "'";
}

bool belongs_to_configuration(const cli_node *node) {
  while (node->parent != nullptr && node->parent->parent != nullptr) node = node->parent;
  return node->name != nullptr && std::string_view(node->name) == "configure";
}

// Executes one line, unless what it selects has no place in a configuration. Returns "" or what is wrong with it.
std::string execute(cli *engine, const std::string &line) {
  if (line.find('\0') != std::string::npos) return "A zero byte inside the line";
  tokenizer_run(&engine->tokenizer, line.c_str(), -1);
  parser_set_root(&engine->parser, engine->current);
  const cli_node *selected = parser_run(&engine->parser, &engine->tokenizer, nullptr);
  if (selected == nullptr) return reason_of(*engine->parser.error);
  if (selected->type == TYPE_WORD) return "Incomplete command";
  if (!belongs_to_configuration(selected)) return "Not a configuration command";
  router_of(engine).refusal.clear();
  cli_execute(engine, line.c_str());
  if (engine->parser.error->errcode != E_OK) return reason_of(*engine->parser.error);
  return router_of(engine).refusal;
}

bool is_comment(const std::string &line) {
  const size_t first = line.find_first_not_of(" \t\v\f");
  return first == std::string::npos || line[0] == '!' || line[0] == '#';
}

// Keeps the modes in step with the indentation, so that one bad line does not take the lines around it along: lines
// below a mode that could not be entered are left out, and a mode that lost its "exit" ends with its indented lines.
// Files without indentation are taken as they are.
class Block {
 public:
  explicit Block(cli *engine) : engine_(engine) {}

  // Returns "" or what is wrong with the line.
  std::string apply(const std::string &line) {
    const size_t indent = line.find_first_not_of(" \t");
    if (failed_ != kNone && indent > failed_) return "Left out with the line that it belongs to";
    open(indent);
    std::string wrong = execute(engine_, line);
    failed_ = wrong.empty() ? kNone : indent;
    close();
    return wrong;
  }

 private:
  static constexpr size_t kNone = static_cast<size_t>(-1);

  // Goes back to the mode that a line of this indentation belongs to.
  void open(size_t indent) {
    while (margins_.size() > depth()) margins_.pop_back();
    while (!margins_.empty() && margins_.back() != kNone && margins_.back() > indent) {
      margins_.pop_back();
      cli_pop_subconfig(engine_);
    }
    if (!margins_.empty() && margins_.back() == kNone) margins_.back() = indent;
    if (engine_->current == &engine_->root) cli_execute(engine_, "configure terminal");
  }

  void close() {
    while (margins_.size() > depth()) margins_.pop_back();
    while (margins_.size() < depth()) margins_.push_back(kNone);
  }

  // Modes open below "configure".
  [[nodiscard]] size_t depth() const {
    size_t modes = 0;
    for (cli_node *mode = engine_->current; mode != nullptr && mode != &engine_->root; ++modes)
      mode = cli_get_parent_subconfig(mode);
    return modes > 0 ? modes - 1 : 0;
  }

  cli *engine_;
  std::vector<size_t> margins_;  // of the lines inside each open mode, kNone before the first one
  size_t failed_ = kNone;        // indentation of the failed line whose block is left out
};

}  // namespace

int replay(cli *engine, const std::string &name, const std::vector<std::string> &lines) {
  const SilentOutput silence;
  const FullPrivilege privilege(engine);
  Block block(engine);
  int number = 0;
  int reported = 0;
  for (const std::string &line : lines) {
    ++number;
    if (is_comment(line)) continue;
    const std::string wrong = block.apply(line);
    if (wrong.empty()) continue;
    report(name + ':' + std::to_string(number) + ": " + wrong);
    ++reported;
  }
  cli_reset_subconfig(engine);
  router_of(engine).refusal.clear();
  return reported;
}

}  // namespace router
