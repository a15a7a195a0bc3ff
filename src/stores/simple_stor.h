#pragma once
#include <mutex>
#include <string>

#include "platform/strip_stor.h"

namespace quillbay {

/// Keeps a scan as one raster (whose lines beyond the memory budget live in a scratch file).
/// Thread-safe. When memory and scratch space run out, or a stripe cannot be stored, the error sticks until
/// `Reset`: nothing is accepted any more, what was stored stays. `IStoreOutcome::GetError` reports the error;
/// there is no file and no waiting here.
class CSimpleStor final : public ISStripStor, public IStoreOutcome {
 public:
  CSimpleStor() = default;

  std::uint32_t AddRef() override { return ISStripStor::AddRef(); }
  std::uint32_t Release() override { return ISStripStor::Release(); }
  int QueryInterface(const std::type_info& wanted, void** out) override;

  int IsAvailable() override { return 1; }
  /// Returns 0 when space ran out, and after an error. A stripe that can become no raster returns 1 and is such an
  /// error: the page ends with the next one.
  int AddStripe(IScanBuffer* stripe) override;
  void Reset() override;
  /// When the raster is asked for and is shorter than `minLines`, it grows by what is missing, but by 8 lines at
  /// least. Padding does not count as stored lines. Returns 1, or 0 when an error sticks.
  int Finish(IRStor** out, int minLines, int release) override;
  void Paint(IRasterDC* target, const CRDirectTfm* tfm) override;
  void GetRect(double rect[4]) override;
  void GetRectMM(double rect[4]) override;
  bool IsEmpty() override;

  [[nodiscard]] std::string GetError() override;
  [[nodiscard]] std::string GetFile() override { return {}; }
  int IsPublished() override { return 0; }
  int IsWritten() override { return 0; }
  std::int64_t GetLines() override;
  void Wake() override {}
  void BeginFinish(int minLines, void (*done)(void*), void* context) override;

 private:
  ~CSimpleStor() override = default;
  // With the lock held:
  void store(IScanBuffer* stripe);
  void refuse();
  void grow(int minLines);
  void drop() noexcept;

  std::mutex m_lock;  // guards the rest
  KxSize m_size;      // width, and the lines stored so far
  std::uint32_t m_dpi = 75;
  KxPtr<IRStor> m_raster;
  std::string m_error;
};

/// A new, empty `CSimpleStor`.
[[nodiscard]] KxPtr<ISStripStor> makeEmptyStore();

}  // namespace quillbay
