#include "channels/pdf/pdf_images.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "channels/tiff/g4_encoder.h"

namespace quillbay {
namespace {

constexpr std::size_t kBandBytes = std::size_t{512} << 10;
constexpr std::int64_t kMostImageBytes = 0x7fffffff;  // before and, with room for a band, after coding
constexpr std::int64_t kMostCodedBytes = 0x78000000;
constexpr std::uint8_t kJpegEnd[] = {0xff, 0xd9};
constexpr std::uint8_t kJpegRestart[] = {0xff, 0xd0 + kRestartCycle - 1};
constexpr std::uint8_t kFlateHead[] = {0x78, 0x01};    // window of 32 KiB, fastest
constexpr std::uint8_t kG4End[] = {0x00, 0x10, 0x01};  // twice 000000000001
constexpr const char* kFilters[] = {"/CCITTFaxDecode", "/DCTDecode", "/FlateDecode"};

}  // namespace

PdfImages::PdfImages(const EdgeFile& file, PdfUpdate& update, PdfState& state, PdfPixels pixels)
    : m_file(file), m_update(update), m_state(state), m_pixels(std::move(pixels)), m_bandLines(chooseBandLines()) {
  const auto lineBytes = static_cast<std::int64_t>(pngFormat().lineBytes());
  std::int64_t most = kMostImageBytes / (lineBytes + 1);
  if (m_pixels.coding == PdfCoding::Jpeg) most = std::min<std::int64_t>(most, kMostJpegSide);
  m_mostBands = std::max<std::int64_t>(most / m_bandLines, 1);
  BandPipeline::Setup setup;
  setup.bandLines = m_bandLines;
  setup.depth = bandDepth(lineBytes * m_bandLines);
  setup.makeEncoder = [this] { return makeEncoder(); };
  setup.deliver = [this](const ByteBuffer& band) { takeBand(band); };
  m_pipeline = std::make_unique<BandPipeline>(std::move(setup));
}

JpegFormat PdfImages::jpegFormat() const {
  JpegFormat format;
  format.colorSpace = m_pixels.colorSpace;
  format.width = m_pixels.width;
  format.quality = m_pixels.quality;
  format.isHalved = m_pixels.isHalved;
  return format;
}

PngFormat PdfImages::pngFormat() const { return {m_pixels.colorSpace, m_pixels.width, 1}; }

std::int32_t PdfImages::chooseBandLines() const {
  const std::size_t lines = std::max<std::size_t>(kBandBytes / pngFormat().lineBytes(), 1);
  if (m_pixels.coding != PdfCoding::Jpeg) return static_cast<std::int32_t>(std::max<std::size_t>(lines, 8));
  const std::int32_t cycle = jpegFormat().blockLines() * kRestartCycle;
  const std::int32_t most = kMostJpegSide / cycle;
  return cycle * std::clamp(static_cast<std::int32_t>(lines) / cycle, 1, most);
}

std::unique_ptr<IBandEncoder> PdfImages::makeEncoder() const {
  switch (m_pixels.coding) {
    case PdfCoding::G4: return std::make_unique<G4Encoder>(m_pixels.width, G4Output::Piece);
    case PdfCoding::Jpeg: return makeJpegEncoder(jpegFormat());
    case PdfCoding::Flate: break;
  }
  return makePngEncoder(pngFormat());
}

std::string PdfImages::codingText() const {
  const std::string columns = std::to_string(m_pixels.width);
  const PngFormat png = pngFormat();
  std::string text = std::string(" /Filter ") + kFilters[static_cast<int>(m_pixels.coding)];
  if (m_pixels.coding == PdfCoding::G4) {
    text += " /DecodeParms << /K -1 /Columns " + columns + " >>";
  } else if (m_pixels.coding == PdfCoding::Flate) {
    text += " /DecodeParms << /Predictor 15 /Colors " + std::to_string(png.samples()) + " /BitsPerComponent " +
            std::to_string(png.bitDepth()) + " /Columns " + columns + " >>";
  }
  return text;
}

void PdfImages::startImage() {
  m_images.push_back({{m_state.nextObject++, 0}, 0});
  std::string text = "<< /Type /XObject /Subtype /Image /Width " + std::to_string(m_pixels.width) +
                     " /BitsPerComponent " + std::to_string(pngFormat().bitDepth()) + " /ColorSpace " +
                     m_pixels.colorsText + codingText() + " /Height ";
  m_update.start(m_images.back().ref, text);
  m_heightAt = m_file.size();
  const std::string fields = numberField(0) + " /Length " + numberField(0) + " >>\nstream\n";
  m_file.append(fields.data(), fields.size());
  m_lengthAt = m_heightAt + static_cast<std::int64_t>(kNumberField + std::strlen(" /Length "));
  m_dataAt = m_file.size();
  m_isOpen = true;
  m_imageBands = 0;
  m_jpegHeightAt = 0;
  m_adler = 1;
  m_restBits = 0;
  if (m_pixels.coding == PdfCoding::Flate) m_file.append(kFlateHead, sizeof kFlateHead);
}

void PdfImages::endImage() {
  Image& image = m_images.back();
  const std::int64_t before = (m_bands - m_imageBands) * m_bandLines;
  image.lines = std::min(m_lines - before, m_imageBands * m_bandLines);
  switch (m_pixels.coding) {
    case PdfCoding::G4: {
      appendBits(kG4End, sizeof kG4End, 8);
      if (m_restBits > 0) m_file.append(&m_restByte, 1);
      break;
    }
    case PdfCoding::Jpeg: {
      m_file.append(kJpegEnd, sizeof kJpegEnd);
      m_changes.push_back({m_jpegHeightAt, {static_cast<char>(image.lines >> 8), static_cast<char>(image.lines)}});
      break;
    }
    case PdfCoding::Flate: {
      // An empty last block with fixed codes, and the checksum of the whole stream.
      std::uint8_t end[6] = {0x03, 0x00};
      putBigEndian(end + 2, m_adler);
      m_file.append(end, sizeof end);
    }
  }
  m_changes.push_back({m_heightAt, numberField(image.lines)});
  m_changes.push_back({m_lengthAt, numberField(m_file.size() - m_dataAt)});
  const std::string_view end = "\nendstream\nendobj\n";
  m_file.append(end.data(), end.size());
  m_isOpen = false;
}

void PdfImages::takeBand(const ByteBuffer& band) {
  // The height of an image is known when the next one starts.
  if (m_isOpen && (m_imageBands == m_mostBands || m_file.size() - m_dataAt > kMostCodedBytes)) endImage();
  if (!m_isOpen) startImage();
  switch (m_pixels.coding) {
    case PdfCoding::G4: appendBits(band.data(), band.size() - 1, band.data()[band.size() - 1]); break;
    case PdfCoding::Jpeg: appendJpeg(band); break;
    case PdfCoding::Flate: appendFlate(band); break;
  }
  ++m_bands;
  ++m_imageBands;
}

/// Bits behind those that are there, highest bit first; of the last byte `lastBits`.
void PdfImages::appendBits(const std::uint8_t* bytes, std::size_t size, int lastBits) {
  if (size == 0) return;
  const int rest = m_restBits;
  const int last = rest + lastBits;
  // What the last byte adds may fill one byte and start another.
  const std::size_t whole = size - 1 + static_cast<std::size_t>(last / 8);
  m_shifted.resize(size + 1);
  unsigned carry = rest > 0 ? m_restByte : 0U;
  for (std::size_t i = 0; i < size; ++i) {
    m_shifted[i] = static_cast<std::uint8_t>(carry | static_cast<unsigned>(bytes[i]) >> rest);
    carry = static_cast<unsigned>(bytes[i]) << (8 - rest) & 0xffU;
  }
  m_shifted[size] = static_cast<std::uint8_t>(carry);
  m_restBits = last % 8;
  m_restByte = static_cast<std::uint8_t>(m_shifted[whole] & (0xff00U >> m_restBits));
  m_file.append(m_shifted.data(), whole);
}

void PdfImages::appendJpeg(const ByteBuffer& band) {
  const JpegParts parts = partsOf(band.data(), band.size());
  if (m_jpegHeightAt != 0) {
    const QbPiece pieces[] = {{kJpegRestart, sizeof kJpegRestart}, {band.data() + parts.coded, parts.size}};
    return m_file.append(pieces, 2);
  }
  m_jpegHeightAt = m_dataAt + static_cast<std::int64_t>(parts.height);
  m_file.append(band.data(), parts.coded + parts.size);
}

/// The band comes as a chunk of a PNG; its data is the piece of the stream.
void PdfImages::appendFlate(const ByteBuffer& band) {
  PngBandEnd end;
  const std::size_t chunk = band.size() - sizeof end;
  std::memcpy(&end, band.data() + chunk, sizeof end);
  m_adler = static_cast<std::uint32_t>(adler32_combine(m_adler, end.adler, static_cast<z_off_t>(end.bytes)));
  m_file.append(band.data() + kChunkHead, chunk - kChunkHead - kChunkTail);
}

void PdfImages::write(const QbBlock& block) {
  m_lines += block.lines;
  m_pipeline->push(block);
}

std::vector<PdfImages::Image> PdfImages::finish() {
  m_pipeline->finish();
  if (!m_isOpen) throw ModuleError(QB_E_REFUSED, "a page without lines cannot be put into a PDF");
  endImage();
  for (const Change& change : m_changes) m_file.patch(change.place, change.bytes.data(), change.bytes.size());
  return std::move(m_images);
}

}  // namespace quillbay
