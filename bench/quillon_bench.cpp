// quillon_bench: wall time and peak resident memory of each operation, each run in a process of
// its own, as ratios to a bare DOM parse of the same file, for generated TMX files of several
// sizes; then how each operation grows from one size to the next. --stream does the same for
// the streaming reads against a bare SAX2 scan, --peers for translate-toolkit.
//
//   quillon_bench [--data DIR] [--units 30000,300000,900000] [--reps N]
//   quillon_bench --stream [--data DIR] [--units 30000,600000,3000000] [--reps N] [--no-dom]
//   quillon_bench --peers [--data DIR] [--units 300000] [--quillon PATH] [--peer SCRIPT]
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>

#include "bench/TmxGenerator.h"
#include "quillon/GenXMLInterface.h"
#include "quillon/TmxParseEngine.h"

using namespace xercesc;

namespace {

struct Measure {
  double seconds = 1e30;
  double peakMiB = 0;
};

// Runs work in a child process and measures it from outside: wall time and the child's peak RSS.
Measure RunInChild(const std::function<void()>& work, int nReps) {
  Measure best;
  for (int rep = 0; rep < nReps; rep++) {
    const auto start = std::chrono::steady_clock::now();
    const pid_t pid = fork();
    if (pid == 0) {
      work();
      _exit(0);
    }
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
      std::fprintf(stderr, "quillon_bench: a measured run failed\n");
      std::exit(1);
    }
    best.seconds = std::min(best.seconds, seconds);
    best.peakMiB = std::max(best.peakMiB, usage.ru_maxrss / 1024.0);
  }
  return best;
}

// Runs a command with its standard output sent to /dev/null.
std::function<void()> Command(std::vector<std::string> argv) {
  return [argv] {
    const int devnull = open("/dev/null", O_WRONLY);
    dup2(devnull, 1);
    std::vector<char*> args;
    for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    execvp(args[0], args.data());
    _exit(127);
  };
}

std::string GeneratedTmx(const std::string& dir, long nUnits) {
  mkdir(dir.c_str(), 0755);
  const std::string path = dir + "/memory-" + std::to_string(nUnits) + ".tmx";
  struct stat st;
  if (stat(path.c_str(), &st) != 0) {
    std::ofstream out(path + ".part", std::ios::binary);
    WriteSyntheticTmx(out, nUnits, 2026);
    out.close();
    std::rename((path + ".part").c_str(), path.c_str());
  }
  return path;
}

void BareParse(const std::string& path) {
  XercesDOMParser parser;
  parser.setCreateEntityReferenceNodes(false);
  parser.parse(LocalFileInputSource(CString(path.c_str()).GetString()));
}

void BuildUnits(const std::string& path, bool bAll) {
  CTmxParseEngine engine(CString(path.c_str()), nullptr, nullptr);
  engine.SearchTmxForLanguages(nullptr);
  TmxUnitMap* pMap = nullptr;
  engine.CreateMapObject(pMap);
  engine.m_strFirstLanguage = u"en-US";
  engine.m_strSecondLanguage = u"de-DE";
  bAll ? engine.CreateMultilingualDataStructures(*pMap) : engine.CreateDataStructures(*pMap);
  engine.DeleteMapObject(pMap);
  delete pMap;
}

void SizeAndPack(const std::string& path, bool bPack) {
  CGenXMLInterface xml(CString(path.c_str()), 0, CString());
  int nSize = 0;
  xml.PreParseForSize(nSize);
  if (!bPack) return;
  std::unique_ptr<unsigned char[]> buffer(new unsigned char[static_cast<size_t>(nSize)]);  // as a host would
  xml.ParseFileAndPackToMemory(buffer.get());
}

struct Operation {
  const char* name;
  std::function<void(const std::string&)> run;
};

const std::vector<Operation> kOperations = {
    {"bare parse", BareParse},
    {"languages",
     [](const std::string& path) {
       CTmxParseEngine engine(CString(path.c_str()), nullptr, nullptr);
       CStringArray languages;
       engine.SearchTmxForLanguages(&languages);
     }},
    {"units --pair", [](const std::string& path) { BuildUnits(path, false); }},
    {"units --all", [](const std::string& path) { BuildUnits(path, true); }},
    {"size", [](const std::string& path) { SizeAndPack(path, false); }},
    {"size + pack", [](const std::string& path) { SizeAndPack(path, true); }},
};

