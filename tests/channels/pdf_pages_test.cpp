#include <gtest/gtest.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include "channels/picture_file.h"
#include "quillbay/errors.h"
#include "test_pages.h"

namespace quillbay::test {
namespace {

using PdfLines = std::vector<std::vector<std::uint8_t>>;

/// What a program prints, errors too; it has to end well.
std::string outputOf(const std::string& command) {
  std::string output;
  std::FILE* pipe = ::popen((command + " 2>&1").c_str(), "r");
  std::array<char, 4096> piece;
  for (std::size_t size; (size = std::fread(piece.data(), 1, piece.size(), pipe)) > 0;)
    output.append(piece.data(), size);
  const int status = ::pclose(pipe);
  EXPECT_EQ(status, 0) << command << ": " << output;
  return output;
}

/// A complaint of another reader of the file's structure; empty for a file without fault.
std::string faultOf(const std::string& file) {
  const std::string said = outputOf("qpdf --check " + file);
  return said.find("No syntax or stream encoding errors") != std::string::npos &&
                 said.find("WARNING") == std::string::npos
             ? ""
             : said;
}

std::string contentOf(const std::string& file) {
  std::ifstream from(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(from), {}};
}

void writeContent(const std::string& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary) << bytes;
}

/// The lines of a page as our own reader has them; bits beyond the width are cleared.
PdfLines linesOf(PictureFile& file, int page) {
  const QbPicture& picture = file.openPage(page);
  const auto spare = static_cast<unsigned>(file.lineBytes() * 8 - static_cast<std::size_t>(picture.width));
  PdfLines lines(static_cast<std::size_t>(picture.height), std::vector<std::uint8_t>(file.lineBytes()));
  for (auto& line : lines) {
    file.readLine(line.data());
    if (picture.color_space == 1) line.back() = static_cast<std::uint8_t>(line.back() & 0xffU << spare);
  }
  return lines;
}

/// The same by another reader, from the anymap that it makes of a page's image.
PdfLines extractedLines(const TempFolder& folder, const std::string& file, bool isGrey) {
  const std::string root = folder.file("image");
  outputOf("rm -f " + root + "-*; pdfimages " + file + ' ' + root + "; ls " + root + "-*");
  std::istringstream names(outputOf("ls " + root + "-*"));
  std::string name, mark;
  std::getline(names, name);
  std::ifstream from(name, std::ios::binary);
  std::size_t width = 0, height = 0, most = 0;
  from >> mark >> width >> height;
  if (mark != "P4") from >> most;
  from.get();
  PdfLines lines(height, std::vector<std::uint8_t>(mark == "P4"   ? (width + 7) / 8
                                                   : mark == "P5" ? width
                                                                  : 3 * width));
  for (auto& line : lines) {
    from.read(reinterpret_cast<char*>(line.data()), static_cast<std::streamsize>(line.size()));
    // Bits beyond the width say nothing; tones come as colours.
    if (mark == "P4") line.back() = static_cast<std::uint8_t>(line.back() & 0xffU << (line.size() * 8 - width));
    if (mark != "P6" || !isGrey) continue;
    for (std::size_t x = 0; x < width; ++x) line[x] = line[3 * x];
    line.resize(width);
  }
  return lines;
}

double meanDifference(const PdfLines& a, const PdfLines& b) {
  double sum = 0, count = 0;
  for (std::size_t y = 0; y < a.size(); ++y) {
    for (std::size_t i = 0; i < a[y].size(); ++i, ++count) sum += std::abs(a[y][i] - b[y][i]);
  }
  return sum / count;
}

/// The longest side of a page in millimetres, as its box and its unit say.
double longestSide(const std::string& file) {
  const std::string text = contentOf(file);
  std::smatch box, unit;
  if (!std::regex_search(text, box, std::regex("/MediaBox \\[ 0 0 ([0-9.]+) ([0-9.]+) \\]"))) return 0;
  const bool hasUnit = std::regex_search(text, unit, std::regex("/UserUnit ([0-9.]+)"));
  const auto number = [](const std::string& digits) {
    double value = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return value;
  };
  EXPECT_LE(std::max(number(box[1]), number(box[2])), 14400);
  return std::max(number(box[1]), number(box[2])) * (hasUnit ? number(unit[1]) : 1) * 25.4 / 72;
}

TEST(PdfPages, EveryKindReadsBackAndIsWithoutFault) {
  struct Case {
    KxColorSpace colorSpace;
    const char* compression;
    std::int32_t width, height;
    bool isExact;
  };
  const Case cases[] = {
      {KxColorSpace::Bitonal, "auto", 1003, 9000, true}, {KxColorSpace::Bitonal, "auto", 5, 1, true},
      {KxColorSpace::Bitonal, "Flate", 1003, 300, true}, {KxColorSpace::Palette, "auto", 1003, 700, true},
      {KxColorSpace::Grey, "Flate", 1003, 1700, true},   {KxColorSpace::Rgb, "Flate", 1003, 600, true},
      {KxColorSpace::Bgr, "Flate", 1003, 600, true},     {KxColorSpace::Grey, "auto", 1003, 1700, false},
      {KxColorSpace::Rgb, "JPEG", 1003, 600, false}};
  const TempFolder folder;
  const std::string file = folder.file("page.pdf");
  for (const Case& c : cases) {
    for (const Source source : {Source::Stripes, Source::Growing}) {
      SCOPED_TRACE(testing::Message() << static_cast<int>(c.colorSpace) << ' ' << c.compression << ' ' << c.width);
      const TestPage page = makePage(c.colorSpace, c.width, c.height);
      const auto params = paramsWith({{"Compression", c.compression}, {"Quality", "95"}, {"Profile", "none"}});
      ASSERT_EQ(saveSingle(file, rasterOf(page, source).get(), params.get(), true), 1);
      EXPECT_EQ(faultOf(file), "");
      PictureFile read(file);
      ASSERT_EQ(read.pageCount(), 1);
      const PdfLines lines = linesOf(read, 0);
      EXPECT_EQ(read.picture().dpi, 300U);
      PdfLines extracted = extractedLines(folder, file, c.colorSpace == KxColorSpace::Grey), seen = page.seen;
      ASSERT_EQ(lines.size(), page.seen.size());
      ASSERT_EQ(extracted.size(), page.seen.size());
      if (!c.isExact) {
        EXPECT_LT(meanDifference(lines, page.seen), 12);
        EXPECT_LT(meanDifference(extracted, lines), 1);
        continue;
      }
      EXPECT_EQ(lines, page.seen);
      if (c.colorSpace == KxColorSpace::Palette) {
        for (auto& line : seen) {
          std::vector<std::uint8_t> colors;
          for (const std::uint8_t index : line) {
            const KXRGBQUAD& q = page.palette[index];
            colors.insert(colors.end(), {q.red, q.green, q.blue});
          }
          line = colors;
        }
      }
      EXPECT_EQ(extracted, seen);
    }
  }
}

TEST(PdfPages, LongPagesHaveTheirTrueLength) {
  const TempFolder folder;
  const std::string roll = folder.file("roll.pdf"), stack = folder.file("stack.pdf");
  TestPage page = makePage(KxColorSpace::Bitonal, 90, 98425);
  page.dpi = 50;
  ASSERT_EQ(saveSingle(roll, rasterOf(page, Source::Stripes, 1000).get(), paramsWith({}).get()), 1);
  EXPECT_NEAR(longestSide(roll), 50000, 0.5);
  const TestPage grey = makePage(KxColorSpace::Grey, 24, 65500 * 2 + 77);
  ASSERT_EQ(saveSingle(stack, rasterOf(grey, Source::Stripes, 1000).get(), paramsWith({}).get()), 1);
  EXPECT_NEAR(longestSide(stack), (65500 * 2 + 77) * 25.4 / 300, 0.5);
  EXPECT_EQ(faultOf(stack), "");
  PictureFile read(stack);
  const PdfLines lines = linesOf(read, 0);
  ASSERT_EQ(lines.size(), grey.seen.size());
  EXPECT_LT(meanDifference(lines, grey.seen), 30);
}

TEST(PdfPages, TheFileIsWholeAfterEachPage) {
  const TempFolder folder;
  const std::string file = folder.file("pages.pdf"), part = file + ".part";
  const KxColorSpace kinds[] = {KxColorSpace::Bitonal, KxColorSpace::Grey, KxColorSpace::Rgb,
                                KxColorSpace::Palette};
  std::vector<TestPage> pages;
  std::vector<std::int64_t> sizes;
  for (unsigned i = 0; i < 40; ++i) {
    pages.push_back(makePage(kinds[i % 4], 61, 20, i));
    const auto params = paramsWith({{"Compression", i % 4 == 0 ? "G4" : "Flate"}});
    const End end = i == 39 ? End::Commit : End::KeepPart;
    ASSERT_EQ(savePaged(file, rasterOf(pages.back(), Source::Stripes).get(), end, params.get()), 1);
    const std::string& now = i == 39 ? file : part;
    EXPECT_EQ(faultOf(now), "") << "page " << i;
    EXPECT_EQ(outputOf("qpdf --show-npages " + now), std::to_string(i + 1) + '\n');
    sizes.push_back(static_cast<std::int64_t>(contentOf(now).size()));
  }
  // Four pages, one of each kind, add the same at the end as at the beginning, but for longer lists of pages.
  EXPECT_LT(sizes[39] - sizes[35], sizes[7] - sizes[3] + 2000);
  PictureFile read(file);
  ASSERT_EQ(read.pageCount(), 40);
  for (int i = 0; i < 40; ++i) EXPECT_EQ(linesOf(read, i), pages[static_cast<std::size_t>(i)].seen) << i;
}

TEST(PdfPages, PagesAreAddedToForeignDocuments) {
  const TempFolder folder;
  const std::string plain = folder.file("plain.pdf"), file = folder.file("foreign.pdf");
  const TestPage old = makePage(KxColorSpace::Rgb, 50, 40, 1), added = makePage(KxColorSpace::Bitonal, 70, 30, 2);
  const auto params = paramsWith({{"Compression", "Flate"}});
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(savePaged(plain, rasterOf(old, Source::Stripes).get(), End::Commit, params.get()), 1);
  }
  for (const char* how : {"--object-streams=generate", "--linearize", "--qdf", "--object-streams=disable"}) {
    SCOPED_TRACE(how);
    outputOf("qpdf " + std::string(how) + ' ' + plain + ' ' + file);
    const std::string before = contentOf(file);
    for (int i = 0; i < 2; ++i) {
      ASSERT_EQ(savePaged(file, rasterOf(added, Source::Stripes).get(), End::Commit, params.get()), 1);
    }
    EXPECT_EQ(contentOf(file).substr(0, before.size()), before);
    EXPECT_EQ(outputOf("qpdf --show-npages " + file), "5\n");
    const std::string fault = faultOf(file);
    // An added page ends the fast first view of the web, which is all that the check may remark.
    EXPECT_TRUE(fault.empty() || std::string(how) == "--linearize") << fault;
    PictureFile read(file);
    ASSERT_EQ(read.pageCount(), 5);
    EXPECT_EQ(linesOf(read, 0), old.seen);
    EXPECT_EQ(linesOf(read, 4), added.seen);
  }
  outputOf("qpdf --encrypt secret secret 256 -- " + plain + ' ' + file);
  EXPECT_THROW(savePaged(file, rasterOf(added, Source::Stripes).get(), End::Commit, params.get()), CXFileException);
  EXPECT_THROW(PictureFile(file).openPage(0), CXFileException);
}

