#include "printing/page_layout.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "platform/base_services.h"
#include "printing/printers.h"
#include "quillbay/geometry.h"

namespace quillbay {
namespace {

constexpr double kSlackMm = 0.5;        // a page in whole pixels against a medium in tenths of a millimetre
constexpr double kPieceMm = 2000;       // of a page of unknown length: little paper is lost, few cuts are made
constexpr double kMarkMm = 5;           // crop marks
constexpr double kMarkGapMm = 1;        // between them and the picture
constexpr double kWorthTurning = 0.98;  // turned only for paper that is worth it

std::int64_t pixelsOf(double mm, std::uint32_t dpi) { return std::llround(mm * dpi / kMmPerInch); }

/// Whole millimetres, for messages.
std::string mm(double v) { return toText(static_cast<std::int64_t>(std::llround(v))); }

std::string count(std::int64_t v) { return toText(v); }

struct Size {
  double width = 0, length = 0;  // mm; length 0: unknown
};

PrintMargins larger(const PrintMargins& a, const PrintMargins& b) {
  return {std::max(a.left, b.left), std::max(a.top, b.top), std::max(a.right, b.right),
          std::max(a.bottom, b.bottom)};
}

/// The medium that a page gets when none was chosen and none takes it: the printer's usual one, of the largest
/// first a loaded one.
const PrinterMedia* usualMedia(const PrinterInfo& printer) {
  if (const PrinterMedia* usual = findMedia(printer, printer.defaultMedia)) return usual;
  const auto best = std::max_element(printer.media.begin(), printer.media.end(),
                                     [](const PrinterMedia& a, const PrinterMedia& b) {
                                       return a.isReady != b.isReady ? b.isReady : a.width < b.width;
                                     });
  return best == printer.media.end() ? nullptr : &*best;
}

const PrinterMedia& chosenMedia(const PrinterInfo& printer, const PrintSettings& s, Size picture) {
  const PrinterMedia* media = nullptr;
  if (!s.media.empty()) {
    media = findMedia(printer, s.media);
    if (!media) {
      throw CXDeviceException(formatText(
          Supp_Translate("The printer \"%s\" has no medium \"%s\". Choose another one in the print options."),
          {printer.title(), s.media}));
    }
    return *media;
  }
  if (s.scaling != PrintScaling::FitWidth) {
    media = mediaForPage(printer, picture.width + s.margins.left + s.margins.right,
                         picture.length > 0 ? picture.length + s.margins.top + s.margins.bottom : 0);
  }
  if (!media) media = usualMedia(printer);
  if (!media) {
    throw CXDeviceException(
        formatText(Supp_Translate("The printer \"%s\" does not say which media it takes. Choose another printer."),
                   {printer.title()}));
  }
  return *media;
}

/// One way to put a page on a printer.
class Layout {
 public:
  Layout(const PageShape& page, const PrintSettings& settings, const PrinterInfo& printer, bool turned)
      : m_page(page), m_settings(settings), m_printer(printer) {
    m_out.isTurned = turned;
    m_out.resolution = printResolution(printer, settings.resolution, page.dpi);
  }

  /// False: it does not fit; `refusal` says why.
  bool make() {
    const double percent = m_settings.scaling == PrintScaling::Percent ? m_settings.percent / 100 : 1;
    Size picture = pictureSize(percent);
    m_out.media = chosenMedia(m_printer, m_settings, picture);
    m_margins = larger(m_settings.margins, m_out.media.margins);
    if (m_settings.scaling == PrintScaling::FitWidth) {
      const double room = m_out.media.width - m_margins.left - m_margins.right;
      if (room <= 0) return false;
      m_factor = room / picture.width;
      picture = pictureSize(m_factor);
    } else {
      m_factor = percent;
    }
    m_picture = picture;
    chooseSheet();
    if (!fits() && !m_settings.isTiled) return false;
    scale();
    if (fits()) {
      place();
    } else {
      tile();
    }
    return m_out.tileWidth > 0 && m_out.tileLines > 0;
  }

  /// Square millimetres of paper.
  [[nodiscard]] double paper() const {
    return m_out.sheetWidth * m_out.sheetLength * static_cast<double>(m_out.columns) *
           static_cast<double>(std::max<std::int64_t>(m_out.rows, 1));
  }
  [[nodiscard]] PageLayout& out() { return m_out; }

  [[noreturn]] void refuse() const {
    const PrinterMedia& m = m_out.media;
    throw CXDeviceException(formatText(
        Supp_Translate(
            "The page is %s x %s mm on paper; the medium %s of the printer \"%s\" takes %s x %s mm. Choose a "
            "larger medium, another scale, \"fit to width\", or tiling in the print options."),
        {mm(m_picture.width), m_picture.length > 0 ? mm(m_picture.length) : "?", mediaTitle(m), m_printer.title(),
         mm(m.width - m_settings.margins.left - m_settings.margins.right),
         mm(m.length - m_settings.margins.top - m_settings.margins.bottom)}));
  }

 private:
  [[nodiscard]] Size pictureSize(double factor) const {
    const Size upright{m_page.widthMm() * factor, m_page.lengthMm() * factor};
    return m_out.isTurned ? Size{upright.length, upright.width} : upright;
  }

