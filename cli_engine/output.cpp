#include "cli_engine/output.hpp"

#include "cli_engine/engine_state.hpp"

namespace cli_engine {
void write_out(cli *engine, std::string_view text) {
  EngineState *const state = state_of(engine);
  if (text.empty() || (state != nullptr && state->output.is_cut())) {
    return;
  }
  if (engine->write == nullptr) {
    std::fwrite(text.data(), 1, text.size(), stdout);
  } else if (engine->write(engine->write_data, text.data(), text.size()) != 0 && state != nullptr) {
    state->output.refused = true;
  }
}

void write_out(cli *engine, DynString &text) {
  write_out(engine, libglobal::view(text));
  if (text.capacity > kKeptText) [[unlikely]] {
    libglobal::release(text);
  }
  libglobal::clear(text);
}

}  // namespace cli_engine