std::vector<long> ParseUnits(const std::string& list) {
  std::vector<long> units;
  for (size_t at = 0; at < list.size();) {
    const size_t comma = list.find(',', at);
    units.push_back(std::atol(list.substr(at, comma - at).c_str()));
    at = comma == std::string::npos ? list.size() : comma + 1;
  }
  return units;
}

double FileMiB(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 ? st.st_size / 1048576.0 : 0;
}

int Report(const std::string& dir, const std::vector<long>& sizes, int nReps) {
  std::map<long, std::vector<Measure>> results;
  for (long nUnits : sizes) {
    const std::string path = GeneratedTmx(dir, nUnits);
    std::printf("\n%ld units, %.1f MiB\n", nUnits, FileMiB(path));
    std::printf("%-14s %9s %8s %10s %8s\n", "operation", "time (s)", "x parse", "peak (MiB)", "x parse");
    std::vector<Measure>& row = results[nUnits];
    for (const auto& op : kOperations) {
      row.push_back(RunInChild([&] { op.run(path); }, nReps));
      const Measure& m = row.back();
      std::printf("%-14s %9.2f %8.2f %10.0f %8.2f\n", op.name, m.seconds, m.seconds / row[0].seconds, m.peakMiB,
                  m.peakMiB / row[0].peakMiB);
      std::fflush(stdout);
    }
  }
  for (size_t i = 1; i < sizes.size(); i++) {
    const double factor = static_cast<double>(sizes[i]) / sizes[i - 1];
    std::printf("\ngrowth %ld -> %ld units (x%.0f): time ratio / proportional\n", sizes[i - 1], sizes[i], factor);
    for (size_t op = 0; op < kOperations.size(); op++)
      std::printf("%-14s %6.2f\n", kOperations[op].name,
                  results[sizes[i]][op].seconds / results[sizes[i - 1]][op].seconds / factor);
  }
  return 0;
}

// Runs a command under /usr/bin/time, a launcher small enough not to lend the command its own
// peak, with standard output sent to /dev/null: the best wall time of nReps, the highest peak.
Measure Timed(std::vector<std::string> argv, int nReps) {
  const std::string report = "/tmp/quillon-bench-" + std::to_string(getpid());
  argv.insert(argv.begin(), {"/usr/bin/time", "-f", "%e %M", "-o", report});
  Measure best;
  for (int rep = 0; rep < nReps; rep++) {
    const pid_t pid = fork();
    if (pid == 0) Command(argv)();
    int status = 0;
    waitpid(pid, &status, 0);
    std::ifstream in(report);
    double seconds = 0, peakKiB = 0;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || !(in >> seconds >> peakKiB)) {
      std::fprintf(stderr, "quillon_bench: %s failed\n", argv[5].c_str());
      std::exit(1);
    }
    best.seconds = std::min(best.seconds, seconds);
    best.peakMiB = std::max(best.peakMiB, peakKiB / 1024);
  }
  std::remove(report.c_str());
  return best;
}

struct Tools {
  std::string quillon, scan, peer;
};

// A shape real tools give a memory, made once from the generated file by a shell command that
// reads it as $0 and writes the shape to $1.
std::string Shaped(const std::string& path, const std::string& suffix, const std::string& make) {
  const std::string shaped = path.substr(0, path.size() - 4) + suffix;
  struct stat st;
  if (stat(shaped.c_str(), &st) != 0) {
    const pid_t pid = fork();
    if (pid == 0) Command({"/bin/sh", "-c", make + " && mv \"$1.part\" \"$1\"", path, shaped})();
    waitpid(pid, nullptr, 0);
  }
  return shaped;
}

// The caller's share of the processor time of a read in pieces, as the tool reports it.
std::string CallerShare(const std::string& quillon, const std::string& path) {
  const std::string command = "QUILLON_CPU_REPORT=1 " + quillon + " export --jobs 2 '" + path + "' 2>&1 >/dev/null";
  std::string report;
  if (FILE* pipe = popen(command.c_str(), "r")) {
    char line[256];
    while (std::fgets(line, sizeof line, pipe)) report += line;
    pclose(pipe);
  }
  return report;
}

