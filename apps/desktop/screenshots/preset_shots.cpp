#include "screenshots/preset_shots.h"

#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QTimer>
#include <QToolButton>

#include "quillbay/presets.h"

namespace desktop {

namespace {

bool storeAs(Stage& stage, const char* name) {
  quillbay::Preset preset;
  const auto presets = quillbay::query<quillbay::IQuillbayPresets>(stage.control());
  if (!presets || !presets->TakePreset(&preset)) return false;
  preset.name = name;
  return quillbay::StorePreset(stage.window().app(), preset) != 0;
}

bool shootMenu(Stage& stage) {
  auto* button = stage.panel()->findChild<QToolButton*>("pageMenu");
  if (!button) return false;
  button->click();
  QCoreApplication::processEvents();
  auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
  if (!menu) return false;
  const bool saved = stage.save(stage.over(*menu), "preset-menu");
  menu->close();
  return saved;
}

/// The panel's dialog is no `QDialog`.
bool shootDialog(Stage& stage) {
  bool saved = false;
  QTimer::singleShot(500, &stage.window(), [&] {
    QWidget* dialog = QApplication::activeModalWidget();
    auto* name = dialog ? dialog->findChild<QLineEdit*>("name") : nullptr;
    if (!name) return;
    name->setText("Maps for the web");
    saved = stage.save(*dialog, "preset-dialog");
    dialog->close();
  });
  auto* button = stage.panel()->findChild<QToolButton*>("createPreset");
  if (button) button->click();
  return saved;
}

}  // namespace

bool shootPresets(Stage& stage) {
  for (const char* name : {"Archive maps", "Plans in black and white", "Letters"}) {
    if (!storeAs(stage, name)) return false;
  }
  const auto presets = quillbay::query<quillbay::IQuillbayPresets>(stage.control());
  return presets->ApplyPreset(quillbay::PresetId("Archive maps")) && shootMenu(stage) && shootDialog(stage);
}

}  // namespace desktop
