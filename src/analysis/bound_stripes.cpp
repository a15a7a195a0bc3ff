#include "analysis/bound_stripes.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "quillbay/run_list.h"

namespace quillbay {

bool BoundStripes::add(IScanBuffer* stripe) {
  if (!stripe) return false;
  KxSize size;
  stripe->GetSize(&size);
  const KxColorSpace colorSpace = stripe->GetColorSpace();
  if (m_parts.empty()) {
    if (colorSpace != KxColorSpace::Grey && !isRunList(colorSpace)) return false;
    m_size = {size.width, 0};
    m_colorSpace = colorSpace;
  }
  if (size.width != m_size.width || colorSpace != m_colorSpace) return false;
  auto shared = KxPtr<IScanBuffer>::share(stripe);
  auto packed = isGrey() ? KxPtr<IPackedLines>{} : shared.as<IPackedLines>();
  m_parts.push_back({std::move(shared), std::move(packed), m_size.height});
  m_size.height += size.height;
  return true;
}

const BoundStripes::Part& BoundStripes::partAt(std::int32_t y) const noexcept {
  const auto after = std::upper_bound(m_parts.begin(), m_parts.end(), y,
                                      [](std::int32_t wanted, const Part& part) { return wanted < part.first; });
  return *(after - 1);
}

const std::uint8_t* BoundStripes::greyRow(std::int32_t y) const {
  const Part& part = partAt(y);
  return part.stripe->GetLine(y - part.first);
}

const std::uint8_t* BoundStripes::row(std::int32_t y, std::uint8_t* room) const {
  if (isGrey()) return greyRow(y);
  const Part& part = partAt(y);
  const std::int32_t line = y - part.first;
  const auto width = static_cast<std::size_t>(m_size.width);
  if (part.packed) {
    const std::uint8_t* bits = part.packed->GetBits() + static_cast<std::size_t>(line) * part.packed->GetStride();
    bitsToBytes(bits, width, 255, 0, room);
    return room;
  }
  std::memset(room, 255, width);
  eachRun(reinterpret_cast<const std::uint32_t*>(part.stripe->GetLine(line)), m_size.width,
          [room](std::uint32_t first, std::uint32_t last) { std::memset(room + first, 0, last - first + 1); });
  return room;
}

bool BoundStripes::copyTo(IRStor* raster) const {
  return std::all_of(m_parts.begin(), m_parts.end(),
                     [raster](const Part& part) { return part.stripe->AddToRaster(part.first, raster) != 0; });
}

namespace {

class StripeContext final : public CKxUnknownImpl<IPalContext> {
 public:
  explicit StripeContext(BoundStripes stripes) : m_stripes(std::move(stripes)) {}
  int ReadLine(std::int32_t line, std::int32_t x, std::int32_t count, void* buffer) override {
    const KxSize size = m_stripes.size();
    if (line < 0 || line >= size.height || x < 0 || count < 0 || count > size.width - x) return 0;
    std::memcpy(buffer, m_stripes.greyRow(line) + x, static_cast<std::size_t>(count));
    return 1;
  }
  int WriteLine(std::int32_t, std::int32_t, std::int32_t, const void*) override { return 0; }
  int GetColorCount() override { return paletteSize(KxColorSpace::Grey); }
  int GetPalette(KXRGBQUAD* out) override {
    std::copy_n(m_stripes.palette(), GetColorCount(), out);
    return GetColorCount();
  }
  int SetPalette(const KXRGBQUAD*, int) override { return 0; }

 private:
  const BoundStripes m_stripes;
};

class StripeRaster final : public CKxUnknownImpl<IRStor> {
 public:
  explicit StripeRaster(BoundStripes stripes) : m_stripes(std::move(stripes)) {}
  int IsValid() override { return 1; }
  KxColorSpace GetColorSpace() override { return KxColorSpace::Grey; }
  KxSize GetSize() override { return m_stripes.size(); }
  std::int32_t GetWidth() override { return GetSize().width; }
  std::int32_t GetHeight() override { return GetSize().height; }
  std::uint32_t GetResolution() override { return m_stripes.resolution(); }
  void Flush() override {}
  int IsTiled() override { return 0; }
  int HasAlpha() override { return 0; }
  int IsModified() override { return 0; }
  int IsReadOnly() override { return 1; }
  int GetLevelCount() override { return 0; }
  int GetPlaneCount() override { return 1; }
  int GetFrameCount() override { return 1; }
  IAccessContext* GetAccessContext(int mode, int) override {
    return mode == 0 ? new StripeContext(m_stripes) : nullptr;
  }
  IRStorDraw* GetDrawing() override { return nullptr; }
  std::int32_t GetOriginX() override { return 0; }
  std::int32_t GetOriginY() override { return 0; }
  std::int64_t GetByteCount() override { return 0; }
  int GetGeneration() override { return 0; }

 private:
  const BoundStripes m_stripes;
};

}  // namespace

KxPtr<IRStor> readStripes(BoundStripes stripes) {
  return KxPtr<IRStor>::adopt(new StripeRaster(std::move(stripes)));
}

}  // namespace quillbay