// The memories real tools write, read in pieces: with a document type declaration (as OmegaT and
// Trados write them), in UTF-16 with a byte order mark, and gzipped as the public corpora ship
// them, against the scan of the plain file; the gzipped one also as users read it today, through
// gzip -dc, and gzip -dc alone, the floor of any read of it.
void Shapes(const std::string& path, const Tools& tools, int nReps) {
  const std::string doctype = Shaped(path, "-doctype.tmx",
      "sed '1a <!DOCTYPE tmx SYSTEM \"tmx14.dtd\">' \"$0\" >\"$1.part\"");
  const std::string utf16 = Shaped(path, "-utf16.tmx",
      "{ printf '\\377\\376'; sed '1s/UTF-8/UTF-16/' \"$0\" | iconv -f UTF-8 -t UTF-16LE; } >\"$1.part\"");
  const std::string gzipped = Shaped(path, ".tmx.gz", "gzip -c \"$0\" >\"$1.part\"");
  std::printf("\n%-34s %9s %8s %10s\n", "shape", "time (s)", "x scan", "peak (MiB)");
  const std::vector<std::pair<std::string, std::vector<std::string>>> readers = {
      {"bare SAX2 scan (plain UTF-8)", {tools.scan, path}},
      {"DOCTYPE, --jobs 1", {tools.quillon, "export", "--jobs", "1", doctype}},
      {"DOCTYPE, --jobs 2", {tools.quillon, "export", "--jobs", "2", doctype}},
      {"UTF-16 LE, --jobs 1", {tools.quillon, "export", "--jobs", "1", utf16}},
      {"UTF-16 LE, --jobs 2", {tools.quillon, "export", "--jobs", "2", utf16}},
      {"gzip, --jobs 1", {tools.quillon, "export", "--jobs", "1", gzipped}},
      {"gzip, --jobs 2", {tools.quillon, "export", "--jobs", "2", gzipped}},
      {"gzip -dc | export --jobs 2 -", {"/bin/sh", "-c", "gzip -dc \"$1\" | \"$0\" export --jobs 2 -", tools.quillon, gzipped}},
      {"gzip -dc > /dev/null", {"/bin/sh", "-c", "gzip -dc \"$0\" >/dev/null", gzipped}},
  };
  double scanSeconds = 0;
  for (const auto& [name, argv] : readers) {
    const Measure m = Timed(argv, nReps);
    if (scanSeconds == 0) scanSeconds = m.seconds;
    std::printf("%-34s %9.2f %8.2f %10.1f\n", name.c_str(), m.seconds, m.seconds / scanSeconds, m.peakMiB);
    std::fflush(stdout);
  }
  std::printf("export --jobs 2, the caller's share: %s", CallerShare(tools.quillon, path).c_str());
}

