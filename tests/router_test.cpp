// The router example: its language, its configuration in memory, and how that is saved and read again.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "cli_shell/plugin.h"
#include "engine_support.hpp"
#include "router/replay.hpp"
#include "router/router.hpp"
#include "router/storage.hpp"

// What cli-shell supplies.
int cli_shell_exit(cli *engine, cli_node * /*node*/) {
  cli_pop_subconfig(engine);
  return 0;
}

int cli_shell_end(cli *engine, cli_node * /*node*/) {
  cli_reset_subconfig(engine);
  return 0;
}

namespace {

using engine_support::texts_of;
using testing::HasSubstr;
using testing::Not;

class TemporaryFolder {
 public:
  TemporaryFolder() { path_ = mkdtemp(pattern_); }
  ~TemporaryFolder() { std::filesystem::remove_all(path_); }
  TemporaryFolder(const TemporaryFolder &) = delete;
  TemporaryFolder &operator=(const TemporaryFolder &) = delete;
  [[nodiscard]] std::string file(const std::string &name) const { return path_ + "/" + name; }
  [[nodiscard]] size_t entries() const {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(path_), {}));
  }

 private:
  char pattern_[32] = "/tmp/router_test.XXXXXX";
  std::string path_;
};

using Json = std::unique_ptr<json_t, decltype(&json_decref)>;

Json load(const char *name) {
  return {json_load_file((std::string("examples/router/") + name).c_str(), 0, nullptr), json_decref};
}

// The example as cli-shell runs it.
class Session {
 public:
  explicit Session(int level = router::kFullLevel) {
    engine_.exit_handler = cli_shell_exit;
    engine_.end_handler = cli_shell_end;
    cli_shell_register_types(types_);
    cli_init(&engine_, types_, definitions_.get(), nullptr, privileges_.get());
    parser_set_privilege(&engine_.parser, level);
    testing::internal::CaptureStderr();
    cli_shell_start(&engine_);
    reports_ = testing::internal::GetCapturedStderr();
  }
  ~Session() {
    cli_shell_stop(&engine_);
    cli_free(&engine_);
    validator_typesystem_free(types_);
  }
  Session(const Session &) = delete;
  Session &operator=(const Session &) = delete;

  std::string run(const std::string &line) {
    testing::internal::CaptureStdout();
    execute(line);
    return testing::internal::GetCapturedStdout();
  }
  void run_all(const std::vector<std::string> &lines) {
    testing::internal::CaptureStdout();
    for (const std::string &line : lines) execute(line);
    testing::internal::GetCapturedStdout();
  }
  void execute(const std::string &line) { cli_execute(&engine_, line.c_str()); }
  cli *engine() { return &engine_; }
  json_t *definitions() { return definitions_.get(); }
  [[nodiscard]] std::string prompt() const { return engine_.prompt_text; }
  [[nodiscard]] std::string reports() const { return reports_; }  // standard error at start
  std::vector<std::string> script() { return router::script(router::router_of(&engine_).configuration); }

 private:
  Json definitions_ = load("router.json");
  Json privileges_ = load("privileges.json");
  validator_typesystem *types_ = validator_typesystem_new();
  cli engine_{};
  std::string reports_;
};

class RouterTest : public testing::Test {
 protected:
  RouterTest() { setenv("ROUTER_STARTUP_CONFIG", startup_.c_str(), 1); }

  void write_startup(const std::string &text) const { std::ofstream(startup_, std::ios::binary) << text; }
  [[nodiscard]] std::string startup() const {
    std::ostringstream text;
    text << std::ifstream(startup_, std::ios::binary).rdbuf();
    return text.str();
  }

  TemporaryFolder folder_;
  std::string startup_ = folder_.file("startup-config");
};

// ---- Lines made from the definition document ----

const char *text_of(const json_t *object, const char *member) {
  const char *text = json_string_value(json_object_get(object, member));
  return text == nullptr ? "" : text;
}

