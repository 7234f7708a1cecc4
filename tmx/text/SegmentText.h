// How a seg's content becomes the text of its variant: one piece per text mode, fed the seg's
// nodes (depth 1 for its children, 2 for theirs, ...) and asked to file the variant when the seg
// ends. A new text mode is a new piece here.
#pragma once

#include <memory>

#include "quillon/TmxUnitReader.h"
#include "tmx/rules/NodeSink.h"
#include "tmx/rules/UnitRules.h"

class SegmentText : public NodeSink {
 public:
  virtual ~SegmentText() = default;
  // A seg begins.
  virtual void Begin() = 0;
  // The seg has ended: its variant goes through the rules.
  virtual void File(UnitRules& rules) = 0;
};

std::unique_ptr<SegmentText> MakeEngineSegment();  // the builders' segment rules
std::unique_ptr<SegmentText> MakePlainSegment();
std::unique_ptr<SegmentText> MakeMarkupSegment();

inline std::unique_ptr<SegmentText> MakeSegmentText(CTmxUnitReader::TextMode mode) {
  switch (mode) {
    case CTmxUnitReader::TextMode::Plain: return MakePlainSegment();
    case CTmxUnitReader::TextMode::Markup: return MakeMarkupSegment();
    default: return MakeEngineSegment();
  }
}
