// Test support: runs a shell command (one of our programs, or an independent reader such as
// mdb-ver or mdb-export) and gives back what it printed and how it exited.
#pragma once

#include <cstdio>
#include <string>

#include <sys/wait.h>

namespace qorvane::test {

struct CommandResult {
  int status = -1;  // the exit status, 128 + the signal's number when killed, -1 when it could not run
  std::string out;  // standard output (standard error too when the command sends it there)
};

// Runs COMMAND with /bin/sh as it is, redirections included.
inline CommandResult RunForResult(const std::string& command) {
  CommandResult result;
  FILE* pipe = ::popen(command.c_str(), "r");
  if (!pipe) return result;
  char buffer[65536];
  while (std::size_t got = std::fread(buffer, 1, sizeof buffer, pipe)) result.out.append(buffer, got);
  int raw = ::pclose(pipe);
  if (raw != -1) result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
  return result;
}

// TEXT in single quotes for /bin/sh, its own single quotes escaped.
inline std::string ShellQuote(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

// What COMMAND printed on standard output and standard error together.
inline std::string RunCommand(const std::string& command) { return RunForResult(command + " 2>&1").out; }

}  // namespace qorvane::test
