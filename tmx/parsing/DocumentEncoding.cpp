#include "tmx/parsing/DocumentEncoding.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>
#include <string_view>

using namespace std::string_view_literals;

namespace {

using Layout = ByteLayout;
using Check = DocumentEncoding::Check;

bool Starts(const char* p, size_t n, std::string_view bytes) {
  return n >= bytes.size() && std::memcmp(p, bytes.data(), bytes.size()) == 0;
}

enum class Found { kNone, kWhole, kCut, kTooLong };

// The declaration's text, as ASCII (anything else as DEL), read in the layout's code units up to
// its "?>": whole, none at all, cut short by the end of the bytes, or longer than any real one.
Found Declaration(const char* p, size_t n, Layout layout, std::string& text) {
  const size_t nWidth = layout == Layout::kNarrow ? 1 : 2;
  for (size_t i = 0; i + nWidth <= n; i += nWidth) {
    const unsigned char c = static_cast<unsigned char>(layout == Layout::kUtf16BE ? p[i + 1] : p[i]);
    const unsigned char high = nWidth == 1 ? 0 : static_cast<unsigned char>(layout == Layout::kUtf16BE ? p[i] : p[i + 1]);
    text += high != 0 || c >= 0x80 ? '\x7f' : static_cast<char>(c);
    if (text.size() <= 5 && text != "<?xml"sv.substr(0, text.size())) return Found::kNone;
    if (text.size() == 6 && !std::isspace(static_cast<unsigned char>(text[5]))) return Found::kNone;  // a PI
    if (text.size() > 6 && text.compare(text.size() - 2, 2, "?>") == 0) return Found::kWhole;
    if (text.size() == 1024) return Found::kTooLong;
  }
  return Found::kCut;
}

// The value of a pseudo-attribute of the declaration, lower case; empty when absent.
std::string Value(const std::string& declaration, std::string_view name) {
  const size_t nName = declaration.find(name);
  if (nName == std::string::npos) return {};
  const size_t nQuote = declaration.find_first_of("\"'", nName + name.size());
  if (nQuote == std::string::npos) return {};
  const size_t nClose = declaration.find(declaration[nQuote], nQuote + 1);
  if (nClose == std::string::npos) return {};
  std::string value = declaration.substr(nQuote + 1, nClose - nQuote - 1);
  std::transform(value.begin(), value.end(), value.begin(), [](unsigned char c) { return std::tolower(c); });
  return value;
}

// The encodings whose every byte below 0x80 is the ASCII character, so that markup is found
// byte by byte, and which keep no state from one byte to the next.
bool IsSingleByte(const std::string& name) {
  for (std::string_view family : {"iso-8859-"sv, "iso8859-"sv, "windows-125"sv, "cp125"sv, "latin"sv, "koi8-"sv})
    if (name.size() > family.size() && name.compare(0, family.size(), family) == 0) return true;
  return name == "iso-latin-1" || name == "l1" || name == "cp819" || name == "ibm819";
}

}  // namespace

DocumentEncoding SenseEncoding(const char* p, size_t n, bool bAll) {
  DocumentEncoding encoding;
  if (Starts(p, n, "\x00\x00"sv) || Starts(p, n, "\xFF\xFE\x00\x00"sv) || Starts(p, n, "\x3C\x00\x00\x00"sv) ||
      Starts(p, n, "\x4C\x6F\xA7\x94"sv))
    return encoding;  // UCS-4 or EBCDIC
  if (Starts(p, n, "\xEF\xBB\xBF"))
    encoding.layout = Layout::kNarrow, encoding.nMarkBytes = 3;
  else if (Starts(p, n, "\xFF\xFE"))
    encoding.layout = Layout::kUtf16LE, encoding.nMarkBytes = 2;
  else if (Starts(p, n, "\xFE\xFF"))
    encoding.layout = Layout::kUtf16BE, encoding.nMarkBytes = 2;
  else if (Starts(p, n, "<\0?\0"sv))
    encoding.layout = Layout::kUtf16LE;
  else if (Starts(p, n, "\0<\0?"sv))
    encoding.layout = Layout::kUtf16BE;
  else
    encoding.layout = Layout::kNarrow;

  std::string declaration;
  const Found found = Declaration(p + encoding.nMarkBytes, n - encoding.nMarkBytes, encoding.layout, declaration);
  if (found == Found::kTooLong || (found == Found::kCut && !bAll)) return DocumentEncoding();
  if (found != Found::kWhole) declaration.clear();
  encoding.bXml11 = Value(declaration, "version") == "1.1";
  const std::string name = Value(declaration, "encoding");
  if (encoding.layout != Layout::kNarrow) {
    if (!name.empty() && name != "utf-16" && name != "utf-16le" && name != "utf-16be") encoding.layout = Layout::kOther;
  } else if (name.empty() || name == "utf-8" || name == "utf8") {
    encoding.check = Check::kUtf8;
  } else if (encoding.nMarkBytes != 0) {
    encoding.layout = Layout::kOther;  // a UTF-8 mark before another encoding's name: the parser judges
  } else if (name == "us-ascii" || name == "ascii") {
    encoding.check = Check::kAscii;
  } else if (!IsSingleByte(name)) {
    encoding.layout = Layout::kOther;
  }
  return encoding;
}
