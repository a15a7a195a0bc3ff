#pragma once
#include <cstdint>
#include <vector>

#include "quillbay/app.h"
#include "quillbay/raster.h"
#include "stores/scan_buffer.h"

namespace quillbay::test {

/// The bytes of line `line` of an endless page of one kind: every line differs from its neighbours.
/// For run lists the words of a valid list with one run for each 16 pixels, moved by the line.
inline std::vector<std::uint8_t> pageLine(KxColorSpace colorSpace, std::int32_t width, std::int64_t line) {
  std::vector<std::uint8_t> bytes;
  if (!isRunList(colorSpace)) {
    bytes.resize(fixedLineBytes(colorSpace, width));
    for (std::size_t i = 0; i < bytes.size(); ++i)
      bytes[i] = static_cast<std::uint8_t>(static_cast<std::size_t>(line) * 31 + i * 7);
    return bytes;
  }
  std::vector<std::uint32_t> words;
  for (auto first = static_cast<std::int32_t>(line % 9); first + 3 < width; first += 16) {
    words.push_back(static_cast<std::uint32_t>(first));
    words.push_back(static_cast<std::uint32_t>(first + 3));
  }
  words.push_back(RunEnd);
  words.push_back(0);
  bytes.resize(words.size() * 4);
  std::copy_n(reinterpret_cast<const std::uint8_t*>(words.data()), bytes.size(), bytes.data());
  return bytes;
}

inline KXRGBQUAD paletteEntry(std::size_t i) {
  return {static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(255 - i), static_cast<std::uint8_t>(i / 2), 0};
}

/// Lines `first`.. of that page as a stripe at 200 dpi.
inline KxPtr<IScanBuffer> pageStripe(KxColorSpace colorSpace, std::int32_t width, std::int64_t first,
                                     std::int32_t lines) {
  KXRGBQUAD palette[256];
  for (std::size_t i = 0; i < 256; ++i) palette[i] = paletteEntry(i);
  const auto buffer = KxPtr<CIScanBuffer>::adopt(new CIScanBuffer(200, {width, lines}, colorSpace, palette));
  for (std::int32_t i = 0; i < lines; ++i) buffer->AddLine(0, pageLine(colorSpace, width, first + i).data());
  return KxPtr<IScanBuffer>::share(buffer.get());
}

/// References to an object beside `p`.
template <class I>
std::uint32_t othersHolding(const KxPtr<I>& p) {
  p->AddRef();
  return p->Release() - 1;
}

/// A host that has options for file formats (none set) and nothing else.
class FakeApp final : public CKxUnknownImpl<IApp, IIOParams> {
 public:
  std::string GetProductName() override { return "test"; }
  IParam* GetFormatOptions(std::string_view) override { return nullptr; }
  std::string GetSoftware() override { return "test"; }
};

}  // namespace quillbay::test
