// Running the lines of a configuration text, with the modes kept in step with the indentation.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <optional>

#include "cli_engine/line.hpp"
#include "cli_engine/mode_stack.hpp"
#include "cli_engine/privilege_index.hpp"

namespace cli_engine {
namespace {

constexpr const char *kSource = "cli_engine/replay";
constexpr std::size_t kNone = SIZE_MAX;
constexpr std::size_t kTabStop = 8;
constexpr std::string_view kBlanks = " \t\v\f\r";

std::size_t indentation(std::string_view line) {
  std::size_t column = 0;
  for (const char c : line.substr(0, line.find_first_not_of(kBlanks))) {
    column = c == '\t' ? (column / kTabStop + 1) * kTabStop : column + 1;
  }
  return column;
}

// Whether the line is the one word that closes a block, written out: what it belongs to was not entered, so that
// nothing can tell what it abbreviates.
bool closes_block(std::string_view line) {
  const std::size_t begin = line.find_first_not_of(kBlanks);
  return begin != std::string_view::npos &&
         same_name(line.substr(begin, line.find_last_not_of(kBlanks) + 1 - begin), "exit");
}

// How deep the present mode is nested.
std::size_t depth_of(const cli &engine) {
  std::size_t depth = 0;
  for (const cli_node *mode = engine.mode_stack.first; mode != nullptr; mode = mode->subconfig.stack_link.next) {
    depth++;
  }
  return depth;
}

class Replay {
 public:
  Replay(cli *engine, unsigned options)
      : engine_(engine),
        state_(*state_of(engine)),
        options_(options | CLI_CONFIG),
        base_(engine->current),
        base_depth_(depth_of(*engine)) {
    modes_.resize(base_depth_);
  }

  void run(std::string_view text, cli_line_report report, void *data) {
    const Busy busy(engine_, state_);
    for (std::size_t number = 1; !text.empty(); number++) {
      const std::size_t end = text.find('\n');
      take(text.substr(0, end));
      if (report != nullptr) {
        report(data, number, line_->data, &outcome_);
      }
      text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
  }

  // The outcome is borrowed until the next line.
  const cli_outcome &run_line(std::string_view line) {
    const Busy busy(engine_, state_);
    adopt_modes({});
    take(line);
    return outcome_;
  }

  // How many lines failed, were refused or were left out.
  [[nodiscard]] long not_run() const { return not_run_; }

 private:
  // No other line runs meanwhile.
  class Busy {
   public:
    Busy(cli *engine, EngineState &state) : state_(state) {
      begin_output(engine);
      state.busy = true;
      state.replaying = true;
    }
    ~Busy() {
      state_.replaying = false;
      state_.busy = state_.deferral == Deferral::kPending;
    }
    Busy(const Busy &) = delete;
    Busy &operator=(const Busy &) = delete;

   private:
    EngineState &state_;
  };

  // The indentation of a mode's lines: of the one that entered it and of the first one inside.
  struct Margins {
    std::size_t entry = 0;
    std::size_t inside = kNone;
  };

  // The last line that failed, and what became of the lines that belong to it.
  struct Failure {
    std::size_t margin = kNone;
    cli_outcome outcome{};
    bool has_block = false;     // lines were left out with it
    bool block_closed = false;  // the last of them closed a block
  };

  void take(std::string_view line) {
    if (!line.empty() && line.back() == '\r') {
      line.remove_suffix(1);
    }
    libglobal::clear(*line_);
    libglobal::append(*line_, line);
    outcome_ = {};
    if (!is_comment(line)) {
      take_command(line);
    }
  }

  static bool is_comment(std::string_view line) {
    const std::size_t begin = line.find_first_not_of(kBlanks);
    return begin == std::string_view::npos || line[begin] == '!' || line[begin] == '#';
  }

  void take_command(std::string_view line) {
    if (state_.deferral == Deferral::kPending) {
      outcome_.kind = CLI_BUSY;
      not_run_++;
      return;
    }
    if (state_.output.is_interrupted()) {
      outcome_.interrupted = 1;
      not_run_++;
      return;
    }
    const std::size_t margin = indentation(line);
    if (belongs_to_failure(line, margin)) {
      outcome_ = failure_.outcome;
      not_run_++;
      return;
    }
    close_ended_modes(margin);
    run_command(line);
    follow_modes(margin);
    failure_ = {};
    if (outcome_.kind == CLI_FAILED || outcome_.kind == CLI_REFUSED || outcome_.kind == CLI_LISTED) {
      not_run_ += outcome_.kind == CLI_LISTED ? 0 : 1;
      failure_.margin = margin;
      failure_.outcome.errcode = outcome_.errcode;
      failure_.outcome.result = outcome_.result;
      failure_.outcome.node = outcome_.node;
    }
  }

  // Everything that is indented deeper, and what then closes the block.
  bool belongs_to_failure(std::string_view line, std::size_t margin) {
    if (failure_.margin == kNone) {
      return false;
    }
    const bool closes = closes_block(line);
    const bool is_last = margin == failure_.margin && failure_.has_block && !failure_.block_closed && closes;
    if (margin <= failure_.margin && !is_last) {
      return false;
    }
    failure_.has_block = true;
    failure_.block_closed = closes;
    return true;
  }

  // Goes back to the mode that a line of this indentation belongs to: a mode that lost its "exit" ends with its lines.
  void close_ended_modes(std::size_t margin) {
    if (modes_.size() > base_depth_ && is_ended(modes_.back(), margin)) {
      const bool way_out = is_way_out(parse_line(engine_, line_->data, -1));
      while (modes_.size() > base_depth_ &&
             (way_out ? modes_.back().entry > margin : is_ended(modes_.back(), margin))) {
        cli_pop_subconfig(engine_);
        modes_.pop_back();
      }
    }
    if (modes_.size() > base_depth_ && modes_.back().inside == kNone) {
      modes_.back().inside = margin;
    }
  }

  static bool is_ended(const Margins &mode, std::size_t margin) {
    return margin < (mode.inside == kNone ? mode.entry : mode.inside);
  }

  static bool is_way_out(const cli_node *selected) {
    return is_command(selected) && cli_engine::is_way_out(*selected, "exit");
  }

  void run_command(std::string_view line) {
    if (const std::size_t zero = line.find('\0'); zero != std::string_view::npos) {
      outcome_.kind = CLI_FAILED;
      outcome_.errcode = E_EXTRA_INPUT;
      outcome_.column = zero;
      outcome_.length = 1;
      return;
    }
    cli_node *const selected = parse_line(engine_, line_->data, -1);
    if (leaves_base(line, selected)) {
      return;
    }
    if ((options_ & CLI_STAY) != 0 && selected != nullptr && !stays(selected)) {
      return;
    }
    state_.outcome = {};
    state_.output.refused = false;
    perform(engine_, state_, line_->data, selected, options_);
    outcome_ = state_.outcome;
  }

  // Whether the line is an "exit" beyond the mode in which the text began, where there may be no such command.
  bool leaves_base(std::string_view line, const cli_node *selected) const {
    const bool at_base = modes_.size() <= base_depth_;
    return selected == nullptr ? at_base && closes_block(line)
                               : is_way_out(selected) && (at_base || selected->parent == &engine_->root);
  }

  // Answers what would leave the mode in which the text began; true for everything else.
  bool stays(cli_node *selected) {
    const bool ends = is_command(selected) && cli_engine::is_way_out(*selected, "end");
    if (selected == base_ || ends) {
      outcome_.kind = ends ? CLI_RAN : CLI_ENTERED;
      outcome_.node = selected;
      while (engine_->current != base_ && engine_->mode_stack.first != nullptr) {
        cli_pop_subconfig(engine_);
      }
      return false;
    }
    for (const cli_node *mode = engine_->parser.root; mode != nullptr; mode = mode->parent) {
      if (mode == base_) {
        return true;
      }
    }
    outcome_.kind = CLI_REFUSED;
    outcome_.node = selected;
    return false;
  }

  void follow_modes(std::size_t margin) {
    const bool entered = outcome_.kind == CLI_ENTERED && engine_->current == outcome_.node;
    if (entered && engine_->current != base_) {
      modes_.resize(depth_of(*engine_) - 1);
    }
    adopt_modes({margin, kNone});
  }

  // Takes over the modes that are open.
  void adopt_modes(Margins margins) {
    const std::size_t depth = depth_of(*engine_);
    base_depth_ = std::min(base_depth_, std::min(depth, modes_.size()));
    modes_.resize(depth, margins);
  }

  cli *engine_;
  EngineState &state_;
  unsigned options_;
  cli_node *base_;           // the mode in which the text began
  std::size_t base_depth_;   // modes that the text did not enter
  Vector<Margins> modes_{};  // of every open mode, outermost first
  Failure failure_{};
  libglobal::DynStringOwner line_{dyn_string_new()};  // without its end
  cli_outcome outcome_{};                             // of the present line
  long not_run_ = 0;
};

}  // namespace
}  // namespace cli_engine

// What a text needs from its first line to its last.
struct cli_replay_lines {
  cli_replay_lines(cli *owner, unsigned options) : engine(owner), replay(owner, options) {
    if ((options & CLI_DRY_RUN) != 0) {
      before.emplace(owner);
    }
  }

