#pragma once
#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "platform/strip_stor.h"
#include "stores/base_thread.h"
#include "stores/empty_buffer.h"
#include "stores/page_channel.h"
#include "stores/stripe_feed.h"
#include "stores/wait_stor.h"

namespace quillbay {

/// Limits of a file store, in bytes.
struct FileStoreLimits {
  std::int64_t queue = std::int64_t{32} << 20;        ///< stripes that may wait for the writer
  std::int64_t reserve = std::int64_t{16} << 20;      ///< free space below which a page is given up
  std::int64_t checkEvery = std::int64_t{256} << 20;  ///< free space is looked at after so many queued bytes
};

/// Writes a page into a file while it is scanned: stripes are queued by reference, and a worker saves the facade
/// over the queue through a file channel. One page; a store is used again only after `Reset`.
///
///   idle --SetTarget, AddStripe--> writing --Finish / BeginFinish--> finished
///     ^                               |                                 |
///     '----------- Reset -------------+---------------------------------'
///
/// Threads: `AddStripe` on the scanner's, the rest on the controlling one (`SetTarget` on either, before the first
/// stripe). The channel is used on the worker alone once the page runs, and so is the progress (it must take calls
/// from there).
/// Back pressure: `AddStripe` blocks while the queue is full. An error, `Wake`, `Finish`, `Reset`, `Stop` and the
/// destructor wake it; it returns 0 then.
/// Errors: the first one sticks until `Reset`, with the file's name, the cause and what to do. From then on nothing
/// is accepted, nothing blocks, and the store does not count as empty. The page is abandoned in the file: pages
/// before it stay whole.
class CScanToFileStor final : public ISStripStor, public KxBaseThread, public IStoreOutcome {
 public:
  /// @param app       queried for `IIOParams` at the first stripe.
  /// @param progress  the panel's progress display; may be null.
  CScanToFileStor(IApp* app, IProgress* progress, const FileStoreLimits& limits = {});

  /// What to write. Before the first stripe; ignored (and logged) later.
  void SetTarget(const PageTarget& target);

  std::uint32_t AddRef() override { return ISStripStor::AddRef(); }
  std::uint32_t Release() override { return ISStripStor::Release(); }
  int QueryInterface(const std::type_info& wanted, void** out) override;

  int IsAvailable() override { return 1; }
  int AddStripe(IScanBuffer* stripe) override;
  /// Abandons the page, when there is one, and forgets the target and the error.
  void Reset() override;
  /// Pads with blank lines, waits for the writer and releases the channel. There is no raster to hand out.
  /// Returns 1, or 0 when an error sticks or the page was abandoned. Not from within `BeginFinish`'s `done`.
  int Finish(IRStor** out, int minLines, int release) override;
  void Paint(IRasterDC* /*target*/, const CRDirectTfm* /*tfm*/) override {}
  void GetRect(double rect[4]) override;
  void GetRectMM(double rect[4]) override;
  bool IsEmpty() override;

  [[nodiscard]] std::string GetError() override;
  [[nodiscard]] std::string GetFile() override;
  int IsPublished() override { return m_published ? 1 : 0; }
  int IsWritten() override { return m_written ? 1 : 0; }
  std::int64_t GetLines() override;
  void Wake() override;
  void BeginFinish(int minLines, void (*done)(void*), void* context) override;

  /// Abandons the page and ends the worker.
  void Stop() override;
  int InitInstance() override { return 1; }
  /// The writer's body.
  void Run() override;

 private:
  struct Done {
    void (*call)(void*) = nullptr;
    void* context = nullptr;
  };
  class Visit;
  ~CScanToFileStor() override;

  // These two with the feed's lock held.
  [[nodiscard]] bool accepts() const {
    return m_error.empty() && !m_woken && !m_feed.finished && !m_feed.abandoned;
  }
  void pad(int minLines);

  [[nodiscard]] bool open(IScanBuffer* stripe);
  [[nodiscard]] std::string openChannel(IScanBuffer* stripe);
  [[nodiscard]] int enqueue(QueuedStripe entry);
  [[nodiscard]] bool checkSpace(std::int64_t queuedBytes);
  void fail(const std::string& text);
  void abandon();
  void waitForScanner();
  [[nodiscard]] bool savePage();
  void writePage();

  const KxPtr<IApp> m_app;
  const KxPtr<IProgress> m_progress;
  const FileStoreLimits m_limits;

  StripeFeed m_feed;
  // Guarded by the feed's lock:
  int m_visits = 0;        // AddStripe calls that are under way
  bool m_opened = false;   // a channel is held
  bool m_writing = false;  // the worker has not come to its end
  bool m_woken = false;    // nothing is accepted any more
  KxSize m_size;           // of the page; lines in `m_lines`
  KxColorSpace m_colorSpace = KxColorSpace::None;
  std::uint32_t m_dpi = 75;
  std::int64_t m_lines = 0;
  bool m_hasTarget = false;
  PageTarget m_target;
  std::string m_error;
  Done m_done;

  std::mutex m_life;  // held while a page is opened, ended or dropped; taken before the feed's lock
  KxPtr<IKxFileChanel> m_channel;
  KxPtr<CIEmptyBuffer> m_blank;

  Event m_left{Event::Kind::Auto};  // an AddStripe went
  std::int64_t m_unchecked = 0;     // bytes queued since free space was looked at; the scanner's thread only
  std::atomic<bool> m_written{false}, m_published{false};
  bool m_cut = false;  // by the format; the writer's thread only, while it runs
  CWaitStor m_facade{&m_feed};
};

}  // namespace quillbay
