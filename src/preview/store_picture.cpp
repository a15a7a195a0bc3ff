#include "preview/store_picture.h"

#include <algorithm>

#include "view/image_dc.h"

namespace quillbay {

namespace {
constexpr double kTallest = 4;  // times the width
constexpr std::uint32_t kWhite = 0xffffffff;
}  // namespace

std::shared_ptr<const Picture> pictureOf(ISStripStor& store, std::int32_t width) {
  if (store.IsEmpty() || width <= 0) return nullptr;
  double rect[4] = {0, 0, -1, -1};
  store.GetRect(rect);
  const double across = rect[2] - rect[0] + 1, down = rect[3] - rect[1] + 1;
  if (across < 1 || down < 1) return nullptr;
  const double scale = std::min({1.0, width / across, kTallest * width / down});
  KxSize size{std::max(1, roundHalfUp(across * scale)), std::max(1, roundHalfUp(down * scale))};
  std::vector<std::uint32_t> pixels(static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height),
                                    kWhite);
  const CRDirectTfm place{size.width / across, size.height / down, -rect[0] * size.width / across,
                          -rect[1] * size.height / down};
  const auto target =
      KxPtr<CImageDC>::adopt(new CImageDC(pixels.data(), size, {0, 0, size.width, size.height}, kHalfTones));
  store.Paint(target.get(), &place);
  auto picture = std::make_shared<Picture>();
  picture->width = size.width;
  picture->height = size.height;
  picture->stride = static_cast<std::size_t>(size.width) * sizeof(std::uint32_t);
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(pixels.data());
  picture->bytes.assign(bytes, bytes + pixels.size() * sizeof(std::uint32_t));
  return picture;
}

}  // namespace quillbay
