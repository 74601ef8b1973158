// Completion and help where ten words, or ten entries of an enumeration, go on from what was typed.
#include "bench/harness.hpp"

namespace {

constexpr std::size_t kMatches = 10;

// The names of commands less their last digits: each begins ten.
bench::Lines beginnings(int commands) {
  std::vector<std::string> lines;
  for (const int number : bench::spread(commands, bench::kMostLines, bench::Form::kAny)) {
    std::string name = bench::command_name(number);
    name.pop_back();
    lines.push_back(std::move(name));
  }
  return bench::Lines(std::move(lines));
}

class Complete : public bench::Path {
 public:
  explicit Complete(int commands) : engine_(bench::Shape{commands}), lines_(beginnings(commands)) {}
  void run(std::size_t number) override {
    json_array_clear(result_.get());
    cli_autocomplete(engine_.get(), lines_.at(number), 0, result_.get());
  }
  bool holds(std::size_t /*operations*/) override { return json_array_size(result_.get()) == kMatches; }

 private:
  bench::Engine engine_;
  bench::Lines lines_;
  bench::Json result_{json_array()};
};

// The entries that a setting of a mode takes, beside as many siblings.
class CompleteEntries : public bench::Path {
 public:
  explicit CompleteEntries(int commands) : engine_(document(commands).get(), nullptr) {}
  void run(std::size_t /*number*/) override {
    json_array_clear(result_.get());
    cli_autocomplete(engine_.get(), "choose entry-", 0, result_.get());
  }
  bool holds(std::size_t /*operations*/) override { return json_array_size(result_.get()) == kMatches; }

 private:
  static bench::Json document(int commands) {
    bench::Json all = bench::read_json(bench::definitions(bench::Shape{commands}));
    json_object_set_new(all.get(), "choose",
                        bench::read_json(R"({"#help":"Help","#handler":"bench_handler","#args":[{"#type":"string",)"
                                         R"("#name":"what","#help":"What","#enum":["entry-0","entry-1","entry-2",)"
                                         R"("entry-3","entry-4","entry-5","entry-6","entry-7","entry-8","entry-9"]}]})")
                            .release());
    return all;
  }

  bench::Engine engine_;
  bench::Json result_{json_array()};
};

class Help : public bench::Path {
 public:
  explicit Help(int commands) : engine_(bench::Shape{commands}), lines_(beginnings(commands)) {}
  void run(std::size_t number) override { cli_help(engine_.get(), lines_.at(number)); }
  // What is printed is not seen here: completion of the same line tells that ten words stood to be shown.
  bool holds(std::size_t operations) override {
    const bench::Json result{json_array()};
    cli_autocomplete(engine_.get(), lines_.at(operations), 0, result.get());
    return json_array_size(result.get()) == kMatches;
  }

 private:
  bench::Engine engine_;
  bench::Lines lines_;
};

const bench::Registration kRows[] = {
    {"interactive/complete", bench::siblings(), bench::make_path<Complete>},
    {"interactive/complete_entries", bench::siblings(), bench::make_path<CompleteEntries>},
    {"interactive/help", bench::siblings(), bench::make_path<Help>},
};

}  // namespace
