#include "screenshots/save_shots.h"

#include <QComboBox>
#include <QToolButton>

#include "quillbay/format_settings.h"
#include "quillbay/scan_keys.h"
#include "quillbay/scan_mode.h"

namespace desktop {

namespace {

/// The class of pages that shows most of a format's choices.
quillbay::ColorClass classOf(const quillbay::SaveFormat& format) {
  const auto takes = [&](quillbay::KxColorSpace colorSpace) {
    return (format.colorSpaces & static_cast<std::uint32_t>(colorSpace)) != 0;
  };
  if (takes(quillbay::KxColorSpace::Rgb)) return quillbay::kClassColor;
  return takes(quillbay::KxColorSpace::Grey) ? quillbay::kClassGrey : quillbay::kClassBitonal;
}

}  // namespace

bool shootSave(Stage& stage) {
  if (!stage.control()->ShowPage(quillbay::kSavePage)) return false;
  if (!stage.save(*stage.panel(), "panel-save")) return false;
  for (const quillbay::SaveFormat& format : quillbay::ListSaveFormats(stage.window().app())) {
    const quillbay::ColorClass colorClass = classOf(format);
    stage.apply({{quillbay::key::numbered(quillbay::key::FormatName, colorClass), "(*." + format.extension + ")"}});
    const char* const names[] = {"bitonalOptions", "greyOptions", "paletteOptions", "colorOptions"};
    const char* name = names[colorClass];
    auto* options = stage.panel()->findChild<QToolButton*>(name);
    if (!options) return false;
    if (!stage.saveModal("options-" + QString::fromStdString(format.extension), [options] { options->click(); }))
      return false;
    stage.apply({{quillbay::key::numbered(quillbay::key::FormatName, colorClass), "(*.tif)"}});
  }
  return true;
}

}  // namespace desktop
