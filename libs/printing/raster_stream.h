#pragma once
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "printing/page_layout.h"
#include "printing/raster_type.h"

namespace quillbay {

/// Writes sheets as PWG or Apple raster, line by line.
class RasterStream {
 public:
  /// Takes the bytes of the stream in pieces of up to `kPiece` bytes; what it throws passes through.
  using Sink = std::function<void(const char* bytes, std::size_t count)>;
  static constexpr std::size_t kPiece = std::size_t{128} << 10;

  /// `sheets`: how many there will be; 0: unknown.
  RasterStream(const PageLayout& layout, const RasterType& type, int quality, std::int64_t sheets, Sink sink);
  ~RasterStream();
  RasterStream(const RasterStream&) = delete;
  RasterStream& operator=(const RasterStream&) = delete;

  /// Begins the next sheet.
  void startSheet();
  /// Writes a line of the sheet's width. Throws CXDeviceException when the stream cannot be made.
  void writeLine(const std::uint8_t* line);
  /// Hands the last bytes to the sink.
  void flush();

 private:
  struct Raster;
  std::unique_ptr<Raster> m_raster;
};

}  // namespace quillbay
