/// The presets of the main page: the list that applies them, and what else can be done with them.
#include <QMenu>

#include "pages/main_settings.h"
#include "platform/base_services.h"
#include "platform/preset_manager.h"
#include "quillbay/host_files.h"
#include "ui_main_settings.h"

namespace quillbay {

namespace {

QString presetText(const char* english) { return QString::fromStdString(Supp_Translate(english)); }

}  // namespace

void CMainSettings::makePresetMenu() {
  auto* menu = new QMenu(m_form->presetMore);
  m_form->presetMore->setMenu(menu);
  connect(menu, &QMenu::aboutToShow, this, [this, menu] { fillPresetMenu(*menu); });
}

/// A preset need not be applied to be deleted or written into a file.
void CMainSettings::fillPresetMenu(QMenu& menu) {
  menu.clear();
  const QComboBox& list = *m_form->presetList;
  const auto forEach = [&](const char* title, auto act) {
    QMenu* presets = menu.addMenu(presetText(title));
    presets->setEnabled(list.count() > 0);
    for (int entry = 0; entry < list.count(); ++entry) {
      QAction* action = presets->addAction(list.itemText(entry).replace('&', "&&"));
      connect(action, &QAction::triggered, this, [this, act, id = list.itemData(entry).toInt()] {
        controller().Guarded([&] { return act(id), true; });
      });
    }
  };
  forEach("&Delete", [this](int id) { deletePreset(m_form->presetList->findData(id)); });
  if (!query<IFileDialogs>(params().app())) return;
  menu.addSeparator();
  forEach("Save as &file", [this](int id) { controller().Presets()->Export(id); });
  connect(menu.addAction(presetText("&Read from a file...")), &QAction::triggered, this,
          [this] { controller().Guarded([&] { return controller().Presets()->Import() != 0; }); });
}

/// The list, and its chosen entry.
void CMainSettings::showPresets() {
  IPresetManager* presets = controller().Presets();
  const bool isOffered = presets && !isDirect();
  for (QWidget* w : std::initializer_list<QWidget*>{m_form->presetLabel, m_form->presetList, m_form->createPreset,
                                                    m_form->presetMore})
    w->setVisible(isOffered);
  if (!isOffered) return;
  QComboBox* list = m_form->presetList;
  list->clear();
  for (const IPresetManager::Preset& preset : presets->List(IPresetManager::kAnyPage))
    list->addItem(QString::fromStdString(preset.name), preset.id);
  list->setEnabled(list->count() > 0);
  list->setPlaceholderText(presetText(list->count() > 0 ? "(none chosen)" : "(none yet)"));
  showChosenPreset();
}

void CMainSettings::showChosenPreset() {
  IPresetManager* presets = controller().Presets();
  std::int32_t id = 0;
  if (!presets) return;
  m_form->presetList->setCurrentIndex(presets->GetChosen(&id) ? m_form->presetList->findData(id) : -1);
}

void CMainSettings::choosePreset(int entry) {
  IPresetManager* presets = controller().Presets();
  const QVariant chosen = m_form->presetList->itemData(entry);
  if (!presets || !chosen.isValid()) return;
  const std::string name = m_form->presetList->itemText(entry).toStdString();
  const bool isApplied = presets->Apply(chosen.toInt(), IPresetManager::kAnyPage) != 0;
  showChosenPreset();
  updateSummary();
  if (isApplied) return;
  controller().Message(
      EventKind::Information,
      formatText(Supp_Translate("The preset \"%s\" holds nothing for this panel's pages."), {name}),
      EventButtons::Ok);
}

/// For good, so the user is asked.
void CMainSettings::deletePreset(int entry) {
  IPresetManager* presets = controller().Presets();
  if (!presets || entry < 0) return;
  const std::int32_t id = m_form->presetList->itemData(entry).toInt();
  const std::string question =
      formatText(Supp_Translate("Delete the preset \"%s\"?"), {m_form->presetList->itemText(entry).toStdString()});
  if (controller().Message(EventKind::Question, question, EventButtons::YesNo) ==
      static_cast<int>(EventAnswer::Yes))
    presets->Delete(id);
}

}  // namespace quillbay
