#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "printing/printer_info.h"

namespace quillbay {

/// How long asking the print system and its printers may take, in seconds.
struct PrinterPatience {
  double connect = 15;
  double answer = 30;  ///< without a byte
  double list = 4;     ///< for printers in the network to report
};

/// What a printer takes, by its own words. `name`: of a queue, or an "ipp://" or "ipps://" address; empty: the
/// system's default printer. Blocks; any thread. Throws CXDeviceException with the printer's name, the cause and
/// what to do.
[[nodiscard]] PrinterInfo printerAttributes(const std::string& name, const PrinterPatience& patience = {});

/// The printers that the print system knows, the default one first, without their attributes. Blocks; any thread.
/// Throws CXDeviceException when the print system does not answer.
[[nodiscard]] std::vector<PrinterInfo> listPrinters(const PrinterPatience& patience = {});

/// Lists and describes printers in the background. The caller never waits, also not for a print system that does
/// not answer. Callbacks come on a thread of their own, with an error text when it failed. After the destructor
/// none begins; it waits for one that runs.
class PrinterList {
 public:
  /// Comes up to twice: with the print system's own queues as soon as they are known, then `isComplete`, with those
  /// that were found in the network as well.
  using Listed = std::function<void(std::vector<PrinterInfo> printers, bool isComplete, const std::string& error)>;
  using Described = std::function<void(PrinterInfo printer, const std::string& error)>;

  PrinterList();
  ~PrinterList();
  PrinterList(const PrinterList&) = delete;
  PrinterList& operator=(const PrinterList&) = delete;

  void list(Listed then);
  /// `name` as of `printerAttributes`.
  void describe(const std::string& name, Described then);

 private:
  struct Shared;
  std::shared_ptr<Shared> m_shared;
};

/// The smallest medium of `printer` that takes a page of this size in millimetres (length 0: unknown), printable on
/// all of it if there is such a one; loaded media first, rolls before sheets of equal width. Null when none does.
[[nodiscard]] const PrinterMedia* mediaForPage(const PrinterInfo& printer, double width, double length);

/// "Auto Detect Printer": the default printer if it takes the page's size, else the first that does, else the
/// default printer, else the first. Size 0: any. Blocks. Throws CXDeviceException when there is no printer.
[[nodiscard]] PrinterInfo detectPrinter(double width, double length, const PrinterPatience& patience = {});

}  // namespace quillbay
