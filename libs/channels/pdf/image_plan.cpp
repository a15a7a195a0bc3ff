#include "channels/pdf/image_plan.h"

#include <algorithm>
#include <string>

#include "channels/pdf/ink_mixing.h"

namespace quillbay {
namespace {

constexpr long long kMostSide = 0x7ffffff0;
constexpr std::int32_t kMostFaxWidth = 1 << 29;  // sums of three stay numbers
constexpr std::size_t kMostPlanLineBytes = std::size_t{256} << 20;

long long numberOf(QPDFObjectHandle dictionary, const char* key, long long otherwise) {
  if (!dictionary.isDictionary()) return otherwise;
  QPDFObjectHandle value = dictionary.getKey(key);
  return value.isInteger() ? value.getIntValue() : otherwise;
}

bool flagOf(QPDFObjectHandle dictionary, const char* key) {
  if (!dictionary.isDictionary()) return false;
  QPDFObjectHandle value = dictionary.getKey(key);
  return value.isBool() && value.getBoolValue();
}

/// What stands for a list of one; the list's items otherwise.
std::vector<QPDFObjectHandle> listOf(QPDFObjectHandle value) {
  if (value.isArray()) return value.getArrayAsVector();
  if (value.isNull()) return {};
  return {value};
}

std::optional<PdfColors> plainColors(QPDFObjectHandle space) {
  if (space.isArray() && space.getArrayNItems() == 1) space = space.getArrayItem(0);
  if (space.isName()) {
    const std::string name = space.getName();
    if (name == "/DeviceGray" || name == "/G" || name == "/CalGray") return PdfColors::Grey;
    if (name == "/DeviceRGB" || name == "/RGB" || name == "/CalRGB") return PdfColors::Rgb;
    if (name == "/DeviceCMYK" || name == "/CMYK") return PdfColors::Inks;
    return {};
  }
  if (!space.isArray() || space.getArrayNItems() < 2 || !space.getArrayItem(0).isName()) return {};
  const std::string name = space.getArrayItem(0).getName();
  if (name == "/CalGray") return PdfColors::Grey;
  if (name == "/CalRGB") return PdfColors::Rgb;
  if (name != "/ICCBased" || !space.getArrayItem(1).isStream()) return {};
  switch (numberOf(space.getArrayItem(1).getDict(), "/N", 0)) {
    case 1: return PdfColors::Grey;
    case 3: return PdfColors::Rgb;
    case 4: return PdfColors::Inks;
    default: return {};
  }
}

/// A palette's colours, as many as the samples can name. Those beyond the table are its last one.
bool readPalette(QPDFObjectHandle space, ImagePlan& plan) {
  const auto base = plainColors(space.getArrayItem(1));
  QPDFObjectHandle table = space.getArrayItem(3);
  if (!base || !space.getArrayItem(2).isInteger()) return false;
  const long long last = std::clamp<long long>(space.getArrayItem(2).getIntValue(), 0, 255);
  constexpr std::size_t kMostTable = std::size_t{1024};
  std::string bytes;
  if (table.isString()) {
    bytes = table.getStringValue();
  } else if (table.isStream() && numberOf(table.getDict(), "/Length", 0) <= static_cast<long long>(kMostTable)) {
    const auto buffer = table.getStreamData(qpdf_dl_generalized);
    bytes.assign(reinterpret_cast<const char*>(buffer->getBuffer()), std::min(buffer->getSize(), kMostTable));
  } else {
    return false;
  }
  const std::size_t step = *base == PdfColors::Inks ? 4 : *base == PdfColors::Rgb ? 3 : 1;
  const std::size_t count = std::min(static_cast<std::size_t>(last) + 1, bytes.size() / step);
  if (count == 0) return false;
  const std::size_t wanted = std::size_t{1} << std::min(plan.bits, 8);
  for (std::size_t i = 0; i < wanted; ++i) {
    const auto* entry = reinterpret_cast<const std::uint8_t*>(bytes.data()) + std::min(i, count - 1) * step;
    std::uint8_t color[3] = {entry[0], entry[0], entry[0]};
    if (step == 3) std::copy(entry, entry + 3, color);
    if (step == 4) mixInks(entry, 0, color);
    plan.palette.insert(plan.palette.end(), color, color + 3);
  }
  return true;
}

bool readColors(QPDFObjectHandle dictionary, ImagePlan& plan) {
  if (flagOf(dictionary, "/ImageMask")) {
    plan.bits = 1;
    return true;  // what a mask leaves free is paper
  }
  plan.bits = static_cast<int>(std::clamp<long long>(numberOf(dictionary, "/BitsPerComponent", 8), 0, 99));
  QPDFObjectHandle space = dictionary.getKey("/ColorSpace");
  if (const auto colors = plainColors(space)) {
    plan.colors = *colors;
    return true;
  }
  if (!space.isArray() || space.getArrayNItems() != 4 || !space.getArrayItem(0).isName()) return false;
  const std::string name = space.getArrayItem(0).getName();
  if ((name != "/Indexed" && name != "/I") || plan.bits > 8) return false;
  plan.colors = PdfColors::Indexed;
  return readPalette(space, plan);
}

/// Only what leaves samples as they are, or turns all of them round.
bool readDecode(QPDFObjectHandle dictionary, ImagePlan& plan) {
  QPDFObjectHandle decode = dictionary.getKey("/Decode");
  if (decode.isNull()) return true;
  const int count = 2 * plan.samples();
  if (!decode.isArray() || decode.getArrayNItems() < count) return false;
  const double most = plan.colors == PdfColors::Indexed ? (1 << plan.bits) - 1 : 1;
  bool isUsual = true, isTurned = true;
  for (int i = 0; i < count; ++i) {
    if (!decode.getArrayItem(i).isNumber()) return false;
    const double value = decode.getArrayItem(i).getNumericValue();
    isUsual = isUsual && value == (i % 2 ? most : 0);
    isTurned = isTurned && value == (i % 2 ? 0 : most);
  }
  plan.isInverse = isTurned;
  return isUsual || isTurned;
}

bool readPrediction(const QPDFObjectHandle& parms, ImagePlan& plan) {
  Prediction& p = plan.prediction;
  p.predictor = static_cast<int>(std::clamp<long long>(numberOf(parms, "/Predictor", 1), 0, 99));
  if (p.predictor == 1) return true;
  p.colors = static_cast<int>(std::clamp<long long>(numberOf(parms, "/Colors", 1), 1, 64));
  p.bits = static_cast<int>(std::clamp<long long>(numberOf(parms, "/BitsPerComponent", 8), 1, 16));
  p.columns = static_cast<int>(std::clamp<long long>(numberOf(parms, "/Columns", 1), 1, kMostSide));
  return p.isKnown() && p.lineBytes() <= kMostPlanLineBytes;
}

bool readFax(const QPDFObjectHandle& parms, ImagePlan& plan) {
  plan.picture = ImagePlan::Picture::G4;
  plan.fax1IsBlack = flagOf(parms, "/BlackIs1");
  plan.faxAligns = flagOf(parms, "/EncodedByteAlign");
  return numberOf(parms, "/K", 0) < 0 && numberOf(parms, "/Columns", 1728) == plan.width && plan.bits == 1 &&
         plan.samples() == 1 && plan.width <= kMostFaxWidth;
}

bool readFilters(QPDFObjectHandle dictionary, ImagePlan& plan) {
  std::vector<QPDFObjectHandle> filters = listOf(dictionary.getKey("/Filter"));
  const std::vector<QPDFObjectHandle> parms = listOf(dictionary.getKey("/DecodeParms"));
  for (std::size_t i = 0; i < filters.size(); ++i) {
    if (!filters[i].isName() || plan.picture != ImagePlan::Picture::Samples) return false;
    const std::string name = filters[i].getName();
    const QPDFObjectHandle parm = i < parms.size() ? parms[i] : QPDFObjectHandle::newNull();
    if ((name == "/FlateDecode" || name == "/Fl") && i == 0) {
      plan.isDeflated = true;
      if (!readPrediction(parm, plan)) return false;
    } else if (name == "/DCTDecode" || name == "/DCT") {
      plan.picture = ImagePlan::Picture::Jpeg;
      if (numberOf(parm, "/ColorTransform", 1) != 1 || plan.bits != 8 || plan.colors == PdfColors::Indexed)
        return false;
    } else if (name == "/CCITTFaxDecode" || name == "/CCF") {
      if (!readFax(parm, plan)) return false;
    } else {
      return false;
    }
  }
  return plan.picture == ImagePlan::Picture::Samples || plan.prediction.predictor == 1;
}

/// What shows other pixels than the image's own.
bool isBlended(QPDFObjectHandle dictionary) {
  for (const char* key : {"/SMask", "/Mask", "/OC", "/SMaskInData", "/Alternates"}) {
    QPDFObjectHandle value = dictionary.getKey(key);
    if (!value.isNull() && !(value.isInteger() && value.getIntValue() == 0)) return true;
  }
  return false;
}

}  // namespace

KxColorSpace ImagePlan::colorSpace() const noexcept {
  if (colors == PdfColors::Rgb || colors == PdfColors::Inks) return KxColorSpace::Rgb;
  if (colors == PdfColors::Grey) return bits == 1 ? KxColorSpace::Bitonal : KxColorSpace::Grey;
  const auto isAll = [this](std::size_t index, int value) {
    return std::all_of(palette.begin() + static_cast<std::ptrdiff_t>(3 * index),
                       palette.begin() + static_cast<std::ptrdiff_t>(3 * index + 3),
                       [value](std::uint8_t c) { return c == value; });
  };
  const bool isBlackWhite = bits == 1 && ((isAll(0, 0) && isAll(1, 255)) || (isAll(0, 255) && isAll(1, 0)));
  return isBlackWhite ? KxColorSpace::Bitonal : KxColorSpace::Palette;
}

std::optional<ImagePlan> planFor(QPDFObjectHandle image, std::int64_t base, std::int64_t end) {
  if (!image.isStream()) return {};
  QPDFObjectHandle dictionary = image.getDict();
  ImagePlan plan;
  const long long width = numberOf(dictionary, "/Width", 0), height = numberOf(dictionary, "/Height", 0);
  if (width <= 0 || height <= 0 || width > kMostSide || height > kMostSide) {
    throw ModuleError(QB_E_DAMAGED, "the page has an image of " + std::to_string(width) + " by " +
                                        std::to_string(height) + " pixels; the file is damaged");
  }
  plan.width = static_cast<std::int32_t>(width);
  plan.height = static_cast<std::int32_t>(height);
  if (isBlended(dictionary) || !readColors(dictionary, plan)) return {};
  if (plan.bits != 1 && plan.bits != 2 && plan.bits != 4 && plan.bits != 8 && plan.bits != 16) return {};
  if (!readDecode(dictionary, plan) || !readFilters(dictionary, plan)) return {};
  if (plan.lineBytes() > kMostPlanLineBytes) return {};
  plan.from = base + image.getParsedOffset();
  plan.size = numberOf(dictionary, "/Length", -1);
  if (plan.size < 0 || plan.from <= base || plan.from > end || plan.size > end - plan.from) {
    throw ModuleError(QB_E_DAMAGED, "the page has an image of " + std::to_string(plan.size) +
                                        " bytes, which is more than the file has; the file is damaged");
  }
  return plan;
}

}  // namespace quillbay
