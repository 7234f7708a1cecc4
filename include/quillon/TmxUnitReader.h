// CTmxUnitReader: the translation units of a TMX document of any size, read as a stream, one
// unit at a time in document order and in constant memory, with the engine's parser settings
// but no DOM: it holds one unit and the text in progress. Its engine text delivers exactly the
// units, keys, variants and texts that CTmxParseEngine's builders file into a fresh map for the
// same document; its plain and markup texts give each segment as a translator reads it.
//
//   CTmxUnitReader reader(CString(_T("en-US")), CString(_T("de-DE")));
//   reader.Open(CString(_T("memory.tmx")));
//   while (reader.ReadNextUnit())
//     for (INT_PTR i = 0; i < reader.GetVariantCount(); i++) Use(reader.GetKey(), reader.GetVariant(i));
#pragma once

#include <memory>
#include <string>

#include <xercesc/sax/InputSource.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>

#include "quillon/TmxUnits.h"
#include "quillon/afx.h"

class CTmxUnitStream;
class CTmxUnitReader;

// A unit as a reader shows it: its key, its tu's id and its variants in document order.
class AFX_EXT_CLASS CTmxUnitView {
 public:
  virtual ~CTmxUnitView() = default;
  virtual int GetKey() const = 0;
  virtual INT_PTR GetVariantCount() const = 0;
  virtual const CTmxTUV& GetVariant(INT_PTR nIndex) const = 0;  // a guarded index
  // The tuid attribute of the unit's tu (its name in any case); null when it has none.
  virtual LPCTSTR GetUnitId() const = 0;
};

// What CTmxUnitReader::ReadUnits hands each unit to: during the call, the reader's GetKey,
// GetVariantCount and GetVariant describe the unit.
class AFX_EXT_CLASS CTmxUnitHandler {
 public:
  virtual ~CTmxUnitHandler() = default;
  virtual void OnUnit(const CTmxUnitReader& reader) = 0;
};

// What CTmxUnitReader::ReadFormatted makes of each unit where the unit is read: in a read in
// pieces on the thread that parsed its piece, so that the caller's thread only passes finished
// output on. Each thread formats with a clone of its own; one parser formats on the caller's.
class AFX_EXT_CLASS CTmxUnitFormatter {
 public:
  virtual ~CTmxUnitFormatter() = default;
  virtual std::unique_ptr<CTmxUnitFormatter> Clone() const = 0;
  // Appends what the unit becomes to out, which may stay empty.
  virtual void Format(const CTmxUnitView& unit, std::string& out) = 0;
};

// Where ReadFormatted hands each unit's output, on the caller's thread, in document order.
class AFX_EXT_CLASS CTmxOutputHandler {
 public:
  virtual ~CTmxOutputHandler() = default;
  virtual void OnOutput(const char* pBytes, size_t nBytes) = 0;
};

class AFX_EXT_CLASS CTmxUnitReader : public CTmxUnitView {
 public:
  // What a segment's text is.
  enum class TextMode {
    // What the builders file: with a language pair the units, keys, variants and texts of
    // CreateDataStructures for that pair, without one those of CreateMultilingualDataStructures.
    Engine,
    // The sentence: the seg's text and CDATA in document order, entities expanded, without the
    // content of the native-code elements bpt, ept, it, ph and ut (a sub inside them included);
    // the text of hi and of any other element is kept. A code element of type lb, pb or cb
    // stands for a line feed. Names and those types compare ignoring ASCII case.
    Plain,
    // The seg's content as XML: text escaped, elements with their attributes in document order,
    // an element without content as <ph x="1"/>, CDATA as escaped text, no comments or PIs; a
    // seg element around it parses back to the same elements and text.
    Markup,
  };

  // In plain and markup text the units are those of the multilingual rules, keyed by their tu's
  // ordinal; with a pair, a variant is kept when its language lies in either language range
  // (see LanguageRangeMatches in quillon/TmxPairs.h), and a unit when it keeps one. The parser
  // platform must be running.
  explicit CTmxUnitReader(TextMode mode = TextMode::Engine);
  CTmxUnitReader(const CString& strFirstLanguage, const CString& strSecondLanguage,
                 TextMode mode = TextMode::Engine);
  ~CTmxUnitReader();
  CTmxUnitReader(const CTmxUnitReader&) = delete;
  CTmxUnitReader& operator=(const CTmxUnitReader&) = delete;

