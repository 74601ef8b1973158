// The open modes of an engine, kept aside.
#ifndef CLI_ENGINE_MODE_STACK_HPP
#define CLI_ENGINE_MODE_STACK_HPP

#include <cstddef>

#include "cli_engine/cli_engine.h"

namespace cli_engine {

// The modes that are open now, with the lines that entered them; between two lines they can be opened again.
class OpenModes {
 public:
  explicit OpenModes(cli *engine);
  ~OpenModes();
  OpenModes(const OpenModes &) = delete;
  OpenModes &operator=(const OpenModes &) = delete;

  // Once.
  void restore();

 private:
  struct Mode;

  cli *engine_;
  Mode *modes_ = nullptr;
  std::size_t count_ = 0;
  char prompt_[sizeof(cli::prompt_mode)];
};

}  // namespace cli_engine

#endif
