// quillon: the library's command-line tool. Exit 0 on success, 1 when an input cannot be
// read or parsed (one error line on stderr), 2 on a usage error.
#include <cstdio>

#include <CLI/CLI.hpp>

#include "cli/Platform.h"
#include "cli/Command.h"
#include "cli/Errors.h"
#include "quillon/Version.h"

int main(int argc, char** argv) {
  CLI::App app{"quillon: read TMX translation memories and pack XML documents"};
  app.set_version_flag("--version", "quillon " QUILLON_VERSION_STRING);
  app.require_subcommand(1);
  app.fallthrough();
  app.allow_windows_style_options(false);  // a path such as /tmp/x is not an option
  ParserSafety safety;
  app.add_flag("--allow-external", safety.bAllowExternal,
               "Let the parser load external DTDs and entities, without an expansion limit");
  PendingRun pending;
  AddLanguagesCommand(app, pending);
  AddUnitsCommand(app, pending);
  AddExportCommand(app, pending);
  AddPackCommands(app, pending);

  UseBinaryStandardStreams();
  std::vector<std::string> arguments = Utf8Arguments(argc, argv);
  std::vector<char*> utf8Argv;
  for (std::string& argument : arguments) utf8Argv.push_back(argument.data());
  try {
    app.parse(static_cast<int>(utf8Argv.size()), utf8Argv.data());
  } catch (const CLI::Success& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    app.exit(e);
    return 2;
  }
  try {
    Output out(stdout);
    pending.run(out, safety);
  } catch (...) {
    ReportCurrentException(DisplayName(pending.input));
    return 1;
  }
  return 0;
}
