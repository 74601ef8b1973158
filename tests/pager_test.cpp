// Lines and their indentation, what is printed and when printing stops, and captured commands.
#include "cli_engine/pager.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>
#include <sys/wait.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace {

// What goes to standard output while it lives, line by line. The line "interrupt" is a user's Ctrl-C: SIGINT is raised
// as it is written.
class Screen {
 public:
  Screen() : previous_(stdout) {
    stdout = fopencookie(this, "w", {nullptr, write, nullptr, nullptr});
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  }
  ~Screen() {
    fclose(stdout);
    stdout = previous_;
  }
  Screen(const Screen &) = delete;
  Screen &operator=(const Screen &) = delete;

  const std::string &text() const { return text_; }

 private:
  static ssize_t write(void *screen, const char *text, size_t size) {
    static_cast<Screen *>(screen)->text_.append(text, size);
    if (std::string_view(text, size).find("interrupt") != std::string_view::npos) {
      raise(SIGINT);
    }
    return static_cast<ssize_t>(size);
  }

  FILE *previous_;
  std::string text_;
};

int host_interrupts = 0;
void count_interrupt(int /*signal*/, siginfo_t * /*info*/, void * /*context*/) {
  ++host_interrupts;
}
const struct sigaction kHostAction = [] {
  struct sigaction action = {};
  action.sa_sigaction = count_interrupt;
  action.sa_flags = SA_SIGINFO;
  return action;
}();
void ignore_alarm(int /*signal*/) {}

// A host that blocks SIGINT and handles it with a handler of its own.
class Pager : public testing::Test {
 protected:
  Pager() {
    sigaction(SIGINT, &kHostAction, &previous_action_);
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGINT);
    sigprocmask(SIG_BLOCK, &blocked, &previous_mask_);
    host_interrupts = 0;
    pager_open(&pager_, -1, -1);
  }
  ~Pager() override {
    expect_host_signals();
    pager_close(&pager_);
    sigprocmask(SIG_SETMASK, &previous_mask_, nullptr);
    sigaction(SIGINT, &previous_action_, nullptr);
  }
  Pager(const Pager &) = delete;
  Pager &operator=(const Pager &) = delete;

  static void expect_host_signals() {
    struct sigaction action = {};
    sigset_t mask;
    sigaction(SIGINT, nullptr, &action);
    sigprocmask(SIG_BLOCK, nullptr, &mask);
    EXPECT_EQ(action.sa_sigaction, count_interrupt);
    EXPECT_EQ(action.sa_flags & (SA_SIGINFO | SA_RESTART), SA_SIGINFO);
    EXPECT_EQ(sigismember(&mask, SIGINT), 1);
  }

  void feed_lines(const std::vector<std::string> &lines) {
    for (const std::string &line : lines) {
      pager_feed(&pager_, line.c_str());
      pager_newline(&pager_);
    }
  }
  std::string show() {
    const Screen screen;
    pager_show(&pager_);
    return screen.text();
  }
  std::string show(unsigned first, unsigned last, int printed) {
    const Screen screen;
    EXPECT_EQ(pager_show_line(&pager_, first, last), printed);
    return screen.text();
  }
  pager pager_ = {};

 private:
  struct sigaction previous_action_ = {};
  sigset_t previous_mask_ = {};
};

// The steps of a row: "\n" is pager_newline, "+4" and "-4" change the indentation, all else is fed.
TEST_F(Pager, LinesAndIndentation) {
  const struct {
    std::vector<std::string> steps;
    int count;
    const char *shown;
  } rows[] = {
      {{}, 0, ""},
      {{"\n"}, 0, ""},
      {{""}, 0, ""},
      {{"\n", "\n"}, 1, "\n"},
      {{"one", "two"}, 1, "onetwo\n"},
      {{"one", "\n"}, 1, "one\n"},
      {{"one", "\n", "\n", "two\n", "\n"}, 3, "one\n\ntwo\n\n"},
      {{"+4", "one", "two", "\n", "\n"}, 2, "    onetwo\n\n"},
      {{"+4", "\n", "-4", "one"}, 1, "one\n"},
      {{"+4", "one", "-4", "-4", "\n", "two"}, 2, "    one\ntwo\n"},
      {{"one", "+4", "two", "\n", "x"}, 2, "onetwo\n    x\n"},
      {{"+4", ""}, 1, "    \n"},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.shown);
    int indent = 0;
    for (const std::string &step : row.steps) {
      if (step == "\n") {
        EXPECT_EQ(dyn_string_len(pager_newline(&pager_)), 0U);
      } else if (step == "+4" || step == "-4") {
        EXPECT_EQ(pager_change_indent(&pager_, std::stoi(step)), indent);
        indent += std::stoi(step);
      } else {
        EXPECT_EQ(pager_feed(&pager_, step.c_str()), 0);
      }
    }
    EXPECT_EQ(pager_line_count(&pager_), row.count);
    EXPECT_EQ(show(), row.shown);
    EXPECT_EQ(pager_line_count(&pager_), 0);
    EXPECT_EQ(pager_set_indent(&pager_, 0), indent);
  }
  pager_set_indent(&pager_, 1);
  EXPECT_EQ(pager_feedfmt(&pager_, "%s/%d", "eth", 7), 0);
  EXPECT_EQ(pager_feedfmt(&pager_, "%5.1f%%", 1.25), 0);
  dyn_string_append(pager_line(&pager_), "!");
  EXPECT_EQ(show(), " eth/7  1.2%!\n");
}

