#pragma once
#include <atomic>
#include <cstdint>
#include <optional>

#include "analysis/bound_detect.h"
#include "analysis/roll_bounds.h"
#include "quillbay/geometry.h"
#include "quillbay/raster.h"
#include "quillbay/scanner.h"

namespace quillbay {

/// Where a prescan shows the document, in millimetres from the prescan's upper left corner.
struct FoundBounds {
  tagRRECT box;
  double angle = 0;           ///< radians, the turn that straightens it (`IBoundDetect`); 0: none
  bool atSecondLook = false;  ///< bound detection alone did not find all of it
};

/// Finds the document in a prescan: the sink of that scan, and the search in what it delivered.
///
/// Threads: the sink is notified on the scanner's thread; `begin` before the scan is started and `detect` after it
/// has ended (`hasFinished`), both on the user-interface thread.
class CAutoDetector final : public CKxUnknownImplStatic<IKxUnknown> {
 public:
  /// A prescan up to this many bytes is kept until `detect`. Of a longer one, a roll of more than about 25 m, only
  /// this beginning is kept, for the skew; the rest goes through bound detection while it arrives, and there is no
  /// second look.
  static constexpr std::int64_t kMostKept = std::int64_t{320} << 20;

  explicit CAutoDetector(KxPtr<IBoundDetect> detector = new_IBoundDetect(), std::int64_t mostKept = kMostKept);

  [[nodiscard]] IScanSink* sink() noexcept { return &m_sink; }
  /// Forgets the prescan before. `progress` (may be null) is told of every stripe. `rollSettings`: how a prescan is
  /// searched that is too long to be kept; without them all of it is kept.
  void begin(std::uint32_t dpi, IProgress* progress, std::optional<BoundSettings> rollSettings = std::nullopt);
  /// Whether the prescan has ended since the last call.
  [[nodiscard]] bool hasFinished() noexcept { return m_finished.exchange(0) != 0; }
  /// Looks for the document, and drops the prescan. With `services` it looks again: where bound detection found
  /// nothing or less than all of it, what is seen then counts, and it tells the edges more closely. `wantsAngle`: a
  /// second look finds the skew, too. Throws CXMemException.
  [[nodiscard]] std::optional<FoundBounds> detect(const BoundServices* services, bool wantsAngle);
  /// Drops the prescan.
  void release();

  /// What `IBoundDetect::Detect` returned last.
  [[nodiscard]] int result() const noexcept { return m_result; }
  /// Dots per inch of the last stripe; before the first one what was asked for.
  [[nodiscard]] std::uint32_t resolution() const noexcept { return m_dpi; }

 private:
  /// The embedded sink.
  class CIScanSink final : public CKxUnknownImplStatic<IScanSink> {
   public:
    explicit CIScanSink(CAutoDetector* owner) : m_owner(owner) {}
    int ScanEnded(int) override { return m_owner->onEnded(); }
    int QueryContinue() override { return 1; }
    int ScanStarted(KxColorSpace, std::int64_t, std::int64_t, std::uint32_t) override {
      return m_owner->onStarted();
    }
    int StripeArrived(std::int64_t, IScanBuffer* stripe, std::int64_t) override {
      return m_owner->onStripe(stripe);
    }

   private:
    CAutoDetector* m_owner;
  };
  int onEnded();
  int onStarted();
  int onStripe(IScanBuffer* stripe);
  void keep(IScanBuffer* stripe);
  [[nodiscard]] std::optional<KxRect> bounds(const BoundServices* services, double* angle);
  [[nodiscard]] FoundBounds fitted(const BoundStripes& kept, const KxRect& bounds, FoundBounds found) const;

  CIScanSink m_sink{this};
  const KxPtr<IBoundDetect> m_detector;
  std::int32_t m_bounds[4]{};
  std::atomic<int> m_finished{0};
  int m_result = 0;
  std::uint32_t m_dpi = 0;
  const std::int64_t m_mostKept;
  std::optional<BoundSettings> m_rollSettings;
  BoundStripes m_kept;
  bool m_isKept = true;              // all of the prescan
  std::optional<RollBounds> m_roll;  // of one too long to be kept
  KxPtr<IProgress> m_progress;
  int m_position = 0;
};

}  // namespace quillbay
