#pragma once
#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

#include "platform/strip_stor.h"
#include "quillbay/printing.h"
#include "stores/empty_buffer.h"

namespace quillbay {

/// Hands the stripes of one page to a print job as they arrive. It keeps no picture: `Paint` draws nothing.
///
/// Life: made with a started job; the job is ended exactly once, by `Finish` (completed) or by `Reset` or the
/// destructor (given up). Threads: `AddStripe` on the scanner's thread, where it blocks while the printer is
/// behind; everything else on the controlling thread. `Wake` ends the blocking from there. Failures: the job's
/// first error sticks. `AddStripe` returns 0 from then on, so that the scanner stops.
class CScanToPrintStor final : public ISStripStor, public IStoreOutcome {
 public:
  /// @param progress  counts the printed stripes; may be null.
  CScanToPrintStor(KxPtr<IPrintingJob> job, KxPtr<IParam> options, KxPtr<IProgress> progress);

  std::uint32_t AddRef() override { return ISStripStor::AddRef(); }
  std::uint32_t Release() override { return ISStripStor::Release(); }
  int QueryInterface(const std::type_info& wanted, void** out) override;

  /// The lines that the page is going to have, 0 when unknown: before the first stripe, on its thread.
  void SetPageLines(std::int64_t lines);

  int IsAvailable() override { return 1; }
  int AddStripe(IScanBuffer* stripe) override;
  /// Gives the job up. Waits until its thread has let it go.
  void Reset() override;
  /// Fills a page of fewer than `minLines` lines with blank ones, and ends the job, unless `BeginFinish` did; waits
  /// for that. `*out` stays as it was. Returns 1, or 0 when the job has failed.
  int Finish(IRStor** out, int minLines, int release) override;
  void Paint(IRasterDC* target, const CRDirectTfm* tfm) override;
  /// Left, top, the page's width and the lines printed so far; 0, 0, -1, -1 after `Reset`.
  void GetRect(double rect[4]) override;
  void GetRectMM(double rect[4]) override;
  bool IsEmpty() override { return false; }

  [[nodiscard]] std::string GetError() override;
  [[nodiscard]] std::string GetFile() override { return {}; }
  int IsPublished() override { return 0; }
  int IsWritten() override { return 0; }
  std::int64_t GetLines() override;
  /// Gives up what blocks: the page is not printed.
  void Wake() override;
  /// Ends the job on a thread of its own: the printer may take its time.
  void BeginFinish(int minLines, void (*done)(void*), void* context) override;

 private:
  ~CScanToPrintStor() override;
  [[nodiscard]] KxPtr<IPrintingJob> job() const;
  int print(IPrintingJob& job, IScanBuffer* stripe);
  void complete(int minLines);
  void letGo(int completed);
  void joinEnding();

  const KxPtr<IProgress> m_progress;
  mutable std::mutex m_lock;  // guards the next ones; never held while the job works
  double m_extent[4] = {0, 0, 0, 0};
  std::uint32_t m_dpi = 0;  // 0: no stripe has come
  KxPtr<IPrintingJob> m_job;
  KxPtr<IParam> m_options;
  KxPtr<CIEmptyBuffer> m_blank;
  std::string m_error;
  std::atomic<bool> m_isGivenUp{false};
  std::mutex m_printing;  // held while the job takes a stripe or is ended
  std::thread m_ending;   // of `BeginFinish`
};

}  // namespace quillbay
