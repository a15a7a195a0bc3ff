#include "printing/page_printer.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "platform/base_services.h"
#include "rasters/ops/raster_ops.h"

namespace quillbay {
namespace {

/// Where dark lines of a bitonal page are made smaller, a quarter of a pixel is enough for black: thin lines stay.
constexpr int kLineThreshold = 192;
constexpr int kHalfThreshold = 128;

std::string joinedNotes(const std::vector<std::string>& notes) {
  std::string all;
  for (const std::string& note : notes) all += (all.empty() ? "" : "; ") + note;
  return all;
}

/// Ends a long step when the job is given up.
class WakeProgress final : public CKxUnknownImplStatic<IProgress> {
 public:
  explicit WakeProgress(const JobSignals& jobSignals) : m_signals(jobSignals) {}
  void SetText(const char*) override {}
  void Step() override {}
  int SetPosition(int position) override { return std::exchange(m_position, position); }
  void Reset() override { m_position = 0; }
  int IsCancelled() override { return m_signals.isWoken ? 1 : 0; }

 private:
  const JobSignals& m_signals;
  int m_position = 0;
};

/// The numbers of a layout as the lines of a kept page see them, which is turned already.
struct Scale {
  std::int64_t width, outWidth;
  double scaleY;
  bool isNeeded;
};

Scale scaleOf(const PageLayout& layout, const PageShape& page) {
  const std::int64_t lines = layout.isTurned ? page.width : page.lines;
  Scale s{layout.isTurned ? page.lines : page.width, layout.pictureWidth,
          layout.isTurned ? layout.scaleX : layout.scaleY, false};
  // A scale so near to 1 that no line comes or goes is none.
  const bool sameLines = lines > 0 ? lines == layout.pictureLines : std::abs(s.scaleY - 1) < 1e-9;
  s.isNeeded = s.width != s.outWidth || !sameLines;
  return s;
}

}  // namespace

/// The stages that lines pass, for one run over the page: read, scaled, packed, laid on sheets of one column.
struct PagePrinter::Chain {
  Chain(const PageLayout& pageLayout, const PageShape& page, KxColorSpace colorSpace, const RasterType& type,
        PrintHalftone halftone, RasterStream& stream, std::int64_t sheetColumn)
      : layout(pageLayout),
        column(sheetColumn),
        scale(scaleOf(pageLayout, page)),
        kind(workingKind(colorSpace, type, scale.isNeeded)),
        reader(colorSpace, static_cast<std::int32_t>(scale.width), kind),
        packer(kind, type, layout.pictureWidth, isRunList(colorSpace) ? PrintHalftone::Threshold : halftone,
               isRunList(colorSpace) ? kLineThreshold : kHalfThreshold),
        sheets(pageLayout, type, stream),
        overlapBytes(lineBytes(type.kind, layout.pictureWidth)) {
    if (scale.isNeeded) {
      // Pixels of a palette or a drawing are repeated: what lies between two of them is neither.
      const bool isSmooth = !isRunList(colorSpace) && colorSpace != KxColorSpace::Palette;
      scaler.emplace(kind == LineKind::Rgb ? 3 : 1, scale.width, scale.outWidth, scale.scaleY, isSmooth,
                     [this](const std::uint8_t* line) { put(packer.pack(line)); });
    }
    overlap.resize(overlapBytes * static_cast<std::size_t>(layout.overlapY));
  }

  void add(const std::uint8_t* working) {
    if (scaler) {
      scaler->add(working);
    } else {
      put(packer.pack(working));
    }
  }

  void finish() {
    if (scaler) scaler->finish();
    if (sheets.isOpen()) sheets.finish();
  }

  /// Lays a line of the picture on its sheet, and keeps it if the next one shows it as well.
  void put(const std::uint8_t* packed) {
    if (sheets.isOpen() && sheets.isFull()) nextSheet();
    if (!sheets.isOpen()) sheets.start(layout.sheet(column, row));
    sheets.add(packed);
    const std::int64_t first = layout.sheet(column, row).top + layout.tileLines - layout.overlapY;
    if (layout.overlapY > 0 && lines >= first) {
      std::copy_n(packed, overlapBytes, overlap.data() + overlapBytes * static_cast<std::size_t>(lines - first));
    }
    ++lines;
  }