  cli *engine;
  cli_engine::Replay replay;
  std::optional<cli_engine::OpenModes> before{};  // a dry run
};

long cli_replay(cli *engine, const char *text, size_t len, unsigned options, cli_line_report report, void *data) {
  if (!cli_engine::is_ready(engine) || (text == nullptr && len != 0)) {
    return -1;
  }
  cli_replay_lines lines(engine, options);
  lines.replay.run({text == nullptr ? "" : text, len}, report, data);
  if (lines.before.has_value()) {
    lines.before->restore();
  }
  return lines.replay.not_run();
}

cli_replay_lines *cli_replay_begin(cli *engine, unsigned options) {
  if (!cli_engine::is_ready(engine)) {
    return nullptr;
  }
  void *const block = libglobal::xmalloc(sizeof(cli_replay_lines), LIBGLOBAL_CALLER(cli_engine::kSource));
  return new (block) cli_replay_lines(engine, options);
}

int cli_replay_line(cli_replay_lines *lines, const char *line, cli_outcome *outcome) {
  cli_outcome unanswered = {};
  unanswered.kind = CLI_FAILED;
  const cli_outcome *result = &unanswered;
  long not_run_before = -1;
  if (lines != nullptr && line != nullptr) {
    const cli_engine::EngineState *const state = cli_engine::state_if_up(lines->engine);
    if (state != nullptr && state->busy && state->deferral != cli_engine::Deferral::kPending) {
      unanswered.kind = CLI_BUSY;
    } else if (state != nullptr) {
      not_run_before = lines->replay.not_run();
      result = &lines->replay.run_line(line);
    }
  }
  if (outcome != nullptr) {
    *outcome = *result;
  }
  return not_run_before >= 0 && lines->replay.not_run() == not_run_before ? 0 : -1;
}

long cli_replay_end(cli_replay_lines *lines) {
  if (lines == nullptr) {
    return -1;
  }
  if (lines->before.has_value() && cli_engine::is_ready(lines->engine)) {
    lines->before->restore();
  }
  const long not_run = lines->replay.not_run();
  lines->~cli_replay_lines();
  std::free(lines);
  return not_run;
}
