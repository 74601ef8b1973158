#include "configuration.hpp"

#include <algorithm>
#include <cctype>

namespace router {

namespace {

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

// The digits that a text begins with, leading zeros left out.
std::string_view take_number(std::string_view &text) {
  const size_t end = std::min(text.find_first_not_of("0123456789"), text.size());
  std::string_view number = text.substr(0, end);
  text.remove_prefix(end);
  number.remove_prefix(std::min(number.find_first_not_of('0'), number.size()));
  return number;
}

// Less than, equal to or greater than 0.
int natural_compare(std::string_view a, std::string_view b) {
  const std::string_view whole_a = a;
  const std::string_view whole_b = b;
  while (!a.empty() && !b.empty()) {
    if (is_digit(a.front()) && is_digit(b.front())) {
      const std::string_view left = take_number(a);
      const std::string_view right = take_number(b);
      if (left.size() != right.size()) return left.size() < right.size() ? -1 : 1;
      if (const int order = left.compare(right); order != 0) return order;
    } else {
      if (a.front() != b.front()) return a.substr(0, 1).compare(b.substr(0, 1));
      a.remove_prefix(1);
      b.remove_prefix(1);
    }
  }
  if (a.empty() != b.empty()) return a.empty() ? -1 : 1;
  return whole_a.compare(whole_b);  // 01 and 1 are two texts
}

}  // namespace

bool natural_less(std::string_view a, std::string_view b) {
  return natural_compare(a, b) < 0;
}

bool Place::operator<(const Place &other) const {
  if (order != other.order) return order < other.order;
  if (command != other.command) return command < other.command;
  return std::lexicographical_compare(key.begin(), key.end(), other.key.begin(), other.key.end(), natural_less);
}

bool Place::covers(const Place &other) const {
  return command == other.command && key.size() <= other.key.size() &&
         std::equal(key.begin(), key.end(), other.key.begin());
}

std::string Entry::line() const {
  return words.empty() ? command : command + ' ' + arguments();
}

std::string Entry::arguments() const {
  std::string text;
  for (const Word &word : words) {
    if (!text.empty()) text += ' ';
    text += quoted(word.text);
  }
  return text;
}

std::vector<Word> Entry::group(std::string_view name) const {
  std::vector<Word> members;
  std::copy_if(words.begin(), words.end(), std::back_inserter(members),
               [name](const Word &w) { return w.group == name; });
  return members;
}

bool Entry::has(std::string_view name) const {
  return std::any_of(words.begin(), words.end(), [name](const Word &word) { return word.name == name; });
}

std::string Entry::text(std::string_view name) const {
  const auto word = std::find_if(words.begin(), words.end(), [name](const Word &w) { return w.name == name; });
  return word == words.end() ? "" : word->text;
}

const Entry *Entry::find(std::string_view wanted) const {
  const std::vector<const Entry *> found = all(wanted);
  return found.empty() ? nullptr : found.front();
}

std::vector<const Entry *> Entry::all(std::string_view wanted) const {
  std::vector<const Entry *> found;
  for (const auto &[place, entry] : entries) {
    if (entry.command == wanted) found.push_back(&entry);
  }
  return found;
}

void append_lines(const Entry &entry, int indent, std::vector<std::string> &lines) {
  const std::string margin(static_cast<size_t>(indent), ' ');
  lines.push_back(margin + entry.line());
  if (!entry.is_mode) return;
  for (const auto &[place, below] : entry.entries) append_lines(below, indent + 1, lines);
  lines.push_back(margin + " exit");
}

std::vector<std::string> script(const Entry &configuration) {
  std::vector<std::string> lines = {"configure terminal"};
  for (const auto &[place, entry] : configuration.entries) {
    append_lines(entry, 0, lines);
    if (entry.is_mode) lines.emplace_back("!");
  }
  lines.emplace_back("end");
  return lines;
}

}  // namespace router
