#pragma once
/// What a host offers around printing, beside its tools (printing.h): printers, options as text, whole rasters, and
/// what became of a job.
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "quillbay/app.h"
#include "quillbay/connection_point.h"
#include "quillbay/export.h"
#include "quillbay/printing.h"
#include "quillbay/raster.h"

namespace quillbay {

/// The key of the panel's chosen print options among its settings: the text of `kCurrentOptions` or `kAutoOptions`,
/// or the path of a template.
inline constexpr char kChosenOptionsKey[] = "CurrPrinter";
inline constexpr char kCurrentOptions[] = "<Current>";
inline constexpr char kAutoOptions[] = "<Auto>";

/// Hears of changed parameters of the host's tools.
class IParamReactor : public IKxUnknown {
 public:
  virtual void OnToolParams(std::string_view tool) = 0;
};

/// Where to subscribe for that; queried from `IParamProvider`, which may lack it. User-interface thread.
class IParamReactors : public IKxUnknown {
 public:
  /// With a reference.
  virtual IConnectionPoint<IParamReactor>* GetReactors() = 0;
};

/// A printer as the print system lists it.
struct PrinterEntry {
  std::string name;         ///< what `print_key::PrinterName` takes
  std::string description;  ///< for people, with its place; may be empty
  std::string state;        ///< "idle", or why it does not print; in the user's language
  bool isDefault = false;
  std::vector<std::string> media;  ///< self-describing names, as far as they are known
};

/// The printers of the system. Takes up to some seconds; any thread. Returns 1, or 0 with the reason in `*why`,
/// with those that were found.
QUILLBAY_API int ListPrinters(std::vector<PrinterEntry>* out, std::string* why);

/// Sets an option of printing from text, "scaling" to "fit" for instance. Returns 1, or 0 with the reason, which
/// lists what is allowed, in `*why`.
QUILLBAY_API int SetPrintOption(IParam* options, std::string_view name, std::string_view value, std::string* why);
/// The names that it knows, each with what it takes: "scaling=true|fit|PERCENT".
[[nodiscard]] QUILLBAY_API std::vector<std::string> ListPrintOptions();

/// Puts what is known of a page before it is printed into its options.
QUILLBAY_API void DescribePage(IRStor* raster, IParam* options);
/// Hands all lines of a raster to a job that was started; not its end. Returns 1; 0 when the job has failed or
/// `progress` (of lines, may be null) was cancelled. Blocks as the job does; any thread, while the raster does not
/// change. Throws CXException when the raster cannot be read.
QUILLBAY_API int PrintRaster(IPrintingJob* job, IRStor* raster, IProgress* progress);

/// A job as the watch reports it.
struct PrintReport {
  std::string printer;
  std::int32_t job = 0;  ///< its number there; 0: unknown
  PrintFate fate = PrintFate::Working;
  std::string text;  ///< a sentence for users, with the printer's own reason
};

/// Watches jobs between their last line and the printer's last word; queried from the application object, which may
/// lack it. User-interface thread.
class IPrintWatch : public IKxUnknown {
 public:
  /// Watches a job that was ended with `End(1)`, on a thread of its own.
  virtual void Watch(IPrintingJob* job) = 0;
  /// Jobs whose last word has not come.
  [[nodiscard]] virtual int Count() = 0;
  /// Receives each change of a job's fate in place of notes and messages; null: they are used again.
  virtual void SetHandler(std::function<void(const PrintReport&)> handler) = 0;
  /// Watches no longer, and does not wait for printers. Jobs go on.
  virtual void Forget() = 0;
};

}  // namespace quillbay
