// Running the lines of a configuration text, with the modes kept in step with the indentation.
#include <algorithm>
#include <cstdint>

#include "cli_engine/line.hpp"
#include "cli_engine/mode_stack.hpp"
#include "cli_engine/privilege_index.hpp"

namespace cli_engine {
namespace {

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
  Replay(cli *engine, EngineState &state, unsigned options, cli_line_report report, void *data)
      : engine_(engine),
        state_(state),
        options_(options | CLI_CONFIG),
        report_(report),
        data_(data),
        base_(engine->current),
        base_depth_(depth_of(*engine)) {
    modes_.resize(base_depth_);
  }

  // Returns how many lines failed, were refused or were left out.
  long run(std::string_view text) {
    while (!text.empty()) {
      const std::size_t end = text.find('\n');
      take(text.substr(0, end));
      text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return not_run_;
  }

 private:
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
    number_++;
    libglobal::clear(*line_);
    libglobal::append(*line_, line);
    outcome_ = {};
    if (!is_comment(line)) {
      take_command(line);
    }
    if (report_ != nullptr) {
      report_(data_, number_, line_->data, &outcome_);
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
    if (margin > failure_.margin) {
      failure_.has_block = true;
      failure_.block_closed = closes_block(line);
      return true;
    }
    return margin == failure_.margin && failure_.has_block && !failure_.block_closed && closes_block(line);
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
    if (is_way_out(selected) && (modes_.size() <= base_depth_ || selected->parent == &engine_->root)) {
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
    const std::size_t depth = depth_of(*engine_);
    const bool entered = outcome_.kind == CLI_ENTERED && engine_->current == outcome_.node;
    if (entered && engine_->current != base_) {
      modes_.resize(depth - 1);
    }
    base_depth_ = std::min(base_depth_, std::min(depth, modes_.size()));
    modes_.resize(depth, {margin, kNone});
  }

  cli *engine_;
  EngineState &state_;
  unsigned options_;
  cli_line_report report_;
  void *data_;
  cli_node *base_;           // the mode in which the text began
  std::size_t base_depth_;   // modes that the text did not enter
  Vector<Margins> modes_{};  // of every open mode, outermost first
  Failure failure_{};
  libglobal::DynStringOwner line_{dyn_string_new()};  // without its end
  cli_outcome outcome_{};                             // of the present line
  std::size_t number_ = 0;
  long not_run_ = 0;
};

long replay(cli *engine, EngineState &state, std::string_view text, unsigned options, cli_line_report report,
            void *data) {
  begin_output(engine);
  state.busy = true;
  state.replaying = true;
  const long not_run = Replay(engine, state, options, report, data).run(text);
  state.replaying = false;
  state.busy = state.deferral == Deferral::kPending;
  return not_run;
}

}  // namespace
}  // namespace cli_engine

long cli_replay(cli *engine, const char *text, size_t len, unsigned options, cli_line_report report, void *data) {
  cli_engine::EngineState *const state = cli_engine::state_if_up(engine);
  if (state == nullptr || (text == nullptr && len != 0) || state->busy) {
    return -1;
  }
  const std::string_view lines(text == nullptr ? "" : text, len);
  if ((options & CLI_DRY_RUN) == 0) {
    return cli_engine::replay(engine, *state, lines, options, report, data);
  }
  cli_engine::OpenModes before(engine);
  const long not_run = cli_engine::replay(engine, *state, lines, options, report, data);
  before.restore();
  return not_run;
}
