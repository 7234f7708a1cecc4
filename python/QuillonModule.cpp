// The quillon Python module: the library's streaming TMX reader and its XML packer. The parser
// works with the interpreter lock released; units and records are named tuples made at C speed,
// their texts Python strings converted from UTF-16 directly.
#include <pybind11/pybind11.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/util/BinInputStream.hpp>

#include "quillon/Failure.h"
#include "quillon/GenXMLInterface.h"
#include "quillon/PackedImage.h"
#include "quillon/SafeParsing.h"
#include "quillon/TmxPairs.h"
#include "quillon/TmxUnitReader.h"

namespace py = pybind11;
using namespace xercesc;

namespace {

// ---- Results: named tuples ---------------------------------------------------------------------

// A new reference, or an exception.
PyObject* Checked(PyObject* pObject) {
  if (pObject == nullptr) throw py::error_already_set();
  return pObject;
}

// A collections.namedtuple class of the module, with its documentation.
py::object NewRecordType(const char* pszName, const char* pszDoc, const std::vector<const char*>& fields) {
  py::list names;
  for (const char* pszField : fields) names.append(pszField);
  py::object type = py::module_::import("collections").attr("namedtuple")(pszName, names, py::arg("module") = "quillon");
  type.attr("__doc__") = pszDoc;
  return type;
}

py::object g_unit, g_variant, g_pair, g_record, g_flags;  // kept for the life of the process, as the module is
PyObject* g_pParseError;

// An instance of a named tuple class with n fields, which PyTuple_SET_ITEM then sets. It is
// made as the interpreter makes tuples, without a call of the class's Python constructor.
PyObject* NewRecord(const py::object& type, Py_ssize_t n) {
  auto* pType = reinterpret_cast<PyTypeObject*>(type.ptr());
  return Checked(pType->tp_alloc(pType, n));
}

// UTF-16 to a Python string, made at its final width and filled directly when the text has no
// surrogates (almost all text); a lone surrogate becomes U+FFFD, as in the tool's output.
PyObject* NewStr(const char16_t* p, size_t n) {
  char16_t nMax = 0;
  for (size_t i = 0; i < n; i++) nMax = std::max(nMax, p[i]);
  if (nMax >= 0xD800 && std::any_of(p, p + n, [](char16_t c) { return c >= 0xD800 && c <= 0xDFFF; })) {
    int nByteOrder = -1;  // little-endian: the code units as they lie in memory
    return Checked(PyUnicode_DecodeUTF16(reinterpret_cast<const char*>(p), static_cast<Py_ssize_t>(2 * n), "replace",
                                         &nByteOrder));
  }
  PyObject* pStr = Checked(PyUnicode_New(static_cast<Py_ssize_t>(n), nMax));
  if (PyUnicode_KIND(pStr) == PyUnicode_1BYTE_KIND)
    std::copy(p, p + n, PyUnicode_1BYTE_DATA(pStr));
  else
    std::copy(p, p + n, PyUnicode_2BYTE_DATA(pStr));
  return pStr;
}
PyObject* NewStr(const CString& str) { return NewStr(str.GetString(), static_cast<size_t>(str.GetLength())); }

// ---- Errors ------------------------------------------------------------------------------------

[[noreturn]] void RaiseParseError(const std::string& message, const py::object& path, unsigned long long nLine,
                                  unsigned long long nColumn) {
  const py::object line = nLine ? py::object(py::int_(nLine)) : py::none();
  const py::object column = nLine ? py::object(py::int_(nColumn)) : py::none();
  py::object text = py::str(message);
  if (!path.is_none())
    text = nLine ? py::str("{}:{}:{}: {}").format(path, line, column, text) : py::str("{}: {}").format(path, text);
  py::object error = py::reinterpret_steal<py::object>(Checked(PyObject_CallOneArg(g_pParseError, text.ptr())));
  error.attr("path") = path;
  error.attr("line") = line;
  error.attr("column") = column;
  error.attr("message") = message;
  PyErr_SetObject(g_pParseError, error.ptr());
  throw py::error_already_set();
}

// What a read threw, as the Python exception that says it: what Python raised (a file object's
// read) as it is, a parse error as ParseError. safety, when given, names what it refused.
[[noreturn]] void Raise(std::exception_ptr error, const py::object& path, const CSafeParsing* pSafety) {
  try {
    std::rethrow_exception(error);
  } catch (const py::error_already_set&) {
    throw;
  } catch (const py::builtin_exception&) {
    throw;
  } catch (...) {
    quillon::Failure failure = quillon::DescribeCurrentException();
    switch (failure.kind) {
      case quillon::Failure::Kind::kParse:
        if (pSafety) pSafety->Explain(failure, "safe=False");
        RaiseParseError(failure.message, path, failure.line, failure.column);
      case quillon::Failure::Kind::kInput: {  // a damaged compressed stream, as Python's own readers raise it
        const py::str text = path.is_none() ? py::str(failure.message) : py::str("{}: {}").format(path, failure.message);
        PyErr_SetObject(PyExc_OSError, text.ptr());
        throw py::error_already_set();
      }
      case quillon::Failure::Kind::kMemory:
        throw std::bad_alloc();
      default:
        throw std::runtime_error(failure.message);
    }
  }
}

// Runs work with the interpreter lock released; what it throws is raised once the lock is back.
template <class Work>
auto WithoutLock(const py::object& path, const CSafeParsing* pSafety, Work work) {
  std::exception_ptr error;
  std::optional<decltype(work())> result;
  {
    py::gil_scoped_release release;
    try {
      result = work();
    } catch (...) {
      error = std::current_exception();
    }
  }
  if (error) Raise(error, path, pSafety);
  return *result;
}

// ---- Sources -----------------------------------------------------------------------------------

// A binary file object, read in chunks through its read method, with the lock taken for each.
class PythonFileStream : public BinInputStream {
 public:
  explicit PythonFileStream(PyObject* pRead) : m_pRead(pRead) {}
  XMLFilePos curPos() const override { return m_nPos; }
  XMLSize_t readBytes(XMLByte* const pToFill, const XMLSize_t nMaxToRead) override {
    py::gil_scoped_acquire lock;
    py::object chunk = py::reinterpret_borrow<py::object>(m_pRead)(nMaxToRead);
    if (!PyBytes_Check(chunk.ptr())) throw py::type_error("the source must be read in binary mode, giving bytes");
    const XMLSize_t n = std::min(static_cast<XMLSize_t>(PyBytes_GET_SIZE(chunk.ptr())), nMaxToRead);
    std::copy_n(PyBytes_AS_STRING(chunk.ptr()), n, pToFill);
    m_nPos += n;
    return n;
  }
  const XMLCh* getContentType() const override { return nullptr; }

