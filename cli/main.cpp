// quillon: the library's command-line tool. Exit 0 on success, 1 when an input cannot be
// read or parsed (one error line on stderr), 2 on a usage error.
#include <cstdio>
#include <cstdlib>

#include <CLI/CLI.hpp>

#include "cli/Command.h"
#include "cli/Errors.h"
#include "cli/Platform.h"
#include "quillon/Version.h"

namespace {

// Options as they are typed ("--pair FIRST SECOND"), without CLI11's counts and exclusions.
class HelpFormatter : public CLI::Formatter {
  std::string make_option_opts(const CLI::Option* pOption) const override {
    const std::string type = pOption->get_type_name();
    return pOption->nonpositional() && pOption->get_type_size() != 0 && !type.empty() ? " " + type : "";
  }
};

// CLI11 reports a mistyped command or option as a missing command: this names it. Empty when
// the command line starts as it should.
std::string UnknownWord(const CLI::App& app, const std::vector<std::string>& arguments) {
  for (size_t i = 1; i < arguments.size(); i++) {
    const std::string& word = arguments[i];
    if (word == "--allow-external") continue;
    if (word == "-h" || word == "--help" || word == "--version") return {};
    const auto known = app.get_subcommands([&](const CLI::App* pCommand) { return pCommand->get_name() == word; });
    if (!known.empty()) return {};
    return (word[0] == '-' ? "unknown option '" : "unknown command '") + word + "'";
  }
  return {};
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"quillon: read TMX translation memories and pack XML documents", "quillon"};
  app.formatter(std::make_shared<HelpFormatter>());
  app.set_version_flag("--version", "quillon " QUILLON_VERSION_STRING);
  app.require_subcommand(1);
  app.fallthrough();
  app.allow_windows_style_options(false);  // a path such as /tmp/x is not an option
  ParserSafety safety;
  AllowExternal(&app, safety);
  PendingRun pending;
  AddLanguagesCommand(app, pending, safety);
  AddUnitsCommand(app, pending, safety);
  AddExportCommand(app, pending, safety);
  AddPackCommands(app, pending, safety);
  // Set after the commands, which would otherwise inherit it.
  app.footer("A SOURCE, XML or IMAGE of - is standard input. quillon COMMAND --help tells more.");

  UseBinaryStandardStreams();
  std::vector<std::string> arguments = Utf8Arguments(argc, argv);
  if (const std::string unknown = UnknownWord(app, arguments); !unknown.empty()) {
    std::fprintf(stderr, "%s\nRun with --help for more information.\n", unknown.c_str());
    return 2;
  }
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
    Output out(stdout, "<stdout>");
    pending.run(out, safety);
    out.Finish();
  } catch (...) {
    ReportCurrentException(DisplayName(pending.input), safety);
    return 1;
  }
  // For the benchmarks: how much of the work the main thread did itself.
  if (const char* pszReport = std::getenv("QUILLON_CPU_REPORT"); pszReport && *pszReport) {
    const CpuTimes times = ProcessorTimes();
    std::fprintf(stderr, "cpu: %.2f s on the main thread of %.2f s in all (%.1f %%)\n", times.thread, times.process,
                 times.process > 0 ? 100 * times.thread / times.process : 0.0);
  }
  return 0;
}
