#include "cli_shell/output/pager_program.hpp"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string_view>

namespace cli_shell {
namespace {

std::string environment(const char *name) {
  const char *const value = std::getenv(name);
  return value ? value : "";
}

bool is_installed(const std::string &program) {
  if (program.find('/') != std::string::npos) return access(program.c_str(), X_OK) == 0;
  const std::string path = environment("PATH");
  for (size_t start = 0; start <= path.size();) {
    const size_t end = std::min(path.find(':', start), path.size());
    if (access((path.substr(start, end - start) + "/" + program).c_str(), X_OK) == 0) return true;
    start = end + 1;
  }
  return false;
}

std::string program_for_output() {
  const std::string terminal = environment("TERM");
  if (terminal.empty() || terminal == "dumb" || environment("CLI_SHELL_MORE") == "0") return "";
  std::string command = environment("CLI_SHELL_PAGER");
  if (command.empty()) command = environment("PAGER");
  if (command.empty()) command = "less -FRXK";
  const size_t start = std::min(command.find_first_not_of(' '), command.size());
  const std::string program = command.substr(start, command.find(' ', start) - start);
  return program == "cat" || !is_installed(program) ? "" : command;
}

std::vector<std::string> environment_of_pager(size_t length) {
  std::vector<std::string> variables;
  const auto is_variable = [](std::string_view entry, std::string_view name) {
    return entry.starts_with(name) && entry.substr(name.size()).starts_with('=');
  };
  for (char **entry = environ; entry && *entry; ++entry)
    if (!is_variable(*entry, "LESSSECURE") && !(length > 0 && is_variable(*entry, "LINES")))
      variables.emplace_back(*entry);
  if (!std::getenv("LESS")) variables.emplace_back("LESS=FRXK");
  // The operator of a device gets a pager, not a way into its system.
  variables.emplace_back("LESSSECURE=1");
  if (length > 0) variables.push_back("LINES=" + std::to_string(length));
  return variables;
}

// In the child of a process with threads, where no memory may be had any more.
[[noreturn]] void become(const char *command, int in, int out, char *const *variables) {
  signal(SIGINT, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  dup2(in, STDIN_FILENO);
  dup2(out, STDOUT_FILENO);
  execle("/bin/sh", "sh", "-c", command, static_cast<char *>(nullptr), variables);
  _exit(127);
}

}  // namespace

PagerCommand pager_command(int terminal, int length) {
  PagerCommand command;
  if (length == 0) return command;
  command.program = program_for_output();
  if (command.program.empty()) return command;
  winsize size = {};
  if (ioctl(terminal, TIOCGWINSZ, &size) != 0 || size.ws_row == 0 || size.ws_col == 0) size = {24, 80, 0, 0};
  command.rows = length > 0 ? static_cast<size_t>(length) : size.ws_row;
  command.columns = size.ws_col;
  command.environment = environment_of_pager(length > 0 ? command.rows : 0);
  return command;
}

bool PagerProgram::start(const PagerCommand &command, int out) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return false;
  const FileDescriptor read_end(ends[0]);
  FileDescriptor write_end(ends[1]);
  std::vector<char *> variables;
  for (const std::string &variable : command.environment) variables.push_back(const_cast<char *>(variable.c_str()));
  variables.push_back(nullptr);
  const std::lock_guard<std::mutex> lock(mutex_);
  pid_ = fork();
  if (pid_ == 0) become(command.program.c_str(), read_end.get(), out, variables.data());
  if (pid_ > 0) pipe_ = std::move(write_end);
  return pid_ > 0;
}

void PagerProgram::finish() {
  pipe_.reset();
  siginfo_t ended = {};
  while (waitid(P_PID, static_cast<id_t>(pid_), &ended, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
  }
  const std::lock_guard<std::mutex> lock(mutex_);
  waitpid(pid_, nullptr, WNOHANG);
  pid_ = -1;
}

void PagerProgram::end_by(int signal) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (pid_ > 0) kill(pid_, signal);
}

}  // namespace cli_shell
