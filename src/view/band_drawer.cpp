#include "view/band_drawer.h"

#include <QSemaphore>
#include <QThread>
#include <algorithm>
#include <atomic>
#include <exception>
#include <memory>
#include <mutex>

#include "view/image_dc.h"

namespace quillbay {
namespace {

constexpr int kMostThreads = 8;
/// More of them level out better, but each works out its columns anew.
constexpr std::int32_t kBandsPerThread = 4;
constexpr std::int32_t kLeastBandRows = 64;

/// One picture. Outlived by threads that come too late for a band, which touch `next` only.
class Job {
 public:
  Job(IRStorDraw& drawing, std::uint32_t* pixels, const KxSize& size, const CRDirectTfm& tfm, int mode,
      std::int32_t bands)
      : m_drawing(drawing), m_pixels(pixels), m_size(size), m_tfm(tfm), m_mode(mode), m_bands(bands) {}

  /// Draws bands until none is left.
  void work() noexcept {
    for (std::int32_t band; (band = m_next.fetch_add(1, std::memory_order_relaxed)) < m_bands;) {
      try {
        const auto target = KxPtr<CImageDC>::adopt(
            new CImageDC(m_pixels, m_size, {0, firstRow(band), m_size.width, firstRow(band + 1)}, m_mode));
        m_drawing.Draw(target.get(), m_tfm, nullptr);
      } catch (...) {
        const std::lock_guard lock(m_errorMutex);
        m_error = std::current_exception();
      }
      m_done.release();
    }
  }
  void wait() {
    m_done.acquire(m_bands);
    if (m_error) std::rethrow_exception(m_error);
  }

 private:
  [[nodiscard]] std::int32_t firstRow(std::int32_t band) const noexcept {
    return static_cast<std::int32_t>(std::int64_t{m_size.height} * band / m_bands);
  }

  IRStorDraw& m_drawing;
  std::uint32_t* const m_pixels;
  const KxSize m_size;
  const CRDirectTfm m_tfm;
  const int m_mode;
  const std::int32_t m_bands;
  std::atomic<std::int32_t> m_next{0};
  QSemaphore m_done;
  std::mutex m_errorMutex;
  std::exception_ptr m_error;  // guarded by m_errorMutex until all bands are done
};

}  // namespace

BandDrawer::BandDrawer() {
  m_threads.setMaxThreadCount(std::clamp(QThread::idealThreadCount(), 2, kMostThreads) - 1);
}

void BandDrawer::draw(IRStorDraw& drawing, std::uint32_t* pixels, const KxSize& size, const CRDirectTfm& tfm,
                      int mode) {
  const std::int32_t most = (m_threads.maxThreadCount() + 1) * kBandsPerThread;
  const std::int32_t bands = std::clamp(size.height / kLeastBandRows, 1, most);
  const auto job = std::make_shared<Job>(drawing, pixels, size, tfm, mode, bands);
  const std::int32_t helpers = std::min(bands - 1, m_threads.maxThreadCount());
  for (std::int32_t i = 0; i < helpers; ++i) {
    m_threads.start([job] { job->work(); });
  }
  job->work();
  job->wait();
}

}  // namespace quillbay
