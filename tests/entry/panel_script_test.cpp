/// What the panel has a host do with a page that was scanned into its view.
#include <QTabWidget>
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
    auto* tabs = window()->findChild<QTabWidget*>();
    const int before = tabs->currentIndex();
    ASSERT_EQ(run(), EndCause::Done);
    const auto queue = query<IScriptQueue>(app());
    while (queue->Count() > 0) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
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
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_NE(messages.front().find("gone.txt"), std::string::npos) << messages.front();
  EXPECT_EQ(app()->GetDocuments().back().pages.size(), 1U) << "the page stays";
}

}  // namespace
}  // namespace quillbay
