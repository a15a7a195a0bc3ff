#include <fcntl.h>
#include <gtest/gtest.h>
#include <mntent.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <thread>

#include "core/folders.h"
#include "core/publish_steps.h"
#include "platform/base_services.h"
#include "quillbay/errors.h"
#include "support/ordinary_user.h"
#include "support/temp_dir.h"

namespace quillbay {
namespace {

using test::OrdinaryUser;
using test::readFile;
using test::TempDir;
using test::writeFile;

/// The error number that `action` throws, 0 when it throws none; its text goes to `*text`.
int errorOf(const std::function<void()>& action, std::string* text = nullptr) {
  try {
    action();
    return 0;
  } catch (const CXFileException& e) {
    if (text) *text = e.what();
    return e.systemError() ? e.systemError() : -1;
  }
}

TEST(TestWritable, RefusesWhatCannotBeWrittenAndTouchesNothing) {
  const TempDir dir;
  for (const char* folder : {"open", "open/folder", "locked"}) fio::createFolder(dir.file(folder));
  for (const char* file : {"open/old.tif", "open/protected.tif"}) writeFile(dir.file(file), "old");
  ::mkfifo(dir.file("open/pipe").c_str(), 0666);
  ::chmod(dir.file("open").c_str(), 0777);
  ::chmod(dir.file("open/old.tif").c_str(), 0666);
  ::chmod(dir.file("open/protected.tif").c_str(), 0444);
  ::chmod(dir.file("locked").c_str(), 0555);
  const auto limit = static_cast<std::size_t>(::pathconf(dir.path().c_str(), _PC_NAME_MAX));
  const std::string longest(limit - 5, 'a');  // with room for the suffix of an unfinished page
  struct Case {
    std::string path;
    int want;
    const char* says;
  };
  const Case cases[] = {
      {"open/new.tif", 0, ""},
      {"open/old.tif", 0, ""},
      {"open/" + longest, 0, ""},
      {"open/" + longest + "b", ENAMETOOLONG, "choose a shorter one"},
      {"open/" + std::string(5000, 'a'), ENAMETOOLONG, "choose a shorter one"},
      {"missing/new.tif", ENOENT, "folder does not exist"},
      {"open/old.tif/new.tif", ENOTDIR, "is a file"},
      {"locked/new.tif", EACCES, "permission denied"},
      {"open/protected.tif", EACCES, "write-protected"},
      {"open/folder", EISDIR, "this is a folder"},
      {"open/", EISDIR, "no file name"},
      {"open/..", EISDIR, "no file name"},
      {"open/pipe", ENOTSUP, "not a regular file"},
  };
  const auto before = dir.names();
  {
    const OrdinaryUser user;
    for (const Case& c : cases) {
      SCOPED_TRACE(c.path.substr(0, 60));
      std::string text;
      EXPECT_EQ(errorOf([&] { fio::testWritable(dir.file(c.path)); }, &text), c.want);
      EXPECT_NE(text.find(c.says), std::string::npos) << text;
      if (c.want) {
        EXPECT_NE(text.find(c.path), std::string::npos) << "names the file: " << text;
      }
    }
    EXPECT_EQ(errorOf([] { fio::testWritable(""); }), ENOENT);
  }
  EXPECT_EQ(dir.names(), before);
  EXPECT_EQ(readFile(dir.file("open/old.tif")), "old");
}

/// A folder on a file system that is mounted read-only; empty when this machine has none.
std::string readOnlyFolder() {
  std::string found;
  if (FILE* mounts = ::setmntent("/proc/self/mounts", "r")) {
    while (const mntent* mount = ::getmntent(mounts)) {
      struct statvfs volume {};
      if (fio::isFolder(mount->mnt_dir) && ::statvfs(mount->mnt_dir, &volume) == 0 && (volume.f_flag & ST_RDONLY)) {
        found = mount->mnt_dir;
      }
    }
    ::endmntent(mounts);
  }
  return found;
}

TEST(TestWritable, RefusesAReadOnlyFileSystemAlsoForRoot) {
  const std::string folder = readOnlyFolder();
  if (folder.empty()) GTEST_SKIP() << "nothing is mounted read-only here";
  EXPECT_EQ(errorOf([&] { fio::testWritable(folder + "/new.tif"); }), EROFS) << folder;
}

TEST(CreateFolder, MakesParentsAndNamesWhatIsInTheWay) {
  const TempDir dir;
  fio::createFolder(dir.file("a/b/c/"));
  fio::createFolder(dir.file("a/b/c"));  // there already
  EXPECT_TRUE(fio::isFolder(dir.file("a/b/c")));
  writeFile(dir.file("file"), "x");
  std::string text;
  EXPECT_EQ(errorOf([&] { fio::createFolder(dir.file("file/b/c")); }, &text), ENOTDIR);
  EXPECT_NE(text.find(dir.file("file") + "\""), std::string::npos) << text;
  const OrdinaryUser user;
  EXPECT_EQ(errorOf([] { fio::createFolder("/proc/quillbay"); }), ENOENT);
}

TEST(FreeSpace, IsUnknownWhereThereIsNone) {
  EXPECT_GT(fio::freeSpace(TempDir().path() + "/.."), 0);
  EXPECT_EQ(fio::freeSpace(fio::folderOf("bare name")), fio::freeSpace("."));
  EXPECT_NO_THROW(fio::createFolder(fio::folderOf("bare name")));
  EXPECT_EQ(fio::freeSpace("/proc"), -1);
  EXPECT_EQ(fio::freeSpace("/no/such/folder"), -1);
}

/// Every way to publish, so that the ones for lesser file systems are held to the same rule.
struct Way {
  const char* name;
  int (*publish)(const std::string& from, const std::string& to);
};
const Way kWays[] = {
    {"rename", [](const std::string& from, const std::string& to) { return publishByRename(from, to); }},
    {"link", [](const std::string& from, const std::string& to) { return publishByLink(from, to); }},
    {"claim", [](const std::string& from, const std::string& to) { return publishByClaim(from, to); }},
    {"publish", [](const std::string& from,
                   const std::string& to) { return errorOf([&] { fio::publish(from, to, false); }); }},
};

TEST(Publish, NeverReplacesWhatIsThere) {
  for (const Way& way : kWays) {
    SCOPED_TRACE(way.name);
    const TempDir dir;
    const std::string part = dir.file("a.tif.part");
    writeFile(part, "new");
    writeFile(dir.file("file"), "old");
    std::filesystem::create_symlink("nowhere", dir.file("link"));
    fio::createFolder(dir.file("folder"));
    const auto before = dir.names();
    for (const char* taken : {"file", "link", "folder"})
      EXPECT_EQ(way.publish(part, dir.file(taken)), EEXIST) << taken;
    EXPECT_EQ(dir.names(), before);
    EXPECT_EQ(readFile(dir.file("file")), "old");
    EXPECT_EQ(way.publish(dir.file("gone.part"), dir.file("b.tif")), ENOENT);
    EXPECT_EQ(dir.names(), before) << "a failed attempt leaves nothing behind";
    EXPECT_EQ(way.publish(part, dir.file("a.tif")), 0);
    EXPECT_EQ(readFile(dir.file("a.tif")), "new");
    EXPECT_FALSE(fio::exists(part));
  }
}

TEST(Publish, OneOfManyGetsAName) {
  constexpr int kWriters = 8;
  for (const Way& way : kWays) {
    SCOPED_TRACE(way.name);
    const TempDir dir;
    std::atomic<int> winner{-1};
    std::atomic<int> refused{0};
    std::vector<std::thread> writers;
    for (int i = 0; i < kWriters; ++i) {
      const std::string part = dir.file("part" + std::to_string(i));
      writeFile(part, std::to_string(i));
      writers.emplace_back([&, i, part] {
        const int error = way.publish(part, dir.file("page.tif"));
        if (error == 0) winner = i;
        if (error == EEXIST) ++refused;
      });
    }
    for (std::thread& writer : writers) writer.join();
    EXPECT_EQ(refused, kWriters - 1);
    EXPECT_EQ(readFile(dir.file("page.tif")), std::to_string(winner));
    EXPECT_EQ(dir.names().size(), std::size_t{kWriters}) << "the others keep their pages";
  }
}

TEST(Publish, ReplacesAFileWhenAgreedButNothingElse) {
  const TempDir dir;
  const std::string part = dir.file("a.part");
  writeFile(part, "new");
  writeFile(dir.file("a.tif"), "old");
  fio::createFolder(dir.file("folder"));
  ::mkfifo(dir.file("pipe").c_str(), 0666);
  EXPECT_EQ(errorOf([&] { fio::publish(part, dir.file("folder"), true); }), EISDIR);
  EXPECT_EQ(errorOf([&] { fio::publish(part, dir.file("pipe"), true); }), ENOTSUP);
  EXPECT_EQ(errorOf([&] { fio::publish(part, dir.file("a.tif"), true); }), 0);
  EXPECT_EQ(readFile(dir.file("a.tif")), "new");
  EXPECT_EQ(dir.names(), (std::vector<std::string>{"a.tif", "folder", "pipe"}));
}

/// Sets a variable (null: unsets it) until the end of the scope.
class Variable {
 public:
  Variable(const char* name, const char* value) : m_name(name) {
    if (const char* old = std::getenv(name)) m_old = old, m_had = true;
    value ? ::setenv(name, value, 1) : ::unsetenv(name);
  }
  ~Variable() { m_had ? ::setenv(m_name, m_old.c_str(), 1) : ::unsetenv(m_name); }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

