#pragma once
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "rasters/ops/op_support.h"

namespace quillbay {

/// A stripe that an operation fills and a raster takes over by copying. One thread.
class OpStripe : public CKxUnknownImplStatic<IScanBuffer, IContiguousLines> {
 public:
  explicit OpStripe(IRStor& target) : m_colorSpace(target.GetColorSpace()), m_width(target.GetWidth()) {}
  KxSize* GetSize(KxSize* out) override {
    *out = {m_width, m_lines};
    return out;
  }
  KxColorSpace GetColorSpace() override { return m_colorSpace; }
  int GetColorCount() override { return 0; }
  const KXRGBQUAD* GetPalette() override { return nullptr; }
  std::uint32_t GetResolution() override { return 0; }
  int AddToRaster(std::int32_t first, IRStor* raster) override {
    return ScanBuffer_AddToRaster(this, first, raster);
  }
  int CreateRaster(IRStor** out) override { return ScanBuffer_CreateRaster(this, out); }
  int AppendBuffer(IScanBuffer*) override { return 0; }

 protected:
  const KxColorSpace m_colorSpace;
  const std::int32_t m_width;
  std::int32_t m_lines = 0;
};

/// Lines of equal length for the end of a raster.
class PixelBand final : public OpStripe {
 public:
  /// Room for `lines` lines.
  PixelBand(RasterBase& target, std::int32_t lines)
      : OpStripe(target),
        m_target(target),
        m_lineBytes(fixedLineBytes(m_colorSpace, m_width)),
        m_room(lines),
        m_bytes(std::make_unique_for_overwrite<std::uint8_t[]>(m_lineBytes * static_cast<std::size_t>(lines))) {}
  [[nodiscard]] std::uint8_t* line(std::int32_t i) noexcept {
    return m_bytes.get() + static_cast<std::size_t>(i) * m_lineBytes;
  }
  /// The next line, for sequential filling; what was there before goes to the raster when the band is full.
  [[nodiscard]] std::uint8_t* next() {
    if (m_lines == m_room) flush();
    return line(m_lines++);
  }
  /// Gives the raster what `next` was asked for.
  void flush() { give(m_lines); }
  /// Gives the raster the first `lines` lines.
  void give(std::int32_t lines) {
    m_lines = lines;
    if (lines > 0) m_target.appendStripe(*this, lines);
    m_lines = 0;
  }
  [[nodiscard]] std::int32_t room() const noexcept { return m_room; }

  const std::uint8_t* GetLine(std::int32_t i) override { return line(i); }
  const std::uint8_t* GetBytes() override { return m_bytes.get(); }
  std::size_t GetStride() override { return m_lineBytes; }

 private:
  RasterBase& m_target;
  const std::size_t m_lineBytes;
  const std::int32_t m_room;
  const std::unique_ptr<std::uint8_t[]> m_bytes;
};

/// Run lists for the end of a raster, one after another.
class RunBand final : public OpStripe {
 public:
  explicit RunBand(RasterBase& target)
      : OpStripe(target), m_target(target), m_words(kWords + 2 * static_cast<std::size_t>(m_width) + 4) {}
  int QueryInterface(const std::type_info& wanted, void** out) override {
    return wanted == typeid(IContiguousLines) ? 0 : OpStripe::QueryInterface(wanted, out);
  }
  /// Adds a run to the line that is being made; runs ascend.
  void addRun(std::uint32_t first, std::uint32_t last) {
    m_words[m_used++] = first;
    m_words[m_used++] = last;
  }
  /// Adds all runs of a list.
  void addRuns(const RunView& list) {
    if (list.count > 0) std::memcpy(m_words.data() + m_used, list.runs, list.count * 8);
    m_used += 2 * list.count;
  }
  /// Adds a whole line: packed, or of words whose bits beyond the width are 0.
  template <class Bits>
  void addLine(const Bits* bits) {
    RunListWriter writer(m_words.data() + m_used);
    eachBitChange(bits, m_width, [&writer](std::uint32_t x) { writer(x); });
    m_used += 2 * writer.finish(static_cast<std::uint32_t>(m_width));
    endLine();
  }
  /// Ends the line.
  void endLine() {
    m_words[m_used++] = RunEnd;
    m_words[m_used++] = 0;
    m_starts.push_back(m_start);
    m_start = m_used;
    if (m_used >= kWords) flush();
  }
  /// Gives the raster the lines that were ended.
  void flush() {
    m_lines = static_cast<std::int32_t>(m_starts.size());
    if (m_lines > 0) m_target.appendStripe(*this, m_lines);
    m_lines = 0;
    m_starts.clear();
    m_start = m_used = 0;
  }

  const std::uint8_t* GetLine(std::int32_t i) override {
    return reinterpret_cast<const std::uint8_t*>(m_words.data() + m_starts[static_cast<std::size_t>(i)]);
  }
  const std::uint8_t* GetBytes() override { return nullptr; }
  std::size_t GetStride() override { return 0; }

 private:
  static constexpr std::size_t kWords = std::size_t{256} << 10;
  RasterBase& m_target;
  std::vector<std::uint32_t> m_words;  // room for a line of touching runs beyond kWords
  std::vector<std::size_t> m_starts;
  std::size_t m_start = 0, m_used = 0;
};

/// Lines of a band of about `bytes` bytes, at least `least`.
[[nodiscard]] inline std::int32_t bandLines(std::size_t bytes, std::size_t lineBytes,
                                            std::int32_t least = 1) noexcept {
  const std::size_t lines = bytes / std::max<std::size_t>(1, lineBytes);
  return std::max(least, static_cast<std::int32_t>(std::min<std::size_t>(lines, 4096)));
}

}  // namespace quillbay
