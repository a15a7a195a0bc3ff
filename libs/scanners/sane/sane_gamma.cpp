#include "scanners/sane/sane_gamma.h"

#include <algorithm>
#include <cmath>

#include "platform/base_services.h"
#include "scanners/lines/line_convert.h"
#include "scanners/sane/sane_fault.h"

namespace quillbay {

namespace {

constexpr const char* kMasterTable = "gamma-table";
constexpr const char* kChannelTables[] = {"red-gamma-table", "green-gamma-table", "blue-gamma-table"};

// A table that can be composed with a curve, or null.
const SaneOption* usableTable(const SaneDevice& device, const char* name) {
  const SaneOption* o = device.settable(name);
  if (!o || !o->isNumber() || !o->hasRange || o->max <= o->min || o->value.size() < 2) return nullptr;
  const bool rises = o->value.front() < o->value.back() && std::is_sorted(o->value.begin(), o->value.end());
  return rises ? o : nullptr;
}

}  // namespace

std::vector<double> SaneGamma::compose(const std::vector<double>& table, double least, double most,
                                       const LevelTable& curve) {
  std::vector<double> out;
  out.reserve(table.size());
  for (const double value : table) {
    const double level = std::clamp((value - least) / (most - least), 0.0, 1.0) * 255;
    const auto below = std::min(static_cast<std::size_t>(level), std::size_t{254});
    const double made = curve[below] + (level - static_cast<double>(below)) * (curve[below + 1] - curve[below]);
    out.push_back(least + made / 255 * (most - least));
  }
  return out;
}

bool SaneGamma::isTrusted(std::string_view deviceName) noexcept {
  const bool isTestDriver = deviceName.starts_with("test:");
  const bool isRemoteTestDriver = deviceName.starts_with("net:") && deviceName.find(":test:") != deviceName.npos;
  return !isTestDriver && !isRemoteTestDriver;
}

bool SaneGamma::put(SaneDevice& device, const char* name, const LevelTable& curve) {
  const SaneOption* o = usableTable(device, name);
  if (!o) return false;
  const SANE_Value_Type type = o->type;
  std::vector<double> table;
  table.reserve(o->value.size());
  for (const SANE_Word word : o->value) table.push_back(fromWord(type, word));
  SaneValue wanted;
  wanted.words.reserve(table.size());
  for (const double value : compose(table, o->min, o->max, curve)) wanted.words.push_back(toWord(type, value));
  m_kept.push_back({name, o->value});
  device.set(name, wanted);
  const SaneOption* taken = device.find(name);
  return taken && taken->value == wanted.words;
}

void SaneGamma::apply(SaneDevice& device, const std::vector<KXRGBQUAD>& curves) {
  if (curves.size() != 256) return;
  const auto tones = ToneCurves::make(curves.data());
  if (!tones) return;
  const SANE_Parameters p = device.parameters();
  if (p.depth == 1) return;
  try {
    bool isDone = true;
    if (p.format == SANE_FRAME_GRAY) isDone = put(device, kMasterTable, tones->grey);
    for (std::size_t c = 0; c < 3 && isDone && p.format != SANE_FRAME_GRAY; ++c)
      isDone = put(device, kChannelTables[c], tones->channels[c]);
    if (isDone) return;
  } catch (const UnitFaultException& e) {
    logLine(LogLevel::Info, "quillbay.scanner", std::string(e.what()) + "; the curves are applied to its lines");
  }
  restore(device);
}

void SaneGamma::restore(SaneDevice& device) {
  for (const Kept& kept : std::exchange(m_kept, {})) {
    try {
      if (device.settable(kept.name)) device.set(kept.name, {kept.words, {}});
    } catch (const UnitFaultException& e) {
      logLine(LogLevel::Warning, "quillbay.scanner", e.what());
    }
  }
}

}  // namespace quillbay
