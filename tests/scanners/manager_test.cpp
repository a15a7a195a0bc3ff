// The scanner manager and its helper process, on the real SANE drivers.
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "sane_scan.h"
#include "scanners/sane/device_lister.h"
#include "scanners/scan_manager.h"

namespace quillbay::testing {
namespace {

/// An application that chooses what it is told to, and notes what it was told.
class TestApp final : public CKxUnknownImpl<IApp, IScannerChooser> {
 public:
  std::string GetProductName() override { return "test"; }
  int ChooseScanner(IScanManager*, std::string* device) override {
    *device = choice;
    return choice.empty() ? 0 : 1;
  }
  std::string choice;
};

class Manager : public ::testing::Test {
 protected:
  void SetUp() override {
    manager = new_IScanManagerEx(app.get(), 0);
    manager->Initialise("", settings.get(), 0);
  }
  void TearDown() override {
    unsetenv("SANE_DEFAULT_DEVICE");
    unsetenv("QUILLBAY_LIBEXEC");
  }
  // Puts a program in place of the helper.
  void replaceHelper(const std::string& script) const {
    const auto path = saneConfig.folder() / "quillbay-list-scanners";
    std::ofstream(path) << "#!/bin/sh\n" << script << "\n";
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    setenv("QUILLBAY_LIBEXEC", saneConfig.folder().c_str(), 1);
  }
  KxPtr<IScan> current() { return KxPtr<IScan>::adopt(manager->GetCurrent()); }
  static bool isUnit(const KxPtr<IScan>& scan) { return static_cast<bool>(scan.as<IQuillbayUnit>()); }
  static std::string faultText(const KxPtr<IScan>& scan) { return scan.as<IUnitFault>()->GetFault().text; }

