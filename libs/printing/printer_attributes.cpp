#include "printing/printer_attributes.h"

#include <cups/cups.h>
#include <cups/pwg.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <string_view>

#include "platform/base_services.h"
#include "quillbay/geometry.h"

namespace quillbay {
namespace {

constexpr double kUnitMm = 0.01;  // IPP's lengths are hundredths of a millimetre

/// Lower and upper value of an integer or a range of integers.
struct Span {
  double low = 0, high = 0;
};

Span spanOf(ipp_attribute_t* value) {
  if (!value) return {};
  if (ippGetValueTag(value) == IPP_TAG_RANGE) {
    int high = 0;
    const int low = ippGetRange(value, 0, &high);
    return {low * kUnitMm, high * kUnitMm};
  }
  const double v = ippGetInteger(value, 0) * kUnitMm;
  return {v, v};
}

double marginOf(ipp_t* media, const char* name) {
  return ippGetInteger(ippFindAttribute(media, name, IPP_TAG_INTEGER), 0) * kUnitMm;
}

/// "914.4" of 914.4; names have no more than hundredths.
std::string mmText(double mm) { return toText(static_cast<double>(std::llround(mm * 100)) / 100); }

std::string nameFor(const PrinterMedia& media) {
  if (media.isRoll()) {
    if (media.hasAnyWidth()) return "custom_max_" + mmText(media.width) + "x" + mmText(media.length) + "mm";
    return "roll_current_" + mmText(media.width) + "x0mm";
  }
  const pwg_media_t* known = pwgMediaForSize(static_cast<int>(std::lround(media.width / kUnitMm)),
                                             static_cast<int>(std::lround(media.length / kUnitMm)));
  if (known && known->pwg) return known->pwg;
  return "custom_size_" + mmText(media.width) + "x" + mmText(media.length) + "mm";
}

/// Width and length in millimetres at the end of a self-describing name; false when it has none.
bool sizeInName(std::string_view name, double* width, double* length) {
  const auto bar = name.rfind('_');
  if (bar == std::string_view::npos) return false;
  std::string_view size = name.substr(bar + 1);
  const bool inches = size.ends_with("in");
  if (!inches && !size.ends_with("mm")) return false;
  size.remove_suffix(2);
  const auto cross = size.find('x');
  if (cross == std::string_view::npos || !parseNumber(size.substr(0, cross), width) ||
      !parseNumber(size.substr(cross + 1), length)) {
    return false;
  }
  *width *= inches ? kMmPerInch : 1;
  *length *= inches ? kMmPerInch : 1;
  return *width > 0 && *length >= 0;
}

bool startsWithAny(std::string_view name, std::initializer_list<const char*> prefixes) {
  return std::any_of(prefixes.begin(), prefixes.end(), [name](const char* p) { return name.starts_with(p); });
}

/// Adds a medium, or what is new of one that is there: a printer lists it once for each tray and type.
void addMedia(PrinterInfo& printer, PrinterMedia media) {
  if (media.width <= 0 || media.length <= 0) return;
  if (media.name.empty()) media.name = nameFor(media);
  const auto same = std::find_if(printer.media.begin(), printer.media.end(), [&](const PrinterMedia& m) {
    return m.name == media.name && m.isRoll() == media.isRoll();
  });
  if (same == printer.media.end()) {
    printer.media.push_back(std::move(media));
    return;
  }
  same->isReady = same->isReady || media.isReady;
  same->margins = {std::max(same->margins.left, media.margins.left), std::max(same->margins.top, media.margins.top),
                   std::max(same->margins.right, media.margins.right),
                   std::max(same->margins.bottom, media.margins.bottom)};
}

void addMediaCollections(ipp_t* answer, const char* name, bool isReady, PrinterInfo& printer) {
  ipp_attribute_t* all = ippFindAttribute(answer, name, IPP_TAG_BEGIN_COLLECTION);
  for (int i = 0; i < ippGetCount(all); ++i) {
    ipp_t* entry = ippGetCollection(all, i);
    ipp_attribute_t* nested = ippFindAttribute(entry, "media-size", IPP_TAG_BEGIN_COLLECTION);
    ipp_t* size = nested ? ippGetCollection(nested, 0) : entry;
    const Span x = spanOf(ippFindAttribute(size, "x-dimension", IPP_TAG_ZERO));
    const Span y = spanOf(ippFindAttribute(size, "y-dimension", IPP_TAG_ZERO));
    PrinterMedia media{ippText(entry, "media-size-name"), x.high, y.high, x.low, y.low, {}, isReady};
    media.margins = {marginOf(entry, "media-left-margin"), marginOf(entry, "media-top-margin"),
                     marginOf(entry, "media-right-margin"), marginOf(entry, "media-bottom-margin")};
    // A range that goes by the name of a sheet would hide that sheet.
    if (media.isRoll() && !startsWithAny(media.name, {"roll_", "custom_"})) media.name.clear();
    addMedia(printer, std::move(media));
  }
}

/// Media that only have a name: sheets, loaded rolls, and the limits of custom sizes.
void addNamedMedia(ipp_t* answer, const char* attribute, bool isReady, PrinterInfo& printer) {
  PrinterMedia custom;
  for (const std::string& name : ippTexts(answer, attribute)) {
    double width = 0, length = 0;
    if (const pwg_media_t* known = pwgMediaForPWG(name.c_str()); known && known->length > 0) {
      width = known->width * kUnitMm;
      length = known->length * kUnitMm;
    } else if (!sizeInName(name, &width, &length)) {
      continue;
    }
    if (startsWithAny(name, {"custom_min_", "roll_min_"})) {
      custom.minWidth = width;
      custom.minLength = length;
    } else if (startsWithAny(name, {"custom_max_", "roll_max_"})) {
      custom.width = width;
      custom.length = length;
    } else if (length > 0) {
      addMedia(printer, {name, width, length, width, length, {}, isReady});
    } else {
      constexpr double kShortest = 10, kLongest = 15000;  // where the printer tells no limits of a roll
      addMedia(printer, {name,
                         width,
                         custom.length > 0 ? custom.length : kLongest,
                         width,
                         custom.minLength > 0 ? custom.minLength : kShortest,
                         {},
                         isReady});
    }
  }
  const bool hasRange = std::any_of(printer.media.begin(), printer.media.end(),
                                    [](const PrinterMedia& m) { return m.isRoll() && m.hasAnyWidth(); });
  if (custom.width > 0 && custom.minWidth > 0 && !hasRange) addMedia(printer, custom);
}

/// Where the media have no margins of their own, the printer's are theirs: the largest that it lists.
void addMargins(ipp_t* answer, PrinterInfo& printer) {
  const auto largest = [answer](const char* name) {
    ipp_attribute_t* all = ippFindAttribute(answer, name, IPP_TAG_INTEGER);
    int most = 0;
    for (int i = 0; i < ippGetCount(all); ++i) most = std::max(most, ippGetInteger(all, i));
    return most * kUnitMm;
  };
  const PrintMargins margins{largest("media-left-margin-supported"), largest("media-top-margin-supported"),
                             largest("media-right-margin-supported"), largest("media-bottom-margin-supported")};
  for (PrinterMedia& media : printer.media) {
    if (media.margins == PrintMargins{}) media.margins = margins;
  }
}

void readMedia(ipp_t* answer, PrinterInfo& printer) {
  addMediaCollections(answer, "media-col-database", false, printer);
  const bool hasDatabase = !printer.media.empty();
  addMediaCollections(answer, "media-col-ready", true, printer);
  addNamedMedia(answer, "media-supported", false, printer);
  addNamedMedia(answer, "media-ready", true, printer);
  if (!hasDatabase) {
    addMediaCollections(answer, "media-size-supported", false, printer);
    addMargins(answer, printer);
  }
  if (printer.media.empty()) {
    // A queue without a driver tells nothing: the medium is as large as the page.
    addMedia(printer, {"custom_max_5000x100000mm", 5000, 100000, 10, 10, {}, false});
  }
  for (const std::string& name : ippTexts(answer, "media-ready")) {
    for (PrinterMedia& media : printer.media) media.isReady = media.isReady || media.name == name;
  }
  printer.defaultMedia = ippText(answer, "media-default");
  const std::vector<std::string> members = ippTexts(answer, "media-col-supported");
  printer.hasMediaCol = std::find(members.begin(), members.end(), "media-size") != members.end();
}

PrinterResolution resolutionAt(ipp_attribute_t* all, int i) {
  int y = 0;
  ipp_res_t unit = IPP_RES_PER_INCH;
  const int x = ippGetResolution(all, i, &y, &unit);
  const double factor = unit == IPP_RES_PER_CM ? 2.54 : 1;
  const auto dpi = [factor](int v) { return static_cast<std::uint32_t>(std::lround(std::max(0, v) * factor)); };
  return {dpi(x), dpi(y)};
}

/// Apple raster tells its resolutions and colours in one list: "RS300-600", "W8", "SRGB24".
void readUrf(ipp_t* answer, PrinterInfo& printer) {
  for (const std::string& word : ippTexts(answer, "urf-supported")) {
    if (word == "W8") printer.rasterTypes.emplace_back("sgray_8");
    if (word == "SRGB24") printer.rasterTypes.emplace_back("srgb_8");
    if (!word.starts_with("RS")) continue;
    for (std::string_view rest = std::string_view(word).substr(2); !rest.empty();) {
      const std::string_view one = rest.substr(0, rest.find('-'));
      std::int64_t dpi = 0;
      if (parseNumber(one, &dpi) && dpi > 0 && dpi < 100000) {
        printer.resolutions.push_back({static_cast<std::uint32_t>(dpi), static_cast<std::uint32_t>(dpi)});
      }
      rest.remove_prefix(std::min(rest.size(), one.size() + 1));
    }
  }
}

void readRaster(ipp_t* answer, PrinterInfo& printer) {
  printer.documentFormats = ippTexts(answer, "document-format-supported");
  printer.rasterTypes = ippTexts(answer, "pwg-raster-document-type-supported");
  ipp_attribute_t* all = ippFindAttribute(answer, "pwg-raster-document-resolution-supported", IPP_TAG_RESOLUTION);
  if (printer.rasterTypes.empty() && !all) readUrf(answer, printer);
  if (!all && printer.resolutions.empty()) {
    all = ippFindAttribute(answer, "printer-resolution-supported", IPP_TAG_RESOLUTION);
  }
  for (int i = 0; i < ippGetCount(all); ++i) printer.resolutions.push_back(resolutionAt(all, i));
  std::erase_if(printer.resolutions, [](PrinterResolution r) { return r.x == 0 || r.y == 0; });
  std::sort(printer.resolutions.begin(), printer.resolutions.end(),
            [](PrinterResolution a, PrinterResolution b) { return a.x != b.x ? a.x < b.x : a.y < b.y; });
  printer.resolutions.erase(std::unique(printer.resolutions.begin(), printer.resolutions.end()),
                            printer.resolutions.end());
  if (ipp_attribute_t* one = ippFindAttribute(answer, "printer-resolution-default", IPP_TAG_RESOLUTION)) {
    printer.defaultResolution = resolutionAt(one, 0);
  }
  ipp_attribute_t* own = ippFindAttribute(answer, "printer-resolution-supported", IPP_TAG_RESOLUTION);
  for (int i = 0; i < ippGetCount(own); ++i) printer.jobResolutions.push_back(resolutionAt(own, i));
  printer.colorModes = ippTexts(answer, "print-color-mode-supported");
  printer.scalings = ippTexts(answer, "print-scaling-supported");
  printer.hasColor = ippGetBoolean(ippFindAttribute(answer, "color-supported", IPP_TAG_BOOLEAN), 0) != 0;
}

void readState(ipp_t* answer, PrinterInfo& printer) {
  const int state = ippGetInteger(ippFindAttribute(answer, "printer-state", IPP_TAG_ENUM), 0);
  if (state >= 3 && state <= 5) printer.state = static_cast<PrinterInfo::State>(state);
  printer.stateText = ippText(answer, "printer-state-message");
  printer.stateReasons = ippTexts(answer, "printer-state-reasons");
  std::erase(printer.stateReasons, "none");
  if (ipp_attribute_t* accepts = ippFindAttribute(answer, "printer-is-accepting-jobs", IPP_TAG_BOOLEAN)) {
    printer.isAccepting = ippGetBoolean(accepts, 0) != 0;
  }
}

}  // namespace

const std::vector<const char*>& wantedAttributes() {
  static const std::vector<const char*> kWanted = {"printer-info",
                                                   "printer-location",
                                                   "printer-make-and-model",
                                                   "printer-name",
                                                   "printer-state",
                                                   "printer-state-message",
                                                   "printer-state-reasons",
                                                   "printer-is-accepting-jobs",
                                                   "media-col-database",
                                                   "media-col-ready",
                                                   "media-col-supported",
                                                   "media-default",
                                                   "media-ready",
                                                   "media-size-supported",
                                                   "media-supported",
                                                   "media-left-margin-supported",
                                                   "media-top-margin-supported",
                                                   "media-right-margin-supported",
                                                   "media-bottom-margin-supported",
                                                   "pwg-raster-document-resolution-supported",
                                                   "pwg-raster-document-type-supported",
                                                   "urf-supported",
                                                   "printer-resolution-supported",
                                                   "printer-resolution-default",
                                                   "color-supported",
                                                   "print-quality-supported",
                                                   "print-color-mode-supported",
                                                   "print-scaling-supported",
                                                   "copies-supported",
                                                   "document-format-supported"};
  return kWanted;
}

std::string ippText(ipp_t* answer, const char* name) {
  ipp_attribute_t* one = ippFindAttribute(answer, name, IPP_TAG_ZERO);
  const char* text = one ? ippGetString(one, 0, nullptr) : nullptr;
  return text ? text : "";
}

std::vector<std::string> ippTexts(ipp_t* answer, const char* name) {
  std::vector<std::string> texts;
  ipp_attribute_t* all = ippFindAttribute(answer, name, IPP_TAG_ZERO);
  const int count = ippGetCount(all);
  texts.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    if (const char* text = ippGetString(all, i, nullptr)) texts.emplace_back(text);
  }
  return texts;
}

