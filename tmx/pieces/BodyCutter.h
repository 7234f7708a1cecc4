// Where a document may be cut into pieces that parsers can read each on its own: right after a
// child element of body ends, so that each piece is a run of whole children. It reads the bytes
// as they come, in the code units of the document's encoding (one byte, or two in either order)
// whose markup characters are ASCII whatever the text holds; a document type declaration, its
// internal subset included, is stepped over. It keeps to what it is sure of: markup it does not
// expect ends the cuts. Where its view of the markup is wrong, the parser of a piece finds out
// (the piece does not end where the cutter said). Each construct is read once, however many
// reads its bytes take to arrive.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "tmx/parsing/DocumentEncoding.h"

class BodyCutter {
 public:
  // Null when the encoding is not one whose markup the cutter finds.
  static std::unique_ptr<BodyCutter> For(const DocumentEncoding& encoding);
  virtual ~BodyCutter() = default;

  // Reads on through pBytes[0, nSize): the bytes since the last cut, the earlier ones as the last
  // call saw them. Returns the first cut at or after nMinimum, or 0 when there is none yet.
  virtual size_t Scan(const char* pBytes, size_t nSize, size_t nMinimum) = 0;
  // The bytes before nOffset, a cut that Scan returned, are gone; returns the units (tu
  // elements, children of body) among them, as the rules count units.
  virtual size_t Cut(size_t nOffset) = 0;

  // No more cuts: body has ended, or the cutter gave up.
  virtual bool Ended() const = 0;
  // Once the first cut is found: how many bytes of the document come before body's content (the
  // prolog and the root's content up to body's start tag, all of which frame each piece), and
  // the end tags of body and the root, in the document's encoding.
  virtual size_t FrameBytes() const = 0;
  virtual const std::string& Suffix() const = 0;
  // How many code units of the suffix are body's end tag.
  virtual size_t BodyEndTagUnits() const = 0;
  // Whether the document type declaration names an external subset, which a parser may load.
  virtual bool HasExternalSubset() const = 0;
};
