#include "core/json_store.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cfloat>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <limits>

#include "core/registry_store.h"
#include "core/store_file.h"
#include "core/store_json.h"
#include "platform/base_services.h"
#include "quillbay/errors.h"
#include "support/ordinary_user.h"
#include "support/temp_dir.h"

namespace quillbay {
namespace {

using test::readFile;
using test::TempDir;
using test::writeFile;
using Names = std::vector<std::string>;

/// A loaded store whose file is whole.
class Store : public JsonStore {
 public:
  explicit Store(const std::string& path, Mode mode = Mode::ReadWrite) : JsonStore(path, mode) {
    EXPECT_FALSE(load());
  }
  KxPtr<IParam> at(std::string_view path) { return KxPtr<IParam>::adopt(root()->GetSubStore(path, 1)); }
  void saved() { EXPECT_FALSE(save()); }
};

TEST(JsonStore, KeepsEveryTypeNameAndOrder) {
  const TempDir dir;
  const std::string path = dir.file("new/folders/settings.json");
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  CKxBlob every;
  for (int i = 0; i < 256; ++i) every.push_back(static_cast<std::uint8_t>(i));
  const std::pair<const char*, CKxVariant> cases[] = {
      {"zero", 0},
      {"least", INT32_MIN},
      {"most", INT32_MAX},
      {"a double that is whole", 4.0},
      {"beyond integers", 1e300},
      {"seventeen digits", 0.1 + 0.2},
      {"largest", DBL_MAX},
      {"smallest", DBL_TRUE_MIN},
      {"minus zero", -0.0},
      {"no number", nan},
      {"infinite", inf},
      {"less", -inf},
      {"empty text", ""},
      {"text", "Pl\xC3\xA4ne \"A0\"\\\n\t<%d>"},
      {"text with a zero", std::string("a\0b", 3)},
      {"no UTF-8, as file names may be", "pl\xE4n"},
      {"text that looks like a tag", "nan"},
      {"a byte order mark in front", "\xEF\xBB\xBFx"},
      {"rectangle", tagRRECT{-1.5, 0, 841, 1e-3}},
      {"rectangle without numbers", tagRRECT{nan, inf, -0.0, 1}},
      {"point", tagRPOINT{0.1, -2}},
      {"empty blob", CKxBlob{}},
      {"blob", every},
      {"key/with\\delimiters and \xE4", 1},
      {"", "the empty key"},
  };
  {
    Store store(path);
    for (const auto& [key, value] : cases) store.root()->SetValue(key, value);
    store.root()->SetValue("an object is for this run only", KxPtr<IKxUnknown>(new_MemParam().as<IKxUnknown>()));
    store.at("Zeta\\Inner")->SetValue("b", 1);
    store.at("alpha");
    store.saved();
    EXPECT_EQ(store.root()->GetKeys().size(), std::size(cases) + 1) << "saving keeps the object in memory";
  }
  Store store(path);
  Names keys;
  for (const auto& [key, value] : cases) {
    SCOPED_TRACE(key);
    keys.emplace_back(key);
    EXPECT_TRUE(sameValue(paramValue(store.root().get(), key), value));
  }
  EXPECT_EQ(store.root()->GetKeys(), keys);
  EXPECT_EQ(store.root()->GetSubStores(), (Names{"Zeta", "alpha"}));
  EXPECT_EQ(paramInt(store.at("zeta/inner").get(), "B"), 1);
}

TEST(JsonStore, TwoWritersLoseNothing) {
  const TempDir dir;
  const std::string path = dir.file("settings.json");
  {
    Store first(path);
    for (const char* key : {"both", "mine", "theirs", "removed by me", "removed by them"}) {
      first.root()->SetValue(key, "old");
    }
    first.at("presets/Preset0")->SetValue("DispName", "plans");
    first.at("presets/Preset1")->SetValue("DispName", "maps");
    first.saved();
  }
  Store a(path);
  Store b(path);
  const auto held = a.at("presets/Preset0");
  a.root()->SetValue("mine", "new");
  a.root()->SetValue("theirs", "old");  // written, not changed: the other one's change stays
  a.root()->SetValue("both", "a");
  a.root()->SetValue("new in a", 1);
  a.root()->Remove("removed by me");
  a.root()->RemoveSubStore("presets/Preset1");
  held->SetValue("Comment", "A0");
  b.root()->SetValue("THEIRS", "new");
  b.root()->SetValue("both", "b");
  b.root()->SetValue("new in b", 2);
  b.root()->Remove("removed by them");
  b.at("presets/Preset0")->SetValue("DispName", "drawings");
  b.at("presets/Preset2")->SetValue("DispName", "rolls");
  b.saved();
  a.saved();

  Store read(path);
  EXPECT_EQ(read.root()->GetKeys(), (Names{"both", "mine", "theirs", "new in b", "new in a"}));
  EXPECT_EQ(paramString(read.root().get(), "both"), "a") << "the last one wins";
  EXPECT_EQ(paramString(read.root().get(), "mine"), "new");
  EXPECT_EQ(paramString(read.root().get(), "theirs"), "new");
  EXPECT_EQ(read.at("presets")->GetSubStores(), (Names{"Preset0", "Preset2"}));
  EXPECT_EQ(paramString(read.at("presets/Preset0").get(), "DispName"), "drawings");
  EXPECT_EQ(paramString(read.at("presets/Preset0").get(), "Comment"), "A0");
  EXPECT_EQ(paramString(held.get(), "DispName"), "drawings") << "a section in use sees the other's change";

  // The same values again are no change of a's that could undo what b does next.
  b.root()->SetValue("both", "b2");
  b.saved();
  a.root()->SetValue("one more", 1);
  a.saved();
  EXPECT_EQ(paramString(a.root().get(), "both"), "b2");
}

TEST(JsonStore, ProcessesThatSaveAtOnceLoseNothing) {
  const TempDir dir;
  const std::string path = dir.file("settings.json");
  constexpr int kProcesses = 3;
  constexpr int kSaves = 4;
  std::vector<pid_t> children;
  for (int p = 0; p < kProcesses; ++p) {
    const pid_t child = ::fork();
    if (child == 0) {
      try {
        JsonStore store(path);
        bool damaged = store.load().has_value();
        for (int i = 0; i < kSaves; ++i) {
          store.root()->SetValue("p" + std::to_string(p) + "." + std::to_string(i), i);
          damaged |= store.save().has_value();
        }
        ::_exit(damaged ? 2 : 0);
      } catch (const CXException&) {
        ::_exit(1);
      }
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(Store(path).root()->GetKeys().size(), std::size_t{kProcesses * kSaves});
  EXPECT_EQ(dir.names(), Names{"settings.json"}) << "no lock and no temporary file stay";
}

TEST(JsonStore, TakesOverTheLockOfAProcessThatDied) {
  const TempDir dir;
  const std::string path = dir.file("settings.json");
  const pid_t child = ::fork();
  if (child == 0) {
    const StoreLock lock(path);
    ::_exit(fio::exists(path + ".lock") ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_EQ(status, 0);
  ASSERT_TRUE(fio::exists(path + ".lock"));
  Store store(path);
  store.root()->SetValue("a", 1);
  store.saved();
  EXPECT_EQ(dir.names(), Names{"settings.json"});
}

TEST(JsonStore, DamagedFilesAreSetAside) {
  const std::string head = R"({"format": "quillbay-settings", "version": 1, )";
  struct Case {
    const char* why;
    std::string content;
    const char* says;
  };
  const Case cases[] = {
      {"empty, as after a power failure", "", ""},
      {"cut off", head + R"("values": [{"key": "a", "in)", "at byte"},
      {"zeros", std::string(100, '\0'), ""},
      {"another program's", R"({"a": 1})", "not a settings file"},
      {"a newer version", R"({"format": "quillbay-settings", "version": 2})", "another version"},
      {"a type that does not exist", head + R"("values": [{"key": "dpi", "number": 1}]})", "/dpi"},
      {"no integer", head + R"("values": [{"key": "dpi", "int": 1.5}]})", "32-bit"},
      {"too large", head + R"("values": [{"key": "dpi", "int": 3000000000}]})", "32-bit"},
      {"a short rectangle", head + R"("stores": [{"name": "p", "values": [{"key": "r", "rect": [1, 2]}]}]})",
       "/p/r"},
      {"bad base64", head + R"("values": [{"key": "b", "blob": "*"}]})", "base64"},
      {"no key", head + R"("values": [7]})", "without a key"},
      {"no list", head + R"("stores": {"a": 1}})", "no list"},
      {"deep", std::string(100'000, '['), ""},
  };
  const TempDir dir;
  const std::string path = dir.file("settings.json");
  int number = 0;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    writeFile(path, c.content);
    JsonStore looks(path, JsonStore::Mode::ReadOnly);
    const auto seen = looks.load();
    ASSERT_TRUE(seen);
    EXPECT_TRUE(seen->aside.empty());
    EXPECT_EQ(readFile(path), c.content) << "a reader changes nothing";

    JsonStore store(path);
    store.root()->SetValue("from before", 1);
    const auto damaged = store.load();
    ASSERT_TRUE(damaged);
    EXPECT_EQ(damaged->aside, path + ".damaged-" + std::to_string(++number));
    EXPECT_EQ(readFile(damaged->aside), c.content);
    EXPECT_NE(damaged->reason.find(c.says), std::string::npos) << damaged->reason;
    EXPECT_NE(damaged->text().find(damaged->aside), std::string::npos);
    EXPECT_TRUE(store.root()->GetKeys().empty()) << "defaults follow";
    store.root()->SetValue("a", 1);
    EXPECT_FALSE(store.save());
    EXPECT_EQ(Store(path).root()->GetKeys(), Names{"a"});
  }
}

TEST(JsonStore, WhatIsLostMeanwhileIsWrittenWhole) {
  for (const char* now : {"", "garbage"}) {
    SCOPED_TRACE(now);
    const TempDir dir;
    const std::string path = dir.file("settings.json");
    Store store(path);
    store.root()->SetValue("a", 1);
    store.saved();
    *now ? writeFile(path, now) : static_cast<void>(std::filesystem::remove(path));
    store.root()->SetValue("b", 2);
    EXPECT_EQ(store.save().has_value(), *now != 0);
    EXPECT_EQ(Store(path).root()->GetKeys(), (Names{"a", "b"}));
    if (*now) {
      EXPECT_EQ(readFile(path + ".damaged-1"), now);
    }
  }
}

TEST(JsonStore, ReadOnlyAndUnchangedRunsTouchNothing) {
  const TempDir dir;
  const std::string path = dir.file("settings.json");
  Store(dir.file("absent/settings.json")).saved();
  Store reader(dir.file("absent/other.json"), JsonStore::Mode::ReadOnly);
  reader.root()->SetValue("a", 1);
  reader.saved();
  EXPECT_TRUE(dir.names().empty());

  // Written by hand: saving it again would show.
  const std::string content = R"({"format":"quillbay-settings","version":1,"values":[{"key":"a","int":1}]})";
  writeFile(path, content);
  Store changes(path, JsonStore::Mode::ReadOnly);
  changes.root()->SetValue("a", 2);
  changes.saved();
  EXPECT_EQ(paramInt(changes.root().get(), "a"), 2) << "it stays in memory";
  Store same(path);
  same.root()->SetValue("b", 1);
  same.root()->Remove("b");
  same.saved();
  EXPECT_EQ(readFile(path), content);
  EXPECT_EQ(dir.names(), Names{"settings.json"});
}

TEST(JsonStore, AFailedSaveKeepsTheFileAndTriesAgain) {
  const TempDir dir;
  const std::string path = dir.file("settings.json");
  Store store(path);
  store.root()->SetValue("a", 1);
  store.saved();
  const std::string before = readFile(path);
  store.root()->SetValue("b", std::string(20'000, 'x'));

  // A disk that is full after 8 KiB: the lock fits, the file does not.
  rlimit old{};
  ::getrlimit(RLIMIT_FSIZE, &old);
  const rlimit small{8192, old.rlim_max};
  std::signal(SIGXFSZ, SIG_IGN);
  ::setrlimit(RLIMIT_FSIZE, &small);
  EXPECT_THROW((void)store.save(), CXFileException);
  ::setrlimit(RLIMIT_FSIZE, &old);
  std::signal(SIGXFSZ, SIG_DFL);
  EXPECT_EQ(readFile(path), before);
  EXPECT_EQ(dir.names(), Names{"settings.json"});
  {
    const test::OrdinaryUser user;
    ::chmod(dir.path().c_str(), 0555);
    try {
      (void)store.save();
      ADD_FAILURE() << "saved in a folder that may not be written";
    } catch (const CXFileException& e) {
      EXPECT_EQ(e.systemError(), EACCES);
      EXPECT_NE(std::string(e.what()).find(path), std::string::npos) << e.what();
    }
  }
  ::chmod(dir.path().c_str(), 0755);
  store.saved();
  EXPECT_EQ(Store(path).root()->GetKeys(), (Names{"a", "b"}));

  ParamTree deep;
  ParamTree* at = &deep;
  for (int i = 0; i < 300; ++i) at = &at->store("n");
  at->setValue("x", 1);
  bringTo(store.root().get(), deep);
  EXPECT_THROW((void)store.save(), CXFileException) << "what could not be read again is not written";
  EXPECT_EQ(Store(path).root()->GetKeys(), (Names{"a", "b"}));
}

TEST(JsonStore, HonoursTheUmaskAndFollowsALink) {
  const TempDir dir;
  const mode_t old = ::umask(027);
  Store store(dir.file("new/settings.json"));
  store.root()->SetValue("a", 1);
  store.saved();
  ::umask(old);
  struct stat info {};
  ::stat(dir.file("new/settings.json").c_str(), &info);
  EXPECT_EQ(info.st_mode & 0777U, 0640U);
  ::stat(dir.file("new").c_str(), &info);
  EXPECT_EQ(info.st_mode & 0777U, 0750U);

  std::filesystem::create_symlink("new/settings.json", dir.file("link.json"));
  Store linked(dir.file("link.json"));
  linked.root()->SetValue("b", 2);
  linked.saved();
  EXPECT_TRUE(std::filesystem::is_symlink(dir.file("link.json")));
  EXPECT_EQ(Store(dir.file("new/settings.json")).root()->GetKeys(), (Names{"a", "b"}));
}

TEST(Profile, KeepsSectionsAndTellsWhatFails) {
  const TempDir dir;
  const std::string path = dir.file("profile.json");
  Names told;
  const StoreMessage tell = [&told](const std::string& text) { told.push_back(text); };
  {
    const auto profile =
        KxPtr<IProfile>::adopt(new Profile(openStore(path, JsonStore::Mode::ReadWrite, tell), tell));
    EXPECT_FALSE(KxPtr<IParam>::adopt(profile->GetSection("Quillbay2.0", 0)));
    KxPtr<IParam>::adopt(profile->GetSection("Quillbay2.0\\History\\Dir", 1))->SetValue("Item0", "/plans");
    EXPECT_EQ(profile->Flush(), 1);
  }
  const auto again = KxPtr<IProfile>::adopt(new Profile(openStore(path, JsonStore::Mode::ReadWrite, tell), tell));
  const auto dirs = KxPtr<IParam>::adopt(again->GetSection("quillbay2.0/history/dir", 0));
  EXPECT_EQ(paramString(dirs.get(), "Item0"), "/plans");
  EXPECT_TRUE(told.empty());

  // What cannot even be read is told, and never written over.
  const std::string folder = dir.file("folder.json");
  std::filesystem::create_directory(folder);
  const auto broken =
      KxPtr<IProfile>::adopt(new Profile(openStore(folder, JsonStore::Mode::ReadWrite, tell), tell));
  KxPtr<IParam>::adopt(broken->GetSection("a", 1))->SetValue("b", 1);
  EXPECT_EQ(broken->Flush(), 0);
  EXPECT_EQ(told.size(), 2U);
}

}  // namespace
}  // namespace quillbay
