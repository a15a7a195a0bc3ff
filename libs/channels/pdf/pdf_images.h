#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "channels/codec/band_pipeline.h"
#include "channels/jpeg/jpeg_encoder.h"
#include "channels/pdf/pdf_update.h"
#include "channels/png/png_encoder.h"

namespace quillbay {

enum class PdfCoding { G4, Jpeg, Flate };

/// How the pixels of a page are stored.
struct PdfPixels {
  KxColorSpace colorSpace = KxColorSpace::Grey;
  std::int32_t width = 0;
  PdfCoding coding = PdfCoding::G4;
  int quality = 90;        ///< of JPEG
  bool isHalved = false;   ///< JPEG: colour at half the resolution
  std::string colorsText;  ///< the entry /ColorSpace
};

/// The picture of a page on its way into a file: bands are coded on all cores and joined to one stream each for as
/// many lines as an image takes. Usually that is the page; a JPEG ends at 65,500 lines, and an image at 2 GiB, so
/// that longer pages are several images, one directly under the other. Length and height are known at an image's
/// end: they are changed in its dictionary then.
class PdfImages {
 public:
  struct Image {
    PdfRef ref;
    std::int64_t lines = 0;
  };
  /// File, update and state outlive it.
  PdfImages(const EdgeFile& file, PdfUpdate& update, PdfState& state, PdfPixels pixels);
  void write(const QbBlock& block);
  /// Returns the images, top one first.
  std::vector<Image> finish();

 private:
  struct Change {
    std::int64_t place;
    std::string bytes;
  };
  void takeBand(const ByteBuffer& band);
  void startImage();
  void endImage();
  void appendBits(const std::uint8_t* bytes, std::size_t size, int lastBits);
  void appendJpeg(const ByteBuffer& band);
  void appendFlate(const ByteBuffer& band);
  [[nodiscard]] std::string codingText() const;
  [[nodiscard]] std::int32_t chooseBandLines() const;
  [[nodiscard]] std::unique_ptr<IBandEncoder> makeEncoder() const;
  [[nodiscard]] JpegFormat jpegFormat() const;
  [[nodiscard]] PngFormat pngFormat() const;

  EdgeFile m_file;
  PdfUpdate& m_update;
  PdfState& m_state;
  PdfPixels m_pixels;
  std::int32_t m_bandLines;
  std::int64_t m_mostBands;  // of an image
  std::int64_t m_lines = 0;  // that came
  std::int64_t m_bands = 0;  // of all that were written
  std::vector<Image> m_images;

  // The image that is being written.
  bool m_isOpen = false;
  std::int64_t m_imageBands = 0;
  std::int64_t m_dataAt = 0, m_lengthAt = 0, m_heightAt = 0, m_jpegHeightAt = 0;
  std::uint32_t m_adler = 1;
  std::uint8_t m_restByte = 0;  // bits that do not fill a byte yet
  int m_restBits = 0;
  std::vector<std::uint8_t> m_shifted;

  std::vector<Change> m_changes;
  std::unique_ptr<BandPipeline> m_pipeline;
};

}  // namespace quillbay
