#include "cli_engine/trial.hpp"

#include <utility>

#include "cli_engine/node.hpp"

namespace cli_engine {

MarksAside::MarksAside(cli_node &root) : root_(root), root_used_(root.used) {
  marks_of(&root).for_each([this](cli_node &node) {
    json_t *value = nullptr;
    if (node.type == TYPE_VALUE) {
      std::swap(value, node.value.value);
    }
    kept_.push_back({&node, node.token, value, node.used, node.completed});
  });
}

MarksAside::~MarksAside() {
  Marks &marks = marks_of(&root_);
  marks.clear();
  root_.used = root_used_;
  for (const Kept &kept : kept_) {
    kept.node->token = kept.tok;
    kept.node->used = kept.used;
    kept.node->completed = kept.completed;
    if (kept.node->type == TYPE_VALUE) {
      kept.node->value.value = kept.value;
    }
    marks.list(*kept.node);
  }
}

Trial::Trial(cli &engine) : marks_(*tree_root(engine.current)) {
  tokenizer_open(&tokens_);
  parser_open(&parser_);
}

Trial::~Trial() {
  parser_close(&parser_);
  tokenizer_close(&tokens_);
}

bool Trial::run(const char *line, cli_node *mode, std::int32_t privilege) {
  tokenizer_run(&tokens_, line, -1);
  parser_set_privilege(&parser_, privilege);
  parser_set_root(&parser_, mode);
  return parser_run(&parser_, &tokens_, nullptr) != nullptr;
}

bool Trial::run_inside(const char *line, cli_node *mode, std::int32_t privilege) {
  cli_node *const given = std::exchange(mode->subconfig.args.first, nullptr);
  const bool runs = run(line, mode, privilege);
  mode->subconfig.args.first = given;
  return runs;
}

std::size_t Trial::rest() const {
  std::size_t count = 0;
  for (const token *tok = error().token; error().errcode != E_OK && tok != nullptr; tok = tok->next) {
    count++;
  }
  return count;
}

}  // namespace cli_engine
