/// What the preview control shows: the picture, and the frames with their running dashes.
#include <QPaintEvent>
#include <QPainter>
#include <QStyle>
#include <cstring>

#include "params/found_text.h"
#include "preview/pv_static.h"
#include "preview/stor_painter.h"
#include "preview/store_picture.h"
#include "quillbay/scan_keys.h"
#include "view/image_dc.h"
#include "view/view_transform.h"
#include "widgets/user_interface_thread.h"

namespace quillbay {

namespace {

constexpr QRgb kBed = qRgb(192, 192, 192);

QRect rectOf(const KxRect& r) { return {r.left, r.top, r.right - r.left, r.bottom - r.top}; }

/// The device pixels that a rectangle touches.
QRect deviceRect(const QRectF& r, double ratio) {
  return QRectF(r.topLeft() * ratio, r.size() * ratio).toAlignedRect();
}

}  // namespace

// --- running dashes

bool CPVStatic::isAnimated() const {
  const ScanValues& v = m_params->values();
  return m_isSeen && isVisible() && (v.rectValid || m_showsFragment) &&
         style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this) > 0;
}

void CPVStatic::runClock() {
  const bool runs = isAnimated();
  if (runs == m_clockRuns) return;
  m_clockRuns = runs;
  runs ? m_clock.Resume() : m_clock.Suspend();
}

void CPVStatic::stepDashes(int phase) {
  m_stepIsOut = false;
  if (!m_clockRuns) return;
  m_phase = phase;
  updateFrames();
}

void CPVStatic::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  m_isSeen = true;
  fit();
  runClock();
}

/// Also when the window is minimised.
void CPVStatic::hideEvent(QHideEvent* event) {
  m_isSeen = false;
  endDrag(false);
  runClock();
  QWidget::hideEvent(event);
}

void CPVStatic::changeEvent(QEvent* event) {
  if (event->type() == QEvent::EnabledChange && !isEnabled()) endDrag(false);
  if (event->type() == QEvent::PaletteChange) pictureChanged();
  if (event->type() == QEvent::FontChange) fit();
  if (event->type() == QEvent::StyleChange) {
    fit();
    runClock();
  }
  QWidget::changeEvent(event);
}

// --- what is seen

void CPVStatic::pictureChanged() {
  m_pictureIsOld = true;
  runClock();
  update();
}

std::vector<PaintedFrame> CPVStatic::frames() const {
  const ScanValues& v = m_params->values();
  std::vector<PaintedFrame> shown;
  if (!v.rectValid) return shown;
  const auto add = [&](const tagRRECT& frame, ActiveFrame which) {
    shown.push_back({preview::toPixels(m_view, frame), which == ActiveFrame::Fragment,
                     hasFocus() && activeFrame() == which && !m_drag});
  };
  const bool draws = m_drag && m_drag->hasMoved && !m_drag->sheet;
  const bool drawsThis = draws && !m_drag->isFragment;
  add(drawsThis ? m_drag->frame : v.rcPreview, ActiveFrame::Preview);
  if (draws && m_drag->isFragment) {
    add(m_drag->frame, ActiveFrame::Fragment);
  } else if (m_showsFragment) {
    add(v.rcCustomScan, ActiveFrame::Fragment);
  }
  return shown;
}

std::optional<PaintedSheet> CPVStatic::paintedSheet() const {
  if (!hasSheet()) return std::nullopt;
  const ScanValues& v = m_params->values();
  const auto* dragged = m_drag && m_drag->sheet ? &*m_drag->sheet : nullptr;
  PaintedSheet shown;
  shown.places = placesOf(dragged ? *dragged : scannedSheet(v), m_view);
  shown.isActive = hasFocus() && activeFrame() == ActiveFrame::Sheet && !m_drag;
  shown.hasHandles = takesInput() && m_mode == Mode::None;
  DetectedArea numbers = v.found;
  if (dragged) {
    numbers = correctedArea(*dragged, v);
    numbers.paper = paperOfSize(m_params->papers, numbers.sheet);
  }
  shown.numbers = QString::fromStdString(foundNumbers(m_params->units(), numbers));
  return shown;
}

void CPVStatic::updateFrames() {
  QRegion edges;
  for (const PaintedFrame& frame : frames()) edges += touchedBy(frame);
  const auto dragged = m_drag && m_drag->sheet ? paintedSheet() : std::nullopt;
  if (dragged) edges += touchedBy(*dragged, rectOf(m_client), font());
  update(edges & rectOf(m_client));
}

