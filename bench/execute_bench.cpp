// A command's line: words with typed arguments, the echo, an empty handler.
#include "bench/harness.hpp"

namespace {

using bench::Form;

template <Form kForm>
class Execute : public bench::Path {
 public:
  explicit Execute(int commands) : engine_(bench::Shape{commands}) {
    std::vector<std::string> lines;
    for (const int number : bench::spread(commands, bench::kMostLines, kForm)) {
      lines.push_back(bench::command_line(number));
    }
    lines_ = bench::Lines(std::move(lines));
  }
  void run(std::size_t number) override { cli_execute(engine_.get(), lines_.at(number)); }
  bool holds(std::size_t operations) override {
    return bench::handled() - before_ == operations && engine_->parser.error->errcode == E_OK;
  }

 private:
  bench::Engine engine_;
  bench::Lines lines_;
  std::size_t before_ = bench::handled();
};

const bench::Registration kRows[] = {
    {"execute/one_word", bench::siblings(), bench::make_path<Execute<Form::kWord>>},
    {"execute/two_words", bench::siblings(), bench::make_path<Execute<Form::kNumber>>},
    {"execute/three_words", bench::siblings(), bench::make_path<Execute<Form::kNumberAndAddress>>},
    {"execute/mixed", bench::siblings(), bench::make_path<Execute<Form::kAny>>},
};

}  // namespace
