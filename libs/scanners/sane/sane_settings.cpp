#include "scanners/sane/sane_settings.h"

#include <algorithm>
#include <cmath>

#include "platform/base_services.h"
#include "scanners/sane/sane_fault.h"
#include "scanners/sane/sane_sources.h"

namespace quillbay {

namespace {

constexpr double kWiggleMm = 1.0;

[[noreturn]] void refuse(const SaneDevice& device, UnitFaultCode code, const std::string& text) {
  throw UnitFaultException({code, device.name() + ": " + text});
}

const std::string* wantedValue(const WantedOptions& wanted, std::string_view name) {
  for (const auto& [key, value] : wanted)
    if (key == name) return &value;
  return nullptr;
}

// Sets an option from a user's text; false when it is not active now.
bool applyWanted(SaneDevice& device, const std::string& name, const std::string& text) {
  const SaneOption* option = device.settable(name);
  if (!option) return false;
  SaneValue value;
  std::string why;
  if (!parseSaneValue(*option, text, &value, &why)) refuse(device, UnitFaultCode::Invalid, why);
  device.set(name, value);
  return true;
}

// Options can activate one another, so that one that is inactive now may be set after others.
void applyOthers(SaneDevice& device, WantedOptions wanted) {
  std::erase_if(wanted, [](const auto& w) { return w.first == "source" || w.first == "depth"; });
  for (std::size_t before = wanted.size() + 1; wanted.size() < before;) {
    before = wanted.size();
    std::erase_if(wanted, [&](const auto& w) { return applyWanted(device, w.first, w.second); });
  }
  for (const auto& [name, value] : wanted)
    logLine(LogLevel::Warning, "quillbay.scanner",
            device.name() + ": the option " + name + " is not active with these settings; it was not set");
}

// Line art of the device's own is a plain threshold, and its level can be set only where the device has an option
// for it; without one, the usual level stands for the device's. All else is made here from grey.
bool wantsBits(const SaneDevice& device, const ScanRequest& request) noexcept {
  if (request.mode != kModeBwThreshold || request.bw.filters()) return false;
  const bool isUsual = request.level < 0 || request.level == levelRange(kModeBwThreshold).initial;
  return isUsual || hasOwnThreshold(device.options());
}

// Sets the mode; returns whether one bit a pixel must still be chosen by the depth.
bool applyMode(SaneDevice& device, const ScanRequest& request) {
  const SaneOption* mode = device.settable("mode");
  const ModeNames names = modeNames(mode);
  const bool bits = wantsBits(device, request);
  if (names.any) return bits;
  const std::string* value = nullptr;
  if (bits && !names.lineart.empty()) {
    value = &names.lineart;
  } else if (request.mode <= 5) {
    value = !names.grey.empty() ? &names.grey : !names.colour.empty() ? &names.colour : &names.lineart;
  } else {
    value = &names.colour;
  }
  if (value->empty())
    refuse(device, UnitFaultCode::Unsupported, Supp_Translate("this scanner has no colour. Choose a grey mode."));
  device.setText("mode", *value);
  return bits && value == &names.grey;
}

void applyDepth(SaneDevice& device, bool bits, const WantedOptions& wanted) {
  const std::string* text = wantedValue(wanted, "depth");
  if (text && applyWanted(device, "depth", *text)) return;
  const SaneOption* depth = device.settable("depth");
  if (!depth) return;
  if (bits && depth->allows(1)) return device.setNumber("depth", 1);
  if (depth->allows(8)) return device.setNumber("depth", 8);
  const double most =
      depth->words.empty() ? depth->max : *std::max_element(depth->words.begin(), depth->words.end());
  device.setNumber("depth", std::min(most, 16.0));
}

void applyThreshold(SaneDevice& device, const ScanRequest& request) {
  const SaneOption* o = device.settable("threshold");
  if (!o || !o->isNumber() || request.level < 0 || !isBitonalMode(request.mode)) return;
  const double share = request.level / static_cast<double>(kMostLevel);
  const double low = o->hasRange ? o->min : 0;
  const double high = o->hasRange ? o->max : o->unit == SANE_UNIT_PERCENT ? 100 : 255;
  device.setNumber("threshold", low + share * (high - low));
}

double clampTo(const SaneDevice& device, const SaneOption& o, double value, double wiggle) {
  if (!o.hasRange) return value;
  const double held = std::clamp(value, o.min, o.max);
  if (std::fabs(held - value) > wiggle)
    logLine(
        LogLevel::Warning, "quillbay.scanner",
        device.name() + ": " + o.name + " is held to " + toText(held) + "; " + toText(value) + " was asked for");
  return held;
}

// One axis of the area, in the option's units. The corner that moves away from the other goes first, so that the
// two never cross and no driver corrects one of them.
void applyAxis(SaneDevice& device, const char* tl, const char* br, double low, double high, double wiggle) {
  const SaneOption* first = device.settable(tl);
  const SaneOption* second = device.settable(br);
  if (!first || !second) return;
  const double from = clampTo(device, *first, low, wiggle);
  const double to = clampTo(device, *second, high, wiggle);
  if (from >= to)
    refuse(device, UnitFaultCode::Invalid,
           formatText(Supp_Translate("the scan area is outside that of the scanner, %s to %s."),
                      {toText(second->min), toText(second->max)}));
  if (from <= second->number()) {
    device.setNumber(tl, from);
    device.setNumber(br, to);
  } else {
    device.setNumber(br, to);
    device.setNumber(tl, from);
  }
}

double limitOf(const SaneOption* o) { return o && o->hasRange ? o->max : 0; }

// The page's size moves the limits of the area. Its width is the whole bed's, so that the area's coordinates stay
// those of the bed on a device that centres the page; its length is what the area needs.
void applyPageSize(SaneDevice& device, double bottom) {
  if (const SaneOption* o = device.settable("page-width"); o && o->hasRange) device.setNumber("page-width", o->max);
  if (const SaneOption* o = device.settable("page-height"); o && o->hasRange)
    device.setNumber("page-height", std::clamp(bottom, o->min, o->max));
}

double bottomOf(const SaneDevice& device, const ScanRequest& request) {
  if (!request.reachesDocumentEnd()) return request.rect.bottom;
  const bool hasLength = request.paperLength > 0 && !SaneSources(device.options()).isFeeder();
  if (request.hasRect && hasLength) return request.rect.top + request.paperLength;
  const SaneOption* page = device.settable("page-height");
  return std::max(limitOf(page), limitOf(device.settable("br-y")));
}

void applyArea(SaneDevice& device, const ScanRequest& request, double dpi) {
  const SaneOption* right = device.settable("br-x");
  const SaneOption* bottom = device.settable("br-y");
  if (!right || !bottom) return;  // a device without an area delivers what it has
  const bool isPixels = bottom->unit == SANE_UNIT_PIXEL;
  const double unit = isPixels ? dpi * kInchPerMm : 1.0;
  const bool isOpenEnd = request.reachesDocumentEnd();
  double low = bottomOf(device, request);
  if (isPixels && !(isOpenEnd && low == limitOf(bottom))) low *= unit;  // a limit is in pixels already
  applyPageSize(device, low);
  right = device.settable("br-x");
  if (!right) return;
  const double widest = limitOf(right);
  const double left = request.hasRect ? request.rect.left * unit : right->min;
  const double top = request.hasRect ? request.rect.top * unit : 0;
  applyAxis(device, "tl-x", "br-x", left, request.hasRect ? request.rect.right * unit : widest, kWiggleMm * unit);
  applyAxis(device, "tl-y", "br-y", top, low, kWiggleMm * unit);
}

void applyResolution(SaneDevice& device, int dpi) {
  if (dpi <= 0) return;
  for (const char* name : {"resolution", "x-resolution", "y-resolution"}) {
    const SaneOption* o = device.settable(name);
    if (!o || !o->isNumber()) continue;
    if (!o->allows(dpi)) {
      std::string why;
      SaneValue ignored;
      if (!parseSaneValue(*o, toText(std::int64_t{dpi}), &ignored, &why))
        refuse(device, UnitFaultCode::Invalid, why);
    }
    device.setNumber(name, dpi);
  }
}

std::uint32_t takenResolution(const SaneDevice& device, int otherwise) {
  for (const char* name : {"resolution", "x-resolution"}) {
    const SaneOption* o = device.find(name);
    if (o && o->isActive() && o->isNumber() && o->number() >= 1)
      return static_cast<std::uint32_t>(std::lround(o->number()));
  }
  return otherwise > 0 ? static_cast<std::uint32_t>(otherwise) : 100;
}

}  // namespace

bool hasOwnThreshold(const std::vector<SaneOption>& options) noexcept {
  return std::any_of(options.begin(), options.end(),
                     [](const SaneOption& o) { return o.name == "threshold" && o.isNumber(); });
}

bool takesArea(const SaneDevice& device) { return device.settable("br-x") && device.settable("br-y"); }

bool followsRequest(std::string_view option) noexcept {
  for (const char* name : {"mode", "resolution", "x-resolution", "y-resolution", "tl-x", "tl-y", "br-x", "br-y"})
    if (option == name) return true;
  return false;
}

ModeNames modeNames(const SaneOption* mode) {
  ModeNames names;
  if (mode) {
    for (const std::string& value : mode->strings) {
      const std::string lower = toLowerAscii(value);
      const bool isColour = contains(lower, "color") || contains(lower, "colour") || contains(lower, "rgb");
      const bool isGrey = !isColour && (contains(lower, "gray") || contains(lower, "grey"));
      const bool isLineart = contains(lower, "lineart") || contains(lower, "line art") ||
                             contains(lower, "binary") || contains(lower, "black & white") ||
                             contains(lower, "black and white");
      // The plain name wins over variants of it ("True Gray", "24bit Color", "Color Lineart").
      if (isLineart && !isColour && (names.lineart.empty() || lower == "lineart")) names.lineart = value;
      if (isGrey && !isLineart && (names.grey.empty() || lower == "gray")) names.grey = value;
      if (isColour && !isLineart && (names.colour.empty() || lower == "color")) names.colour = value;
    }
  }
  names.any = names.lineart.empty() && names.grey.empty() && names.colour.empty();
  return names;
}

std::uint32_t applyRequest(SaneDevice& device, const ScanRequest& request, const WantedOptions& wanted) {
  if (const std::string* source = wantedValue(wanted, "source")) applyWanted(device, "source", *source);
  const bool bits = applyMode(device, request);
  applyDepth(device, bits, wanted);
  applyOthers(device, wanted);
  applyThreshold(device, request);
  const SaneOption* bottom = device.settable("br-y");
  const bool isPixels = bottom && bottom->unit == SANE_UNIT_PIXEL;
  if (!isPixels) applyArea(device, request, 0);
  applyResolution(device, request.dpi);
  const std::uint32_t dpi = takenResolution(device, request.dpi);
  if (isPixels) applyArea(device, request, dpi);
  return dpi;
}

}  // namespace quillbay
