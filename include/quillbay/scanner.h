#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "quillbay/connection_point.h"
#include "quillbay/export.h"
#include "quillbay/geometry.h"
#include "quillbay/kx_unknown.h"
#include "quillbay/param.h"
#include "quillbay/scan_buffer.h"
#include "quillbay/scan_keys.h"
#include "quillbay/scan_mode.h"

namespace quillbay {

class IApp;
class IQuillbaySink;

/// Codes of `IQuillbayUnit::Command`.
enum class UnitCommand : int {
  Run = 0,       ///< run the scan that `Scan` armed
  Stop = 1,      ///< stop it; returns at once, `ScanEnded(2)` follows
  Close = 2,     ///< stop and close the device; the unit stays usable
  IsLoaded = 4,  ///< is a document loaded? non-zero: yes (or the device cannot tell)
  UnloadForward = 5,
  UnloadBack = 6,
};

/// One resolution that a unit offers.
struct UnitResolution {
  std::string text;
  std::int32_t dpi = 0;
};

/// A scanner unit. Operations are called on the user-interface thread; notifications of a scan come on a thread of
/// the unit's own. A unit calls only the sink that was given to `Scan`.
class IQuillbayUnit : public IKxUnknown {
 public:
  /// Stores the resolutions for a scan mode (0-7) in `*out`, ascending. For a device with a range: usual values
  /// within it, from 50 dpi or the device's minimum above it. Returns their count.
  virtual int GetResolutions(std::vector<UnitResolution>* out, int mode) = 0;
  /// Takes over the settings of `request` and arms a scan for `sink`. Returns 1, or 0 with the reason in the unit's
  /// `IUnitFault`: an invalid number or one out of range is reported, never replaced.
  /// Keys read (see scan_keys.h): `Mode`, `ImageDpi`, `Rect` (top = bottom: to the end of the document; none: the
  /// whole bed), `RequestType`, `BatchMode`, `PaperLength` (used where the device cannot find the document's end),
  /// `Bursting` (non-zero: a piece of a long document; a piece that starts after its end has no lines), `Level` of
  /// a black-and-white mode, without it `Threshold`, `Gamma` (applied by the device's own gamma tables where it has
  /// some, else to its lines), and of mode 6 one of `Lut`, `Palette` and `PaletteCount` (colours that are spread
  /// evenly; 256 without any of them), the first in this order.
  virtual int Scan(IScanSink* sink, IParam* request) = 0;
  /// One of `UnitCommand`. `sink` may be null.
  virtual int Command(IScanSink* sink, int code) = 0;
  /// Widest scan in millimetres.
  virtual double GetMaxWidth() = 0;
  /// Non-zero when the unit offers the scan mode (0-7), or, for 8, scans with its own settings.
  virtual int HasMode(int mode) = 0;
  /// Where a sink of the panel connects, with a reference.
  virtual IConnectionPoint<IScanSink>* GetScanSinks() = 0;
  /// Longest scan in millimetres; 0: no limit.
  virtual double GetMaxLength() = 0;
  /// 1 always centres the document, 2 never, others: the user chooses.
  virtual int GetCentring() = 0;
};

/// A unit whose device takes any resolution between two, beside the usual ones that it lists; queried from the
/// unit.
class IUnitResolutionRange : public IKxUnknown {
 public:
  /// Stores the bounds in dots per inch for a scan mode. Returns 1, or 0 when only the listed ones are taken.
  virtual int GetRange(int mode, std::int32_t* least, std::int32_t* most) = 0;
};

/// Where a unit takes its documents from.
enum class UnitSource : int { Flatbed = 0, Feeder = 1, Duplex = 2 };

/// Whether a unit feeds documents, and from which source; queried from the unit. User-interface thread.
class IUnitMedia : public IKxUnknown {
 public:
  /// The sources that the device offers, in the order of `UnitSource`. Returns their count; at least one.
  virtual int GetSources(std::vector<UnitSource>* out) = 0;
  /// The one that the next scan uses.
  [[nodiscard]] virtual UnitSource GetSource() = 0;
  /// Chooses the source of the next scans. Returns 1, or 0 with the reason (which lists the sources) in `*why`,
  /// which may be null.
  virtual int SetSource(UnitSource source, std::string* why) = 0;
  /// Non-zero if the current source feeds the next document and reports when it is empty: a batch then continues
  /// until it is empty. With 0 the user has to place every document, and a batch has to ask. A device without a
  /// choice of sources counts as one without a feeder until it has reported that no document is left.
  virtual int HasFeeder() = 0;
};

/// The values that a unit accepts for a key of a request.
struct UnitKeyRange {
  double initial = 0, least = 0, most = 1, step = 1;
};

/// Which keys of a request a unit knows beside those of `IQuillbayUnit::Scan`; queried from the unit.
class IUnitKeyRanges : public IKxUnknown {
 public:
  /// Stores the range of a key: `key::numbered(key::Level, mode)` and the like. Returns 1, or 0 when the unit does
  /// not know the key; `*out` stays as it was. The unit refuses values outside the range. `Saturation` is known to
  /// units with colour; no unit of ours knows `Hue`, which `CalculateColorCurves` makes part of `Gamma`.
  virtual int GetKeyRange(std::string_view key, UnitKeyRange* out) = 0;
};

/// The document that a device has measured by itself. Lengths in millimetres.
struct MeasuredMedia {
  std::string paper;       ///< the device's name for it; may be empty
  double width = 0;        ///< across the bed
  double length = 0;       ///< along the feed; of no meaning when `isEndless`
  bool isEndless = false;  ///< the device knows the width alone
};

class IQuillbayUnitEx : public IKxUnknown {
 public:
  /// The receiver of the scanner's keys (`IQuillbaySink::DoCommand` 10-19); null withdraws it.
  virtual int SetStationSink(IQuillbaySink* sink) = 0;
  /// Non-zero if the device measures a loaded document by itself: no prescan is made to find it.
  virtual int DetectsMedia() { return 0; }
  /// Stores the loaded document's measures. Returns 1, or 0 when the device could not measure it.
  virtual int GetMedia(MeasuredMedia* /*out*/) { return 0; }
  /// Stores the rectangle, in millimetres, of what a device pulls in before a scan of found media begins: the area
  /// that was found in a prescan then begins at the top, and ends later by the rectangle's bottom. Returns 1, or 0
  /// where the device pulls in nothing.
  virtual int GetMediaRect(tagRRECT* /*out*/) { return 0; }
};

/// Why a unit refused or ended a scan.
enum class UnitFaultCode : int {
  None = 0,
  Cancelled,
  NoDocuments,
  Jammed,
  CoverOpen,
  Busy,
  AccessDenied,
  InputOutput,
  NoMemory,
  Unsupported,
  Invalid,
  Other,
  NotChosen,  ///< of `IScanManager::GetCurrent`: there are several scanners, and the user has to choose one
  NoScanner,  ///< of `IScanManager::GetCurrent`: there is none
};

struct UnitFault {
  UnitFaultCode code = UnitFaultCode::None;
  /// A sentence for users: what failed on which device, and what to do. UTF-8.
  std::string text;
};

/// The last fault of a unit. Thread-safe. Cleared by the next `Scan`.
class IUnitFault : public IKxUnknown {
 public:
  [[nodiscard]] virtual UnitFault GetFault() = 0;
};

/// What kind of value an option has.
enum class UnitOptionType : int { Text, Number, WholeNumber, Switch, Button };

/// One option of a device: its value as text, and all that a form needs to show it.
struct UnitOption {
  std::string name;  ///< the device's own name, e.g. "source"
  std::string title;
  std::string description;
  std::string value;                 ///< current value; empty for buttons and inactive options
  std::string unit;                  ///< "mm", "dpi", "%", "px", "us", "bit" or empty
  std::vector<std::string> choices;  ///< allowed values, when it is a list
  std::string range;                 ///< e.g. "0..215.9 (in steps of 0.1)", when it is a range
  bool active = true;
  bool settable = true;
  UnitOptionType type = UnitOptionType::Text;
  std::string group{};                   ///< title of its group; may be empty
  double least = 0, most = 0, step = 0;  ///< of a number with a range (least < most); step 0: any number
  int count = 1;                         ///< numbers in the value; several are separated by commas
  bool advanced = false;                 ///< the driver marks it as advanced
  bool followsRequest = false;           ///< a scan request sets it (mode, resolution, area): cannot be set here
  bool canBeAutomatic = false;           ///< takes `kAutomaticValue`: the device then chooses the value itself
  bool isAutomatic = false;              ///< it was set so; `value` is what the device chose
};

/// A value of `IUnitOptions::SetOption` for options that can be automatic, unless it is one of their choices.
inline constexpr char kAutomaticValue[] = "auto";

/// The options of the device, if it has any, for a dialog of device settings. Setting one may change
/// the values, ranges and activity of others: read them again afterwards. User-interface thread.
class IUnitOptions : public IKxUnknown {
 public:
  [[nodiscard]] virtual std::vector<UnitOption> GetOptions() = 0;
  /// Sets the value that the user wants. It is stored separately from the value of the device and applied again
  /// before every scan. A button is pressed once, whatever the value. Returns 1, or 0 with the reason (which lists
  /// the allowed values) in `*why`.
  virtual int SetOption(std::string_view name, std::string_view value, std::string* why) = 0;
  /// Writes the options set since the unit was opened, a text under each option's name; nothing where the device's
  /// own name holds them. Returns 1.
  virtual int SaveOptions(IParam* out) = 0;
  /// Sets the options that `SaveOptions` wrote. Those that the device refuses are skipped, with a line in the log.
  /// Returns 1.
  virtual int LoadOptions(IParam* in) = 0;
};

/// A scanner as the manager lists it.
class IScan : public IKxUnknown {
 public:
  /// The scanner's name for users and for its settings.
  [[nodiscard]] virtual std::string GetName() = 0;
};

/// A listed device.
struct ScannerEntry {
  std::string device;  ///< the device name: "test:0", "net:host:...", "sim:width=900"
  std::string vendor, model, type;
  std::string serial{};  ///< of an open device; lists have none
};

/// The longest time for the list of devices, in seconds; it then has the devices found so far.
inline constexpr int kListLimitSeconds = 15;

/// Finds, remembers and opens scanners. A simulated scanner never stands in for a real one: it is opened only when
/// its name was given (`SetCurrent`, SANE_DEFAULT_DEVICE) or is the remembered one.
class IScanManager : public IKxUnknown {
 public:
  /// The devices, listed in a helper process; takes seconds. Simulated ones come last.
  /// Returns 1, or 0 with the reason in `*why`; the devices found so far are in `*out`.
  virtual int List(std::vector<ScannerEntry>* out, std::string* why) = 0;
  /// The current scanner with a reference, opened at the first call: the device that was set, else the one of
  /// SANE_DEFAULT_DEVICE, else the remembered one (found again by vendor, model and name when it is gone under its
  /// old name), else the only real one that is listed. Never null: without a scanner that could be opened it lacks
  /// `IQuillbayUnit` and reports why by `IUnitFault`: `NotChosen` (several are listed; `GetChoices` has them),
  /// `NoScanner`, or the fault. Nothing is listed for a host that watches (`new_IScanManagerEx`, 2): without a
  /// known scanner it gets `NotChosen` and no choices at once.
  virtual IScan* GetCurrent() = 0;
  /// Makes a device the current one; nothing is opened yet. Returns 1, or 0 for an empty or malformed string
  /// (reason in `*why`).
  virtual int SetCurrent(std::string_view device, std::string* why) = 0;
  /// Lets the user choose (through the application's `IScannerChooser`). Returns 1 when another was chosen, 0
  /// if the user cancelled or cannot be asked.
  virtual int Choose(int reason) = 0;
  /// Gives the manager the folder of the host's program, and the store of its settings (null: nothing is kept).
  virtual int Initialise(std::string_view folder, IParam* settings, int flags) = 0;
  /// The manager's name for a scanner: vendor, model and name.
  [[nodiscard]] virtual std::string GetScannerName(IScan* scanner) = 0;
  /// Writes the current device into the settings store. Returns 1, or 0 without a store.
  virtual int Remember() = 0;
  /// Whether a device is known without asking: set, in SANE_DEFAULT_DEVICE, or remembered.
  virtual int HasCurrent() = 0;
  /// The real scanners that `GetCurrent` found and could not choose from, without another search. Returns their
  /// count.
  virtual int GetChoices(std::vector<ScannerEntry>* out) = 0;
};

/// Finds a scanner that was disconnected and connected again; queried from the manager.
class IScannerWatch : public IKxUnknown {
 public:
  /// Stores the identity of the current scanner. Returns 1, or 0 if none is known, or it is a simulated one, which
  /// is never missing. User-interface thread.
  virtual int GetWanted(ScannerEntry* out) = 0;
  /// Searches for the scanner in a helper process: under its name, also if no driver lists it, or under another
  /// name with the same vendor, model and type. Takes seconds; any thread. `stopped` (may be empty) is called
  /// several times a second and ends the search. Returns 1 with the device in `*found`, or 0 (`*why` holds the
  /// reason if the search failed).
  virtual int Find(const ScannerEntry& lost, ScannerEntry* found, std::string* why,
                   const std::function<bool()>& stopped) = 0;
  /// Opens the device of `Find` as the current scanner, which keeps its name and settings. Returns 1, or 0 with the
  /// reason in `*why`: the current scanner is then unavailable. User-interface thread.
  virtual int Reopen(const ScannerEntry& found, std::string* why) = 0;
  /// `IScanManager::List` that can be cancelled: `stopped` is called several times a second. Returns 0 if it ended
  /// the search, with the devices found so far.
  virtual int ListUntil(std::vector<ScannerEntry>* out, std::string* why, const std::function<bool()>& stopped) = 0;
};

/// The host's dialog for the choice of a scanner.
class IScannerChooser : public IKxUnknown {
 public:
  /// Stores the chosen device in `*device`. Returns 1, or 0 if the user cancelled.
  virtual int ChooseScanner(IScanManager* manager, std::string* device) = 0;
};

/// A scanner manager for a host. `flags` 1: simulated scanners are listed as well; 2: the host watches for missing
/// scanners (`IScannerWatch`), so that `GetCurrent` tries the device under its own name only and never lists
/// devices.
QUILLBAY_API KxPtr<IScanManager> new_IScanManagerEx(IApp* app, int flags);

/// Whether a device string opens a simulated scanner: its keys, their values, and its picture files, whose start
/// is read. Returns 1, or 0 with the reason (one line for users) in `*why`. Any thread.
QUILLBAY_API int CheckSimulatedDevice(std::string_view device, std::string* why);

}  // namespace quillbay
