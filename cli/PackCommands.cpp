// quillon size [--json] XML, quillon pack [-o OUT] XML, quillon dump [--json] IMAGE
#include <cstdio>
#include <fstream>
#include <memory>

#include <nlohmann/json.hpp>

#include "cli/Command.h"
#include "cli/TmxInput.h"
#include "quillon/GenXMLInterface.h"
#include "quillon/PackedImage.h"

namespace {

struct PackOptions {
  std::string input;
  std::string output;
  bool bJson = false;
};

std::string Utf8(const std::u16string& text) { return CW2A(text.c_str(), text.size(), CP_UTF8).str(); }

std::string RunSize(const PackOptions& options) {
  CGenXMLInterface xml(CString(options.input.c_str()), 0, CString());
  int nSize = 0;
  const int nNodes = xml.PreParseForSize(nSize);
  if (options.bJson) return nlohmann::ordered_json{{"nodes", nNodes}, {"size", nSize}}.dump() + "\n";
  return std::to_string(nNodes) + " nodes, " + std::to_string(nSize) + " bytes\n";
}

std::string RunPack(const PackOptions& options) {
  CGenXMLInterface xml(CString(options.input.c_str()), 0, CString());
  int nSize = 0;
  const int nNodes = xml.PreParseForSize(nSize);
  std::vector<unsigned char> buffer(static_cast<size_t>(nSize));
  if (!xml.ParseFileAndPackToMemory(buffer.data())) throw std::runtime_error("nothing to pack");
  // The image carries no length: reading the records that were counted gives it.
  buffer.resize(quillon::ReadPackedImage(buffer.data(), buffer.size(), static_cast<size_t>(nNodes)).length);
  std::string image(buffer.begin(), buffer.end());
  if (options.output.empty()) return image;
  std::ofstream out(options.output, std::ios::binary);
  if (!out.write(image.data(), static_cast<std::streamsize>(image.size())) || !out.flush())
    throw std::runtime_error("cannot write " + options.output);
  return {};
}

std::string ReadImageFile(const std::string& path) {
  if (path == "-") {
    const std::vector<BYTE> bytes = ReadStandardInput();
    return std::string(bytes.begin(), bytes.end());
  }
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot open the file");
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// Quotes a value for the text dump: one record stays one line.
std::string Quoted(const std::u16string& value) {
  std::string text = "\"";
  for (char c : Utf8(value)) {
    if (c == '"' || c == '\\') text += {'\\', c};
    else if (c == '\n') text += "\\n";
    else if (c == '\t') text += "\\t";
    else if (static_cast<unsigned char>(c) < 0x20) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\x%02X", c);
      text += escaped;
    } else text += c;
  }
  return text + "\"";
}

std::string RenderText(const quillon::PackedImage& image) {
  std::string text = "encoding " + Quoted(image.encoding) + "\n";
  int nElementDepth = 0;  // attributes carry depth -1: indent them under their element
  for (const auto& record : image.records) {
    if (record.depth >= 0) nElementDepth = record.depth;
    const int nIndent = record.depth >= 0 ? record.depth : nElementDepth + 1;
    text += std::string(2 * static_cast<size_t>(nIndent), ' ') + std::to_string(record.index) + " " +
            (record.depth < 0 ? "@" : "") + Utf8(record.name);
    if (!record.value.empty()) text += " = " + Quoted(record.value);
    std::string flags;
    for (int i = 0; i < 8; i++)
      if (record.flags[i]) flags += std::string(flags.empty() ? "" : " ") + quillon::PackedRecord::kFlagNames[i];
    if (!flags.empty()) text += " [" + flags + "]";
    text += "\n";
  }
  return text;
}

std::string RenderJson(const quillon::PackedImage& image) {
  nlohmann::ordered_json records = nlohmann::ordered_json::array();
  for (const auto& record : image.records)
    records.push_back({{"name", Utf8(record.name)},
                       {"value", Utf8(record.value)},
                       {"index", record.index},
                       {"depth", record.depth},
                       {"flags", std::vector<int>(record.flags, record.flags + 8)}});
  return nlohmann::ordered_json{{"encoding", Utf8(image.encoding)}, {"records", std::move(records)}}.dump() + "\n";
}

std::string RunDump(const PackOptions& options) {
  const std::string bytes = ReadImageFile(options.input);
  const auto image = quillon::ReadPackedImage(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
  return options.bJson ? RenderJson(image) : RenderText(image);
}

void AddCommand(CLI::App& app, PendingRun& pending, const char* name, const char* description,
                std::string (*run)(const PackOptions&), bool bJson, bool bOutput, const char* inputHelp) {
  auto options = std::make_shared<PackOptions>();
  CLI::App* cmd = app.add_subcommand(name, description);
  if (bJson) cmd->add_flag("--json", options->bJson, "Print one JSON object");
  if (bOutput) cmd->add_option("-o", options->output, "Write the image to this file instead of standard output");
  cmd->add_option(name == std::string("dump") ? "IMAGE" : "XML", options->input, inputHelp)->required();
  cmd->callback([options, run, &pending] {
    pending.input = options->input;
    pending.run = [options, run] { return run(*options); };
  });
}

}  // namespace

void AddPackCommands(CLI::App& app, PendingRun& pending) {
  AddCommand(app, pending, "size", "Count the nodes of an XML document and the bytes of its packed image", RunSize,
             true, false, "XML file");
  AddCommand(app, pending, "pack", "Write the packed image of an XML document", RunPack, false, true, "XML file");
  AddCommand(app, pending, "dump", "Print the records of a packed image", RunDump, true, false,
             "packed image file, or - for standard input");
}