 private:
  PyObject* m_pRead;  // borrowed: the Source keeps it
  XMLFilePos m_nPos = 0;
};

class PythonFileSource : public InputSource {
 public:
  PythonFileSource(PyObject* pRead, const CString& strName) : m_pRead(pRead) { setSystemId(strName.GetString()); }
  BinInputStream* makeStream() const override { return new PythonFileStream(m_pRead); }

 private:
  PyObject* m_pRead;
};

// A path as the system names the file: os.fsdecode's text, encoded back.
std::string FileSystemName(const py::object& path) {
  return py::module_::import("os").attr("fsencode")(path).cast<std::string>();
}

// The file a path names, opened by Python, so that a path that cannot be read raises Python's
// own OSError.
py::object OpenFile(const py::object& path) { return py::module_::import("builtins").attr("open")(path, "rb"); }

// Closes a file that this module opened, leaving it closed whatever close raises.
void CloseFile(py::object& file) {
  py::object opened = std::move(file);
  if (opened) opened.attr("close")();
}

// What a read takes: a path (opened with Python's own open, so that its errors are Python's), a
// bytes-like object, or a binary file object. path is the path, or None.
class Source {
 public:
  explicit Source(py::handle source) {
    py::module_ os = py::module_::import("os");
    if (py::isinstance<py::str>(source) || py::isinstance(source, os.attr("PathLike"))) {
      path = os.attr("fsdecode")(source);
      m_file = OpenFile(path);
      m_read = m_file.attr("read");
      m_pInput = std::make_unique<PythonFileSource>(
          m_read.ptr(), CString(FileSystemName(os.attr("path").attr("abspath")(path)).c_str()));
    } else if (PyObject_CheckBuffer(source.ptr())) {
      m_bytes = py::reinterpret_borrow<py::object>(source);
      m_buffer.emplace(py::reinterpret_borrow<py::buffer>(source).request());
      m_pInput = std::make_unique<MemBufInputSource>(static_cast<const XMLByte*>(m_buffer->ptr),
                                                     static_cast<XMLSize_t>(m_buffer->size * m_buffer->itemsize), "<bytes>");
    } else if (py::hasattr(source, "read")) {
      m_read = source.attr("read");
      py::object name = py::getattr(source, "name", py::none());
      m_pInput = std::make_unique<PythonFileSource>(
          m_read.ptr(), py::isinstance<py::str>(name) ? CString(FileSystemName(name).c_str()) : CString(_T("<stream>")));
    } else {
      throw py::type_error("source must be a path, a bytes-like object or a binary file object");
    }
  }
  // Dropped without Close, a file that fails to close can only be reported to sys.unraisablehook.
  ~Source() {
    try {
      CloseFile(m_file);
    } catch (py::error_already_set& e) {
      e.discard_as_unraisable("closing a quillon source");
    }
  }
  // Closes the file that the source opened; a file object of the caller's stays open.
  void Close() { CloseFile(m_file); }
  const InputSource& Input() const { return *m_pInput; }
  py::object path = py::none();

