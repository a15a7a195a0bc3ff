/// Rasters that a host has, handed to a print job in bands.
#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <vector>

#include "platform/base_services.h"
#include "quillbay/print_host.h"

namespace quillbay {

namespace {

constexpr std::size_t kBandBytes = 1 << 20;

/// Consecutive lines of a raster. Run lists are the raster's own, others are read into one piece of memory.
class RasterBand final : public CKxUnknownImpl<IScanBuffer> {
 public:
  RasterBand(IRStor* raster, std::int32_t lines)
      : m_raster(KxPtr<IRStor>::share(raster)),
        m_context(KxPtr<IAccessContext>::adopt(raster->GetAccessContext(0, 0))),
        m_runs(m_context.as<IARSContext>()),
        m_size{raster->GetWidth(), 0},
        m_stride(isRunList(raster->GetColorSpace()) ? 0
                                                    : fixedLineBytes(raster->GetColorSpace(), raster->GetWidth())) {
    if (!m_context) throw CXIFaceException(Supp_Translate("The page cannot be read; it was not printed."));
    m_bytes.resize(m_stride * static_cast<std::size_t>(lines));
    m_colors = paletteSize(raster->GetColorSpace());
    if (m_colors > 0 && m_context->GetColorCount() <= m_colors) m_context->GetPalette(m_palette.data());
  }

  void read(std::int32_t first, std::int32_t lines) {
    m_first = first;
    m_size.height = lines;
    if (m_runs) return;
    for (std::int32_t i = 0; i < lines; ++i) {
      if (!m_context->ReadLine(first + i, 0, m_size.width, m_bytes.data() + m_stride * static_cast<std::size_t>(i)))
        throw CXIFaceException(Supp_Translate("The page cannot be read; it was not printed."));
    }
  }

  KxSize* GetSize(KxSize* out) override {
    *out = m_size;
    return out;
  }
  const std::uint8_t* GetLine(std::int32_t i) override {
    if (m_runs) return reinterpret_cast<const std::uint8_t*>(m_runs->GetLinePointer(m_first + i));
    return m_bytes.data() + m_stride * static_cast<std::size_t>(i);
  }
  KxColorSpace GetColorSpace() override { return m_raster->GetColorSpace(); }
  int GetColorCount() override { return m_colors; }
  const KXRGBQUAD* GetPalette() override { return m_palette.data(); }
  std::uint32_t GetResolution() override { return m_raster->GetResolution(); }
  int AddToRaster(std::int32_t first, IRStor* raster) override {
    return ScanBuffer_AddToRaster(this, first, raster);
  }
  int CreateRaster(IRStor** out) override { return ScanBuffer_CreateRaster(this, out); }
  int AppendBuffer(IScanBuffer*) override { return 0; }

 private:
  ~RasterBand() override = default;

  const KxPtr<IRStor> m_raster;
  const KxPtr<IAccessContext> m_context;
  const KxPtr<IARSContext> m_runs;  // null for lines of equal length
  KxSize m_size;
  const std::size_t m_stride;
  std::int32_t m_first = 0;
  int m_colors = 0;
  std::array<KXRGBQUAD, 256> m_palette{};
  std::vector<std::uint8_t> m_bytes;
};

/// Puts the printed lines on a progress, which may cancel.
class ShownLines final : public IPrintProgress {
 public:
  explicit ShownLines(IProgress* progress) : m_progress(progress) {}
  int Printed(std::int64_t lines) override {
    if (!m_progress) return 1;
    m_progress->SetPosition(static_cast<int>(std::min<std::int64_t>(lines, INT32_MAX)));
    return m_progress->IsCancelled() ? 0 : 1;
  }

 private:
  IProgress* m_progress;
};

}  // namespace

void DescribePage(IRStor* raster, IParam* options) {
  options->SetValue(print_key::PageLines, raster->GetHeight());
  options->SetValue(print_key::PageWidth, raster->GetWidth());
  options->SetValue(print_key::PageDpi, static_cast<std::int32_t>(raster->GetResolution()));
}

int PrintRaster(IPrintingJob* job, IRStor* raster, IProgress* progress) {
  const std::size_t line = std::max<std::size_t>(fixedLineBytes(raster->GetColorSpace(), raster->GetWidth()), 1);
  const auto lines = static_cast<std::int32_t>(std::clamp<std::size_t>(kBandBytes / line, 16, 4096));
  ShownLines shown(progress);
  for (std::int32_t first = 0; first < raster->GetHeight(); first += lines) {
    // A stripe does not change once it was handed on: each is one of its own.
    const auto band = KxPtr<RasterBand>::adopt(new RasterBand(raster, lines));
    band->read(first, std::min(lines, raster->GetHeight() - first));
    if (!job->PrintStripe(first, band.get(), &shown)) return 0;
    if (progress && progress->IsCancelled()) return 0;
  }
  return 1;
}

}  // namespace quillbay
