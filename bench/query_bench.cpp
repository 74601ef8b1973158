// What handlers and conditions ask about the last line, in a mode and in its enclosing mode with as many commands each.
#include <algorithm>

#include "bench/harness.hpp"

namespace {

class Query : public bench::Path {
 protected:
  // Inside a mode, after the line of a setting that takes a keyword and a word.
  explicit Query(int siblings) : engine_(bench::Shape{siblings, std::max(siblings, 8)}) {
    const int setting = siblings / 8 * 4 + 3;
    const std::string line = bench::setting_line(setting);
    cli_execute(engine_.get(), "interface 7");
    cli_execute(engine_.get(), line.c_str());
    path_ = "interface " + line.substr(0, line.find(' ')) + " mode";
  }
  [[nodiscard]] cli *engine() { return engine_.get(); }
  [[nodiscard]] const std::string &path() const { return path_; }

 private:
  bench::Engine engine_;
  std::string path_;
};

class Find : public Query {
 public:
  explicit Find(int siblings) : Query(siblings) {}
  void run(std::size_t /*number*/) override { found_ += cli_node_find(&engine()->root, path().c_str()) != nullptr; }
  bool holds(std::size_t operations) override { return found_ == operations; }

 private:
  std::size_t found_ = 0;
};

// A name that nothing matched: every matched node is looked at.
class Miss : public Query {
 public:
  explicit Miss(int siblings) : Query(siblings) {}
  void run(std::size_t /*number*/) override { found_ += cli_node_getn(&engine()->root, "absent", 6) != nullptr; }
  bool holds(std::size_t /*operations*/) override { return found_ == 0; }

 private:
  std::size_t found_ = 0;
};

class Value : public Query {
 public:
  explicit Value(int siblings) : Query(siblings) {}
  void run(std::size_t /*number*/) override {
    const json_t *value = cli_node_value(cli_node_find(&engine()->root, "interface number"));
    sum_ += json_integer_value(value);
  }
  bool holds(std::size_t operations) override { return sum_ == static_cast<json_int_t>(operations) * 7; }

 private:
  json_int_t sum_ = 0;
};

class Condition : public Query {
 public:
  explicit Condition(int siblings) : Query(siblings), holder_(json_object()) {
    json_object_set_new(holder_.get(), "if", json_pack("[s, s]", path().c_str(), "absent"));
    json_object_set_new(holder_.get(), "if-not", json_string("absent"));
  }
  void run(std::size_t /*number*/) override { held_ += cli_check_parameter_condition(engine(), holder_.get()) != 0; }
  bool holds(std::size_t operations) override { return held_ == operations; }

 private:
  bench::Json holder_;
  std::size_t held_ = 0;
};

const bench::Registration kRows[] = {
    {"query/find", bench::siblings(), bench::make_path<Find>},
    {"query/miss", bench::siblings(), bench::make_path<Miss>},
    {"query/value", bench::siblings(), bench::make_path<Value>},
    {"query/condition", bench::siblings(), bench::make_path<Condition>},
};

}  // namespace
