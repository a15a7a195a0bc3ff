#include "scanners/sane/sane_unit.h"

#include <algorithm>
#include <cmath>

#include "platform/base_services.h"
#include "quillbay/scan_keys.h"
#include "scanners/sane/sane_fault.h"
#include "scanners/sane/sane_thread.h"

namespace quillbay {

SaneUnit::SaneUnit(std::shared_ptr<SaneCore> core, std::string name)
    : m_core(std::move(core)),
      m_name(std::move(name)),
      m_sinks(KxPtr<TConnectionPointImpl<IScanSink>>::adopt(new TConnectionPointImpl<IScanSink>)) {}

SaneUnit::~SaneUnit() {
  m_core->stop();
  // A sink that releases the unit within a notification is on the SANE thread: the scan ends after it returned.
  if (!SaneThread::instance().isCurrent()) m_core->waitUntilIdle();
  m_core->close();
}

int SaneUnit::GetResolutions(std::vector<UnitResolution>* out, int) {
  const SaneCapabilities known = m_core->capabilities();
  out->clear();
  for (const std::int32_t dpi : known.resolutions) out->push_back({toText(std::int64_t{dpi}), dpi});
  return static_cast<int>(out->size());
}

int SaneUnit::GetRange(int, std::int32_t* least, std::int32_t* most) {
  const SaneCapabilities known = m_core->capabilities();
  if (known.maxDpi <= 0) return 0;
  *least = static_cast<std::int32_t>(std::ceil(known.minDpi));
  *most = static_cast<std::int32_t>(known.maxDpi);
  return 1;
}

int SaneUnit::Scan(IScanSink* sink, IParam* request) { return m_core->arm(sink, request) ? 1 : 0; }

int SaneUnit::Command(IScanSink*, int code) {
  switch (static_cast<UnitCommand>(code)) {
    case UnitCommand::Run: return m_core->run() ? 1 : 0;
    case UnitCommand::Stop:
    case UnitCommand::Close: m_core->stop(); return 1;
    case UnitCommand::IsLoaded: return m_core->isLoaded() ? 1 : 0;
    case UnitCommand::UnloadForward:
    case UnitCommand::UnloadBack: return m_core->unload() ? 1 : 0;
  }
  return 0;
}

std::vector<UnitOption> SaneUnit::GetOptions() {
  const SaneCapabilities known = m_core->capabilities();
  std::vector<UnitOption> options;
  options.reserve(known.options.size());
  const WantedOptions wanted = m_core->wantedOptions();
  for (const SaneOption& o : known.options) {
    options.push_back(describeOption(o));
    options.back().followsRequest = followsRequest(o.name);
    options.back().isAutomatic = std::any_of(wanted.begin(), wanted.end(), [&](const auto& w) {
      return w.first == o.name && isAutomaticValue(o, w.second);
    });
  }
  return options;
}

int SaneUnit::SetOption(std::string_view name, std::string_view value, std::string* why) {
  return m_core->setOption(name, value, why) ? 1 : 0;
}

int SaneUnit::SaveOptions(IParam* out) {
  for (const auto& [name, value] : m_core->wantedOptions()) out->SetValue(name, value);
  return 1;
}

int SaneUnit::GetSources(std::vector<UnitSource>* out) {
  const SaneSources sources = m_core->capabilities().sources;
  out->clear();
  for (const auto& choice : sources.choices()) out->push_back(choice.source);
  if (out->empty()) out->push_back(GetSource());
  return static_cast<int>(out->size());
}

UnitSource SaneUnit::GetSource() {
  const SaneSources sources = m_core->capabilities().sources;
  if (!sources.choices().empty()) return sources.current(m_core->wantedOptions());
  return m_core->hasToldEmpty() ? UnitSource::Feeder : UnitSource::Flatbed;
}

int SaneUnit::SetSource(UnitSource source, std::string* why) {
  const SaneSources sources = m_core->capabilities().sources;
  for (const auto& choice : sources.choices()) {
    if (choice.source != source) continue;
    for (const auto& [name, value] : choice.settings)
      if (!m_core->setOption(name, value, why)) return 0;
    return 1;
  }
  std::vector<UnitSource> offered;
  GetSources(&offered);
  return refuseSource(m_name, source, offered, why);
}

int SaneUnit::GetKeyRange(std::string_view key, UnitKeyRange* out) {
  const SaneCapabilities known = m_core->capabilities();
  const auto asked = modeKeyRange(sameKey(key, key::Threshold) ? key::numbered(key::Level, kModeBwThreshold) : key);
  if (!asked || !known.offers(asked->mode)) return 0;
  const bool isLineartOnly = !known.modes.any && known.modes.grey.empty() && known.modes.colour.empty();
  if (isLineartOnly && !asked->isLevel) return 0;
  *out = asked->range;
  if (!asked->isLevel || asked->mode != kModeBwThreshold) return 1;
  for (const SaneOption& o : known.options) {
    if (o.name == "threshold" && o.isActive() && o.isNumber() && o.hasRange && o.max > o.min && !o.value.empty())
      out->initial = std::round((o.number() - o.min) / (o.max - o.min) * kMostLevel);
  }
  return 1;
}

KxPtr<IScan> newSaneScan(IApp* app, const std::string& device, const std::string& name, UnitFault* fault,
                         std::shared_ptr<ScannerFinder> finder) {
  try {
    return KxPtr<IScan>::adopt(
        new SaneUnit(SaneCore::open(app, device, std::move(finder)), name.empty() ? device : name));
  } catch (const UnitFaultException& e) {
    *fault = e.fault();
    return {};
  }
}

}  // namespace quillbay
