// What became of lines: outcomes and their places, lines that end later, interrupts, configuration texts.
#include "cli_engine/outcome.h"

#include <gtest/gtest.h>

#include <iterator>
#include <thread>

#include "engine_support.hpp"

using engine_support::json;
using engine_support::Json;

extern "C" {
CLI_API int outcome_say(cli *engine, cli_node *node);
CLI_API int outcome_later(cli *engine, cli_node *node);
CLI_API int outcome_now(cli *engine, cli_node *node);
CLI_API int outcome_refuse(cli *engine, cli_node *node);
CLI_API int outcome_again(cli *engine, cli_node *node);
CLI_API int outcome_stop(cli *engine, cli_node *node);
}

int outcome_say(cli *engine, cli_node *node) {
  pager_feed(&engine->pager, node->name);
  return 3;
}

int outcome_later(cli *engine, cli_node *node) {
  outcome_say(engine, node);
  cli_defer(engine);
  return 4;
}

int outcome_now(cli *engine, cli_node *node) {
  outcome_later(engine, node);
  cli_finish(engine, 5);
  return 4;
}

int outcome_refuse(cli *, cli_node *) {
  return 7;
}

int outcome_again(cli *engine, cli_node *node) {
  cli_outcome outcome{};
  EXPECT_EQ(cli_run(engine, "say", 0, &outcome), -1);
  EXPECT_EQ(outcome.kind, CLI_BUSY);
  EXPECT_EQ(cli_replay(engine, "say", 3, 0, nullptr, nullptr), -1);
  EXPECT_EQ(cli_parse(engine, "say", nullptr), nullptr);
  cli_execute(engine, "say");
  cli_push_subconfig(engine, engine->current);  // open already, or the root
  const Json found(json_array());
  cli_help(engine, "");
  cli_autocomplete(engine, "", 0, found.get());
  EXPECT_EQ(json_array_size(found.get()), 0U);
  validator_typesystem *const types = validator_typesystem_new();
  const cli_language_source source{};
  cli_language *const empty = cli_language_from_json(types, json("{}").get(), nullptr, &source, nullptr, nullptr);
  EXPECT_NE(empty, nullptr);
  EXPECT_EQ(cli_exchange_language(engine, empty), -1);
  cli_language_free(empty);
  validator_typesystem_free(types);
  cli_free(engine);
  return outcome_say(engine, node);
}

int outcome_stop(cli *engine, cli_node *) {
  pager_feed(&engine->pager, "seen");
  EXPECT_EQ(pager_flush(&engine->pager), 0);
  std::thread([engine] { cli_interrupt(engine); }).join();
  pager_feed(&engine->pager, "dropped");
  EXPECT_EQ(pager_flush(&engine->pager), -1);
  pager_feed(&engine->pager, "dropped too");
  return 0;
}

namespace {

const std::string kLanguage = engine_support::text_of(engine_support::cases("outcome.json", "language").get());

// An engine that writes into a text, without colours and echo.
class Session {
 public:
  explicit Session(const std::string &language = kLanguage) {
    engine_.exit_handler = engine_support::leave_mode;
    engine_.end_handler = engine_support::leave_all_modes;
    engine_.flags = CLI_NO_COLOUR | CLI_NO_ECHO;
    engine_.write = [](void *data, const char *text, size_t len) {
      auto &session = *static_cast<Session *>(data);
      session.printed_.append(text, len);
      return session.closed ? -1 : 0;
    };
    engine_.write_data = this;
    EXPECT_EQ(cli_init(&engine_, types_, json(language.c_str()).get(), nullptr, nullptr), &engine_);
  }
  Session(const Session &) = delete;
  Session &operator=(const Session &) = delete;
  ~Session() {
    cli_free(&engine_);
    validator_typesystem_free(types_);
  }