  /// The sheet's size: a roll is cut where the picture ends.
  void chooseSheet() {
    const PrinterMedia& m = m_out.media;
    const double across = m_picture.width + m_margins.left + m_margins.right;
    m_out.sheetWidth = m.hasAnyWidth() ? std::clamp(across, m.minWidth, m.width) : m.width;
    double along = m_picture.length + m_margins.top + m_margins.bottom;
    if (m_picture.length <= 0) along = m_settings.pieceLength > 0 ? m_settings.pieceLength : kPieceMm;
    m_out.sheetLength = m.isRoll() ? std::clamp(along, m.minLength, m.length) : m.length;
    m_out.sheetPixels = pixelsOf(m_out.sheetWidth, m_out.resolution.x);
    m_out.sheetLines = pixelsOf(m_out.sheetLength, m_out.resolution.y);
  }

  /// Whether the picture fits on one sheet. What the printer cannot reach at the edges does not count: a drawing as
  /// wide as its roll is the everyday case, and its outermost millimetres are white.
  [[nodiscard]] bool fits() const {
    const PrintMargins& s = m_settings.margins;
    return m_picture.width + s.left + s.right <= m_out.sheetWidth + kSlackMm &&
           (m_picture.length <= 0 || m_picture.length + s.top + s.bottom <= m_out.sheetLength + kSlackMm);
  }

  void scale() {
    // A turned page's columns run along the sheet.
    const std::uint32_t acrossDpi = m_out.isTurned ? m_out.resolution.y : m_out.resolution.x;
    const std::uint32_t alongDpi = m_out.isTurned ? m_out.resolution.x : m_out.resolution.y;
    m_out.scaleX = m_factor * acrossDpi / m_page.dpi;
    m_out.scaleY = m_factor * alongDpi / m_page.dpi;
    const auto scaled = [](std::int64_t pixels, double factor) {
      return pixels == 0 ? 0 : std::max<std::int64_t>(1, std::llround(static_cast<double>(pixels) * factor));
    };
    m_out.scaledWidth = scaled(m_page.width, m_out.scaleX);
    m_out.scaledLines = scaled(m_page.lines, m_out.scaleY);
    m_out.pictureWidth = m_out.isTurned ? m_out.scaledLines : m_out.scaledWidth;
    m_out.pictureLines = m_out.isTurned ? m_out.scaledWidth : m_out.scaledLines;
  }

  void place() {
    const PrintMargins& s = m_settings.margins;
    const bool reached = m_picture.width + m_margins.left + m_margins.right <= m_out.sheetWidth + kSlackMm;
    const PrintMargins& m = reached ? m_margins : s;
    m_out.tileWidth = std::min(m_out.pictureWidth, m_out.sheetPixels);
    m_out.x = placeAcross(pixelsOf(m.left, m_out.resolution.x),
                          m_out.sheetPixels - pixelsOf(m.right, m_out.resolution.x));
    const bool reachedAlong = m_picture.length <= 0 ||
                              m_picture.length + m_margins.top + m_margins.bottom <= m_out.sheetLength + kSlackMm;
    const PrintMargins& along = reachedAlong ? m_margins : s;
    m_out.y = pixelsOf(along.top, m_out.resolution.y);
    const std::int64_t end = m_out.sheetLines - pixelsOf(along.bottom, m_out.resolution.y);
    if (m_picture.length > 0) {
      m_out.tileLines = std::min(m_out.pictureLines, m_out.sheetLines);
      m_out.y = std::clamp<std::int64_t>(end - m_out.tileLines, 0, m_out.y);
    } else {
      m_out.tileLines = end - m_out.y;
      m_out.rows = 0;
      m_out.notes.push_back(
          formatText(Supp_Translate("in pieces of %s mm, the last one filled with white"),
                     {mm(static_cast<double>(m_out.tileLines) * kMmPerInch / m_out.resolution.y)}));
    }
    if (!reached || !reachedAlong) {
      const PrintMargins& printer = m_out.media.margins;
      m_out.notes.push_back(formatText(
          Supp_Translate(
              "the page is as large as its sheet, of which the printer leaves up to %s mm at the edges white"),
          {mm(std::max({printer.left, printer.top, printer.right, printer.bottom}))}));
    }
  }

  [[nodiscard]] std::int64_t placeAcross(std::int64_t from, std::int64_t to) const {
    const std::int64_t room = to - from - m_out.tileWidth;
    const std::int64_t last = m_out.sheetPixels - m_out.tileWidth;
    std::int64_t x = from + room / 2;
    if (m_settings.place == PrintPlace::Left) x = from;
    if (m_settings.place == PrintPlace::Right) x = from + room;
    return std::clamp<std::int64_t>(x, 0, std::max<std::int64_t>(last, 0));
  }

