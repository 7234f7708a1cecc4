// quillon languages [--json] SOURCE
#include <nlohmann/json.hpp>

#include "cli/Command.h"
#include "cli/TmxInput.h"

namespace {

struct LanguagesOptions {
  std::string source;
  bool bJson = false;
};

void RunLanguages(const LanguagesOptions& options, Output& out, ParserSafety& safety) {
  TmxInput input(options.source, safety);
  CStringArray languages;
  const bool bResult = input.Engine().SearchTmxForLanguages(&languages);
  if (!options.bJson) {
    for (INT_PTR i = 0; i < languages.GetSize(); i++) out << Utf8(languages[i]) << "\n";
    return;
  }
  nlohmann::ordered_json json = {{"result", bResult}, {"languages", nlohmann::ordered_json::array()}};
  for (INT_PTR i = 0; i < languages.GetSize(); i++) json["languages"].push_back(Utf8(languages[i]));
  out << json.dump() << "\n";
}

}  // namespace

void AddLanguagesCommand(CLI::App& app, PendingRun& pending) {
  auto options = std::make_shared<LanguagesOptions>();
  CLI::App* cmd = app.add_subcommand("languages", "List the distinct language codes of a TMX document");
  cmd->add_flag("--json", options->bJson, "Print one JSON object");
  cmd->add_option("SOURCE", options->source, "TMX file, or - for standard input")->required();
  cmd->callback([options, &pending] {
    pending.input = options->source;
    pending.run = [options](Output& out, ParserSafety& safety) { RunLanguages(*options, out, safety); };
  });
}