void readAttributes(ipp_t* answer, PrinterInfo& printer) {
  const auto take = [answer](const char* name, std::string& into) {
    if (std::string text = ippText(answer, name); !text.empty()) into = std::move(text);
  };
  take("printer-info", printer.description);
  take("printer-location", printer.location);
  take("printer-make-and-model", printer.model);
  readState(answer, printer);
  readMedia(answer, printer);
  readRaster(answer, printer);
  ipp_attribute_t* qualities = ippFindAttribute(answer, "print-quality-supported", IPP_TAG_ENUM);
  for (int i = 0; i < ippGetCount(qualities); ++i) printer.qualities.push_back(ippGetInteger(qualities, i));
  if (ipp_attribute_t* copies = ippFindAttribute(answer, "copies-supported", IPP_TAG_RANGE)) {
    int most = 1;
    (void)ippGetRange(copies, 0, &most);
    printer.maxCopies = std::max(1, most);
  }
  printer.hasAttributes = true;
}

std::string mediaTitle(const PrinterMedia& media) {
  if (media.isRoll()) return Supp_Translate(media.hasAnyWidth() ? "Roll, any width" : "Roll");
  const auto first = media.name.find('_');
  const auto last = media.name.rfind('_');
  if (first == std::string::npos || last <= first) return media.name;
  const std::string group = media.name.substr(0, first);
  std::string title = media.name.substr(first + 1, last - first - 1);
  std::replace(title.begin(), title.end(), '-', ' ');
  const auto upper = [&title](std::size_t i) {
    title[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(title[i])));
  };
  // "a1" and "arch d" are written in capitals, "letter" as a word.
  if (group == "iso" || group == "jis" || title.starts_with("arch") || title.size() == 1) {
    for (std::size_t i = 0; i < title.size(); ++i) upper(i);
  } else if (!title.empty()) {
    upper(0);
  }
  return title;
}

const PrinterMedia* findMedia(const PrinterInfo& printer, const std::string& name) {
  const auto found = std::find_if(printer.media.begin(), printer.media.end(),
                                  [&](const PrinterMedia& m) { return m.name == name; });
  return found == printer.media.end() ? nullptr : &*found;
}

}  // namespace quillbay
