#include "bench/language.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <numeric>

namespace bench {
namespace {

constexpr int kBlock = 10;

// Commands are declared in one scattered order and used in another, as nodes declared in a row stand together in
// memory.
constexpr int kDeclarationStep = 7919;
constexpr int kLineStep = 104729;

std::string numbered(const char *prefix, int number) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%s%06d", prefix, number);
  return text.data();
}

// A way through 0 to count - 1 that jumps about: step and count have no common divisor.
class Scatter {
 public:
  explicit Scatter(int count, int step = kDeclarationStep) : count_(count), step_(step) {
    while (count_ > 0 && std::gcd(step_, count_) != 1) {
      step_++;
    }
  }
  [[nodiscard]] int at(int i) const { return static_cast<int>(static_cast<long long>(i) * step_ % count_); }

 private:
  int count_;
  int step_;
};

// Members of a JSON object, with commas between them.
class Members {
 public:
  explicit Members(std::string &out) : out_(out) { out_ += '{'; }
  Members(const Members &) = delete;
  Members &operator=(const Members &) = delete;
  ~Members() { out_ += '}'; }

  // Begins a member; its value is appended by the caller.
  std::string &key(const std::string &name) {
    out_ += first_ ? "\"" : ",\"";
    first_ = false;
    out_ += name;
    out_ += "\":";
    return out_;
  }

