#pragma once
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "printing/line_packer.h"
#include "printing/line_scaler.h"
#include "printing/page_layout.h"
#include "printing/pixel_reader.h"
#include "printing/printer_document.h"
#include "printing/raster_stream.h"
#include "printing/sheet_writer.h"
#include "quillbay/raster.h"
#include "quillbay/scan_buffer.h"

namespace quillbay {

/// Turns the stripes of a page into sheets at a printer: while they come, or, for a page that is turned, cut into
/// columns or copied here, from a raster that keeps them (its lines beyond the memory budget are in a scratch
/// file). One thread. Throws CXDeviceException and what rasters throw.
class PagePrinter {
 public:
  /// All outlive it. `linesDone` counts the lines of the page that the printer was given.
  PagePrinter(std::string title, PrintSettings settings, PageShape page, PrinterDocument& document,
              JobSignals& jobSignals, std::atomic<std::int64_t>& linesDone);
  ~PagePrinter();
  PagePrinter(const PagePrinter&) = delete;
  PagePrinter& operator=(const PagePrinter&) = delete;

  void add(IScanBuffer& stripe);
  /// The page has ended; the document is closed.
  void finish();
  /// What is worth telling of a job that went well.
  [[nodiscard]] std::string note() const;

 private:
  struct Chain;

  void begin(IScanBuffer& stripe);
  void layOut();
  void openDocument();
  void keep(IScanBuffer& stripe);
  void send(IScanBuffer& stripe, Chain& chain);
  void printKept();
  void printColumn(IRStor& raster, std::int64_t column);

  const std::string m_title;
  const PrintSettings m_settings;
  PageShape m_page;
  PrinterDocument& m_document;
  JobSignals& m_signals;
  std::atomic<std::int64_t>& m_linesDone;
  KxColorSpace m_colorSpace = KxColorSpace::None;
  bool m_isWhole = false;        // it is kept until its end
  std::int32_t m_ownCopies = 1;  // those that the printer does not make
  std::unique_ptr<PageLayout> m_layout;
  RasterType m_type;
  std::unique_ptr<RasterStream> m_stream;
  std::unique_ptr<Chain> m_chain;
  KxPtr<IRStor> m_raster;
  std::int64_t m_linesIn = 0;
};

}  // namespace quillbay
