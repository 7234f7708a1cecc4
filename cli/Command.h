// How subcommands plug into the tool: each registers itself on the app and leaves the work to
// run, and the input it reads, for main to run and to name in an error line.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/Output.h"
#include "cli/ParserSafety.h"

struct PendingRun {
  std::string input;            // the path as given, or "-" for standard input
  std::function<void(Output&, ParserSafety&)> run;  // throws on failure, before writing anything
};

void AddLanguagesCommand(CLI::App& app, PendingRun& pending, ParserSafety& safety);
void AddUnitsCommand(CLI::App& app, PendingRun& pending, ParserSafety& safety);
void AddExportCommand(CLI::App& app, PendingRun& pending, ParserSafety& safety);
void AddPackCommands(CLI::App& app, PendingRun& pending, ParserSafety& safety);

// --allow-external, before the command or in it, and in the help of every command that parses.
inline CLI::Option* AllowExternal(CLI::App* cmd, ParserSafety& safety) {
  return cmd->add_flag("--allow-external", safety.bAllowExternal,
                       "Let the parser load external DTDs and entities, without an expansion limit");
}

// --pair FIRST SECOND or --all (the default): which languages a command that reads units keeps.
inline void AddLanguageChoice(CLI::App* cmd, std::vector<std::string>& pair) {
  CLI::Option* pPair = cmd->add_option("--pair", pair, "Keep the variants of two languages")
                           ->expected(2)->type_name("FIRST SECOND")->allow_extra_args(false);
  cmd->add_flag("--all")->description("Keep every language (the default)")->excludes(pPair);
}

// The name an error line gives an input: the path as given, <stdin> for "-".
inline std::string DisplayName(const std::string& input) { return input == "-" ? "<stdin>" : input; }
