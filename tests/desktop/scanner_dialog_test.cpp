#include "scanner/scanner_dialog.h"

#include "desktop_fixture.h"
#include "recovery/session_guard.h"
#include "scanner/job_bar.h"
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

/// The system's driver for tests, with one device.
class DeviceTest : public DesktopTest {
 protected:
  void SetUp() override {
    m_before = qgetenv("SANE_CONFIG_DIR");
    write("dll.conf", "test\n");
    write("test.conf", "number_of_devices 1\n");
    qputenv("SANE_CONFIG_DIR", QByteArray::fromStdString(dir.path()));
  }
  void TearDown() override {
    window.reset();
    qputenv("SANE_CONFIG_DIR", m_before);
  }
  /// What the device that is open has under a name.
  std::string value(const char* name) {
    const auto manager = quillbay::query<quillbay::IScanManager>(window->app());
    const auto scanner = quillbay::KxPtr<quillbay::IScan>::adopt(manager->GetCurrent());
    for (const auto& option : scanner.as<quillbay::IUnitOptions>()->GetOptions()) {
      if (option.name == name) return option.value;
    }
    return {};
  }
  void press(const char* text) {
    for (QPushButton* button : window->panelDock().bar().findChildren<QPushButton*>()) {
      if (button->text() == text) button->click();
    }
  }

 private:
  void write(const char* name, const char* text) {
    QFile file(QString::fromStdString(dir.file(name)));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
  }
  QByteArray m_before;
};

TEST_F(DeviceTest, WhatWasSetOfADeviceIsSetAgainAtTheNextStart) {
  open("test:0");
  window->prompts().device = [&](const quillbay::KxPtr<quillbay::IUnitOptions>& unit, const QString&) {
    EXPECT_TRUE(unit->SetOption("test-picture", "Grid", nullptr));
    return true;
  };
  auto* source = window->panelDock().bar().findChild<QComboBox*>();
  QWheelEvent wheel({5, 5}, {5, 5}, {}, {0, -120}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
  QCoreApplication::sendEvent(source, &wheel);  // it is merely under the pointer
  ASSERT_EQ(source->currentText(), "Flatbed");
  source->setCurrentIndex(1);
  emit source->activated(1);
  EXPECT_NE(control(), nullptr);
  EXPECT_EQ(source->currentText(), "Feeder");
  press("Scanner...");
  EXPECT_TRUE(window->close());
  window.reset();
  open({});
  EXPECT_EQ(value("test-picture"), "Grid");
  EXPECT_EQ(value("source"), "Automatic Document Feeder");
  EXPECT_EQ(window->panelDock().bar().findChild<QComboBox*>()->currentText(), "Feeder");
}

TEST_F(DesktopTest, AScannerOnTheNetworkIsLookedForBeforeItIsOpened) {
  open("net:127.0.0.1:test:0", false);
  const auto* label = window->panelDock().findChild<QLabel*>("trouble");
  ASSERT_TRUE(label);
  EXPECT_TRUE(label->text().contains("Looking for net:127.0.0.1:test:0")) << label->text().toStdString();
  EXPECT_FALSE(label->text().contains("There is no scanner")) << "nothing was opened";
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
  labelled<QDoubleSpinBox>(dialog, "Speed (lines per second)")->setValue(12.5);
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
