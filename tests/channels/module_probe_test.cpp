// Format modules are examined in another process: a bad one costs its own formats alone.
#include "channels/module_probe.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "channels/module_loader.h"
#include "platform/base_services.h"
#include "platform/file_channel.h"
#include "quillbay/format_settings.h"
#include "support/temp_dir.h"

namespace quillbay {
namespace {

constexpr std::chrono::milliseconds kShortLimit{1500};
constexpr std::chrono::milliseconds kLongLimit{60000};  // a sanitizer's start takes its time

std::string fake(const char* name) { return std::string(QUILLBAY_FAKE_MODULES) + "/fake_" + name + ".so"; }

TEST(ModuleProbe, TellsGoodModulesFromBadOnes) {
  const test::TempDir dir;
  std::ofstream(dir.file("text.so")) << "no module";
  struct Case {
    std::string file;
    ModuleState want;
  };
  const std::vector<Case> cases{
      {fake("good"), ModuleState::Good},          {fake("crashes"), ModuleState::Crashed},
      {fake("other_abi"), ModuleState::Unusable}, {fake("no_factory"), ModuleState::Unusable},
      {fake("nothing"), ModuleState::Nothing},    {dir.file("text.so"), ModuleState::Unusable},
      {fake("document"), ModuleState::Good},
  };
  std::vector<std::string> files{dir.file("absent.so")};
  for (const Case& c : cases) files.push_back(c.file);
  const auto answers = examineModules(files, {}, kLongLimit);
  ASSERT_EQ(answers.size(), cases.size()) << "one that is not there is left out";
  for (std::size_t i = 0; i < cases.size(); ++i) {
    EXPECT_EQ(answers[i].file, cases[i].file);
    EXPECT_EQ(answers[i].state, cases[i].want) << cases[i].file << ": " << answers[i].why;
    EXPECT_EQ(answers[i].why.empty(), answers[i].state == ModuleState::Good) << cases[i].file;
  }
  const auto& good = answers.front().formats;
  ASSERT_EQ(good.size(), 2U);
  EXPECT_EQ(std::make_tuple(good[0].name, good[0].colorSpaces, good[0].paged),
            std::make_tuple("FakeColour", 512U, false));
  EXPECT_EQ(std::make_tuple(good[1].name, good[1].colorSpaces, good[1].paged),
            std::make_tuple("FakeRuns", 2U, true));
  EXPECT_EQ(good[1].extensions, (std::vector<std::string>{".fkr", ".fkrr"}));
  EXPECT_EQ(answers.back().formats[0].colorSpaces, kAllColorSpaces) << "documents that name no colour space";
}

TEST(ModuleProbe, OneThatHangsIsGivenUpAndTheOthersAreExamined) {
  const auto answers = examineModules({fake("hangs"), fake("good")}, {}, kShortLimit);
  ASSERT_EQ(answers.size(), 2U);
  EXPECT_EQ(answers[0].state, ModuleState::Hung);
  if (answers[1].state == ModuleState::Hung) GTEST_SKIP() << "this machine is too slow for the short limit";
  EXPECT_EQ(answers[1].state, ModuleState::Good);
}

TEST(ModuleProbe, WhatIsKnownIsNotExaminedAgain) {
  const test::TempDir dir;
  const std::string good = dir.file("good.so");
  std::filesystem::copy_file(fake("good"), good);
  const std::vector<std::string> files{good, fake("crashes"), fake("other_abi")};
  int examined = 0;
  auto known = examineModules(files, {}, kLongLimit, &examined);
  EXPECT_EQ(examined, 3);
  known = examineModules(files, known, kLongLimit, &examined);
  EXPECT_EQ(examined, 1) << "one of another version may have been replaced by a link, or its library installed";
  EXPECT_EQ(known[0].formats.size(), 2U);

  std::filesystem::last_write_time(good, std::filesystem::last_write_time(good) + std::chrono::seconds(2));
  known = examineModules({good, fake("crashes")}, known, kLongLimit, &examined);
  EXPECT_EQ(examined, 1) << "the file is another one";
  known[0].abi = 1;
  std::ignore = examineModules({good}, known, kLongLimit, &examined);
  EXPECT_EQ(examined, 1) << "the program is another one";
}

/// In a process of its own: formats are loaded once.
int loadOnlyGood() {
  const test::TempDir dir;
  for (const char* name : {"good", "crashes", "nothing"})
    std::filesystem::copy_file(fake(name), dir.file(std::string(name) + ".so"));
  setenv("QUILLBAY_FORMATS", fio::folderOf(dir.file("x")).c_str(), 1);
  const bool isRight = loadedFormats().size() == 2 && moduleAnswers().size() == 3;
  const auto entry = new_MemParam();
  entry->SetValue(format_key::Module, "good.so");
  const bool isProbed = ProbeSaveFormat("FakeRuns", entry.get()) != 0 &&
                        paramInt(entry.get(), format_key::ColorSpaces) == 2 &&
                        paramInt(entry.get(), format_key::MultiPage) == 1;
  const auto empty = new_MemParam(), crashing = new_MemParam();
  empty->SetValue(format_key::Module, "nothing.so");
  crashing->SetValue(format_key::Module, "crashes.so");
  const bool isExcluded = ProbeSaveFormat("FakeRuns", empty.get()) != 0 &&
                          paramInt(empty.get(), format_key::Exclude) == 1 &&
                          ProbeSaveFormat("FakeRuns", crashing.get()) == 0 && crashing->GetKeys().size() == 1;
  return isRight && isProbed && isExcluded ? 0 : 1;
}

TEST(ModuleProbeDeathTest, OneThatCrashesIsNeverLoaded) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  EXPECT_EXIT(std::_Exit(loadOnlyGood()), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace quillbay
