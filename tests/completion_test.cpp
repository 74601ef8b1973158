// What can stand for the word at the cursor.
#include <gtest/gtest.h>

#include "engine_support.hpp"

using engine_support::cases;
using engine_support::Engine;
using engine_support::Json;

extern "C" CLI_API int test_nothing(cli *, cli_node *) {
  return 0;
}

namespace {

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

struct Completed : Engine {
  Completed() : Engine(cases("completion.json", "language").get(), cases("completion.json", "privileges").get()) {}
};

// Rows of the line, in which the cursor stands at "|", and what is offered.
TEST(Completion, OffersWhatCanStandForTheWordAtTheCursor) {
  Completed engine;
  engine->complete = offer_ports;
  engine_support::for_each_case("completion.json", "cases", [&engine](const json_t *row) {
    std::vector<std::string> texts = engine_support::texts_of(row);
    const size_t cursor = texts[0].find('|');
    texts[0].erase(cursor, 1);
    EXPECT_EQ(offered(engine.get(), texts[0], cursor), texts[1]);
  });
}

TEST(Completion, RefusesWhatItCannotAnswer) {
  Completed engine;
  const Json result(json_array()), object(json_object());
  EXPECT_EQ(cli_complete(engine.get(), nullptr, 0, result.get()), -1);
  EXPECT_EQ(cli_complete(engine.get(), "s", 2, result.get()), -1);
  EXPECT_EQ(cli_complete(engine.get(), "s", SIZE_MAX, result.get()), -1);
  EXPECT_EQ(cli_complete(engine.get(), "s", 1, object.get()), -1);
  EXPECT_EQ(cli_complete(engine.get(), "s", 1, nullptr), -1);
  EXPECT_EQ(json_array_size(result.get()), 0U);
}

}  // namespace
