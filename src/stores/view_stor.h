#pragma once
#include <mutex>

#include "platform/strip_stor.h"

namespace quillbay {

/// The store of the view slot: knows the extent of the page that is being scanned, paints it, and hands out its
/// raster while there is one. A page is held once: where another store collects it, this one shares that raster.
/// Thread-safe.
class CViewStor final : public ISStripStor {
 public:
  enum class Raster {
    None,    ///< nobody looks, and nobody keeps the page
    Own,     ///< filled with the stripes that come in
    Shared,  ///< the destination's
  };
  /// @param destination  the store that collects the page; only for `Shared`.
  explicit CViewStor(Raster raster, ISStripStor* destination = nullptr);

  int QueryInterface(const std::type_info& wanted, void** out) override;
  int IsAvailable() override { return 1; }
  /// Of the stripes of a page that the destination collects only the extent is taken.
  int AddStripe(IScanBuffer* stripe) override;
  /// What the destination holds stays there.
  void Reset() override;
  /// `*out` stays as it was when there is no raster. A shared raster is neither padded nor released.
  int Finish(IRStor** out, int minLines, int release) override;
  void Paint(IRasterDC* target, const CRDirectTfm* tfm) override;
  void GetRect(double rect[4]) override;
  void GetRectMM(double rect[4]) override;
  bool IsEmpty() override;

 private:
  ~CViewStor() override = default;
  [[nodiscard]] KxPtr<ISStripStor> pages() const;

  const Raster m_kind;
  mutable std::mutex m_lock;   // guards the rest; never held while a store is called
  KxPtr<ISStripStor> m_pages;  // holds the raster; null: none
  KxSize m_size;
  std::uint32_t m_dpi = 75;
};

}  // namespace quillbay