TEST(PdfPages, WhatACutFileHasOfWholePagesIsRead) {
  const TempFolder folder;
  const std::string file = folder.file("cut.pdf");
  std::vector<std::size_t> ends;
  std::vector<TestPage> pages;
  for (unsigned i = 0; i < 6; ++i) {
    pages.push_back(makePage(KxColorSpace::Grey, 61, 30, i));
    const auto params = paramsWith({{"Compression", "Flate"}});
    ASSERT_EQ(savePaged(file, rasterOf(pages.back(), Source::Stripes).get(), End::Commit, params.get()), 1);
    ends.push_back(contentOf(file).size());
  }
  const std::string whole = contentOf(file);
  for (std::size_t cut = ends[0]; cut < whole.size(); cut += 331) {
    SCOPED_TRACE(cut);
    writeContent(file, whole.substr(0, cut));
    // A page counts from its end mark on.
    const auto finished = std::count_if(ends.begin(), ends.end(), [&](std::size_t end) { return end - 1 <= cut; });
    const auto add = savePaged(file, rasterOf(pages[0], Source::Stripes).get(), End::Commit, paramsWith({}).get());
    ASSERT_EQ(add, 1);
    PictureFile read(file);
    ASSERT_EQ(read.pageCount(), finished + 1);
    EXPECT_EQ(linesOf(read, static_cast<int>(finished) - 1), pages[static_cast<std::size_t>(finished) - 1].seen);
  }
}

