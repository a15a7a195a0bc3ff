#include "scanner/scanner_dialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>

#include "desktop_fixture.h"
#include "scanner/scanner_offer.h"
#include "scanner/sim_setup.h"

namespace desktop {
namespace {

template <class W>
W* labelled(QWidget& window, const char* text) {
  for (const QLabel* label : window.findChildren<QLabel*>()) {
    if (label->text().remove('&') == text) return qobject_cast<W*>(label->buddy());
  }
  return nullptr;
}

TEST(SimDeviceText, KeysAreChangedWhereTheyStand) {
  const struct {
    const char *device, *key, *value, *expected;
  } rows[] = {{"sim:", "width", "600", "sim:width=600"},
              {"sim:width=900,odd=1,lone,skew=2", "width", "600.5", "sim:width=600.5,odd=1,lone,skew=2"},
              {"sim:skew=1,odd=1,skew=2", "skew", "3", "sim:skew=3,odd=1"},
              {"sim:skew=1,odd=1,skew=2", "skew", "", "sim:odd=1"},
              {"sim", "seed", "", "sim:"}};
  for (const auto& row : rows) {
    SimDevice device(row.device);
    device.set(row.key, row.value);
    EXPECT_EQ(device.text(), row.expected) << row.device;
  }
  const QStringList files{"/a/100%, new: x.tif", QString::fromUtf8("/\xC3\xA4/b%2C.png")};
  EXPECT_EQ(simFiles(files).count(':'), 1);
  EXPECT_EQ(simFilesOf(simFiles(files)), files);
  EXPECT_EQ(simFilesOf("%zz%3a%"), QStringList{"%zz:%"});
}

/// Lists what it is told to.
class FakeManager final : public quillbay::CKxUnknownImplStatic<quillbay::IScanManager> {
 public:
  explicit FakeManager(std::vector<quillbay::ScannerEntry> devices) : m_devices(std::move(devices)) {}
  int List(std::vector<quillbay::ScannerEntry>* out, std::string*) override {
    *out = m_devices;
    return 1;
  }
  quillbay::IScan* GetCurrent() override { return nullptr; }
  int SetCurrent(std::string_view, std::string*) override { return 0; }
  int Choose(int) override { return 0; }
  int Initialise(std::string_view, quillbay::IParam*, int) override { return 1; }
  std::string GetScannerName(quillbay::IScan*) override { return {}; }
  int Remember() override { return 0; }
  int HasCurrent() override { return 0; }
  int GetChoices(std::vector<quillbay::ScannerEntry>*) override { return 0; }

 private:
  const std::vector<quillbay::ScannerEntry> m_devices;
};

TEST_F(DesktopTest, RealScannersAreOfferedAndTheOnlyOneIsTheDefault) {
  const quillbay::ScannerEntry usb{"usb:1", "Maker", "Wide 36", "flatbed scanner"},
      net{"net:host:2", "Maker", "Roll", "sheetfed scanner"},
      sim{"sim:", "Quillbay", "Simulated scanner", "virtual"};
  const struct {
    std::vector<quillbay::ScannerEntry> listed;
    int rows;
    const char* taken;
  } rows[] = {{{usb, sim}, 1, "usb:1"}, {{net, usb, sim}, 2, ""}, {{sim}, 0, ""}, {{}, 0, ""}};
  for (const auto& row : rows) {
    FakeManager manager(row.listed);
    ScannerOffer offer(&manager);
    offer.show();
    ASSERT_TRUE(waitFor([&] { return !offer.isSearching(); }));
    QString taken;
    QObject::connect(&offer, &ScannerOffer::chosen, [&](const QString& device) { taken = device; });
    const auto* list = offer.findChild<QListWidget*>();
    EXPECT_EQ(list->count(), row.rows);
    EXPECT_EQ(list->isVisible(), row.rows > 0);
    for (QPushButton* button : offer.findChildren<QPushButton*>()) {
      if (button->isVisible() && button->text().startsWith("&Use")) button->click();
    }
    EXPECT_EQ(taken, row.taken);
  }
}

TEST_F(DesktopTest, TheSetUpAndTheDeviceFollowEachOther) {
  const QLocale before;
  QLocale::setDefault(QLocale(QLocale::German));
  open("sim:size=210x297,at=10x20");
  const auto manager = quillbay::query<quillbay::IScanManager>(window->app());
  ScannerDialog dialog(manager.get(), {}, window.get());
  dialog.show();
  const auto* ok = dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok);
  EXPECT_EQ(dialog.device(), "sim:size=210x297,at=10x20") << "the last scanner";
  dialog.setDevice("sim:skew=1.5,size=210x297,at=10x20");
  EXPECT_TRUE(ok->isEnabled());
  auto* paper = labelled<QComboBox>(dialog, "Paper size");
  EXPECT_EQ(paper->currentText(), "A4 portrait");
  EXPECT_EQ(labelled<QDoubleSpinBox>(dialog, "Skew")->text().left(3), "1,5");
  labelled<QDoubleSpinBox>(dialog, "Paper width")->setValue(200.25);
  EXPECT_EQ(paper->currentIndex(), 0) << "a size of its own";
  labelled<QDoubleSpinBox>(dialog, "Skew")->setValue(0);
  labelled<QDoubleSpinBox>(dialog, "Speed (lines a second)")->setValue(12.5);
  labelled<QComboBox>(dialog, "Fault")->setCurrentIndex(3);
  EXPECT_EQ(dialog.device(), "sim:size=200.25x297,at=10x20,speed=12.5,fault=jam");
  for (const char* bad : {"sim:skew=99", "sim:odd=1", "sim:images=/nowhere/x.tif", "sim:size=210", ""}) {
    dialog.setDevice(bad);
    EXPECT_FALSE(ok->isEnabled()) << bad;
  }
  QLocale::setDefault(before);
  ASSERT_TRUE(waitFor([&] { return !dialog.isSearching(); }));
}

}  // namespace
}  // namespace desktop
