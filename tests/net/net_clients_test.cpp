#include "net/net_clients.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "core/folders.h"
#include "net/folder_probe.h"
#include "net/hand_off_file.h"
#include "platform/base_services.h"
#include "platform/registry.h"
#include "support/ordinary_user.h"
#include "support/temp_dir.h"

namespace quillbay {
namespace {

struct NetClients : testing::Test {
  NetClients() { setFolders({dir.file("config"), dir.file("state"), {}, {}}); }
  ~NetClients() override {
    setFolders({});
    ::unsetenv("QUILLBAY_OEMINFO");
  }
  static void fill(const std::string& key, const std::string& folder, const std::vector<std::string>& users) {
    const auto server = new_IParamCUReg(key, 1);
    KxPtr<IParam>::adopt(server->GetSubStore("Network", 1))->SetValue("HotFolder", folder);
    server->RemoveSubStore("USERS");
    const auto names = KxPtr<IParam>::adopt(server->GetSubStore("USERS", 1));
    for (const std::string& name : users) names->SetValue(name, "");
    saveIParamCUReg(server.get());
  }
  static std::vector<std::string> texts() {
    std::vector<std::string> list;
    for (const NetClient& client : ListNetClients()) list.push_back(client.text + " " + client.hotFolder);
    return list;
  }
  test::TempDir dir;
};

TEST_F(NetClients, BothServersInOrder) {
  EXPECT_TRUE(texts().empty());
  fill("software\\MRV\\tw\\SCANserver", "/old", {"OLD2", "OLD1"});
  EXPECT_EQ(texts(), (std::vector<std::string>{"TW:\\\\OLD2 /old/", "TW:\\\\OLD1 /old/"}));
  fill(currentServerKey(), "/new/", {"SCANPC1"});
  EXPECT_EQ(texts(), (std::vector<std::string>{"KX:\\\\SCANPC1 /new/", "TW:\\\\OLD2 /old/", "TW:\\\\OLD1 /old/"}));
  EXPECT_EQ(ListNetClients().front().path, "\\\\SCANPC1");
  // Without the information library the current server is not known.
  ::setenv("QUILLBAY_OEMINFO", dir.path().c_str(), 1);
  EXPECT_EQ(texts().front(), "TW:\\\\OLD2 /old/");
}

TEST_F(NetClients, WhatIsNoServer) {
  fill(currentServerKey(), "", {"PC1"});
  EXPECT_TRUE(texts().empty()) << "no hot folder";
  fill(currentServerKey(), "/hot", {"good", "two\nlines", "a/b", " blank", "[x]=;\"y\"", "Büro"});
  EXPECT_EQ(texts(),
            (std::vector<std::string>{"KX:\\\\good /hot/", "KX:\\\\[x]=;\"y\" /hot/", "KX:\\\\Büro /hot/"}));
  const auto server = new_IParamCUReg(currentServerKey(), 1);
  server->RemoveSubStore("USERS");
  saveIParamCUReg(server.get());
  EXPECT_TRUE(texts().empty()) << "no clients";
}

TEST_F(NetClients, SetUpAndTheSettingsOfAVersionBefore) {
  std::string why;
  for (const auto& [folder, client] : {std::pair{"relative", "PC1"}, {"/hot\n", "PC1"}, {"/hot", "a\\b"}}) {
    EXPECT_EQ(SetNetServer({folder, {client}}, &why), 0) << folder;
    EXPECT_NE(why, "");
  }
  ASSERT_EQ(SetNetServer({dir.path(), {"PC1", "PC2"}}, &why), 1) << why;
  EXPECT_EQ(GetNetServer().clients, (std::vector<std::string>{"PC1", "PC2"}));
  ASSERT_EQ(SetNetServer({dir.path(), {"PC2"}}, &why), 1) << why;
  EXPECT_EQ(texts(), (std::vector<std::string>{"KX:\\\\PC2 " + dir.path() + "/"}));
  ASSERT_TRUE(std::filesystem::remove(dir.file("config/shared-settings.json")));
  const std::string current = currentServerKey();
  const auto product = current.substr(0, current.find_last_of('\\', current.find_last_of('\\') - 1));
  fill(product + "\\0.0\\NetScanServer", "/older", {"A"});
  fill(product + "\\0.01\\NetScanServer", "/newer", {"B"});
  EXPECT_EQ(texts(), (std::vector<std::string>{"KX:\\\\B /newer/"}));
}

TEST_F(NetClients, WhatAHotFolderSaysOfItself) {
  const std::string readOnly = dir.file("read-only");
  fio::createFolder(readOnly);
  std::filesystem::permissions(readOnly, std::filesystem::perms::owner_read);
  const std::string open = dir.file("open");
  fio::createFolder(open);
  std::filesystem::permissions(open, std::filesystem::perms::all);
  test::writeFile(dir.file("file"), "x");
  struct Case {
    std::string folder, mount;
    HotFolderState::Fate fate;
  };
  const Case cases[] = {
      {open + "/", {}, HotFolderState::Ready},
      {open, "/", HotFolderState::Ready},
      {open, open, HotFolderState::Away},  // nothing is mounted there
      {dir.file("missing"), {}, HotFolderState::Away},
      {dir.file("file"), {}, HotFolderState::Refuses},
      {dir.file("file/below"), {}, HotFolderState::Refuses},
      {readOnly, {}, HotFolderState::Refuses},
  };
  const test::OrdinaryUser user;
  for (const Case& c : cases) {
    const HotFolderState state = TryHotFolder(c.folder, c.mount, 10000);
    EXPECT_EQ(state.fate, c.fate) << c.folder << ": " << state.why;
    EXPECT_EQ(state.why.empty(), c.fate == HotFolderState::Ready) << c.folder;
  }
}

TEST(HandOffFile, WhatItHolds) {
  EXPECT_EQ(handOffText("/hot/scan0007.tif", "\\\\SCANPC1"),
            "[Image]\r\nFilename=/hot/scan0007.tif\r\n"
            "[Destination]\r\nClient=\\\\SCANPC1\r\nImage=scan0007.tif\r\n"
            "[Producer]\r\nSignature=Relayvox\r\n");
  EXPECT_EQ(handOffText("/hot/scan0007.tif", ""), "[Image]\r\nFilename=/hot/scan0007.tif\r\n");
  const std::pair<const char*, const char*> values[] = {
      {"\\\\[a];b=c", "\\\\[a];b=c"}, {"ends ", "\"ends \""}, {"\tx", "\"\tx\""}, {"\"q\"", "\"\"q\"\""}, {"", ""}};
  for (const auto& [value, kept] : values) EXPECT_EQ(profileValue(value), kept);
  EXPECT_THROW((void)profileValue("two\nlines"), CXException);
}

}  // namespace
}  // namespace quillbay
