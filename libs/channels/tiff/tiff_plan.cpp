#include "channels/tiff/tiff_plan.h"

#include <algorithm>
#include <cstdint>
#include <string>

namespace quillbay {
namespace {

constexpr std::int32_t kLeastStripLines = 8;
constexpr double kMostCounted = 9e18;
constexpr int kMostDeflateLevel = 12;

const char* const kCompressions[] = {"auto",      "None", "PackBits", "LZW", "Deflate",
                                     "Zstandard", "G4",   "JPEG",     "G3",  nullptr};
const char* const kBlackWhites[] = {"auto", "G4", "G3", "None", "PackBits", "LZW", "Deflate", "Zstandard", nullptr};
constexpr TiffCompression kBlackWhiteOf[] = {
    TiffCompression::G4,       TiffCompression::G4,  TiffCompression::G3,      TiffCompression::None,
    TiffCompression::PackBits, TiffCompression::Lzw, TiffCompression::Deflate, TiffCompression::Zstandard};
const char* const kKinds[] = {"auto", "classic", "big", nullptr};
const char* const kPredictors[] = {"auto", "on", "off", nullptr};
const char* const kColours[] = {"full", "half", nullptr};
const char* const kLayouts[] = {"strips", "tiles", nullptr};
const char* const kTileSizes[] = {"256", "512", nullptr};
const char* const kOverviews[] = {"on", "off", nullptr};

enum Option {
  OptionCompression,
  OptionBlackWhite,
  OptionQuality,
  OptionColour,
  OptionLevel,
  OptionPredictor,
  OptionLayout,
  OptionTileSize,
  OptionOverviews,
  OptionKind,
  OptionStripBytes
};

bool isOneOf(TiffCompression c, std::initializer_list<TiffCompression> all) noexcept {
  return std::find(all.begin(), all.end(), c) != all.end();
}

bool storesDifferences(TiffCompression c) noexcept {
  return isOneOf(c, {TiffCompression::Lzw, TiffCompression::Deflate, TiffCompression::Zstandard});
}

bool isFax(TiffCompression c) noexcept { return isOneOf(c, {TiffCompression::G4, TiffCompression::G3}); }

/// Bits have an option of their own, so that pages of all kinds can come with one set of options. G4 and G3 were
/// choices of the other one before there were two, and are taken there for bits still.
TiffCompression blackWhiteCompression(int blackWhite, int compression) {
  const auto other = static_cast<TiffCompression>(compression - 1);
  return blackWhite == 0 && compression > 0 && isFax(other) ? other : kBlackWhiteOf[blackWhite];
}

/// Of grey, palette and colour pages.
TiffCompression toneCompression(KxColorSpace colorSpace, int compression) {
  // Of those that every program reads, LZW keeps up best with a fast scanner: 0.3 GB/s on two cores on noisy maps,
  // where Deflate gets 0.25 and PackBits saves nothing.
  if (compression == 0) return TiffCompression::Lzw;
  const auto chosen = static_cast<TiffCompression>(compression - 1);
  if (isFax(chosen)) {
    const std::string name = kCompressions[compression];
    throw ModuleError(QB_E_REFUSED, name + " compression is for black-and-white pages only; set BlackWhite to " +
                                        name + ", and Compression to another one");
  }
  // Indices are no tones: JPEG would change their colours at random.
  const bool isIndexed = colorSpace == KxColorSpace::Palette;
  return chosen == TiffCompression::Jpeg && isIndexed ? TiffCompression::Lzw : chosen;
}

/// What a page of tones cannot have together.
void checkTones(const TiffPlan& plan, const char* compression, int predictor) {
  const StripFormat& format = plan.format;
  const bool isJpeg = format.compression == TiffCompression::Jpeg;
  if (isJpeg && !plan.isTiled() && format.width > kMostJpegSide) {
    throw ModuleError(QB_E_REFUSED, "a JPEG strip holds at most " + std::to_string(kMostJpegSide) +
                                        " pixels to a line, and the page has " + std::to_string(format.width) +
                                        "; set Layout to tiles, or choose another compression");
  }
  if (predictor == 1 && !storesDifferences(format.compression)) {
    throw ModuleError(QB_E_REFUSED, std::string("Predictor works with LZW, Deflate and Zstandard, not with ") +
                                        compression + "; set Predictor to auto");
  }
}

std::int32_t chooseStripLines(const StripFormat& format, int stripBytes) {
  const auto lines = static_cast<std::int64_t>(static_cast<std::size_t>(stripBytes) / format.lineBytes());
  const std::int64_t unit = format.compression == TiffCompression::Jpeg ? jpegFormatOf(format).blockLines() : 1;
  const std::int64_t most = format.compression == TiffCompression::Jpeg ? kMostJpegSide : INT32_MAX;
  const auto count = std::clamp<std::int64_t>(lines, kLeastStripLines, most);
  return static_cast<std::int32_t>(std::max(count / unit * unit, unit));
}

}  // namespace

const QbOptionInfo kTiffOptions[] = {
    {"Compression",
     "Of grey, palette and colour pages. auto: LZW. Deflate is smaller on maps and slower, Zstandard is small and "
     "fastest, but many programs cannot read it. JPEG is smallest for grey and colour and loses detail; palette "
     "pages get LZW with it. G4 and G3 are for black and white: use BlackWhite.",
     kCompressions, 0, 0, nullptr},
    {"BlackWhite",
     "Compression of black-and-white pages. auto: G4, which is smallest and read by every program. G3 is for fax "
     "programs.",
     kBlackWhites, 0, 0, nullptr},
    {"Quality", "Quality of JPEG: 1 (smallest file) to 100; 90 is the default.", nullptr, 1, 100, "90"},
    {"Colour", "Resolution of the colours of JPEG: full, or half for smaller files.", kColours, 0, 0, nullptr},
    {"Level", "Effort of Deflate (1 to 12; more is 12) and Zstandard (1 to 19); 1 is fastest.", nullptr, 1, 19,
     "1"},
    {"Predictor", "Stores differences of neighbouring pixels of grey and colour with LZW, Deflate and Zstandard.",
     kPredictors, 0, 0, nullptr},
    {"Layout", "strips, which every program reads, or tiles, of which map programs read only those that they show.",
     kLayouts, 0, 0, nullptr},
    {"TileSize", "Pixels of a tile's side.", kTileSizes, 0, 0, nullptr},
    {"Overviews", "Adds smaller copies of a page in tiles, so that map programs show it at once in every size.",
     kOverviews, 0, 0, nullptr},
    {"TiffKind", "auto: BigTIFF if the file may exceed 4 GB, the length is unknown, or pages follow.", kKinds, 0, 0,
     nullptr},
    {"StripBytes", "Bytes per strip before compression, 4096 to 16777216.", nullptr, 4096, 16 << 20, "524288"},
    kProfileOption,
    {},
};

TiffPlan planTiff(const QbPage& page, const QbOptions* options) {
  TiffPlan plan;
  StripFormat& format = plan.format;
  format.colorSpace = static_cast<KxColorSpace>(page.color_space);
  format.width = page.width;
  const bool bitonal = isRunList(format.colorSpace);
  const int compression = optionChoice(options, kTiffOptions[OptionCompression]);
  const int blackWhite = optionChoice(options, kTiffOptions[OptionBlackWhite]);
  format.compression =
      bitonal ? blackWhiteCompression(blackWhite, compression) : toneCompression(format.colorSpace, compression);
  if (optionChoice(options, kTiffOptions[OptionLayout]) == 1) {
    plan.tileSize = optionChoice(options, kTiffOptions[OptionTileSize]) == 1 ? 512 : 256;
    plan.hasLevels = optionChoice(options, kTiffOptions[OptionOverviews]) == 0;
  }
  const int predictor = optionChoice(options, kTiffOptions[OptionPredictor]);
  if (!bitonal) checkTones(plan, kCompressions[compression], predictor);
  const bool tones = !bitonal && format.colorSpace != KxColorSpace::Palette;
  format.predictor = storesDifferences(format.compression) && tones && predictor != 2;
  // One level for both options: with Zstandard in the other one it may be more than Deflate has.
  const int level = optionNumber(options, kTiffOptions[OptionLevel]);
  format.level = format.compression == TiffCompression::Deflate ? std::min(level, kMostDeflateLevel) : level;
  format.quality = optionNumber(options, kTiffOptions[OptionQuality]);
  format.isHalved = optionChoice(options, kTiffOptions[OptionColour]) == 1;
  plan.stripLines = chooseStripLines(format, optionNumber(options, kTiffOptions[OptionStripBytes]));
  plan.kind = static_cast<TiffKind>(optionChoice(options, kTiffOptions[OptionKind]));
  return plan;
}

std::int64_t tagBytes(std::size_t levels, std::uint64_t places) noexcept {
  return 8192 + static_cast<std::int64_t>(1024 * levels + 8 * places);
}

/// In floating point: a length that nobody can scan must not wrap.
std::int64_t TiffPlan::bytesOf(std::int64_t lines) const noexcept {
  double bytes = 0, places = 0;
  std::size_t levels = 1;
  if (!isTiled()) {
    bytes = static_cast<double>(format.lineBytes()) * static_cast<double>(lines);
    places = static_cast<double>(lines) / stripLines + 1;
  } else {
    StripFormat tile = format;
    tile.width = tileSize;
    std::int64_t width = format.width, height = lines;
    for (;; ++levels) {
      const std::int64_t columns = (width - 1) / tileSize + 1, rows = (height - 1) / tileSize + 1;
      places += static_cast<double>(columns) * static_cast<double>(rows);
      if (!hasLevels || columns * rows == 1) break;
      width = width / 2 + width % 2;
      height = height / 2 + height % 2;
    }
    bytes = places * static_cast<double>(tile.lineBytes()) * tileSize;
  }
  if (bytes + 8 * places > kMostCounted) return INT64_MAX;
  return static_cast<std::int64_t>(bytes) + tagBytes(levels, static_cast<std::uint64_t>(places));
}

}  // namespace quillbay
