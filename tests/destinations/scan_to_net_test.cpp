#include "destinations/scan_to_net.h"

#include <gtest/gtest.h>

#include <QtWidgets>
#include <filesystem>

#include "platform/base_services.h"
#include "platform/file_channel.h"
#include "platform/registry.h"
#include "quillbay/raster.h"
#include "support/panel_world.h"

namespace quillbay {
namespace {

using test::NotingStore;
namespace fs = std::filesystem;

constexpr int kNetPatience = 20000;

struct NetPanel : test::PanelWorld {
  NetPanel() : hot(dir.file("hot/")) {
    fio::createFolder(hot);
    std::string why;
    EXPECT_EQ(SetNetServer({hot, {"PC1", "PC2"}}, &why), 1) << why;
  }
  void open() {
    params->quiet().mode = ScanToNet;
    params->quiet().mask = "scan";
    DestinationContext context;
    context.mode = ScanToNet;
    context.params = params;
    context.controller = &controller;
    context.parent = &window;
    context.makeStore = [this](eTarnwellMode) {
      store = KxPtr<NotingStore>::adopt(new NotingStore);
      ++stores;
      return KxPtr<ISStripStor>::share(store.get());
    };
    to = makeDestination(context);
    panel = static_cast<CScanToNet*>(to.get());
    stores = 0;
  }
  /// What the controller does before a page, and what the scanner and the store do in it.
  [[nodiscard]] bool begin(bool isLast = true) {
    if (!to->BeginScan()) return false;
    const PageDraft draft = panel->draft(isLast);
    page = makePageTarget(draft, {draft.names.values.colorSpace, 100, -1});
    EXPECT_EQ(page.refused, "");
    panel->pageStarted(page);
    return true;
  }
  void write() const {
    if (!page.target.joinsPart) return test::writeFile(page.target.path, "page");
    const auto channel = new_FileChanel(nullptr, page.target.path, nullptr, nullptr);
    channel->SetTarget(page.target);
    const auto raster = new_IRStor(KxColorSpace::Grey, 8, 4, 100);
    ASSERT_EQ(channel.as<IKxRasterSavePagedChanel>()->Save(raster.get(), nullptr), 1);
    channel->Commit();
  }
  [[nodiscard]] int scanPage() {
    if (!begin()) return -1;
    write();
    return to->EndScan(0);
  }
  [[nodiscard]] std::vector<std::string> hotNames() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(hot)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }
  [[nodiscard]] std::vector<std::string> clients() const {
    const auto* combo = panel->control<QComboBox>(CScanToNet::kClient);
    std::vector<std::string> texts;
    for (int i = 0; i < combo->count(); ++i) texts.push_back(combo->itemText(i).toStdString());
    return texts;
  }
  [[nodiscard]] std::string targetText() const {
    std::string text;
    to->GetTargetText(&text);
    return text;
  }
  [[nodiscard]] bool isStagingEmpty() const {
    const std::string staging = dir.file("state/hand-off/staging");
    return !fs::exists(staging) || fs::is_empty(staging);
  }
  std::string hot;
  QWidget window;
  KxPtr<NotingStore> store;
  NamedPage page;
  int stores = 0;
  std::unique_ptr<CScanTo> to;
  CScanToNet* panel = nullptr;
};

TEST(ScanToNet, NoPanelWithoutClients) {
  NetPanel p;
  std::string why;
  ASSERT_EQ(SetNetServer({p.hot, {}}, &why), 1) << why;
  p.open();
  EXPECT_EQ(p.to, nullptr);
  ASSERT_EQ(p.messages.size(), 1U);
  EXPECT_EQ(p.messages[0].text, "Scan-To-Net server settings error or empty clients list.");
  EXPECT_EQ(p.messages[0].helpTopic, "QBHelp:IDH_ServerNotInstalled");
}

TEST(ScanToNet, TheChosenClient) {
  NetPanel p;
  const auto older = new_IParamCUReg("Software\\Mrv\\Tw\\SCANserver", 1);
  const std::string other = p.dir.file("other");
  KxPtr<IParam>::adopt(older->GetSubStore("Network", 1))->SetValue("HotFolder", other);
  KxPtr<IParam>::adopt(older->GetSubStore("USERS", 1))->SetValue("PC1", "");
  saveIParamCUReg(older.get());
  p.open();
  EXPECT_EQ(p.clients(), (std::vector<std::string>{"KX:\\\\PC1", "KX:\\\\PC2", "TW:\\\\PC1"}));
  EXPECT_EQ(p.params->values().dir, p.hot);
  const auto set = new_MemParam();
  set->SetValue("m_Mask", "plan");
  const std::tuple<const char*, const char*, std::string> users[] = {{"TW:\\\\PC1", "TW:\\\\PC1", other + "/"},
                                                                     {"KX:\\\\PC2", "KX:\\\\PC2", p.hot},
                                                                     {"kx:\\\\pc2", "KX:\\\\PC1", p.hot},
                                                                     {"KX:\\\\GONE", "KX:\\\\PC1", p.hot}};
  for (const auto& [saved, chosen, folder] : users) {
    set->SetValue("User", saved);
    p.to->LoadParams(set.get());
    EXPECT_EQ(p.targetText(), chosen);
    EXPECT_EQ(p.params->values().dir, folder);
    const auto out = new_MemParam();
    p.to->SaveParams(out.get());
    EXPECT_EQ(paramString(out.get(), "User"), chosen);
    EXPECT_EQ(paramString(out.get(), "m_Mask"), "plan");
    EXPECT_EQ(out->GetKeys().size(), 2U);
  }
}

TEST(ScanToNet, BeforeAPage) {
  struct Case {
    const char* why;
    std::function<void(NetPanel&)> prepare;
    int answer;
    const char* told;  ///< a topic, or what the message of event 9 holds
  };
  const Case cases[] = {
      {"all is well", [](NetPanel&) {}, 1, ""},
      {"no mask", [](NetPanel& p) { p.params->quiet().mask.clear(); }, 0, "QBHelp:IDH_MaskEmpty"},
      {"no client", [](NetPanel& p) { p.params->quiet().dir.clear(); }, 0, "QBHelp:IDH_MaskEmpty"},
      {"the folder is away: the page waits", [](NetPanel& p) { fs::remove(p.hot); }, 1, ""},
      {"the folder is a file",
       [](NetPanel& p) {
         fs::remove(p.hot);
         test::writeFile(p.dir.file("hot"), "x");
       },
       0, "it is a file"},
      {"there is no room for pages here either",
       [](NetPanel& p) {
         fs::remove(p.hot);
         fs::remove_all(p.dir.file("state/hand-off"));
         fio::createFolder(p.dir.file("state"));
         test::writeFile(p.dir.file("state/hand-off"), "x");
       },
       0, "hand-off"},
      {"the name exists, and the user does not want it replaced",
       [](NetPanel& p) {
         p.params->quiet().fileFate = kFateAsk;
         test::writeFile(p.hot + "scan000.tif", "theirs");
       },
       0, "QBHelp:IDH_QB_OverWrite"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    NetPanel p;
    p.open();
    c.prepare(p);
    EXPECT_EQ(p.to->BeginScan(), c.answer);
    ASSERT_EQ(p.messages.size(), *c.told ? 1U : 0U);
    if (!*c.told) continue;
    const HostMessage& m = p.messages[0];
    EXPECT_TRUE(m.helpTopic == c.told ||
                (m.event == kEventCannotWrite && (m.text + m.cause).find(c.told) != std::string::npos))
        << m.text << m.cause;
    EXPECT_EQ(p.stores, 0);
    EXPECT_TRUE(p.isStagingEmpty());
  }
}

TEST(ScanToNet, EndsOfAPage) {
  struct Case {
    const char* why;
    int cancelled;
    const char* error;
    bool hasClient;
    int answer, counter, stores;
    std::vector<std::string> files;
  };
  const Case cases[] = {
      {"handed off", 0, "", true, 1, 1, 1, {"scan000.ini", "scan000.tif"}},
      {"cancelled: a fresh store", 1, "", true, 1, 0, 2, {}},
      {"the writer failed", 0, "write scan000.tif: no space left", true, 0, 0, 1, {}},
      {"nobody is chosen", 0, "", false, 0, 0, 1, {"scan000.ini", "scan000.tif"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    NetPanel p;
    p.open();
    ASSERT_TRUE(p.begin());
    EXPECT_EQ(p.params->values().outputFile, p.hot + "scan000.tif");
    p.write();
    if (!c.hasClient) p.panel->control<QComboBox>(CScanToNet::kClient)->setCurrentIndex(-1);
    const KxPtr<NotingStore> used = p.store;
    used->error = c.error;
    EXPECT_EQ(p.to->EndScan(c.cancelled), c.answer);
    ASSERT_EQ(OpenNetQueue()->Wait(kNetPatience), 0);
    EXPECT_EQ(p.params->values().counter, c.counter);
    EXPECT_EQ(p.stores, c.stores);
    EXPECT_EQ(p.hotNames(), c.files);
    EXPECT_EQ(p.messages.size(), c.answer ? 0U : 1U);
    EXPECT_TRUE(p.isStagingEmpty());
    if (c.files.empty()) continue;
    const std::string text = test::readFile(p.hot + "scan000.ini");
    EXPECT_EQ(text.find("[Image]\r\nFilename=" + p.hot + "scan000.tif\r\n"), 0U);
    EXPECT_EQ(text.find("Client=\\\\PC1\r\nImage=scan000.tif\r\n") != std::string::npos, c.hasClient);
  }
}

TEST(ScanToNet, PagesQueueUpWhileTheFolderIsAwayAndNamesCountOn) {
  NetPanel p;
  p.open();
  p.params->quiet().useAutoCounter = 0;
  fs::remove(p.hot);
  EXPECT_EQ(p.scanPage(), 1);
  EXPECT_EQ(p.page.names.values.outputFile, p.hot + "scan.tif");
  std::string file;
  bool published = true;
  ASSERT_TRUE(p.panel->endedPage(&file, &published));
  EXPECT_FALSE(published);
  ASSERT_EQ(p.messages.size(), 1U) << "the user is told once";
  EXPECT_NE(p.messages[0].text.find("1 page waits for " + p.hot), std::string::npos) << p.messages[0].text;
  EXPECT_EQ(p.scanPage(), 1);
  EXPECT_NE(p.page.names.values.outputFile, p.hot + "scan.tif") << "a page that waits has this name";
  EXPECT_EQ(p.messages.size(), 1U);
  EXPECT_TRUE(p.panel->control<QLabel>(CScanToNet::kQueue)->text().startsWith("2 pages wait for "));
  const std::string second = p.page.names.values.outputFile;
  fio::createFolder(p.hot);
  const auto queue = OpenNetQueue();
  queue->TryNow();
  ASSERT_EQ(queue->Wait(kNetPatience), 0);
  EXPECT_EQ(p.hotNames().size(), 4U);
  EXPECT_TRUE(fio::exists(second));
  QApplication::processEvents();
  EXPECT_EQ(p.panel->control<QLabel>(CScanToNet::kQueue)->text(), "");
}

TEST(ScanToNet, APageThatReplacesAnotherTakesItsHandOffFileAlong) {
  NetPanel p;
  p.open();
  p.params->quiet().fileFate = kFateOverwrite;
  test::writeFile(p.hot + "scan000.tif", "old");
  test::writeFile(p.hot + "scan000.ini", "old");
  ASSERT_TRUE(p.begin());
  EXPECT_EQ(p.to->EndScan(1), 1);
  EXPECT_EQ(test::readFile(p.hot + "scan000.tif"), "old") << "a cancelled page has replaced nothing";
  EXPECT_EQ(p.scanPage(), 1);
  ASSERT_EQ(OpenNetQueue()->Wait(kNetPatience), 0);
  EXPECT_EQ(test::readFile(p.hot + "scan000.tif"), "page");
  EXPECT_EQ(test::readFile(p.hot + "scan000.ini").find("[Image]"), 0U);
}

TEST(ScanToNet, AMultiPageFileIsHandedOffOnceAtItsEnd) {
  for (const bool endsWithRun : {false, true}) {
    NetPanel p;
    p.open();
    p.params->quiet().multiPage = 1;
    for (int i = 0; i < 3; ++i) {
      const bool isLast = i == 2 && !endsWithRun;
      ASSERT_TRUE(p.begin(isLast));
      EXPECT_EQ(p.page.names.values.outputFile, p.hot + "scan.tif");
      p.write();
      EXPECT_EQ(p.to->EndScan(0), 1);
      if (!isLast) {
        EXPECT_TRUE(p.hotNames().empty());
      }
    }
    EXPECT_EQ(p.params->values().counter, 3);
    const RunFile run = p.panel->endRun();
    EXPECT_EQ(run.fate, endsWithRun ? RunFile::Fate::Published : RunFile::Fate::None);
    ASSERT_EQ(OpenNetQueue()->Wait(kNetPatience), 0);
    EXPECT_EQ(p.hotNames(), (std::vector<std::string>{"scan.ini", "scan.tif"}));
    const auto read = new_OpenFileChanel(nullptr, p.hot + "scan.tif");
    EXPECT_EQ(read.as<IKxRasterLoadFileChanel>()->GetPageCount(), 3);
    EXPECT_TRUE(p.isStagingEmpty());
    EXPECT_TRUE(p.messages.empty());
  }
}

}  // namespace
}  // namespace quillbay
