#include "rasters/ops/small_picture.h"

#include <cmath>
#include <vector>

#include "platform/base_services.h"
#include "quillbay/errors.h"
#include "quillbay/palette.h"

namespace quillbay {
namespace {

/// Rows of a picture in memory.
class PictureDC final : public CKxUnknownImplStatic<IRasterDC> {
 public:
  explicit PictureDC(KxSize size)
      : m_size(size),
        m_pixels(static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height), 0xFFFFFFFF) {}
  KxSize GetDeviceSize() override { return m_size; }
  KxRect GetClip() override { return {0, 0, m_size.width, m_size.height}; }
  std::uint32_t* GetRow(std::int32_t y) override {
    return m_pixels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(m_size.width);
  }

 private:
  const KxSize m_size;
  std::vector<std::uint32_t> m_pixels;
};

/// Asks whether to go on; the operation's positions are not for the drawing.
class CancelOnly final : public CKxUnknownImplStatic<IProgress> {
 public:
  explicit CancelOnly(IProgress* progress) : m_progress(progress) {}
  void SetText(const char*) override {}
  void Step() override {}
  int SetPosition(int) override { return 0; }
  void Reset() override {}
  int IsCancelled() override { return m_progress ? m_progress->IsCancelled() : 0; }

 private:
  IProgress* const m_progress;
};

}  // namespace

PixPtr madePix(PIX* pix) {
  if (!pix) throw CXMemException(Supp_Translate("There is not enough memory for a small picture of the page."));
  return PixPtr(pix);
}

SmallPicture drawSmall(IRStor& source, const KxRect& part, double scale, IProgress* progress) {
  // It prints its failures to standard error and returns them as well.
  static const bool quiet = setMsgSeverity(L_SEVERITY_NONE) >= 0;
  (void)quiet;
  const auto drawing = KxPtr<IRStorDraw>::adopt(source.GetDrawing());
  if (!drawing) throw CXIFaceException(Supp_Translate("The picture cannot be read: it cannot draw itself."));
  const auto pixels = [scale](std::int32_t length) {
    return std::max(1, static_cast<std::int32_t>(std::floor(length * scale)));
  };
  const KxSize size{pixels(part.right - part.left), pixels(part.bottom - part.top)};
  PictureDC target(size);
  CancelOnly cancel(progress);
  const CRDirectTfm tfm{scale, scale, -part.left * scale, -part.top * scale};
  if (!drawing->Draw(&target, tfm, &cancel)) return {};
  SmallPicture small{madePix(pixCreate(size.width, size.height, 8)), scale};
  for (std::int32_t y = 0; y < size.height; ++y) {
    const std::uint32_t* row = target.GetRow(y);
    l_uint32* out = pixGetData(small.grey.get()) + std::ptrdiff_t{y} * pixGetWpl(small.grey.get());
    for (std::int32_t x = 0; x < size.width; ++x) SET_DATA_BYTE(out, x, greyOf(row[x]));
  }
  return small;
}

}  // namespace quillbay
