// Engines with `write`, each in a thread of its own, and interrupts from another. Built by the preset tsan this shows
// that they share nothing.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "cli_engine/table.h"
#include "engine_support.hpp"

extern "C" CLI_API int threads_show(cli *engine, cli_node *) {
  table *rows = table_new(1, nullptr);
  table_set_cell(rows, table_new_row(rows, "label", nullptr), 0, "cell", nullptr);
  table_print(rows, &engine->pager, 1);
  table_free(rows);
  return pager_feed_popen(&engine->pager, "echo from a program");
}

extern "C" CLI_API int threads_wait(cli *engine, cli_node *) {
  static_cast<std::atomic<cli *> *>(engine->context)->store(engine);
  while (pager_flush(&engine->pager) == 0) std::this_thread::yield();
  return 0;
}

namespace {

const char *const kLanguage = R"({'show': {'#help': 'h', '#handler': 'threads_show'},
  'wait': {'#help': 'h', '#handler': 'threads_wait'},
  'mode': {'#help': 'h', '#prompt': 'm', '#args': [{'#type': 'IPAddress', '#name': 'a', '#help': 'h'}], '#commands': {
    'set': {'#help': 'h', '#handler': 'threads_show', '#args': [
      {'#type': 'string', '#name': 's', '#help': 'h', '#enum': ['on', 'off', 5]}]}}}})";

// What an engine printed until it was interrupted in "wait", of which `waiting` tells.
std::string session(std::atomic<cli *> &waiting) {
  std::string text;
  engine_support::Engine engine(kLanguage);
  engine->context = &waiting;
  engine->write_data = &text;
  engine->write = [](void *to, const char *piece, size_t len) {
    static_cast<std::string *>(to)->append(piece, len);
    return 0;
  };
  const engine_support::Json found(json_array());
  DynString *said = dyn_string_new();
  for (int round = 0; round < 20; round++) {
    engine->flags = round % 2 * CLI_DATA;
    const std::string_view lines = "mode ::1\n set off\n set x\nshow\nshwo\n";
    cli_replay(engine.get(), lines.data(), lines.size(), 0, nullptr, nullptr);
    cli_explain(engine.get(), said);
    cli_help(engine.get(), "mode ");
    cli_complete(engine.get(), "s", 1, found.get());
  }
  cli_execute(engine.get(), "wait");
  text += dyn_string_text(said) + std::to_string(cli_last_outcome(engine.get())->interrupted);
  dyn_string_free(said);
  while (waiting != nullptr) std::this_thread::yield();  // an engine outlives the interrupts that others send
  return text;
}

TEST(Threads, EnginesThatWriteShareNothing) {
  std::vector<std::atomic<cli *>> waiting(4);
  std::vector<std::string> texts(waiting.size());
  std::vector<std::thread> threads;
  for (size_t i = 0; i < texts.size(); i++) threads.emplace_back([&, i] { texts[i] = session(waiting[i]); });
  for (size_t i = 0; i < texts.size(); i++) {
    while (waiting[i] == nullptr) std::this_thread::yield();
    cli_interrupt(waiting[i]);
    waiting[i] = nullptr;
    threads[i].join();
    EXPECT_EQ(texts[i], texts[0]);
  }
  EXPECT_TRUE(texts[0].ends_with("did you mean \"show\"?\n1")) << texts[0];
}

}  // namespace
