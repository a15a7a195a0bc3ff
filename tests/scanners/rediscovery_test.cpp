// Scanners that go away and come back, on the real SANE drivers; what the helper sees changes with its files.
#include <fstream>

#include "sane_scan.h"
#include "scanners/scan_manager.h"

namespace quillbay::testing {
namespace {

/// The app of a host, as far as it hears that a scanner is back.
class HearingApp final : public CKxUnknownImpl<IApp, IEvents> {
 public:
  std::string GetProductName() override { return "test"; }
  int Note(const char*, const char* text) override {
    const std::lock_guard lock(m_mutex);
    m_heard += text;
    return 1;
  }
  int Subject(const char*, const char*) override { return 0; }
  int Finished(int) override { return 0; }
  int Event(int, const char*, int) override { return 0; }
  int Message(int, const char*, int, int) override { return 0; }
  int AskText(const char*, int, std::string*) override { return 0; }
  std::string heard() {
    const std::lock_guard lock(m_mutex);
    return m_heard;
  }

 private:
  std::mutex m_mutex;
  std::string m_heard;
};

/// The settings of a run whose scanner was of this name, and a manager that reads them.
class Rediscovery : public ::testing::Test {
 protected:
  void SetUp() override { std::filesystem::copy_file(conf(), saved()); }
  void TearDown() override { std::filesystem::rename(saved(), conf()); }
  static std::filesystem::path conf() { return saneConfig.folder() / "test.conf"; }
  static std::filesystem::path saved() { return saneConfig.folder() / "saved.conf"; }
  static void plug(int devices) {
    std::string text;
    std::ifstream in(saved());
    for (std::string line; std::getline(in, line);)
      text += (line.starts_with("number_of") ? "number_of_devices " + std::to_string(devices) : line) + "\n";
    std::ofstream(conf()) << text;
  }
  void remember(const char* device) {
    testing::remember(*settings, device, "frontend-tester");
    manager->Initialise("", settings.get(), 0);
  }
  KxPtr<IScan> current() { return KxPtr<IScan>::adopt(manager->GetCurrent()); }

  KxPtr<HearingApp> app = KxPtr<HearingApp>::adopt(new HearingApp);
  KxPtr<IParam> settings = new_MemParam();
  KxPtr<IScanManager> manager = new_IScanManagerEx(app.get(), 0);
  KxPtr<IScannerWatch> watch = manager.as<IScannerWatch>();
};

TEST_F(Rediscovery, ADeviceThatComesLaterIsFoundOpenedAndKeepsItsName) {
  remember("test:2");
  plug(2);  // two alike, neither of the name: nobody guesses
  EXPECT_FALSE(current().as<IQuillbayUnit>());
  ScannerEntry lost, found;
  std::string why;
  ASSERT_EQ(watch->GetWanted(&lost), 1);
  EXPECT_EQ(watch->Find(lost, &found, &why, {}), 0);
  EXPECT_EQ(why, "");

  plug(3);  // this process's drivers have counted before
  ASSERT_EQ(watch->Find(lost, &found, &why, {}), 1) << why;
  EXPECT_EQ(found.device, "test:2");
  ASSERT_EQ(watch->Reopen(found, &why), 1) << why;
  ASSERT_TRUE(current().as<IQuillbayUnit>());
  EXPECT_EQ(current()->GetName(), "my scanner");
  EXPECT_NE(app->heard().find("The scanner test:2 is available again."), std::string::npos) << app->heard();

  EXPECT_EQ(watch->Find(lost, &found, &why, [] { return true; }), 0) << "given up";
}

TEST_F(Rediscovery, AnotherNameAndADeviceThatNoDriverLists) {
  struct Case {
    const char* why;
    const char* device;
    const char* model;
    const char* found;  // empty: not
  };
  const Case cases[] = {
      {"renamed", "test:7", "frontend-tester", "test:0"},
      {"another model", "test:7", "other", ""},
      {"known by its device string alone", "test", "", "test"},
      {"no such device", "nowhere:0", "", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    const std::string vendor = *c.model ? "Noname" : "", type = *c.model ? "virtual device" : "";
    ScannerEntry found;
    std::string why;
    EXPECT_EQ(watch->Find({c.device, vendor, c.model, type}, &found, &why, {}), *c.found ? 1 : 0) << why;
    EXPECT_EQ(found.device, c.found);
  }
  remember("test:7");
  std::string why;
  ASSERT_EQ(watch->Reopen({"test:0", "Noname", "frontend-tester", "virtual device"}, &why), 1) << why;
  EXPECT_EQ(manager->Remember(), 1);
  EXPECT_EQ(paramString(settings.get(), "Device"), "test:0");
  EXPECT_EQ(paramString(settings.get(), "Name"), "my scanner");
  EXPECT_NE(app->heard().find("test:7 was found again as test:0"), std::string::npos) << app->heard();

  EXPECT_EQ(watch->Reopen({"nowhere:0", "", "", ""}, &why), 0);
  EXPECT_NE(why.find("nowhere:0"), std::string::npos) << why;
  EXPECT_FALSE(current().as<IQuillbayUnit>());
  ScannerEntry lost;
  EXPECT_EQ(watch->GetWanted(&lost), 1);
  EXPECT_EQ(lost.device, "test:0") << "the wish stays";
}

TEST(Candidates, AreTriedAllOnlyWhenASerialNumberCanTell) {
  const std::vector<ScannerEntry> list{
      {"usb:5", "V", "M", "T"}, {"usb:6", "V", "M", "T"}, {"usb:7", "V", "N", "T"}};
  EXPECT_EQ(candidatesFor({"usb:6", "V", "M", "T"}, list).size(), 1U);
  EXPECT_EQ(candidatesFor({"usb:1", "V", "M", "T"}, list).size(), 0U);
  EXPECT_EQ(candidatesFor({"usb:1", "V", "M", "T", "S1"}, list).size(), 2U);
}

}  // namespace
}  // namespace quillbay::testing