  cli *get() { return &engine_; }
  cli *operator->() { return &engine_; }
  std::string printed() { return std::exchange(printed_, {}); }
  std::string run(const char *line, unsigned options = 0) {
    result = cli_run(&engine_, line, options, &outcome);
    return printed();
  }
  // The kinds of the lines, a digit each, a ! before those that were left out with another.
  std::string replay(std::string_view text, unsigned options = 0) {
    std::string kinds;
    result = static_cast<int>(cli_replay(
        &engine_, text.data(), text.size(), options,
        [](void *data, size_t, const char *, const cli_outcome *seen) {
          const bool left_out = seen->kind == CLI_SKIPPED && (seen->errcode != E_OK || seen->node != nullptr);
          static_cast<std::string *>(data)->append(left_out ? "!" : "").append(std::to_string(seen->kind));
        },
        &kinds));
    return kinds;
  }

  cli_outcome outcome{};
  int result = 0;
  bool closed = false;

 private:
  validator_typesystem *types_ = validator_typesystem_new();
  cli engine_{};
  std::string printed_;
};

TEST(Outcome, EveryKindAndWhatIsBlamed) {
  const struct {
    const char *line;
    int kind, errcode, handled;
    size_t column, length;
  } rows[] = {
      {"! x", CLI_SKIPPED, E_OK, 0, 0, 0},
      {"say", CLI_RAN, E_OK, 3, 0, 0},
      {"now", CLI_RAN, E_OK, 5, 0, 0},
      {"again", CLI_RAN, E_OK, 3, 0, 0},
      {"show", CLI_LISTED, E_OK, 0, 0, 0},
      {"", CLI_FAILED, E_INCOMPLETE, 0, 0, 0},
      {"  ", CLI_FAILED, E_INCOMPLETE, 0, 2, 0},
      {" mtu  ", CLI_FAILED, E_INCOMPLETE, 0, 6, 0},
      {"  sh", CLI_FAILED, E_AMBIGUOUS, 0, 2, 2},
      {" mtu \"a b\"x 7", CLI_FAILED, E_INVALID_ARGUMENT, 0, 5, 6},
      {"mtu 70 '' 7", CLI_FAILED, E_EXTRA_INPUT, 0, 7, 2},
      {"show\tal\\l b\\ c\\", CLI_FAILED, E_EXTRA_INPUT, 0, 10, 5},
      {"say bogus \\", CLI_FAILED, E_EXTRA_INPUT, 0, 4, 5},
      {" sa  bogus", CLI_FAILED, E_EXTRA_INPUT, 0, 5, 5},
      {"ring x y", CLI_FAILED, E_EXTRA_INPUT, 0, 0, 4},
      {"conf", CLI_ENTERED, E_OK, 0, 0, 0},
      {"do mtu x", CLI_FAILED, E_INVALID_ARGUMENT, 0, 7, 1},
      {"no", CLI_REFUSED, E_OK, 7, 0, 0},
      {"if 10", CLI_FAILED, E_INVALID_ARGUMENT, 0, 3, 2},
      {"if 1", CLI_ENTERED, E_OK, 0, 0, 0},
      {"again", CLI_RAN, E_OK, 3, 0, 0},
  };
  Session session;
  for (const auto &row : rows) {
    SCOPED_TRACE(row.line);
    session.run(row.line);
    const cli_outcome &seen = session.outcome;
    EXPECT_EQ(seen.kind, row.kind);
    EXPECT_EQ(seen.errcode, row.errcode);
    EXPECT_EQ(seen.result, row.handled);
    EXPECT_EQ(seen.column, row.column);
    EXPECT_EQ(seen.length, row.length);
    EXPECT_EQ(session.result, row.kind == CLI_FAILED ? -1 : 0);
  }
  EXPECT_EQ(session.run(" \t# x", CLI_CONFIG), "");
  EXPECT_EQ(session.outcome.kind, CLI_SKIPPED);
  parser_error *error = nullptr;
  EXPECT_EQ(cli_is_command(cli_parse(session.get(), "say", &error)), 1);
  EXPECT_EQ(cli_parse(session.get(), "zz", &error), nullptr);
  EXPECT_EQ(error->errcode, E_EXTRA_INPUT);
  EXPECT_EQ(session.printed(), "");
}

TEST(Outcome, CallsThatCannotBeAnsweredChangeNothing) {
  cli down{};
  cli_outcome outcome{};
  const Json found(json_array());
  DynString *const text = dyn_string_new();
  for (cli *engine : {static_cast<cli *>(nullptr), &down}) {
    EXPECT_EQ(cli_run(engine, "say", 0, &outcome), -1);
    EXPECT_EQ(outcome.kind, CLI_FAILED);
    EXPECT_EQ(cli_replay(engine, "say", 3, 0, nullptr, nullptr), -1);
    EXPECT_EQ(cli_replay_begin(engine, 0), nullptr);
    EXPECT_EQ(cli_replay_line(nullptr, "say", &outcome), -1);
    EXPECT_EQ(cli_replay_end(nullptr), -1);
    EXPECT_EQ(cli_parse(engine, "say", nullptr), nullptr);
    EXPECT_EQ(cli_last_outcome(engine), nullptr);
    cli_execute(engine, "say");
    cli_defer(engine);
    cli_finish(engine, 1);
    cli_interrupt(engine);
    cli_help(engine, "");
    cli_autocomplete(engine, "", 0, found.get());
    EXPECT_EQ(cli_complete(engine, "", 0, found.get()), -1);
    EXPECT_EQ(cli_explain(engine, text), -1);
    EXPECT_EQ(cli_exchange_language(engine, nullptr), -1);
    EXPECT_EQ(cli_init_language(engine, nullptr, nullptr), nullptr);
    EXPECT_EQ(cli_load_commands(engine, nullptr, nullptr, nullptr), -1);
    cli_push_subconfig(engine, &down.root);
    cli_pop_subconfig(engine);
    cli_reset_subconfig(engine);
    cli_debug_dump(engine);
    EXPECT_EQ(cli_check_parameter_condition(engine, json("{'if': 'x'}").get()), 0);
    EXPECT_EQ(cli_get_subconfig_first_token(engine, nullptr), nullptr);
    EXPECT_EQ(pager_flush(engine == nullptr ? nullptr : &engine->pager), engine == nullptr ? -1 : 0);
    cli_unload_commands(engine);
    cli_free(engine);
  }
  EXPECT_EQ(json_array_size(found.get()) + dyn_string_len(text), 0U);
  EXPECT_EQ(cli_init(nullptr, nullptr, nullptr, nullptr, nullptr), nullptr);
  cli_set_prompt(nullptr, "a", "b", "c", 'd');
  EXPECT_STREQ(cli_select_prompt(nullptr, found.get(), "x"), "");
  EXPECT_EQ(cli_print_node(nullptr, nullptr, text, 0) + cli_print_node(&down.root, nullptr, nullptr, 0), 0);
  EXPECT_EQ(cli_print_syntax(nullptr, text, 0) + cli_print_command(nullptr, nullptr, 0, nullptr), 0);
  EXPECT_EQ(cli_language_load(nullptr, nullptr, nullptr, nullptr), nullptr);
  EXPECT_EQ(cli_language_from_json(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), nullptr);
  dyn_string_free(text);
  Session session;
  EXPECT_EQ(cli_run(session.get(), nullptr, 0, nullptr), -1);
  cli_execute(session.get(), nullptr);
  cli_finish(session.get(), 1);
  cli_defer(session.get());
  Session other;
  cli_push_subconfig(session.get(), cli_node_first_choice(&other->root));
  EXPECT_STREQ(session->prompt_text, "cli> ");
}

TEST(Outcome, ADeferredLineKeepsTheEngineAndItsPager) {
  Session one;
  Session two;
  for (int round = 0; round < 2; round++) {
    EXPECT_EQ(one.run("later"), "");
    EXPECT_EQ(one.outcome.kind, CLI_PENDING);
    EXPECT_EQ(one.run("say"), "");
    EXPECT_EQ(one.outcome.kind, CLI_BUSY);
    EXPECT_EQ(one.result, -1);
    EXPECT_EQ(two.run("say"), "say\n") << "others are free";
    EXPECT_EQ(pager_flush(&one->pager), 0);
    EXPECT_EQ(one.printed(), "later\n");
    pager_feed(&one->pager, "end");
    if (round == 1) {
      cli_interrupt(one.get());
    }
    cli_finish(one.get(), 9);
    EXPECT_EQ(one.printed(), round == 0 ? "end\n" : "");
    EXPECT_EQ(cli_last_outcome(one.get())->kind, CLI_RAN);
    EXPECT_EQ(cli_last_outcome(one.get())->result, 9);
    EXPECT_EQ(cli_last_outcome(one.get())->interrupted, round);
    EXPECT_EQ(one.run("say"), "say\n");
  }
  EXPECT_EQ(one.run("stop"), "seen\n");
  EXPECT_EQ(one.outcome.interrupted, 1);
  one.closed = true;
  EXPECT_EQ(one.run("zz").substr(0, 3), "zz ") << "the piece that was refused is the last";
  EXPECT_EQ(one.outcome.interrupted, 1);
  one.run("later");  // and goes down with it
}

TEST(Outcome, AnInterruptEndsACapturedProgram) {
  Session session;
  session.run("later");
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  std::thread interrupt([&] {
    char byte;
    EXPECT_EQ(read(ready[0], &byte, 1), 1);
    cli_interrupt(session.get());
  });
  const std::string command = "trap 'echo summary; exit 3' INT; echo start; echo >&" + std::to_string(ready[1]) +
                              "; while :; do sleep 0.02; done";
  EXPECT_EQ(pager_feed_popen(&session->pager, command.c_str()), 3 << 8);
  interrupt.join();
  EXPECT_EQ(pager_feed_popen(&session->pager, "echo $(cat)"), 0) << "nothing is left to cut, and nothing to read";
  cli_finish(session.get(), 0);
  EXPECT_EQ(session.printed(), "laterstart\nsummary\n\n");
  close(ready[0]);
  close(ready[1]);
}

TEST(Replay, TextsAndWhatBecomesOfTheirLines) {
  using namespace std::string_view_literals;
  const struct {
    const char *first;  // run before the text
    std::string_view text;
    const char *kinds, *prompt;
    int result;
    unsigned options = 0;
  } rows[] = {
      {"!", ""sv, "", "cli> ", 0},
      {"!", "say\r\n\n !\nsay"sv, "1001", "cli> ", 0},
      {"!", "exit\nconf\nname\nif 1\nup\nexit\nexit\nexit\nsay"sv, "021211101", "cli> ", 0},
      {"conf", "if 1\nif 2\nexit\nexit\ndo exit\nname"sv, "221001", "cli(conf)> ", 0},
      {"conf", "say\nexit\nconf"sv, "102", "cli(conf)> ", 0},
      {"!", "conf\n no\n  up\n\n  exit\n name\nsay"sv, "23!00!011", "cli> ", 3},
      {"!", "conf\n if 99\n  up\n exit\n if 1\n  up\n exit\n name\nexit\nsay"sv, "25!0!0211111", "cli> ", 3},
      {"!", "conf\n if 1\n  up\n  sub\n   deep\n name\nsay"sv, "2212111", "cli> ", 0},
      {"!", "conf\nif 1\nsub\n deep\nif 2\n up\nname"sv, "2221211", "cli(conf)> ", 0},
      {"!", "conf\n\tif 99\n\t  up\n        name"sv, "25!01", "cli(conf)> ", 2},
      {"!", "show\n all\nsay\0x\n  \0\n"sv, "4!05!0", "cli> ", 3},
      {"!", "conf\n do say\n if 1\n  end\nsay"sv, "21211", "cli> ", 0},
      {"conf", "if 1\n up\nend\nname\nsay\ndo say\nconf\nexit\nif 2\nexit"sv, "2111332021", "cli(conf)> ", 2, CLI_STAY},
      {"!", "stop\nsay\n!"sv, "100", "cli> ", 1},
      {"!", "later\nsay"sv, "67", "cli> ", 1},
  };
  Session session;
  for (const auto &row : rows) {
    SCOPED_TRACE(row.text);
    session.run(row.first);
    const std::string before = session->prompt_text;
    session.replay(row.text, row.options | CLI_DRY_RUN);
    EXPECT_EQ(session->prompt_text, before);
    EXPECT_EQ(session.printed(), "");
    EXPECT_EQ(session.replay(row.text, row.options), row.kinds);
    EXPECT_EQ(session.result, row.result);
    EXPECT_STREQ(session->prompt_text, row.prompt);
    cli_finish(session.get(), 0);
    cli_reset_subconfig(session.get());
    session.printed();
  }
}

TEST(Replay, LineByLine) {
  std::string without_exit = kLanguage;
  without_exit.replace(without_exit.find("\"exit\""), 6, "\"quit\"");
  for (const unsigned options : {0U, static_cast<unsigned>(CLI_DRY_RUN)}) {
    Session session(without_exit);
    EXPECT_EQ(session.replay("exit\nconf\nif 99\n up\nexit\nexit\nexit\nsay", options), "025!0!0101");
    cli_replay_lines *const lines = cli_replay_begin(session.get(), options);
    std::string kinds;
    long not_run = 0;
    for (const char *line :
         {"exit", "", "conf", " if 99", "  up", " exit", " name", " if 1", "  up", "say", "  exit"}) {
      not_run += cli_replay_line(lines, line, &session.outcome) == 0 ? 0 : 1;
      kinds += std::to_string(session.outcome.kind);
    }
    EXPECT_EQ(kinds, "00250012110");
    EXPECT_STREQ(session->prompt_text, "cli> ");
    EXPECT_EQ(cli_replay_line(lines, "conf", nullptr), 0);
    EXPECT_EQ(cli_replay_end(lines), not_run);
    EXPECT_EQ(not_run, 3);
    EXPECT_STREQ(session->prompt_text, options == 0 ? "cli(conf)> " : "cli> ");
  }
}

// A text without indentation, and a dry run of it, against its lines one by one.
TEST(Replay, IsOneRunForEachLine) {
  const char *const lines[] = {"conf", "if 1", "sub", "deep", "up", "name", "no", "zz", "say", "exit", "end", "do say"};
  Session replayed;
  Session single;
  unsigned seed = 1;
  for (int round = 0; round < 300; round++) {
    std::string text;
    std::string kinds;
    bool refused = false;
    for (int i = 0; i < 8; i++) {
      const std::string line = lines[(seed = seed * 1103515245U + 12345U) / 65536U % std::size(lines)];
      text += line + "\n";
      if (line == "exit" && single->mode_stack.first == nullptr) {
        kinds += "0";
        continue;
      }
      cli_run(single.get(), line.c_str(), 0, &single.outcome);
      refused = refused || single.outcome.kind == CLI_REFUSED;
      kinds += std::to_string(single.outcome.kind);
    }
    SCOPED_TRACE(text);
    const std::string dry = replayed.replay(text, CLI_DRY_RUN);
    EXPECT_TRUE(refused || dry == kinds) << dry;
    EXPECT_EQ(replayed.replay(text), kinds);
    EXPECT_EQ(replayed.printed(), single.printed());
    EXPECT_STREQ(replayed->prompt_text, single->prompt_text);
    cli_reset_subconfig(replayed.get());
    cli_reset_subconfig(single.get());
  }
}

}  // namespace
