/// The lists of the main page: what they hold, and which entry is chosen.
#include <QAbstractItemView>
#include <QLineEdit>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QTimer>

#include "pages/main_settings.h"
#include "pages/paper_delegate.h"
#include "pages/paper_list.h"
#include "pages/scan_area.h"
#include "platform/base_services.h"
#include "ui_main_settings.h"

namespace quillbay {

namespace {

void fill(QComboBox* list, const ListEntries& entries) {
  list->clear();
  for (const ListEntry& entry : entries) list->addItem(QString::fromStdString(entry.text), entry.data);
}

}  // namespace

void CMainSettings::fillLists() {
  fill(m_form->modeList, modeEntries(*controller().Unit(), params().values().scannerHasColor));
  params().papers = loadPapers(params().app());
  params().quiet().offersDetection = controller().OffersDetection() != 0;
  fillAreas();
  fillResolutions(params().values().currMode);
  showPresets();
}

/// The list of areas, with the sizes of papers in the current unit; the selected one stays selected.
void CMainSettings::fillAreas() {
  const int selected = selectedData(m_form->areaList);
  fill(m_form->areaList, areaEntries(params().papers, m_allPapers));
  for (int row = 0; row < m_form->areaList->count(); ++row) {
    const int paper = m_form->areaList->itemData(row).toInt() - kAreaPaper;
    if (paper < 0) continue;
    const auto size = QString::fromStdString(
        paperSizeText(params().units(), params().papers[static_cast<std::size_t>(paper)].size));
    m_form->areaList->setItemData(row, size, PaperDelegate::kDetailRole);
    m_form->areaList->setItemData(row, m_form->areaList->itemText(row) + ", " + size, Qt::AccessibleTextRole);
  }
  // The list may be wider than the field that it hangs from.
  QAbstractItemView* view = m_form->areaList->view();
  view->setMinimumWidth(view->sizeHintForColumn(0) + view->verticalScrollBar()->sizeHint().width());
  markUnusable();
  if (selected >= 0) selectArea(selected);
}

/// The entry that stands for an area or a paper; a paper that is not listed brings all into the list.
void CMainSettings::selectArea(int entry) {
  int index = m_form->areaList->findData(entry);
  if (index < 0 && !m_allPapers && entry >= kAreaPaper) {
    m_allPapers = true;
    fillAreas();
    index = m_form->areaList->findData(entry);
  }
  m_form->areaList->setCurrentIndex(index);
}

void CMainSettings::showMorePapers() {
  m_allPapers = true;
  fillAreas();
  const ScanValues& v = params().values();
  if (v.scanType < kAreaPaper)
    selectArea(v.scanType);
  else
    selectPaper(v.paperName);
  // Once the list that was chosen from has closed.
  if (isVisible()) QTimer::singleShot(0, m_form->areaList, [list = m_form->areaList] { list->showPopup(); });
}

/// What needs a document to be found is no choice where nothing finds it, nor is a paper that the bed would cut.
void CMainSettings::markUnusable() {
  const auto* entries = qobject_cast<const QStandardItemModel*>(m_form->areaList->model());
  const auto disable = [&](int area, const QString& why) {
    QStandardItem* entry = entries ? entries->item(m_form->areaList->findData(area)) : nullptr;
    if (!entry) return;
    entry->setEnabled(false);
    entry->setToolTip(why);
  };
  const bool offered = controller().OffersDetection() != 0;
  m_form->detect->setEnabled(offered);
  if (!offered) {
    const QString why = QString::fromStdString(Supp_Translate("Documents cannot be found automatically here"));
    m_form->detect->setToolTip(why);
    disable(kAreaAuto, why);
    disable(kAreaAutoWidth, why);
  }
  const double bed = params().values().bedWidth;
  const QString tooWide = QString::fromStdString(Supp_Translate("Wider than the scanner both ways"));
  for (std::size_t i = 0; i < params().papers.size(); ++i) {
    const tagRSIZE& size = params().papers[i].size;
    if (!fitsBed(size, true, bed) && !fitsBed(size, false, bed)) disable(kAreaPaper + static_cast<int>(i), tooWide);
  }
}

void CMainSettings::fillResolutions(int mode) {
  const int before = selectedDpi();
  const ListEntries entries = resolutionEntries(*controller().Unit(), mode);
  fill(m_form->resolutionList, entries);
  if (entries.empty()) return;
  params().set(scan_key::MinDpi, entries.front().data);
  params().set(scan_key::PreviewDpi, entries.front().data);
  const bool kept = indexOfData(entries, before) >= 0 || (m_dpiRange && m_dpiRange->holds(before));
  showResolution(kept ? before : entries.front().data);
}

void CMainSettings::showResolution(int dpi) {
  QComboBox* list = m_form->resolutionList;
  const int index = list->findData(dpi);
  if (index >= 0) {
    list->setCurrentIndex(index);
  } else if (m_dpiRange && m_dpiRange->holds(dpi)) {
    list->setCurrentIndex(-1);
    list->setEditText(QString::number(dpi));
  }
}

int CMainSettings::selectedData(const QComboBox* list) const {
  const QVariant chosen = list->currentData();
  return chosen.isValid() ? chosen.toInt() : -1;
}

int CMainSettings::selectedMode() const {
  if (isDirect()) return kModeDirect;
  const int mode = selectedData(m_form->modeList);
  return mode >= 0 ? mode : params().values().currMode;
}

int CMainSettings::selectedDpi() const {
  const QComboBox* list = m_form->resolutionList;
  // A typed value counts while it is one of the device's; otherwise what was last taken.
  if (list->isEditable() && list->currentText() != list->itemText(list->currentIndex())) {
    const int typed = list->currentText().toInt();
    return m_dpiRange && m_dpiRange->holds(typed) ? typed : params().values().dpi;
  }
  const int dpi = selectedData(list);
  return dpi > 0 ? dpi : params().values().dpi;
}

void CMainSettings::selectPaper(const std::string& name) {
  const PaperRecord* paper = findPaper(params().papers, name);
  // A paper that the host has no more leaves its size.
  const int entry = paper ? kAreaPaper + static_cast<int>(paper - params().papers.data()) : kAreaCustom;
  selectArea(entry);
}

}  // namespace quillbay
