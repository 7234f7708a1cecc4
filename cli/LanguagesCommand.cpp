// quillon languages [--json] [--stream] SOURCE
#include <nlohmann/json.hpp>

#include "cli/Command.h"
#include "cli/StreamInput.h"
#include "cli/Input.h"
#include "quillon/TmxUnitReader.h"

namespace {

struct LanguagesOptions {
  std::string source;
  bool bJson = false;
  bool bStream = false;
};

// The engine's list, or the same through the streaming reader, in constant memory.
bool FindLanguages(const LanguagesOptions& options, ParserSafety& safety, CStringArray& languages) {
  if (!options.bStream) {
    TmxInput input(options.source, safety);
    return input.SearchLanguages(&languages);
  }
  StreamInput input(options.source);
  CTmxUnitReader reader;
  safety.Apply(reader.GetParser());
  reader.Open(input);
  return reader.ReadLanguages(&languages);
}

void RunLanguages(const LanguagesOptions& options, Output& out, ParserSafety& safety) {
  CStringArray languages;
  const bool bResult = FindLanguages(options, safety, languages);
  if (!options.bJson) {
    for (INT_PTR i = 0; i < languages.GetSize(); i++) out << Utf8(languages[i]) << "\n";
    return;
  }
  nlohmann::ordered_json json = {{"result", bResult}, {"languages", nlohmann::ordered_json::array()}};
  for (INT_PTR i = 0; i < languages.GetSize(); i++) json["languages"].push_back(Utf8(languages[i]));
  out << json.dump() << "\n";
}

}  // namespace

void AddLanguagesCommand(CLI::App& app, PendingRun& pending, ParserSafety& safety) {
  auto options = std::make_shared<LanguagesOptions>();
  CLI::App* cmd = app.add_subcommand("languages", "List the distinct language codes of a TMX document");
  cmd->add_flag("--json", options->bJson, "Print one JSON object");
  cmd->add_flag("--stream", options->bStream, "Read as a stream, in constant memory, whatever the file's size");
  AllowExternal(cmd, safety);
  cmd->add_option("SOURCE", options->source, "TMX file, or - for standard input")->required();
  cmd->callback([options, &pending] {
    pending.input = options->source;
    pending.run = [options](Output& out, ParserSafety& safety) { RunLanguages(*options, out, safety); };
  });
}