 private:
  std::string &out_;
  bool first_ = true;
};

constexpr const char *kCommandArgs[] = {
    "",
    R"(,"#args":[{"#type":"int","#name":"size","#help":"A size","#min_inclusive":1,"#max_inclusive":9000}])",
    (R"(,"#args":[{"#type":"int","#name":"size","#help":"A size","#min_inclusive":1,"#max_inclusive":9000},)"
     R"({"#type":"IPv4Address","#name":"address","#help":"An address"}])"),
};

constexpr const char *kSettingArgs[] = {
    R"(,"#args":[{"#type":"int","#name":"value","#help":"A number","#min_inclusive":0,"#max_inclusive":9000}])",
    R"(,"#args":[{"#type":"IPv4Address","#name":"value","#help":"An address"}])",
    R"(,"#args":[{"#type":"string","#name":"value","#help":"A text","#max_length":32}])",
    (R"(,"#args":[{"#type":"key","#name":"mode","#help":"How","#args":[)"
     R"({"#type":"string","#name":"value","#help":"One of three","#enum":["auto","full","half"]}]}])"),
};

// A command of eight nodes.
constexpr const char *kRoutingCommand =
    R"({"#help":"What this line of the configuration sets","#handler":"bench_handler","#args":[)"
    R"({"#type":"string","#name":"policy","#help":"Name of a policy that is applied","#max_length":64},)"
    R"({"#type":"container","#optional":true,"#exclusive":true,"#args":[)"
    R"({"#type":"key","#name":"in","#help":"Apply it to what is received from there"},)"
    R"({"#type":"key","#name":"metric","#help":"Set the metric of what is sent","#args":[)"
    R"({"#type":"unsignedInt","#name":"number","#help":"The metric","#min_inclusive":0,"#max_inclusive":65535}]}]},)"
    R"({"#type":"IPv4Prefix","#name":"prefix","#help":"Addresses of the network it is for","#optional":true}]})";

// A line for each member and item. No text of a language here has a bracket or a comma.
std::string indented(const std::string &compact) {
  std::string out;
  std::size_t depth = 0;
  const auto begin_line = [&] { (out += '\n').append(2 * depth, ' '); };
  for (const char c : compact) {
    depth += c == '{' || c == '[' ? 1 : 0;
    if (c == '}' || c == ']') {
      depth--;
      begin_line();
    }
    out += c;
    if (c == '{' || c == '[' || c == ',') {
      begin_line();
    } else if (c == ':') {
      out += ' ';
    }
  }
  return out + '\n';
}

void add_definition(Members &members, const std::string &name, const std::string &help, const char *args) {
  std::string &out = members.key(name);
  out += "{\"#help\":\"" + help + "\",\"#handler\":\"bench_handler\"";
  out += args;
  out += '}';
}

void add_commands(Members &members, int count) {
  const Scatter scatter(count);
  for (int i = 0; i < count; i++) {
    const int number = scatter.at(i);
    add_definition(members, command_name(number), "Command " + std::to_string(number), kCommandArgs[number % 3]);
  }
}

void add_settings(Members &members, int count) {
  const Scatter scatter(count);
  for (int i = 0; i < count; i++) {
    const int number = scatter.at(i);
    add_definition(members, numbered("set", number), "Setting " + std::to_string(number), kSettingArgs[number % 4]);
  }
}

std::string address(int number) {
  return "10." + std::to_string(number / 65536 % 256) + "." + std::to_string(number / 256 % 256) + "." +
         std::to_string(number % 256);
}

}  // namespace

std::string command_name(int number) {
  return numbered("cmd", number);
}

std::string command_line(int number) {
  std::string line = command_name(number);
  if (number % 3 != 0) {
    line += ' ' + std::to_string(number % 9000 + 1);
  }
  if (number % 3 == 2) {
    line += ' ' + address(number);
  }
  return line;
}

std::string setting_line(int number) {
  constexpr const char *kWords[] = {"auto", "full", "half"};
  const std::string name = numbered("set", number) + ' ';
  switch (number % 4) {
    case 0:
      return name + std::to_string(number % 9001);
    case 1:
      return name + address(number);
    case 2:
      return name + "text-" + std::to_string(number);
    default:
      return name + "mode " + kWords[number % 3];
  }
}

std::string definitions(const Shape &shape) {
  std::string out;
  {
    Members top(out);
    add_commands(top, shape.commands);
    for (int i = 0; i < shape.aliases; i++) {
      top.key(numbered("alias", i)) += "{\"#alias\":\"" + command_line(i % shape.commands) + "\"}";
    }
    top.key("interface") += R"({"#help":"An interface","#prompt":"interface","#handler":"bench_handler",)"
                            R"("#args":[{"#type":"int","#name":"number","#help":"Its number"}],"#commands":)";
    {
      Members mode(out);
      add_settings(mode, shape.settings);
    }
    out += '}';
  }
  return out;
}

std::string routing(int modes) {
  constexpr int kCommands = 61;  // of each mode
  std::string out;
  {
    Members top(out);
    for (int mode = 0; mode < modes; mode++) {
      const std::string name = "mode-" + std::to_string(mode);
      top.key("show-" + std::to_string(mode)) += kRoutingCommand;
      top.key(name) += R"({"#help":"A part of the configuration","#handler":"bench_handler","#prompt":")" + name +
                       R"(","#commands":)";
      {
        Members commands(out);
        for (int i = 0; i < kCommands; i++) {
          commands.key("neighbor-setting-" + std::to_string(i * 37 % kCommands)) += kRoutingCommand;
        }
      }
      out += '}';
    }
  }
  return indented(out);
}

std::string privileges(const Shape &shape) {
  std::string out;
  {
    Members table(out);
    const Scatter scatter(shape.privileges);
    for (int i = 0; i < shape.privileges; i++) {
      table.key(std::to_string(i)) += "{\"Name\":\"" + command_name(scatter.at(i)) + R"(","Prompt":"","Level":1})";
    }
  }
  return out;
}

std::vector<int> spread(int commands, int most, Form form) {
  std::vector<int> numbers;
  for (int i = 0; i < commands; i++) {
    if (form == Form::kAny || i % 3 == static_cast<int>(form)) {
      numbers.push_back(i);
    }
  }
  const int count = static_cast<int>(numbers.size());
  const Scatter scatter(count, kLineStep);
  std::vector<int> chosen;
  for (int i = 0; i < std::min(count, most); i++) {
    chosen.push_back(numbers[static_cast<std::size_t>(scatter.at(i))]);
  }
  return chosen;
}

std::vector<std::string> configuration(const Shape &shape, int lines) {
  const Scatter scatter(shape.settings, kLineStep);
  std::vector<std::string> out;
  int setting = 0;
  for (int block = 0; static_cast<int>(out.size()) + kBlock <= lines; block++) {
    out.push_back("interface " + std::to_string(block));
    for (int i = 0; i < kBlock - 2; i++) {
      out.push_back(setting_line(scatter.at(setting++ % shape.settings)));
    }
    out.emplace_back("exit");
  }
  return out;
}

}  // namespace bench