 private:
  py::object m_file, m_read, m_bytes;
  std::optional<py::buffer_info> m_buffer;
  std::unique_ptr<InputSource> m_pInput;
};

// ---- Reading units -----------------------------------------------------------------------------

using TextMode = CTmxUnitReader::TextMode;

TextMode TextModeOf(const py::object& text) {
  if (!py::isinstance<py::str>(text)) throw py::type_error("text must be 'plain', 'markup' or 'engine'");
  const std::string name = text.cast<std::string>();
  if (name == "plain") return TextMode::Plain;
  if (name == "markup") return TextMode::Markup;
  if (name == "engine") return TextMode::Engine;
  throw py::value_error("text must be 'plain', 'markup' or 'engine', not '" + name + "'");
}

CString LanguageOf(const py::handle& language, const char* pszWhat) {
  if (!py::isinstance<py::str>(language)) throw py::type_error(std::string(pszWhat) + " must be a language code given as str");
  return CString(language.cast<std::string>().c_str());
}

// The reader for pair: two language codes (ranges, in plain and markup text), or None for every
// language.
std::unique_ptr<CTmxUnitReader> NewReader(const py::object& pair, TextMode mode) {
  if (pair.is_none()) return std::make_unique<CTmxUnitReader>(mode);
  if (py::isinstance<py::str>(pair) || py::isinstance<py::bytes>(pair) || !py::isinstance<py::sequence>(pair))
    throw py::type_error("pair must be two language codes, such as ('en', 'de')");
  const py::sequence languages = pair;
  if (languages.size() != 2)
    throw py::value_error("pair must hold two language codes, not " + std::to_string(languages.size()));
  return std::make_unique<CTmxUnitReader>(LanguageOf(languages[0], "each of pair"), LanguageOf(languages[1], "each of pair"),
                                          mode);
}

// How a read goes, as its keyword arguments say.
struct ReadOptions {
  bool bSafe;
  py::object jobs;
  std::string invalidBytes;
};

CTmxUnitReader::InvalidBytes InvalidBytesOf(const std::string& mode) {
  if (mode == "error") return CTmxUnitReader::InvalidBytes::Error;
  if (mode == "replace") return CTmxUnitReader::InvalidBytes::Replace;
  throw py::value_error("invalid_bytes must be 'error' or 'replace', not '" + mode + "'");
}

// None: as many parsers as the cores the process may use.
int JobsOf(const py::object& jobs) {
  if (jobs.is_none()) return 0;
  const int nJobs = jobs.cast<int>();
  if (nJobs < 1) throw py::value_error("jobs must be at least 1, not " + std::to_string(nJobs));
  return nJobs;
}

// A read of a source that the caller iterates, one step at a time with the lock released.
class Read {
 public:
  Read(const Read&) = delete;
  Read& operator=(const Read&) = delete;
  Read(py::handle source, std::unique_ptr<CTmxUnitReader> reader, const ReadOptions& options)
      : m_source(std::make_unique<Source>(source)), m_reader(std::move(reader)) {
    if (options.bSafe) m_safe.Apply(m_reader->GetParser());
    m_reader->SetJobs(JobsOf(options.jobs));
    m_reader->SetInvalidBytes(InvalidBytesOf(options.invalidBytes));
    m_reader->Open(m_source->Input());
  }