  KxPtr<TestApp> app = KxPtr<TestApp>::adopt(new TestApp);
  KxPtr<IParam> settings = new_MemParam();
  KxPtr<IScanManager> manager;
};

TEST_F(Manager, ListsWhatScanimageLists) {
  std::vector<ScannerEntry> list;
  std::string why;
  ASSERT_EQ(manager->List(&list, &why), 1) << why;
  std::string ours;
  for (const ScannerEntry& e : list)
    ours += "device `" + e.device + "' is a " + e.vendor + " " + e.model + " " + e.type + "\n";
  FILE* pipe = popen("scanimage -L 2>/dev/null", "r");
  char piece[4096];
  std::string theirs(piece, fread(piece, 1, sizeof piece, pipe));
  pclose(pipe);
  EXPECT_EQ(ours, theirs);
  EXPECT_NE(ours.find("test:0"), std::string::npos);

  const auto simulated = new_IScanManagerEx(app.get(), 1);
  std::vector<ScannerEntry> all;
  simulated->List(&all, &why);
  ASSERT_GT(all.size(), list.size());
  EXPECT_EQ(all.back().device.substr(0, 4), "sim:");
}

TEST_F(Manager, HelperThatFailsIsAReason) {
  struct Case {
    const char* script;
    const char* says;
    std::size_t found;
  };
  const Case cases[] = {
      {"printf 'a:0\\tA\\tB\\tflatbed scanner\\ncut o'; kill -SEGV $$", "crashed", 1},
      {"exit 3", "SANE", 0},
      {"printf 'a:0\\tA\\tB\\tflatbed scanner\\nb:0\\n'; exec sleep 600", "0.2 seconds", 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.script);
    replaceHelper(c.script);
    std::vector<ScannerEntry> list;
    std::string why;
    EXPECT_FALSE(listSaneDevices("", std::chrono::milliseconds(200), &list, &why));
    EXPECT_NE(why.find(c.says), std::string::npos) << why;
    EXPECT_LE(list.size(), c.found);
    if (!list.empty()) {
      EXPECT_EQ(list[0].type, "flatbed scanner");
    }
  }
}

TEST_F(Manager, CurrentScannerComesFromWhatWasSetThenTheEnvironmentThenTheSettings) {
  replaceHelper("exit 3");  // nothing of this needs a list
  EXPECT_EQ(manager->HasCurrent(), 0);
  EXPECT_FALSE(isUnit(current()));

  remember(*settings, "pnm:0", "PNM file reader");
  const auto fresh = [&] {
    manager = new_IScanManagerEx(app.get(), 0);
    manager->Initialise("", settings.get(), 0);
  };
  fresh();
  EXPECT_EQ(manager->HasCurrent(), 1);
  ASSERT_TRUE(isUnit(current()));
  EXPECT_EQ(current()->GetName(), "my scanner");
  EXPECT_EQ(manager->GetScannerName(current().get()), "Noname PNM file reader pnm:0");

  setenv("SANE_DEFAULT_DEVICE", "test:0", 1);
  fresh();
  EXPECT_EQ(current()->GetName(), "test:0");
  EXPECT_TRUE(isUnit(current()));

  std::string why;
  EXPECT_EQ(manager->SetCurrent("pnm:1", &why), 1);
  EXPECT_EQ(current()->GetName(), "pnm:1");
  EXPECT_EQ(manager->SetCurrent("", &why), 0);
  EXPECT_FALSE(why.empty());
  EXPECT_EQ(current()->GetName(), "pnm:1") << "a refused name changes nothing";
}

TEST_F(Manager, WithoutAKnownScannerTheOnlyRealOneIsTaken) {
  struct Case {
    const char* why;
    const char* listed;
    UnitFaultCode code;  // None: it is open
    std::vector<std::string> choices;
    const char* says;
  };
  const Case cases[] = {
      {"one", "printf 'test:0\\tNoname\\tfrontend-tester\\tvirtual device\\n'", UnitFaultCode::None, {}, ""},
      {"two",
       "printf 'test:0\\tA\\tB\\tC\\npnm:0\\tA\\tB\\tC\\n'",
       UnitFaultCode::NotChosen,
       {"test:0", "pnm:0"},
       "test:0, pnm:0"},
      {"none", "exit 0", UnitFaultCode::NoScanner, {}, "No scanner was found"},
      {"nobody could look", "exit 3", UnitFaultCode::NoScanner, {}, "SANE"},
      {"one, and then a driver crashed",
       "printf 'test:0\\tA\\tB\\tC\\n'; kill -SEGV $$",
       UnitFaultCode::NotChosen,
       {"test:0"},
       "crashed"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    replaceHelper(c.listed);
    manager = new_IScanManagerEx(app.get(), 1);  // simulated ones are offered, and never taken
    manager->Initialise("", settings.get(), 0);
    const KxPtr<IScan> found = current();
    EXPECT_EQ(isUnit(found), c.code == UnitFaultCode::None) << faultText(found);
    EXPECT_EQ(found.as<IUnitFault>()->GetFault().code, c.code);
    EXPECT_NE(faultText(found).find(c.says), std::string::npos) << faultText(found);
    std::vector<ScannerEntry> choices;
    std::vector<std::string> devices;
    EXPECT_EQ(manager->GetChoices(&choices), static_cast<int>(c.choices.size()));
    for (const ScannerEntry& e : choices) devices.push_back(e.device);
    EXPECT_EQ(devices, c.choices);
    EXPECT_EQ(manager->Remember(), c.code == UnitFaultCode::None ? 1 : 0);
    settings = new_MemParam();
  }
}

TEST_F(Manager, RememberedScannerIsFoundAgainUnderAnotherName) {
  remember(*settings, "test:7", "frontend-tester");
  const KxPtr<IScan> found = current();
  ASSERT_TRUE(isUnit(found)) << faultText(found);
  EXPECT_EQ(found->GetName(), "my scanner") << "its settings stay its own";
  EXPECT_EQ(manager->Remember(), 1);
  EXPECT_EQ(paramString(settings.get(), "Device"), "test:0");
  EXPECT_EQ(paramString(settings.get(), "Name"), "my scanner");
}

TEST_F(Manager, AHostThatWatchesIsNotKeptWaiting) {
  const auto asked = saneConfig.folder() / "asked";
  replaceHelper("touch '" + asked.string() + "'");
  const auto fresh = [&] {
    manager = new_IScanManagerEx(app.get(), 2);
    manager->Initialise("", settings.get(), 0);
  };
  fresh();
  EXPECT_EQ(current().as<IUnitFault>()->GetFault().code, UnitFaultCode::NotChosen);
  remember(*settings, "test:7", "frontend-tester");
  fresh();
  EXPECT_FALSE(isUnit(current()));
  EXPECT_FALSE(std::filesystem::exists(asked)) << "devices were listed";
  EXPECT_NE(faultText(current()).find("no scanner test:7"), std::string::npos) << faultText(current());
  EXPECT_EQ(manager->Remember(), 0);
}

TEST_F(Manager, TheFirstListCompletesARememberedScanner) {
  std::string why;
  manager->SetCurrent("test:0", &why);
  ASSERT_TRUE(isUnit(current()));
  EXPECT_EQ(manager->Remember(), 1);
  EXPECT_EQ(paramString(settings.get(), "Model"), "");
  std::vector<ScannerEntry> list;
  ASSERT_EQ(manager->List(&list, &why), 1) << why;
  EXPECT_EQ(paramString(settings.get(), "Model"), "frontend-tester");
}

TEST_F(Manager, ChoosesThroughTheApplication) {
  EXPECT_EQ(manager->Choose(1), 0) << "the person gave up";
  app->choice = "sim:width=300";
  EXPECT_EQ(manager->Choose(1), 1);
  EXPECT_TRUE(isUnit(current())) << faultText(current());
  app->choice = "sim:no-such-key=1";
  EXPECT_EQ(manager->Choose(1), 1);
  EXPECT_FALSE(isUnit(current()));
  EXPECT_FALSE(faultText(current()).empty());
}

TEST(MatchScanner, NeverGuesses) {
  const ScannerEntry lost{"airscan:e0:Office", "eSCL", "Laser 9", "ip=10.0.0.1"};
  const auto at = [&](const char* device) { return ScannerEntry{device, lost.vendor, lost.model, lost.type}; };
  struct Case {
    const char* why;
    std::vector<ScannerEntry> list;
    const char* found;  // empty: none
  };
  const Case cases[] = {
      {"renumbered", {at("airscan:e3:Office")}, "airscan:e3:Office"},
      {"renamed as well", {at("airscan:e3:Lobby")}, "airscan:e3:Lobby"},
      {"two alike, one of the old name", {at("airscan:e1:Lobby"), at("airscan:e2:Office")}, "airscan:e2:Office"},
      {"two alike, none of the old name", {at("airscan:e1:Lobby"), at("airscan:e2:Hall")}, ""},
      {"another model", {{"airscan:e1:Office", "eSCL", "Laser 8", lost.type}}, ""},
  };
  for (const Case& c : cases) {
    const ScannerEntry* found = matchScanner(lost, c.list);
    EXPECT_EQ(found ? found->device : "", c.found) << c.why;
  }
  EXPECT_EQ(matchScanner({"x:0", "", "", ""}, {{"y:0", "", "", ""}}), nullptr) << "nothing is known of it";
}

}  // namespace
}  // namespace quillbay::testing
