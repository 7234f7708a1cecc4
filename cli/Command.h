// How subcommands plug into the tool: each registers itself on the app and leaves the work to
// run, and the input it reads, for main to run and to name in an error line.
#pragma once

#include <functional>
#include <string>

#include <CLI/CLI.hpp>

#include "cli/Output.h"
#include "cli/ParserSafety.h"

struct PendingRun {
  std::string input;            // the path as given, or "-" for standard input
  std::function<void(Output&, ParserSafety&)> run;  // throws on failure, before writing anything
};

void AddLanguagesCommand(CLI::App& app, PendingRun& pending);
void AddUnitsCommand(CLI::App& app, PendingRun& pending);
void AddExportCommand(CLI::App& app, PendingRun& pending);
void AddPackCommands(CLI::App& app, PendingRun& pending);

// The name an error line gives an input: the path as given, <stdin> for "-".
inline std::string DisplayName(const std::string& input) { return input == "-" ? "<stdin>" : input; }