TEST(PdfPages, ImagesOfOtherProgramsAreReadExactly) {
  struct Case {
    const char* name;
    std::string words, bytes;
    std::int32_t colorSpace;
    std::vector<std::uint8_t> line;
  };
  const std::string grey = "/ColorSpace /DeviceGray";
  const Case cases[] = {
      {"inks",
       "/Width 2 /Height 1 /ColorSpace /DeviceCMYK /BitsPerComponent 8",
       std::string("\xff\0\0\0\0\0\0\x80", 8),
       256,
       {0, 255, 255, 127, 127, 127}},
      {"turned inks",
       "/Width 1 /Height 1 /ColorSpace /DeviceCMYK /BitsPerComponent 8 /Decode [ 1 0 1 0 1 0 1 0 ]",
       std::string("\xff\xff\xff\x7f", 4),
       256,
       {127, 127, 127}},
      {"indices of 4 bits",
       "/Width 3 /Height 1 /ColorSpace [ /Indexed /DeviceRGB 1 <0102030A0B0C> ] "
       "/BitsPerComponent 4",
       std::string("\x01\x00", 2),
       8,
       {0, 1, 0}},
      {"bits", "/Width 9 /Height 1 /BitsPerComponent 1 " + grey, std::string("\x0f\x80", 2), 1, {0xf0, 0}},
      {"turned bits", "/Width 8 /Height 1 /BitsPerComponent 1 /Decode [ 1 0 ] " + grey, "\x0f", 1, {0x0f}},
      {"a mask", "/Width 8 /Height 1 /ImageMask true", "\x0f", 1, {0xf0}},
      {"white and black as a palette",
       "/Width 8 /Height 1 /BitsPerComponent 1 "
       "/ColorSpace [ /Indexed /DeviceGray 1 <FF00> ]",
       "\x0f",
       1,
       {0x0f}},
      {"grey of 2 bits", "/Width 4 /Height 1 /BitsPerComponent 2 " + grey, "\x1b", 16, {0, 85, 170, 255}},
      {"grey of 16 bits", "/Width 2 /Height 1 /BitsPerComponent 16 " + grey, "\x12\x34\x56\x78", 16, {0x12, 0x56}},
  };
  const TempFolder folder;
  const std::string file = folder.file("foreign.pdf");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const int width = std::stoi(c.words.substr(7));
    const std::string size = std::to_string(width * 72);
    const std::string drawing = "q " + size + " 0 0 72 0 0 cm /A Do Q BT 3 Tr (what was recognised) Tj ET";
    writeContent(file, documentWith(c.words, c.bytes, width * 72, 72, drawing));
    PictureFile read(file);
    EXPECT_EQ(read.openPage(0).color_space, c.colorSpace);
    EXPECT_EQ(read.picture().dpi, 1U);
    EXPECT_EQ(linesOf(read, 0), PdfLines{c.line});
  }
}