  // The parser, for a host that wants settings of its own (a security manager, no external DTD
  // or entities, namespaces, an entity resolver), as it may set them on the engine's parser.
  // They hold for every document the reader reads, whichever of the parser's scanners reads it.
  xercesc::SAX2XMLReader* GetParser();

  // Reads with nJobs parsers at once, in reads not yet begun: 1 (the default) reads with one,
  // 0 with as many as the cores this process may run on; more than that (or than 64) help no
  // more, and are not made. The document is cut between children of body into pieces of about
  // nPieceBytes, read side by side by threads of the reader's own, and their units reach
  // GetVariant and the handler as from one parser: in document order, on the calling thread, the
  // same units with the same keys and texts, errors included (after the same units, at the same
  // place). At most two pieces a job are in flight, each with its units; threads are made as
  // pieces need them. Engine text; a document in an encoding other than UTF-8, US-ASCII, UTF-16
  // and the single-byte ones (ISO-8859-x, windows-125x); one whose external DTD the parser loads;
  // and reads with validation, schemas, namespaces or a scanner of the host's, are read by one
  // parser.
  static constexpr size_t kDefaultPieceBytes = size_t(1) << 20;
  static constexpr int kMostJobs = 64;
  void SetJobs(int nJobs, size_t nPieceBytes = kDefaultPieceBytes);

  // What a byte that the document's encoding (UTF-8, US-ASCII) cannot hold is, in reads not yet
  // begun: where the document ends, with the parser's exception placed at that byte (the
  // default), or the character U+FFFD, counted by GetReplacedBytes.
  enum class InvalidBytes { Error, Replace };
  void SetInvalidBytes(InvalidBytes mode);
  ULONGLONG GetReplacedBytes() const;

  // Chooses the document, ending any earlier read: a path; a file, read from its start in pieces
  // (a memory file is not copied); or any input source, which must outlive the read. Nothing is
  // read yet: errors, an unreadable input among them, come from the reads.
  void Open(const CString& strPath);
  void Open(CFile* pFile);
  void Open(const xercesc::InputSource& source);

  // Reads on to the next unit that has a variant; FALSE once the document has ended. A parse
  // error leaves as the parser's SAXParseException (an XML version the DOM refuses as its
  // DOMException), after every unit before it has been read. An input that fails (a read error,
  // a damaged compressed stream) ends the document where it fails: what the input threw leaves
  // after the units before that place.
  BOOL ReadNextUnit();
  // Reads the units that remain, each handed to handler as it ends, and returns GetResult().
  // Called before any other read, it lets the parser run through the document uninterrupted,
  // which is faster than stepping from unit to unit. Errors leave as from ReadNextUnit; so does
  // what the handler throws, which ends the read. The handler must not Open another document.
  BOOL ReadUnits(CTmxUnitHandler& handler);
  // Reads the units that remain as ReadUnits does, each made into output by the formatter (or a
  // clone of it) and handed to the handler in document order. Shown by no read afterwards.
  BOOL ReadFormatted(CTmxUnitFormatter& formatter, CTmxOutputHandler& handler);
  // The unit just read, valid until the next read: its key and its variants in document order.
  // It is the unit that ReadNextUnit returned TRUE for, or in ReadUnits the handler's; after any
  // other read there is none (no variants).
  int GetKey() const override;
  INT_PTR GetVariantCount() const override;
  const CTmxTUV& GetVariant(INT_PTR nIndex) const override;
  LPCTSTR GetUnitId() const override;
  // What the matching builder returns for the document, once ReadNextUnit has returned FALSE:
  // FALSE when the bilingual rules found no body.
  BOOL GetResult() const;

  // Reads the rest of the document for the languages of its variants, without its units, and
  // appends them as SearchTmxForLanguages does, with its result. Called before any other read,
  // it lists the languages of the whole document.
  BOOL ReadLanguages(CStringArray* pLanguages);

 private:
  std::unique_ptr<CTmxUnitStream> m_pStream;
};
