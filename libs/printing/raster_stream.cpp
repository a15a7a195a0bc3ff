#include "printing/raster_stream.h"

#include <cups/raster.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <exception>

#include "platform/base_services.h"

namespace quillbay {
namespace {

struct RasterDelete {
  void operator()(cups_raster_t* raster) const noexcept { cupsRasterClose(raster); }
};

int hundredths(double mm) { return static_cast<int>(std::lround(mm * 100)); }

/// The medium's name in a header: a roll has that of the piece which is cut.
std::array<char, 128> sheetName(const PageLayout& layout) {
  std::array<char, 128> name{};
  if (!layout.media.isRoll()) {
    layout.media.name.copy(name.data(), name.size() - 1);
    return name;
  }
  pwgFormatSizeName(name.data(), name.size(), "custom", nullptr, hundredths(layout.sheetWidth),
                    hundredths(layout.sheetLength), "mm");
  return name;
}

cups_page_header2_t headerOf(const PageLayout& layout, const RasterType& type, int quality, std::int64_t sheets) {
  const std::array<char, 128> name = sheetName(layout);
  pwg_media_t media{};
  media.pwg = name.data();
  media.width = hundredths(layout.sheetWidth);
  media.length = hundredths(layout.sheetLength);
  cups_page_header2_t header{};
  if (!cupsRasterInitPWGHeader(&header, &media, type.name.c_str(), static_cast<int>(layout.resolution.x),
                               static_cast<int>(layout.resolution.y), "one-sided", nullptr)) {
    throw CXDeviceException(formatText(Supp_Translate("The page cannot be made for the printer: %s."),
                                       {cupsRasterErrorString() ? cupsRasterErrorString() : type.name.c_str()}));
  }
  // Its own sizes are rounded down, and would lose the last line of a page that is as large as its sheet.
  header.cupsWidth = static_cast<unsigned>(layout.sheetPixels);
  header.cupsHeight = static_cast<unsigned>(layout.sheetLines);
  header.cupsBytesPerLine = static_cast<unsigned>(lineBytes(type.kind, layout.sheetPixels));
  header.cupsInteger[CUPS_RASTER_PWG_TotalPageCount] = static_cast<unsigned>(sheets);
  header.cupsInteger[CUPS_RASTER_PWG_PrintQuality] = static_cast<unsigned>(quality);
  return header;
}

}  // namespace

struct RasterStream::Raster {
  cups_page_header2_t header{};
  Sink sink;
  std::vector<char> piece;
  std::size_t used = 0;
  std::exception_ptr error;  // of the sink; it must not pass through the C library
  std::unique_ptr<cups_raster_t, RasterDelete> stream;

  void flush() {
    const std::size_t count = std::exchange(used, 0);
    if (count > 0) sink(piece.data(), count);
  }

  static ssize_t write(void* self, unsigned char* bytes, std::size_t count) {
    auto& raster = *static_cast<Raster*>(self);
    try {
      const char* from = reinterpret_cast<const char*>(bytes);
      for (std::size_t left = count; left > 0;) {
        const std::size_t part = std::min(left, raster.piece.size() - raster.used);
        std::memcpy(raster.piece.data() + raster.used, from, part);
        raster.used += part;
        from += part;
        left -= part;
        if (raster.used == raster.piece.size()) raster.flush();
      }
    } catch (...) {
      raster.error = std::current_exception();
      return -1;
    }
    return static_cast<ssize_t>(count);
  }

  void check(unsigned written) const {
    if (error) std::rethrow_exception(error);
    if (written != 0) return;
    const char* cause = cupsRasterErrorString();
    throw CXDeviceException(
        formatText(Supp_Translate("The page cannot be made for the printer: %s."), {cause ? cause : "?"}));
  }
};

RasterStream::RasterStream(const PageLayout& layout, const RasterType& type, int quality, std::int64_t sheets,
                           Sink sink)
    : m_raster(std::make_unique<Raster>()) {
  m_raster->header = headerOf(layout, type, quality, sheets);
  m_raster->sink = std::move(sink);
  m_raster->piece.resize(kPiece);
  m_raster->stream.reset(
      cupsRasterOpenIO(&Raster::write, m_raster.get(),
                       type.format == kAppleRaster ? CUPS_RASTER_WRITE_APPLE : CUPS_RASTER_WRITE_PWG));
  m_raster->check(m_raster->stream ? 1 : 0);
}

RasterStream::~RasterStream() = default;

void RasterStream::startSheet() {
  m_raster->check(cupsRasterWriteHeader2(m_raster->stream.get(), &m_raster->header));
}

void RasterStream::writeLine(const std::uint8_t* line) {
  // The library does not change the pixels.
  m_raster->check(cupsRasterWritePixels(m_raster->stream.get(), const_cast<std::uint8_t*>(line),
                                        m_raster->header.cupsBytesPerLine));
}

void RasterStream::flush() { m_raster->flush(); }

}  // namespace quillbay
