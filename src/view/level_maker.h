#pragma once
#include <QObject>
#include <QThreadPool>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

#include "quillbay/raster.h"

namespace quillbay {

/// Makes the reduced levels of rasters on a thread of its own, one raster at a time: a raster whose lines lie in a
/// scratch file, or that is just being filled, may let the maker wait for longer than a window may.
/// User-interface thread only.
class LevelMaker {
 public:
  /// `done` is called later on this thread: the raster has its levels for its first `lines` lines, or can have
  /// none.
  explicit LevelMaker(std::function<void(IRStor* raster, std::int32_t lines)> done) : m_done(std::move(done)) {
    m_thread.setMaxThreadCount(1);
  }
  /// Gives up what runs and waits for it.
  ~LevelMaker();
  LevelMaker(const LevelMaker&) = delete;
  LevelMaker& operator=(const LevelMaker&) = delete;

  [[nodiscard]] bool isBusy() const noexcept { return m_raster != nullptr; }
  /// Only when it is not busy.
  void start(KxPtr<IRStor> raster, KxPtr<IRStorLevels> levels);
  /// Nothing of this raster is wanted any more.
  void giveUp(const IRStor* raster);

 private:
  using Flag = std::shared_ptr<std::atomic<bool>>;
  void stop();

  const std::function<void(IRStor*, std::int32_t)> m_done;
  const IRStor* m_raster = nullptr;  // that is worked on
  Flag m_givenUp;                    // of that work
  QThreadPool m_thread;
  QObject m_home;  // of what the thread posts: goes before it is told something
};

}  // namespace quillbay