 private:
  const char* m_name;
  std::string m_old;
  bool m_had = false;
};

TEST(Folders, FollowTheBaseDirectoryRules) {
  const Variable home("HOME", "/home/ada");
  struct Case {
    const char* why;
    const char* variable;
    const char* value;
    std::string (*folder)();
    const char* want;
  };
  const Case cases[] = {
      {"default", "XDG_CONFIG_HOME", nullptr, settingsFolder, "/home/ada/.config/quillbay"},
      {"set", "XDG_CONFIG_HOME", "/srv/conf", settingsFolder, "/srv/conf/quillbay"},
      {"a relative path is ignored", "XDG_CONFIG_HOME", "conf", settingsFolder, "/home/ada/.config/quillbay"},
      {"empty counts as unset", "XDG_STATE_HOME", "", stateFolder, "/home/ada/.local/state/quillbay"},
      {"state", "XDG_STATE_HOME", "/s", stateFolder, "/s/quillbay"},
      {"data default", "XDG_DATA_HOME", nullptr, dataFolder, "/home/ada/.local/share/quillbay"},
      {"data", "XDG_DATA_HOME", "/d", dataFolder, "/d/quillbay"},
  };
  for (const Case& c : cases) {
    const Variable variable(c.variable, c.value);
    EXPECT_EQ(c.folder(), c.want) << c.why;
  }
  setFolders({"/a", "/b", "/c", "/d"});
  EXPECT_EQ(settingsFolder() + stateFolder() + dataFolder() + documentsFolder(), "/a/b/c/d");
  setFolders({});
}

TEST(Folders, DocumentsComeFromTheDesktopsList) {
  const test::TempDir dir;
  const Variable home("HOME", "/home/ada");
  const Variable config("XDG_CONFIG_HOME", dir.path().c_str());
  EXPECT_EQ(documentsFolder(), "/home/ada/Documents");
  struct Case {
    const char* line;
    const char* want;
  };
  const Case cases[] = {
      {"# XDG_DOCUMENTS_DIR=\"/no\"\n XDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n", "/home/ada/Dokumente"},
      {"XDG_DOCUMENTS_DIR=\"/srv/my \\\"plans\\\"/\"\n", "/srv/my \"plans\""},
      {"XDG_DOCUMENTS_DIR=\"relative\"\n", "/home/ada/Documents"},
  };
  for (const Case& c : cases) {
    test::writeFile(dir.file("user-dirs.dirs"), c.line);
    EXPECT_EQ(documentsFolder(), c.want) << c.line;
  }
}

TEST(Paths, AreTakenApart) {
  struct Case {
    const char* path;
    const char* folder;
    const char* name;
    const char* extension;
  };
  const Case cases[] = {
      {"/plans/a.tif", "/plans/", "a.tif", ".tif"},
      {"\\\\srv\\hot\\a.tif", "\\\\srv\\hot\\", "a.tif", ".tif"},
      {"a.tar.gz", "", "a.tar.gz", ".gz"},
      {"/plans.d/a", "/plans.d/", "a", ""},
      {"/.hidden", "/", ".hidden", ""},
      {"/plans/", "/plans/", "", ""},
      {"/plans/..", "/plans/", "..", ""},
      {"", "", "", ""},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(fio::folderOf(c.path), c.folder) << c.path;
    EXPECT_EQ(fio::fileNameOf(c.path), c.name) << c.path;
    EXPECT_EQ(fio::extensionOf(c.path), c.extension) << c.path;
  }
}

TEST(Paths, GetTheDelimiterOfTheirOwnStyleAndTheHomeFolder) {
  const Variable home("HOME", "/home/ada");
  struct Case {
    std::string (*function)(std::string_view);
    const char* in;
    const char* want;
  };
  const Case cases[] = {
      {fio::withDelimiter, "/plans", "/plans/"},
      {fio::withDelimiter, "/plans/", "/plans/"},
      {fio::withDelimiter, "C:\\hot", "C:\\hot\\"},
      {fio::withDelimiter, "C:\\hot\\", "C:\\hot\\"},
      {fio::withDelimiter, "/a\\b", "/a\\b/"},
      {fio::withDelimiter, "", ""},
      {fio::withDelimiter, "plans", "plans/"},
      {fio::expandHome, "~", "/home/ada"},
      {fio::expandHome, "~/plans", "/home/ada/plans"},
      {fio::expandHome, "~bob/x", "~bob/x"},
      {fio::expandHome, "/a/~", "/a/~"},
  };
  for (const Case& c : cases) EXPECT_EQ(c.function(c.in), c.want) << c.in;
}

}  // namespace
}  // namespace quillbay
