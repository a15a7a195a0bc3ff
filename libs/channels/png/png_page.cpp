#include "channels/png/png_page.h"

#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace quillbay {
namespace {

constexpr std::int64_t kMaxLines = 0x7fffffff;
constexpr std::size_t kBandBytes = std::size_t{512} << 10;
constexpr double kInchesPerMetre = 1 / 0.0254;

/// "YYYY:MM:DD HH:MM:SS" as the format wants it, "YYYY-MM-DDTHH:MM:SS"; empty for other texts.
std::string momentText(std::string text) {
  if (text.size() != 19) return {};
  text[4] = text[7] = '-';
  text[10] = 'T';
  return text;
}

}  // namespace

const QbOptionInfo kPngOptions[] = {
    {"Level", "Compression effort: 0 (none), 1 (fastest, the default) to 9.", nullptr, 0, 9, "1"},
    kProfileOption,
    {},
};

bool PngPage::isFinishedIn(const EdgeFile& file) {
  std::uint8_t head[24];
  if (file.size() < static_cast<std::int64_t>(sizeof head)) return false;
  file.read(0, head, sizeof head);
  return std::equal(std::begin(kPngSignature), std::end(kPngSignature), head) &&
         std::any_of(head + 20, head + 24, [](std::uint8_t b) { return b != 0; });
}

PngPage::PngPage(const EdgeFile& file, const QbPage& page, const QbOptions* options) : m_file(file) {
  if (m_file.size() != 0) throw ModuleError(QB_E_REFUSED, "a PNG file holds one page; choose another name");
  m_format = {static_cast<KxColorSpace>(page.color_space), page.width, optionNumber(options, kPngOptions[0])};
  BandPipeline::Setup setup;
  const std::size_t lines = kBandBytes / m_format.lineBytes();
  setup.bandLines = static_cast<std::int32_t>(std::max<std::size_t>(lines, 8));
  setup.makeEncoder = [format = m_format] { return makePngEncoder(format); };
  setup.deliver = [this](const ByteBuffer& band) { takeBand(band); };
  m_pipeline = std::make_unique<BandPipeline>(std::move(setup));

  std::vector<std::uint8_t> head(kPngSignature, kPngSignature + sizeof kPngSignature);
  const std::vector<std::uint8_t> ihdr = header(0);
  head.insert(head.end(), ihdr.begin(), ihdr.end());
  m_file.append(head.data(), head.size());
  if (page.icc) appendProfile(page.icc, page.icc_size);
  if (m_format.colorSpace == KxColorSpace::Palette) {
    std::vector<std::uint8_t> palette(std::size_t{3} * 256);  // whole: every index is covered
    for (int i = 0; i < std::min(page.palette_count, 256); ++i) {
      std::memcpy(palette.data() + 3 * i, page.palette + 4 * i, 3);
    }
    appendChunk("PLTE", palette);
  }
  if (page.dpi > 0) {
    std::vector<std::uint8_t> physical(9, 1);  // the last byte: per metre
    const auto perMetre = static_cast<std::uint32_t>(std::lround(page.dpi * kInchesPerMetre));
    putBigEndian(physical.data(), perMetre);
    putBigEndian(physical.data() + 4, perMetre);
    appendChunk("pHYs", physical);
  }
  const auto appendText = [this](const char* keyword, const std::string& value) {
    const std::string text = std::string(keyword) + '\0' + value;
    if (!value.empty()) appendChunk("tEXt", {text.begin(), text.end()});
  };
  appendText("Software", page.software ? page.software : "");
  appendText("Creation Time", momentText(page.date_time ? page.date_time : ""));
  if (const std::string title = page.title ? page.title : ""; !title.empty()) appendTitle(title);
  // The Deflate stream's head, in a chunk of its own: window of 32 KiB, fastest.
  appendChunk("IDAT", {0x78, 0x01});
}

std::vector<std::uint8_t> PngPage::header(std::uint32_t height) const {
  std::vector<std::uint8_t> chunk(kChunkHead + 13 + kChunkTail);
  std::uint8_t* data = chunk.data() + kChunkHead;
  putBigEndian(data, static_cast<std::uint32_t>(m_format.width));
  putBigEndian(data + 4, height);
  data[8] = static_cast<std::uint8_t>(m_format.bitDepth());
  data[9] = static_cast<std::uint8_t>(m_format.samples() == 3                        ? 2
                                      : m_format.colorSpace == KxColorSpace::Palette ? 3
                                                                                     : 0);
  sealChunk(chunk.data(), "IHDR", 13);
  return chunk;
}

void PngPage::appendTitle(const std::string& title) {
  // The keyword's end, not compressed (two), and the ends of the empty language and the empty translated keyword.
  const std::string text = std::string("Title") + std::string(5, '\0') + title;
  appendChunk("iTXt", {text.begin(), text.end()});
}

/// The profile's name, and the profile compressed.
void PngPage::appendProfile(const std::uint8_t* icc, std::size_t size) {
  const std::string name = std::string("ICC profile") + '\0' + '\0';  // ended by a zero; 0: Deflate
  std::vector<std::uint8_t> chunk(name.begin(), name.end());
  uLongf room = compressBound(size);
  chunk.resize(name.size() + room);
  if (compress2(chunk.data() + name.size(), &room, icc, size, 9) != Z_OK) throw std::bad_alloc();
  chunk.resize(name.size() + room);
  appendChunk("iCCP", chunk);
}

void PngPage::appendChunk(const char type[4], const std::vector<std::uint8_t>& data) {
  std::vector<std::uint8_t> chunk(kChunkHead + data.size() + kChunkTail);
  if (!data.empty()) std::memcpy(chunk.data() + kChunkHead, data.data(), data.size());
  sealChunk(chunk.data(), type, data.size());
  m_file.append(chunk.data(), chunk.size());
}

void PngPage::takeBand(const ByteBuffer& band) {
  PngBandEnd end;
  const std::size_t size = band.size() - sizeof end;
  std::memcpy(&end, band.data() + size, sizeof end);
  m_adler = static_cast<std::uint32_t>(adler32_combine(m_adler, end.adler, static_cast<z_off_t>(end.bytes)));
  m_file.append(band.data(), size);
}

void PngPage::write(const QbBlock& block) {
  m_lines += block.lines;
  if (m_lines > kMaxLines) {
    throw ModuleError(QB_E_REFUSED, "the page has more lines than a PNG can hold; scan to a TIFF file");
  }
  m_pipeline->push(block);
}

void PngPage::finish() {
  m_pipeline->finish();
  // An empty last block with fixed codes, and the checksum of the whole stream.
  std::vector<std::uint8_t> end = {0x03, 0x00, 0, 0, 0, 0};
  putBigEndian(end.data() + 2, m_adler);
  appendChunk("IDAT", end);
  appendChunk("IEND", {});
  const std::vector<std::uint8_t> ihdr = header(static_cast<std::uint32_t>(m_lines));
  m_file.patch(sizeof kPngSignature, ihdr.data(), ihdr.size());
}

}  // namespace quillbay