  void tile() {
    PrintMargins m = m_margins;
    m_out.hasCropMarks = m_settings.hasCropMarks;
    if (m_out.hasCropMarks) {
      constexpr double kRoom = kMarkMm + kMarkGapMm;
      m = {m.left + kRoom, m.top + kRoom, m.right + kRoom, m.bottom + kRoom};
      m_out.markX = pixelsOf(kMarkMm, m_out.resolution.x);
      m_out.markY = pixelsOf(kMarkMm, m_out.resolution.y);
    }
    m_out.sheetLength = m_out.media.isRoll() ? std::clamp(m_picture.length + m.top + m.bottom,
                                                          m_out.media.minLength, m_out.media.length)
                                             : m_out.media.length;
    m_out.sheetLines = pixelsOf(m_out.sheetLength, m_out.resolution.y);
    m_out.x = pixelsOf(m.left, m_out.resolution.x);
    m_out.y = pixelsOf(m.top, m_out.resolution.y);
    m_out.tileWidth = m_out.sheetPixels - m_out.x - pixelsOf(m.right, m_out.resolution.x);
    m_out.tileLines = m_out.sheetLines - m_out.y - pixelsOf(m.bottom, m_out.resolution.y);
    const auto parts = [](std::int64_t whole, std::int64_t part, std::int64_t& overlap) -> std::int64_t {
      if (whole <= part) {
        overlap = 0;
        return 1;
      }
      overlap = std::clamp<std::int64_t>(overlap, 0, part / 2);
      return (whole - overlap + part - overlap - 1) / (part - overlap);
    };
    if (m_out.tileWidth <= 0 || m_out.tileLines <= 0) return;
    m_out.overlapX = pixelsOf(m_settings.overlap, m_out.resolution.x);
    m_out.overlapY = pixelsOf(m_settings.overlap, m_out.resolution.y);
    m_out.columns = parts(m_out.pictureWidth, m_out.tileWidth, m_out.overlapX);
    m_out.rows = parts(m_out.pictureLines, m_out.tileLines, m_out.overlapY);
    m_out.notes.push_back(
        formatText(Supp_Translate("on %s x %s sheets"), {count(m_out.columns), count(m_out.rows)}));
  }

  const PageShape& m_page;
  const PrintSettings& m_settings;
  const PrinterInfo& m_printer;
  PageLayout m_out;
  PrintMargins m_margins;
  Size m_picture;
  double m_factor = 1;
};

}  // namespace

PrintSheet PageLayout::sheet(std::int64_t column, std::int64_t row) const {
  PrintSheet s;
  s.left = column * (tileWidth - overlapX);
  s.top = row * (tileLines - overlapY);
  s.width = std::min(tileWidth, pictureWidth - s.left);
  s.lines = tileLines;
  if (rows > 0 && row < rows) s.lines = std::min(tileLines, pictureLines - s.top);
  s.x = x;
  s.y = y;
  return s;
}

PrinterResolution printResolution(const PrinterInfo& printer, std::uint32_t wanted, std::uint32_t pageDpi) {
  const auto& all = printer.resolutions;
  if (all.empty()) {
    // Nothing told: what every printer of PWG raster has.
    constexpr std::uint32_t kUsual = 300;
    return {kUsual, kUsual};
  }
  const std::uint32_t least = wanted > 0 ? wanted : pageDpi;
  const auto reaches = [least](PrinterResolution r) { return std::min(r.x, r.y) >= least; };
  const auto finest = [](PrinterResolution a, PrinterResolution b) {
    return std::min(a.x, a.y) < std::min(b.x, b.y);
  };
  std::optional<PrinterResolution> best;
  for (const PrinterResolution& r : all) {
    if (reaches(r) && (!best || finest(r, *best))) best = r;
  }
  return best ? *best : *std::max_element(all.begin(), all.end(), finest);
}

bool needsWholePage(const PageShape& page, const PrintSettings& settings, const PrinterInfo& printer) {
  if (page.lines > 0) return false;
  if (settings.turn == PrintTurn::Quarter) return true;
  if (!settings.isTiled) return false;
  Layout upright(page, settings, printer, false);
  return !upright.make() || upright.out().columns > 1;
}

PageLayout layOutPage(const PageShape& page, const PrintSettings& settings, const PrinterInfo& printer) {
  if (page.width <= 0 || page.dpi == 0) throw CXDeviceException(Supp_Translate("There is no page to print."));
  const bool known = page.lines > 0;
  if (settings.turn == PrintTurn::Quarter && !known) {
    throw CXDeviceException(Supp_Translate("A page of unknown length cannot be turned before it has ended."));
  }
  Layout upright(page, settings, printer, false);
  const bool uprightFits = settings.turn != PrintTurn::Quarter && upright.make();
  if (settings.turn == PrintTurn::None || !known) {
    if (!uprightFits) upright.refuse();
    return std::move(upright.out());
  }
  Layout turned(page, settings, printer, true);
  const bool turnedFits = turned.make();
  if (!turnedFits && !uprightFits) {
    if (settings.turn == PrintTurn::Quarter) turned.refuse();
    upright.refuse();
  }
  if (!turnedFits || (uprightFits && turned.paper() >= upright.paper() * kWorthTurning)) {
    return std::move(upright.out());
  }
  turned.out().notes.insert(turned.out().notes.begin(), Supp_Translate("turned by 90°"));
  return std::move(turned.out());
}

}  // namespace quillbay