TEST_F(Pager, ShowsARangeAndKeepsTheLines) {
  EXPECT_EQ(show(1, 9, 0), "");
  feed_lines({"a", "b", "c", "d"});
  EXPECT_EQ(show(2, 3, 2), "b\nc\n");
  EXPECT_EQ(show(0, 1, 1), "a\n");
  EXPECT_EQ(show(3, 2, 0), "");
  EXPECT_EQ(show(4, 0xffffffffU, 1), "d\n");
  EXPECT_EQ(pager_line_count(&pager_), 4);
}

TEST_F(Pager, AnInterruptStopsThePrinting) {
  feed_lines({"a", "interrupt", "b"});
  EXPECT_EQ(show(1, 3, 2), "a\ninterrupt\n");
  expect_host_signals();
  EXPECT_EQ(show(), "a\ninterrupt\n");
  EXPECT_EQ(show(), "") << "what was not printed is dropped";
  feed_lines({"c"});
  EXPECT_EQ(show(), "c\n") << "an earlier interrupt is forgotten";
  raise(SIGINT);
  feed_lines({"d"});
  EXPECT_EQ(show(), "") << "one that waited in the host's mask counts";
  EXPECT_EQ(host_interrupts, 3) << "the host is told each time, once";
}

TEST_F(Pager, NothingToPrintLeavesSignalsAlone) {
  raise(SIGINT);
  pager_newline(&pager_);
  show(1, 1, 0);
  show();
  sigset_t pending;
  sigpending(&pending);
  EXPECT_EQ(sigismember(&pending, SIGINT), 1);
  signal(SIGINT, SIG_IGN);  // drops it
  sigaction(SIGINT, &kHostAction, nullptr);
}

TEST_F(Pager, CapturesACommand) {
  const struct {
    const char *command;
    int status;
    const char *shown;
  } rows[] = {
      {"true", 0, "> \n"},
      {"exit 3", 3, "> \n"},
      {"printf 'a\\n\\nb\\r\\n'", 0, "> a\n  \n  b\r\n"},
      {"printf 'a\\nb'", 0, "> a\n  b\n"},
      {"echo a; kill -INT $PPID; echo b; exit 1", 1, "> a\n  b\n"},
      {"exec 2>/dev/null; echo a; /nonexistent/command", 127, "> a\n"},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.command);
    pager_set_indent(&pager_, 0);
    pager_feed(&pager_, "> ");
    pager_set_indent(&pager_, 2);
    const int status = pager_feed_popen(&pager_, row.command);
    EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : -1, row.status);
    expect_host_signals();
    EXPECT_EQ(show(), row.shown);
  }
  EXPECT_EQ(WTERMSIG(pager_feed_popen(&pager_, "kill -TERM $$")), SIGTERM);
  EXPECT_EQ(pager_.lines.first, nullptr) << "a command that prints nothing leaves the pager as it was";
  EXPECT_EQ(host_interrupts, 0);
}

// A host's timer whose handler does not restart reads.
TEST_F(Pager, InterruptedReadsLoseNothing) {
  struct sigaction action = {};
  struct sigaction previous = {};
  action.sa_handler = ignore_alarm;
  sigaction(SIGALRM, &action, &previous);
  const itimerval often = {{0, 5000}, {0, 5000}};
  const itimerval never = {};
  setitimer(ITIMER_REAL, &often, nullptr);
  const int status =
      pager_feed_popen(&pager_, "for i in 1 2 3; do printf $i; sleep 0.05; echo .; done; printf 4; sleep 0.05");
  setitimer(ITIMER_REAL, &never, nullptr);
  sigaction(SIGALRM, &previous, nullptr);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(dyn_string_len(pager_line(&pager_)), 0U) << "the last line is ended";
  EXPECT_EQ(show(), "1.\n2.\n3.\n4\n");
}

}  // namespace