std::string number_between(const json_t *argument, size_t pick) {
  const json_int_t least = json_integer_value(json_object_get(argument, "#min_inclusive"));
  const json_int_t most = json_integer_value(json_object_get(argument, "#max_inclusive"));
  const json_int_t value = pick % 2 == 0 ? least : most;
  std::ostringstream text;
  if (json_integer_value(json_object_get(argument, "#base")) == 16) text << std::hex;
  text << value;
  return text.str();
}

std::string sample_value(const json_t *argument, size_t pick) {
  // clang-format off
  static const std::map<std::string, std::string> kSamples = {
      {"string", "\"| \\\"#\""}, {"time", "0#:30:00"}, {"MACAddress", "02:00:00:00:00:0#"}, {"FQDN", "host-#.example"},
      {"IPv4Address", "192.0.2.#"}, {"IPv4Prefix", "10.#.0.0/16"}, {"IPv4Extended", "10.#.0.0"},
      {"IPv6Address", "2001:db8::#"}, {"IPv6Prefix", "2001:db8:#::/48"}, {"IPv6Extended", "2001:db8::#"},
      {"IPAddress", "2001:db8:#::1"}, {"InterfaceName", "test#"}, {"FileName", "file-#"}, {"VlanId", "1#"},
      {"VlanList", "10,2#-30"}};
  // clang-format on
  if (const json_t *choices = json_object_get(argument, "#enum"); choices != nullptr) {
    const json_t *choice = json_array_get(choices, pick % json_array_size(choices));
    return json_is_string(choice) ? json_string_value(choice) : std::to_string(json_integer_value(choice));
  }
  const auto sample = kSamples.find(text_of(argument, "#type"));
  if (sample == kSamples.end()) return number_between(argument, pick);
  std::string text = sample->second;
  const size_t mark = text.find('#');
  return text.replace(mark, 1, std::to_string(pick % 10));
}

std::string sample_arguments(const json_t *holder, size_t pick);

std::string sample_argument(const json_t *argument, size_t pick) {
  const std::string type = text_of(argument, "#type");
  if (type == "key") return ' ' + std::string(text_of(argument, "#name")) + sample_arguments(argument, pick);
  if (type != "container") return ' ' + sample_value(argument, pick);
  if (!json_is_true(json_object_get(argument, "#exclusive"))) return sample_arguments(argument, pick);
  const json_t *alternatives = json_object_get(argument, "#args");
  return sample_argument(json_array_get(alternatives, pick % json_array_size(alternatives)), pick);
}

// The arguments of a definition; different picks take different alternatives, with and without what is optional.
std::string sample_arguments(const json_t *holder, size_t pick) {
  std::string line;
  size_t index = 0;
  const json_t *argument = nullptr;
  json_array_foreach(json_object_get(holder, "#args"), index, argument) {
    const bool optional = json_is_true(json_object_get(argument, "#optional"));
    if (!optional || (pick + index) % 3 != 0) line += sample_argument(argument, pick);
  }
  return line;
}

constexpr size_t kPicks = 14;

void visit_definitions(Session &session, json_t *commands, const std::string &path) {
  const char *name = nullptr;
  json_t *definition = nullptr;
  json_object_foreach(commands, name, definition) {
    if (json_object_get(definition, "#alias") != nullptr) continue;
    const std::string words = path + name;
    const bool is_mode = json_object_get(definition, "#prompt") != nullptr;
    for (size_t pick = 0; pick < kPicks && (is_mode || json_object_get(definition, "#handler") != nullptr); ++pick) {
      const std::string line = words + sample_arguments(definition, pick);
      session.execute(line);
      if (!is_mode) continue;
      cli_node *entered = session.engine()->current;
      if (entered->definition != definition) continue;  // refused
      visit_definitions(session, json_object_get(definition, "#commands"), "");
      session.execute("exit");
    }
    if (!is_mode) visit_definitions(session, json_object_get(definition, "#commands"), words + ' ');
  }
}

