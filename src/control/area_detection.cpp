#include "control/area_detection.h"

#include <cmath>
#include <utility>

#include "analysis/paper_snap.h"
#include "pages/settings_text.h"
#include "platform/base_services.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

namespace {

bool isLengthOpen(const ScanValues& values) noexcept {
  return values.scanType == kAreaAutoWidth || values.scanType == kAreaFixedWidth;
}

bool isMeasure(double length) noexcept { return std::isfinite(length) && length > 0; }

/// Keeps what a prescan delivered until its end.
class DetectorLease {
 public:
  explicit DetectorLease(CAutoDetector& detector) : m_detector(detector) {}
  ~DetectorLease() { m_detector.release(); }
  DetectorLease(const DetectorLease&) = delete;
  DetectorLease& operator=(const DetectorLease&) = delete;

 private:
  CAutoDetector& m_detector;
};

}  // namespace

bool AreaDetection::IsOffered() const {
  IQuillbayUnit* unit = m_parts.scanner.unit();
  return unit && !unit->HasMode(kModeDirect);
}

int AreaDetection::Detect(IParam* request, int mask) {
  m_by = DetectedBy::Nothing;
  m_end = {};
  ScanValues& v = m_parts.quiet();
  const double skew = std::exchange(v.skew, 0);
  const std::string text = std::exchange(v.detectionText, {});
  if (mask == -1) mask = v.autodetect;
  if (mask == 0 || !IsOffered()) return 1;
  if (search(request)) return 1;
  v.skew = skew;
  v.detectionText = text;
  return 0;
}

/// False when the scan is abandoned.
bool AreaDetection::search(IParam* request) {
  if (takeMeasured(request)) return true;
  if (m_parts.steps.preview) m_parts.steps.preview->Refresh();
  const DetectorLease lease(m_detector);
  SearchOutcome outcome = prescan();
  if (outcome.end != SearchEnd::Complete) {
    m_end = {causeOf(outcome.end), std::move(outcome.fault)};
    return false;
  }
  const bool wantsAngle = m_parts.values().deskew != 0;
  if (const auto found = m_detector.detect(&panelBoundServices(), wantsAngle)) {
    m_parts.quiet().skew = found->angle;
    take(areaOf(*found), request, found->atSecondLook ? DetectedBy::SecondLook : DetectedBy::Prescan);
    return true;
  }
  if (!isWholeBedWanted()) return false;
  takeWholeBed();
  return true;
}

/// Takes over what the device has measured; false when it measures nothing.
bool AreaDetection::takeMeasured(IParam* request) {
  const auto ex = query<IQuillbayUnitEx>(m_parts.scanner.unit());
  MeasuredMedia media;
  if (!ex || !m_parts.host.call([&] { return ex->DetectsMedia(); }) ||
      !m_parts.host.call([&] { return ex->GetMedia(&media); })) {
    return false;
  }
  ScanValues& v = m_parts.quiet();
  const bool isWhole = !media.isEndless && v.scanType != kAreaAutoWidth;
  if (!isMeasure(media.width) || (isWhole && !isMeasure(media.length))) {
    logLine(LogLevel::Warning, "quillbay.control",
            "the scanner's measure of the document is none; a prescan finds it");
    return false;
  }
  const double length = isWhole ? media.length : v.paperLength;
  if (!isWhole) m_parts.params.set(scan_key::ScanType, kAreaAutoWidth);
  const double left = (v.bedWidth - media.width) / 2;
  v.detectionText = detectionText(m_parts.params.papers, media.width, length, !isWhole, v.detectionText);
  take({left, 0, left + media.width, length}, request, DetectedBy::Device);
  return true;
}

SearchOutcome AreaDetection::prescan() {
  m_detector.begin(static_cast<std::uint32_t>(m_parts.values().previewDpi), m_parts.params.progress.get(),
                   panelBoundServices().settings());
  const auto request = makeRequest();
  return m_parts.search->run(RunState::Detecting, request.get(), m_detector.sink());
}

/// The whole bed, in grey where the scanner has it. Its length is the document's, unless the user says.
KxPtr<IParam> AreaDetection::makeRequest() const {
  const ScanValues& v = m_parts.values();
  auto request = new_MemParam();
  request->SetValue(key::ImageDpi, v.previewDpi);
  request->SetValue(key::Rect, tagRRECT{0, 0, v.bedWidth, isLengthOpen(v) ? v.paperLength : 0});
  request->SetValue(key::AutodetectMark, 1);
  request->SetValue(key::Mode, v.scannerHasColor ? kModeGrey : kModeBwThreshold);
  // A device that finds no end scans so far; the whole bed when the length is to be found.
  if (isLengthOpen(v)) request->SetValue(key::PaperLength, v.paperLength);
  request->SetValue(key::RequestType, kRequestDetection);
  return request;
}

/// The scan area for what was found: with what the device had pulled in before, and as a standard paper's.
tagRRECT AreaDetection::areaOf(const FoundBounds& found) const {
  const ScanValues& v = m_parts.values();
  tagRRECT area = found.box;
  tagRRECT media;
  const auto ex = query<IQuillbayUnitEx>(m_parts.scanner.unit());
  if (ex && m_parts.host.call([&] { return ex->GetMediaRect(&media); })) {
    area = lengthenByMedia(area, media.bottom, found.angle);
  }
  if (v.standardPapers == 0 || v.deskew != 0) return area;
  // What is fed in starts with the document; on a bed its lower part would be cut off.
  const bool liesOnBed = m_parts.scanner.isFlatbed();
  if (!liesOnBed) area.bottom -= std::exchange(area.top, 0);
  const bool widthOnly = isLengthOpen(v);
  const auto paper = smallestPaper(m_parts.params.papers, {area.width(), area.height()}, widthOnly);
  if (!paper) return area;
  if (!liesOnBed) return snapToPaper(area, *paper, v.bedWidth, widthOnly);
  const double length = m_parts.host.call([&] { return m_parts.scanner.unit()->GetMaxLength(); });
  return snapOnFlatbed(area, *paper, {v.bedWidth, length}, widthOnly);
}

void AreaDetection::take(const tagRRECT& area, IParam* request, DetectedBy by) {
  CSharedScanParams& params = m_parts.params;
  params.set(scan_key::RcScan, area);
  request->SetValue(key::Rect, area);
  params.set(scan_key::BoundDetectDirty, 0);
  params.set(scan_key::RectValid, 1);
  if (m_parts.areaFound) m_parts.areaFound();
  m_by = by;
}

/// Nobody but the user decides: no countdown answers that the scan is abandoned, or covers the whole bed.
bool AreaDetection::isWholeBedWanted() {
  const int answer =
      m_parts.host.ask(EventKind::Question,
                       Supp_Translate("Could not autodetect bounds, scan whole image?$QBHelp:IDH_AutodetectError$"),
                       EventButtons::YesNo);
  return answer == static_cast<int>(EventAnswer::Yes) && !m_parts.run.stopAsked();
}

void AreaDetection::takeWholeBed() {
  CSharedScanParams& params = m_parts.params;
  const ScanValues& v = m_parts.values();
  params.set(scan_key::Autodetect, 0);
  params.set(scan_key::ScanType, kAreaFixedWidth);
  params.set(scan_key::RcScan, {0, 0, v.bedWidth, v.paperLength});
  params.set(scan_key::RectValid, 1);
  params.set(scan_key::BoundDetectDirty, 0);
  if (m_parts.areaFound) m_parts.areaFound();
  m_by = DetectedBy::WholeBed;
}

}  // namespace quillbay
