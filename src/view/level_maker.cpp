#include "view/level_maker.h"

#include <sys/resource.h>

#include <utility>

namespace quillbay {
namespace {

/// After so long the thread looks whether it shall go on.
constexpr int kSliceMs = 8;
/// The thread takes what the others leave: frames are drawn meanwhile. (The system keeps this by thread.)
constexpr int kNiceness = 5;

}  // namespace

LevelMaker::~LevelMaker() {
  stop();
  m_thread.waitForDone();
}

void LevelMaker::stop() {
  if (m_givenUp) m_givenUp->store(true, std::memory_order_relaxed);
  m_givenUp.reset();
  m_raster = nullptr;
}

void LevelMaker::giveUp(const IRStor* raster) {
  if (raster && raster == m_raster) stop();
}

void LevelMaker::start(KxPtr<IRStor> raster, KxPtr<IRStorLevels> levels) {
  const Flag givenUp = std::make_shared<std::atomic<bool>>(false);
  m_givenUp = givenUp;
  m_raster = raster.get();
  m_thread.start([this, raster = std::move(raster), levels = std::move(levels), givenUp] {
    static_cast<void>(::setpriority(PRIO_PROCESS, 0, kNiceness));
    const std::int32_t lines = raster->GetHeight();
    while (!givenUp->load(std::memory_order_relaxed) && !levels->MakeLevels(kSliceMs)) {
    }
    const auto tell = [this, raster, lines, givenUp] {
      if (givenUp->load(std::memory_order_relaxed)) return;
      stop();
      m_done(raster.get(), lines);
    };
    QMetaObject::invokeMethod(&m_home, tell, Qt::QueuedConnection);
  });
}

}  // namespace quillbay
