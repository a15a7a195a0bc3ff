#include "control/panel_settings.h"

#include "control/own_area.h"
#include "control/panel_store.h"
#include "control/param_access.h"
#include "control/preset_store.h"
#include "platform/base_services.h"
#include "platform/preset_manager.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

int PanelSettings::load() const {
  const PanelStore store(m_parts.params.app(), m_parts.scanner.name());
  const auto main = store.mainDialog();
  m_parts.destination->LoadParams(main.get());
  m_parts.pages.load(store);
  return paramInt(main.get(), key::Layout) == 1 ? 1 : 0;
}

int PanelSettings::save(int layout) const {
  const OwnArea own(m_parts.params, m_parts.run);
  PanelStore store(m_parts.params.app(), m_parts.scanner.name());
  m_parts.pages.save(store);
  const auto main = store.mainDialog();
  m_parts.destination->SaveParams(main.get());
  main->SetValue(key::Layout, layout);
  m_parts.scanner.remember();
  return store.flush();
}

int PanelSettings::setParam(std::string_view key, const CKxVariant& value, std::string* why) {
  const ParamAccess access{m_parts.params, *m_parts.scanner.unit()};
  std::string refusal = access.check(key, value);
  if (refusal.empty() && m_parts.run.holdsSettings()) {
    m_changes.add(std::string(key), value);
    return 1;
  }
  if (refusal.empty()) {
    const OwnArea own(m_parts.params, m_parts.run);
    refusal = access.set(key, value);
  }
  if (!refusal.empty() && why) *why = refusal;
  return refusal.empty() ? 1 : 0;
}

int PanelSettings::getParam(std::string_view key, CKxVariant* out) const {
  const OwnArea own(m_parts.params, m_parts.run);
  return getScanParam(m_parts.values(), key, out);
}

void PanelSettings::getPageParams(IParam* out) const {
  const OwnArea own(m_parts.params, m_parts.run);
  for (const PageRole role : m_parts.pages.current()) m_parts.pages.page(role)->Save(out);
  PanelPages::removeComputed(out);
  m_parts.destination->SaveParams(out);
}

int PanelSettings::applyPreset(std::int32_t id) {
  PresetEntry there;
  if (!preset_store::find(m_parts.params.app(), id, &there)) return 0;
  if (m_parts.run.holdsSettings()) {
    m_changes.addPreset(id);
    return 1;
  }
  const OwnArea own(m_parts.params, m_parts.run);
  return m_parts.presets->Apply(id, IPresetManager::kAnyPage);
}

void PanelSettings::applyWaiting() {
  if (m_parts.run.holdsSettings()) return;
  const auto changes = m_changes.take();
  if (changes.empty()) return;
  const ParamAccess access{m_parts.params, *m_parts.scanner.unit()};
  const OwnArea own(m_parts.params, m_parts.run);
  for (const auto& change : changes) {
    if (change.set) {
      applySet(change.set.get());
      continue;
    }
    if (change.preset) {
      m_parts.presets->Apply(*change.preset, IPresetManager::kAnyPage);
      continue;
    }
    // What was allowed when it was asked for need not be any more.
    const std::string refusal = access.set(change.key, change.value);
    if (!refusal.empty()) logLine(LogLevel::Warning, "quillbay.control", "a change came too late: " + refusal);
  }
}

void PanelSettings::applySet(IParam* set) const {
  const std::int32_t mode = m_parts.values().currMode;
  {
    const NotifyGuard guard;
    const auto merged = new_MemParam();
    for (const PageRole role : m_parts.pages.current()) m_parts.pages.page(role)->Save(merged.get());
    m_parts.destination->SaveParams(merged.get());
    Param_CopyTo(set, merged.get());
    m_parts.pages.apply(merged.get());
    m_parts.destination->LoadParams(merged.get());
  }
  m_parts.settingsApplied(m_parts.values().currMode != mode);
}

}  // namespace quillbay
