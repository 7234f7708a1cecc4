// A parser wired to the unit rules: its events turned into nodes by the cursor, the nodes into
// units, kept in the store. The sequential read has one, and so has each worker of a read in
// pieces.
#pragma once

#include "tmx/parsing/StreamParser.h"
#include "tmx/stream/EventCursor.h"
#include "tmx/stream/StreamUnits.h"
#include "tmx/stream/UnitReading.h"

class UnitParser {
 public:
  // ends hears of each unit read; the store keeps them all with bKeepAll, else the last.
  UnitParser(const UnitReading& reading, UnitEnds& ends, bool bKeepAll = false)
      : m_units(reading, ends, bKeepAll), m_cursor(m_units.Rules(), m_units), m_parser(m_cursor) {}
  UnitParser(const UnitParser&) = delete;
  UnitParser& operator=(const UnitParser&) = delete;

  // A new document: body to be found, no unit read, keys from the start.
  void Restart() {
    m_cursor.Restart();
    m_units.Restart();
  }
  StreamUnits& Units() { return m_units; }
  const StreamUnits& Units() const { return m_units; }
  EventCursor& Cursor() { return m_cursor; }
  const EventCursor& Cursor() const { return m_cursor; }
  StreamParser& Parser() { return m_parser; }

 private:
  StreamUnits m_units;
  EventCursor m_cursor;
  StreamParser m_parser;
};
