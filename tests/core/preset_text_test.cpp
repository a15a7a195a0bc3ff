// Presets as text: what is written is read back, and what is no preset is refused as a whole, with its reason.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "core/param_tree.h"
#include "quillbay/presets.h"
#include "quillbay/scan_keys.h"
#include "support/temp_dir.h"

namespace quillbay {
namespace {

TEST(Preset, IdsTakeBytesAsSignedNumbers) {
  const std::pair<const char*, std::int32_t> cases[] = {
      {"", 0},
      {"A", 65},
      {"AB", 65 * 257 + 66},
      {"\xC3\xA9", (0xC3 - 256) * 257 + (0xA9 - 256)},  // not 195 * 257 + 169
      {"maps", ((109 * 257 + 97) * 257 + 112) * 257 + 115},
      {"plans 1:500", -1399089346},  // wraps around, and is negative
  };
  for (const auto& [name, id] : cases) EXPECT_EQ(PresetId(name), id) << name;
  EXPECT_EQ(PresetId("LrfvaraE"), PresetId("wSiPevcR")) << "two names may share a number";
}

Preset example() {
  Preset preset{"Maps \"A0\" é", "for the archive\nsecond line", {{0, new_MemParam()}, {8, new_MemParam()}}};
  IParam* main = preset.pages[0].values.get();
  main->SetValue(key::ImageDpi, 400);
  main->SetValue(key::Rect, tagRRECT{0, 0.1, 841, 1189.25});
  main->SetValue(key::PaperLength, 200.0);
  main->SetValue(key::PaperName, std::string("A\xFF"));  // no UTF-8
  main->SetValue("place", tagRPOINT{1, 2.5});
  const auto nested = KxPtr<IParam>::adopt(preset.pages[1].values->GetSubStore("unit", 1));
  nested->SetValue("gain", 0.1);
  nested->SetValue("table", CKxBlob{0, 255, 7});
  return preset;
}

TEST(Preset, KeepsValuesAndTheirTypesInItsText) {
  Preset read;
  std::string why;
  ASSERT_EQ(ReadPresetText(WritePresetText(example()), &read, &why), 1) << why;
  const Preset wanted = example();
  EXPECT_EQ(read.name, wanted.name);
  EXPECT_EQ(read.comment, wanted.comment);
  ASSERT_EQ(read.pages.size(), 2U);
  EXPECT_EQ(read.pages[1].number, 8);
  for (const std::string& name : wanted.pages[0].values->GetKeys()) {
    EXPECT_TRUE(
        sameValue(paramValue(read.pages[0].values.get(), name), paramValue(wanted.pages[0].values.get(), name)))
        << name;
  }
  const auto nested = KxPtr<IParam>::adopt(read.pages[1].values->GetSubStore("UNIT", 0));
  ASSERT_TRUE(nested);
  EXPECT_EQ(paramDouble(nested.get(), "gain"), 0.1);
  EXPECT_EQ(*paramValue(nested.get(), "table").get<CKxBlob>(), (CKxBlob{0, 255, 7}));
}

std::string withPages(const std::string& pages) {
  return R"({"format":"quillbay-preset","version":1,"name":"Maps","pages":[)" + pages + "]}";
}
std::string withSettings(const std::string& settings) {
  return withPages(R"({"page":0,"settings":{)" + settings + "}}");
}

TEST(Preset, RefusesWhatIsNoneWithItsReason) {
  const std::pair<std::string, const char*> cases[] = {
      {"", "damaged"},
      {"{\"format\"", "byte"},
      {"[1,2]", "no preset"},
      {R"({"format":"quillbay-settings","version":1})", "no preset"},
      {R"({"format":"quillbay-preset","name":"Maps","pages":[]})", "version"},
      {R"({"format":"quillbay-preset","version":"1","name":"Maps","pages":[]})", "version"},
      {R"({"format":"quillbay-preset","version":2,"name":"Maps","pages":[]})", "newer"},
      {R"({"format":"quillbay-preset","version":1,"pages":[]})", "name"},
      {R"({"format":"quillbay-preset","version":1,"name":7,"pages":[]})", "name"},
      {R"({"format":"quillbay-preset","version":1,"name":" ","pages":[]})", "name"},
      {R"({"format":"quillbay-preset","version":1,"name":"a\u0001","pages":[]})", "name"},
      {R"({"format":"quillbay-preset","version":1,"name":")" + std::string(401, 'x') + R"(","pages":[]})", "name"},
      {R"({"format":"quillbay-preset","version":1,"name":"Maps"})", "pages"},
      {R"({"format":"quillbay-preset","version":1,"name":"Maps","comment":[],"pages":[]})", "comment"},
      {withPages("7"), "no page"},
      {withPages(R"({"settings":{}})"), "no page"},
      {withPages(R"({"page":0.5})"), "no page"},
      {withPages(R"({"page":-1})"), "no page"},
      {withPages(R"({"page":99,"title":"Stamps"})"), "page 99 (\"Stamps\")"},
      {withPages(R"({"page":0},{"page":0})"), "Main: it is there twice"},
      {withPages(R"({"page":0,"settings":[]})"), "settings"},
      {withPages(R"({"page":1,"stores":{"a/b":{}}})"), "a/b"},
      {withPages(R"({"page":1,"stores":{"a":7}})"), "a: it is no set"},
      {withPages(R"({"page":1,"stores":{"a":{},"A":{}}})"), "twice"},
      {withSettings(R"("ImageDPI":"400")"), "Main, ImageDPI: it should be a number"},
      {withSettings(R"("m_PaperName":4)"), "m_PaperName: it should be text"},
      {withSettings(R"("RECT":{"rect":[0,0,1]})"), "4 numbers"},
      {withSettings(R"("RECT":{"rect":[0,0,1,"x"]})"), "a number"},
      {withSettings(R"("RECT":{"point":[0,0]})"), "\"rect\""},
      {withSettings(R"("level3":"x")"), "level3: it should be a number"},
      {withSettings(R"("odd":true)"), "odd: it is no value"},
      {withSettings(R"("odd":{"rect":[0,0,1,1],"int":1})"), "odd: it is no value"},
      {withSettings(R"("odd":{"blob":"%%"})"), "base64"},
      {withSettings(R"("a":1,"A":2)"), "it is there twice"},
      {std::string(1 << 20, ' ') + "{}", "larger"},
  };
  for (const auto& [text, wanted] : cases) {
    Preset untouched{"before", {}, {}};
    std::string why;
    EXPECT_EQ(ReadPresetText(text, &untouched, &why), 0) << text.substr(0, 200);
    EXPECT_NE(why.find(wanted), std::string::npos) << why << " of " << text.substr(0, 200);
    EXPECT_EQ(untouched.name, "before");
  }
  std::string deep;
  for (int i = 0; i < 100; ++i) deep += R"({"stores":{"a":)";
  Preset none;
  std::string why;
  EXPECT_EQ(
      ReadPresetText(withPages(R"({"page":0,"stores":{"a":)" + deep + "{}" + std::string(202, '}')), &none, &why),
      0);
  EXPECT_NE(why.find("deep"), std::string::npos) << why;
}

TEST(Preset, FilesAreWrittenWholeAndReplacedOnlyOnRequest) {
  const test::TempDir dir;
  const std::string path = dir.file("maps.qbpreset");
  std::string why;
  ASSERT_EQ(WritePresetFile(example(), path, false, &why), 1) << why;
  EXPECT_EQ(WritePresetFile(Preset{"Other", {}, {}}, path, false, &why), 0);
  EXPECT_NE(why.find(path), std::string::npos) << why;
  Preset read;
  ASSERT_EQ(ReadPresetFile(path, &read, &why), 1) << why;
  EXPECT_EQ(read.name, example().name);
  EXPECT_EQ(WritePresetFile(Preset{"Other", {}, {}}, path, true, &why), 1) << why;
  ASSERT_EQ(ReadPresetFile(path, &read, &why), 1);
  EXPECT_EQ(read.name, "Other");
  // What could not be read back is not written.
  EXPECT_EQ(WritePresetFile(Preset{"", {}, {}}, dir.file("none.qbpreset"), true, &why), 0);
  std::ofstream(dir.file("torn.qbpreset")) << "{\"format\": \"quillbay-preset\"";
  for (const char* bad : {"missing.qbpreset", "torn.qbpreset", "."}) {
    EXPECT_EQ(ReadPresetFile(dir.file(bad), &read, &why), 0);
    EXPECT_NE(why.find(dir.file(bad)), std::string::npos) << why;
  }
  EXPECT_EQ(WritePresetFile(example(), dir.file("no/folder.qbpreset"), true, &why), 0);
  int files = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(dir.path())) ++files;
  EXPECT_EQ(files, 2) << "nothing unfinished stays";
}

}  // namespace
}  // namespace quillbay
