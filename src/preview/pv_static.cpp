#include "preview/pv_static.h"

#include <QSignalBlocker>
#include <algorithm>

#include "params/found_text.h"
#include "platform/base_services.h"
#include "preview/stor_painter.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

namespace {
constexpr std::uint32_t kBothRulers = kRulerTop | kRulerLeft;
constexpr int kNumbersMs = 3000;
constexpr int kLeastSize = 40;

}  // namespace

CPVStatic::CPVStatic(KxPtr<CSharedScanParams> params, IPanelController& controller, QWidget* parent)
    : QWidget(parent),
      m_params(std::move(params)),
      m_controller(controller),
      m_across(Qt::Horizontal, this),
      m_down(Qt::Vertical, this),
      m_clock([this](int phase) {
        if (m_stepIsOut.exchange(true)) return;
        QMetaObject::invokeMethod(
            this, [this, phase] { stepDashes(phase); }, Qt::QueuedConnection);
      }) {
  setObjectName("previewPicture");
  setAccessibleName(QString::fromStdString(Supp_Translate("Picture of the preview")));
  setAccessibleDescription(QString::fromStdString(Supp_Translate(
      "The arrow keys move the frame by 1 mm, with Shift by 10 mm, with Ctrl they resize it. Tab "
      "changes to the other frame. L and R turn the outline of a found document by 0.1 degrees, with "
      "Shift by 1 degree.")));
  setToolTip(QString::fromStdString(Supp_Translate("The document on the scanner, and the frames on it")));
  setMouseTracking(true);
  setFocusPolicy(Qt::StrongFocus);
  setContextMenuPolicy(Qt::PreventContextMenu);  // the right button draws
  setAttribute(Qt::WA_OpaquePaintEvent);
  setMinimumSize(kLeastSize, kLeastSize);
  makeBar(m_across);
  makeBar(m_down);
  m_numbers.setSingleShot(true);
  m_numbers.setInterval(kNumbersMs);
  connect(&m_numbers, &QTimer::timeout, this, [this] { tellFrame(nullptr); });
  if (!m_params->previewStore->IsEmpty()) m_placed = m_params->values().rcScan;
  m_showsFragment = m_params->values().customScanValid != 0;
  m_ruler = new_KxRuler(this, nullptr, m_view, {}, kBothRulers, &m_reactors);
  renewRulers();
  m_ruler->Show(1);
  m_changes.Subscribe(m_params->connectionPoint());
  m_clock.Start(0, 1);
}

CPVStatic::~CPVStatic() {
  m_changes.Unsubscribe();
  m_clock.Stop();
}

void CPVStatic::makeBar(QScrollBar& bar) {
  bar.setObjectName(bar.orientation() == Qt::Horizontal ? "previewAcross" : "previewDown");
  bar.setSingleStep(preview::kLine);
  bar.setCursor(Qt::ArrowCursor);
  bar.hide();
  connect(&bar, &QScrollBar::valueChanged, this, [this, &bar](int position) { scrolled(bar, position); });
}

// --- settings

void CPVStatic::rasterPlaced(const tagRRECT& placed) {
  m_placed = placed;
  pictureChanged();
}

void CPVStatic::paramChanged(const char* name) {
  const preview::Reaction r = preview::reactionTo(name);
  const ScanValues& v = m_params->values();
  if (m_drag && !v.rectValid) endDrag(false);
  const bool shows = r.takesFragment ? v.customScanValid != 0 : m_showsFragment && !r.hidesFragment;
  setState(r.endsModes ? Mode::None : m_mode, shows);
  if (r.renewsRulers) renewRulers();
  if (r.fits) fit();
  if (r.updatesBars) updateBars();
  if (!r.revealsFrame) return;
  scrollBy(0, preview::revealOffset(preview::toPixels(m_view, v.rcPreview), m_client));
  update();
}

void CPVStatic::renewRulers() {
  ILinearUnit* unit = m_params->units().current();
  const ScanValues& v = m_params->values();
  const auto shown = unit ? KxPtr<CStdDecimalUnit>::adopt(new CStdDecimalUnit(unit)) : KxPtr<CStdDecimalUnit>();
  const double factor = unit ? unit->GetFactor() : 1;
  m_ruler->SetUnit(shown.get(), preview::rulerTransform(v.center != 0, v.bedWidth, factor));
}

void CPVStatic::setRulersShown(bool shown) {
  m_ruler->SetStyle(kBothRulers, shown ? kBothRulers : 0);
  m_ruler->Show(shown ? 1 : 0);
  m_reactors.setCursor(shown);
  fit();
}

void CPVStatic::setState(Mode mode, bool shows) {
  if (mode == m_mode && shows == m_showsFragment) return;
  m_mode = mode;
  m_showsFragment = shows;
  if (!shows) m_active = ActiveFrame::Preview;
  runClock();
  update();
  showCursor(mapFromGlobal(QCursor::pos()));
  if (onChanged) onChanged();
}

void CPVStatic::toggleNewArea() { setState(drawsArea() ? Mode::None : Mode::Area, m_showsFragment); }

void CPVStatic::toggleNewFragment() {
  setState(m_showsFragment || drawsFragment() ? Mode::None : Mode::Fragment, false);
}

void CPVStatic::store(const tagRRECT& frame, ActiveFrame target) {
  const ScanValues& v = m_params->values();
  const tagRRECT settled = settledFrame(frame, v.rcScan, v.minWidth, v.minHeight);
  update();
  if (target == ActiveFrame::Fragment) return m_params->set(scan_key::RcCustomScan, settled);
  m_params->set(scan_key::RcPreview, settled);
  if (!v.disablePreview) m_controller.RestartPreview();
}

