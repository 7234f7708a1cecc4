// quillon export [--pair FIRST SECOND | --all] [--text plain|markup|engine] [--format jsonl|tsv|moses|pairs]
//                [--dedupe] [--jobs N [--piece-size BYTES]] [-o|--output OUT] [--quiet] SOURCE
//
// Streams the units through the library's unit reader, in document order and constant memory:
// jsonl and tsv are the forms `units` prints, a unit (or a variant) a line; moses writes the two
// line-aligned text files of a language pair that machine-translation training reads, pairs one
// JSON object a pair, as Hugging Face's Translation feature reads it. Standard output gets each
// unit as it is read; a file appears only once the whole document is read.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <map>
#include <memory>

#include "cli/Command.h"
#include "cli/Progress.h"
#include "cli/StreamInput.h"
#include "cli/UnitText.h"
#include "quillon/TmxPairs.h"
#include "quillon/TmxUnitReader.h"

namespace {

using TextMode = CTmxUnitReader::TextMode;

const std::map<std::string, TextMode> kTextModes = {
    {"plain", TextMode::Plain}, {"markup", TextMode::Markup}, {"engine", TextMode::Engine}};

struct ExportOptions {
  std::string source;
  std::vector<std::string> pair;
  std::string format = "jsonl";
  TextMode text = TextMode::Plain;
  std::string output;
  bool bDedupe = false;
  int nJobs = 0;  // as many as the cores the process may use
  size_t nPieceBytes = CTmxUnitReader::kDefaultPieceBytes;
  bool bQuiet = false;

  bool SelectsPairs() const { return format == "moses" || format == "pairs"; }
  CString Range(size_t n) const { return CString(pair[n].c_str()); }
};

// Every unit of the document to write(reader), as the parser runs through it.
template <class Write>
void ForEachUnit(CTmxUnitReader& reader, Progress& progress, Write write) {
  struct Handler : CTmxUnitHandler {
    Progress& progress;
    Write& write;
    Handler(Progress& p, Write& w) : progress(p), write(w) {}
    void OnUnit(const CTmxUnitReader& reader) override {
      write(reader);
      progress.AddUnit();
    }
  } handler(progress, write);
  reader.ReadUnits(handler);
}

// Engine text stays as `units` writes it: without the unit's id.
void WriteUnits(CTmxUnitReader& reader, const ExportOptions& options, Output& out, Progress& progress) {
  const bool bJson = options.format == "jsonl", bWithId = options.text != TextMode::Engine;
  ForEachUnit(reader, progress, [&](const CTmxUnitReader& unit) {
    auto variant = [&unit](INT_PTR i) -> const CTmxTUV& { return unit.GetVariant(i); };
    if (!bJson) return WriteTextUnit(out, unit.GetKey(), unit.GetVariantCount(), variant);
    WriteJsonUnit(out, unit.GetKey(), bWithId ? unit.GetUnitId() : nullptr, unit.GetVariantCount(), variant);
    out << "\n";
  });
}

// {"key":K,"tuid":…,"translation":{"FIRST":…,"SECOND":…}}, keyed by the ranges as given.
void WritePairs(CTmxUnitReader& reader, const ExportOptions& options, CTmxPairSelector& pairs, Output& out,
                Progress& progress) {
  const CString strFirst = options.Range(0), strSecond = options.Range(1);
  ForEachUnit(reader, progress, [&](const CTmxUnitReader& unit) {
    if (!pairs.Select(unit)) return;
    out << "{\"key\":" << unit.GetKey();
    if (LPCTSTR pszId = unit.GetUnitId()) (out << ",\"tuid\":").Json(pszId, std::char_traits<TCHAR>::length(pszId));
    (out << ",\"translation\":{").Json(strFirst) << ":";
    out.Json(pairs.GetFirst()) << ",";
    out.Json(strSecond) << ":";
    out.Json(pairs.GetSecond()) << "}}\n";
  });
}

std::string MosesFile(const ExportOptions& options, int nLanguage) {
  return options.output + "." + options.pair[static_cast<size_t>(nLanguage)];
}

void WriteParallelText(CTmxUnitReader& reader, const ExportOptions& options, CTmxPairSelector& pairs,
                       Progress& progress) {
  OutputFile first(MosesFile(options, 0)), second(MosesFile(options, 1));
  ForEachUnit(reader, progress, [&](const CTmxUnitReader& unit) {
    if (!pairs.Select(unit)) return;
    first.Out().Text(pairs.GetFirst()) << "\n";
    second.Out().Text(pairs.GetSecond()) << "\n";
  });
  first.Close();
  second.Close();
  first.Commit();
  second.Commit();
}

void WriteSummary(const ExportOptions& options, const CTmxPairSelector& pairs) {
  if (options.bQuiet) return;
  std::string summary = std::to_string(pairs.GetSelectedCount()) + " units written, " +
                        std::to_string(pairs.GetSkippedCount()) + " skipped";
  if (options.bDedupe) summary += ", " + std::to_string(pairs.GetDuplicateCount()) + " dropped as duplicates";
  std::fputs((summary + "\n").c_str(), stderr);
}

void RunExport(const ExportOptions& options, Output& out, ParserSafety& safety) {
  StreamInput input(options.source);
  std::unique_ptr<CTmxUnitReader> reader =
      options.pair.empty() ? std::make_unique<CTmxUnitReader>(options.text)
                           : std::make_unique<CTmxUnitReader>(options.Range(0), options.Range(1), options.text);
  safety.Apply(reader->GetParser());
  reader->SetJobs(options.nJobs, options.nPieceBytes);
  std::unique_ptr<OutputFile> file;
  if (!options.output.empty() && options.format != "moses") file = std::make_unique<OutputFile>(options.output);
  Output& destination = file ? file->Out() : out;
  Progress progress(input, !options.bQuiet);
  reader->Open(input);
  if (options.SelectsPairs()) {
    CTmxPairSelector pairs(options.Range(0), options.Range(1), options.text, options.bDedupe);
    if (options.format == "moses")
      WriteParallelText(*reader, options, pairs, progress);
    else
      WritePairs(*reader, options, pairs, destination, progress);
    WriteSummary(options, pairs);
  } else {
    WriteUnits(*reader, options, destination, progress);
  }
  if (file) {
    file->Close();
    file->Commit();
  }
}

// Language codes end the moses files' names, so they must name nothing but the language:
// letters, digits, -, _ and @ (as in sr@latin).
bool CanEndFileName(const std::string& language) {
  return !language.empty() && std::all_of(language.begin(), language.end(), [](unsigned char c) {
    return std::isalnum(c) || c == '-' || c == '_' || c == '@';
  });
}

// moses and pairs select a segment per range: two ranges that are one would give one text twice.
void CheckPairOptions(const ExportOptions& options) {
  const std::string format = "--format " + options.format;
  if (options.bDedupe && !options.SelectsPairs()) throw CLI::ValidationError("--dedupe", "needs --format moses or pairs");
  if (!options.SelectsPairs()) return;
  if (options.pair.empty() || (options.format == "moses" && options.output.empty()))
    throw CLI::ValidationError(format, options.format == "moses" ? "needs --pair FIRST SECOND and -o PREFIX"
                                                                 : "needs --pair FIRST SECOND");
  if (!CTmxPairSelector::CanPair(options.Range(0), options.Range(1), options.text))
    throw CLI::ValidationError(format, "needs two languages that do not overlap, not " + options.pair[0] + " and " +
                                           options.pair[1]);
  if (options.format != "moses") return;
  for (const std::string& language : options.pair)
    if (!CanEndFileName(language))
      throw CLI::ValidationError(format, "'" + language + "' cannot end a file name: a language code of "
                                         "letters, digits, -, _ and @ can");
}

}  // namespace

