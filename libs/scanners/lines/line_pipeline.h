#pragma once
#include <cstdint>
#include <memory>

#include "quillbay/kx_unknown.h"
#include "quillbay/param.h"
#include "scanners/lines/color_settings.h"
#include "scanners/lines/palette_map.h"
#include "scanners/lines/stripe.h"

namespace quillbay {

/// What a device delivers, line by line, top line first.
enum class DeviceSamples : int {
  Bits,    ///< 1 bit per pixel, bit 7 leftmost, 1 is black
  Grey8,   ///< 1 byte per pixel, 0 is black
  Grey16,  ///< 2 bytes per pixel in the machine's order
  Rgb8,    ///< 3 bytes per pixel
  Rgb16,   ///< 6 bytes per pixel
};

/// Turns a device's lines into stripes of a scan mode's colour space, handing each full stripe to a sink. Where the
/// device's samples are the mode's (`isDirect`), the device may fill the stripe in place (`lineRoom`, `linesDone`).
/// Used by one thread. Modes: 0-4 bitonal (`BwStage`; a device's own bits stay as they are), 5 grey, 6 palette,
/// 7 colour. A line passes in this order: tone curves, saturation, grey made of colour where the mode is grey,
/// blur, soften or sharpen, then threshold or palette.
class LinePipeline {
 public:
  struct Setup {
    int mode = 5;
    DeviceSamples samples = DeviceSamples::Grey8;
    std::int32_t width = 0;  ///< pixels
    std::uint32_t dpi = 0;
    int threshold = 128;                    ///< level of the modes 0-4: grey below it is black
    const KXRGBQUAD* curves = nullptr;      ///< 256 entries, or null: applied to grey and colour samples first
    std::int32_t stripeLines = 0;           ///< 0: about 1 MiB
    BwSettings bw{};                        ///< of modes 0-4; `threshold` is its level
    ColorSettings color{};                  ///< of modes 5-7
    std::shared_ptr<PaletteMap> palette{};  ///< of mode 6; null: `linearPalette` of 256
  };
  /// `sink` outlives the pipeline. Throws CXDeviceException for a mode that cannot be made from these samples.
  LinePipeline(const Setup& setup, IScanSink* sink);
  ~LinePipeline();
  LinePipeline(const LinePipeline&) = delete;
  LinePipeline& operator=(const LinePipeline&) = delete;

  /// The colour space of the stripes.
  [[nodiscard]] KxColorSpace colorSpace() const noexcept;
  /// Whether a device line is a stripe line without conversion.
  [[nodiscard]] bool isDirect() const noexcept;
  /// Direct only: room for up to `*lines` consecutive lines in the current stripe.
  [[nodiscard]] std::uint8_t* lineRoom(std::int32_t* lines);
  /// Direct only: `lines` of that room were filled. Returns 0 when the sink wants the scan to end.
  int linesDone(std::int32_t lines);
  /// Takes `lines` device lines, `stride` bytes apart; some modes hold lines back until those below are known.
  /// Returns 0 when the sink wants the scan to end.
  int push(const std::uint8_t* bytes, std::size_t stride, std::int32_t lines);
  /// Hands on what is left of the page, which ends here, wherever its last line was. Returns what `push` returns.
  int flush();
  /// Lines handed to the sink so far.
  [[nodiscard]] std::int64_t linesOut() const noexcept;

 private:
  struct Impl;
  std::unique_ptr<Impl> m_impl;
};

}  // namespace quillbay
