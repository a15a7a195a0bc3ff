#include "tools/page_tools.h"

#include <QLocale>
#include <QPolygonF>
#include <QScopeGuard>
#include <QTransform>
#include <algorithm>
#include <cmath>

#include "document/page_image.h"
#include "quillbay/formats.h"
#include "window/guarded.h"
#include "window/side_work.h"

namespace desktop {

using quillbay::CRFrame;
using quillbay::CRPoint;
using quillbay::KxPtr;
using quillbay::KXRGBQUAD;
using quillbay::RasterShape;

namespace {

constexpr KXRGBQUAD kPaperWhite{255, 255, 255, 0};

/// A frame in the view, also one along the axes.
std::optional<CRFrame> frameOf(const ViewShape& shape) {
  if (const auto* frame = std::get_if<CRFrame>(&shape)) return *frame;
  if (const auto* rect = std::get_if<quillbay::CRRect>(&shape))
    return CRFrame{{rect->left, rect->top}, rect->width(), rect->height(), 0};
  return std::nullopt;
}

/// A frame on a page; `shape` is one, too.
CRFrame pageFrame(const ViewShape& shape, const ToolPage& page, double dpi) {
  const auto frame = frameOf(shape);
  return std::get<CRFrame>(toPagePixels(ViewShape(frame.value_or(CRFrame{})), page.topLeft, dpi));
}

/// What bounds a shape on a page, in pixels.
QRectF shapeBounds(const RasterShape& shape) {
  if (const auto* rect = std::get_if<quillbay::CRRect>(&shape))
    return {rect->left, rect->top, rect->width(), rect->height()};
  if (const auto* circle = std::get_if<quillbay::CRCircle>(&shape)) {
    const double r = circle->radius;
    return {circle->center.x - r, circle->center.y - r, 2 * r, 2 * r};
  }
  QPolygonF corners;
  if (const auto* frame = std::get_if<CRFrame>(&shape)) {
    const QTransform place =
        QTransform::fromTranslate(frame->origin.x, frame->origin.y).rotateRadians(frame->angle);
    corners = place.map(QPolygonF(QRectF(0, 0, frame->width, frame->height)));
  } else {
    for (const CRPoint& p : std::get<quillbay::CRPolygon>(shape).points) corners << QPointF(p.x, p.y);
  }
  return corners.boundingRect();
}

/// The whole of a raster, not larger than `most` pixels. Null when it was cancelled.
QImage framePicture(quillbay::IRStor& raster, qint64 most, SideProgress& progress) {
  const quillbay::KxSize size = raster.GetSize();
  const double pixels = static_cast<double>(size.width) * size.height;
  const double scale = std::min(1.0, std::sqrt(static_cast<double>(most) / std::max(1.0, pixels)));
  const auto scaled = [scale](std::int32_t side) {
    return std::max(1, static_cast<int>(std::floor(side * scale)));
  };
  QImage image(scaled(size.width), scaled(size.height), QImage::Format_RGB32);
  if (image.isNull()) throw std::bad_alloc();
  image.fill(Qt::white);
  const quillbay::CRDirectTfm tfm{double(image.width()) / size.width, double(image.height()) / size.height, 0, 0};
  const auto goesOn = std::make_shared<std::atomic<bool>>(false);
  constexpr int kRowsAtOnce = 64;
  for (int top = 0; top < image.height(); top += kRowsAtOnce) {
    if (progress.IsCancelled()) return {};
    if (!drawRaster(&raster, image, QRect(0, top, image.width(), kRowsAtOnce), tfm, goesOn))
      throw quillbay::CXIFaceException(PageTools::tr("The frame cannot be drawn.").toStdString());
    progress.SetPosition(static_cast<int>(qint64{top} * quillbay::kEditSteps / image.height()));
  }
  const double dotsPerMetre = raster.GetResolution() / quillbay::kMmPerInch * 1000;
  image.setDotsPerMeterX(static_cast<int>(std::lround(dotsPerMetre * image.width() / size.width)));
  image.setDotsPerMeterY(static_cast<int>(std::lround(dotsPerMetre * image.height() / size.height)));
  return image;
}

}  // namespace

CRPoint toPagePixels(const CRPoint& at, const CRPoint& topLeft, double dpi) {
  return {quillbay::mmToPixels(at.x - topLeft.x, dpi), quillbay::mmToPixels(topLeft.y - at.y, dpi)};
}

RasterShape toPagePixels(const ViewShape& shape, const CRPoint& topLeft, double dpi) {
  const auto point = [&](const CRPoint& at) { return toPagePixels(at, topLeft, dpi); };
  const auto length = [dpi](double mm) { return quillbay::mmToPixels(mm, dpi); };
  if (const auto* circle = std::get_if<quillbay::CRCircle>(&shape))
    return quillbay::CRCircle{point(circle->center), length(circle->radius)};
  if (const auto* rect = std::get_if<quillbay::CRRect>(&shape)) {
    const CRPoint low = point({rect->left, rect->bottom}), high = point({rect->right, rect->top});
    return quillbay::CRRect{low.x, low.y, high.x, high.y};
  }
  if (const auto* frame = std::get_if<CRFrame>(&shape)) {
    const CRPoint upper{frame->origin.x - frame->height * std::sin(frame->angle),
                        frame->origin.y + frame->height * std::cos(frame->angle)};
    return CRFrame{point(upper), length(frame->width), length(frame->height), -frame->angle};
  }
  quillbay::CRPolygon polygon = std::get<quillbay::CRPolygon>(shape);
  std::transform(polygon.points.begin(), polygon.points.end(), polygon.points.begin(), point);
  return polygon;
}

PageTools::PageTools(quillbay::IApp* app, Document* document, QWidget* window)
    : QObject(window), m_app(app), m_document(document), m_window(window) {}

void PageTools::say(const QString& text) const {
  if (tell) tell(text);
}

void PageTools::cancel() {
  if (m_progress) m_progress->cancel();
}

/// A copy of the page as it is now: it may be closed while a tool works. Nothing with the reason told.
std::optional<Page> PageTools::pageFor(int id) const {
  const QString why = m_running ? tr("Another tool is still at work.") : refusal ? refusal() : QString();
  const Page* page = m_document->page(id);
  if (!why.isEmpty()) {
    say(why);
  } else if (!page) {
    say(tr("The page is not open any more."));
  }
  return why.isEmpty() && page ? std::optional(*page) : std::nullopt;
}

/// Runs a tool's work beside the window. False when it was cancelled or failed, which is told.
bool PageTools::run(const QString& name, const QString& doing, const std::function<void(SideProgress&)>& work) {
  SideProgress progress;
  progress.begin(doing, quillbay::kEditSteps);
  m_progress = &progress;
  m_running = true;
  emit runningChanged();
  const auto over = qScopeGuard([this] {
    m_progress = nullptr;
    m_running = false;
    emit runningChanged();
  });
  QString why;
  const bool done = guarded(name, &why, [&] {
    workBeside(m_window, progress, [&] { work(progress); });
    return true;
  });
  if (!done) say(why);
  return done && !progress.IsCancelled();
}

bool PageTools::change(const Page& page, const QString& text, const QString& doing, const Make& make) {
  KxPtr<quillbay::IRStor> made;
  if (!run(page.name, doing, [&](SideProgress& progress) { made = make(page.raster.get(), progress); }) || !made)
    return false;
  const Page* now = m_document->page(page.id);
  if (!now || now->version != page.version) {
    say(tr("%1: the page was changed or closed meanwhile. It stays as it is now.").arg(page.name));
    return false;
  }
  m_document->beginStep(text);
  const bool replaced = m_document->replace(page.id, std::move(made));
  m_document->endStep();
  return replaced;
}

bool PageTools::erase(const ToolPage& target, const ViewShape& shape, quillbay::ShapePart part, Ground ground) {
  const auto page = pageFor(target.id);
  if (!page) return false;
  const RasterShape pixels = toPagePixels(shape, target.topLeft, page->dpi());
  const quillbay::KxSize size = page->raster->GetSize();
  // Of a shape beside the page the outside would be everything.
  if (!shapeBounds(pixels).intersects(QRectF(0, 0, size.width, size.height))) {
    say(tr("%1: the shape lies beside the page. Draw it over the page.").arg(page->name));
    return false;
  }
  const QString text = part == quillbay::ShapePart::Inside ? tr("Erase inside") : tr("Erase outside");
  return change(*page, text, tr("Erasing..."), [&](quillbay::IRStor* source, SideProgress& progress) {
    KXRGBQUAD color = kPaperWhite;
    if (ground == Ground::Around && !quillbay::ColorAround(source, pixels, part, &progress, &color))
      return KxPtr<quillbay::IRStor>{};
    return quillbay::FillShape(source, pixels, part, color, &progress);
  });
}

bool PageTools::crop(const ToolPage& target, const ViewShape& shape) {
  const auto page = pageFor(target.id);
  if (!page) return false;
  const CRFrame frame = pageFrame(shape, target, page->dpi());
  return change(*page, tr("Crop to frame"), tr("Cropping..."),
                [&](quillbay::IRStor* source, SideProgress& progress) {
                  return quillbay::CropToFrame(source, frame, &progress);
                });
}

bool PageTools::straighten(const ToolPage& target, const quillbay::CRLine& edge) {
  const auto page = pageFor(target.id);
  if (!page) return false;
  const double dpi = page->dpi();
  const double turn = quillbay::TurnToAxis(
      {toPagePixels(edge.from, target.topLeft, dpi), toPagePixels(edge.to, target.topLeft, dpi)});
  const quillbay::KxSize size = page->raster->GetSize();
  // Turning costs sharpness: what moves no pixel is not worth it.
  constexpr double kLeastPixels = 0.5;
  if (std::abs(turn) * std::max(size.width, size.height) < kLeastPixels) {
    say(tr("%1: the line is level or upright. The page stays as it is.").arg(page->name));
    return false;
  }
  return change(*page, tr("Straighten by a line"), tr("Straightening..."),
                [turn](quillbay::IRStor* source, SideProgress& progress) {
                  return quillbay::TurnRaster(source, turn, &progress);
                });
}

QImage PageTools::copyFrame(const ToolPage& target, const ViewShape& shape) {
  const auto page = pageFor(target.id);
  if (!page) return {};
  const CRFrame frame = pageFrame(shape, target, page->dpi());
  QImage image;
  KxPtr<quillbay::IRStor> part;
  const auto cut = [&](SideProgress& progress) {
    part = quillbay::CropToFrame(page->raster.get(), frame, &progress);
  };
  if (!run(page->name, tr("Copying..."), cut) || !part) return {};
  const qint64 pixels = static_cast<qint64>(part->GetWidth()) * part->GetHeight();
  if (pixels > kMostCopied && !agreesToShrink(pixels)) return {};
  const auto draw = [&](SideProgress& progress) { image = framePicture(*part, kMostCopied, progress); };
  return run(page->name, tr("Copying..."), draw) ? image : QImage();
}

bool PageTools::agreesToShrink(qint64 pixels) const {
  const auto millions = [](qint64 count) { return QLocale().toString(count / 1'000'000); };
  const QString question = tr("The frame has %1 million pixels; the clipboard takes %2 million. A smaller picture "
                              "can be copied, or save "
                              "the frame as a file to keep every pixel.\n\nCopy a smaller picture?")
                               .arg(millions(pixels), millions(kMostCopied));
  return agree && agree(question, tr("Copy smaller"));
}

bool PageTools::saveFrame(const ToolPage& target, const ViewShape& shape, const QString& file, bool mayReplace) {
  const auto page = pageFor(target.id);
  if (!page) return false;
  const CRFrame frame = pageFrame(shape, target, page->dpi());
  bool saved = false;
  const auto save = [&](SideProgress& progress) {
    const auto part = quillbay::CropToFrame(page->raster.get(), frame, &progress);
    if (!part) return;
    progress.begin(tr("Saving..."), part->GetHeight());
    saved = quillbay::SaveRasterFile(m_app, {part}, file.toStdString(), mayReplace, &progress) != 0;
  };
  run(page->name, tr("Cutting out..."), save);
  // A file of the document may have been replaced.
  if (saved) m_document->NoteOverwritten(file.toStdString());
  return saved;
}

}  // namespace desktop
