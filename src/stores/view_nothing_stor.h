#pragma once
#include <mutex>

#include "platform/strip_stor.h"

namespace quillbay {

/// The view store of a panel that nobody looks at: keeps the extent of what was scanned, and no pixel.
/// Thread-safe.
class CUnseenStor final : public ISStripStor {
 public:
  CUnseenStor() = default;

  int QueryInterface(const std::type_info& wanted, void** out) override;
  int IsAvailable() override { return 1; }
  int AddStripe(IScanBuffer* stripe) override;
  void Reset() override;
  /// There is no raster: `*out` stays as it was.
  int Finish(IRStor** out, int minLines, int release) override;
  void Paint(IRasterDC* /*target*/, const CRDirectTfm* /*tfm*/) override {}
  void GetRect(double rect[4]) override;
  void GetRectMM(double rect[4]) override;
  bool IsEmpty() override;

 private:
  ~CUnseenStor() override = default;

  std::mutex m_lock;  // guards the rest
  KxSize m_size;
  std::uint32_t m_dpi = 75;
};

}  // namespace quillbay