// Every command below an object of definitions, each with all picks; modes are entered and left again.
void visit_commands(Session &session, json_t *commands, const std::string &path) {
  testing::internal::CaptureStdout();
  visit_definitions(session, commands, path);
  testing::internal::GetCapturedStdout();
}

// A configuration with every setting that the language has.
void configure_everything(Session &session) {
  session.run("configure terminal");
  for (int vlan = 10; vlan < 20; ++vlan) session.run_all({"vlan " + std::to_string(vlan), "exit"});
  json_t *configure = json_object_get(session.definitions(), "configure terminal");
  const Json commands(json_copy(json_object_get(configure, "#commands")), json_decref);
  json_object_del(commands.get(), "no");
  // Modes hold "no" forms too, which would take away what was just set.
  const char *name = nullptr;
  json_t *definition = nullptr;
  json_object_foreach(commands.get(), name, definition) {
    json_object_del(json_object_get(definition, "#commands"), "no");
  }
  visit_commands(session, commands.get(), "");
  session.run("end");
}

TEST_F(RouterTest, RunningConfigurationReplaysIntoTheSameModel) {
  std::vector<std::string> lines;
  {
    Session session;
    configure_everything(session);
    lines = session.script();
    session.run("copy running-config startup-config");
    EXPECT_THAT(session.run("show vlan"), HasSubstr("\x1b[;31mshutdown  \x1b[0m\n"));
  }
  EXPECT_GT(lines.size(), 500U);
  Session again(router::kUserLevel);
  EXPECT_EQ(again.reports(), "");
  EXPECT_EQ(again.script(), lines);
  EXPECT_EQ(parser_get_privilege(&again.engine()->parser), router::kUserLevel);
  EXPECT_EQ(again.engine()->current, &again.engine()->root);
}

TEST_F(RouterTest, NoFormsTakeEverythingAway) {
  Session session;
  configure_everything(session);
  session.run("configure terminal");
  json_t *commands = json_object_get(json_object_get(session.definitions(), "configure terminal"), "#commands");
  for (int pass = 0; pass < 2; ++pass) {  // VLANs go when the interfaces that use them are gone
    visit_commands(session, json_object_get(json_object_get(commands, "no"), "#commands"), "no ");
  }
  for (int vlan = 10; vlan < 20; ++vlan) session.run("no vlan " + std::to_string(vlan));
  EXPECT_THAT(session.script(), testing::ElementsAre("configure terminal", "end"));
}

TEST_F(RouterTest, ValuesOfAnyBytesAreReadBack) {
  const std::string kTexts[] = {"plain",     "two words", "say \"hi\"", "it's",  "back\\slash\\",      "a | include b",
                                "tab\there", "!x",        "#x",         "what?", "\x80\xff not UTF-8", "\x01\x1b[31m",
                                "\"",        "\\",        " ",          "\r"};
  for (const std::string &text : kTexts) {
    Session session;
    session.run_all({"configure terminal", "vlan 7", "name " + router::quoted(text), "end"});
    const std::vector<std::string> lines = session.script();
    const router::Entry *vlan = router::router_of(session.engine()).configuration.find("vlan");
    ASSERT_NE(vlan, nullptr);
    ASSERT_NE(vlan->find("name"), nullptr) << text;
    EXPECT_EQ(vlan->find("name")->text("text"), text);
    session.run("copy running-config startup-config");
    EXPECT_EQ(Session().script(), lines) << text;
  }
  Session session;
  session.run_all({"configure terminal", "vlan 7"});
  EXPECT_THAT(session.run("name \"a\nusername eve nopassword\""), HasSubstr("line break"));
  EXPECT_THAT(session.run("ip access-list \"a\nhostname x\""), HasSubstr("line break"));
}

