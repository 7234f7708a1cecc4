// quillon export [--pair FIRST SECOND | --all] [--text plain|markup|engine] [--format jsonl|tsv|moses|pairs]
//                [--dedupe] [--invalid-bytes error|replace] [--jobs N [--piece-size BYTES]] [-o|--output OUT]
//                [--quiet] SOURCE
//
// Streams the units through the library's unit reader, in document order and constant memory:
// jsonl and tsv are the forms `units` prints, a unit (or a variant) a line; moses writes the two
// line-aligned text files of a language pair that machine-translation training reads, pairs one
// JSON object a pair, as Hugging Face's Translation feature reads it. Standard output gets each
// unit as it is read; a file appears only once the whole document is read.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
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
using InvalidBytes = CTmxUnitReader::InvalidBytes;

const std::map<std::string, TextMode> kTextModes = {
    {"plain", TextMode::Plain}, {"markup", TextMode::Markup}, {"engine", TextMode::Engine}};
const std::map<std::string, InvalidBytes> kInvalidBytes = {{"error", InvalidBytes::Error},
                                                           {"replace", InvalidBytes::Replace}};

struct ExportOptions {
  std::string source;
  std::vector<std::string> pair;
  std::string format = "jsonl";
  TextMode text = TextMode::Plain;
  std::string output;
  bool bDedupe = false;
  InvalidBytes invalidBytes = InvalidBytes::Error;
  int nJobs = 0;  // as many as the cores the process may use
  size_t nPieceBytes = CTmxUnitReader::kDefaultPieceBytes;
  bool bQuiet = false;

  bool SelectsPairs() const { return format == "moses" || format == "pairs"; }
  CString Range(size_t n) const { return CString(pair[n].c_str()); }
};

// What the read's workers make of each unit: the lines the format writes, nothing for a unit no
// pair is taken from, and for moses the line of each file with a NUL between them (no text of a
// document holds one). Engine text stays as `units` writes it: without the unit's id.
class UnitFormatter : public CTmxUnitFormatter {
 public:
  explicit UnitFormatter(const ExportOptions& options)
      : m_options(options), m_bTsv(options.format == "tsv"), m_bMoses(options.format == "moses") {
    if (!options.SelectsPairs()) return;
    m_strFirst = options.Range(0);
    m_strSecond = options.Range(1);
    m_pPairs = std::make_unique<CTmxPairSelector>(m_strFirst, m_strSecond, options.text, options.bDedupe);
  }
  std::unique_ptr<CTmxUnitFormatter> Clone() const override { return std::make_unique<UnitFormatter>(m_options); }
  void Format(const CTmxUnitView& unit, std::string& bytes) override {
    m_out.Into(bytes);
    if (m_pPairs)
      WritePair(unit);
    else
      WriteUnit(unit);
    m_out.Flush();
  }
  ULONGLONG GetDuplicateCount() const { return m_pPairs ? m_pPairs->GetDuplicateCount() : 0; }

 private:
  void WriteUnit(const CTmxUnitView& unit) {
    auto variant = [&unit](INT_PTR i) -> const CTmxTUV& { return unit.GetVariant(i); };
    if (m_bTsv) return WriteTextUnit(m_out, unit.GetKey(), unit.GetVariantCount(), variant);
    const bool bWithId = m_options.text != TextMode::Engine;
    WriteJsonUnit(m_out, unit.GetKey(), bWithId ? unit.GetUnitId() : nullptr, unit.GetVariantCount(), variant);
    m_out << "\n";
  }

  // pairs: {"key":K,"tuid":…,"translation":{"FIRST":…,"SECOND":…}}, keyed by the ranges as given.
  void WritePair(const CTmxUnitView& unit) {
    if (!m_pPairs->Select(unit)) return;
    if (m_bMoses) {
      m_out.Text(m_pPairs->GetFirst()) << std::string("\n\0", 2);
      m_out.Text(m_pPairs->GetSecond()) << "\n";
      return;
    }
    m_out << "{\"key\":" << unit.GetKey();
    if (LPCTSTR pszId = unit.GetUnitId()) (m_out << ",\"tuid\":").Json(pszId, std::char_traits<TCHAR>::length(pszId));
    (m_out << ",\"translation\":{").Json(m_strFirst) << ":";
    m_out.Json(m_pPairs->GetFirst()) << ",";
    m_out.Json(m_strSecond) << ":";
    m_out.Json(m_pPairs->GetSecond()) << "}}\n";
  }

  const ExportOptions& m_options;
  const bool m_bTsv, m_bMoses;
  CString m_strFirst, m_strSecond;  // the ranges as given
  std::unique_ptr<CTmxPairSelector> m_pPairs;
  BytesOutput m_out;
};

std::string MosesFile(const ExportOptions& options, int nLanguage) {
  return options.output + "." + options.pair[static_cast<size_t>(nLanguage)];
}

