// The quillon Python module: the library's streaming TMX reader and its XML packer. The parser
// works with the interpreter lock released; units and records are struct sequences (tuples with
// named fields, made at C speed), their texts Python strings converted from UTF-16 directly.
#include <pybind11/pybind11.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <xercesc/dom/DOMException.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/BinInputStream.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/XMLException.hpp>

#include "quillon/GenXMLInterface.h"
#include "quillon/PackedImage.h"
#include "quillon/SafeParsing.h"
#include "quillon/TmxUnitReader.h"

namespace py = pybind11;
using namespace xercesc;

namespace {

// ---- Results: struct sequence types, made once -------------------------------------------------

PyTypeObject* NewRecordType(const char* pszName, const char* pszDoc, std::vector<PyStructSequence_Field>&& fields) {
  static std::vector<std::unique_ptr<std::vector<PyStructSequence_Field>>> kept;  // the type points at them
  fields.push_back({nullptr, nullptr});
  kept.push_back(std::make_unique<std::vector<PyStructSequence_Field>>(std::move(fields)));
  static std::vector<std::unique_ptr<PyStructSequence_Desc>> descriptions;
  descriptions.push_back(std::make_unique<PyStructSequence_Desc>(PyStructSequence_Desc{
      pszName, pszDoc, kept.back()->data(), static_cast<int>(kept.back()->size() - 1)}));
  PyTypeObject* pType = PyStructSequence_NewType(descriptions.back().get());
  if (pType == nullptr) throw py::error_already_set();
  return pType;
}

PyTypeObject* g_pUnit;
PyTypeObject* g_pVariant;
PyTypeObject* g_pRecord;
PyTypeObject* g_pFlags;
PyObject* g_pParseError;

// A new reference, or an exception.
PyObject* Checked(PyObject* pObject) {
  if (pObject == nullptr) throw py::error_already_set();
  return pObject;
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

std::string Utf8(const XMLCh* psz) { return CW2A(psz).str(); }

[[noreturn]] void RaiseParseError(const std::string& message, const py::object& path, py::object line, py::object column) {
  std::string text = message;
  if (!path.is_none()) text = py::str(path).cast<std::string>() + (line.is_none() ? "" : ":" + py::str(line).cast<std::string>() + ":" + py::str(column).cast<std::string>()) + ": " + message;
  py::object error = py::reinterpret_steal<py::object>(Checked(PyObject_CallFunction(g_pParseError, "s", text.c_str())));
  error.attr("path") = path;
  error.attr("line") = line;
  error.attr("column") = column;
  error.attr("message") = message;
  PyErr_SetObject(g_pParseError, error.ptr());
  throw py::error_already_set();
}

// What a read threw, as the Python exception that says it.
[[noreturn]] void Raise(std::exception_ptr error, const py::object& path) {
  try {
    std::rethrow_exception(error);
  } catch (const SAXParseException& e) {
    RaiseParseError(Utf8(e.getMessage()), path, py::int_(e.getLineNumber()), py::int_(e.getColumnNumber()));
  } catch (const OutOfMemoryException&) {
    throw std::bad_alloc();
  } catch (const XMLException& e) {
    RaiseParseError(Utf8(e.getMessage()), path, py::none(), py::none());
  } catch (const DOMException& e) {
    RaiseParseError(Utf8(e.getMessage()), path, py::none(), py::none());
  } catch (CMemoryException* e) {
    e->Delete();
    throw std::bad_alloc();
  } catch (CException* e) {
    TCHAR message[256];
    e->GetErrorMessage(message, 256);
    e->Delete();
    throw std::runtime_error(Utf8(message));
  }
}

// Runs work with the interpreter lock released; what it throws is raised once the lock is back.
template <class Work>
auto WithoutLock(const py::object& path, Work work) {
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
  if (error) Raise(error, path);
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
  PythonFileSource(PyObject* pRead, const std::string& name) : m_pRead(pRead) {
    setSystemId(CString(name.c_str()).GetString());
  }
  BinInputStream* makeStream() const override { return new PythonFileStream(m_pRead); }

 private:
  PyObject* m_pRead;
};

// What a read takes: a path (opened with Python's own open, so that its errors are Python's),
// a bytes-like object, or a binary file object. path is the path, or None.
class Source {
 public:
  explicit Source(py::handle source) {
    py::module_ os = py::module_::import("os");
    if (py::isinstance<py::str>(source) || py::isinstance(source, os.attr("PathLike"))) {
      path = os.attr("fsdecode")(source);
      m_file = py::module_::import("builtins").attr("open")(path, "rb");
      UseFile(py::str(os.attr("path").attr("abspath")(path)).cast<std::string>());
    } else if (PyObject_CheckBuffer(source.ptr())) {
      m_bytes = py::reinterpret_borrow<py::object>(source);
      m_buffer.emplace(py::reinterpret_borrow<py::buffer>(source).request());
      m_pInput = std::make_unique<MemBufInputSource>(static_cast<const XMLByte*>(m_buffer->ptr),
                                                     static_cast<XMLSize_t>(m_buffer->size * m_buffer->itemsize), "<bytes>");
    } else if (py::hasattr(source, "read")) {
      m_read = source.attr("read");
      py::object name = py::getattr(source, "name", py::none());
      UseFile(py::isinstance<py::str>(name) ? name.cast<std::string>() : "<stream>", false);
    } else {
      throw py::type_error("source must be a path, a bytes-like object or a binary file object");
    }
  }
  ~Source() {
    if (m_file) m_file.attr("close")();
  }
  const InputSource& Input() const { return *m_pInput; }
  py::object path = py::none();

 private:
  void UseFile(const std::string& name, bool bOpened = true) {
    if (bOpened) m_read = m_file.attr("read");
    m_pInput = std::make_unique<PythonFileSource>(m_read.ptr(), name);
  }

  py::object m_file, m_read, m_bytes;
  std::optional<py::buffer_info> m_buffer;
  std::unique_ptr<InputSource> m_pInput;
};

// ---- Reading units -----------------------------------------------------------------------------

class UnitIterator {
 public:
  UnitIterator(const UnitIterator&) = delete;
  UnitIterator& operator=(const UnitIterator&) = delete;
  UnitIterator(py::handle source, const py::object& pair, bool bSafe) : m_source(source) {
    if (pair.is_none()) {
      m_reader = std::make_unique<CTmxUnitReader>();
    } else {
      const auto languages = pair.cast<std::pair<std::string, std::string>>();
      m_reader = std::make_unique<CTmxUnitReader>(CString(languages.first.c_str()), CString(languages.second.c_str()));
    }
    if (bSafe) m_safe.Apply(m_reader->GetParser());
    m_reader->Open(m_source.Input());
  }

  py::object Next() {
    if (!WithoutLock(m_source.path, [this] { return m_reader->ReadNextUnit() != FALSE; })) throw py::stop_iteration();
    const INT_PTR nVariants = m_reader->GetVariantCount();
    py::object variants = py::reinterpret_steal<py::object>(Checked(PyTuple_New(nVariants)));
    for (INT_PTR i = 0; i < nVariants; i++) {
      const CTmxTUV& tuv = m_reader->GetVariant(i);
      PyObject* pVariant = Checked(PyStructSequence_New(g_pVariant));
      PyTuple_SET_ITEM(variants.ptr(), i, pVariant);
      PyStructSequence_SET_ITEM(pVariant, 0, Language(tuv.m_strLanguage));
      PyStructSequence_SET_ITEM(pVariant, 1, NewStr(tuv.m_strSegment));
      PyStructSequence_SET_ITEM(pVariant, 2, NewStr(tuv.m_strNote));
    }
    py::object unit = py::reinterpret_steal<py::object>(Checked(PyStructSequence_New(g_pUnit)));
    PyStructSequence_SET_ITEM(unit.ptr(), 0, Checked(PyLong_FromLong(m_reader->GetKey())));
    PyStructSequence_SET_ITEM(unit.ptr(), 1, variants.release().ptr());
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

  Source m_source;
  CSafeParsing m_safe;  // outlives the reader, whose parser points at it
  std::unique_ptr<CTmxUnitReader> m_reader;
  std::vector<std::pair<CString, py::object>> m_languages;
};

py::list Languages(py::handle source, bool bSafe) {
  Source input(source);
  CSafeParsing safe;
  CTmxUnitReader reader;
  if (bSafe) safe.Apply(reader.GetParser());
  reader.Open(input.Input());
  CStringArray languages;
  WithoutLock(input.path, [&] { return reader.ReadLanguages(&languages); });
  py::list result;
  for (INT_PTR i = 0; i < languages.GetSize(); i++) result.append(py::reinterpret_steal<py::object>(NewStr(languages[i])));
  return result;
}

// ---- Packing -----------------------------------------------------------------------------------

py::bytes Pack(const py::object& pathLike, bool bSafe) {
  const py::object path = py::module_::import("os").attr("fsdecode")(pathLike);
  CGenXMLInterface xml(CString(path.cast<std::string>().c_str()), 0, CString());
  CSafeParsing safe;
  if (bSafe) safe.Apply(xml.GetParser());
  int nSize = 0;
  const int nNodes = WithoutLock(path, [&] { return xml.PreParseForSize(nSize); });
  // The image is written straight into the bytes object, which then gives back what it did not use.
  PyObject* pBytes = Checked(PyBytes_FromStringAndSize(nullptr, nSize));
  py::object bytes = py::reinterpret_steal<py::object>(pBytes);
  auto* pBuffer = reinterpret_cast<unsigned char*>(PyBytes_AS_STRING(pBytes));
  const size_t nLength = WithoutLock(path, [&] {
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
    py::object flags = py::reinterpret_steal<py::object>(Checked(PyStructSequence_New(g_pFlags)));
    for (int i = 0; i < 8; i++) PyStructSequence_SET_ITEM(flags.ptr(), i, py::bool_(r.flags[i] != 0).release().ptr());
    py::object record = py::reinterpret_steal<py::object>(Checked(PyStructSequence_New(g_pRecord)));
    PyStructSequence_SET_ITEM(record.ptr(), 0, NewStr(r.name.data(), r.name.size()));
    PyStructSequence_SET_ITEM(record.ptr(), 1, NewStr(r.value.data(), r.value.size()));
    PyStructSequence_SET_ITEM(record.ptr(), 2, Checked(PyLong_FromUnsignedLong(r.index)));
    PyStructSequence_SET_ITEM(record.ptr(), 3, Checked(PyLong_FromLong(r.depth)));
    PyStructSequence_SET_ITEM(record.ptr(), 4, flags.release().ptr());
    result.records.append(record);
  }
  return result;
}

void AddType(py::module_& m, const char* pszName, PyTypeObject* pType) {
  m.add_object(pszName, py::reinterpret_borrow<py::object>(reinterpret_cast<PyObject*>(pType)));
}

}  // namespace

PYBIND11_MODULE(quillon, m) {
  m.doc() = "Quillon: TMX translation memories of any size, read as a stream; XML packed into images.";
  g_pUnit = NewRecordType("quillon.Unit", "A translation unit: its key and its variants in document order.",
                          {{"key", "the unit's key"}, {"variants", "its variants, a tuple"}});
  g_pVariant = NewRecordType("quillon.Variant", "A variant of a unit: one seg of a tuv.",
                             {{"language", "the language code as written"}, {"segment", "the segment text"},
                              {"note", "the variant's note, merged with the unit's"}});
  std::vector<PyStructSequence_Field> flagFields;
  for (const char* pszFlag : quillon::PackedRecord::kFlagNames) flagFields.push_back({pszFlag, nullptr});
  g_pFlags = NewRecordType("quillon.Flags", "The eight flag bytes of a record.", std::move(flagFields));
  g_pRecord = NewRecordType("quillon.Record", "A record of a packed image, one node of the document.",
                            {{"name", nullptr}, {"value", nullptr}, {"index", nullptr}, {"depth", nullptr},
                             {"flags", nullptr}});
  AddType(m, "Unit", g_pUnit);
  AddType(m, "Variant", g_pVariant);
  AddType(m, "Flags", g_pFlags);
  AddType(m, "Record", g_pRecord);
  // Kept for the life of the process, as the module is.
  g_pParseError = Checked(PyErr_NewExceptionWithDoc(
      "quillon.ParseError", "The document cannot be read: its path, line and column (None where unknown) and the parser's message.",
      PyExc_ValueError, nullptr));
  m.add_object("ParseError", py::reinterpret_borrow<py::object>(g_pParseError));

  py::class_<UnitIterator>(m, "UnitIterator")
      .def("__iter__", [](py::object self) { return self; })
      .def("__next__", &UnitIterator::Next);
  py::class_<PackedImage>(m, "PackedImage")
      .def_readonly("encoding", &PackedImage::encoding)
      .def_readonly("records", &PackedImage::records)
      .def("__len__", [](const PackedImage& image) { return py::len(image.records); })
      .def("__getitem__", [](const PackedImage& image, py::object index) { return image.records.attr("__getitem__")(index); })
      .def("__iter__", [](const PackedImage& image) { return py::iter(image.records); });

  // The iterator stays where it was made: its parser points at its own settings.
  m.def("read_units", [](py::handle source, py::object pair, bool bSafe) { return std::make_unique<UnitIterator>(source, pair, bSafe); },
        py::arg("source"), py::arg("pair") = py::none(), py::kw_only(), py::arg("safe") = true);
  m.def("languages", &Languages, py::arg("source"), py::kw_only(), py::arg("safe") = true);
  m.def("pack", &Pack, py::arg("path"), py::kw_only(), py::arg("safe") = true);
  m.def("read_image", &ReadImage, py::arg("data"));
}
