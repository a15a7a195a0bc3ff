#pragma once
#include <cstdint>
#include <vector>

#include "channels/codec/module_support.h"
#include "channels/tiff/strip_encoders.h"

namespace quillbay {

/// The options of the TIFF format, ended by a null key.
extern const QbOptionInfo kTiffOptions[];

enum class TiffKind { Auto, Classic, Big };

/// What page and options make of a page.
struct TiffPlan {
  StripFormat format;
  TiffKind kind = TiffKind::Auto;
  std::int32_t stripLines = 1;
  std::int32_t tileSize = 0;  ///< 0: strips
  bool hasLevels = false;     ///< reduced ones, of a page in tiles

  [[nodiscard]] bool isTiled() const noexcept { return tileSize > 0; }
  /// Bytes of a page of so many lines, with its levels, before compression, and of its lists of strips or tiles; or
  /// the largest number.
  [[nodiscard]] std::int64_t bytesOf(std::int64_t lines) const noexcept;
};

/// Throws ModuleError for options that are wrong, and for what cannot be written with them.
[[nodiscard]] TiffPlan planTiff(const QbPage& page, const QbOptions* options);

/// Room for the tags of a page of so many levels, with so many strips or tiles altogether.
[[nodiscard]] std::int64_t tagBytes(std::size_t levels, std::uint64_t places) noexcept;

}  // namespace quillbay
