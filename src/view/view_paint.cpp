/// How a view port paints.
#include <QPainter>
#include <vector>

#include "platform/base_services.h"
#include "quillbay/view_overlay.h"
#include "view/view_port.h"

namespace quillbay {
namespace {

constexpr int kHalfToneMode = 8;
/// A region of more rectangles is painted as squares of this side that it touches, in rows.
constexpr int kMostRectangles = 48;
constexpr int kSquare = 32;

/// 0xBBGGRR, or the system's colour.
QColor colorOf(const std::optional<std::uint32_t>& color, const QWidget& window, QPalette::ColorRole system) {
  if (!color) return window.palette().color(system);
  return QColor::fromRgb(static_cast<int>(*color & 255), static_cast<int>(*color >> 8 & 255),
                         static_cast<int>(*color >> 16 & 255));
}

/// The parts that are painted one by one: none covers another, all of them cover the region.
std::vector<QRect> partsOf(const QRegion& region) {
  if (region.rectCount() <= kMostRectangles) return {region.begin(), region.end()};
  const QRect bounds = region.boundingRect();
  const int columns = (bounds.width() - 1) / kSquare + 1, rows = (bounds.height() - 1) / kSquare + 1;
  std::vector<char> touched(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows));
  const auto square = [&](int row, int column) -> char& {
    return touched[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
                   static_cast<std::size_t>(column)];
  };
  for (const QRect& rect : region) {
    const QRect r = rect.translated(-bounds.topLeft());
    for (int row = r.top() / kSquare; row <= r.bottom() / kSquare; ++row)
      for (int column = r.left() / kSquare; column <= r.right() / kSquare; ++column) square(row, column) = 1;
  }
  std::vector<QRect> parts;
  for (int row = 0; row < rows; ++row) {
    for (int column = 0, end = 0; column < columns; column = end + 1) {
      for (end = column; end < columns && square(row, end);) ++end;
      const QRect run(column * kSquare, row * kSquare, (end - column) * kSquare, kSquare);
      if (end > column) parts.push_back(run.translated(bounds.topLeft()) & bounds);
    }
  }
  return parts;
}

/// Clips to the device pixels that filling the rectangle fills. The toolkit's own clipping rounds the size instead
/// of the far edges, and where a client pixel is no whole number of device pixels that is another rectangle.
void clipToFilled(QPainter& painter, const QRect& rect) {
  const QTransform world = painter.worldTransform(), device = painter.deviceTransform();
  bool possible = false;
  const QTransform back = device.inverted(&possible);
  if (!possible) return painter.setClipRect(rect);
  const QRectF filled = device.mapRect(QRectF(rect));
  const QPoint first(qRound(filled.left()), qRound(filled.top()));
  const QPoint end(qRound(filled.right()), qRound(filled.bottom()));
  painter.setWorldTransform(back * world);
  painter.setClipRect(QRect(first, end - QPoint(1, 1)));
  painter.setWorldTransform(world);
}

}  // namespace

/// Those that are subscribed now, one by one: a reactor that another one's paint takes away is not called any more.
void CViewPort::paintReactors(QPainter& painter, CViewDC& dc, bool overlays) {
  const auto reactors = m_paintReactors->Enumerate();
  while (const auto reactor = reactors->Next()) {
    if (static_cast<bool>(reactor.as<IKxViewOverlay>()) != overlays) continue;
    painter.save();
    try {
      reactor->Paint(this, &dc, 0);
    } catch (...) {
      painter.restore();
      throw;
    }
    painter.restore();
  }
}

void CViewPort::paint(const QRegion& region) {
  if (!m_window) return;
  QPainter painter(m_window);
  const QColor background = colorOf(m_settings.background, *m_window, QPalette::Window);
  painter.setBackground(colorOf(m_settings.cursor, *m_window, QPalette::WindowText));
  painter.setBackgroundMode(Qt::OpaqueMode);
  const std::vector<QRect> parts = partsOf(region);
  const auto dc = KxPtr<CViewDC>::adopt(
      new CViewDC(&painter, m_tfm, KxRect{}, m_settings.halfTonePaint > 0 ? kHalfToneMode : 0));
  m_paintDC = dc.get();
  const auto finish = [&] {
    m_paintDC = nullptr;
    dc->end();
  };
  // All of it first: a paint that ends early leaves nothing of what was there before.
  for (const QRect& r : parts) painter.fillRect(r, background);
  try {
    for (const bool overlays : {false, true}) {
      for (const QRect& r : parts) {
        dc->setClip({r.left(), r.top(), r.left() + r.width(), r.top() + r.height()});
        clipToFilled(painter, r);
        paintReactors(painter, *dc, overlays);
      }
    }
  } catch (const CXException& e) {
    logLine(LogLevel::Info, "quillbay.view", std::string("a paint ended early: ") + e.what());
  } catch (...) {
    finish();
    throw;
  }
  painter.setClipRegion(region);
  if (!m_overlay.isNull()) painter.drawImage(0, 0, m_overlay);
  m_overlay = {};
  finish();
  const auto reactors = m_paintReactors->Enumerate();
  while (const auto reactor = reactors->Next()) reactor->Painted(this);
}

IKxViewDC* CViewPort::PrepareDrawing() {
  if (!m_window) return nullptr;
  if (m_paintDC) {
    m_paintDC->AddRef();
    return m_paintDC;
  }
  const auto show = [self = KxPtr<CViewPort>::share(this)](QImage image) {
    if (!self->m_window) return;
    if (self->m_overlay.size() == image.size()) {
      QPainter(&self->m_overlay).drawImage(0, 0, image);
    } else {
      self->m_overlay = std::move(image);
    }
    self->m_window->update();
  };
  return KxPtr<CViewDC>::adopt(new CViewDC(GetClientSize(), m_window->devicePixelRatioF(), m_tfm,
                                           m_settings.halfTonePaint > 0 ? kHalfToneMode : 0, show))
      .detach();
}

}  // namespace quillbay
