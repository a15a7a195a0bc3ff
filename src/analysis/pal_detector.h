#pragma once
#include <mutex>
#include <utility>

#include "analysis/lut_file.h"
#include "platform/pal_calculator.h"
#include "quillbay/scan_buffer.h"

namespace quillbay {

/// The palette page, as the detector sees it.
class IPalettePage : public ILutPage {
 public:
  /// The computed palette is another one, or there is none any more.
  virtual void PaletteChanged() = 0;
};

/// Computes the palette of a document from the stripes of a colour prescan, and keeps it for the scans that follow.
///
/// The palette that is kept serves every adaptive scan until it is dropped: when the mode, the kind of scan area or
/// the document changes, or the unit asks a running prescan whether to go on. What the palette page changes about
/// the method or the number of colours drops it as well.
///
/// Threads: the notifications on the scanner's thread while a prescan runs, all else on the user-interface thread.
/// Counted, since a unit may keep its sink; the page is left when it is destroyed (`leavePage`).
class CPalDetector final : public CKxUnknownImpl<IScanSink> {
 public:
  /// `page` is left before it is destroyed.
  CPalDetector(IPalettePage& page, KxPtr<IPalCalculator> calculator);

  // IScanSink
  int ScanEnded(int status) override;
  /// Drops the palette that is kept.
  int QueryContinue() override;
  int ScanStarted(KxColorSpace colorSpace, std::int64_t width, std::int64_t lines, std::uint32_t dpi) override;
  /// Throws CXMemException without room for a copy of the stripe, CXIFaceException for one that holds no colours.
  int StripeArrived(std::int64_t position, IScanBuffer* stripe, std::int64_t extra) override;

  /// Non-zero when a scan with these settings has to compute a palette, or a lookup file, first.
  [[nodiscard]] int NeedsPrescan(IParam* params) const;
  /// Copies the palette that is kept into the settings. Returns 1, or 0 when there is none.
  int ApplyCache(IParam* params) const;
  void DropCache();

  /// The next prescan makes a lookup file instead of a palette.
  void RequestLut() noexcept { m_makesLut = true; }
  [[nodiscard]] bool isLutRequested() const noexcept { return m_makesLut; }
  /// Takes the request back; returns whether there was one.
  [[nodiscard]] bool takeLutRequest() noexcept { return std::exchange(m_makesLut, false); }

  /// After a prescan, once: computes `count` (1 to 256) colours of it into `palette`, which has room for 256, and
  /// forgets the prescan.
  void Calculate(int count, KXRGBQUAD* palette);
  /// Keeps a computed palette, 256 entries of which `count` are used, and puts it into the settings.
  void Keep(IParam* params, const KXRGBQUAD* palette, int count);
  /// Colours of the palette that is kept; 0 when there is none.
  [[nodiscard]] int keptColors() const;

  /// Null once the page is destroyed.
  [[nodiscard]] IPalettePage* page() const noexcept { return m_page; }
  void leavePage() noexcept { m_page = nullptr; }

 private:
  [[nodiscard]] KxPtr<IParam> kept() const;
  void keep(KxPtr<IParam> set, int colors);

  IPalettePage* m_page;
  KxPtr<IPalCalculator> m_calculator;
  bool m_makesLut = false;
  mutable std::mutex m_mutex;  // guards the next two
  KxPtr<IParam> m_kept;        // does not change once it is kept
  int m_keptColors = 0;
};

}  // namespace quillbay
