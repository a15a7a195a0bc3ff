#pragma once
#include <cstddef>
#include <cstdint>

#include "quillbay/color_space.h"
#include "quillbay/geometry.h"
#include "quillbay/kx_unknown.h"

namespace quillbay {

class IRStor;

/// A stripe: consecutive raster lines of one width, one colour space and one resolution, top line first.
/// A line of `fixedLineBytes` bytes, or a run list for bitonal codes (see `RunEnd`). A stripe does not change once
/// it was handed on, so any thread may read it; who keeps it adds a reference.
class IScanBuffer : public IKxUnknown {
 public:
  /// Stores the width in pixels and the line count in `*out` and returns `out`.
  virtual KxSize* GetSize(KxSize* out) = 0;
  /// The bytes of line `i`, 0 <= i < line count; valid while the stripe is held.
  virtual const std::uint8_t* GetLine(std::int32_t i) = 0;
  virtual KxColorSpace GetColorSpace() = 0;
  /// 256 for codes 8 and 16, else 0.
  virtual int GetColorCount() = 0;
  /// 256 entries, valid while the stripe is held.
  virtual const KXRGBQUAD* GetPalette() = 0;
  /// Dots per inch.
  virtual std::uint32_t GetResolution() = 0;
  /// Writes all lines into `raster` from line `first` on, growing it. Returns 1; 0 when it cannot take lines.
  /// Throws CXMemException when the raster's memory or scratch space ran out.
  virtual int AddToRaster(std::int32_t first, IRStor* raster) = 0;
  /// Makes a raster of the stripe's size, colour space and resolution and fills it. Returns 1, or 0.
  virtual int CreateRaster(IRStor** out) = 0;
  /// Appends copies of another stripe's lines, where the stripe can grow. Returns 1, or 0.
  virtual int AppendBuffer(IScanBuffer* other) = 0;
};

/// What a stripe in one piece of memory offers as well: line i begins at `GetBytes() + i * GetStride()`.
/// Only for codes with lines of equal length.
class IContiguousLines : public IKxUnknown {
 public:
  virtual const std::uint8_t* GetBytes() = 0;
  /// Bytes from one line to the next, at least the line's bytes.
  virtual std::size_t GetStride() = 0;
};

/// What a bitonal stripe offers as well when it was delivered as packed pixels: line i begins at
/// `GetBits() + i * GetStride()`, bit 7 leftmost, 1 is black; what lies beyond the width counts for nothing. Its
/// run lists are made when `GetLine` first asks for one.
class IPackedLines : public IKxUnknown {
 public:
  virtual const std::uint8_t* GetBits() = 0;
  /// Bytes from one line to the next, at least (width + 7) / 8.
  virtual std::size_t GetStride() = 0;
};

/// Takes lines one by one.
class IRasterFiller : public IKxUnknown {
 public:
  /// Takes line `line`; the bytes are copied. Returns 1, or 0 when there is nothing to fill.
  virtual int AddLine(std::int32_t line, const std::uint8_t* bytes) = 0;
};

/// How a scanner unit reports a running scan: `ScanStarted` once, `StripeArrived` any number of times, `ScanEnded`
/// once, all on one thread, which may be a thread of the unit's own. `QueryContinue` may be asked at any time.
class IScanSink : public IKxUnknown {
 public:
  /// 1: the page is complete. 2: stopped or failed (the unit's `IUnitFault` tells why). Others are ignored.
  virtual int ScanEnded(int status) = 0;
  /// Non-zero: go on.
  virtual int QueryContinue() = 0;
  /// `width` in pixels and `lines` (-1 when unknown) are what the device said; `dpi` what it will deliver.
  virtual int ScanStarted(KxColorSpace colorSpace, std::int64_t width, std::int64_t lines, std::uint32_t dpi) = 0;
  /// The next stripe; `position` is its first line within the page. The answer is the receiver's: 0 asks the unit
  /// to end the scan. Blocks while the receiver's queue is full.
  virtual int StripeArrived(std::int64_t position, IScanBuffer* stripe, std::int64_t extra) = 0;
};

}  // namespace quillbay
