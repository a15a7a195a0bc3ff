#include "document/page_image.h"

#include <algorithm>
#include <cmath>

namespace desktop {

namespace {
constexpr int kLevelSliceMs = 8;
}

/// A picture as the target of a raster's drawing.
class ImageTarget final : public quillbay::CKxUnknownImplStatic<quillbay::IRasterDC> {
 public:
  ImageTarget(QImage& image, const QRect& clip)
      : m_bits(image.bits()), m_stride(image.bytesPerLine()), m_size{image.width(), image.height()} {
    const QRect inside = clip & image.rect();
    m_clip = {inside.left(), inside.top(), inside.left() + inside.width(), inside.top() + inside.height()};
  }
  quillbay::KxSize GetDeviceSize() override { return m_size; }
  quillbay::KxRect GetClip() override { return m_clip; }
  std::uint32_t* GetRow(std::int32_t y) override {
    return reinterpret_cast<std::uint32_t*>(m_bits + m_stride * static_cast<qsizetype>(y));
  }

 private:
  uchar* m_bits;
  qsizetype m_stride;
  quillbay::KxSize m_size;
  quillbay::KxRect m_clip;
};

/// Hands a cancel flag to a drawing.
class CancelProgress final : public quillbay::CKxUnknownImplStatic<quillbay::IProgress> {
 public:
  explicit CancelProgress(const CancelFlag& flag) : m_flag(flag) {}
  void SetText(const char*) override {}
  void Step() override {}
  int SetPosition(int position) override { return std::exchange(m_position, position); }
  void Reset() override { m_position = 0; }
  int IsCancelled() override { return m_flag->load(std::memory_order_relaxed) ? 1 : 0; }

 private:
  const CancelFlag m_flag;
  int m_position = 0;
};

bool drawRaster(quillbay::IRStor* raster, QImage& image, const QRect& clip, const quillbay::CRDirectTfm& tfm,
                const CancelFlag& cancel) {
  const auto drawing = quillbay::KxPtr<quillbay::IRStorDraw>::adopt(raster->GetDrawing());
  if (!drawing) return false;
  ImageTarget target(image, clip);
  CancelProgress progress(cancel);
  return drawing->Draw(&target, tfm, &progress) != 0;
}

PageImages::PageImages(QObject* parent) : QObject(parent), m_cancel(std::make_shared<std::atomic<bool>>(false)) {
  m_thread.setMaxThreadCount(1);
}

PageImages::~PageImages() {
  *m_cancel = true;
  m_thread.waitForDone();
}

void PageImages::requestOverview(int id, quillbay::KxPtr<quillbay::IRStor> raster, int longest) {
  m_thread.start([this, id, raster = std::move(raster), longest] { makeOverview(id, *raster, longest); });
}

void PageImages::makeOverview(int id, quillbay::IRStor& raster, int longest) {
  // In slices: the view makes levels of the same raster, and must not wait for long.
  const auto levels = quillbay::query<quillbay::IRStorLevels>(&raster);
  while (levels && !*m_cancel && !levels->MakeLevels(kLevelSliceMs)) {
  }
  const auto size = raster.GetSize();
  if (*m_cancel) return;
  QImage image;
  if (size.width > 0 && size.height > 0) {
    const double scale = std::min(1.0, double(longest) / std::max(size.width, size.height));
    image = QImage(std::max(1, int(std::ceil(size.width * scale))),
                   std::max(1, int(std::ceil(size.height * scale))), QImage::Format_RGB32);
  }
  if (!image.isNull()) {
    image.fill(Qt::white);
    const quillbay::CRDirectTfm tfm{double(image.width()) / size.width, double(image.height()) / size.height, 0, 0};
    if (!drawRaster(&raster, image, image.rect(), tfm, m_cancel)) image = {};
  }
  if (!*m_cancel) emit overviewReady(id, image);
}

void PageImages::letGo(quillbay::KxPtr<quillbay::IRStor> raster) {
  if (raster) m_thread.start([raster = std::move(raster)] {});
}

}  // namespace desktop