  ~Read() { EndReader(); }

  // The read ends here: the parser lets go of the source, which closes the file it opened.
  void Close() {
    EndReader();
    if (std::unique_ptr<Source> pSource = std::move(m_source)) pSource->Close();
  }
  ULONGLONG ReplacedBytes() const { return m_nReplaced; }

 protected:
  // Reads on to the next unit for which take(reader) holds; raises StopIteration at the end.
  template <class Take>
  void Step(Take take) {
    if (m_reader == nullptr) throw py::stop_iteration();
    const bool bTaken = WithoutLock(m_source->path, &m_safe, [&] {
      while (m_reader->ReadNextUnit())
        if (take(*m_reader)) return true;
      return false;
    });
    m_nReplaced = m_reader->GetReplacedBytes();
    if (!bTaken) throw py::stop_iteration();
  }
  const CTmxUnitReader& Reader() const { return *m_reader; }
  PyObject* UnitId() const {
    LPCTSTR pszId = m_reader->GetUnitId();
    return pszId ? NewStr(pszId, std::char_traits<TCHAR>::length(pszId)) : py::none().release().ptr();
  }

 private:
  // The reader's threads may be waiting for the lock to read a file object: it is let go while
  // they end.
  void EndReader() {
    if (!m_reader) return;
    m_nReplaced = m_reader->GetReplacedBytes();
    py::gil_scoped_release release;
    m_reader.reset();
  }

  CSafeParsing m_safe;               // outlives the reader, whose parser points at it,
  std::unique_ptr<Source> m_source;  // as the source does, which it reads
  std::unique_ptr<CTmxUnitReader> m_reader;
  ULONGLONG m_nReplaced = 0;
};

class UnitIterator : public Read {
 public:
  UnitIterator(py::handle source, const py::object& pair, const py::object& text, const ReadOptions& options)
      : Read(source, NewReader(pair, TextModeOf(text)), options) {}

  py::object Next() {
    Step([](const CTmxUnitReader&) { return true; });
    const INT_PTR nVariants = Reader().GetVariantCount();
    py::object variants = py::reinterpret_steal<py::object>(Checked(PyTuple_New(nVariants)));
    for (INT_PTR i = 0; i < nVariants; i++) {
      const CTmxTUV& tuv = Reader().GetVariant(i);
      PyObject* pVariant = NewRecord(g_variant, 3);
      PyTuple_SET_ITEM(variants.ptr(), i, pVariant);
      PyTuple_SET_ITEM(pVariant, 0, Language(tuv.m_strLanguage));
      PyTuple_SET_ITEM(pVariant, 1, NewStr(tuv.m_strSegment));
      PyTuple_SET_ITEM(pVariant, 2, NewStr(tuv.m_strNote));
    }
    py::object unit = py::reinterpret_steal<py::object>(NewRecord(g_unit, 3));
    PyTuple_SET_ITEM(unit.ptr(), 0, Checked(PyLong_FromLong(Reader().GetKey())));
    PyTuple_SET_ITEM(unit.ptr(), 1, UnitId());
    PyTuple_SET_ITEM(unit.ptr(), 2, variants.release().ptr());
    return unit;
  }

 private:
  // A document has few languages: each becomes one Python string, shared by its variants.
  PyObject* Language(const CString& language) {
    for (const auto& [text, str] : m_languages)
      if (text == language) return py::object(str).release().ptr();
    PyObject* pStr = NewStr(language);
    if (m_languages.size() < 64) m_languages.emplace_back(language, py::reinterpret_borrow<py::object>(pStr));
    return pStr;
  }

