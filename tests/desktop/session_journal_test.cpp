// Copies of unsaved pages while the program runs, and what a start makes of journals that it finds.

#include "desktop_fixture.h"
#include "recovery/recovery_dialog.h"
#include "recovery/session_guard.h"

namespace desktop {
namespace {

class Journal : public DesktopTest {
 protected:
  [[nodiscard]] QString folder() const { return QString::fromStdString(dir.file("state/recovery")); }
  [[nodiscard]] QStringList copies() const { return QDir(folder()).entryList({"*.tif*"}, QDir::Files); }
  void write(const QString& name, const QByteArray& bytes) const {
    QDir().mkpath(folder());
    QFile file(folder() + "/" + name);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
  }
  [[nodiscard]] QAction* action(const QString& text) const {
    const auto all = window->findChildren<QAction*>();
    return *std::find_if(all.begin(), all.end(), [&](const QAction* one) { return one->text() == text; });
  }
  bool scanKept() {
    bool kept = false;
    const auto link = QObject::connect(&window->guard().journal(), &SessionJournal::kept, [&] { kept = true; });
    const bool done = scan() && waitFor([&] { return kept; });
    QObject::disconnect(link);
    return done;
  }
};

TEST_F(Journal, ACopyLivesUntilItsPageIsSavedOrClosed) {
  open();
  smallPages();
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(scanKept());
  EXPECT_EQ(copies().size(), 3);
  EXPECT_TRUE(Leftovers(folder()).isEmpty()) << "the program lives";

  saveName = QString::fromStdString(dir.file("saved.tif"));
  ASSERT_TRUE(window->saveCurrentAs());
  unsaved = UnsavedAnswer::Discard;
  ASSERT_TRUE(window->closePages({pages()[0].id}));
  EXPECT_TRUE(waitFor([&] { return copies().size() == 1; }));

  window->closeAll();
  EXPECT_TRUE(waitFor([&] { return copies().isEmpty(); }));
  bool kept = false;
  QObject::connect(&window->guard().journal(), &SessionJournal::kept, [&] { kept = true; });
  window->undo();
  EXPECT_TRUE(waitFor([&] { return kept; }));
  EXPECT_EQ(copies().size(), 1);

  window->guard().journal().setKeeping(false);
  EXPECT_TRUE(waitFor([&] { return copies().isEmpty(); }));
  window->guard().journal().setKeeping(true);
  EXPECT_TRUE(window->close());
  EXPECT_TRUE(QDir(folder()).isEmpty());
}

TEST_F(Journal, WhatCannotBeReadIsNamedAndTheRestIsOffered) {
  open();
  smallPages();
  ASSERT_TRUE(scan());
  saveName = QString::fromStdString(dir.file("page.tif"));
  ASSERT_TRUE(window->saveCurrentAs());
  ASSERT_TRUE(window->close());
  window.reset();

  QFile whole(saveName);
  ASSERT_TRUE(whole.open(QIODevice::ReadOnly));
  const QByteArray tiff = whole.readAll();
  const auto line = [&](const char* event, int id, const char* copy) {
    return QString(R"({"event":"%1","id":%2,"name":"Sheet %2","file":"%3/%4","width":10,"height":10})"
                   "\n")
        .arg(event)
        .arg(id)
        .arg(folder(), copy)
        .toUtf8();
  };
  write("session-1-1-page1.tif", tiff);
  write("session-1-1-page2.tif", tiff.left(100));
  write("session-1-1-page4.tif", tiff);  // dropped
  write("session-1-1-page5.tif", tiff);  // the journal does not tell of it
  write("session-1-1-page6.tif.part", tiff.left(200));
  write("session-2-2-page1.tif", tiff);  // of a journal that is gone
  write("session-1-1.journal",
        line("kept", 1, "session-1-1-page1.tif") + line("kept", 2, "session-1-1-page2.tif") + "{{ damaged\n" +
            line("kept", 3, "session-1-1-page3.tif") + line("kept", 4, "session-1-1-page4.tif") +
            line("dropped", 4, "session-1-1-page4.tif") + line("arrived", 6, "") + R"({"event":"kept","id":7,"na)");
  {
    const Leftovers found(folder());
    EXPECT_EQ(found.items().size(), 4U);
    const QString said = found.troubles().join('\n');
    for (const char* word : {"line 3 is damaged", "page3.tif", "Sheet 6"}) {
      EXPECT_TRUE(said.contains(word)) << said.toStdString();
    }
    EXPECT_EQ(found.troubles().size(), 3) << said.toStdString();
    EXPECT_TRUE(Leftovers(folder()).items().size() < 4) << "one program at a time offers a journal";
  }
  EXPECT_EQ(copies().size(), 5) << "nothing is deleted but what its person closed";

  // One page is left for later, all others are opened; the damaged one stays.
  open({});
  const auto answer = [&](RecoveryAnswer::Act act, std::vector<std::size_t> chosen) {
    window->prompts().recover = [=](const std::vector<Leftover>&, const QStringList&) {
      return RecoveryAnswer{act, chosen};
    };
    window->guard().offerLeftovers();
  };
  answer(RecoveryAnswer::Act::Open, {0, 1, 2});
  EXPECT_EQ(pages().size(), 2U);
  EXPECT_EQ(window->document().unsaved().size(), 2U);
  ASSERT_EQ(messages.size(), 1);
  EXPECT_TRUE(messages[0].contains("session-1-1-page2.tif")) << messages[0].toStdString();
  EXPECT_EQ(Leftovers(folder()).items().size(), 2U);
  answer(RecoveryAnswer::Act::Discard, {0, 1});
  EXPECT_TRUE(Leftovers(folder()).isEmpty());
  EXPECT_EQ(copies().size(), 2) << "of the pages that are open";
  unsaved = UnsavedAnswer::Discard;
  EXPECT_TRUE(window->close());
  EXPECT_TRUE(QDir(folder()).isEmpty()) << QDir(folder()).entryList().join(' ').toStdString();
}

TEST_F(Journal, PagesAreOfferedInTheOrderThatTheirUserGaveThem) {
  open();
  const auto sheet = [] { return quillbay::new_IRStor(quillbay::KxColorSpace::Grey, 20, 10, 100); };
  for (const char* name : {"one", "two", "three", "four"}) window->document().add(sheet(), name);
  window->document().reorder({4, 3, 2, 1});
  window->document().close({3});
  window->document().undo();
  window->document().add(sheet(), "five");
  ASSERT_TRUE(waitFor([&] { return copies().size() == 5 && !copies().join(' ').contains(".part"); }));
  window.reset();  // as a crash leaves it
  QStringList names;
  const Leftovers left(folder());
  for (const Leftover& item : left.items()) names += item.name;
  EXPECT_EQ(names.join(' '), "four three two one five");
}

TEST_F(Journal, PartsGoByTheirVeryNamesAndNothingButCopiesIsDeleted) {
  const std::string plan = dir.file("plan [1]*.tif"), mine = dir.file("mine.tif");
  for (const std::string& file :
       {plan + ".part", plan + ".part.2", plan + ".part.old", dir.file("plan 1x.tif.part"), mine}) {
    quillbay::test::writeFile(file, "pages");
  }
  QString why, path;
  {
    const auto journal = JournalFile::create(folder(), &why);
    ASSERT_TRUE(journal) << why.toStdString();
    path = journal->path();
    journal->append(writtenLine(QString::fromStdString(plan), 3, false));
    journal->append(droppedLine(1, QString::fromStdString(mine)));
  }
  {
    Leftovers found(folder());
    ASSERT_EQ(found.items().size(), 2U) << found.troubles().join('\n').toStdString();
    EXPECT_TRUE(found.settle(0, Leftovers::Fate::Delete, &why)) << why.toStdString();
    found.finish();
  }
  EXPECT_EQ(QDir(QString::fromStdString(dir.path())).entryList(QDir::Files, QDir::Name),
            (QStringList{"mine.tif", "plan 1x.tif.part", "plan [1]*.tif.part.2", "plan [1]*.tif.part.old"}));
  EXPECT_EQ(Leftovers(folder()).items().size(), 1U) << "the other part is still to be decided";

  QFile file(path);
  ASSERT_TRUE(file.open(QIODevice::Append));
  file.write(R"({"event":"kept","id":7,"na)");
  file.close();
  const auto journal = JournalFile::takeOver(path);
  journal->append(publishedLine(QString::fromStdString(plan)));
  EXPECT_TRUE(journal->read().written.at(0).published) << "the line after one that was cut off";
}

TEST_F(Journal, ACopyOfAPageThatHasChangedIsGivenUp) {
  QString why;
  const std::shared_ptr<JournalFile> journal = JournalFile::create(folder(), &why);
  PageKeeper keeper(nullptr);
  const auto raster = quillbay::new_IRStor(quillbay::KxColorSpace::Grey, 6000, 6000, 300);
  const auto keep = [&](int number, const QString& replaces) {
    const QString file = QString("%1/%2-page%3.tif").arg(folder(), journal->session()).arg(number);
    const auto copy =
        std::make_shared<PageKeeper::Copy>(KeptPage{1, file, "Sheet", {}, {6000, 6000}, 300}, replaces, false);
    keeper.keep(journal, copy, raster);
    return copy;
  };
  const auto first = keep(1, {});
  keeper.finish(false);
  const QString still = keeper.supersede(keep(2, keeper.supersede(first)));
  EXPECT_EQ(still, first->page().file) << "it stays until another one is complete";
  const auto third = keep(3, still);
  keeper.finish(false);
  EXPECT_EQ(copies(), QStringList{QFileInfo(third->page().file).fileName()});
  EXPECT_EQ(journal->read().pages.at(1).file, third->page().file);
}

TEST_F(Journal, WhatIsOpenedWithoutKeepingIsOfferedAgain) {
  {
    QString why;
    const auto journal = JournalFile::create(folder(), &why);
    for (const int id : {1, 2}) {
      const QString file = QString("%1/%2-page%3.tif").arg(folder(), journal->session()).arg(id);
      const auto raster = quillbay::new_IRStor(quillbay::KxColorSpace::Grey, 20, 10, 100);
      quillbay::SaveRasterFile(nullptr, {raster}, file.toStdString(), false, nullptr);
      journal->append(keptLine({id, file, "Sheet", {}, {20, 10}, 100}));
    }
  }
  open();
  const auto* recover = action("Reco&ver pages...");
  EXPECT_TRUE(recover->isEnabled()) << "it was left for later";
  window->guard().journal().setKeeping(false);
  window->prompts().recover = [](const std::vector<Leftover>&, const QStringList&) {
    return RecoveryAnswer{RecoveryAnswer::Act::Open, {0}};
  };
  window->guard().offerLeftovers();
  EXPECT_EQ(pages().size(), 1U);
  EXPECT_EQ(Leftovers(folder()).items().size(), 2U);
  window->guard().journal().setKeeping(true);
  window->guard().offerLeftovers();
  window->guard().offerLeftovers();
  EXPECT_EQ(pages().size(), 3U);
  EXPECT_TRUE(Leftovers(folder()).isEmpty());
  EXPECT_FALSE(recover->isEnabled());
}

TEST(RecoveryDialog, ChecksWhatIsInNoFinishedFileAndDeletesNothingElse) {
  const QDateTime time(QDate(2024, 5, 17), QTime(9, 30));
  const std::vector<Leftover> items{
      {Leftover::Kind::Page, "/no/such/page1.tif", "Page 1", time, {7087, 4677}, 1, 99439574},
      {Leftover::Kind::File, "/maps/sheet.tif", "sheet.tif", time, {}, 1, 5000},
      {Leftover::Kind::Part, "/maps/all.tif.part", "all.tif", time, {}, 12, 400000000}};
  RecoveryDialog dialog(items, {"Page 2 was not copied yet."}, nullptr);
  dialog.show();
  auto* list = dialog.findChild<QTreeWidget*>();
  const auto press = [&](const char* name) {
    for (QPushButton* button : dialog.findChildren<QPushButton*>()) {
      if (button->text() == name) button->click();
    }
  };
  list->topLevelItem(1)->setCheckState(0, Qt::Checked);
  list->topLevelItem(2)->setCheckState(0, Qt::Unchecked);
  EXPECT_EQ(dialog.answer().act, RecoveryAnswer::Act::Later) << "until a button says otherwise";
  for (const bool agrees : {false, true}) {
    QTimer::singleShot(0, &dialog, [&] {
      auto* question = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      if (question) question->button(agrees ? QMessageBox::Yes : QMessageBox::No)->click();
    });
    press("&Discard...");
    EXPECT_EQ(dialog.result() == QDialog::Accepted, agrees);
  }
  EXPECT_EQ(dialog.answer().act, RecoveryAnswer::Act::Discard);
  EXPECT_EQ(dialog.answer().chosen, std::vector<std::size_t>{0});
  press("&Open");
  EXPECT_EQ(dialog.answer().chosen, (std::vector<std::size_t>{0, 1}));
}

TEST_F(Journal, AScannerThatComesBackIsOpened) {
  const QString config = QString::fromStdString(dir.file("sane"));
  ASSERT_TRUE(QDir().mkpath(config));
  const auto put = [&](const char* name, const QByteArray& text) {
    QFile file(config + "/" + name);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
  };
  put("dll.conf", "test\n");
  put("test.conf", "number_of_devices 1\n");
  const QByteArray before = qgetenv("SANE_CONFIG_DIR");
  qputenv("SANE_CONFIG_DIR", config.toUtf8());
  open();
  window->guard().watch().setDelays(std::chrono::milliseconds(1), std::chrono::milliseconds(20));
  std::string why;
  ASSERT_TRUE(quillbay::query<quillbay::IScanManager>(window->app())->SetCurrent("test:1", &why)) << why;
  EXPECT_FALSE(window->reopenPanel());
  const auto* label = window->panelDock().findChild<QLabel*>("trouble");
  ASSERT_TRUE(label);
  EXPECT_TRUE(label->text().contains("Looking for test:1")) << label->text().toStdString();
  const auto buttons = window->panelDock().findChildren<QPushButton*>();
  buttons.last()->click();
  ASSERT_TRUE(waitFor([&] { return control() != nullptr; })) << "the simulated scanner";
  ASSERT_TRUE(quillbay::query<quillbay::IScanManager>(window->app())->SetCurrent("test:1", &why)) << why;
  EXPECT_FALSE(window->reopenPanel());
  put("test.conf", "number_of_devices 2\n");
  EXPECT_TRUE(waitFor([&] { return control() != nullptr; }));
  EXPECT_TRUE(window->log().text().contains("test:1 is available again")) << window->log().text().toStdString();
  EXPECT_TRUE(messages.isEmpty()) << "no question on the way";
  EXPECT_TRUE(window->close());
  qputenv("SANE_CONFIG_DIR", before);
}

}  // namespace
}  // namespace desktop
