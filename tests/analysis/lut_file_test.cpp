// Lookup files of classified colours, byte for byte, and what is no such file.
#include "analysis/lut_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <filesystem>

#include "analysis/palette_cube.h"
#include "quillbay/scan_keys.h"
#include "support/ordinary_user.h"
#include "support/temp_dir.h"

namespace quillbay {
namespace {

using Palette = std::array<KXRGBQUAD, 256>;

std::string classBytes() {
  std::string bytes(kLutClasses, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7);
  return bytes;
}

/// A file of these lines, with the classes behind them.
std::string fileOf(const std::string& lines) { return lines + classBytes(); }

std::optional<CKxBlob> parsed(const std::string& bytes) {
  return parseLutFile({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

std::array<int, 4> entry(const CKxBlob& lut, std::size_t i) {
  return {lut[4 * i], lut[4 * i + 1], lut[4 * i + 2], lut[4 * i + 3]};
}

TEST(LutFile, EntriesAreBlueGreenRed) {
  const auto lut = parsed(fileOf("MORVANE-LUT\r\n0402\r\n2\r\n10 20 30\r\n1 2 3\r\n0\r\n"));
  ASSERT_TRUE(lut);
  ASSERT_EQ(lut->size(), 33792U);
  EXPECT_EQ(entry(*lut, 0), (std::array{30, 20, 10, 0}));
  EXPECT_EQ(entry(*lut, 1), (std::array{3, 2, 1, 0}));
  EXPECT_EQ(entry(*lut, 2), (std::array{0, 0, 0, 0})) << "not in the file";
  const std::string classes = classBytes();
  EXPECT_TRUE(std::equal(classes.begin(), classes.end(), lut->begin() + 1024,
                         [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; }));
}

TEST(LutFile, LinesAreReadAsTheyMayBeWritten) {
  const std::string longMark = "MORVANE-LUT" + std::string(501, ' ');  // 512 bytes
  struct Case {
    const char* what;
    std::string lines;
    std::array<int, 4> first;
  };
  const Case cases[] = {
      {"line feeds alone", "MORVANE-LUT\n0402\n1\n10 20 30\n0\n", {30, 20, 10, 0}},
      {"the mark later in its line", "x MORVANE-LUT y\r\n?\r\n1\r\n10 20 30\r\n0\r\n", {30, 20, 10, 0}},
      {"a line that is just not too long", longMark + "\r\n0402\r\n1\r\n10 20 30\r\n0\r\n", {30, 20, 10, 0}},
      {"a longer line is two", longMark + " \r\n1\r\n10 20 30\r\n0\r\n", {30, 20, 10, 0}},
      {"missing numbers", "MORVANE-LUT\n\n1\n10\n\n", {0, 0, 10, 0}},
      {"two numbers", "MORVANE-LUT\n\n1\n10 20\n\n", {0, 20, 10, 0}},
      {"two blanks", "MORVANE-LUT\n\n1\n10  20 30\n\n", {20, 0, 10, 0}},
      {"more than three numbers", "MORVANE-LUT\n\n1\n10 20 30 40\n\n", {30, 20, 10, 0}},
      {"words", "MORVANE-LUT\n\n1\nred 20x 3.9\n\n", {3, 20, 0, 0}},
      {"low bytes", "MORVANE-LUT\n\n1\n300 -1 256\n\n", {0, 255, 44, 0}},
      {"wild numbers", "MORVANE-LUT\n\n1\n99999999999999999999 -99999999999999999999 +7\n\n", {7, 0, 255, 0}},
      {"a count with a tail", "MORVANE-LUT\n\n 1 line\n10 20 30\n\n", {30, 20, 10, 0}},
  };
  for (const Case& c : cases) {
    const auto lut = parsed(fileOf(c.lines));
    ASSERT_TRUE(lut) << c.what;
    EXPECT_EQ(entry(*lut, 0), c.first) << c.what;
    EXPECT_EQ((*lut)[1024 + 5], 35) << c.what << ": the classes begin behind the last line";
  }
}

TEST(LutFile, CountsAreHeldTo256) {
  std::string lines;
  for (int i = 0; i < 256; ++i) lines += std::to_string(i) + " 0 0\n";
  for (const char* count : {"256", "300", "-1", "99999999999999999999", "4294967296"}) {
    const auto lut = parsed(fileOf(std::string("MORVANE-LUT\n0402\n") + count + "\n" + lines + "0\n"));
    ASSERT_TRUE(lut) << count;
    EXPECT_EQ(entry(*lut, 255), (std::array{0, 0, 255, 0})) << count;
    EXPECT_EQ((*lut)[1024 + 5], 35) << count;
  }
}

TEST(LutFile, WhatIsNone) {
  const std::string start = "MORVANE-LUT\r\n0402\r\n1\r\n10 20 30\r\n0\r\n";
  // Cut into lines of 512 bytes it would have a count, and bytes enough for classes.
  std::string returns = "MORVANE-LUT\r0402\r256\r";
  for (int i = 0; i < 256; ++i) returns += "001 001 001\r";
  const std::pair<const char*, std::string> cases[] = {
      {"empty", ""},
      {"another first line", fileOf("MORVANE LUT\r\n0402\r\n1\r\n1 2 3\r\n0\r\n")},
      {"the mark in another line", fileOf("\r\nMORVANE-LUT\r\n1\r\n1 2 3\r\n0\r\n")},
      {"the mark too far in its line", fileOf(std::string(505, ' ') + "MORVANE-LUT\n0402\n1\n1 2 3\n0\n")},
      {"no count", fileOf("MORVANE-LUT\r\n0402\r\nmany\r\n1 2 3\r\n0\r\n")},
      {"a count of 0", fileOf("MORVANE-LUT\r\n0402\r\n0\r\n0\r\n")},
      {"the mark alone", "MORVANE-LUT"},
      {"no classes", start},
      {"one class too few", fileOf(start).substr(0, start.size() + kLutClasses - 1)},
      {"carriage returns alone", fileOf("MORVANE-LUT\r0402\r1\r10 20 30\r0\r")},
      {"a whole file of such lines", fileOf(returns + "0\r")},
      {"one long line", "MORVANE-LUT" + std::string(4 << 20, 'x')},
  };
  for (const auto& [what, bytes] : cases) EXPECT_FALSE(parsed(bytes)) << what;
  EXPECT_TRUE(parsed(fileOf(start) + "what follows")) << "is not read";
}

/// Notes what the writer hands to its page.
struct NotingPage final : ILutPage {
  std::string ToolTemplatesDir() override { return folder; }
  void ClassifyBy(const std::string& lutFile) override { classifiesBy = lutFile; }
  std::string folder, classifiesBy;
};

Palette rampOf(int count) {
  Palette palette{};
  for (int i = 0; i < count; ++i) {
    const auto v = static_cast<std::uint8_t>(i * 255 / std::max(count - 1, 1));
    palette[static_cast<std::size_t>(i)] = {v, static_cast<std::uint8_t>(255 - v), static_cast<std::uint8_t>(v / 2),
                                            0};
  }
  return palette;
}

TEST(LutFile, IsWrittenToTheByte) {
  const test::TempDir folder;
  NotingPage page;
  page.folder = folder.path() + "/made/on demand";
  const Palette palette = rampOf(4);
  std::string file;
  ASSERT_EQ(WriteAutoLut(page, 4, palette.data(), nullptr, &file), 1);
  EXPECT_EQ(file, page.folder + "/auto.lut");
  EXPECT_EQ(page.classifiesBy, file);
  std::string text = "MORVANE-LUT\r\n0402\r\n256\r\n0 255 0\r\n85 170 42\r\n170 85 85\r\n255 0 127\r\n";
  for (int i = 4; i < 256; ++i) text += "0 0 0\r\n";
  text += "0\r\n";
  const std::string bytes = test::readFile(file);
  ASSERT_EQ(bytes.size(), text.size() + 32768);
  EXPECT_EQ(bytes.substr(0, text.size()), text);
  const CPalletteCube cube(8, std::span(palette).first(4));
  const auto classOf = [&](std::size_t code) { return static_cast<std::uint8_t>(bytes[text.size() + code]); };
  EXPECT_EQ(classOf(0x7FFF), cube.Nearest({251, 251, 251, 0}));
  EXPECT_EQ(classOf(0), cube.Nearest({3, 3, 3, 0}));
  EXPECT_EQ(classOf(21 << 10 | 10 << 5 | 10), cube.Nearest({171, 83, 83, 0}));
  EXPECT_EQ(classOf(21 << 10 | 10 << 5 | 10), 2) << "red is the high five bits";
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"made", "made/on demand", "made/on demand/auto.lut"}));
  const auto params = new_MemParam();
  ASSERT_EQ(ReadLutFile(file, params.get()), 1);
  CKxVariant lut;
  params->GetValue(key::Lut, &lut);
  EXPECT_EQ(entry(*lut.get<CKxBlob>(), 1), (std::array{42, 170, 85, 0})) << "red and blue change places";
}

TEST(LutFile, WithoutAFolderThePageKeepsItsOwn) {
  const test::TempDir folder;
  test::writeFile(folder.file("file"), "in the way");
  std::filesystem::create_directories(folder.file("taken/auto.lut/full"));
  const Palette palette = rampOf(256);
  for (const std::string& name : {std::string(), folder.file("file/below"), folder.file("taken")}) {
    NotingPage page;
    page.folder = name;
    std::string why;
    EXPECT_EQ(WriteAutoLut(page, 256, palette.data(), &why), 0) << name;
    EXPECT_EQ(page.classifiesBy, "") << name;
    EXPECT_FALSE(why.empty()) << name;
  }
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"file", "taken", "taken/auto.lut", "taken/auto.lut/full"}))
      << "no part is left behind";
}

TEST(LutFile, WhatCannotBeReadIsSaid) {
  const test::TempDir folder;
  const std::string pipe = folder.file("pipe"), closed = folder.file("closed");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600) | ::chmod(pipe.c_str(), 0666), 0);
  test::writeFile(closed, fileOf("MORVANE-LUT\n0402\n1\n1 2 3\n0\n"));
  std::filesystem::permissions(closed, std::filesystem::perms::none);
  const test::OrdinaryUser ordinary;
  const std::pair<std::string, std::string> cases[] = {{folder.file("missing"), "o such file"},
                                                       {"", "o such file"},
                                                       {folder.path(), "folder"},
                                                       {closed, "ermission"},
                                                       {pipe, "regular file"},
                                                       {"/dev/zero", "regular file"}};
  for (const auto& [path, reason] : cases) {
    const auto params = new_MemParam();
    std::string why;
    EXPECT_EQ(ReadLutFile(path, params.get(), &why), 0) << path;
    EXPECT_NE(why.find(reason), std::string::npos) << path << ": " << why;
    EXPECT_TRUE(params->GetKeys().empty()) << path;
  }
}

}  // namespace
}  // namespace quillbay
