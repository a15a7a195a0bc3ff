#include "pages/save_setup_formats.h"

#include <algorithm>
#include <optional>

#include "platform/base_services.h"
#include "platform/file_channel.h"
#include "quillbay/quillbay.h"

namespace quillbay {

namespace {

struct ClassBits {
  std::uint32_t listed;
  std::int32_t preferred;
};
constexpr std::array<ClassBits, 4> kClassBits{{{3, 1}, {16, 16}, {8, 8}, {768, 512}}};

bool isTemplate(std::string_view name) { return name.find('*') != std::string_view::npos; }

/// A flag of the entry, or of its options when the entry has none.
bool readFlag(IParam* entry, const char* key) {
  CKxVariant value;
  if (entry->GetValue(key, &value)) return value.toInt() != 0;
  const auto options = KxPtr<IParam>::adopt(entry->GetSubStore(format_key::Options, 0));
  return paramInt(options.get(), key) != 0;
}

std::optional<SaveFormat> readEntry(const std::string& name, IParam* entry, const FormatProbe& probe) {
  const bool isOffered = entry && !entry->GetKeys().empty() && !paramString(entry, format_key::Module).empty() &&
                         paramInt(entry, format_key::Enabled, 1) != 0 && paramInt(entry, format_key::Exclude) == 0;
  if (!isOffered) return std::nullopt;
  CKxVariant known;
  if (!entry->GetValue(format_key::ColorSpaces, &known) &&
      (!probe(name, entry) || paramInt(entry, format_key::Exclude) != 0))
    return std::nullopt;
  SaveFormat format;
  format.name = name;
  format.extension = paramString(entry, format_key::Extension);
  if (format.extension.starts_with('.')) format.extension.erase(0, 1);
  format.description = paramString(entry, format_key::Description, name);
  format.colorSpaces = static_cast<std::uint32_t>(paramInt(entry, format_key::ColorSpaces));
  format.directSave = readFlag(entry, format_key::DirectSave);
  format.multiPage = readFlag(entry, format_key::MultiPage);
  return format;
}

}  // namespace

std::vector<SaveFormat> buildFormatTable(IFormatSettings& settings, const FormatProbe& probe) {
  std::vector<SaveFormat> table;
  for (const char* name : {format_key::AllSaveFormats, format_key::ExportedProject}) {
    const auto section = KxPtr<IParam>::adopt(settings.GetSection(name));
    if (!section) continue;
    for (const std::string& entryName : section->GetSubStores()) {
      if (isTemplate(entryName)) continue;
      const auto entry = KxPtr<IParam>::adopt(section->GetSubStore(entryName, 0));
      auto format = readEntry(entryName, entry.get(), probe);
      if (!format) continue;
      const auto same =
          std::find_if(table.begin(), table.end(), [&](const SaveFormat& f) { return sameKey(f.name, entryName); });
      if (same != table.end())
        *same = std::move(*format);
      else
        table.push_back(std::move(*format));
    }
  }
  return table;
}

std::string formatItemText(const SaveFormat& format) {
  return formatText("(*.%s) %s", {format.extension, format.description});
}

std::int32_t preferredColorSpace(ColorClass colorClass) noexcept {
  return kClassBits[static_cast<std::size_t>(colorClass)].preferred;
}

std::vector<SaveFormat> formatsOfClass(const std::vector<SaveFormat>& table, ColorClass colorClass,
                                       std::int32_t destinationMode, bool multiPage) {
  const bool isDirect = destinationMode == ScanToFile || destinationMode == ScanToNet;
  const std::uint32_t bits = kClassBits[static_cast<std::size_t>(colorClass)].listed;
  std::vector<SaveFormat> list;
  std::copy_if(table.begin(), table.end(), std::back_inserter(list), [&](const SaveFormat& format) {
    return (format.colorSpaces & bits) != 0 && (!multiPage || format.multiPage) &&
           (!isDirect || format.directSave) && !isTemplate(format.name);
  });
  return list;
}

int findFormat(const std::vector<SaveFormat>& list, std::string_view text) noexcept {
  if (text.empty()) return -1;
  const auto found = std::find_if(
      list.begin(), list.end(), [&](const SaveFormat& format) { return formatItemText(format).starts_with(text); });
  return found == list.end() ? -1 : static_cast<int>(found - list.begin());
}

std::vector<SaveFormat> ListSaveFormats(IApp* app) {
  const auto settings = query<IFormatSettings>(app);
  return settings ? buildFormatTable(*settings, ProbeSaveFormat) : std::vector<SaveFormat>{};
}

}  // namespace quillbay
