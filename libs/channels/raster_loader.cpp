#include "channels/raster_loader.h"

#include <algorithm>
#include <vector>

#include "quillbay/errors.h"
#include "quillbay/formats.h"
#include "quillbay/run_list.h"
#include "rasters/ops/line_bands.h"
#include "rasters/ops/raster_ops.h"

namespace quillbay {
namespace {

constexpr std::size_t kBandSize = std::size_t{1} << 20;

/// How the lines of a file come to lie: mirrored, from the bottom up, then turned by quarters clockwise.
struct Lie {
  bool mirrored = false, upwards = false;
  int quarters = 0;
};

Lie lieOf(int orientation) noexcept {
  switch (orientation) {
    case 2: return {true, false, 0};
    case 3: return {true, true, 0};
    case 4: return {false, true, 0};
    case 5: return {true, false, 3};
    case 6: return {false, false, 1};
    case 7: return {true, false, 1};
    case 8: return {false, false, 3};
    default: return {};
  }
}

/// A part of the whole way: `least` to `least + share` of `kLoadSteps`.
class Share final : public CKxUnknownImplStatic<IProgress> {
 public:
  Share(IProgress* progress, int least, int share, int steps)
      : m_progress(progress), m_least(least), m_share(share), m_steps(std::max(steps, 1)) {}
  void SetText(const char*) override {}
  void Step() override {}
  int SetPosition(int position) override {
    const int at = m_least + static_cast<int>(std::int64_t{position} * m_share / m_steps);
    if (m_progress && at != m_at) m_progress->SetPosition(at);
    m_at = at;
    return position;
  }
  void Reset() override {}
  int IsCancelled() override { return m_progress ? m_progress->IsCancelled() : 0; }

 private:
  IProgress* const m_progress;
  const int m_least, m_share, m_steps;
  int m_at = -1;
};

class Loader {
 public:
  Loader(PictureFile& file, const Lie& lie, IProgress* progress)
      : m_file(file),
        m_picture(file.picture()),
        m_lie(lie),
        m_space(static_cast<KxColorSpace>(m_picture.color_space)),
        m_progress(progress, 0, lie.quarters ? kLoadSteps / 2 : kLoadSteps, m_picture.height),
        m_askEvery(static_cast<std::int32_t>(std::clamp<std::size_t>(kBandSize / file.lineBytes(), 1, 64))) {}

  KxPtr<IRStor> load() {
    m_raster = new_IRStor(m_space, m_picture.width, 0, m_picture.dpi);
    setPalette();
    m_target = m_raster.as<RasterBase>();
    if (m_lie.upwards) m_target->addUnsetLines(m_picture.height);
    isRunList(m_space) ? loadRuns() : loadPixels();
    return m_raster;
  }

 private:
  void setPalette() {
    const auto context = m_raster.as<IPalContext>();
    const int count = std::min(m_picture.palette_count, 256);
    if (!context || count <= 0) return;
    KXRGBQUAD entries[256] = {};
    for (int i = 0; i < count; ++i) {
      const std::uint8_t* entry = m_picture.palette + 4 * i;
      entries[i] = {entry[0], entry[1], entry[2], 0};
    }
    context->SetPalette(entries, count);
  }

  /// After line `y`: reports the progress, and returns if the user cancelled.
  void advance(std::int32_t y) {
    if ((y + 1) % m_askEvery != 0) return;
    m_progress.SetPosition(y + 1);
    if (m_progress.IsCancelled()) throw PictureFile::Cancelled{};
  }

  void loadPixels() {
    const std::size_t pixel = pixelBytes(m_space);
    const std::int32_t lines = bandLines(kBandSize, m_file.lineBytes());
    PixelBand band(*m_target, lines);
    const auto writer = KxPtr<IAccessContext>::adopt(m_raster->GetAccessContext(1, 0));
    for (std::int32_t y = 0; y < m_picture.height; ++y) {
      std::uint8_t* line = m_lie.upwards ? band.line(0) : band.next();
      m_file.readLine(line);
      if (m_lie.mirrored) reversePixels(line, m_picture.width, pixel);
      if (m_lie.upwards) writer->WriteLine(m_picture.height - 1 - y, 0, m_picture.width, line);
      advance(y);
    }
    if (!m_lie.upwards) band.flush();
  }

  void loadRuns() {
    std::vector<std::uint8_t> bits(m_file.lineBytes());
    RunBand band(*m_target);
    std::vector<std::uint32_t> runs(static_cast<std::size_t>(m_picture.width) + 3);
    const auto writer = KxPtr<IAccessContext>::adopt(m_raster->GetAccessContext(1, 0));
    for (std::int32_t y = 0; y < m_picture.height; ++y) {
      m_file.readLine(bits.data());
      if (m_lie.mirrored) reversePacked(bits.data(), m_picture.width);
      if (m_lie.upwards) {
        bitsToRuns(bits.data(), m_picture.width, runs.data());
        writer->WriteLine(m_picture.height - 1 - y, 0, m_picture.width, runs.data());
      } else {
        band.addLine(bits.data());
      }
      advance(y);
    }
    band.flush();
  }

  PictureFile& m_file;
  const QbPicture& m_picture;
  const Lie m_lie;
  const KxColorSpace m_space;
  Share m_progress;
  const std::int32_t m_askEvery;
  KxPtr<IRStor> m_raster;
  KxPtr<RasterBase> m_target;
};

KxPtr<IRStor> load(PictureFile& file, int page, IProgress* progress) {
  const Lie lie = lieOf(file.openPage(page).orientation);
  KxPtr<IRStor> raster = Loader(file, lie, progress).load();
  if (lie.quarters == 0) return raster;
  Share rest(progress, kLoadSteps / 2, kLoadSteps / 2, kOpSteps);
  return rotateQuarters(raster.get(), lie.quarters, &rest);
}

}  // namespace

KxPtr<IRStor> loadPage(PictureFile& file, int page, IProgress* progress) {
  struct Asked {  // while this page is read
    PictureFile& file;
    Asked(PictureFile& from, IProgress* by) : file(from) { file.setProgress(by); }
    ~Asked() { file.setProgress(nullptr); }
    Asked(const Asked&) = delete;
    Asked& operator=(const Asked&) = delete;
  } asked(file, progress);
  try {
    return load(file, page, progress);
  } catch (const PictureFile::Cancelled&) {
    return nullptr;
  }
}

}  // namespace quillbay
