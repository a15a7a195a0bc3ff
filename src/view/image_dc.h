#pragma once
#include "quillbay/raster.h"

namespace quillbay {

/// Rows of pixels in memory that somebody else holds, as what rasters are drawn on.
class CImageDC final : public CKxUnknownImpl<IRasterDC, IRasterDCMode> {
 public:
  CImageDC(std::uint32_t* pixels, const KxSize& size, const KxRect& clip, int mode)
      : m_pixels(pixels), m_size(size), m_clip(clip), m_mode(mode) {}
  KxSize GetDeviceSize() override { return m_size; }
  KxRect GetClip() override { return m_clip; }
  std::uint32_t* GetRow(std::int32_t y) override { return m_pixels + std::int64_t{y} * m_size.width; }
  int GetStretchMode() override { return m_mode; }

 private:
  std::uint32_t* m_pixels;
  KxSize m_size;
  KxRect m_clip;
  int m_mode;
};

}  // namespace quillbay
