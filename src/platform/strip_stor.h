#pragma once
#include <string>

#include "quillbay/raster.h"
#include "quillbay/scan_buffer.h"

namespace quillbay {

/// Turns the stripes of a scan into its product. `AddStripe` comes on the scanner's thread, everything else on the
/// controlling thread; every store locks itself. Operations in declared order after the counted base.
class ISStripStor : public CKxUnknownImpl<IKxUnknown> {
 public:
  /// Every store returns 1.
  virtual int IsAvailable() = 0;
  /// Accepts the next stripe; 0 = failed.
  virtual int AddStripe(IScanBuffer* stripe) = 0;
  /// Drops everything; the store is empty again.
  virtual void Reset() = 0;
  /// The page's end: pads to `minLines`, hands out the raster (with a reference) where the store has one, and with
  /// `release` forgets it. `out` may be null.
  virtual int Finish(IRStor** out, int minLines, int release) = 0;
  /// Draws the stored picture.
  virtual void Paint(IRasterDC* target, const CRDirectTfm* tfm) = 0;
  /// Extent in pixels: left, top, right, bottom, inclusive.
  virtual void GetRect(double rect[4]) = 0;
  /// The same in millimetres.
  virtual void GetRectMM(double rect[4]) = 0;
  virtual bool IsEmpty() = 0;
};

/// What a store that writes a file tells the controller beside `ISStripStor`; queried from the store.
class IStoreOutcome : public IKxUnknown {
 public:
  /// The first error, with the file's name and what to do; empty when all is well. It stays until `Reset`.
  [[nodiscard]] virtual std::string GetError() = 0;
  /// The file that the page went to, and whether it has its final name.
  [[nodiscard]] virtual std::string GetFile() = 0;
  virtual int IsPublished() = 0;
  /// Non-zero when the page is whole on the disk, in its file or in the part: what failed then is its name.
  virtual int IsWritten() = 0;
  /// Lines of the page, with what was padded.
  virtual std::int64_t GetLines() = 0;
  /// Wakes whoever waits on a full queue; nothing is accepted afterwards.
  virtual void Wake() = 0;
  /// Starts the page's end without waiting: pads, and calls `done` (any thread) when the writer is through.
  /// `Finish` then returns at once.
  virtual void BeginFinish(int minLines, void (*done)(void*), void* context) = 0;
};

}  // namespace quillbay
