#include "cli/Input.h"

#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include <xercesc/dom/DOMElement.hpp>

#include "cli/Command.h"
#include "cli/Platform.h"

void RequireReadable(const std::string& input) {
  if (input == "-") return;
  std::FILE* file = OpenFile(input, "rb");
  if (file == nullptr) throw std::runtime_error(std::string("cannot open the file (") + std::strerror(errno) + ")");
  struct stat st;
  const bool bDirectory = fstat(fileno(file), &st) == 0 && S_ISDIR(st.st_mode);
  std::fclose(file);
  if (bDirectory) throw std::runtime_error("cannot open the file (it is a directory)");
}

std::vector<BYTE> ReadStandardInput() {
  std::vector<BYTE> bytes;
  ReadStandardInput([&bytes](const BYTE* p, size_t n) {
    bytes.insert(bytes.end(), p, p + n);
    return true;
  });
  return bytes;
}

TmxInput::TmxInput(const std::string& source, ParserSafety& safety) : m_source(source) {
  if (source == "-") {
    m_bytes = ReadStandardInput();
    m_memFile.Attach(m_bytes.data(), static_cast<UINT>(m_bytes.size()));
    m_engine = std::make_unique<CTmxParseEngine>(CString(), &m_memFile, nullptr);
  } else {
    m_engine = std::make_unique<CTmxParseEngine>(CString(source.c_str()), nullptr, nullptr);
  }
  safety.Apply(&m_engine->m_parser);
}

bool TmxInput::SearchLanguages(CStringArray* pLanguages) {
  const bool bResult = m_engine->SearchTmxForLanguages(pLanguages);
  const xercesc::DOMElement* pRoot = m_engine->m_pDocument ? m_engine->m_pDocument->getDocumentElement() : nullptr;
  if (pRoot && !xercesc::XMLString::equals(pRoot->getTagName(), _T("tmx")))
    std::fprintf(stderr, "%s: warning: not a TMX document: its root element is <%s>, not <tmx>\n",
                 DisplayName(m_source).c_str(), CW2A(pRoot->getTagName()).str().c_str());
  return bResult;
}

// The spool is named after the process and the moment, in the system's folder for temporary
// files, and created only if no file has that name.
XmlPath::XmlPath(const std::string& input) : m_path(input) {
  if (input != "-") return;
  const auto tick = std::chrono::steady_clock::now().time_since_epoch().count();
  m_path = (std::filesystem::temp_directory_path() / ("quillon-stdin-" + std::to_string(tick) + ".xml")).string();
  std::FILE* file = CreateNewFile(m_path);
  if (file == nullptr) throw std::runtime_error("cannot spool standard input to " + m_path);
  m_bSpooled = true;
  const bool bWritten = ReadStandardInput([file](const BYTE* p, size_t n) { return std::fwrite(p, 1, n, file) == n; });
  if (std::fclose(file) != 0 || !bWritten) throw std::runtime_error("cannot spool standard input to " + m_path);
}

XmlPath::~XmlPath() {
  if (m_bSpooled) std::remove(m_path.c_str());
}
