// Runs the simulate command as a user would and collects its exit status and output.
#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <string>

#ifdef PTD_SIMULATE
struct Command {
  int Status = -1;
  std::string Output; // stdout and stderr together
};

inline Command Simulate(const std::string &Arguments) {
  Command Result;
  const std::string Line = std::string("\"") + PTD_SIMULATE + "\" " + Arguments + " 2>&1";
  FILE *Pipe = popen(Line.c_str(), "r");
  if (Pipe == nullptr) {
    return Result;
  }
  char Buffer[4096];
  size_t N;
  while ((N = fread(Buffer, 1, sizeof Buffer, Pipe)) > 0) {
    Result.Output.append(Buffer, N);
  }
  const int Wait = pclose(Pipe);
  Result.Status = WIFEXITED(Wait) ? WEXITSTATUS(Wait) : -1;
  return Result;
}
#endif
