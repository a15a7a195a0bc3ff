/// What the panel has a host do with a page that was scanned into its view.
#include <QTabBar>
#include <fstream>

#include "panel_fixture.h"
#include "quillbay/script_services.h"

namespace quillbay {
namespace {

double meanOfLine(IRStor& raster, std::int32_t line) {
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(raster.GetWidth()));
  const auto lines = KxPtr<IAccessContext>::adopt(raster.GetAccessContext(0, 0));
  EXPECT_EQ(lines->ReadLine(line, 0, raster.GetWidth(), bytes.data()), 1);
  double sum = 0;
  for (const std::uint8_t byte : bytes) sum += byte;
  return sum / static_cast<double>(bytes.size());
}

void finishScripts(IApp* app) {
  const auto queue = query<IScriptQueue>(app);
  while (queue->Count() > 0) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

TEST_F(PanelTest, AScriptWorksOnEachPageInTheViewAndTheFaultsOfItsFilesAreListed) {
  const std::string script = file("dark.txt");
  std::ofstream(script) << "/Invert\n";
  for (const bool runs : {false, true}) {
    SCOPED_TRACE(runs ? "with the script" : "without");
    ASSERT_TRUE(openSmall("sim:size=210x120,at=10x3", ScanToView));
    auto* use = window()->findChild<QCheckBox*>("useScript");
    auto* name = window()->findChild<QLineEdit*>("scriptName");
    ASSERT_TRUE(use && name);
    name->setText(QString::fromStdString(script));
    use->setChecked(runs);
    auto* tabs = window()->findChild<QTabBar*>();
    ASSERT_TRUE(tabs);
    const int before = tabs->currentIndex();
    ASSERT_EQ(run(), EndCause::Done);
    finishScripts(app());
    const auto documents = app()->GetDocuments();
    ASSERT_FALSE(documents.empty());
    IRStor& page = *documents.back().pages.back();
    const double paper = meanOfLine(page, page.GetHeight() / 2);
    EXPECT_EQ(paper < 128, runs) << paper;
    EXPECT_EQ(tabs->currentIndex() != before, runs) << "the page of the script comes up";
    EXPECT_TRUE(messages.empty()) << messages.front();
    close();
  }

  ASSERT_TRUE(openSmall("sim:size=210x120,at=10x3", ScanToView));
  window()->findChild<QLineEdit*>("scriptName")->setText(QString::fromStdString(file("gone.txt")));
  window()->findChild<QCheckBox*>("useScript")->setChecked(true);
  ASSERT_EQ(run(), EndCause::Done);
  finishScripts(app());
  const auto* failed = window()->findChild<QListWidget*>("files");
  ASSERT_EQ(failed->count(), 1) << "the page is listed as one that was not done";
  const QString told = window()->findChild<QPlainTextEdit*>("log")->toPlainText();
  EXPECT_TRUE(told.contains("gone.txt")) << told.toStdString() << failed->item(0)->text().toStdString();
  EXPECT_EQ(app()->GetDocuments().back().pages.size(), 1U) << "the page stays";
}

}  // namespace
}  // namespace quillbay