// Every streaming read against the bare scan of the same file, then the DOM's read and, at 300 k
// units, translate-toolkit's; and what --dedupe's fingerprints add to the peak per million units
// (each a distinct pair in these files).
int Stream(const std::string& dir, const std::vector<long>& sizes, const Tools& tools, bool bDom, int nReps) {
  for (long nUnits : sizes) {
    const std::string path = GeneratedTmx(dir, nUnits);
    std::printf("\n%ld units, %.1f MiB\n", nUnits, FileMiB(path));
    std::printf("%-34s %9s %8s %10s %8s\n", "reader", "time (s)", "x scan", "peak (MiB)", "x scan");
    const std::vector<std::string> pairs = {tools.quillon, "export", "--quiet", "--format", "pairs", "--pair", "en", "de", path};
    std::vector<std::pair<std::string, std::vector<std::string>>> readers = {
        {"bare SAX2 scan", {tools.scan, path}},
        {"export (plain text, every core)", {tools.quillon, "export", path}},
        {"export --text markup", {tools.quillon, "export", "--text", "markup", path}},
        {"export --text engine", {tools.quillon, "export", "--text", "engine", path}},
        {"export --pair en de", {tools.quillon, "export", "--pair", "en", "de", path}},
        {"export --format pairs --pair en de", pairs},
        {"  ... --dedupe", pairs},
    };
    readers.back().second.insert(readers.back().second.begin() + 2, "--dedupe");
    // The read in pieces, from one job to every core: wall time and peak against the scan.
    for (long nJobs = 1; nJobs <= sysconf(_SC_NPROCESSORS_ONLN); nJobs++)
      readers.push_back({"export --jobs " + std::to_string(nJobs), {tools.quillon, "export", "--jobs", std::to_string(nJobs), path}});
    if (bDom) readers.push_back({"units --all --json (DOM)", {tools.quillon, "units", "--all", "--json", path}});
    if (nUnits == 300000) readers.push_back({"translate-toolkit", {"/usr/bin/python3", tools.peer, path}});
    std::map<std::string, Measure> measured;
    for (const auto& [name, argv] : readers) {
      const Measure m = measured[name] = Timed(argv, nReps);
      const Measure& scan = measured["bare SAX2 scan"];  // the first measured
      std::printf("%-34s %9.2f %8.2f %10.1f %8.2f\n", name.c_str(), m.seconds, m.seconds / scan.seconds, m.peakMiB,
                  m.peakMiB / scan.peakMiB);
      std::fflush(stdout);
    }
    std::printf("--dedupe adds %.1f MiB per million pairs\n",
                (measured["  ... --dedupe"].peakMiB - measured["export --format pairs --pair en de"].peakMiB) /
                    (nUnits / 1e6));
    if (nUnits == sizes.back()) Shapes(path, tools, nReps);
  }
  return 0;
}

int Peers(const std::string& dir, long nUnits, const std::string& quillon, const std::string& peer, int nReps) {
  const std::string path = GeneratedTmx(dir, nUnits);
  std::printf("\n%ld units, %.1f MiB: reading every unit with all its variants\n", nUnits, FileMiB(path));
  const Measure ours = RunInChild(Command({quillon, "units", "--all", "--json", path}), nReps);
  const Measure theirs = RunInChild(Command({"/usr/bin/python3", peer, path}), nReps);
  std::printf("%-36s %9s %10s\n", "reader", "time (s)", "peak (MiB)");
  std::printf("%-36s %9.2f %10.0f\n", "quillon units --all --json", ours.seconds, ours.peakMiB);
  std::printf("%-36s %9.2f %10.0f\n", "translate-toolkit (tmxfile)", theirs.seconds, theirs.peakMiB);
  std::printf("quillon is %.2fx faster, with %.2fx the peak memory\n", theirs.seconds / ours.seconds,
              ours.peakMiB / theirs.peakMiB);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::string dir = "build/bench-data", units, quillon = "build/bin/quillon", peer = "bench/peer_translate_toolkit.py";
  std::string scan = "build/bin/sax_scan";
  bool bPeers = false, bStream = false, bDom = true;
  int nReps = 1;
  for (int i = 1; i < argc; i++) {
    const std::string arg = argv[i];
    auto value = [&]() -> std::string { return i + 1 < argc ? argv[++i] : ""; };
    if (arg == "--data") dir = value();
    else if (arg == "--units") units = value();
    else if (arg == "--reps") nReps = std::max(1, std::atoi(value().c_str()));
    else if (arg == "--peers") bPeers = true;
    else if (arg == "--stream") bStream = true;
    else if (arg == "--no-dom") bDom = false;
    else if (arg == "--scan") scan = value();
    else if (arg == "--quillon") quillon = value();
    else if (arg == "--peer") peer = value();
    else {
      std::fprintf(stderr, "usage: quillon_bench [--peers | --stream [--no-dom]] [--data DIR] [--units N,N,...] [--reps N]\n");
      return 2;
    }
  }
  if (bStream)
    return Stream(dir, ParseUnits(units.empty() ? "30000,600000,3000000" : units), {quillon, scan, peer}, bDom, nReps);
  if (bPeers) return Peers(dir, units.empty() ? 300000 : std::atol(units.c_str()), quillon, peer, nReps);
  return Report(dir, ParseUnits(units.empty() ? "30000,300000,900000" : units), nReps);
}
