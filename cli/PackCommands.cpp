// quillon size [--json] XML, quillon pack [-o OUT] XML, quillon dump [--json] IMAGE
#include <cstdio>
#include <memory>

#include <nlohmann/json.hpp>

#include "cli/Command.h"
#include "cli/Input.h"
#include "cli/Platform.h"
#include "quillon/GenXMLInterface.h"
#include "quillon/PackedImage.h"

namespace {

struct PackOptions {
  std::string input;
  std::string output;
  bool bJson = false;
};

void RunSize(const PackOptions& options, Output& out, ParserSafety& safety) {
  const XmlPath input(options.input);
  CGenXMLInterface xml(input.Path(), 0, CString());
  safety.Apply(xml.GetParser());
  int nSize = 0;
  const int nNodes = xml.PreParseForSize(nSize);
  if (options.bJson)
    out << nlohmann::ordered_json{{"nodes", nNodes}, {"size", nSize}}.dump() << "\n";
  else
    out << nNodes << " nodes, " << nSize << " bytes\n";
}

void RunPack(const PackOptions& options, Output& out, ParserSafety& safety) {
  const XmlPath input(options.input);
  CGenXMLInterface xml(input.Path(), 0, CString());
  safety.Apply(xml.GetParser());
  int nSize = 0;
  const int nNodes = xml.PreParseForSize(nSize);
  std::unique_ptr<unsigned char[]> buffer(new unsigned char[static_cast<size_t>(nSize)]);
  if (!xml.ParseFileAndPackToMemory(buffer.get())) throw std::runtime_error("nothing to pack");
  // The image carries no length: skipping over the records that were counted gives it.
  const size_t nLength = quillon::PackedImageLength(buffer.get(), static_cast<size_t>(nSize), static_cast<size_t>(nNodes));
  const auto* pImage = reinterpret_cast<const char*>(buffer.get());
  if (options.output.empty()) {
    out.Raw(pImage, nLength);
    return;
  }
  OutputFile file(options.output);
  file.Out().Raw(pImage, nLength);
  file.Close();
  file.Commit();
}

void RenderText(const quillon::PackedImage& image, Output& out) {
  out << "encoding ";
  out.Json(image.encoding.c_str(), image.encoding.size()) << "\n";
  int nElementDepth = 0;  // attributes carry depth -1: indent them under their element
  for (const auto& record : image.records) {
    if (record.depth >= 0) nElementDepth = record.depth;
    const int nIndent = record.depth >= 0 ? record.depth : nElementDepth + 1;
    out << std::string(2 * static_cast<size_t>(nIndent), ' ') << static_cast<long long>(record.index)
        << (record.depth < 0 ? " @" : " ");
    out.Json(record.name.c_str(), record.name.size());
    if (!record.value.empty()) {
      out << " = ";
      out.Json(record.value.c_str(), record.value.size());
    }
    std::string flags;
    for (int i = 0; i < 8; i++)
      if (record.flags[i]) flags += std::string(flags.empty() ? "" : " ") + quillon::PackedRecord::kFlagNames[i];
    if (!flags.empty()) out << " [" << flags << "]";
    out << "\n";
  }
}

void RenderJson(const quillon::PackedImage& image, Output& out) {
  out << "{\"encoding\":";
  out.Json(image.encoding.c_str(), image.encoding.size()) << ",\"records\":[";
  for (size_t i = 0; i < image.records.size(); i++) {
    const auto& record = image.records[i];
    out << (i ? ",{\"name\":" : "{\"name\":");
    out.Json(record.name.c_str(), record.name.size()) << ",\"value\":";
    out.Json(record.value.c_str(), record.value.size()) << ",\"index\":" << static_cast<long long>(record.index)
        << ",\"depth\":" << static_cast<long long>(record.depth) << ",\"flags\":[";
    for (int f = 0; f < 8; f++) out << (f ? "," : "") << static_cast<long long>(record.flags[f]);
    out << "]}";
  }
  out << "]}\n";
}

void RunDump(const PackOptions& options, Output& out, ParserSafety&) {
  const std::vector<BYTE> bytes = InputFile(options.input).ReadAll();
  const auto image = quillon::ReadPackedImage(bytes.data(), bytes.size());
  options.bJson ? RenderJson(image, out) : RenderText(image, out);
}

CLI::App* AddCommand(CLI::App& app, PendingRun& pending, const char* name, const char* description,
                     void (*run)(const PackOptions&, Output&, ParserSafety&), bool bJson, bool bOutput,
                     const char* inputHelp) {
  auto options = std::make_shared<PackOptions>();
  CLI::App* cmd = app.add_subcommand(name, description);
  if (bJson) cmd->add_flag("--json", options->bJson, "Print one JSON object");
  if (bOutput)
    cmd->add_option("-o,--output", options->output, "Write the image to this file instead of standard output")
        ->type_name("OUT");
  cmd->add_option(name == std::string("dump") ? "IMAGE" : "XML", options->input, inputHelp)->required();
  cmd->callback([options, run, &pending, bOutput] {
    if (bOutput && options->output.empty() && IsTerminal(stdout))  // as compressors do
      throw CLI::ValidationError("pack", "will not write a binary image to a terminal: give -o FILE, or redirect");
    pending.input = options->input;
    pending.run = [options, run](Output& out, ParserSafety& safety) { run(*options, out, safety); };
  });
  return cmd;
}

}  // namespace

void AddPackCommands(CLI::App& app, PendingRun& pending, ParserSafety& safety) {
  AllowExternal(AddCommand(app, pending, "size", "Count the nodes of an XML document and the bytes of its packed image",
                           RunSize, true, false, "XML file, or - for standard input"), safety);
  AllowExternal(AddCommand(app, pending, "pack", "Write the packed image of an XML document", RunPack, false, true,
                           "XML file, or - for standard input"), safety);
  AddCommand(app, pending, "dump", "Print the records of a packed image", RunDump, true, false,
             "packed image file, or - for standard input");
}