  std::vector<std::pair<CString, py::object>> m_languages;
};

// The pairs that `quillon export --format pairs` writes.
class PairIterator : public Read {
 public:
  PairIterator(py::handle source, const py::object& first, const py::object& second, const py::object& text,
               bool bDedupe, const ReadOptions& options)
      : PairIterator(source, LanguageOf(first, "first"), LanguageOf(second, "second"), TextModeOf(text), bDedupe,
                     options) {}

  py::object Next() {
    Step([this](const CTmxUnitReader& reader) { return m_pairs.Select(reader) != FALSE; });
    py::object pair = py::reinterpret_steal<py::object>(NewRecord(g_pair, 4));
    PyTuple_SET_ITEM(pair.ptr(), 0, Checked(PyLong_FromLong(Reader().GetKey())));
    PyTuple_SET_ITEM(pair.ptr(), 1, UnitId());
    PyTuple_SET_ITEM(pair.ptr(), 2, NewStr(m_pairs.GetFirst()));
    PyTuple_SET_ITEM(pair.ptr(), 3, NewStr(m_pairs.GetSecond()));
    return pair;
  }

 private:
  PairIterator(py::handle source, const CString& first, const CString& second, TextMode mode, bool bDedupe,
               const ReadOptions& options)
      : Read(source, PairReader(first, second, mode), options), m_pairs(first, second, mode, bDedupe) {}

  static std::unique_ptr<CTmxUnitReader> PairReader(const CString& first, const CString& second, TextMode mode) {
    if (!CTmxPairSelector::CanPair(first, second, mode))
      throw py::value_error("first and second must be two languages that do not overlap, not '" +
                            CW2A(first).str() + "' and '" + CW2A(second).str() + "'");
    return std::make_unique<CTmxUnitReader>(first, second, mode);
  }

  CTmxPairSelector m_pairs;
};

py::list Languages(py::handle source, bool bSafe) {
  Source input(source);
  CSafeParsing safe;
  CTmxUnitReader reader;
  if (bSafe) safe.Apply(reader.GetParser());
  reader.Open(input.Input());
  CStringArray languages;
  WithoutLock(input.path, &safe, [&] { return reader.ReadLanguages(&languages); });
  input.Close();
  py::list result;
  for (INT_PTR i = 0; i < languages.GetSize(); i++) result.append(py::reinterpret_steal<py::object>(NewStr(languages[i])));
  return result;
}

// ---- Packing -----------------------------------------------------------------------------------

// The parser takes paths as UTF-16 text: a name that is not UTF-8 (os.fsdecode gave its bytes
// as lone surrogates) reaches it as the descriptor of the file that Python opened.
CString ParserPath(const py::object& path, const py::object& file) {
  if (PyObject* pUtf8 = PyUnicode_AsUTF8String(path.ptr()))
    return CString(py::reinterpret_steal<py::bytes>(pUtf8).cast<std::string>().c_str());
  PyErr_Clear();
  return CString(("/proc/self/fd/" + std::to_string(file.attr("fileno")().cast<int>())).c_str());
}

py::bytes Pack(const py::object& pathLike, bool bSafe) {
  const py::object path = py::module_::import("os").attr("fsdecode")(pathLike);
  py::object file = OpenFile(path);
  CGenXMLInterface xml(ParserPath(path, file), 0, CString());
  CSafeParsing safe;
  if (bSafe) safe.Apply(xml.GetParser());
  int nSize = 0;
  const int nNodes = WithoutLock(path, &safe, [&] { return xml.PreParseForSize(nSize); });
  CloseFile(file);
  // The image is written straight into the bytes object, which then gives back what it did not use.
  PyObject* pBytes = Checked(PyBytes_FromStringAndSize(nullptr, nSize));
  py::object bytes = py::reinterpret_steal<py::object>(pBytes);
  auto* pBuffer = reinterpret_cast<unsigned char*>(PyBytes_AS_STRING(pBytes));
  const size_t nLength = WithoutLock(path, &safe, [&] {
    xml.ParseFileAndPackToMemory(pBuffer);
    return quillon::PackedImageLength(pBuffer, static_cast<size_t>(nSize), static_cast<size_t>(nNodes));
  });
  if (_PyBytes_Resize(&pBytes, static_cast<Py_ssize_t>(nLength)) != 0) {
    bytes.release();  // already released by the failed resize
    throw py::error_already_set();
  }
  bytes.release();
  return py::reinterpret_steal<py::bytes>(pBytes);
}

class PackedImage {
 public:
  std::string encoding;
  py::list records;
};

PackedImage ReadImage(const py::buffer& data) {
  const py::buffer_info buffer = data.request();
  quillon::PackedImage image;
  try {
    image = quillon::ReadPackedImage(static_cast<const unsigned char*>(buffer.ptr),
                                     static_cast<size_t>(buffer.size * buffer.itemsize));
  } catch (const quillon::PackedImageError& e) {
    throw py::value_error(e.what());
  }
  PackedImage result{CW2A(image.encoding.c_str()).str(), py::list()};
  for (const quillon::PackedRecord& r : image.records) {
    py::object flags = py::reinterpret_steal<py::object>(NewRecord(g_flags, 8));
    for (int i = 0; i < 8; i++) PyTuple_SET_ITEM(flags.ptr(), i, py::bool_(r.flags[i] != 0).release().ptr());
    py::object record = py::reinterpret_steal<py::object>(NewRecord(g_record, 5));
    PyTuple_SET_ITEM(record.ptr(), 0, NewStr(r.name.data(), r.name.size()));
    PyTuple_SET_ITEM(record.ptr(), 1, NewStr(r.value.data(), r.value.size()));
    PyTuple_SET_ITEM(record.ptr(), 2, Checked(PyLong_FromUnsignedLong(r.index)));
    PyTuple_SET_ITEM(record.ptr(), 3, Checked(PyLong_FromLong(r.depth)));
    PyTuple_SET_ITEM(record.ptr(), 4, flags.release().ptr());
    result.records.append(record);
  }
  return result;
}

}  // namespace