TEST(PdfPages, OtherPagesAreRendered) {
  const TempFolder folder;
  const std::string file = folder.file("drawn.pdf");
  const std::string image = "/Width 1 /Height 1 /BitsPerComponent 8 /ColorSpace /DeviceGray";
  writeContent(file, documentWith(image, "x", 72, 144, "0 g 0 72 72 72 re f"));
  PictureFile read(file);
  const PdfLines lines = linesOf(read, 0);
  ASSERT_EQ(lines.size(), 600U);
  EXPECT_EQ(read.picture().dpi, 300U);
  EXPECT_EQ(lines[100], std::vector<std::uint8_t>(900, 0));
  EXPECT_EQ(lines[500], std::vector<std::uint8_t>(900, 255));
  // An image that says it is larger than the file.
  std::string text = documentWith(image, std::string(10000, 'x'), 72, 72, "q 72 0 0 72 0 0 cm /A Do Q");
  text.replace(text.find("/Length 10000"), 13, "/Length 99999");
  writeContent(file, text);
  PictureFile damaged(file);
  EXPECT_THROW(damaged.openPage(0), CXFileException);
}

TEST(PdfPages, ArchivesKeepTheRulesThatCanBeChecked) {
  const TempFolder folder;
  const std::string file = folder.file("archive.pdf");
  const KxColorSpace kinds[] = {KxColorSpace::Bitonal, KxColorSpace::Rgb, KxColorSpace::Grey};
  for (const KxColorSpace kind : kinds) {
    ASSERT_EQ(
        savePaged(file, rasterOf(makePage(kind, 61, 20), Source::Stripes).get(), End::Commit, paramsWith({}).get()),
        1);
  }
  const std::string text = contentOf(file);
  EXPECT_EQ(text.substr(0, 10), "%PDF-1.7\n%");
  EXPECT_TRUE(std::all_of(text.begin() + 10, text.begin() + 14, [](char c) { return (c & 0x80) != 0; }));
  for (const char* wanted :
       {"<pdfaid:part>2</pdfaid:part>", "<pdfaid:conformance>B</pdfaid:conformance>", "/S /GTS_PDFA1",
        "/Type /Metadata /Subtype /XML", "/ID [ <", "<pdf:Producer>Test software</pdf:Producer>"}) {
    EXPECT_NE(text.find(wanted), std::string::npos) << wanted;
  }
  for (const char* forbidden : {"/Encrypt", "/LZWDecode", "/SMask", "/Group", "/JavaScript", "/Interpolate"}) {
    EXPECT_EQ(text.find(forbidden), std::string::npos) << forbidden;
  }
  // Every stream lies between its words as they are asked for, and is as long as it says.
  const std::regex head("/Length ([0-9]+) *[^\n]*>>\nstream\n");
  for (std::sregex_iterator it(text.begin(), text.end(), head), end; it != end; ++it) {
    const auto at = static_cast<std::size_t>(it->position() + it->length()) + std::stoul((*it)[1]);
    EXPECT_EQ(text.substr(at, 18), "\nendstream\nendobj\n");
  }
  // The information says what the metadata does.
  const std::string info = outputOf("pdfinfo -isodates " + file), meta = outputOf("pdfinfo -meta " + file);
  std::smatch said, also;
  ASSERT_TRUE(std::regex_search(info, said, std::regex("CreationDate: +(\\S{19})")));
  ASSERT_TRUE(std::regex_search(meta, also, std::regex("<xmp:CreateDate>(\\S{19})</xmp:CreateDate>")));
  EXPECT_EQ(said[1], also[1]);
  EXPECT_NE(info.find("Test software"), std::string::npos) << info;
}