// The caller's share: each unit's bytes written where they go, in document order, and counted.
class UnitWriter : public CTmxOutputHandler {
 public:
  UnitWriter(const ExportOptions& options, Output& out, Progress& progress) : m_out(out), m_progress(progress) {
    if (options.format != "moses") return;
    m_pFirst = std::make_unique<OutputFile>(MosesFile(options, 0));
    m_pSecond = std::make_unique<OutputFile>(MosesFile(options, 1));
  }
  void OnOutput(const char* pBytes, size_t nBytes) override {
    m_progress.AddUnit();
    m_nUnits++;
    if (nBytes == 0) return;
    m_nWritten++;
    if (!m_pFirst) {
      m_out.Raw(pBytes, nBytes);
      return;
    }
    const auto nFirst = static_cast<size_t>(static_cast<const char*>(std::memchr(pBytes, '\0', nBytes)) - pBytes);
    m_pFirst->Out().Raw(pBytes, nFirst);
    m_pSecond->Out().Raw(pBytes + nFirst + 1, nBytes - nFirst - 1);
  }
  void Finish() {
    if (!m_pFirst) return;
    m_pFirst->Close();
    m_pSecond->Close();
    m_pFirst->Commit();
    m_pSecond->Commit();
  }
  ULONGLONG GetUnitCount() const { return m_nUnits; }
  ULONGLONG GetWrittenCount() const { return m_nWritten; }

 private:
  Output& m_out;
  Progress& m_progress;
  std::unique_ptr<OutputFile> m_pFirst, m_pSecond;
  ULONGLONG m_nUnits = 0, m_nWritten = 0;
};

// Dropping repeats takes the units in document order, so they are formatted where they are shown.
void ReadOnCaller(CTmxUnitReader& reader, CTmxUnitFormatter& formatter, CTmxOutputHandler& writer) {
  struct Handler : CTmxUnitHandler {
    CTmxUnitFormatter& formatter;
    CTmxOutputHandler& writer;
    std::string bytes;
    Handler(CTmxUnitFormatter& f, CTmxOutputHandler& w) : formatter(f), writer(w) {}
    void OnUnit(const CTmxUnitReader& unit) override {
      bytes.clear();
      formatter.Format(unit, bytes);
      writer.OnOutput(bytes.data(), bytes.size());
    }
  } handler(formatter, writer);
  reader.ReadUnits(handler);
}

std::string Count(ULONGLONG n, const char* pszOne, const char* pszMany) {
  return std::to_string(n) + " " + (n == 1 ? pszOne : pszMany);
}

// moses and pairs tell what they wrote and skipped; any format, the bytes read as U+FFFD.
void WriteSummary(const ExportOptions& options, const CTmxUnitReader& reader, const UnitWriter& writer,
                  const UnitFormatter& formatter) {
  std::vector<std::string> parts;
  if (options.SelectsPairs()) {
    const ULONGLONG nDuplicates = formatter.GetDuplicateCount(), nWritten = writer.GetWrittenCount();
    parts.push_back(Count(nWritten, "unit written", "units written"));
    parts.push_back(std::to_string(writer.GetUnitCount() - nWritten - nDuplicates) + " skipped");
    if (options.bDedupe) parts.push_back(std::to_string(nDuplicates) + " dropped as duplicates");
  }
  if (options.invalidBytes == InvalidBytes::Replace)
    parts.push_back(Count(reader.GetReplacedBytes(), "invalid byte", "invalid bytes") + " read as U+FFFD");
  if (options.bQuiet || parts.empty()) return;
  std::string summary;
  for (const std::string& part : parts) summary += (summary.empty() ? "" : ", ") + part;
  std::fputs((summary + "\n").c_str(), stderr);
}

void RunExport(const ExportOptions& options, Output& out, ParserSafety& safety) {
  StreamInput input(options.source);
  std::unique_ptr<CTmxUnitReader> reader =
      options.pair.empty() ? std::make_unique<CTmxUnitReader>(options.text)
                           : std::make_unique<CTmxUnitReader>(options.Range(0), options.Range(1), options.text);
  safety.Apply(reader->GetParser());
  reader->SetJobs(options.nJobs, options.nPieceBytes);
  reader->SetInvalidBytes(options.invalidBytes);
  std::unique_ptr<OutputFile> file;
  if (!options.output.empty() && options.format != "moses") file = std::make_unique<OutputFile>(options.output);
  Progress progress(input, !options.bQuiet);
  UnitFormatter formatter(options);
  UnitWriter writer(options, file ? file->Out() : out, progress);
  reader->Open(input);
  if (options.bDedupe)
    ReadOnCaller(*reader, formatter, writer);
  else
    reader->ReadFormatted(formatter, writer);
  writer.Finish();
  if (file) {
    file->Close();
    file->Commit();
  }
  WriteSummary(options, *reader, writer, formatter);
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
  cmd->add_option("--invalid-bytes", options->invalidBytes, "error (default): a byte the document's encoding "
                                                            "cannot hold ends the read with an error at its place; "
                                                            "replace: it is read as U+FFFD, and counted")
      ->type_name("MODE")->transform(CLI::CheckedTransformer(kInvalidBytes).description(""));
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
  cmd->add_flag("--quiet", options->bQuiet, "No progress line on a terminal, no summary on standard error");
  AllowExternal(cmd, safety);
  cmd->add_option("SOURCE", options->source, "TMX file, or - for standard input")->required();
  cmd->callback([options, &pending] {
    CheckPairOptions(*options);
    pending.input = options->source;
    pending.run = [options](Output& out, ParserSafety& safety) { RunExport(*options, out, safety); };
  });
}
