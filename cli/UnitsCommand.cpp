// quillon units [--pair FIRST SECOND | --all] [--json] SOURCE
#include <memory>

#include "cli/Command.h"
#include "cli/Input.h"
#include "cli/UnitText.h"

namespace {

struct UnitsOptions {
  std::string source;
  std::vector<std::string> pair;
  bool bJson = false;
};

// The map's own iteration order, each unit with its variants in list order.
void Render(TmxUnitMap& map, bool bResult, bool bJson, Output& out) {
  if (bJson) out << "{\"result\":" << (bResult ? "true" : "false") << ",\"units\":[";
  for (POSITION pos = map.GetStartPosition(); pos;) {
    int key;
    CTmxElementAddressAndTUV* pUnit;
    map.GetNextAssoc(pos, key, pUnit);
    const TmxTuvList* pList = pUnit ? pUnit->m_pTuvList : nullptr;
    const INT_PTR nVariants = pList ? pList->GetSize() : 0;
    auto variant = [pList](INT_PTR i) -> const CTmxTUV& { return *(*pList)[i]; };
    if (!bJson) {
      WriteTextUnit(out, key, nVariants, variant);
      continue;
    }
    WriteJsonUnit(out, key, nullptr, nVariants, variant);
    if (pos) out << ",";
  }
  if (bJson) out << "]}\n";
}

void RunUnits(const UnitsOptions& options, Output& out, ParserSafety& safety) {
  TmxInput input(options.source, safety);
  CTmxParseEngine& engine = input.Engine();
  input.SearchLanguages(nullptr);
  TmxUnitMap* pMap = nullptr;
  engine.CreateMapObject(pMap);
  if (pMap == nullptr) AfxThrowMemoryException();
  // The map and its units go back through the engine whatever happens while they are used.
  auto release = [&engine](TmxUnitMap* p) {
    engine.DeleteMapObject(p);
    delete p;
  };
  std::unique_ptr<TmxUnitMap, decltype(release)> map(pMap, release);
  bool bResult;
  if (!options.pair.empty()) {
    engine.m_strFirstLanguage = options.pair[0].c_str();
    engine.m_strSecondLanguage = options.pair[1].c_str();
    bResult = engine.CreateDataStructures(*pMap);
  } else {
    bResult = engine.CreateMultilingualDataStructures(*pMap);
  }
  Render(*pMap, bResult, options.bJson, out);
}

}  // namespace

void AddUnitsCommand(CLI::App& app, PendingRun& pending, ParserSafety& safety) {
  auto options = std::make_shared<UnitsOptions>();
  CLI::App* cmd = app.add_subcommand("units", "Print the units of a TMX document, map order, one variant a line");
  AddLanguageChoice(cmd, options->pair);
  cmd->add_flag("--json", options->bJson, "Print one JSON object");
  AllowExternal(cmd, safety);
  cmd->footer(
      "Units come in the map's own order (hash buckets), not by key. Keys follow each builder's rule: with --pair\n"
      "every node of body counts (whitespace and comments too: 0, 2, 4, ...), with --all only tu elements; --pair\n"
      "takes a segment's whole text, --all only the text before its first inline element. A line is a variant:\n"
      "KEY, LANGUAGE, SEGMENT and NOTE separated by tabs, with backslash, tab, line feed and carriage return as\n"
      "\\\\, \\t, \\n and \\r.");
  cmd->add_option("SOURCE", options->source, "TMX file, or - for standard input")->required();
  cmd->callback([options, &pending] {
    pending.input = options->source;
    pending.run = [options](Output& out, ParserSafety& safety) { RunUnits(*options, out, safety); };
  });
}
