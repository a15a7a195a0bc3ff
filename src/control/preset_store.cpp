#include "control/preset_store.h"

#include <algorithm>

#include "platform/base_services.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

namespace {

constexpr std::string_view kPresetStem = "Preset", kPageStem = "page";

std::string presetStoreName(std::int32_t id) { return std::string(kPresetStem) + std::to_string(id); }
std::string pageStoreName(std::int32_t number) { return std::string(kPageStem) + std::to_string(number); }

/// The number behind a stem, in any letter case.
bool numberBehind(std::string_view stem, std::string_view name, std::int32_t* number) {
  std::int64_t value = 0;
  if (name.size() <= stem.size() || !sameKey(name.substr(0, stem.size()), stem)) return false;
  if (!parseNumber(name.substr(stem.size()), &value) || value < INT32_MIN || value > INT32_MAX) return false;
  *number = static_cast<std::int32_t>(value);
  return true;
}

KxPtr<IParam> nested(IParam* set, std::string_view name, bool create) {
  return set ? KxPtr<IParam>::adopt(set->GetSubStore(name, create ? 1 : 0)) : KxPtr<IParam>{};
}

KxPtr<IParam> presetsOf(IProfile* profile, bool create) {
  if (!profile) return {};
  const auto panel = KxPtr<IParam>::adopt(profile->GetSection(section_name::Panel, create ? 1 : 0));
  return nested(panel.get(), section_name::Presets, create);
}

PresetEntry entryOf(IParam* store, std::int32_t id) {
  PresetEntry entry{paramInt(store, preset_key::Id, id),
                    paramString(store, preset_key::Name),
                    paramString(store, preset_key::Comment),
                    {}};
  const auto data = nested(store, preset_key::Data, false);
  if (!data) return entry;
  for (const std::string& name : data->GetSubStores()) {
    std::int32_t number = 0;
    if (numberBehind(kPageStem, name, &number)) entry.pages.push_back(number);
  }
  return entry;
}

}  // namespace

std::vector<PresetEntry> ListPresets(IApp* app) {
  const auto presets = presetsOf(query<IProfile>(app).get(), false);
  std::vector<PresetEntry> list;
  if (!presets) return list;
  for (const std::string& name : presets->GetSubStores()) {
    std::int32_t id = 0;
    if (!numberBehind(kPresetStem, name, &id)) continue;
    PresetEntry entry = entryOf(nested(presets.get(), name, false).get(), id);
    // One that has no name, or is not found by its number, cannot be chosen.
    if (!entry.name.empty() && entry.id == id) list.push_back(std::move(entry));
  }
  return list;
}

int GetPreset(IApp* app, std::int32_t id, Preset* out) {
  const auto presets = presetsOf(query<IProfile>(app).get(), false);
  const auto store = nested(presets.get(), presetStoreName(id), false);
  if (!store) return 0;
  const PresetEntry entry = entryOf(store.get(), id);
  Preset preset{entry.name, entry.comment, {}};
  const auto data = nested(store.get(), preset_key::Data, false);
  for (const std::int32_t number : entry.pages) {
    PresetPage page{number, new_MemParam()};
    Param_CopyTo(nested(data.get(), pageStoreName(number), false).get(), page.values.get());
    preset.pages.push_back(std::move(page));
  }
  *out = std::move(preset);
  return 1;
}

int StorePreset(IApp* app, const Preset& preset) {
  const auto profile = query<IProfile>(app);
  const auto presets = presetsOf(profile.get(), true);
  if (!presets) return 0;
  const std::int32_t id = PresetId(preset.name);
  const auto store = nested(presets.get(), presetStoreName(id), true);
  if (!store) return 0;
  store->SetValue(preset_key::Name, preset.name);
  store->SetValue(preset_key::Comment, preset.comment);
  store->SetValue(preset_key::Id, id);
  store->SetValue(preset_key::User, 1);
  // Of one that it replaces no page stays; its place in the list does.
  store->RemoveSubStore(preset_key::Data);
  const auto data = nested(store.get(), preset_key::Data, true);
  for (const PresetPage& page : preset.pages)
    Param_CopyTo(page.values.get(), nested(data.get(), pageStoreName(page.number), true).get());
  return profile->Flush();
}

namespace preset_store {

bool find(IApp* app, std::int32_t id, PresetEntry* out) {
  const std::vector<PresetEntry> list = ListPresets(app);
  const auto found = std::find_if(list.begin(), list.end(), [id](const PresetEntry& e) { return e.id == id; });
  if (found == list.end()) return false;
  *out = *found;
  return true;
}

bool remove(IApp* app, std::int32_t id) {
  const auto profile = query<IProfile>(app);
  const auto presets = presetsOf(profile.get(), false);
  if (!presets || !presets->RemoveSubStore(presetStoreName(id))) return false;
  profile->Flush();
  return true;
}

}  // namespace preset_store

}  // namespace quillbay
