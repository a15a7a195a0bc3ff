#pragma once
/// Printing, as a host lends it to the panel: the tools "PrintOptions" and "RunPrinting" of its `IToolsFactory`,
/// and the parameter provider that keeps the options.
#include <cstdint>
#include <string>
#include <string_view>

#include "quillbay/kx_unknown.h"
#include "quillbay/param.h"
#include "quillbay/scan_buffer.h"

namespace quillbay {

namespace tool_name {
/// The page of the print options, an `IPanelTool`.
inline constexpr char PrintOptions[] = "PrintOptions";
/// Prints: the tool is queried for `IPrintingJob`.
inline constexpr char RunPrinting[] = "RunPrinting";
}  // namespace tool_name

/// Keys of a set of print options. A missing key means what its comment names first. Lengths are millimetres.
namespace print_key {
/// Not 0: the printer is the system's default, or the first that takes the page's size; everything else is the
/// printer's own default.
inline constexpr char AutoDetect[] = "AutoDetectPrintParameters";
inline constexpr char Copies[] = "PrintCopies";
/// The name of a queue as the print system lists it, or the "ipp://" or "ipps://" address of a printer.
inline constexpr char PrinterName[] = "PrinterName";
/// A medium by its self-describing name ("iso_a1_594x841mm", "roll_current_914.4x0mm"); empty: by the page.
inline constexpr char Media[] = "PrintMedia";
/// A `PrintScaling`, and the percentage for `PrintScaling::Percent`.
inline constexpr char Scaling[] = "PrintScaling";
inline constexpr char Percent[] = "PrintPercent";
/// A `PrintTurn`.
inline constexpr char Turn[] = "PrintTurn";
/// A `PrintPlace` across the medium.
inline constexpr char Place[] = "PrintPlace";
/// Margins that are kept free beyond what the printer cannot reach.
inline constexpr char MarginLeft[] = "PrintMarginLeft";
inline constexpr char MarginTop[] = "PrintMarginTop";
inline constexpr char MarginRight[] = "PrintMarginRight";
inline constexpr char MarginBottom[] = "PrintMarginBottom";
/// A `PrintColor`.
inline constexpr char Color[] = "PrintColor";
/// A `PrintHalftone`, for what is printed in black and white.
inline constexpr char Halftone[] = "PrintHalftone";
/// Dots per inch; 0: the page's own where the printer has it, else the nearest above, else its finest.
inline constexpr char Resolution[] = "PrintResolution";
/// 3 draft, 4 normal, 5 high; 0: the printer's default.
inline constexpr char Quality[] = "PrintQuality";
/// Not 0: a page that is larger than the medium goes over several sheets, with this overlap and crop marks.
inline constexpr char Tiled[] = "PrintTiled";
inline constexpr char Overlap[] = "PrintOverlap";
inline constexpr char CropMarks[] = "PrintCropMarks";
/// A page of unknown length is printed in pieces of this length, the last one filled with white; 0: 2 m, or what
/// the medium takes.
inline constexpr char PieceLength[] = "PrintPieceLength";
/// What is known of the page before it comes: lines (0: unknown), pixels, dots per inch. Not part of a template.
inline constexpr char PageLines[] = "PageLines";
inline constexpr char PageWidth[] = "PageWidth";
inline constexpr char PageDpi[] = "PageDpi";
}  // namespace print_key

enum class PrintScaling : int { TrueSize = 0, Percent = 1, FitWidth = 2 };
/// `Auto` turns by 90° when that takes less paper; turning needs the whole page before the first line is printed.
enum class PrintTurn : int { None = 0, Quarter = 1, Auto = 2 };
enum class PrintPlace : int { Centred = 0, Left = 1, Right = 2 };
enum class PrintColor : int { AsScanned = 0, Grey = 1, Bitonal = 2 };
enum class PrintHalftone : int { Threshold = 0, Ordered = 1, Diffusion = 2 };

/// A progress of work on lines; any thread.
class IPrintProgress {
 public:
  virtual ~IPrintProgress() = default;
  /// Lines that the printer was given so far. Returns 0 to give up.
  virtual int Printed(std::int64_t lines) = 0;
};

/// A page that is printed while it comes. Operations in declared order after the counted base; 1 for success.
class IPrintingJob : public IKxUnknown {
 public:
  /// Opens a job. The options are copied. 0: refused, see `IPrintOutcome::GetError`. User-interface thread.
  virtual int Start(const char* title, IParam* options) = 0;  // 3
  /// Prints a stripe whose first line is `line` of the page; stripes come in order, and their width, colours and
  /// resolution are the first one's. Blocks while the printer is behind; 0 when the job has failed. Any one thread.
  virtual int PrintStripe(std::int64_t line, IScanBuffer* stripe, IPrintProgress* progress) = 0;  // 4
  /// Ends the job: with `completed` its page is finished, without it is given up and the printer told so. Once.
  /// Returns when the printer has taken all of it, or the job has failed: a page that is turned or goes over
  /// several columns of sheets is printed only now. Any thread, but none beside `PrintStripe`; `Wake` ends it.
  virtual int End(int completed) = 0;  // 5
};

/// Takes what became known of the page between `Start` and its first stripe; queried from the job, which may lack
/// it. The thread of the stripes.
class IPrintPage : public IKxUnknown {
 public:
  /// The lines that the page is going to have, in place of `print_key::PageLines`; 0: unknown.
  virtual void SetPageLines(std::int64_t lines) = 0;
};

/// Where a job stands at the printer.
enum class PrintFate : int {
  Working = 0,    ///< it waits its turn, or is printed
  Printed = 1,    ///< the printer has completed it
  Held = 2,       ///< it does not go on by itself: held, or the printer is stopped
  Aborted = 3,    ///< the printer gave it up
  Cancelled = 4,  ///< somebody cancelled it
  Unknown = 5,    ///< the printer does not answer, or knows the job no more
};

/// How a job fares; queried from the job. Any thread.
class IPrintOutcome : public IKxUnknown {
 public:
  /// The first error, with the printer's name, its own reason and what to do; empty when all is well.
  [[nodiscard]] virtual std::string GetError() = 0;
  /// The printer's name, and the job's number there; 0 before it has one.
  [[nodiscard]] virtual std::string GetPrinter() = 0;
  virtual std::int32_t GetJob() = 0;
  /// What is worth saying of a job that went well ("turned", "in 3 pieces of 10 m"); empty: nothing.
  [[nodiscard]] virtual std::string GetNote() = 0;
  /// Gives up from another thread: a blocked `PrintStripe` returns 0.
  virtual void Wake() = 0;
  /// After `End(1)`: waits for the printer's last word, at most `seconds`. 1: printed. 0: held, aborted or still
  /// at work, with the printer's reason in `*state`.
  virtual int Await(double seconds, std::string* state) = 0;
  /// What the last `Await` found.
  [[nodiscard]] virtual PrintFate GetFate() { return PrintFate::Working; }
};

/// Keeps the parameters of the host's tools; queried from the application object. User-interface thread.
class IParamProvider : public IKxUnknown {
 public:
  /// The current parameters of a tool, with a reference, to be copied by who changes them; null for a tool without.
  virtual IParam* GetToolParams(std::string_view tool) = 0;
  /// Makes a copy of `params` the tool's current ones and keeps them. Returns 1, or 0.
  virtual int SetToolParams(std::string_view tool, IParam* params) = 0;
};

}  // namespace quillbay
