#include "core/folders.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "platform/base_services.h"
#include "support/temp_dir.h"

namespace quillbay {
namespace {

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