TEST_F(RouterTest, DamagedLinesAreReportedAndTheRestIsApplied) {
  engine_support::for_each_case("router-startup.json", "startup", [&](const json_t *row) {
    const json_t *bytes = json_object_get(row, "text");
    const std::string text(json_string_value(bytes), json_string_length(bytes));
    write_startup(text);
    testing::internal::CaptureStdout();
    Session session;
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    std::string reports;
    for (const std::string &report : texts_of(json_object_get(row, "reports")))
      reports += startup_ + ':' + report + '\n';
    EXPECT_EQ(session.reports(), reports);
    std::vector<std::string> lines = session.script();
    lines.erase(lines.begin());
    lines.pop_back();
    EXPECT_EQ(lines, texts_of(json_object_get(row, "lines")));
    EXPECT_EQ(startup(), text);
  });
}

TEST_F(RouterTest, SavingReplacesTheFileWholeOrNotAtAll) {
  write_startup("! before\n");
  chmod(startup_.c_str(), 0644);
  Session session;
  session.run_all({"configure terminal", "hostname R1", "end", "copy running-config startup-config"});
  const std::string saved = startup();
  EXPECT_EQ(saved, "configure terminal\nhostname R1\nend\n");
  struct stat state {};
  stat(startup_.c_str(), &state);
  EXPECT_EQ(state.st_mode & 07777U, 0600U);

  EXPECT_EQ(folder_.entries(), 1U);
  EXPECT_EQ(router::write_whole(folder_.file("folders/to make/file"), ""), "");

  // A link is followed; what is no file stays what it is.
  const std::string link = folder_.file("link");
  std::filesystem::create_symlink(startup_, link);
  EXPECT_EQ(router::write_whole(link, "through the link\n"), "");
  EXPECT_EQ(startup(), "through the link\n");
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  const std::string fifo = folder_.file("fifo");
  mkfifo(fifo.c_str(), 0600);
  EXPECT_EQ(router::write_whole(fifo, "x"), fifo + ": Not a regular file");
}

TEST_F(RouterTest, ThePromptFollowsModeAndHostName) {
  std::ifstream transcript(TEST_DATA_DIR "/router-prompts.txt");
  Session session;
  size_t lines = 0;
  for (std::string line; std::getline(transcript, line); lines++) {
    const size_t typed = line.find_first_of("#>") + 2;
    EXPECT_EQ(session.prompt(), line.substr(0, typed)) << line;
    session.run(line.substr(typed));
  }
  EXPECT_EQ(lines, 16U);
}

// No argument reaches the shell as anything but one word of its own.
TEST_F(RouterTest, PingTakesNoShellText) {
  std::ofstream(folder_.file("ping")) << "#!/bin/sh\nfor word; do echo \"<$word>\"; done\n";
  chmod(folder_.file("ping").c_str(), 0755);
  const char *kept = std::getenv("PATH");
  const std::string path = kept == nullptr ? "" : kept;
  setenv("PATH", (folder_.file("") + ':' + path).c_str(), 1);
  Session session;
  EXPECT_THAT(session.run("ping 192.0.2.1 size 100 interface eth0 count 2"),
              HasSubstr("\n<-c>\n<2>\n<-s>\n<100>\n<-I>\n<eth0>\n<192.0.2.1>\n"));
  EXPECT_THAT(session.run("ping host.example"), HasSubstr("\n<-c>\n<5>\n<host.example>\n"));
  for (const char *line : {"ping $(id)", "ping ';id'", "ping \"a b\"", "ping -f", "ping a|id", "ping ''", "ping `id`",
                           "ping 192.0.2.1 interface 'eth0;id'", "ping 192.0.2.1 interface -f"}) {
    EXPECT_THAT(session.run(line), testing::AllOf(HasSubstr("Invalid argument"), Not(HasSubstr("\n<")))) << line;
  }
  setenv("PATH", folder_.file("none").c_str(), 1);
  EXPECT_THAT(session.run("ping host.example"), HasSubstr("% This machine has no program \"ping\""));
  setenv("PATH", path.c_str(), 1);
}

}  // namespace
