// quillon languages [--json] SOURCE
#include <nlohmann/json.hpp>

#include "cli/Command.h"
#include "cli/TmxInput.h"

namespace {

struct LanguagesOptions {
  std::string source;
  bool bJson = false;
};

std::string RunLanguages(const LanguagesOptions& options) {
  TmxInput input(options.source);
  CStringArray languages;
  const bool bResult = input.Engine().SearchTmxForLanguages(&languages);
  if (!options.bJson) {
    std::string text;
    for (INT_PTR i = 0; i < languages.GetSize(); i++) text += Utf8(languages[i]) + "\n";
    return text;
  }
  nlohmann::ordered_json json = {{"result", bResult}, {"languages", nlohmann::ordered_json::array()}};
  for (INT_PTR i = 0; i < languages.GetSize(); i++) json["languages"].push_back(Utf8(languages[i]));
  return json.dump() + "\n";
}

}  // namespace

void AddLanguagesCommand(CLI::App& app, PendingRun& pending) {
  auto options = std::make_shared<LanguagesOptions>();
  CLI::App* cmd = app.add_subcommand("languages", "List the distinct language codes of a TMX document");
  cmd->add_flag("--json", options->bJson, "Print one JSON object");
  cmd->add_option("SOURCE", options->source, "TMX file, or - for standard input")->required();
  cmd->callback([options, &pending] {
    pending.input = options->source;
    pending.run = [options] { return RunLanguages(*options); };
  });
}