PYBIND11_MODULE(quillon, m) {
  m.doc() = "Quillon: TMX translation memories of any size, read as a stream; XML packed into images.";
  g_unit = NewRecordType("Unit", "A translation unit: its key, its tu's tuid (None when it has none) and its variants "
                         "in document order.", {"key", "tuid", "variants"});
  g_variant = NewRecordType("Variant", "A variant of a unit: one seg of a tuv, its language and its note.",
                            {"language", "segment", "note"});
  g_pair = NewRecordType("Pair", "A unit's segments in two language ranges, whitespace made plain.",
                         {"key", "tuid", "first", "second"});
  g_flags = NewRecordType("Flags", "The eight flag bytes of a record.",
                          std::vector<const char*>(std::begin(quillon::PackedRecord::kFlagNames),
                                                   std::end(quillon::PackedRecord::kFlagNames)));
  g_record = NewRecordType("Record", "A record of a packed image, one node of the document.",
                           {"name", "value", "index", "depth", "flags"});
  for (const py::object* pType : {&g_unit, &g_variant, &g_pair, &g_flags, &g_record})
    m.add_object(pType->attr("__name__").cast<std::string>().c_str(), *pType);
  g_pParseError = Checked(PyErr_NewExceptionWithDoc(
      "quillon.ParseError", "The document cannot be read: its path, line and column (None where unknown) and the parser's message.",
      PyExc_ValueError, nullptr));
  m.add_object("ParseError", py::reinterpret_borrow<py::object>(g_pParseError));

  py::class_<Read>(m, "Read", "A read of a document, as the caller iterates.")
      .def("__iter__", [](py::object self) { return self; })
      .def("close", &Read::Close, "Ends the read now: a file the read opened is closed.")
      .def_property_readonly("replaced_bytes", &Read::ReplacedBytes,
                             "Bytes read as U+FFFD so far, with invalid_bytes='replace'.")
      .def("__enter__", [](py::object self) { return self; })
      .def("__exit__", [](Read& self, py::args) { self.Close(); });
  py::class_<UnitIterator, Read>(m, "UnitIterator", "The units of a document.").def("__next__", &UnitIterator::Next);
  py::class_<PairIterator, Read>(m, "PairIterator", "The segment pairs of a document.").def("__next__", &PairIterator::Next);
  auto image = py::class_<PackedImage>(m, "PackedImage", "The records of a packed image, and its encoding.");
  auto records = [](const PackedImage& self) { return self.records; };
  image.def_readonly("encoding", &PackedImage::encoding)
      .def_readonly("records", &PackedImage::records)
      .def("__len__", [=](const PackedImage& self) { return py::len(records(self)); })
      .def("__getitem__", [=](const PackedImage& self, py::object i) { return records(self).attr("__getitem__")(i); })
      .def("__iter__", [=](const PackedImage& self) { return py::iter(records(self)); })
      .def("__reversed__", [=](const PackedImage& self) { return records(self).attr("__reversed__")(); })
      .def("__contains__", [=](const PackedImage& self, py::object x) { return records(self).contains(x); })
      .def("index", [=](const PackedImage& self, py::object x, py::args range) { return records(self).attr("index")(x, *range); })
      .def("count", [=](const PackedImage& self, py::object x) { return records(self).attr("count")(x); });
  py::module_::import("collections.abc").attr("Sequence").attr("register")(image);

  // The iterator stays where it was made: its parser points at its own settings.
  // Reads stay where they were made: their parsers point at their own settings.
  m.def("read_units",
        [](py::handle source, py::object pair, py::object text, bool bSafe, py::object jobs, std::string invalidBytes) {
          return std::make_unique<UnitIterator>(source, pair, text, ReadOptions{bSafe, jobs, invalidBytes});
        },
        py::arg("source"), py::arg("pair") = py::none(), py::kw_only(), py::arg("text") = "plain", py::arg("safe") = true,
        py::arg("jobs") = py::none(), py::arg("invalid_bytes") = "error",
        "The units of a TMX document, in document order, read as the caller iterates.\n\n"
        "source: a path, the document's bytes, or a binary file object read in chunks (standard input,\n"
        "gzip.open(...)). text: 'plain', the sentence without inline codes; 'markup', the segment's\n"
        "content as XML; 'engine', what the engine's builders file. pair: two language ranges ('en'\n"
        "matches en-US and EN_gb; '*' every code) whose variants are kept, and the units that have one;\n"
        "with text='engine', the two languages of the bilingual rules. None keeps every language.\n"
        "safe: no external DTD or entity is loaded and entity expansion is capped; False gives the\n"
        "parser library's defaults. jobs: parsers reading pieces of the document at once, for the same\n"
        "units (None: the cores the process may use; 1: one; text='engine' is read by one).\n"
        "invalid_bytes: 'error' ends the read at a byte the document's encoding cannot hold, with\n"
        "ParseError at its place; 'replace' reads it as U+FFFD, counted by the iterator's replaced_bytes.\n"
        "close() (or a with block) ends the read early.\n\n"
        "Raises ParseError once the units before the error have been read, OSError when a path\n"
        "cannot be opened, MemoryError when memory runs out.");
  m.def("read_pairs",
        [](py::handle source, py::object first, py::object second, py::object text, bool bDedupe, bool bSafe,
           py::object jobs, std::string invalidBytes) {
          return std::make_unique<PairIterator>(source, first, second, text, bDedupe,
                                                ReadOptions{bSafe, jobs, invalidBytes});
        },
        py::arg("source"), py::arg("first"), py::arg("second"), py::kw_only(), py::arg("text") = "plain",
        py::arg("dedupe") = false, py::arg("safe") = true, py::arg("jobs") = py::none(),
        py::arg("invalid_bytes") = "error",
        "The units' segment pairs in two language ranges, as `quillon export --format pairs` writes\n"
        "them: Pair(key, tuid, first, second), each segment the first non-empty one of its range,\n"
        "whitespace runs made one space and trimmed; units without both are skipped. dedupe drops a\n"
        "pair equal to one already given. source, text, safe, jobs and invalid_bytes as for read_units.");
  m.def("languages", &Languages, py::arg("source"), py::kw_only(), py::arg("safe") = true,
        "The distinct language codes of the document's variants, in ordinal order.");
  m.def("pack", &Pack, py::arg("path"), py::kw_only(), py::arg("safe") = true,
        "The packed image of an XML file: a flat record per node, names and values in UTF-16.\n\n"
        "Raises ParseError for a document that cannot be read, OSError for a path that cannot be opened.");
  m.def("read_image", &ReadImage, py::arg("data"),
        "The records of a packed image. Raises ValueError for a truncated or malformed image.");
}
