#include <cstdlib>
#include <future>

#include "printing/print_fixture.h"
#include "printing/printers.h"

namespace quillbay::test {
namespace {

/// A print system of the test's own, behind a socket in its folder.
class PrintSystem {
 public:
  static bool isInstalled() { return std::filesystem::exists("/usr/sbin/cupsd"); }

  PrintSystem() {
    for (const char* name : {"root", "spool", "cache", "state", "tmp"}) std::filesystem::create_directory(at(name));
    writeFile(at("cups-files.conf"), "FileDevice Yes\nServerRoot " + at("root") + "\nRequestRoot " + at("spool") +
                                         "\nCacheDir " + at("cache") + "\nStateDir " + at("state") + "\nTempDir " +
                                         at("tmp") + "\nAccessLog " + at("access") + "\nErrorLog " + at("error") +
                                         "\nPageLog " + at("page") + "\nSandboxing relaxed\n");
    writeFile(at("cupsd.conf"),
              "LogLevel info\nListen " + at("sock") +
                  "\nBrowsing Off\nDefaultAuthType None\nWebInterface No\n<Location />\nAllow all\n</Location>\n"
                  "<Policy default>\n<Limit All>\nAllow all\n</Limit>\n</Policy>\n");
    m_process =
        ChildProcess({"/usr/sbin/cupsd", "-f", "-c", at("cupsd.conf"), "-s", at("cups-files.conf")}, {}, at("log"));
    while (!std::filesystem::exists(at("sock"))) {
      if (!m_process.isRunning()) throw std::runtime_error("cupsd: " + readFile(at("log")) + readFile(at("error")));
      std::this_thread::sleep_for(std::chrono::milliseconds(10));  // between two looks
    }
    if (const char* path = std::getenv("PATH")) ::setenv("PATH", (std::string(path) + ":/usr/sbin").c_str(), 1);
    // Each thread of libcups reads it once.
    ::setenv("CUPS_SERVER", at("sock").c_str(), 1);
    cupsSetServer(at("sock").c_str());
  }
  ~PrintSystem() { ::unsetenv("CUPS_SERVER"); }

  /// False, with a failure, when the queue could not be made.
  void addQueue(const std::string& name, const std::string& device, const std::string& model) {
    const std::string command =
        "lpadmin -h " + at("sock") + " -p " + name + " -E -v '" + device + "' -m " + model + " 2>" + at("lpadmin");
    if (std::system(command.c_str()) != 0)
      ADD_FAILURE() << "lpadmin: " << readFile(at("lpadmin")) << readFile(at("error"));
  }
  [[nodiscard]] std::string at(const char* name) const { return m_folder.file(name); }
  void run(const std::string& command) {
    if (std::system((command + " >/dev/null 2>&1").c_str()) != 0) ADD_FAILURE() << command;
  }

 private:
  TempDir m_folder;
  ChildProcess m_process;
};

class PrintQueue : public PrinterTest {
 protected:
  void SetUp() override {
    PrinterTest::SetUp();
    if (!PrintSystem::isInstalled()) GTEST_SKIP() << "the print system (cups-daemon) is not installed";
  }
};

TEST_F(PrintQueue, APageGoesThroughAQueueToItsPrinter) {
  IppPrinter printer("");
  PrintSystem system;
  system.addQueue("office", printer.uri(), "everywhere");
  // The print system asks the printer in the background.
  for (int i = 0; i < 200 && !findMedia(printerAttributes("office"), "iso_a4_210x297mm"); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));  // between two questions
  }
  const NoisePage page(KxColorSpace::Grey, 1000, 700, 600);
  PrintJob job;
  ASSERT_EQ(printPage(job, page, Options("office", &page).with(print_key::Media, "iso_a4_210x297mm")), "");
  EXPECT_EQ(job.printer(), "office");
  const auto kept = printer.kept();
  ASSERT_EQ(kept.size(), 1U);
  const auto sheets = decode(kept[0]);
  ASSERT_EQ(sheets.size(), 1U);
  EXPECT_EQ(sheets[0].header.HWResolution[0], 600U);
  const std::size_t left = (sheets[0].header.cupsWidth - 1000) / 2;
  for (std::size_t y = 0; y < 700; ++y) ASSERT_EQ(sheets[0].part(150 + y, left, 1000), page.printed[y]) << y;
}

TEST_F(PrintQueue, QueuesAreListedAndAHeldJobIsTold) {
  PrintSystem system;
  system.addQueue("first", "file:" + system.at("out"), "raw");
  system.addQueue("second", "file:/dev/null", "raw");
  system.run("lpadmin -h " + system.at("sock") + " -d second");
  std::promise<std::vector<PrinterInfo>> listed;
  PrinterList list;
  list.list([&](std::vector<PrinterInfo> printers, bool isComplete, const std::string& error) {
    EXPECT_EQ(error, "");
    if (isComplete) listed.set_value(std::move(printers));
  });
  const std::vector<PrinterInfo> printers = listed.get_future().get();
  ASSERT_EQ(printers.size(), 2U);
  EXPECT_EQ(printers[0].name, "second");
  EXPECT_TRUE(printers[0].isDefault && !printers[1].isDefault);

  const NoisePage page(KxColorSpace::Bitonal, 300, 200);
  PrintJob automatic;
  EXPECT_EQ(printPage(automatic, page, Options("Auto Detect Printer", &page).with(print_key::AutoDetect, 1)), "");
  EXPECT_EQ(automatic.printer(), "second");

  system.run("cupsdisable -h " + system.at("sock") + " -r 'the roll is jammed' first");
  PrintJob held;
  ASSERT_TRUE(held.start("Test", Options("first", &page).set.get())) << held.error();
  for (const auto& stripe : page.stripes) ASSERT_TRUE(held.push(stripe.get(), nullptr)) << held.error();
  ASSERT_TRUE(held.end(true)) << held.error();
  std::string state;
  EXPECT_EQ(held.await(0, &state), PrintFate::Held);
  EXPECT_NE(state.find("jammed"), std::string::npos) << state;

  PrintJob nobody;
  EXPECT_FALSE(nobody.start("Test", Options("third", &page).set.get()));
  EXPECT_NE(nobody.error().find("third"), std::string::npos) << nobody.error();
  system.run("cupsreject -h " + system.at("sock") + " second");
  PrintJob rejected;
  EXPECT_FALSE(rejected.start("Test", Options("second", &page).set.get()));
}

}  // namespace
}  // namespace quillbay::test
