#include <QTest>
#include <set>

#include "desktop_fixture.h"
#include "document/page_commands.h"
#include "document/page_list.h"
#include "scanner/job_bar.h"
#include "scanner/scanner_offer.h"
#include "window/manual_window.h"
#include "window/status_line.h"

namespace desktop {
namespace {

TEST_F(DesktopTest, AScannedPageIsShownSavedAndOpenedAgain) {
  open();
  quillbay::CKxVariant mode, area;
  control()->GetParam("m_CurrMode", &mode);
  control()->GetParam("m_rcScan", &area);
  EXPECT_EQ(mode.toInt(), 7) << "a first start scans in colour";
  ASSERT_TRUE(area.get<quillbay::tagRRECT>());
  EXPECT_EQ(area.get<quillbay::tagRRECT>()->right, 900) << "and the whole bed";
  smallPages();
  ASSERT_TRUE(scan());
  ASSERT_EQ(pages().size(), 1U);
  EXPECT_FALSE(pages()[0].isSaved());
  EXPECT_TRUE(window->isWindowModified());
  EXPECT_EQ(window->view().current(), pages()[0].id);
  EXPECT_TRUE(window->statusLine().size().contains("254")) << window->statusLine().size().toStdString();

  saveName = QString::fromStdString(dir.file("Plän 1.tif"));
  ASSERT_TRUE(window->saveCurrentAs()) << messages.join('\n').toStdString();
  EXPECT_TRUE(pages()[0].isSaved());
  EXPECT_FALSE(window->isWindowModified());
  const std::string scanned = pixels(pages()[0].raster.get());

  window->openFiles({saveName});
  ASSERT_EQ(pages().size(), 2U);
  EXPECT_EQ(pixels(pages()[1].raster.get()), scanned);
  EXPECT_EQ(pages()[1].raster->GetResolution(), 100U);
  EXPECT_TRUE(window->close());
  EXPECT_TRUE(asked.isEmpty());

  // The next start has the settings of this one.
  window.reset();
  open({});
  EXPECT_EQ(window->settings().recent(), QStringList{saveName});
  quillbay::CKxVariant dpi;
  control()->GetParam("m_uiDPI", &dpi);
  EXPECT_EQ(dpi.toInt(), 100);
}

TEST_F(DesktopTest, UnsavedPagesAreAskedAboutBeforeTheyGo) {
  open();
  smallPages();
  ASSERT_TRUE(scan());
  ASSERT_TRUE(scan());
  ASSERT_EQ(pages().size(), 2U) << "a second scan must not take the first page away";

  unsaved = UnsavedAnswer::Cancel;
  EXPECT_FALSE(window->closePages({pages()[0].id}));
  EXPECT_FALSE(window->close());
  EXPECT_EQ(asked.size(), 3);
  ASSERT_EQ(pages().size(), 2U);
  EXPECT_NE(control(), nullptr) << "the panel is there again after a cancelled close";

  unsaved = UnsavedAnswer::Save;
  saveName.clear();  // gives up in the dialog
  EXPECT_FALSE(window->close());
  saveName = QString::fromStdString(dir.file("missing/folder"));
  EXPECT_FALSE(window->close());
  ASSERT_FALSE(messages.isEmpty());
  EXPECT_TRUE(messages.last().contains("missing/folder")) << messages.last().toStdString();
  EXPECT_EQ(window->document().unsaved().size(), 2U);

  saveName = QString::fromStdString(dir.path());
  EXPECT_TRUE(window->close()) << messages.last().toStdString();
  for (const Page& page : pages()) {
    EXPECT_TRUE(page.isSaved());
    EXPECT_TRUE(QFile::exists(page.file())) << page.file().toStdString();
  }
  EXPECT_NE(pages()[0].file(), pages()[1].file());
}

TEST_F(DesktopTest, ThePageListIsWorkedWithByKeysAndMenus) {
  open();
  for (int i = 0; i < 4; ++i) {
    window->document().add(quillbay::new_IRStor(quillbay::KxColorSpace::Grey, 254, 127, 100), "sheet");
  }
  auto* list = window->pageList().findChild<QListWidget*>();
  const auto order = [this] { return window->document().order(); };
  using Ids = std::vector<int>;
  window->activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
  list->setFocus();
  list->setCurrentRow(1, QItemSelectionModel::ClearAndSelect);
  list->item(2)->setSelected(true);
  EXPECT_EQ(window->pageList().selected(), (Ids{2, 3}));
  QTest::keyClick(list, Qt::Key_Up, Qt::ControlModifier);
  EXPECT_EQ(order(), (Ids{2, 3, 1, 4}));
  EXPECT_EQ(window->pageList().selected(), (Ids{2, 3})) << "they stay chosen";
  QTest::keyClick(list, Qt::Key_Down, Qt::ControlModifier);
  QTest::keyClick(list, Qt::Key_Down, Qt::ControlModifier);
  EXPECT_EQ(order(), (Ids{1, 4, 2, 3}));
  for (int row = 0; row < 4; ++row)
    EXPECT_EQ(list->item(row)->data(Qt::UserRole).toInt(), order()[std::size_t(row)]);
  ASSERT_TRUE(window->pageCommands().run("Rotate right", "/Rotate ANGLE:90"));
  EXPECT_EQ(window->document().page(2)->raster->GetWidth(), 127);
  EXPECT_EQ(window->document().page(3)->raster->GetWidth(), 127) << "all that are chosen";
  EXPECT_EQ(window->document().page(4)->raster->GetWidth(), 254);
  unsaved = UnsavedAnswer::Discard;
  QTest::keyClick(list, Qt::Key_Delete);
  EXPECT_EQ(order(), (Ids{1, 4}));
  for (int i = 0; i < 5; ++i) QTest::keyClick(list, Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(order(), (Ids{1, 2, 3, 4}));
  EXPECT_EQ(window->document().page(3)->raster->GetWidth(), 254);
  QTest::keyClick(list, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
  QTest::keyClick(list, Qt::Key_Y, Qt::ControlModifier);
  EXPECT_EQ(order(), (Ids{1, 2, 3, 4})) << "up, and down again";

  EXPECT_TRUE(list->item(0)->text().contains("65 × 32 mm")) << list->item(0)->text().toStdString();
  for (QAction* action : window->findChildren<QAction*>()) {
    if (action->text() == "&inch") action->trigger();
  }
  const QString inches = QLocale().toString(2.54) + " × " + QLocale().toString(1.27) + " inch";
  EXPECT_TRUE(list->item(0)->text().contains(inches)) << list->item(0)->text().toStdString();

  // In the view: Delete closes, and the right button chooses the page under it.
  QWidget* surface = window->view().surface();
  window->view().fitPage(4);
  const QPoint middle = surface->rect().center();
  QContextMenuEvent menu(QContextMenuEvent::Mouse, middle, surface->mapToGlobal(middle));
  QApplication::sendEvent(surface, &menu);
  EXPECT_TRUE(window->pageMenu()->isVisible());
  window->pageMenu()->close();
  EXPECT_EQ(window->pageList().selected(), Ids{4});
  surface->setFocus();
  QTest::keyClick(surface, Qt::Key_Delete);
  EXPECT_EQ(order(), (Ids{1, 2, 3}));
}

TEST_F(DesktopTest, WhatIsSetInThePanelIsShownAroundItAtOnce) {
  open("sim:size=210x148,source=flatbed");
  QAction* inch = nullptr;
  for (QAction* action : window->findChildren<QAction*>()) {
    if (action->text() == "&inch") inch = action;
  }
  ASSERT_TRUE(inch);
  EXPECT_FALSE(inch->isChecked());
  set("m_nUnits", 1);
  EXPECT_TRUE(inch->isChecked());

  const auto* source = window->panelDock().bar().findChild<QComboBox*>();
  EXPECT_EQ(source->currentData().toInt(), static_cast<int>(quillbay::UnitSource::Flatbed));
  QTimer::singleShot(0, [] {
    auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    ASSERT_TRUE(dialog);
    for (auto* box : dialog->findChildren<QComboBox*>()) {
      if (box->findData("feeder") < 0) continue;
      box->setCurrentIndex(box->findData("feeder"));
      Q_EMIT box->activated(box->currentIndex());
    }
    dialog->accept();
  });
  window->panelDock().panel()->findChild<QPushButton*>("modelSetup")->click();
  EXPECT_EQ(source->currentData().toInt(), static_cast<int>(quillbay::UnitSource::Feeder));
}

TEST_F(DesktopTest, ScrollBarsFollowTheViewAndMoveIt) {
  open();
  window->document().add(quillbay::new_IRStor(quillbay::KxColorSpace::Grey, 4000, 3000, 100), "sheet");
  DocumentView& view = window->view();
  view.fitAll();
  const auto bars = view.findChildren<QScrollBar*>();
  ASSERT_EQ(bars.size(), 2);
  for (const QScrollBar* bar : bars) EXPECT_FALSE(bar->isEnabled()) << "everything is in sight";
  view.actualPixels();
  const auto port = quillbay::query<quillbay::IKxViewPort>(view.kxView());
  for (QScrollBar* bar : bars) {
    const bool isAcross = bar->orientation() == Qt::Horizontal;
    ASSERT_TRUE(bar->isEnabled());
    EXPECT_NEAR(bar->maximum() + bar->pageStep(), isAcross ? 4000 : 3000, 2) << "a pixel is a unit";
    const auto before = port->Transform();
    bar->setValue(bar->value() + 100);
    EXPECT_NEAR(port->Transform().offsetX, before.offsetX - (isAcross ? 100 : 0), 1);
    EXPECT_NEAR(port->Transform().offsetY, before.offsetY - (isAcross ? 0 : 100), 1);
    bar->setValue(0);
    const auto corner = port->ToClient({0, 0});
    EXPECT_NEAR(isAcross ? corner.x : corner.y, 0, 1);
  }
}

TEST_F(DesktopTest, APageThatThePanelSavesItselfIsNotAskedAbout) {
  open();
  smallPages();
  set("m_Dir", dir.path());
  set("m_Mask", "view<COUNTER>");
  for (QCheckBox* box : window->panelDock().panel()->findChildren<QCheckBox*>()) {
    if (QString(box->text()).remove('&').startsWith("Save")) box->click();
  }
  for (const std::size_t count : {1U, 2U}) {
    ASSERT_TRUE(scan());
    ASSERT_EQ(pages().size(), count);
    EXPECT_TRUE(pages().back().isSaved()) << messages.join(' ').toStdString();
    EXPECT_TRUE(QFile::exists(pages().back().file())) << pages().back().file().toStdString();
  }
  EXPECT_NE(pages()[0].file(), pages()[1].file());
  EXPECT_TRUE(window->close());
  EXPECT_TRUE(asked.isEmpty());
}

TEST_F(DesktopTest, AScanThatRunsIsStoppedForTheCloseAndKeepsTheMode) {
  open("sim:size=800x5000,speed=400");
  smallPages();
  set("m_rcScan", quillbay::tagRRECT{0, 0, 800, 5000});
  window->startScan();
  ASSERT_TRUE(waitFor([&] { return window->panelDock().isBusy(); }));
  EXPECT_FALSE(window->setMode(quillbay::ScanToFile));
  unsaved = UnsavedAnswer::Discard;
  EXPECT_TRUE(window->close());
  EXPECT_EQ(stopsAsked, 1);
}

TEST_F(DesktopTest, TheFirstStartOffersScannersAndSimulatesOnlyWhenAsked) {
  open({}, false);
  ScannerOffer* offer = window->panelDock().offer();
  ASSERT_TRUE(offer);
  EXPECT_TRUE(offer->isSearching()) << "by itself, with the window alive";
  ASSERT_TRUE(waitFor([&] { return !offer->isSearching(); }));
  EXPECT_EQ(control(), nullptr) << "the simulated one does not stand in";
  for (QPushButton* button : offer->findChildren<QPushButton*>()) {
    if (button->text().contains("mulated")) button->click();
  }
  ASSERT_TRUE(waitFor([&] { return control() != nullptr; }));
  EXPECT_TRUE(window->close());
  window.reset();
  open({});  // remembered
}

TEST_F(DesktopTest, HowFilesAreMadeIsKeptAndFoundOnTheSavePage) {
  open();
  QAction* files = nullptr;
  for (QAction* action : window->findChildren<QAction*>()) {
    if (action->text().remove('&') == "File settings...") files = action;
  }
  ASSERT_TRUE(files);
  files->trigger();
  auto* grey = window->findChild<QComboBox*>("grey");
  ASSERT_TRUE(grey && grey->isVisible()) << "the save page is in front";
  const auto chosen = quillbay::new_MemParam();
  for (int kind = 0; kind < 4; ++kind) chosen->SetValue("m_ExtSelName" + std::to_string(kind), "(*.png)");
  chosen->SetValue("m_Chars", 5);
  chosen->SetValue("m_fFileFate", static_cast<int>(quillbay::kFateAsk));
  quillbay::query<quillbay::IQuillbaySink>(control())->ApplyParams(chosen.get());
  QApplication::processEvents();
  const auto text = [this](const char* key) {
    quillbay::CKxVariant value;
    control()->GetParam(key, &value);
    const auto* found = value.get<std::string>();
    return found ? *found : std::to_string(value.toInt());
  };
  control()->SetParam(quillbay::key::Counter, 20, nullptr);  // as pages do
  for (int start = 0; start < 2; ++start) {
    EXPECT_EQ(text("m_Ext"), ".png");
    EXPECT_EQ(text("m_CounterFormat"), "%.5d");
    EXPECT_EQ(text("m_fFileFate"), "2");
    EXPECT_EQ(text("m_nCounter"), "20") << "a panel that follows goes on counting";
    EXPECT_TRUE(window->close());
    window.reset();
    open({});
  }
  EXPECT_EQ(control()->SetParam("m_Ext", ".tif", nullptr), 1);
  EXPECT_EQ(text("m_Ext"), ".tif");
  EXPECT_EQ(control()->SetParam("m_Ext", "", nullptr), 1) << "the user's choice again";
  EXPECT_EQ(text("m_Ext"), ".png");
  std::string why;
  EXPECT_EQ(control()->SetParam("m_Ext", "png", &why), 0);
  EXPECT_TRUE(why.find(".tif") != std::string::npos) << why;
}

TEST_F(DesktopTest, AScannerThatCannotBeOpenedIsToldInThePanelsPlace) {
  open();
  std::string why;
  ASSERT_TRUE(quillbay::query<quillbay::IScanManager>(window->app())->SetCurrent("sim:width=nonsense", &why));
  EXPECT_FALSE(window->setMode(quillbay::ScanToView));
  EXPECT_EQ(control(), nullptr);
  window->startScan();  // does nothing
  EXPECT_TRUE(window->close());
}

TEST_F(DesktopTest, ThePanelFitsASmallScreenAndCommandsHaveMnemonicsAndKeysOfTheirOwn) {
  open();
  QApplication::processEvents();  // the panel's size reaches its dock by events
  EXPECT_LE(window->minimumSizeHint().width(), 683);
  EXPECT_LE(window->minimumSizeHint().height(), 364);
  std::set<QString> keys;
  for (const QAction* action : window->findChildren<QAction*>()) {
    for (const QKeySequence& key : action->shortcuts()) {
      EXPECT_TRUE(keys.insert(key.toString()).second) << action->text().toStdString();
    }
  }
  for (QAction* top : window->menuBar()->actions()) {
    EXPECT_TRUE(top->text().contains('&'));
    std::set<QChar> used;
    for (QAction* action : top->menu()->actions()) {
      if (action->isSeparator()) continue;
      const auto at = action->text().indexOf('&');
      ASSERT_GE(at, 0) << action->text().toStdString();
      EXPECT_TRUE(used.insert(action->text()[at + 1].toLower()).second) << action->text().toStdString();
    }
  }
}

class ManualTest : public DesktopTest {
 protected:
  QString shown() {
    return window->manual() && window->manual()->isVisible()
               ? window->manual()->browser().source().toString().section('/', -1)
               : QString();
  }
  void press(QWidget* focus) {
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    focus->setFocus();
    QTest::keyClick(focus, Qt::Key_F1);
  }
};

TEST_F(ManualTest, TheHelpKeyOpensThePageOfWhatHasTheFocus) {
  open();
  EXPECT_EQ(shown(), QString());
  press(window->view().surface());
  EXPECT_EQ(shown(), "index.html");
  QWidget* panel = window->panelDock().panel();
  press(panel->findChild<QComboBox*>("modeList"));
  EXPECT_EQ(shown(), "tab_main.html");
  ASSERT_TRUE(window->setMode(quillbay::ScanToFile));
  press(window->panelDock().panel()->findChild<QComboBox*>("mask"));
  EXPECT_EQ(shown(), "scantofile.html");

  window->manual()->resize(700, 500);
  EXPECT_TRUE(window->close());
  EXPECT_FALSE(window->manual()->isVisible()) << "it would keep the program running";
  window.reset();
  open();
  press(window->view().surface());
  EXPECT_EQ(window->manual()->size(), QSize(700, 500));
}

TEST_F(ManualTest, ThePageOfKeysHasEveryKeyOfTheMenus) {
  open();
  ASSERT_EQ(quillbay::query<quillbay::IHelp>(window->app())->ShowTopic("QBHelp:IDH_Keys"), 1);
  const QString text = window->manual()->browser().toPlainText();
  int keys = 0;
  for (QAction* action : window->findChildren<QAction*>()) {
    if (action->shortcut().isEmpty() || !qobject_cast<QMenu*>(action->parent())) continue;
    ++keys;
    EXPECT_TRUE(text.contains(action->shortcut().toString(QKeySequence::NativeText)))
        << action->text().toStdString();
  }
  EXPECT_GT(keys, 12);
}

TEST_F(ManualTest, FindsTextOnOtherPages) {
  const auto manual = std::make_unique<ManualWindow>(nullptr);
  manual->showPage("qrc:/quillbay/manual/index.html");
  EXPECT_TRUE(manual->find("BigTIFF"));
  EXPECT_EQ(manual->browser().textCursor().selectedText(), "BigTIFF");
  EXPECT_TRUE(manual->browser().source().toString().endsWith("troubles.html"));
  EXPECT_EQ(manual->findChild<QTreeWidget*>()->currentItem()->text(0), "When something goes wrong");
  EXPECT_TRUE(manual->find("shift+esc", true));
  EXPECT_FALSE(manual->find("no such words anywhere"));
}

}  // namespace
}  // namespace desktop
