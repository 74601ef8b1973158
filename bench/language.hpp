// Command languages of any size and lines that suit them: the same for the same numbers, on every machine.
//
// A language has at its top level the commands cmd000000, cmd000001 and so on, declared out of order, and the mode
// "interface" with the settings set000000 and so on. What a command or a setting takes depends on its number alone:
//
//   number mod 3   command                        number mod 4   setting
//   0              nothing                        0              a number from 0 to 9000
//   1              a number from 1 to 9000        1              an IPv4 address
//   2              a number, an IPv4 address      2              a string of up to 32 bytes
//                                                 3              the keyword "mode" and one of three words
//
// Every handler is "bench_handler", which the process must export.
#ifndef BENCH_LANGUAGE_HPP
#define BENCH_LANGUAGE_HPP

#include <string>
#include <vector>

namespace bench {

struct Shape {
  int commands = 100;
  int settings = 8;
  int privileges = 0;  // entries of the privilege table, which give commands level 1
  int aliases = 0;     // alias000000 and so on: each stands for a command's whole line
};

// The definition document and the privilege table, as JSON texts.
std::string definitions(const Shape &shape);
std::string privileges(const Shape &shape);

// A document of so many modes with groups in each other and long help texts, written for the eye, as daemons for
// routing have them: 499 nodes and some 92 kB of text for each mode.
std::string routing(int modes);

// What commands take, as a number mod 3 or any.
enum class Form { kWord = 0, kNumber = 1, kNumberAndAddress = 2, kAny = 3 };

std::string command_name(int number);
std::string command_line(int number);
std::string setting_line(int number);

// The numbers of up to `most` commands of one form, spread evenly over all, in a scattered order.
std::vector<int> spread(int commands, int most, Form form);

// Blocks of ten lines: the entry into a mode, eight settings, "exit".
std::vector<std::string> configuration(const Shape &shape, int lines);

}  // namespace bench

#endif
