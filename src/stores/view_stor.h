#pragma once
#include <mutex>

#include "platform/strip_stor.h"
#include "stores/preview_stor.h"

namespace quillbay {

/// The store of the view slot: knows the extent of the page that is being scanned in the scan's own pixels, paints
/// its picture of screen size, and hands out its raster while there is one. A page is held once: where another
/// store collects it, this one shares that raster. Thread-safe.
class CViewStor final : public ISStripStor {
 public:
  enum class Raster {
    None,    ///< no store keeps the page
    Own,     ///< filled with the stripes that come in
    Shared,  ///< the destination's
  };
  /// @param picture      what is painted; `Reset` resets it; null: nothing is painted
  /// @param destination  the store that collects the page; only for `Shared`
  CViewStor(Raster raster, KxPtr<CPreviewStor> picture, ISStripStor* destination = nullptr);

  int QueryInterface(const std::type_info& wanted, void** out) override;
  int IsAvailable() override { return 1; }
  /// Of the stripes of a page that the destination collects only the extent and the picture are taken.
  int AddStripe(IScanBuffer* stripe) override;
  /// What the destination holds stays there.
  void Reset() override;
  /// `*out` stays as it was when there is no raster. A shared raster is neither padded nor released. Without `out`
  /// and `release` the page is complete: its last lines are painted from then on.
  int Finish(IRStor** out, int minLines, int release) override;
  /// The transform maps the scan's pixels to device pixels. The last lines may be missing until the page's end.
  void Paint(IRasterDC* target, const CRDirectTfm* tfm) override;
  void GetRect(double rect[4]) override;
  void GetRectMM(double rect[4]) override;
  /// No line has come.
  bool IsEmpty() override;

 private:
  ~CViewStor() override = default;
  [[nodiscard]] KxPtr<ISStripStor> pages() const;

  const Raster m_kind;
  const KxPtr<CPreviewStor> m_picture;
  mutable std::mutex m_lock;   // guards the rest; never held while a store is called
  KxPtr<ISStripStor> m_pages;  // holds the raster; null: none
  KxSize m_size;
  std::uint32_t m_dpi = 75;
};

}  // namespace quillbay
