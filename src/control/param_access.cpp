#include "control/param_access.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "pages/scan_area.h"
#include "params/counter_format.h"
#include "params/found_angle.h"
#include "platform/base_services.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

namespace {

std::string join(const std::vector<std::string>& words) {
  std::string text;
  for (const auto& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

std::string allowed(std::string_view key, const std::vector<std::string>& values) {
  return formatText(Supp_Translate("%s takes: %s"), {std::string(key), join(values)});
}

std::string unknownKey(std::string_view key) {
  const std::vector<std::string> names = scanParamNames();
  return formatText(Supp_Translate("unknown scan parameter %s; there are: %s"), {std::string(key), join(names)});
}

std::string checkMode(IQuillbayUnit& unit, std::int32_t mode) {
  if (mode >= 0 && mode <= kModeRgb && unit.HasMode(mode)) return {};
  std::vector<std::string> modes;
  for (std::int32_t m = 0; m <= kModeRgb; ++m) {
    if (unit.HasMode(m)) modes.push_back(formatText("%d (%s)", {std::to_string(m), modeName(m)}));
  }
  return allowed(scan_key::CurrMode.name, modes);
}

std::string checkDpi(IQuillbayUnit& unit, std::int32_t mode, std::int32_t dpi) {
  std::vector<UnitResolution> list;
  unit.GetResolutions(&list, mode);
  std::vector<std::string> texts;
  texts.reserve(list.size());
  for (const auto& r : list) texts.push_back(std::to_string(r.dpi));
  if (std::any_of(list.begin(), list.end(), [&](const auto& r) { return r.dpi == dpi; })) return {};
  const auto range = query<IUnitResolutionRange>(&unit);
  std::int32_t least = 0, most = 0;
  if (range && range->GetRange(mode, &least, &most)) {
    if (dpi >= least && dpi <= most) return {};
    return formatText(Supp_Translate("%s takes %d to %d dpi"),
                      {scan_key::Dpi.name, std::to_string(least), std::to_string(most)});
  }
  return allowed(scan_key::Dpi.name, texts);
}

std::string checkFormat(const std::string& format) {
  return digitsOfCounter(format) != 0
             ? std::string()
             : formatText(Supp_Translate("%s takes %.Nd with N from 1 to 8"), {scan_key::CounterFormat.name});
}

std::string checkPaper(const CSharedScanParams& params, const std::string& name) {
  std::vector<std::string> names;
  names.reserve(params.papers.size());
  for (const auto& paper : params.papers) {
    if (sameKey(paper.name, name)) return {};
    names.push_back(paper.name);
  }
  return allowed(scan_key::PaperName.name, names);
}

std::string checkInt(const CSharedScanParams& params, IQuillbayUnit& unit, std::string_view key, std::int32_t v) {
  if (sameKey(key, scan_key::CurrMode.name)) return checkMode(unit, v);
  if (sameKey(key, scan_key::Dpi.name)) return checkDpi(unit, params.values().currMode, v);
  if (sameKey(key, scan_key::FileFate.name) && (v < 0 || v > 2)) {
    return allowed(key, {"0 (increment)", "1 (overwrite)", "2 (ask)"});
  }
  if (sameKey(key, scan_key::ScanType.name)) {
    if (v == kAreaAuto && !params.values().offersDetection)
      return formatText(Supp_Translate("%s 0 (Auto) is not available: documents cannot be found with this scanner"),
                        {scan_key::ScanType.name});
    if (v < 0 || v > kAreaPaper) return allowed(key, {"0", "1", "2", "3", "4"});
  }
  if (sameKey(key, scan_key::Bursting.name) && v != 0 && !autodetectEffect(params.values()).burstingAllowed) {
    return formatText(Supp_Translate("%s needs an area with a length (%s 3 or 4) and no detection (%s 0)"),
                      {scan_key::Bursting.name, scan_key::ScanType.name, scan_key::Autodetect.name});
  }
  if (sameKey(key, scan_key::Units.name) && (v < 0 || v > 1)) return allowed(key, {"0 (mm)", "1 (inch)"});
  return {};
}

std::string checkRect(std::string_view key, const tagRRECT& r) {
  const bool finite =
      std::isfinite(r.left) && std::isfinite(r.top) && std::isfinite(r.right) && std::isfinite(r.bottom);
  if (finite && r.right > r.left && r.bottom >= r.top) return {};
  return formatText(
      Supp_Translate("%s takes left, top, right, bottom in millimetres, right beyond left, bottom not above top"),
      {std::string(key)});
}

std::string checkValue(const CSharedScanParams& params, IQuillbayUnit& unit, const ScanKey<std::int32_t>& key,
                       const CKxVariant& value) {
  const auto* number = value.get<double>();
  if (number ? !std::isfinite(*number) : !value.get<std::int32_t>())
    return formatText(Supp_Translate("%s takes a whole number"), {key.name});
  return checkInt(params, unit, key.name, value.toInt());
}

std::string checkValue(const CSharedScanParams& params, IQuillbayUnit&, const ScanKey<std::string>& key,
                       const CKxVariant& value) {
  const auto* text = value.get<std::string>();
  if (!text) return formatText(Supp_Translate("%s takes text"), {key.name});
  if (sameKey(key.name, scan_key::CounterFormat.name)) return checkFormat(*text);
  return sameKey(key.name, scan_key::PaperName.name) ? checkPaper(params, *text) : std::string();
}

std::string checkValue(const CSharedScanParams&, IQuillbayUnit&, const ScanKey<tagRRECT>& key,
                       const CKxVariant& value) {
  const auto* rect = value.get<tagRRECT>();
  if (rect) return checkRect(key.name, *rect);
  return formatText(Supp_Translate("%s takes left, top, right, bottom in millimetres"), {key.name});
}

void store(CSharedScanParams& params, const ScanKey<std::int32_t>& key, const CKxVariant& value) {
  params.set(key, value.toInt());
}

void store(CSharedScanParams& params, const ScanKey<std::string>& key, const CKxVariant& value) {
  params.set(key, *value.get<std::string>());
}

void store(CSharedScanParams& params, const ScanKey<tagRRECT>& key, const CKxVariant& value) {
  params.set(key, *value.get<tagRRECT>());
}

/// A value that has a name, and is broadcast only when a host sets it: the setup page shows it.
struct QuietKey {
  const char* name;
  std::int32_t ScanValues::*member;
  std::int32_t least, most;
};
constexpr QuietKey kQuietKeys[] = {
    {key::AutoAnswerEnable, &ScanValues::autoAnswer, 0, 1},
    {key::AutoAnswerDelay, &ScanValues::autoAnswerDelay, 1, 100},
    {key::Rewind, &ScanValues::rewind, 0, 2},
    {key::DetectionThreshold, &ScanValues::autoPaper, 10, 192},
    {key::StandardPapers, &ScanValues::standardPapers, 0, 1},
    {key::Deskew, &ScanValues::deskew, 0, 1},
};

const QuietKey* findQuietKey(std::string_view name) {
  const auto* found = std::find_if(std::begin(kQuietKeys), std::end(kQuietKeys),
                                   [&](const QuietKey& key) { return sameKey(key.name, name); });
  return found == std::end(kQuietKeys) ? nullptr : found;
}

std::string checkQuiet(const QuietKey& key, const CKxVariant& value) {
  const bool isNumber = value.get<std::int32_t>() || value.get<double>();
  if (isNumber && value.toInt() >= key.least && value.toInt() <= key.most) return {};
  return formatText(Supp_Translate("%s takes a whole number from %d to %d"),
                    {key.name, std::to_string(key.least), std::to_string(key.most)});
}

std::string checkExtension(const CKxVariant& value) {
  const auto* text = value.get<std::string>();
  const bool good = text && (text->empty() || (text->size() >= 2 && text->front() == '.'));
  return good ? std::string() : formatText(Supp_Translate("%s takes an extension, .tif"), {key::Extension});
}

}  // namespace

std::vector<std::string> scanParamNames() {
  std::vector<std::string> names;
  for (const AnyScanKey& key : allScanKeys()) names.emplace_back(nameOf(key));
  names.emplace_back(key::Extension);
  for (const QuietKey& key : kQuietKeys) names.emplace_back(key.name);
  return names;
}

std::string ParamAccess::check(std::string_view key, const CKxVariant& value) const {
  if (sameKey(key, key::Extension)) return checkExtension(value);
  if (const QuietKey* quiet = findQuietKey(key)) return checkQuiet(*quiet, value);
  const AnyScanKey* found = findScanKey(key);
  if (!found) return unknownKey(key);
  return std::visit([&](const auto& k) { return checkValue(m_params, m_unit, k, value); }, *found);
}

std::string ParamAccess::set(std::string_view key, const CKxVariant& value) const {
  std::string why = check(key, value);
  if (!why.empty()) return why;
  if (sameKey(key, key::Extension)) {  // of all colour classes: what a host that asks for one file format wants
    m_params.quiet().hostExtension = *value.get<std::string>();
    m_params.NotifyParam(key::Extension);
  } else if (const QuietKey* quiet = findQuietKey(key)) {
    if (quiet->member == &ScanValues::deskew)
      setDeskew(m_params, value.toInt() != 0);
    else
      m_params.quiet().*quiet->member = value.toInt();
    m_params.NotifyParam(quiet->name);
  } else {
    std::visit([&](const auto& k) { store(m_params, k, value); }, *findScanKey(key));
  }
  return {};
}

int getScanParam(const ScanValues& values, std::string_view key, CKxVariant* out) {
  if (sameKey(key, key::Extension)) {
    *out = extensionOf(values, colorClassOf(values.colorSpace));
    return 1;
  }
  if (const QuietKey* quiet = findQuietKey(key)) {
    *out = CKxVariant(values.*quiet->member);
    return 1;
  }
  const AnyScanKey* found = findScanKey(key);
  if (!found) return 0;
  *out = std::visit([&](const auto& k) { return CKxVariant(values.*k.member); }, *found);
  return 1;
}

}  // namespace quillbay
