#include "platform/picture_adjustments.h"

#include <algorithm>
#include <cstring>

#include "quillbay/errors.h"
#include "quillbay/run_list.h"
#include "scanners/lines/line_convert.h"
#include "scanners/lines/line_pipeline.h"
#include "scanners/scan_request.h"

namespace quillbay {

namespace {

// Writes stripes into a picture of colours.
class PictureSink final : public CKxUnknownImplStatic<IScanSink> {
 public:
  PictureSink(std::uint8_t* out, std::size_t stride) : m_out(out), m_stride(stride) {}

  int ScanStarted(KxColorSpace, std::int64_t, std::int64_t, std::uint32_t) override { return 1; }
  int StripeArrived(std::int64_t first, IScanBuffer* stripe, std::int64_t) override {
    KxSize size;
    stripe->GetSize(&size);
    for (std::int32_t i = 0; i < size.height; ++i)
      write(*stripe, stripe->GetLine(i), static_cast<std::size_t>(size.width),
            m_out + static_cast<std::size_t>(first + i) * m_stride);
    return 1;
  }
  int ScanEnded(int) override { return 1; }
  int QueryContinue() override { return 1; }

 private:
  static void write(IScanBuffer& stripe, const std::uint8_t* line, std::size_t width, std::uint8_t* out) {
    switch (stripe.GetColorSpace()) {
      case KxColorSpace::Rgb: std::memcpy(out, line, 3 * width); return;
      case KxColorSpace::Grey: greyToRgb(line, width, out); return;
      case KxColorSpace::Palette: {
        const KXRGBQUAD* palette = stripe.GetPalette();
        for (std::size_t x = 0; x < width; ++x, out += 3) {
          const KXRGBQUAD entry = palette[line[x]];
          out[0] = entry.red;
          out[1] = entry.green;
          out[2] = entry.blue;
        }
        return;
      }
      default: break;
    }
    std::memset(out, 255, 3 * width);
    const auto* runs = reinterpret_cast<const std::uint32_t*>(line);
    for (; *runs != RunEnd; runs += 2) std::memset(out + 3 * runs[0], 0, 3 * (runs[1] - runs[0] + 1));
  }

  std::uint8_t* m_out;
  std::size_t m_stride;
};

class PictureAdjustments final : public IPictureAdjustments {
 public:
  std::string Apply(IParam* request, const std::uint8_t* rgb, KxSize size, std::size_t stride,
                    std::uint8_t* out) override {
    ScanRequest wanted;
    if (std::string why = readScanRequest(request, &wanted); !why.empty()) return why;
    try {
      PictureSink sink(out, stride);
      LinePipeline pipeline(setupOf(wanted, size.width), &sink);
      pipeline.push(rgb, stride, size.height);
      pipeline.flush();
    } catch (const CXException& e) {
      return e.what();
    }
    return {};
  }

 private:
  LinePipeline::Setup setupOf(const ScanRequest& request, std::int32_t width) {
    LinePipeline::Setup setup;
    setup.mode = request.mode;
    setup.samples = DeviceSamples::Rgb8;
    setup.width = width;
    setup.dpi = static_cast<std::uint32_t>(std::max(request.dpi, 0));
    setup.threshold = request.bw.level;
    setup.curves = request.curves.empty() ? nullptr : request.curves.data();
    setup.bw = request.bw;
    setup.color = request.color;
    const bool isSame = m_palette && request.palette == m_last.palette && request.classes == m_last.classes &&
                        request.paletteCount == m_last.paletteCount;
    if (request.mode == kModePalette && !isSame) {
      m_palette = paletteOf(request);
      m_last = request;
    }
    setup.palette = m_palette;
    return setup;
  }

  ScanRequest m_last;                     // of `m_palette`
  std::shared_ptr<PaletteMap> m_palette;  // of the last picture with one
};

}  // namespace

std::unique_ptr<IPictureAdjustments> newPictureAdjustments() { return std::make_unique<PictureAdjustments>(); }

}  // namespace quillbay
