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
  const auto colour = static_cast<std::uint32_t>(quillbay::KxColorSpace::Rgb);
  return (format.colorSpaces & colour) != 0 ? quillbay::kClassColor : quillbay::kClassBitonal;
}

}  // namespace

bool shootSave(Stage& stage) {
  if (!stage.control()->ShowPage(quillbay::kSavePage)) return false;
  if (!stage.save(*stage.panel(), "panel-save")) return false;
  for (const quillbay::SaveFormat& format : quillbay::ListSaveFormats(stage.window().app())) {
    const quillbay::ColorClass colorClass = classOf(format);
    stage.apply({{quillbay::key::numbered(quillbay::key::FormatName, colorClass), "(*." + format.extension + ")"}});
    const char* name = colorClass == quillbay::kClassColor ? "colorOptions" : "bitonalOptions";
    auto* options = stage.panel()->findChild<QToolButton*>(name);
    if (!options) return false;
    if (!stage.saveModal("options-" + QString::fromStdString(format.extension), [options] { options->click(); }))
      return false;
  }
  return true;
}

}  // namespace desktop
