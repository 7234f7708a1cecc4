// quillon units [--pair FIRST SECOND | --all] [--json] SOURCE
#include <memory>

#include <nlohmann/json.hpp>

#include "cli/Command.h"
#include "cli/TmxInput.h"

namespace {

struct UnitsOptions {
  std::string source;
  std::vector<std::string> pair;
  bool bAll = false;
  bool bJson = false;
};

// Backslash, tab and line feed inside a field, written so that one variant stays one line.
std::string Escaped(const CString& field) {
  std::string text;
  for (char c : Utf8(field)) {
    if (c == '\\') text += "\\\\";
    else if (c == '\t') text += "\\t";
    else if (c == '\n') text += "\\n";
    else text += c;
  }
  return text;
}

// Units in the map's own iteration order, each with its variants in list order.
template <class Visit>
void ForEachVariant(TmxUnitMap& map, Visit visit) {
  for (POSITION pos = map.GetStartPosition(); pos;) {
    int key;
    CTmxElementAddressAndTUV* pUnit;
    map.GetNextAssoc(pos, key, pUnit);
    visit(key, nullptr);
    if (pUnit == nullptr || pUnit->m_pTuvList == nullptr) continue;
    for (INT_PTR i = 0; i < pUnit->m_pTuvList->GetSize(); i++) visit(key, (*pUnit->m_pTuvList)[i]);
  }
}

std::string Render(TmxUnitMap& map, bool bResult, bool bJson) {
  if (!bJson) {
    std::string text;
    ForEachVariant(map, [&](int key, const CTmxTUV* pTuv) {
      if (pTuv == nullptr) return;
      text += std::to_string(key) + "\t" + Escaped(pTuv->m_strLanguage) + "\t" + Escaped(pTuv->m_strSegment) +
              "\t" + Escaped(pTuv->m_strNote) + "\n";
    });
    return text;
  }
  nlohmann::ordered_json units = nlohmann::ordered_json::array();
  ForEachVariant(map, [&](int key, const CTmxTUV* pTuv) {
    if (pTuv == nullptr) {
      units.push_back({{"key", key}, {"variants", nlohmann::ordered_json::array()}});
      return;
    }
    units.back()["variants"].push_back({{"language", Utf8(pTuv->m_strLanguage)},
                                        {"segment", Utf8(pTuv->m_strSegment)},
                                        {"note", Utf8(pTuv->m_strNote)}});
  });
  nlohmann::ordered_json json = {{"result", bResult}, {"units", std::move(units)}};
  return json.dump() + "\n";
}

std::string RunUnits(const UnitsOptions& options) {
  TmxInput input(options.source);
  CTmxParseEngine& engine = input.Engine();
  engine.SearchTmxForLanguages(nullptr);
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
  return Render(*pMap, bResult, options.bJson);
}

}  // namespace

void AddUnitsCommand(CLI::App& app, PendingRun& pending) {
  auto options = std::make_shared<UnitsOptions>();
  CLI::App* cmd = app.add_subcommand("units", "Print the units of a TMX document, map order, one variant a line");
  auto* pair = cmd->add_option("--pair", options->pair, "Keep the variants of two languages")->expected(2)
                   ->type_name("FIRST SECOND")->allow_extra_args(false);
  cmd->add_flag("--all", options->bAll, "Keep every language (the default)")->excludes(pair);
  cmd->add_flag("--json", options->bJson, "Print one JSON object");
  cmd->add_option("SOURCE", options->source, "TMX file, or - for standard input")->required();
  cmd->callback([options, &pending] {
    pending.input = options->source;
    pending.run = [options] { return RunUnits(*options); };
  });
}
