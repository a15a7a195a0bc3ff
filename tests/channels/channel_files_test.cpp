#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>

#include "quillbay/formats.h"
#include "support/progress.h"
#include "test_pages.h"
#include "tiff_readback.h"

namespace quillbay::test {
namespace {

/// The file holds exactly these pages.
void expectPages(const std::string& file, const std::vector<TestPage>& pages) {
  const ReadFile read = readTiff(file);
  EXPECT_TRUE(read.ok) << read.complaint;
  ASSERT_EQ(read.pages.size(), pages.size());
  for (std::size_t i = 0; i < pages.size(); ++i) {
    EXPECT_EQ(difference(read.pages[i], pages[i]), "") << "page " << i;
    EXPECT_EQ(read.pages[i].page, i);
    EXPECT_EQ(read.pages[i].subfile, static_cast<std::uint32_t>(FILETYPE_PAGE));
  }
}

class ChannelFiles : public testing::Test {
 protected:
  KxPtr<IRStor> raster(std::size_t page) { return rasterOf(m_pages[page], Source::Stripes); }
  TempFolder m_folder;
  std::string m_file = m_folder.file("plan.tif");
  std::vector<TestPage> m_pages = {makePage(KxColorSpace::Bitonal, 301, 90, 1),
                                   makePage(KxColorSpace::Rgb, 120, 70, 2),
                                   makePage(KxColorSpace::Palette, 99, 50, 3)};
};

TEST_F(ChannelFiles, BatchStaysAPartUntilItIsPublished) {
  savePaged(m_file, raster(0).get(), End::KeepPart);
  EXPECT_EQ(m_folder.list(), "plan.tif.part ");
  expectPages(m_file + ".part", {m_pages[0]});
  savePaged(m_file, raster(1).get(), End::Abandon);
  savePaged(m_file, abandonedRaster(m_pages[1], 20).get(), End::KeepPart);
  expectPages(m_file + ".part", {m_pages[0]});
  savePaged(m_file, raster(1).get(), End::KeepPart);
  PublishPart(m_file, false);
  EXPECT_EQ(m_folder.list(), "plan.tif ");
  expectPages(m_file, {m_pages[0], m_pages[1]});
  // The file exists now: the next page goes into it.
  savePaged(m_file, raster(2).get(), End::Commit);
  EXPECT_EQ(m_folder.list(), "plan.tif ");
  expectPages(m_file, m_pages);
}

TEST_F(ChannelFiles, PageCountGrowsWithEachPage) {
  for (int i = 0; i < 2; ++i) {
    const auto channel = new_FileChanel(nullptr, m_file, nullptr, nullptr);
    PageTarget target;
    target.joinsPart = target.addsToFile = true;
    channel->SetTarget(target);
    const auto paged = channel.as<IKxRasterSavePagedChanel>();
    EXPECT_EQ(paged->GetPageCount(), i);
    paged->Save(raster(0).get(), nullptr);
    EXPECT_EQ(paged->GetPageCount(), i + 1);
    channel->Commit();
    EXPECT_EQ(paged->GetPageCount(), i + 1);
  }
}

TEST_F(ChannelFiles, AFileThatNobodyMeantGetsNoPage) {
  savePaged(m_file, raster(0).get(), End::Commit);
  const std::string before = readFile(m_file);
  const auto channel = new_FileChanel(nullptr, m_file, nullptr, nullptr);
  PageTarget target;
  target.joinsPart = true;  // the file was not there when the page was prepared
  channel->SetTarget(target);
  ASSERT_EQ(channel.as<IKxRasterSavePagedChanel>()->Save(raster(1).get(), nullptr), 1);
  EXPECT_THROW(channel->Commit(), CXFileException);
  EXPECT_NE(channel->IsWritten(), 0);
  EXPECT_TRUE(readFile(m_file) == before);
  PublishPartAs(m_file, m_file + ".tif", false);
  expectPages(m_file + ".tif", {m_pages[1]});
}

TEST_F(ChannelFiles, AbandonedPagesLeaveTheFileAsItWas) {
  savePaged(m_file, raster(0).get(), End::Commit);
  const std::string before = readFile(m_file);
  savePaged(m_file, raster(1).get(), End::Abandon);
  EXPECT_TRUE(readFile(m_file) == before);
  savePaged(m_file, abandonedRaster(m_pages[1], 14).get(), End::Commit);
  EXPECT_TRUE(readFile(m_file) == before);
  {  // the last release without an end
    const auto channel = new_FileChanel(nullptr, m_file, nullptr, nullptr);
    EXPECT_EQ(channel.as<IKxRasterSavePagedChanel>()->Save(raster(1).get(), nullptr), 1);
  }
  EXPECT_TRUE(readFile(m_file) == before);
  EXPECT_EQ(m_folder.list(), "plan.tif ");

  const std::string other = m_folder.file("other.tif");
  saveSingle(other, abandonedRaster(m_pages[1], 14).get());
  savePaged(other, raster(1).get(), End::Abandon);
  EXPECT_EQ(m_folder.list(), "plan.tif ");
}

TEST_F(ChannelFiles, AbandonPartKeepsFinishedPagesOnly) {
  savePaged(m_file, raster(0).get(), End::KeepPart);
  AbandonPart(m_file);
  expectPages(m_file + ".part", {m_pages[0]});
  // It is a leftover from now on; a new batch leaves it alone.
  savePaged(m_file, raster(1).get(), End::KeepPart);
  EXPECT_EQ(m_folder.list(), "plan.tif.part plan.tif.part.1 ");
  expectPages(m_file + ".part.1", {m_pages[0]});
  AbandonPart(m_file);  // as the end of a killed program does
  PublishPart(m_file, false);
  expectPages(m_file, {m_pages[1]});
  AbandonPart(m_file);  // nothing to forget
  writeFile(m_folder.file("empty.tif.part"), "");
  EXPECT_THROW(PublishPart(m_folder.file("empty.tif"), false), CXFileException);
}

TEST_F(ChannelFiles, NothingIsReplacedUnlessAgreed) {
  const auto channel = new_FileChanel(nullptr, m_file, nullptr, nullptr);
  EXPECT_EQ(channel.as<IKxRasterSaveFileChanel>()->Save(raster(0).get(), nullptr), 1);
  writeFile(m_file, "appeared meanwhile");
  try {
    channel->Commit();
    ADD_FAILURE() << "replaced";
  } catch (const CXFileException& e) {
    EXPECT_EQ(e.systemError(), EEXIST);
  }
  EXPECT_EQ(readFile(m_file), "appeared meanwhile");
  EXPECT_EQ(m_folder.list(), "plan.tif plan.tif.part ");
  EXPECT_THROW(PublishPart(m_file, false), CXFileException);
  PublishPart(m_file, true);
  EXPECT_EQ(m_folder.list(), "plan.tif ");
  EXPECT_EQ(difference(readTiff(m_file).pages.at(0), m_pages[0]), "");
  // A part that could not be published goes when it is not wanted any more.
  const auto again = new_FileChanel(nullptr, m_file, nullptr, nullptr);
  again.as<IKxRasterSaveFileChanel>()->Save(raster(1).get(), nullptr);
  EXPECT_THROW(again->Commit(), CXFileException);
  again->Abandon();
  EXPECT_EQ(m_folder.list(), "plan.tif ");
  EXPECT_EQ(difference(readTiff(m_file).pages.at(0), m_pages[0]), "");
}

TEST_F(ChannelFiles, AnUnpublishedPageDoesNotBlockTheNextScan) {
  writeFile(m_file, "in the way");
  EXPECT_THROW(saveSingle(m_file, raster(0).get()), CXFileException);
  saveSingle(m_file, raster(1).get(), nullptr, true);
  EXPECT_EQ(m_folder.list(), "plan.tif plan.tif.part.1 ");
  EXPECT_EQ(difference(readTiff(m_file).pages.at(0), m_pages[1]), "");
  EXPECT_EQ(difference(readTiff(m_file + ".part.1").pages.at(0), m_pages[0]), "");
}

TEST_F(ChannelFiles, LeftoversAreSetAside) {
  EXPECT_EQ(SetAsideLeftover(m_file), "");
  writeFile(m_file + ".part", "first");
  EXPECT_EQ(SetAsideLeftover(m_file), m_file + ".part.1");
  writeFile(m_file + ".part", "second");
  saveSingle(m_file, raster(0).get());
  EXPECT_EQ(m_folder.list(), "plan.tif plan.tif.part.1 plan.tif.part.2 ");
  EXPECT_EQ(readFile(m_file + ".part.1"), "first");
  EXPECT_EQ(readFile(m_file + ".part.2"), "second");
}

TEST_F(ChannelFiles, WhatAnotherProgramWritesIsLeftAlone) {
  const std::string part = m_file + ".part";
  writeFile(part, "theirs");
  const int theirs = ::open(part.c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(::flock(theirs, LOCK_EX), 0);
  EXPECT_THROW((void)SetAsideLeftover(m_file), CXFileException);
  EXPECT_THROW((void)new_FileChanel(nullptr, m_file, nullptr, nullptr), CXFileException);
  EXPECT_THROW(PublishPart(m_file, false), CXFileException);
  EXPECT_EQ(readFile(part), "theirs");
  ::close(theirs);
  EXPECT_NE(SetAsideLeftover(m_file), "");
}

TEST_F(ChannelFiles, OneWriterAtATime) {
  const auto first = new_FileChanel(nullptr, m_file, nullptr, nullptr);
  EXPECT_THROW((void)new_FileChanel(nullptr, m_file, nullptr, nullptr), CXFileException);
  EXPECT_THROW((void)SetAsideLeftover(m_file), CXFileException);
  first->Abandon();
  savePaged(m_file, raster(0).get(), End::KeepPart);
  EXPECT_THROW(saveSingle(m_file, raster(1).get()), CXFileException) << "a batch owns the file";
  expectPages(m_file + ".part", {m_pages[0]});
  PublishPart(m_file, false);
}

TEST_F(ChannelFiles, FilesOfOtherProgramsAreContinued) {
  struct Case {
    const char* mode;
    bool big;
  };
  for (const Case& c : {Case{"wl", false}, {"wb", false}, {"wl8", true}, {"wb8", true}}) {
    SCOPED_TRACE(c.mode);
    TIFF* tiff = TIFFOpen(m_file.c_str(), c.mode);
    const TestPage first = makePage(KxColorSpace::Grey, 51, 11);
    for (const auto& [tag, value] : std::map<std::uint32_t, int>{{TIFFTAG_IMAGEWIDTH, 51},
                                                                 {TIFFTAG_IMAGELENGTH, 11},
                                                                 {TIFFTAG_BITSPERSAMPLE, 8},
                                                                 {TIFFTAG_SAMPLESPERPIXEL, 1},
                                                                 {TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK},
                                                                 {TIFFTAG_ROWSPERSTRIP, 11}}) {
      TIFFSetField(tiff, tag, value);
    }
    std::string lines;
    for (const auto& line : first.lines) lines.append(line.begin(), line.end());
    TIFFWriteEncodedStrip(tiff, 0, lines.data(), static_cast<tmsize_t>(lines.size()));
    TIFFClose(tiff);
    savePaged(m_file, raster(1).get(), End::Commit);
    savePaged(m_file, raster(2).get(), End::Commit);
    const ReadFile read = readTiff(m_file);
    ASSERT_TRUE(read.ok) << read.complaint;
    ASSERT_EQ(read.pages.size(), 3U);
    EXPECT_EQ(read.big, c.big);
    EXPECT_EQ(difference(read.pages[0], first), "");
    EXPECT_EQ(difference(read.pages[1], m_pages[1]), "");
    EXPECT_EQ(difference(read.pages[2], m_pages[2]), "");
    EXPECT_EQ(read.pages[2].palette, m_pages[2].palette);
  }
}

TEST_F(ChannelFiles, UmaskIsHonoured) {
  const mode_t before = ::umask(027);
  saveSingle(m_file, raster(0).get());
  ::umask(before);
  struct stat info {};
  ASSERT_EQ(::stat(m_file.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0640U);
}

TEST_F(ChannelFiles, CancellingDropsThePage) {
  for (const int after : {0, 1, 5}) {
    Progress progress(after);
    const auto channel = new_FileChanel(nullptr, m_file, nullptr, nullptr);
    EXPECT_EQ(channel.as<IKxRasterSaveFileChanel>()->Save(raster(0).get(), &progress), 0);
    EXPECT_THROW(channel->Commit(), CXException);
    channel->Abandon();
    EXPECT_EQ(m_folder.list(), "");
  }
}

TEST(FormatModules, ColourSpacesAndNamesThatNoModuleTakes) {
  const std::vector<FormatInfo> formats = ListFormats();
  for (const auto& [name, paged] : {std::pair{"TIFF", true}, {"PNG", false}}) {
    const auto found =
        std::find_if(formats.begin(), formats.end(), [&](const FormatInfo& format) { return format.name == name; });
    ASSERT_NE(found, formats.end()) << "beside the program";
    EXPECT_EQ(found->paged, paged);
  }
  const TempFolder folder;
  const auto channel = new_FileChanel(nullptr, folder.file("a.TIFF"), nullptr, nullptr);  // letters of any case
  const auto save = channel.as<IKxRasterSaveFileChanel>();
  EXPECT_TRUE(save->AcceptColorSpace(KxColorSpace::Bitonal));
  EXPECT_TRUE(save->AcceptColorSpace(KxColorSpace::Bgra));
  EXPECT_FALSE(save->AcceptColorSpace(KxColorSpace::Four));
  EXPECT_FALSE(save->AcceptColorSpace(KxColorSpace::None));
  EXPECT_THROW(new_FileChanel(nullptr, folder.file("a.xyz"), nullptr, nullptr), CXFileException);
  EXPECT_THROW(new_FileChanel(nullptr, folder.file("none/a.tif"), nullptr, nullptr), CXFileException);
}

}  // namespace
}  // namespace quillbay::test
