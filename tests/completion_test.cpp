// What can stand for the word at the cursor.
#include <gtest/gtest.h>

#include "engine_support.hpp"

using engine_support::Engine;
using engine_support::Json;

extern "C" CLI_API int test_nothing(cli *, cli_node *) {
  return 0;
}

namespace {

const std::string kLanguage = R"({
  'show': {'#help': 'Show'}, 'show clock': {'#help': 'The time', '#handler': 'test_nothing'},
  'shutdown': {'#help': 'Stop', '#handler': 'test_nothing'},
  'so': {'#alias': 'show clock'},
  '!now': {'#help': 'At once', '#handler': 'test_nothing'},
  'state': {'#help': 'State', '#handler': 'test_nothing', '#args': [{'#type': 'container', '#args': [
    {'#type': 'string', '#name': 'to', '#help': 'Which', '#enum': ['on hold', 'on', 7, 'say \'hi\'', 'much longer'],
     '#max_length': 8},
    {'#type': 'key', '#name': 'on line', '#help': 'A key', '#optional': true}]}]},
  'port': {'#help': 'Port', '#handler': 'test_nothing', '#args': [
    {'#type': 'string', '#name': 'name', '#help': 'Its name'}]},
  'mtu': {'#help': 'MTU', '#handler': 'test_nothing', '#args': [
    {'#type': 'int', '#name': 'size', '#help': 'Bytes'}]},
  'reload': {'#help': 'Restart', '#handler': 'test_nothing'}
})";

// The words of a host, whatever the value, and some that cannot be.
void offer_ports(cli *, cli_node *value, const char *text, json_t *result) {
  for (const char *word : {"eth0", "eth 1", "Et\\2", "lo", "1500"}) json_array_append_new(result, json_string(word));
  json_array_append_new(result, json_string((std::string(value->name) + text).c_str()));
  json_array_append_new(result, json_integer(9));
}

// The byte that is replaced, then each text with its kind and help.
std::string offered(cli *engine, const std::string &line, size_t cursor) {
  const Json result(json_array());
  std::string text = std::to_string(cli_complete(engine, line.c_str(), cursor, result.get())) + ":";
  for (size_t i = 0; i < json_array_size(result.get()); i++) {
    const json_t *offer = json_array_get(result.get(), i);
    for (const char *member : {"text", "kind", "help"}) {
      text += (*member == 't' ? " " : "/") + std::string(json_string_value(json_object_get(offer, member)));
    }
  }
  return text;
}

struct Case {
  const char *typed;  // the cursor stands at "|"
  const char *offered;
};
constexpr Case kCases[] = {
    {"sh|", "0: show/word/Show shutdown/word/Stop"},
    {"sh|ow clock", "0: show/word/Show shutdown/word/Stop"},
    {"  s|", "2: show/word/Show shutdown/word/Stop so/alias/show clock state/word/State"},
    {"show |", "5: clock/word/The time"},
    {"show| ", "0: show/word/Show"},
    {"so |", "3:"},
    {"zz |", "3:"},
    {"sh |", "3:"},
    {"!|", "0: \"!now\"/word/At once"},
    {" !|", "1: !now/word/At once"},
    {"r|", "0:"},  // of a higher level
    {"\"sh|", "0: \"show\"/word/Show \"shutdown\"/word/Stop"},
    {"s'h|", "0: 'show'/word/Show 'shutdown'/word/Stop"},
    {"'s'h|", "0: show/word/Show shutdown/word/Stop"},
    {"sho\\|", "0: show/word/Show"},
    {"state |", "6: \"on hold\"/value/Which on/value/Which 7/value/Which 'say \"hi\"'/value/Which"},
    {"state ON|", "6: \"on hold\"/value/Which on/value/Which"},
    {"state \"say |", "6: \"say \\\"hi\\\"\"/value/Which"},
    {"state on\\ |", "6: \"on hold\"/value/Which"},
    {"state on on|", "9: \"on line\"/keyword/A key"},
    {"port |",
     "5: eth0/value/Its name \"eth 1\"/value/Its name \"Et\\\\2\"/value/Its name lo/value/Its name "
     "1500/value/Its name name/value/Its name"},
    {"port e|th", "5: eth0/value/Its name \"eth 1\"/value/Its name \"Et\\\\2\"/value/Its name"},
    {"mtu |", "4: 1500/value/Bytes"},
    {"mtu x|", "4:"},
};

TEST(Completion, OffersWhatCanStandForTheWordAtTheCursor) {
  Engine engine(kLanguage, "{'1': {'Name': 'reload', 'Prompt': '', 'Level': 15}}");
  engine->complete = offer_ports;
  for (const Case &row : kCases) {
    std::string line = row.typed;
    const size_t cursor = line.find('|');
    line.erase(cursor, 1);
    EXPECT_EQ(offered(engine.get(), line, cursor), row.offered) << row.typed;
  }
}

TEST(Completion, RefusesWhatItCannotAnswer) {
  Engine engine(kLanguage);
  const Json result(json_array()), object(json_object());
  EXPECT_EQ(cli_complete(engine.get(), nullptr, 0, result.get()), -1);
  EXPECT_EQ(cli_complete(engine.get(), "s", 2, result.get()), -1);
  EXPECT_EQ(cli_complete(engine.get(), "s", SIZE_MAX, result.get()), -1);
  EXPECT_EQ(cli_complete(engine.get(), "s", 1, object.get()), -1);
  EXPECT_EQ(cli_complete(engine.get(), "s", 1, nullptr), -1);
  EXPECT_EQ(json_array_size(result.get()), 0U);
}

}  // namespace
