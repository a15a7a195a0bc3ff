#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "quillbay/detected_area.h"
#include "quillbay/export.h"
#include "quillbay/kx_unknown.h"
#include "quillbay/param.h"
#include "quillbay/scanner.h"

namespace quillbay {

enum class StartKind : int { Scan = 0, Prescan = 1, AreaPrescan = 2, Batch = 3 };
enum class StopKind : int { Now = 0, AfterPage = 1 };

/// The number of the panel's save page (`IQuillbayControl::ShowPage`).
inline constexpr int kSavePage = 10;

/// Why a run (a scan with all its batch pages or burst pieces) ended.
enum class EndCause : int {
  Done = 0,     ///< all requested pages
  Stopped = 1,  ///< by the user or the host
  Device = 2,   ///< the scanner failed
  Output = 3,   ///< the file, raster or job could not be written
  Media = 4,    ///< no document, or the feeder ran empty
  Refused = 5,  ///< refused before the paper moved; a message gave the reason
};

/// The properties of a page or a preview at its start.
struct ScanStartInfo {
  StartKind kind = StartKind::Scan;  ///< `Prescan` and `AreaPrescan` are previews: no page follows
  std::int32_t page = 0;             ///< from 1, within the run
  std::int64_t width = 0;            ///< pixels
  std::int64_t expectedLines = -1;   ///< -1 when unknown
  std::uint32_t dpi = 0;
  KxColorSpace colorSpace = KxColorSpace::None;
  std::string file;                ///< the target; empty without a file
  std::int32_t paletteColors = 0;  ///< of a palette scan: the palette's size
};

/// A finished page.
struct PageInfo {
  std::int32_t page = 0;
  std::int64_t width = 0, lines = 0;
  std::uint32_t dpi = 0;
  std::string file;        ///< the file that holds it; empty without a file
  bool published = false;  ///< false until a multi-page file (".part") is complete
};

/// Receives the events of a panel's scans and previews, always on the user-interface thread.
class IQuillbayEvents : public IKxUnknown {
 public:
  virtual void OnStarted(const ScanStartInfo& info) = 0;
  /// Lines received so far; merged, at most about twenty a second.
  virtual void OnLines(std::int64_t lines) = 0;
  virtual void OnPageFinished(const PageInfo& page) = 0;
  /// A multi-page file got its final name.
  virtual void OnPublished(const std::string& file, std::int32_t pages) = 0;
  /// A message was shown through `IEvents`, or would have been.
  virtual void OnMessage(const std::string& text) = 0;
  /// The panel looks for the document; `OnDetected` follows when it has an area.
  virtual void OnDetecting() {}
  /// The area that is scanned next was found.
  virtual void OnDetected(const DetectedArea&) {}
  /// The run is over; the panel is idle. `fault` is the scanner's when it is the cause.
  virtual void OnEnded(EndCause cause, const UnitFault& fault, std::int32_t pages) = 0;
  /// What a host may show as well is another one now, by whomever: `key::Units`, or `key::ScanModesChanged` (what
  /// the scanner offers: its sources, modes and resolutions). A setting that is set in this call is not told again.
  virtual void OnSettingChanged(std::string_view /*key*/) {}
};

/// The operations of a panel beyond `IQuillbaySink`; queried from it. Called on the user-interface thread.
class IQuillbayControl : public IKxUnknown {
 public:
  /// Sets a scan parameter through its setter (with its broadcast). Returns 1, or 0 with the reason, which lists
  /// what is allowed, in `*why`.
  virtual int SetParam(std::string_view key, const CKxVariant& value, std::string* why) = 0;
  /// Reads a scan parameter. Returns 1, or 0 when there is none of that name.
  virtual int GetParam(std::string_view key, CKxVariant* out) = 0;
  /// The names that `SetParam` and `GetParam` know.
  [[nodiscard]] virtual std::vector<std::string> GetParamKeys() = 0;
  /// Every key that a page of the current mode or the destination knows, with its value: what
  /// `IQuillbaySink::ApplyParams` takes.
  virtual int GetPageParams(IParam* out) = 0;
  /// Starts, later on this thread. `count` pages for a batch, 0: until there are no more documents. Returns 1, or 0
  /// when something runs already, or a start waits.
  virtual int Start(StartKind kind, int count) = 0;
  virtual int Stop(StopKind kind) = 0;
  virtual int Eject() = 0;
  /// Non-zero while a scan, a prescan, or the finishing of a page runs.
  virtual int IsBusy() = 0;
  /// The file name, with folder, that the next scan would get, after the file-exists rule; nothing changes.
  [[nodiscard]] virtual std::string GetNextFileName() = 0;
  virtual int Advise(IQuillbayEvents* events) = 0;
  virtual int Unadvise(IQuillbayEvents* events) = 0;
  /// Writes the settings of all pages into the host's profile now (a panel that closes does so as well).
  virtual int SaveSettings() = 0;
  /// Brings a settings page to the front by its number; a panel in its small layout grows for it. Returns 1, or 0
  /// when the current mode has no such page.
  virtual int ShowPage(int number) = 0;
};

/// Non-zero when the settings of a panel for a scanner of this name (`IScan::GetName`) are in the profile of `app`.
/// Meant for the time before the panel opens; a panel saves its settings when it closes.
QUILLBAY_API int HasSavedSettings(IApp* app, std::string_view scannerName);

}  // namespace quillbay
