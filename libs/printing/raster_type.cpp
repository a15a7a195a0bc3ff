#include "printing/raster_type.h"

#include <algorithm>
#include <array>

#include "platform/base_services.h"

namespace quillbay {
namespace {

struct KnownType {
  const char* name;
  LineKind kind;
  bool isInverted;
};

constexpr std::array<KnownType, 5> kKnown = {{{"black_1", LineKind::Bits, false},
                                              {"sgray_8", LineKind::Grey, false},
                                              {"black_8", LineKind::Grey, true},
                                              {"srgb_8", LineKind::Rgb, false},
                                              {"rgb_8", LineKind::Rgb, false}}};

bool has(const std::vector<std::string>& all, const char* one) {
  return std::find(all.begin(), all.end(), one) != all.end();
}

std::string joined(const std::vector<std::string>& words) {
  std::string all;
  for (const std::string& word : words) all += (all.empty() ? "" : ", ") + word;
  return all.empty() ? Supp_Translate("nothing") : all;
}

std::string formatFor(const PrinterInfo& printer) {
  for (const char* format : {kPwgRaster, kAppleRaster}) {
    if (has(printer.documentFormats, format)) return format;
  }
  throw CXDeviceException(formatText(
      Supp_Translate(
          "The printer \"%s\" takes neither PWG raster (image/pwg-raster) nor Apple raster (image/urf), only "
          "%s. Set it up in the system's settings as a printer without a driver (IPP Everywhere), or scan to a "
          "file and print that."),
      {printer.title(), joined(printer.documentFormats)}));
}

}  // namespace

RasterType rasterTypeFor(const PrinterInfo& printer, KxColorSpace page, PrintColor color) {
  const std::string format = formatFor(printer);
  const bool isGrey = page == KxColorSpace::Grey || page == KxColorSpace::Four;
  std::array<const char*, kKnown.size()> wanted = {"srgb_8", "rgb_8", "sgray_8", "black_8", "black_1"};
  if (isRunList(page) || color == PrintColor::Bitonal) {
    wanted = {"black_1", "sgray_8", "black_8", "srgb_8", "rgb_8"};
  } else if (isGrey || color == PrintColor::Grey) {
    wanted = {"sgray_8", "black_8", "srgb_8", "rgb_8", "black_1"};
  }
  // A queue whose driver takes rasters of any kind does not list them; every driver takes these two.
  std::vector<std::string> offered = printer.rasterTypes;
  if (offered.empty()) {
    offered.emplace_back("sgray_8");
    if (printer.hasColor) offered.emplace_back("srgb_8");
  }
  const bool isApple = format == kAppleRaster;
  for (const char* name : wanted) {
    // Apple raster has these two alone, whatever the printer lists of PWG raster.
    if (!has(offered, name) ||
        (isApple && std::string_view(name) != "sgray_8" && std::string_view(name) != "srgb_8"))
      continue;
    const KnownType& known = *std::find_if(kKnown.begin(), kKnown.end(),
                                           [name](const KnownType& k) { return std::string_view(k.name) == name; });
    return {format, name, known.kind, known.isInverted};
  }
  throw CXDeviceException(formatText(
      Supp_Translate("The printer \"%s\" takes pixels only as %s, which are not made here. Choose another "
                     "printer, or scan to a file and print that."),
      {printer.title(), joined(printer.rasterTypes)}));
}

LineKind workingKind(KxColorSpace page, const RasterType& type, bool isScaled) noexcept {
  if (isRunList(page)) return isScaled ? LineKind::Grey : LineKind::Bits;
  const bool isGrey = page == KxColorSpace::Grey || page == KxColorSpace::Four;
  return isGrey || type.kind != LineKind::Rgb ? LineKind::Grey : LineKind::Rgb;
}

}  // namespace quillbay
