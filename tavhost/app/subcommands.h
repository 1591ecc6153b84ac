#pragma once

#include "tavhost/app/command_line.h"

// The subcommands, a source file each. Each returns the program's exit code.
namespace app {

int RunIde(const CommandLine& line);
int RunScript(const CommandLine& line);
int SendCommands(const CommandLine& line);
int CheckScripts(const CommandLine& line);
int RunPrompt(const CommandLine& line);
int CompareTraces(const CommandLine& line);
int ServeScripts(const CommandLine& line);

// While the script service runs that a script started, the program stays; then it ends with
// `exitCode`, or as one that was stopped.
int FinishServing(const Options& options, int exitCode);

}  // namespace app