void CPVStatic::paintEvent(QPaintEvent* event) {
  assertUserInterfaceThread();
  QPainter painter(this);
  const QRect client = rectOf(m_client);
  for (const QRect& rest : event->region() - client) painter.fillRect(rest, palette().color(QPalette::Window));
  if (client.isEmpty()) return;
  const double ratio = devicePixelRatioF();
  const QSize size = deviceRect(QRectF({0, 0}, client.size()), ratio).size();
  if (m_pictureIsOld || m_picture.size() != size) {
    if (m_picture.size() != size) m_picture = QImage(size, QImage::Format_RGB32);
    drawPicture();
    m_pictureIsOld = false;
  }
  compose(event->region() & client);
  painter.translate(client.topLeft());
  painter.scale(1 / ratio, 1 / ratio);
  // One by one: an image under a clip of many parts goes through all of its lines.
  for (const QRect& r : deviceRegion(event->region() & client)) painter.drawImage(r, m_composed, r);
}

/// The pixels of the picture that `region` of the control touches.
QRegion CPVStatic::deviceRegion(const QRegion& region) const {
  QRegion device;
  for (const QRect& r : region.translated(-m_client.left, -m_client.top)) {
    device += deviceRect(r, devicePixelRatioF());
  }
  return device & m_picture.rect();
}

/// Everything but the frames.
void CPVStatic::drawPicture() {
  assertUserInterfaceThread();
  const ScanValues& v = m_params->values();
  const bool isEmpty = m_params->previewStore->IsEmpty();
  const QRectF bed = rectOf(preview::toPixels(m_view, preview::shownArea(v)));
  QPainter painter(&m_picture);
  const double ratio = devicePixelRatioF();
  painter.scale(ratio, ratio);
  painter.translate(-m_client.left, -m_client.top);
  painter.fillRect(rectOf(m_client), palette().color(QPalette::Base));
  painter.fillRect(bed, QColor(kBed));
  if (isEmpty || !v.rectValid) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::black, 1));
    painter.drawLine(bed.topLeft(), bed.bottomRight());
    painter.drawLine(bed.topRight(), bed.bottomLeft());
    painter.setRenderHint(QPainter::Antialiasing, false);
  }
  if (isEmpty || (v.scanType == kAreaAuto && !v.rectValid)) return;
  const tagRRECT paper = view::toClient(m_view, m_placed);
  painter.fillRect(QRectF(paper.left, paper.top, paper.width(), paper.height()), Qt::white);
  painter.end();
  drawRaster();
}

/// Straight from the store into the pixels of the picture.
void CPVStatic::drawRaster() {
  const tagRRECT extent = extentOf(*m_params->previewStore);
  const bool isNone =
      extent.width() <= 0 || extent.height() <= 0 || m_placed.width() <= 0 || m_placed.height() <= 0;
  if (isNone) return;
  const double ratio = devicePixelRatioF();
  const CRDirectTfm t = preview::rasterTransform(extent, m_placed);
  const CRDirectTfm place{t.scaleX * m_view.scaleX * ratio, t.scaleY * m_view.scaleY * ratio,
                          (t.offsetX * m_view.scaleX + m_view.offsetX - m_client.left) * ratio,
                          (t.offsetY * m_view.scaleY + m_view.offsetY - m_client.top) * ratio};
  const KxSize size{m_picture.width(), m_picture.height()};
  const auto target = KxPtr<CImageDC>::adopt(new CImageDC(reinterpret_cast<std::uint32_t*>(m_picture.bits()), size,
                                                          {0, 0, size.width, size.height}, kHalfTones));
  m_params->previewStore->Paint(target.get(), &place);
}

/// The picture with the frames, in `region` of the control. Pixels below frames are inverted, so each has to be
/// taken from the picture first.
void CPVStatic::compose(const QRegion& region) {
  const double ratio = devicePixelRatioF();
  if (m_composed.size() != m_picture.size()) m_composed = QImage(m_picture.size(), QImage::Format_RGB32);
  const QRegion device = deviceRegion(region);
  for (const QRect& r : device) {
    const auto from = static_cast<std::size_t>(r.left()) * sizeof(QRgb);
    const auto bytes = static_cast<std::size_t>(r.width()) * sizeof(QRgb);
    for (int y = r.top(); y <= r.bottom(); ++y) {
      std::memcpy(m_composed.scanLine(y) + from, m_picture.constScanLine(y) + from, bytes);
    }
  }
  QPainter painter(&m_composed);
  painter.setClipRegion(device);
  painter.scale(ratio, ratio);
  painter.translate(-m_client.left, -m_client.top);
  if (const auto sheet = paintedSheet()) paintSheet(painter, *sheet, rectOf(m_client), font());
  paintFrames(painter, frames(), m_phase);
}

}  // namespace quillbay
