// quillon export [--pair FIRST SECOND | --all] [--format jsonl|tsv|moses] [-o|--output OUT] [--quiet] SOURCE
//
// Streams the units through the library's unit reader, in document order and constant memory:
// jsonl and tsv are the forms `units` prints, a unit (or a variant) a line; moses writes the two
// line-aligned text files of a language pair that machine-translation training reads. Standard
// output gets each unit as it is read; a file appears only once the whole document is read.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <memory>

#include "cli/Command.h"
#include "cli/Progress.h"
#include "cli/StreamInput.h"
#include "cli/UnitText.h"
#include "quillon/TmxUnitReader.h"

namespace {

struct ExportOptions {
  std::string source;
  std::vector<std::string> pair;
  std::string format = "jsonl";
  std::string output;
  bool bQuiet = false;
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

void WriteUnits(CTmxUnitReader& reader, bool bJson, Output& out, Progress& progress) {
  ForEachUnit(reader, progress, [&](const CTmxUnitReader& unit) {
    auto variant = [&unit](INT_PTR i) -> const CTmxTUV& { return unit.GetVariant(i); };
    if (!bJson) return WriteTextUnit(out, unit.GetKey(), unit.GetVariantCount(), variant);
    WriteJsonUnit(out, unit.GetKey(), unit.GetVariantCount(), variant);
    out << "\n";
  });
}

// The segment of the unit's first variant in the language (compared as the reader compares
// languages) whose segment, with each line break and tab made a space and then trimmed, is not
// empty. False when there is none.
bool ParallelSegment(const CTmxUnitReader& reader, const CString& strLanguage, CString& line) {
  for (INT_PTR i = 0; i < reader.GetVariantCount(); i++) {
    const CTmxTUV& variant = reader.GetVariant(i);
    if (variant.m_strLanguage.CompareNoCase(strLanguage) != 0) continue;
    line.Empty();
    const CString& segment = variant.m_strSegment;
    for (int c = 0; c < segment.GetLength(); c++) {
      const TCHAR ch = segment[c];
      const bool bBreak = ch == '\n' || ch == '\r' || ch == '\t' || ch == '\v' || ch == '\f' || ch == 0x85 ||
                          ch == 0x2028 || ch == 0x2029;
      if (ch == '\n' && c > 0 && segment[c - 1] == '\r') continue;  // CR LF is one line break
      line += bBreak ? TCHAR(' ') : ch;
    }
    int nStart = 0, nEnd = line.GetLength();
    while (nStart < nEnd && line[nStart] == ' ') nStart++;
    while (nEnd > nStart && line[nEnd - 1] == ' ') nEnd--;
    if (nStart == nEnd) continue;
    line = CString(line.GetString() + nStart, nEnd - nStart);
    return true;
  }
  return false;
}

std::string MosesFile(const ExportOptions& options, int nLanguage) {
  return options.output + "." + options.pair[static_cast<size_t>(nLanguage)];
}

void WriteParallelText(CTmxUnitReader& reader, const ExportOptions& options, Progress& progress) {
  const CString strFirst(options.pair[0].c_str()), strSecond(options.pair[1].c_str());
  OutputFile first(MosesFile(options, 0)), second(MosesFile(options, 1));
  long long nWritten = 0, nSkipped = 0;
  CString firstLine, secondLine;
  ForEachUnit(reader, progress, [&](const CTmxUnitReader& unit) {
    if (!ParallelSegment(unit, strFirst, firstLine) || !ParallelSegment(unit, strSecond, secondLine)) {
      nSkipped++;
      return;
    }
    first.Out().Text(firstLine) << "\n";
    second.Out().Text(secondLine) << "\n";
    nWritten++;
  });
  first.Close();
  second.Close();
  first.Commit();
  second.Commit();
  if (!options.bQuiet) std::fprintf(stderr, "%lld units written, %lld skipped\n", nWritten, nSkipped);
}

void RunExport(const ExportOptions& options, Output& out, ParserSafety& safety) {
  StreamInput input(options.source);
  std::unique_ptr<CTmxUnitReader> reader =
      options.pair.empty() ? std::make_unique<CTmxUnitReader>()
                           : std::make_unique<CTmxUnitReader>(CString(options.pair[0].c_str()),
                                                             CString(options.pair[1].c_str()));
  safety.Apply(reader->GetParser());
  std::unique_ptr<OutputFile> file;
  if (!options.output.empty() && options.format != "moses") file = std::make_unique<OutputFile>(options.output);
  Progress progress(input, !options.bQuiet);
  reader->Open(input);
  if (options.format == "moses") return WriteParallelText(*reader, options, progress);
  WriteUnits(*reader, options.format == "jsonl", file ? file->Out() : out, progress);
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

void CheckMosesOptions(const ExportOptions& options) {
  if (options.pair.empty() || options.output.empty())
    throw CLI::ValidationError("--format moses", "needs --pair FIRST SECOND and -o PREFIX");
  if (CString(options.pair[0].c_str()).CompareNoCase(CString(options.pair[1].c_str())) == 0)
    throw CLI::ValidationError("--format moses", "needs two different languages, not " + options.pair[0] + " twice");
  for (const std::string& language : options.pair)
    if (!CanEndFileName(language))
      throw CLI::ValidationError("--format moses", "'" + language + "' cannot end a file name: a language code of "
                                                   "letters, digits, -, _ and @ can");
}

}  // namespace

void AddExportCommand(CLI::App& app, PendingRun& pending, ParserSafety& safety) {
  auto options = std::make_shared<ExportOptions>();
  CLI::App* cmd = app.add_subcommand("export", "Stream the units of a TMX document of any size, in document order");
  AddLanguageChoice(cmd, options->pair);
  cmd->add_option("--format", options->format, "jsonl (default): a unit a line, as `units --json` has it; "
                                                "tsv: a variant a line, as `units` prints it; moses: PREFIX.FIRST "
                                                "and PREFIX.SECOND, a segment a line (needs --pair and -o)")
      ->type_name("FORMAT")->check(CLI::IsMember({"jsonl", "tsv", "moses"}).description(""));
  cmd->add_option("-o,--output", options->output,
                  "Write to this file (for moses, this prefix) instead of standard output, once the whole "
                  "document is read")
      ->type_name("OUT");
  cmd->add_flag("--quiet", options->bQuiet, "No progress line on a terminal, no summary of a moses export");
  AllowExternal(cmd, safety);
  cmd->add_option("SOURCE", options->source, "TMX file, or - for standard input")->required();
  cmd->callback([options, &pending] {
    if (options->format == "moses") CheckMosesOptions(*options);
    pending.input = options->source;
    pending.run = [options](Output& out, ParserSafety& safety) { RunExport(*options, out, safety); };
  });
}
