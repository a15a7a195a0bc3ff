#include "control/page_preparation.h"

#include <algorithm>

#include "analysis/scan_rectangle.h"
#include "analysis/sheet_outline.h"
#include "control/media_check.h"
#include "control/palette_prescan.h"
#include "control/screen_width.h"
#include "control/search_scan.h"
#include "params/found_text.h"
#include "platform/base_services.h"
#include "platform/file_channel.h"
#include "quillbay/scan_keys.h"
#include "stores/simple_stor.h"
#include "stores/view_stor.h"

namespace quillbay {

KxPtr<IParam> PagePreparation::collectRequest() const {
  auto request = new_MemParam();
  if (!m_parts.pages.collect(request.get())) return {};
  request->SetValue(key::PaperLength, m_parts.values().paperLength);
  return request;
}

/// False, with a message, when the area is to be found but this panel cannot find any. It would scan an area that
/// the user did not choose.
bool PagePreparation::canFindArea() const {
  if (m_parts.values().scanType != kAreaAuto || m_parts.steps.detection->IsOffered()) return true;
  m_parts.host.message(
      EventKind::Information,
      Supp_Translate("The size of the document cannot be found automatically. Choose a paper, a custom size "
                     "or a fixed width in the list \"Paper\"."),
      EventButtons::Ok);
  return false;
}

/// False, with its message, when a page of the mode refuses its values.
bool PagePreparation::arePagesAcceptable() const {
  for (const PageRole role : m_parts.pages.current()) {
    const std::string why = m_parts.pages.page(role)->GetRefusal();
    if (why.empty()) continue;
    m_parts.host.message(EventKind::Information, why, EventButtons::Ok);
    return false;
  }
  return true;
}

/// Shares the raster of a destination that collects the page; otherwise keeps one only for a host that reads it.
/// Where nothing is shown, no picture is made.
KxPtr<ISStripStor> PagePreparation::makeViewStore() const {
  using Raster = CViewStor::Raster;
  const IFileDestination* files = m_parts.files();  // another panel may have set the mode since
  const bool collects = files && !files->writesFile();
  const Raster raster = collects ? Raster::Shared : m_parts.keepsRasters ? Raster::Own : Raster::None;
  auto picture = m_seen ? newPreviewStor(screenWidth(), m_parts.params) : nullptr;
  return KxPtr<ISStripStor>::adopt(
      new CViewStor(raster, std::move(picture), m_parts.params.destinationStore.get()));
}

Preparation PagePreparation::page() {
  Preparation out;
  ScanValues& v = m_parts.quiet();
  v.detectionText.clear();
  v.batch = m_parts.run.batch() ? 1 : 0;
  v.skew = 0;
  m_parts.params.destinationStore->Reset();
  if (!makeRoom(out)) return out;
  m_parts.params.viewStore = makeViewStore();
  out.request = collectRequest();
  if (!out.request) return out;
  if (!keepsFound()) m_parts.params.set(scan_key::BoundDetectDirty, 1);
  out.page.fragment = v.customScanValid != 0;
  out.page.bursting = v.bursting != 0 && !out.page.fragment;
  if (!findArea(out)) return out;
  out.page.area = v.rcScan;
  auto plan = std::make_shared<ScanPlan>();
  plan->kind = RunKind::Scan;
  putRectangle(out, *plan);
  if (!fitsFormat(out, *plan)) return out;
  if (!findPalette(out)) return out;
  if (!m_parts.run.burst() && !out.page.fragment && !checkMedia(out)) return out;
  out.request->SetValue(key::RequestType, kRequestScan);
  takeSettings(*plan);
  plan->paletteColors = paletteColors(out.request.get());
  plan->draft.expectedLines = out.page.expectedLines;
  out.plan = std::move(plan);
  out.isReady = true;
  return out;
}

/// The host releases its pages, and the destination takes one.
bool PagePreparation::makeRoom(Preparation& out) {
  // Before any question: its answer would be useless.
  if (m_parts.values().customScanValid == 0 && !(arePagesAcceptable() && canFindArea())) return false;
  if (!m_parts.host.clearRasters(ClearFor::Scan, m_parts.run.batch() || m_parts.run.burst())) {
    m_parts.scanner.command(UnitCommand::Stop);
    return false;
  }
  // File name and disk space depend on what the user typed last.
  if (IUIScanPage* main = m_parts.pages.page(PageRole::Main)) main->Save(new_MemParam().get());
  CScanTo* destination = m_parts.destination;
  if (m_parts.host.call([&] { return destination->BeginScan(); })) return true;
  out.cause = EndCause::Output;
  return false;
}

/// Whether the page is what the user corrected, or asked for with a search of its own: nothing is looked for again.
/// Only the document that lies there now was looked at.
bool PagePreparation::keepsFound() const {
  const ScanValues& v = m_parts.values();
  if (!isFound(v) || v.bursting || m_parts.run.burst() || m_parts.run.record().documents() > 0) return false;
  return v.found.by == DetectedBy::User || detectionOf(v) == 0;
}

bool PagePreparation::findArea(Preparation& out) {
  if (out.page.fragment) return true;
  if (!keepsFound()) return detectFor(out);
  m_parts.quiet().skew = m_parts.values().found.angle;
  out.request->SetValue(key::Rect, m_parts.values().rcScan);
  const DetectedArea found = m_parts.values().found;
  m_parts.host.call([&] { m_parts.host.listeners().detected(found); });
  return true;
}

/// What the search found, as the preview, the status and hosts show it.
void PagePreparation::noteFound() const {
  ScanValues& v = m_parts.quiet();
  const Sheet sheet = sheetIn(v.rcScan, v.skew, v.scanType);
  v.found = {m_parts.steps.detection->FoundBy(), v.rcScan, sheet.angle, {sheet.width, sheet.height}, {}};
  if (isFound(v)) v.found.paper = paperOfSize(m_parts.params.papers, v.found.sheet);
  m_parts.params.NotifyParam(scan_key::RcScan.name);
  const DetectedArea found = v.found;
  m_parts.host.note(foundText(m_parts.params.units(), found));
  m_parts.host.call([&] { m_parts.host.listeners().detected(found); });
}

/// As a step of a run.
bool PagePreparation::detectFor(Preparation& out) {
  if (detect(out.request.get(), -1, nullptr)) return true;
  DetectionEnd end = m_parts.steps.detection->End();
  out.cause = end.cause;
  out.fault = std::move(end.fault);
  return false;
}

bool PagePreparation::detect(IParam* request, int mask, bool* found) {
  if (!m_parts.run.beginSearch(RunState::Detecting)) return false;
  m_parts.stateChanged();
  IAreaDetection* detection = m_parts.steps.detection;
  const bool searches = detection->IsOffered() && (mask == -1 ? m_parts.values().autodetect : mask) != 0;
  if (searches) m_parts.host.call([&] { m_parts.host.listeners().detecting(); });
  bool goOn = false;
  try {
    goOn = m_parts.host.call([&] { return detection->Detect(request, mask); }) != 0;
  } catch (const WindowGone&) {
    throw;  // nothing shows a picture any more
  } catch (...) {
    m_parts.search->settlePicture(false);
    throw;
  }
  m_parts.run.endSearch();
  const bool isAreaFound = goOn && detection->AreaFound();
  // A preview makes a picture of its own of what was found.
  const bool previews = m_parts.run.isBusy() && isPreview(m_parts.run.kind());
  m_parts.search->settlePicture(isAreaFound && !previews);
  if (isAreaFound) noteFound();
  m_parts.stateChanged();
  if (found) *found = isAreaFound;
  return goOn;
}

/// The colour tables come first: the palette is one of the adjusted colours.
bool PagePreparation::findPalette(Preparation& out) {
  m_parts.steps.colors->Put(out.request.get());
  IPalettePrescan* palette = m_parts.steps.palette;
  if (!palette->IsNeeded(out.request.get())) return true;
  const int dpi = m_parts.values().previewDpi;
  return m_parts.host.call([&] { return palette->Run(out.request.get(), dpi, &out.cause, &out.fault); }) != 0;
}

bool PagePreparation::checkMedia(Preparation& out) {
  if (waitForMedia(m_parts, &out.fault)) return true;
  out.cause = EndCause::Media;
  return false;
}

void PagePreparation::putRectangle(Preparation& out, ScanPlan& plan) {
  const ScanValues& v = m_parts.values();
  const bool fragment = out.page.fragment;
  tagRRECT rect =
      applyLengthRule(computeScanRectangle({v.rcScan, v.addWidthPercent, v.bedWidth, v.minWidth, v.center != 0,
                                            fragment, isFound(v) || m_parts.steps.detection->AreaFound()}),
                      v.scanType);
  m_parts.quiet().lastScanArea = rect;
  if (!fragment && m_parts.run.record().pages() == 0) noteWidening(rect.width());
  if (fragment && !m_parts.run.batch()) rect = v.rcCustomScan;
  out.request->SetValue(key::Rect, rect);
  out.request->SetValue(key::BatchMode, m_parts.run.batch() ? 1 : 0);
  out.page.expectedLines = rect.height() > 0 ? roundHalfUp(mmToPixels(rect.height(), v.dpi)) : 0;
  plan.area = rect;
}

/// False, with a message, when the format of the page's file cannot hold it. What only the scanner can tell is left
/// out.
bool PagePreparation::fitsFormat(Preparation& out, const ScanPlan& plan) const {
  const IFileDestination* files = m_parts.files();
  const auto formats = query<IIOParams>(m_parts.params.app());
  if (!files || !files->writesFile() || !formats || out.page.bursting) return true;
  const PageDraft draft = files->draft(true);
  const std::string& file = draft.openPart.empty() ? draft.names.values.outputFile : draft.openPart;
  if (file.empty()) return true;
  const ScanValues& v = m_parts.values();
  ExpectedPage page;
  page.colorSpace = static_cast<KxColorSpace>(v.colorSpace);
  page.dpi = static_cast<std::uint32_t>(std::max(v.dpi, 0));
  page.joinsPart = v.multiPage != 0;
  page.lines = leastPageLines(v);
  if (v.skew == 0) page.width = static_cast<std::int32_t>(roundHalfUp(mmToPixels(plan.area.width(), v.dpi)));
  const std::string why = RefusalOf(formats.get(), file, page);
  if (why.empty()) return true;
  m_parts.host.message(EventKind::Information, why, EventButtons::Ok);
  out.cause = EndCause::Output;
  return false;
}

/// Notes once for each run that its pages are wider than the user asked for.
void PagePreparation::noteWidening(double width) const {
  const double asked = m_parts.values().rcScan.width() * (1 + m_parts.values().addWidthPercent * 0.01);
  if (width <= asked + 0.01) return;
  CScanUnits& units = m_parts.params.units();
  m_parts.host.note(formatText(Supp_Translate("The scan is %s wide, the least width, instead of %s."),
                               {units.lengthText(width), units.lengthText(asked)}));
}

/// The copy that the scanner's thread works from.
void PagePreparation::takeSettings(ScanPlan& plan) const {
  const ScanValues& v = m_parts.values();
  if (const auto* files = m_parts.files()) {
    plan.draft = files->draft(!m_parts.run.goesOn() && !(v.bursting != 0 && v.customScanValid == 0));
  } else {
    plan.draft.names = makeNameContext(m_parts.params);
  }
  plan.destination = m_parts.params.destinationStore;
  plan.view = m_parts.params.viewStore;
  plan.straightening = m_parts.steps.straightening;
  // A preview shows the bed as it is: areas are drawn on it.
  const bool isPage = plan.kind == RunKind::Scan;
  const StraighteningBasis found{v.skew, boxOfSheet(plan.area, v.rcScan), v.scanType};
  m_parts.steps.straightening->Begin(isPage ? found : StraighteningBasis{});
}

Preparation PagePreparation::prescan() {
  Preparation out;
  if (!arePagesAcceptable()) return out;
  if (!m_parts.host.clearRasters(ClearFor::Preview, false)) return out;
  out.request = collectRequest();
  if (!out.request) return out;
  CSharedScanParams& params = m_parts.params;
  params.destinationStore->Reset();
  params.viewStore->Reset();
  params.previewStore = KxPtr<ISStripStor>::share(newPreviewStor(screenWidth(), params).get());
  const tagRRECT frame = params.values().rcPreview;
  const double down = params.values().rcScan.top - frame.top;
  params.set(scan_key::RcPreview, {frame.left, frame.top + down, frame.right, frame.bottom + down});
  const bool fragment = params.values().customScanValid != 0;
  if (params.values().boundDetectDirty && !fragment && !detectFor(out)) return out;
  const tagRRECT rect = applyLengthRule(params.values().rcScan, params.values().scanType);
  params.set(scan_key::RcScan, rect);
  out.request->SetValue(key::Rect, rect);
  if (!findPalette(out)) return out;
  const int dpi = params.values().previewDpi;
  out.request->SetValue(key::ImageDpi, dpi);
  if (!checkMedia(out)) return out;
  finishPreview(out, RunKind::Prescan, rect, dpi);
  return out;
}

Preparation PagePreparation::areaPrescan(const tagRRECT& area) {
  Preparation out;
  if (!arePagesAcceptable()) return out;
  if (!m_parts.host.clearRasters(ClearFor::Preview, false)) return out;
  out.request = collectRequest();
  if (!out.request) return out;
  m_parts.params.set(scan_key::RcPreview, area);
  m_parts.params.viewStore = makeEmptyStore();
  out.request->SetValue(key::Rect, area);
  if (!findPalette(out)) return out;
  finishPreview(out, RunKind::AreaPrescan, area, m_parts.values().dpi);
  return out;
}

void PagePreparation::finishPreview(Preparation& out, RunKind kind, const tagRRECT& area, int dpi) {
  m_parts.quiet().lastScanArea = area;
  out.request->SetValue(key::RequestType, kRequestPrescan);
  auto plan = std::make_shared<ScanPlan>();
  plan->kind = kind;
  plan->area = area;
  plan->previewDpi = dpi;
  plan->paletteColors = paletteColors(out.request.get());
  takeSettings(*plan);
  out.page.expectedLines = area.height() > 0 ? roundHalfUp(mmToPixels(area.height(), dpi)) : 0;
  out.plan = std::move(plan);
  out.isReady = true;
}

}  // namespace quillbay