  void nextSheet() {
    sheets.finish();
    ++row;
    sheets.start(layout.sheet(column, row));
    for (std::int64_t i = 0; i < layout.overlapY; ++i) {
      sheets.add(overlap.data() + overlapBytes * static_cast<std::size_t>(i));
    }
  }

  const PageLayout& layout;
  const std::int64_t column;
  const Scale scale;
  const LineKind kind;
  PixelReader reader;
  LinePacker packer;
  SheetWriter sheets;
  std::optional<LineScaler> scaler;
  const std::size_t overlapBytes;
  std::vector<std::uint8_t> overlap;  // the last lines of a sheet
  std::int64_t row = 0, lines = 0;    // of the column
};

PagePrinter::PagePrinter(std::string title, PrintSettings settings, PageShape page, PrinterDocument& document,
                         JobSignals& jobSignals, std::atomic<std::int64_t>& linesDone)
    : m_title(std::move(title)),
      m_settings(std::move(settings)),
      m_page(page),
      m_document(document),
      m_signals(jobSignals),
      m_linesDone(linesDone) {}

PagePrinter::~PagePrinter() = default;

void PagePrinter::begin(IScanBuffer& stripe) {
  KxSize size;
  stripe.GetSize(&size);
  m_page.width = size.width;
  m_page.dpi = std::max(stripe.GetResolution(), 1U);
  m_colorSpace = stripe.GetColorSpace();
  const PrinterInfo& printer = m_document.printer();
  m_type = rasterTypeFor(printer, m_colorSpace, m_settings.color);
  if (m_settings.copies > printer.maxCopies) m_ownCopies = m_settings.copies;
  m_isWhole = m_ownCopies > 1 || needsWholePage(m_page, m_settings, printer);
  if (needsWholePage(m_page, m_settings, printer)) return;
  layOut();
  m_isWhole = m_isWhole || m_layout->isTurned || m_layout->columns > 1;
  if (m_isWhole) return;
  openDocument();
  m_chain = std::make_unique<Chain>(*m_layout, m_page, m_colorSpace, m_type, m_settings.halftone, *m_stream, 0);
}

void PagePrinter::layOut() {
  m_layout = std::make_unique<PageLayout>(layOutPage(m_page, m_settings, m_document.printer()));
}

void PagePrinter::openDocument() {
  m_document.open(m_title, m_settings, *m_layout, m_type, m_settings.copies / m_ownCopies);
  m_stream = std::make_unique<RasterStream>(
      *m_layout, m_type, m_settings.quality, m_layout->columns * m_layout->rows * m_ownCopies,
      [this](const char* bytes, std::size_t count) { m_document.write(bytes, count); });
}

void PagePrinter::add(IScanBuffer& stripe) {
  if (m_colorSpace == KxColorSpace::None) begin(stripe);
  KxSize size;
  stripe.GetSize(&size);
  if (size.width != m_page.width || stripe.GetColorSpace() != m_colorSpace) {
    throw CXIFaceException(Supp_Translate("The page changed its width or colours while it was printed."));
  }
  if (m_isWhole) {
    keep(stripe);
  } else {
    send(stripe, *m_chain);
  }
  m_linesIn += size.height;
}

void PagePrinter::keep(IScanBuffer& stripe) {
  if (m_linesIn > std::numeric_limits<std::int32_t>::max() / 2) {
    throw CXDeviceException(Supp_Translate("The page is too long to be turned, tiled or copied."));
  }
  const bool added = m_raster ? stripe.AddToRaster(static_cast<std::int32_t>(m_linesIn), m_raster.get()) != 0
                              : stripe.CreateRaster(m_raster.put()) != 0;
  if (!added) throw CXIFaceException(Supp_Translate("The page cannot be kept for printing."));
}

void PagePrinter::send(IScanBuffer& stripe, Chain& chain) {
  KxSize size;
  stripe.GetSize(&size);
  if (m_colorSpace == KxColorSpace::Palette) chain.reader.setPalette(stripe.GetPalette());
  const auto packed = isRunList(m_colorSpace) ? query<IPackedLines>(&stripe) : KxPtr<IPackedLines>{};
  for (std::int32_t i = 0; i < size.height; ++i) {
    chain.add(packed ? chain.reader.readBits(packed->GetBits() + packed->GetStride() * static_cast<std::size_t>(i))
                     : chain.reader.read(stripe.GetLine(i)));
  }
  m_linesDone += size.height;
}

void PagePrinter::finish() {
  if (m_isWhole) {
    m_page.lines = std::max(m_page.lines, m_linesIn);
    printKept();
  } else {
    m_chain->finish();
  }
  m_stream->flush();
  m_stream.reset();
  m_document.close();
}

void PagePrinter::printKept() {
  // What is known to come and did not come is white.
  if (const std::int64_t missing = m_page.lines - m_linesIn; missing > 0) {
    const auto growing = m_raster.as<IRStorAddStripe>();
    if (missing > std::numeric_limits<std::int32_t>::max() / 2 || !growing ||
        !growing->AddLines(0, static_cast<std::int32_t>(m_linesIn), static_cast<std::int32_t>(missing))) {
      throw CXIFaceException(Supp_Translate("The page cannot be kept for printing."));
    }
  }
  layOut();
  openDocument();
  if (m_layout->isTurned) {
    WakeProgress progress(m_signals);
    m_raster = rotateQuarters(m_raster.get(), 1, &progress);
    if (!m_raster) throw CXDeviceException(Supp_Translate("The print job was cancelled."));
  }
  for (std::int32_t copy = 0; copy < m_ownCopies; ++copy) {
    for (std::int64_t column = 0; column < m_layout->columns; ++column) printColumn(*m_raster, column);
  }
  m_raster = {};
  m_linesDone = m_page.lines;
}

void PagePrinter::printColumn(IRStor& raster, std::int64_t column) {
  Chain chain(*m_layout, m_page, m_colorSpace, m_type, m_settings.halftone, *m_stream, column);
  const auto context = KxPtr<IAccessContext>::adopt(raster.GetAccessContext(0, 0));
  if (!context) throw CXIFaceException(Supp_Translate("The page cannot be kept for printing."));
  const auto runs = context.as<IARSContext>();
  if (m_colorSpace == KxColorSpace::Palette) {
    std::vector<KXRGBQUAD> palette(256);
    context->GetPalette(palette.data());
    chain.reader.setPalette(palette.data());
  }
  const std::int32_t width = raster.GetWidth();
  std::vector<std::uint8_t> line(runs ? 0 : fixedLineBytes(m_colorSpace, width));
  for (std::int32_t i = 0; i < raster.GetHeight(); ++i) {
    if (!runs) context->ReadLine(i, 0, width, line.data());
    chain.add(
        chain.reader.read(runs ? reinterpret_cast<const std::uint8_t*>(runs->GetLinePointer(i)) : line.data()));
  }
  chain.finish();
}

std::string PagePrinter::note() const {
  if (!m_layout) return {};
  std::vector<std::string> notes = m_layout->notes;
  if (m_isWhole) {
    notes.push_back(Supp_Translate("printed after the scan"));
  } else if (m_chain && m_layout->rows > 0 && m_chain->row >= m_layout->rows) {
    notes.push_back(formatText(Supp_Translate("the page was longer than expected: %s more sheets"),
                               {toText(m_chain->row + 1 - m_layout->rows)}));
  } else if (m_chain && m_layout->rows == 0 && m_chain->row > 0) {
    notes.push_back(formatText(Supp_Translate("%s pieces"), {toText(m_chain->row + 1)}));
  }
  return joinedNotes(notes);
}

}  // namespace quillbay
