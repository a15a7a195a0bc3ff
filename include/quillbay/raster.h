#pragma once
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "quillbay/color_space.h"
#include "quillbay/export.h"
#include "quillbay/geometry.h"
#include "quillbay/kx_unknown.h"
#include "quillbay/scan_buffer.h"

namespace quillbay {

/// Access to the lines of a raster, by its colour space. Lines are what `IScanBuffer` says.
class IAccessContext : public IKxUnknown {
 public:
  /// Copies `count` pixels of `line` from pixel `x` on into `buffer`. A run list is copied whole, with its `RunEnd`
  /// (`x` and `count` are not used; `IARSContext::GetLineSize` tells the room). Returns 1, or 0 outside the raster.
  virtual int ReadLine(std::int32_t line, std::int32_t x, std::int32_t count, void* buffer) = 0;
  /// Writes `count` pixels of `line` from pixel `x` on; a run list replaces the whole line. Returns 1, or 0 for a
  /// raster that cannot be written or a place outside it. Throws CXMemException when space ran out.
  virtual int WriteLine(std::int32_t line, std::int32_t x, std::int32_t count, const void* buffer) = 0;
  /// Entries of the palette; 0 where there is none.
  virtual int GetColorCount() = 0;
  /// Copies the palette's entries to `out`. Returns their count.
  virtual int GetPalette(KXRGBQUAD* out) = 0;
};

/// Lines of codes 32, 64, 256 and 512.
class IRGBContext : public IAccessContext {};

/// Lines of codes 4, 8 and 16, and the palette.
class IPalContext : public IAccessContext {
 public:
  /// Sets `count` entries (at most 256) of the palette. Returns 1, or 0.
  virtual int SetPalette(const KXRGBQUAD* entries, int count) = 0;
};

/// Run lists of codes 1 and 2.
class IARSContext : public IAccessContext {
 public:
  /// Bytes of a line's list: (runs + 1) * 8.
  virtual std::size_t GetLineSize(std::int32_t line) = 0;
  /// The list itself, without a copy; valid as the raster says (a stored raster: until it is written).
  virtual const std::uint32_t* GetLinePointer(std::int32_t line) = 0;
};

/// Background and foreground of a raster, as 0xBBGGRR.
class IRStorColors : public IKxUnknown {
 public:
  virtual int SetBackground(std::uint32_t color) = 0;
  virtual std::uint32_t GetBackground() = 0;
  virtual int SetBlankColor(std::uint32_t color) = 0;
  virtual std::uint32_t GetBlankColor() = 0;
};

/// A raster that grows by lines.
class IRStorAddStripe : public IKxUnknown {
 public:
  /// Adds `count` blank lines (white) after the first `after` lines, in `plane` 0. Returns 1, or 0.
  /// Throws CXMemException when memory or scratch space ran out.
  virtual int AddLines(int plane, std::int32_t after, std::int32_t count) = 0;
};

/// A transform from raster pixels to device pixels: device = scale * pixel + offset, on each axis.
struct CRDirectTfm {
  double scaleX = 1, scaleY = 1, offsetX = 0, offsetY = 0;
  [[nodiscard]] tagRRECT map(const tagRRECT& r) const noexcept {
    return {r.left * scaleX + offsetX, r.top * scaleY + offsetY, r.right * scaleX + offsetX,
            r.bottom * scaleY + offsetY};
  }
  bool operator==(const CRDirectTfm&) const = default;
};

/// Where rasters are drawn: rows of 32-bit pixels 0xffRRGGBB, top row first.
class IRasterDC : public IKxUnknown {
 public:
  virtual KxSize GetDeviceSize() = 0;
  /// The part that is wanted, in device pixels.
  virtual KxRect GetClip() = 0;
  virtual std::uint32_t* GetRow(std::int32_t y) = 0;
};

/// Receives the progress of a long step, and may cancel it.
class IProgress : public IKxUnknown {
 public:
  virtual void SetText(const char* text) = 0;
  /// Advances by one step.
  virtual void Step() = 0;
  /// Sets the position (a running number; 0 is the start); returns the one before.
  virtual int SetPosition(int position) = 0;
  virtual void Reset() = 0;
  /// Non-zero: the user cancelled.
  virtual int IsCancelled() = 0;
};

/// Draws a raster scaled: bitonal ones keep their dark lines when shrunk, all others average areas.
class IRStorDraw : public IKxUnknown {
 public:
  /// Draws what `tfm` maps into the target's clip. Returns 1; 0 when cancelled.
  virtual int Draw(IRasterDC* target, const CRDirectTfm& tfm, IProgress* progress) = 0;
};

/// Reduced levels of a raster, which shrunk pictures are drawn from. A raster keeps none until it is asked to by
/// `MakeLevels`; from then on they grow with the stripes that are added to it.
class IRStorLevels : public IKxUnknown {
 public:
  /// Works on the lines that lack their levels, for about `milliseconds` (a negative number: to the end). While
  /// lines lack them, drawing shows single source pixels there in place of averages. Returns 1 when all lines have
  /// their levels, or can have none since space ran out; 0 when there is more to do. Any thread.
  virtual int MakeLevels(int milliseconds) = 0;
  /// Lines that the levels have taken in. Any thread.
  virtual std::int32_t GetLevelLines() = 0;
  /// Bytes that the levels take, in memory and scratch together. Any thread.
  virtual std::int64_t GetLevelBytes() = 0;
};

/// Queried from an `IRasterDC`: how rasters are to be shrunk there.
class IRasterDCMode : public IKxUnknown {
 public:
  /// 8: half-tone (what `IRStorDraw` does without this interface); 0: single source pixels, the fastest.
  virtual int GetStretchMode() = 0;
};

/// A raster storage: lines of one width, colour space and resolution.
/// Threads: one writer; readers of finished lines may run beside it unless an implementation says otherwise.
class IRStor : public IKxUnknown {
 public:
  virtual int IsValid() = 0;
  virtual KxColorSpace GetColorSpace() = 0;
  virtual KxSize GetSize() = 0;
  virtual std::int32_t GetWidth() = 0;
  /// Lines so far; grows while a scan is stored.
  virtual std::int32_t GetHeight() = 0;
  /// Dots per inch.
  virtual std::uint32_t GetResolution() = 0;
  /// Writes back what is held in caches, if anything.
  virtual void Flush() = 0;
  virtual int IsTiled() = 0;
  virtual int HasAlpha() = 0;
  virtual int IsModified() = 0;
  virtual int IsReadOnly() = 0;
  /// Number of reduced levels; 0 where there are none.
  virtual int GetLevelCount() = 0;
  virtual int GetPlaneCount() = 0;
  virtual int GetFrameCount() = 0;
  /// The reader and writer of lines that fits the colour space, with a reference; null when there is none.
  /// `mode` 0 reads, 1 writes as well; `type` is 0.
  virtual IAccessContext* GetAccessContext(int mode, int type) = 0;
  /// The raster's drawing interface with a reference, or null.
  virtual IRStorDraw* GetDrawing() = 0;
  virtual std::int32_t GetOriginX() = 0;
  virtual std::int32_t GetOriginY() = 0;
  /// Bytes that the lines occupy, in memory and scratch together; 0 when unknown.
  virtual std::int64_t GetByteCount() = 0;
  /// Counts the changes; 0 when they are not counted.
  virtual int GetGeneration() = 0;
};

/// A raster read as the stripes that it was made of, without copying: what a facade over a running scan offers.
class IStripeReader : public IKxUnknown {
 public:
  /// The next stripe with a reference, and how many of its lines count. Blocks until there is one.
  /// Returns 1, or 0 at the page's end (or when the page was abandoned: `WasAbandoned`).
  virtual int NextStripe(IScanBuffer** out, std::int32_t* lines) = 0;
  /// Non-zero when the page ended because it was abandoned: nothing of it may be published.
  virtual int WasAbandoned() = 0;
};

/// A new raster: run-length storage for codes 1 and 2, strip storage for the others. `height` may be 0 and grow.
/// Lines beyond the process's raster budget live in a scratch file. Throws CXMemException when that cannot be made,
/// CXIFaceException for sizes below 0 or an unknown colour space.
QUILLBAY_API KxPtr<IRStor> new_IRStor(KxColorSpace colorSpace, std::int32_t width, std::int32_t height,
                                      std::uint32_t dpi);

/// `IScanBuffer::CreateRaster` and `AddToRaster` for any stripe.
QUILLBAY_API int ScanBuffer_CreateRaster(IScanBuffer* buffer, IRStor** out);
QUILLBAY_API int ScanBuffer_AddToRaster(IScanBuffer* buffer, std::int32_t first, IRStor* raster);

/// Memory that all rasters of the process may hold before their lines go to scratch files.
struct RasterBudget {
  /// 0: a quarter of the machine's memory.
  std::int64_t bytes = 0;
  /// Folder of the scratch files; empty: /var/tmp. A folder that lives in memory is refused unless allowed.
  std::string_view scratchFolder;
  bool allowMemoryBacked = false;
};
/// Applies to rasters made afterwards. Throws CXFileException when the folder is missing, not writable or refused.
QUILLBAY_API void SetRasterBudget(const RasterBudget& budget);

}  // namespace quillbay