TEST(PdfPages, OneDocumentTakesEveryKindWhateverIsChosen) {
  const TempFolder folder;
  for (const std::string compression : {"JPEG", "G4", "auto"}) {
    const std::string file = folder.file(compression + ".pdf");
    const auto params = paramsWith({{"Compression", compression.c_str()}});
    for (const KxColorSpace kind : {KxColorSpace::Bitonal, KxColorSpace::Palette, KxColorSpace::Rgb}) {
      ASSERT_EQ(savePaged(file, rasterOf(makePage(kind, 61, 20), Source::Stripes).get(), End::Commit, params.get()),
                1);
    }
    const std::string list = outputOf("pdfimages -list " + file);
    EXPECT_TRUE(std::regex_search(list, std::regex("ccitt[^\\n]*\\n[^\\n]* image +no [^\\n]*\\n[^\\n]* jpeg +no ")))
        << compression << list;
  }
}

TEST(PdfPages, WhatDoesNotFitIsRefusedByItsNumber) {
  const TempFolder folder;
  const std::string file = folder.file("wide.pdf");
  const auto refusal = [&](const TestPage& page, const char* compression) -> std::string {
    try {
      saveSingle(file, rasterOf(page, Source::Stripes).get(), paramsWith({{"Compression", compression}}).get());
    } catch (const CXFileException& e) {
      return e.what();
    }
    return "";
  };
  EXPECT_NE(refusal(makePage(KxColorSpace::Grey, 70000, 1), "JPEG").find("70000"), std::string::npos);
  EXPECT_NE(refusal(makePage(KxColorSpace::Grey, 70000, 1), "G4").find("70000"), std::string::npos);
  EXPECT_EQ(folder.list(), "");
}

TEST(PdfPages, WhatAKilledProgramLeftBehindTheLastPageIsCutOff) {
  const TempFolder folder;
  const std::string file = folder.file("all.pdf"), part = file + ".part";
  EXPECT_EQ(savePaged(file, rasterOf(makePage(KxColorSpace::Grey, 40, 30), Source::Stripes).get(), End::Commit), 1);
  const std::string whole = readFile(file);
  std::filesystem::rename(file, part);
  writeFile(part, whole + "99 0 obj\n<< /Length 5000 >>\nstream\n" + std::string(3000, 'x'));
  PublishLeftover(part, file, file, false);
  EXPECT_EQ(readFile(file), whole);
}

}  // namespace
}  // namespace quillbay::test
