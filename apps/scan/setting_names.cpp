#include "setting_names.h"

#include <algorithm>
#include <array>

#include "names.h"
#include "quillbay/scan_keys.h"
#include "translated.h"

namespace setting_names {
namespace {

namespace key = quillbay::key;

struct Setting {
  const char* key;
  const char* title;
  const char* option;  // null: only --set
};

constexpr std::array kSettings{
    Setting{key::CurrMode, "Mode, by its number", "--mode"},
    Setting{key::Mode, "Mode of the request", nullptr},
    Setting{key::Dpi, "Resolution in dpi", "--resolution"},
    Setting{key::ImageDpi, "Resolution of the request in dpi", nullptr},
    Setting{key::ScanAreaType, "Area: 1 full width, 2 fixed width, 3 edges, 4 paper", "--area"},
    Setting{key::RcScan, "Edges of the area in mm", "--area"},
    Setting{key::Rect, "Area of the request in mm", nullptr},
    Setting{key::PaperName, "Paper", "--area"},
    Setting{key::Portrait, "Portrait", "--portrait"},
    Setting{key::Center, "Document centred on the bed", "--center"},
    Setting{key::AddWidth, "Added width in percent", nullptr},
    Setting{key::PaperLength, "Length in mm if no end is found", nullptr},
    Setting{key::Autodetect, "Detection, as bits", nullptr},
    Setting{key::Bursting, "Long documents in pieces", "--bursting"},
    Setting{key::Dir, "Folder", "--dir"},
    Setting{key::Mask, "File name mask", "--mask"},
    Setting{key::Extension, "File extension", "--format"},
    Setting{key::MultiPage, "All pages in one file", "--multipage"},
    Setting{key::UseAutoCounter, "Counter after the name", nullptr},
    Setting{key::Counter, "Next counter value", nullptr},
    Setting{key::CounterFormat, "Format of the counter", nullptr},
    Setting{key::CounterDigits, "Digits of the counter, 1 to 8", nullptr},
    Setting{key::StartCounter, "First counter value", nullptr},
    Setting{key::FileFate, "Existing file: 0 count up, 1 replace, 2 ask", "--overwrite"},
    Setting{key::UseFileOut, "Save the pages of a view", "--to"},
    Setting{key::UseScript, "Run a script over each page of a view", "--script"},
    Setting{key::ScriptName, "Script, or Autocortect", "--script"},
    Setting{key::Threshold, "Black threshold, 0 to 255", nullptr},
    Setting{key::Brightness, "Brightness, -100 to 100", nullptr},
    Setting{key::Contrast, "Contrast, -100 to 100", nullptr},
    Setting{key::Hue, "Hue, -180 to 180", nullptr},
    Setting{key::Saturation, "Saturation, -100 to 100", nullptr},
    Setting{key::RedBalance, "Red, -100 to 100", nullptr},
    Setting{key::GreenBalance, "Green, -100 to 100", nullptr},
    Setting{key::BlueBalance, "Blue, -100 to 100", nullptr},
    Setting{key::IsGamma, "Colours by curves instead of sliders", nullptr},
    Setting{key::PaletteMethod, "Palette: 0 linear, 1 photos, 2 maps, 3 lookup file", nullptr},
    Setting{key::PaletteColors, "Colours of the palette, 8 to 256", nullptr},
    Setting{key::LutFileName, "Lookup file of classified colours", nullptr},
    Setting{key::Units, "Unit of lengths: 0 mm, 1 inch", nullptr},
    Setting{key::PreviewDpi, "Resolution of previews in dpi", nullptr},
    Setting{key::MinDpi, "Least resolution in dpi", nullptr},
    Setting{key::RcPreview, "Area of the preview in mm", nullptr},
    Setting{key::RcCustomScan, "Fragment in mm", nullptr},
    Setting{key::CustomScanValid, "Scan the fragment", nullptr},
    Setting{key::AutoAnswerEnable, "Answer messages automatically", nullptr},
    Setting{key::AutoAnswerDelay, "Half seconds before an automatic answer", nullptr},
    Setting{key::DisablePreview, "No preview", nullptr},
    Setting{key::ScanSpeed, "Speed in percent", nullptr},
    Setting{key::Rewind, "After a page: 0 unload forward, 1 to back, 2 leave it", nullptr},
    Setting{key::DetectionThreshold, "Threshold of the detection, 10 to 192", nullptr},
    Setting{key::StandardPapers, "A found size becomes a standard paper", nullptr},
    Setting{key::Deskew, "Straighten pages", nullptr},
    // With a number at their end: of a kind of pages, from 0 black and white, grey, palette, colour.
    Setting{key::FormatName, "File format of a kind of pages", nullptr},
    // With the number of a mode at their end.
    Setting{key::Level, "Level of black", nullptr},
    Setting{key::BackgroundSuppression, "Background suppression in percent", nullptr},
    Setting{key::SoftenSharpen, "Soften below 0, sharpen above", nullptr},
    Setting{key::Blur, "Blur in pixels", nullptr},
};

struct ShortName {
  const char* name;
  const char* key;
  bool isModes = false;  // each scan mode has its own
};

constexpr std::array kShortNames{ShortName{"brightness", key::Brightness},
                                 ShortName{"contrast", key::Contrast},
                                 ShortName{"hue", key::Hue},
                                 ShortName{"saturation", key::Saturation},
                                 ShortName{"red", key::RedBalance},
                                 ShortName{"green", key::GreenBalance},
                                 ShortName{"blue", key::BlueBalance},
                                 ShortName{"sharpen", key::SoftenSharpen, true},
                                 ShortName{"blur", key::Blur, true},
                                 ShortName{"level", key::Level, true},
                                 ShortName{"background", key::BackgroundSuppression, true},
                                 ShortName{"palette", key::PaletteMethod},
                                 ShortName{"colors", key::PaletteColors},
                                 ShortName{key::PaletteCount, key::PaletteColors},  // what the page makes of it
                                 ShortName{"lut", key::LutFileName}};

const Setting* find(std::string_view key) {
  const auto found =
      std::find_if(kSettings.begin(), kSettings.end(), [&](const Setting& s) { return names::same(s.key, key); });
  return found == kSettings.end() ? nullptr : &*found;
}

bool isWord(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

}  // namespace

std::string titleOf(std::string_view key) {
  const Setting* setting = find(key);
  if (!setting) setting = find(key.substr(0, key.find_last_not_of("0123456789") + 1));
  return setting ? translated(setting->title) : "";
}

std::string optionOf(std::string_view key) {
  const Setting* setting = find(key);
  return setting && setting->option ? setting->option : "";
}

std::string keyOf(std::string_view name, int mode) {
  for (const ShortName& known : kShortNames)
    if (names::same(known.name, name)) return known.isModes ? key::numbered(known.key, mode) : known.key;
  return std::string(name);
}

bool isColourSlider(std::string_view key) {
  constexpr const char* kSliders[] = {key::Brightness, key::Contrast,     key::Hue,        key::Saturation,
                                      key::RedBalance, key::GreenBalance, key::BlueBalance};
  return std::any_of(std::begin(kSliders), std::end(kSliders), [&](const char* s) { return names::same(s, key); });
}

std::string withOptions(std::string text) {
  for (const Setting& setting : kSettings) {
    const std::string_view key = setting.key;
    if (!setting.option || !key.starts_with("m_")) continue;  // "RECT" is also a word
    for (std::size_t at = 0; (at = text.find(key, at)) != std::string::npos;) {
      const std::size_t end = at + key.size();
      const bool whole = (at == 0 || !isWord(text[at - 1])) && (end == text.size() || !isWord(text[end]));
      const std::string_view shown = whole ? setting.option : key;
      text.replace(at, key.size(), shown);
      at += shown.size();
    }
  }
  return text;
}

}  // namespace setting_names
