#include "cli/Input.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <xercesc/dom/DOMElement.hpp>

#include "cli/Command.h"
#include "cli/Platform.h"

namespace {

[[noreturn]] void Raise(const char* what) { throw std::runtime_error(std::string(what) + " (" + std::strerror(errno) + ")"); }

}  // namespace

InputFile::InputFile(const std::string& path) : m_path(path), m_file(path == "-" ? stdin : OpenFile(path, "rb")) {
  if (m_file == nullptr) Raise("cannot open the file");
  if (!IsDirectory(m_file)) return;
  if (!IsStandardInput()) std::fclose(m_file);
  m_file = nullptr;
  errno = EISDIR;
  Raise(path == "-" ? "cannot read" : "cannot open the file");
}

InputFile::~InputFile() {
  if (m_file && !IsStandardInput()) std::fclose(m_file);
}

std::string InputFile::ParserPath() const { return ::ParserPath(m_path, m_file); }

size_t InputFile::Read(void* p, size_t nMax) {
  const size_t n = std::fread(p, 1, nMax, m_file);
  if (n == 0 && std::ferror(m_file)) Raise("cannot read");
  return n;
}

std::vector<BYTE> InputFile::ReadAll() {
  std::vector<BYTE> bytes;
  BYTE chunk[1 << 16];
  for (size_t n; (n = Read(chunk, sizeof chunk)) > 0;) bytes.insert(bytes.end(), chunk, chunk + n);
  return bytes;
}

TmxInput::TmxInput(const std::string& source, ParserSafety& safety) : m_source(source), m_input(source) {
  if (m_input.IsStandardInput()) {
    m_bytes = m_input.ReadAll();
    m_memFile.Attach(m_bytes.data(), static_cast<UINT>(m_bytes.size()));
    m_engine = std::make_unique<CTmxParseEngine>(CString(), &m_memFile, nullptr);
  } else {
    m_engine = std::make_unique<CTmxParseEngine>(CString(m_input.ParserPath().c_str()), nullptr, nullptr);
  }
  safety.Apply(&m_engine->m_parser);
}

bool TmxInput::SearchLanguages(CStringArray* pLanguages) {
  const bool bResult = m_engine->SearchTmxForLanguages(pLanguages);
  const xercesc::DOMElement* pRoot = m_engine->m_pDocument ? m_engine->m_pDocument->getDocumentElement() : nullptr;
  if (pRoot && !xercesc::XMLString::equals(pRoot->getTagName(), _T("tmx")))
    std::fprintf(stderr, "%s: warning: not a TMX document: its root element is <%s>, not <tmx>\n",
                 DisplayName(m_source).c_str(), Utf8(pRoot->getTagName()).c_str());
  return bResult;
}

namespace {

// Copies what remains of input into file, which it closes; raises when either fails.
void Spool(InputFile& input, std::FILE* file, const std::string& path) {
  BYTE chunk[1 << 16];
  bool bWritten = true;
  try {
    for (size_t n; bWritten && (n = input.Read(chunk, sizeof chunk)) > 0;) bWritten = std::fwrite(chunk, 1, n, file) == n;
  } catch (...) {
    std::fclose(file);
    throw;
  }
  if (std::fclose(file) != 0 || !bWritten) Raise(("cannot spool standard input to " + path).c_str());
}

}  // namespace

// The spool is a private file in the system's folder for temporary files.
XmlPath::XmlPath(const std::string& input) : m_input(input) {
  if (!m_input.IsStandardInput()) {
    m_path = m_input.ParserPath();
    return;
  }
  std::FILE* file = CreateUniqueFile(TemporaryFolder() + "/quillon-stdin-", ".xml", true, m_path);
  if (file == nullptr) Raise(("cannot spool standard input to " + TemporaryFolder()).c_str());
  try {
    Spool(m_input, file, m_path);
  } catch (...) {
    RemoveFile(m_path);
    throw;
  }
  m_bSpooled = true;
}

XmlPath::~XmlPath() {
  if (m_bSpooled) RemoveFile(m_path);
}
