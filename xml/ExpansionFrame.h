// Where a document that a parser reads lies in a whole it is a part of, for the measure of
// entity expansion (xml/ExpansionGuard.h): it begins with the whole's first nFrameBytes as they
// are (the prolog, up to body's start tag), then goes on from the whole's byte nStart, where the
// whole had spent nSpentBefore on expansion after its frame. Strict, the part does not know what
// came before it: it stays within the limit only where the whole would whatever came before.
#pragma once

struct ExpansionFrame {
  unsigned long long nFrameBytes = 0, nStart = 0, nSpentBefore = 0;
  bool bStrict = false;
};
