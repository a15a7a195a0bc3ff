#include "pages/scan_area.h"

#include <algorithm>
#include <cmath>

namespace quillbay {

namespace {

constexpr double kSnapMm = 0.001;

double heldToBed(double width, double bed) noexcept { return width > bed - kSnapMm ? bed : width; }

/// Where an area of this width begins so that it stays on the bed.
double onBed(double left, double width, double bed) noexcept {
  return std::max(0.0, left + width > bed ? bed - width : left);
}

}  // namespace

bool showsCentred(const ScanValues& values) noexcept {
  return values.center != 0 && values.scanType != kAreaAuto && values.scanType != kAreaAutoWidth;
}

AreaFields fieldsOf(const ScanValues& values) noexcept {
  const tagRRECT& area = values.rcScan;
  AreaFields fields;
  fields.width = heldToBed(area.width(), values.bedWidth);
  fields.offset = area.left + fields.width > values.bedWidth ? values.bedWidth - fields.width : area.left;
  if (showsCentred(values)) fields.offset = values.bedWidth / 2 - fields.width / 2;
  fields.top = area.top;
  fields.length = area.height();
  return fields;
}

tagRRECT areaOf(const AreaFields& fields, const ScanValues& values) noexcept {
  // A paper keeps its width, however narrow.
  const double least = values.scanType == kAreaPaper ? 0.0 : std::min(values.minWidth, values.bedWidth);
  const double width = heldToBed(std::max(fields.width, least), values.bedWidth);
  const double left =
      showsCentred(values) ? values.bedWidth / 2 - width / 2 : onBed(fields.offset, width, values.bedWidth);
  const double top = std::max(0.0, fields.top);
  return {left, top, left + width, top + std::max(0.0, fields.length)};
}

tagRSIZE orientedSize(const tagRSIZE& paper, bool portrait) noexcept {
  const auto [shorter, longer] = std::minmax(paper.cx, paper.cy);
  return portrait ? tagRSIZE{shorter, longer} : tagRSIZE{longer, shorter};
}

bool fitsBed(const tagRSIZE& paper, bool portrait, double bedWidth) noexcept {
  return orientedSize(paper, portrait).cx <= bedWidth + kBedToleranceMm;
}

bool usableOrientation(const tagRSIZE& paper, bool portrait, double bedWidth) noexcept {
  const bool turn = !fitsBed(paper, portrait, bedWidth) && fitsBed(paper, !portrait, bedWidth);
  return turn ? !portrait : portrait;
}

tagRRECT paperArea(const tagRSIZE& paper, const ScanValues& values) noexcept {
  const tagRSIZE size = orientedSize(paper, values.portrait != 0);
  const double width = heldToBed(size.cx, values.bedWidth);
  const double left =
      values.center ? values.bedWidth / 2 - width / 2 : onBed(values.rcScan.left, width, values.bedWidth);
  return {left, values.rcScan.top, left + width, values.rcScan.top + size.cy};
}

FieldAccess fieldAccess(const ScanValues& values) noexcept {
  const bool found = values.scanType == kAreaAuto || values.scanType == kAreaAutoWidth;
  FieldAccess access;
  access.width = values.scanType == kAreaFixedWidth || values.scanType == kAreaCustom;
  access.length = values.scanType == kAreaCustom;
  access.offset = access.top = !found && !values.center;
  return access;
}

AutodetectEffect autodetectEffect(const ScanValues& values) noexcept {
  AutodetectEffect effect;
  const bool open = values.scanType == kAreaAutoWidth || values.scanType == kAreaFixedWidth;
  effect.burstingAllowed = detectionOf(values) == 0 && !open;
  effect.bursting = effect.burstingAllowed ? values.bursting : 0;
  const bool free = (detectionOf(values) & kDetectCentreFree) != 0;
  // A device that always centres does so whatever is detected.
  effect.center = allowedCentring(values.centring, free ? 0 : values.center);
  effect.centreAllowed = !free && values.centring != kAlwaysCentres && values.centring != kNeverCentres;
  return effect;
}

std::int32_t allowedCentring(std::int32_t centring, std::int32_t wished) noexcept {
  if (centring == kAlwaysCentres) return 1;
  return centring == kNeverCentres ? 0 : wished;
}

}  // namespace quillbay
