#pragma once
#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>
#include <mutex>

#include "quillbay/raster.h"
#include "rasters/draw_axis.h"
#include "rasters/draw_tones.h"
#include "rasters/raster_levels.h"
#include "rasters/raster_space.h"
#include "rasters/row_source.h"

namespace quillbay {

/// What both storages share: size, palette, colours, growth and the frame of drawing.
///
/// Threads: one writer (AddLines, WriteLine, appendStripe); any number of readers beside it (ReadLine,
/// GetLinePointer, Draw, sizes), which may read every line below the height that they were told. The height is
/// published after the lines' bytes, and no line ever moves. Only writing a line again, or adding lines in the
/// middle, needs the readers of those lines to keep away.
class RasterBase : public CKxUnknownImpl<IRStor, IRStorAddStripe, IRStorColors, IRStorDraw, IRStorLevels> {
 public:
  int QueryInterface(const std::type_info& wanted, void** out) override;

  int IsValid() override { return 1; }
  KxColorSpace GetColorSpace() override { return m_colorSpace; }
  KxSize GetSize() override { return {m_width, GetHeight()}; }
  std::int32_t GetWidth() override { return m_width; }
  std::int32_t GetHeight() override { return m_height.load(std::memory_order_acquire); }
  std::uint32_t GetResolution() override { return m_dpi; }
  void Flush() override {}
  int IsTiled() override { return 0; }
  int HasAlpha() override { return 0; }
  int IsModified() override { return GetGeneration() != 0; }
  int IsReadOnly() override { return 0; }
  int GetLevelCount() override;
  int GetPlaneCount() override { return 1; }
  int GetFrameCount() override { return 1; }
  IAccessContext* GetAccessContext(int mode, int type) override;
  IRStorDraw* GetDrawing() override;
  std::int32_t GetOriginX() override { return 0; }
  std::int32_t GetOriginY() override { return 0; }
  int GetGeneration() override { return m_generation.load(std::memory_order_relaxed); }

  int AddLines(int plane, std::int32_t after, std::int32_t count) override;

  int SetBackground(std::uint32_t color) override;
  std::uint32_t GetBackground() override { return m_background.load(std::memory_order_relaxed); }
  int SetBlankColor(std::uint32_t color) override;
  std::uint32_t GetBlankColor() override { return m_blankColor.load(std::memory_order_relaxed); }

  int Draw(IRasterDC* target, const CRDirectTfm& tfm, IProgress* progress) override;

  int MakeLevels(int milliseconds) override;
  std::int32_t GetLevelLines() override;
  std::int64_t GetLevelBytes() override;

  /// What the line contexts forward to. 1, or 0 outside the raster.
  virtual int readLine(std::int32_t line, std::int32_t x, std::int32_t count, void* buffer) = 0;
  virtual int writeLine(std::int32_t line, std::int32_t x, std::int32_t count, const void* buffer) = 0;
  int colorCount();
  int getPalette(KXRGBQUAD* out);
  int setPalette(const KXRGBQUAD* entries, int count);

  /// Adds lines without blanking them: what they hold is not known until each was written, which the code that adds
  /// them does before the raster is handed on. Throws CXMemException.
  void addUnsetLines(std::int32_t count);

  /// Appends lines of a raster of the same width and kind of lines without copying them: from the line whose number
  /// is this raster's height on, below line `end`. Neither raster's lines can be written as long as both live.
  /// Returns how many; 0 where none can be shared: sharing is by blocks of lines, and not every storage does it.
  virtual std::int32_t shareLines(RasterBase& /*source*/, std::int32_t /*end*/) { return 0; }
  /// Lines of a block that can be shared, which begins at a multiple of them; 0: none can be.
  [[nodiscard]] virtual std::int32_t sharedBlock() const noexcept { return 0; }

  /// Appends the lines of a stripe of the same width and kind of lines, without blanking them first.
  virtual void appendStripe(IScanBuffer& stripe, std::int32_t lines) = 0;

 protected:
  RasterBase(KxColorSpace colorSpace, std::int32_t width, std::uint32_t dpi);

  /// Makes room up to `lines` lines. Throws CXMemException; the contents are kept.
  virtual void reserveLines(std::int32_t lines) = 0;
  /// Whitens lines for which there is room.
  virtual void blankLines(std::int32_t first, std::int32_t count) = 0;
  /// Gives line `to` the content of line `from`, which is given another one afterwards.
  virtual void moveLine(std::int32_t from, std::int32_t to) = 0;
  /// Makes rows from the lines; the axes, which are not empty, outlive it.
  virtual std::unique_ptr<RowSource> newRowSource(const DrawAxis& columns, const DrawAxis& rows) = 0;
  /// The raster is shown from now on: what one frame is drawn from may stay mapped.
  virtual void keepForViewing() {}
  /// Hands a line to the levels.
  virtual void addToLevels(RasterLevels& levels, std::int32_t line) = 0;

  /// Lines from `first` to the height were published: the levels go on with them, if there are any.
  void linesAppended(std::int32_t first);
  /// Lines from `first` on were written again: the levels forget them.
  void linesChanged(std::int32_t first);

  /// Four bits a pixel: an odd line's last pixel has no place in its bytes.
  [[nodiscard]] std::int32_t drawnWidth() const noexcept {
    return m_colorSpace == KxColorSpace::Four ? m_width / 2 * 2 : m_width;
  }
  void publishHeight(std::int32_t lines) noexcept { m_height.store(lines, std::memory_order_release); }
  /// Counts a change; only the writer does, so it need not be one step. Never returns to 0.
  void countChange() noexcept {
    const int before = m_generation.load(std::memory_order_relaxed);
    m_generation.store(before % std::numeric_limits<int>::max() + 1, std::memory_order_relaxed);
  }
  /// Counts a change of lines' content.
  void countWrite() noexcept {
    m_hasContent = true;
    countChange();
  }
  [[nodiscard]] bool isInside(std::int32_t line, std::int32_t x, std::int32_t count) noexcept {
    return line >= 0 && line < GetHeight() && x >= 0 && count >= 0 && count <= m_width - x;
  }
  /// The palette with what drawing needs: zeros where none was set, for code 4 a grey scale.
  [[nodiscard]] Palette drawingPalette();
  /// The index of the palette's entry nearest to white.
  [[nodiscard]] std::uint8_t whiteIndex();

  const KxColorSpace m_colorSpace;
  const std::int32_t m_width;
  const std::uint32_t m_dpi;
  RasterSpace m_space;

 private:
  [[nodiscard]] RasterLevels* levels() const noexcept { return m_levels.load(std::memory_order_acquire); }
  bool makeLevelLines(RasterLevels& levels, std::int32_t lines);
  int drawRaster(IRasterDC& target, const DrawAxis& columns, const DrawAxis& rows, IProgress* progress);

  std::mutex m_levelMutex;                       // of the levels' builder
  std::unique_ptr<RasterLevels> m_levelsOwner;   // guarded by m_levelMutex; made once
  std::atomic<RasterLevels*> m_levels{nullptr};  // what readers see of it
  std::atomic<std::int32_t> m_height{0};
  std::atomic<int> m_generation{0};
  bool m_hasContent = false;  // writer only: a line was written, not only added
  std::atomic<std::uint32_t> m_background{0xFFFFFF};
  std::atomic<std::uint32_t> m_blankColor{0xFFFFFF};
  std::mutex m_paletteMutex;
  Palette m_palette{};   // guarded by m_paletteMutex
  int m_colorCount = 0;  // guarded by m_paletteMutex
};

}  // namespace quillbay
