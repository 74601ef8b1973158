// Lines that are more than a command of the present mode: abbreviations, commands of enclosing modes, "do", entries
// into modes, aliases, and lines that fail.
#include "bench/harness.hpp"

namespace {

// A command with a number and an address, in one of several dresses.
class Line : public bench::Path {
 public:
  void run(std::size_t number) override { cli_execute(engine_.get(), lines_.at(number)); }
  bool holds(std::size_t operations) override { return bench::handled() - before_ == operations; }

 protected:
  Line(int commands, const std::string &before, const std::string &after)
      : engine_(bench::Shape{commands, 8, 0, commands}) {
    std::vector<std::string> lines;
    for (const int number : numbers(commands)) {
      lines.push_back(before + bench::command_line(number) + after);
    }
    use(std::move(lines));
  }
  static std::vector<int> numbers(int commands) {
    return bench::spread(commands, bench::kMostLines, bench::Form::kNumberAndAddress);
  }
  void use(std::vector<std::string> lines) { lines_ = bench::Lines(std::move(lines)); }
  bench::Engine &engine() { return engine_; }
  [[nodiscard]] const bench::Lines &lines() const { return lines_; }

 private:
  bench::Engine engine_;
  bench::Lines lines_;
  std::size_t before_ = bench::handled();
};

int parse(cli *engine, const char *line) {
  tokenizer_run(&engine->tokenizer, line, -1);
  parser_set_root(&engine->parser, engine->current);
  parser_run(&engine->parser, &engine->tokenizer, nullptr);
  return engine->parser.error->errcode;
}

// A language whose commands are all longer than the generator's: "cmd000077" abbreviates "cmd000077-long".
class Abbreviation : public bench::Path {
 public:
  explicit Abbreviation(int commands) : engine_(document(commands).get(), nullptr) {
    std::vector<std::string> lines;
    for (const int number : bench::spread(commands, bench::kMostLines, bench::Form::kAny)) {
      lines.push_back(bench::command_name(number) + " 77");
    }
    lines_ = bench::Lines(std::move(lines));
  }
  void run(std::size_t number) override { cli_execute(engine_.get(), lines_.at(number)); }
  bool holds(std::size_t operations) override {
    return bench::handled() - before_ == operations && engine_->parser.error->errcode == E_OK;
  }

 private:
  static bench::Json document(int commands) {
    bench::Json all{json_object()};
    const bench::Json args =
        bench::read_json(R"({"#help":"Help","#handler":"bench_handler","#args":[{"#type":"int","#name":"size",)"
                         R"("#help":"A size"}]})");
    for (int i = 0; i < commands; i++) {
      json_object_set(all.get(), (bench::command_name(i) + "-long").c_str(), args.get());
    }
    return all;
  }

  bench::Engine engine_;
  bench::Lines lines_;
  std::size_t before_ = bench::handled();
};

class Do : public Line {
 public:
  explicit Do(int commands) : Line(commands, "do ", "") {
    cli_execute(engine().get(), "interface 1");
    before_entry_ = bench::handled();
  }
  bool holds(std::size_t operations) override {
    return bench::handled() - before_entry_ == operations && engine()->current != &engine()->root;
  }

 private:
  std::size_t before_entry_ = 0;
};

// A mode is entered and left by a command of the enclosing one: two lines.
class Enclosing : public Line {
 public:
  explicit Enclosing(int commands) : Line(commands, "", "") {}
  void run(std::size_t number) override {
    cli_execute(engine().get(), "interface 1");
    Line::run(number);
  }
  [[nodiscard]] double units() const override { return 2; }
  bool holds(std::size_t operations) override {
    return Line::holds(operations * 2) && engine()->current == &engine()->root;
  }
};

// From one mode into the next: the first is left, since both are commands of the enclosing mode.
class Entry : public Line {
 public:
  explicit Entry(int commands) : Line(commands, "", "") {
    use({"interface 1", "interface 2"});
    cli_execute(engine().get(), "interface 0");
    before_entry_ = bench::handled();
  }
  bool holds(std::size_t operations) override {
    return bench::handled() - before_entry_ == operations && engine()->mode_stack.first == engine()->current;
  }

