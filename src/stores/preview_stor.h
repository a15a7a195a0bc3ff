#pragma once
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/picture.h"
#include "platform/strip_stor.h"
#include "quillbay/scan_mode.h"
#include "stores/picture_painter.h"
#include "stores/stripe_reducer.h"

namespace quillbay {

class CSharedScanParams;

/// The picture of a scan on the screen, made while the stripes arrive: stripes of more than 8 reduced lines
/// together are reduced at once to one picture as wide as the screen, and the pictures are painted one below the
/// other. The scan itself is not kept. Black lines of bitonal scans stay whole and thin; all others are averages of
/// areas.
///
/// Memory: the pictures take at most twice the square of the screen's width in pixels, or 8 Mi pixels where that is
/// more; those of a longer page are halved in height. Besides, stripes of up to 8 reduced lines are held until
/// their picture is made.
///
/// Colour spaces 4, 32 and 64 have no picture: their stripes are accepted and leave the store empty.
///
/// Thread-safe: `AddStripe` on the scanner's thread, all others on the user-interface thread. Nothing is reduced or
/// painted under the lock.
class CPreviewStor final : public ISStripStor {
 public:
  /// Gets the joined picture, on the thread that calls `Reset`.
  using Joined = std::function<void(std::shared_ptr<const Picture>)>;
  /// @param screenWidth  in pixels; what is below 320 counts as 320
  /// @param joined       may be empty
  explicit CPreviewStor(std::int32_t screenWidth, Joined joined = {});

  int QueryInterface(const std::type_info& wanted, void** out) override;
  int IsAvailable() override { return 1; }
  /// Returns 1, also for a stripe without pixels, which changes nothing; 0 for none.
  int AddStripe(IScanBuffer* stripe) override;
  /// The page is complete: makes a picture of the stripes that still wait, joins all pictures into one, one below
  /// the other, hands that on, and empties the store. Not while `AddStripe` runs, or what it adds is lost.
  void Reset() override;
  /// Makes a picture of the stripes that still wait: to be called when the last stripe has come, with `release` 0
  /// if the pictures are shown further on. With `release` it is `Reset`. There is no raster; `*out` stays as it
  /// was.
  int Finish(IRStor** out, int minLines, int release) override;
  /// Draws the pictures into the target's clip. The transform maps reduced pixels to device pixels; what it maps is
  /// what `GetRect` reports, right and bottom exclusive (one more). Either scale may be negative. Stretch mode 0 of
  /// the target takes single pixels, all others average areas.
  void Paint(IRasterDC* target, const CRDirectTfm* tfm) override;
  /// In reduced pixels, inclusive.
  void GetRect(double rect[4]) override;
  /// The same numbers in millimetres at the scan's resolution; zeros when empty.
  void GetRectMM(double rect[4]) override;
  /// No picture yet.
  bool IsEmpty() override;

  /// `Paint` by a transform from the scan's own pixels: each line lies where it was scanned.
  void PaintScan(IRasterDC* target, const CRDirectTfm& tfm);

 private:
  ~CPreviewStor() override = default;
  /// What has come of a page.
  struct State {
    double scale = 0.1;
    std::int32_t dpi = -1;               // -1: no stripe yet
    std::int32_t scanWidth = 0;          // pixels of the stripes
    std::int64_t scanLines = 0;          // that the pictures show
    std::int32_t width = 0, height = 0;  // reduced
    PictureParts parts;
    std::int64_t pixels = 0;     // of all parts
    int halvings = 0;            // of the parts' heights
    std::ptrdiff_t settled = 0;  // parts that have no more lines than these leave them
  };
  using Stripes = std::vector<KxPtr<IScanBuffer>>;

  [[nodiscard]] State state() const;
  [[nodiscard]] bool belongs(IScanBuffer& stripe, std::int32_t width) const;
  void start(IScanBuffer& stripe, std::int32_t width);
  void reduce(const Stripes& stripes, std::int64_t lines);
  void flush();
  void makeRoom(std::int32_t width, std::int32_t rows);

  const std::int32_t m_screenWidth;
  const Joined m_joined;
  std::mutex m_feed;  // guards the next three; held while stripes are reduced
  Stripes m_pending;
  std::int64_t m_pendingLines = 0;
  StripeReducer m_reducer;
  // Guards the rest against those who only read; taken after m_feed, which who changes it holds as well.
  mutable std::mutex m_lock;
  State m_state;
};

/// Which of the four pictures is that of a scan mode: grey for 5, palette for 6, colour for 7, else bitonal.
[[nodiscard]] ColorClass pictureClassOf(std::int32_t mode) noexcept;

/// A store for the screen's width whose joined picture becomes that of the mode that is current then. `params` must
/// outlive the last call of `Reset`.
[[nodiscard]] KxPtr<CPreviewStor> newPreviewStor(std::int32_t screenWidth, CSharedScanParams& params);

}  // namespace quillbay