/// What the user makes of the document that was found: its place and angle hold for the next page.
void CPVStatic::storeSheet(const Sheet& sheet) {
  ScanValues& v = m_params->quiet();
  v.found = correctedArea(sheet, v);
  v.found.paper = paperOfSize(m_params->papers, v.found.sheet);
  v.skew = v.found.angle;
  m_params->set(scan_key::RcScan, v.found.box);
  m_params->set(scan_key::BoundDetectDirty, 0);
  update();
}

/// As it was found, before the scan is widened.
Sheet CPVStatic::ownSheet() const {
  const ScanValues& v = m_params->values();
  return sheetIn(v.rcScan, v.found.angle, v.scanType);
}

bool CPVStatic::hasSheet() const noexcept { return isFound(m_params->values()); }

/// A frame that is no longer shown is none that keys change.
ActiveFrame CPVStatic::activeFrame() const noexcept {
  return m_active == ActiveFrame::Sheet && !hasSheet() ? ActiveFrame::Preview : m_active;
}

void CPVStatic::tellFrame(const tagRRECT* frame) {
  if (onFrame) onFrame(frame);
}

bool CPVStatic::takesInput() const noexcept { return m_params->values().rectValid != 0 && isEnabled(); }

// --- places

KxRect CPVStatic::baseClient() const {
  const KxSize inset = m_ruler->GetInset();
  return {inset.width, inset.height, std::max(inset.width, width()), std::max(inset.height, height())};
}

void CPVStatic::fit() {
  const tagRPOINT before = m_fitted;
  const double scale = m_view.scaleX;
  const int across = m_across.value(), down = m_down.value();
  fitView();
  layOut();
  updateBars();
  viewMoved();
  // The same again: what is looked at stays.
  if (scale != m_view.scaleX || before != m_fitted) return;
  if (!m_across.isHidden()) m_across.setValue(across);
  if (!m_down.isHidden()) m_down.setValue(down);
}

void CPVStatic::fitView() {
  const ScanValues& v = m_params->values();
  const tagRRECT area = preview::viewedArea(v, m_placed);
  m_fitted = {area.left, area.top};
  const KxRect base = baseClient();
  bool across = false, down = false;
  // A bar takes room from the other direction, which may then need one as well.
  for (int pass = 0; pass < 3; ++pass) {
    m_client = base;
    if (down) m_client.right = std::max(base.left, base.right - m_down.sizeHint().width());
    if (across) m_client.bottom = std::max(base.top, base.bottom - m_across.sizeHint().height());
    const bool upright = v.portrait != 0 && !isFound(v);
    m_view = preview::fittedView(m_view, preview::fittedType(v, m_client, area), upright, m_client, area);
    const int wide = m_client.right - m_client.left, high = m_client.bottom - m_client.top;
    const bool needsAcross = preview::scrollBarOf(area.width(), wide, m_view.scaleX).shown;
    const bool needsDown = preview::scrollBarOf(area.height(), high, m_view.scaleY).shown;
    if ((across || !needsAcross) && (down || !needsDown)) break;
    across = across || needsAcross;
    down = down || needsDown;
  }
  m_across.setVisible(across);
  m_down.setVisible(down);
}

void CPVStatic::layOut() {
  m_down.setGeometry(m_client.right, m_client.top, width() - m_client.right, m_client.bottom - m_client.top);
  m_across.setGeometry(m_client.left, m_client.bottom, m_client.right - m_client.left, height() - m_client.bottom);
  m_down.raise();
  m_across.raise();
}

void CPVStatic::updateBars() {
  const tagRRECT area = preview::viewedArea(m_params->values(), m_placed);
  const KxRect pixels = preview::toPixels(m_view, area);
  const auto set = [](QScrollBar& bar, const preview::ScrollBar& now, int position) {
    const QSignalBlocker blocker(bar);
    bar.setPageStep(std::max(1, now.page));
    bar.setRange(std::min(0, position), std::max({0, position, now.range - now.page}));
    bar.setValue(position);
  };
  set(m_across, preview::scrollBarOf(area.width(), m_client.right - m_client.left, m_view.scaleX),
      m_client.left + preview::kInset - pixels.left);
  set(m_down, preview::scrollBarOf(area.height(), m_client.bottom - m_client.top, m_view.scaleY),
      m_client.top + preview::kInset - pixels.top);
}

/// The place of the area tells where a bar stood before.
void CPVStatic::scrolled(QScrollBar& bar, int position) {
  const tagRRECT area = preview::viewedArea(m_params->values(), m_placed);
  const KxRect pixels = preview::toPixels(m_view, area);
  if (&bar == &m_across) {
    m_view.offsetX += m_client.left + preview::kInset - pixels.left - position;
  } else {
    m_view.offsetY += m_client.top + preview::kInset - pixels.top - position;
  }
  viewMoved();
}

void CPVStatic::scrollBy(int dx, int dy) {
  if (!m_across.isHidden()) m_across.setValue(m_across.value() - dx);
  if (!m_down.isHidden()) m_down.setValue(m_down.value() - dy);
}

void CPVStatic::viewMoved() {
  m_ruler->Redraw(m_view);
  pictureChanged();
}

void CPVStatic::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  fit();
}

}  // namespace quillbay