void AddExportCommand(CLI::App& app, PendingRun& pending, ParserSafety& safety) {
  auto options = std::make_shared<ExportOptions>();
  CLI::App* cmd = app.add_subcommand("export", "Stream the units of a TMX document of any size, in document order");
  AddLanguageChoice(cmd, options->pair);
  cmd->add_option("--text", options->text, "plain (default): the sentence, without inline codes; markup: the "
                                           "segment's content as XML; engine: what the engine's builders file")
      ->type_name("TEXT")->transform(CLI::CheckedTransformer(kTextModes).description(""));
  cmd->add_option("--format", options->format, "jsonl (default): a unit a line, as `units --json` has it; "
                                                "tsv: a variant a line, as `units` prints it; moses: PREFIX.FIRST "
                                                "and PREFIX.SECOND, a segment a line (needs --pair and -o); pairs: "
                                                "a JSON line a pair, {\"translation\":{FIRST:…,SECOND:…}} (needs --pair)")
      ->type_name("FORMAT")->check(CLI::IsMember({"jsonl", "tsv", "moses", "pairs"}).description(""));
  cmd->add_flag("--dedupe", options->bDedupe, "moses and pairs: drop a pair equal to one already written");
  cmd->add_option("--jobs", options->nJobs, "Parsers reading the document at once, each on a piece of it, for the "
                                            "same output (default: the cores this process may use; 1 reads with "
                                            "one; engine text is always read with one)")
      ->type_name("N")->check(CLI::PositiveNumber.description(""));
  cmd->add_option("--piece-size", options->nPieceBytes, "Bytes of the document each of those parsers reads at a "
                                                        "time, cut between units (default: 1 MiB)")
      ->type_name("BYTES")->check(CLI::PositiveNumber.description(""));
  cmd->add_option("-o,--output", options->output,
                  "Write to this file (for moses, this prefix) instead of standard output, once the whole "
                  "document is read")
      ->type_name("OUT");
  cmd->add_flag("--quiet", options->bQuiet, "No progress line on a terminal, no summary of a moses or pairs export");
  AllowExternal(cmd, safety);
  cmd->add_option("SOURCE", options->source, "TMX file, or - for standard input")->required();
  cmd->callback([options, &pending] {
    CheckPairOptions(*options);
    pending.input = options->source;
    pending.run = [options](Output& out, ParserSafety& safety) { RunExport(*options, out, safety); };
  });
}