 private:
  std::size_t before_entry_ = 0;
};

class Alias : public Line {
 public:
  explicit Alias(int commands) : Line(commands, "", "") {
    std::vector<std::string> lines;
    for (const int number : numbers(commands)) {
      std::string name = bench::command_name(number);
      lines.push_back(name.replace(0, 3, "alias"));
    }
    use(std::move(lines));
  }
};

// No handler runs, and parsing a line alone, without the list of what may come instead, tells why.
class Failing : public Line {
 public:
  bool holds(std::size_t operations) override {
    return Line::holds(0) && parse(engine().get(), lines().at(operations)) == expected_error_;
  }

 protected:
  Failing(int commands, const std::string &after, int expected_error)
      : Line(commands, "", after), expected_error_(expected_error) {}

 private:
  int expected_error_;
};

class ExtraWord : public Failing {
 public:
  explicit ExtraWord(int commands) : Failing(commands, " more", E_EXTRA_INPUT) {}
};

class InvalidArgument : public Failing {
 public:
  explicit InvalidArgument(int commands) : Failing(commands, "x", E_INVALID_ARGUMENT) {}
};

// The last argument is not given.
class MissingArgument : public Failing {
 public:
  explicit MissingArgument(int commands) : Failing(commands, "", E_INCOMPLETE) {
    std::vector<std::string> cut;
    for (std::size_t i = 0; i < lines().size(); i++) {
      const std::string line = lines().at(i);
      cut.push_back(line.substr(0, line.rfind(' ')));
    }
    use(std::move(cut));
  }
};

// The list of what may come instead names every command; so the parse alone is measured.
class Parse : public bench::Path {
 public:
  void run(std::size_t number) override { errors_ += parse(engine_.get(), lines_.at(number)) == expected_error_; }
  bool holds(std::size_t operations) override { return errors_ == operations; }

 protected:
  Parse(int commands, std::size_t cut, const std::string &after, int expected_error)
      : engine_(bench::Shape{commands}), expected_error_(expected_error) {
    std::vector<std::string> lines;
    for (const int number : bench::spread(commands, bench::kMostLines, bench::Form::kAny)) {
      const std::string name = bench::command_name(number);
      lines.push_back(name.substr(0, name.size() - cut) + after);
    }
    lines_ = bench::Lines(std::move(lines));
  }

 private:
  bench::Engine engine_;
  bench::Lines lines_;
  int expected_error_;
  std::size_t errors_ = 0;
};

class AmbiguousWord : public Parse {
 public:
  explicit AmbiguousWord(int commands) : Parse(commands, 1, " 77", E_AMBIGUOUS) {}
};

class UnknownWord : public Parse {
 public:
  explicit UnknownWord(int commands) : Parse(commands, 0, "x 77", E_EXTRA_INPUT) {}
};

const bench::Registration kRows[] = {
    {"lines/abbreviation", bench::siblings(), bench::make_path<Abbreviation>},
    {"lines/alias", bench::siblings(), bench::make_path<Alias>},
    {"lines/do", bench::siblings(), bench::make_path<Do>},
    {"lines/enclosing", bench::siblings(), bench::make_path<Enclosing>},
    {"lines/mode_entry", bench::siblings(), bench::make_path<Entry>},
    {"lines/extra_word", bench::siblings(), bench::make_path<ExtraWord>},
    {"lines/invalid_argument", bench::siblings(), bench::make_path<InvalidArgument>},
    {"lines/missing_argument", bench::siblings(), bench::make_path<MissingArgument>},
    {"lines/ambiguous_word", bench::siblings(), bench::make_path<AmbiguousWord>},
    {"lines/unknown_word", bench::siblings(), bench::make_path<UnknownWord>},
};

}  // namespace
