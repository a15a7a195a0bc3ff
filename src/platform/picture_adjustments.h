#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "quillbay/geometry.h"
#include "quillbay/param.h"

namespace quillbay {

/// Shows on a small picture what the units of the scanner library will do to a scan: the same code on the same
/// settings, so that the same pixels come out. One thread; used again and again, it keeps what the settings that
/// did not change cost to prepare (the classes of a palette).
class IPictureAdjustments {
 public:
  virtual ~IPictureAdjustments() = default;
  /// @param request  of a scan, as `IQuillbayUnit::Scan` takes it: its mode (0 to 7), "SCAN_GAMMA" (`putGammaTable`
  ///                 makes it of brightness, contrast, hue and balances), saturation, palette, levels and filters.
  ///                 Its resolution is the picture's.
  /// @param rgb      a picture that was scanned without adjustments: `size` pixels R, G, B, top row first, rows
  ///                 `stride` bytes apart; at least one pixel
  /// @param out      room for rows of the same stride; not the picture itself. Always R, G, B: grey has equal
  ///                 channels, a palette's pixels have their entry's colour, bitonal ones are black or white
  /// @returns an empty text, or why a unit would refuse the request; `out` is then unchanged.
  [[nodiscard]] virtual std::string Apply(IParam* request, const std::uint8_t* rgb, KxSize size, std::size_t stride,
                                          std::uint8_t* out) = 0;
};

[[nodiscard]] std::unique_ptr<IPictureAdjustments> newPictureAdjustments();

}  // namespace quillbay
