#include <png.h>
#include <tiffio.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <random>

#include "sim_scan_helper.h"

namespace quillbay {
namespace {

using testing::RecordingSink;
using testing::SimRig;
namespace fs = std::filesystem;

constexpr int kWidth = 211;
constexpr int kHeight = 150;

/// A folder with one random picture in several file formats.
class SimImages : public ::testing::Test {
 protected:
  void SetUp() override {
    m_folder = fs::temp_directory_path() / ("quillbay-images-" + std::to_string(::getpid()));
    fs::create_directories(m_folder);
    std::mt19937 random(3);
    m_rgb.resize(kWidth * kHeight * 3);
    for (auto& v : m_rgb) v = static_cast<std::uint8_t>(random() & 255);
    m_grey.assign(m_rgb.begin(), m_rgb.begin() + kWidth * kHeight);
  }
  void TearDown() override { fs::remove_all(m_folder); }

  std::string path(const char* name) const { return (m_folder / name).string(); }
  std::string writePnm(const char* name, const char* head, const std::vector<std::uint8_t>& bytes) const {
    std::ofstream(path(name), std::ios::binary)
        << head << std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return path(name);
  }
  std::string writeTiff(const char* name, bool tiled, std::uint16_t samples, int orientation = 1) const {
    TIFF* tiff = TIFFOpen(path(name).c_str(), "w");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, kWidth);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, kHeight);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, orientation);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, samples == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISWHITE);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 200.0);
    TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 200.0);
    std::vector<std::uint8_t> buffer(std::size_t{64} * 64 * 3);
    if (tiled) {
      TIFFSetField(tiff, TIFFTAG_TILEWIDTH, 64);
      TIFFSetField(tiff, TIFFTAG_TILELENGTH, 64);
      for (int top = 0; top < kHeight; top += 64)
        for (int left = 0; left < kWidth; left += 64) {
          for (int i = 0; i < 64 * 64; ++i) {
            const int x = std::min(left + i % 64, kWidth - 1);
            const int y = std::min(top + i / 64, kHeight - 1);
            std::copy_n(&m_rgb[static_cast<std::size_t>(y * kWidth + x) * 3], 3,
                        &buffer[static_cast<std::size_t>(i) * 3]);
          }
          TIFFWriteTile(tiff, buffer.data(), static_cast<std::uint32_t>(left), static_cast<std::uint32_t>(top), 0,
                        0);
        }
    } else {
      const std::vector<std::uint8_t>& from = samples == 3 ? m_rgb : m_grey;
      std::vector<std::uint8_t> line(static_cast<std::size_t>(kWidth) * samples);
      for (std::uint32_t y = 0; y < kHeight; ++y) {
        std::copy_n(from.begin() + static_cast<std::ptrdiff_t>(y * line.size()), line.size(), line.begin());
        if (samples == 1)
          for (auto& v : line) v = static_cast<std::uint8_t>(~v);
        TIFFWriteScanline(tiff, line.data(), y, 0);
      }
    }
    TIFFClose(tiff);
    return path(name);
  }
  std::string writePng(const char* name) const {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = kWidth;
    image.height = kHeight;
    image.format = PNG_FORMAT_RGB;
    png_image_write_to_file(&image, path(name).c_str(), 0, m_rgb.data(), 0, nullptr);
    return path(name);
  }
  /// Scans the place where the picture lies: at 25.4 x 12.7 mm, which is 200 x 100 pixels at 200 dpi.
  static std::vector<std::uint8_t> scan(SimRig& rig, int mode, int dpi) {
    RecordingSink sink;
    rig.newRequest(mode, dpi);
    rig.area(25.4, 12.7, 25.4 + kWidth * 25.4 / 200, 12.7 + kHeight * 25.4 / 200);
    EXPECT_EQ(rig.scan(sink), 1) << rig.fault().text;
    return sink.bytes;
  }
  static std::string device(const std::string& files) { return "sim:at=25.4x12.7,image-dpi=200,images=" + files; }

  fs::path m_folder;
  std::vector<std::uint8_t> m_rgb, m_grey;
};

TEST_F(SimImages, ComeBackPixelByPixelAndInTurn) {
  const std::string header = std::to_string(kWidth) + " " + std::to_string(kHeight) + "\n255\n";
  std::string plain;
  for (const std::uint8_t v : m_grey) plain += std::to_string(v) + (plain.size() % 60 < 4 ? "\n" : " ");
  SimRig rig(device(writePnm("a.ppm", ("P6\n# a remark\n" + header).c_str(), m_rgb) + ":" +
                    writePnm("b.pgm", ("P2 " + header).c_str(), {plain.begin(), plain.end()}) + ":" +
                    writeTiff("c.tif", false, 3) + ":" + writeTiff("d.tif", true, 3) + ":" +
                    writeTiff("e.tif", false, 1) + ":" + writePng("f.png")));
  for (const bool grey : {false, true, false, false, true, false, false /* the first again */})
    EXPECT_EQ(scan(rig, grey ? 5 : 7, 200), grey ? m_grey : m_rgb);
}

TEST_F(SimImages, APictureIsFedUpright) {
  SimRig rig(device(writeTiff("down.tif", false, 1, ORIENTATION_BOTRIGHT) + ":" +
                    writeTiff("up.tif", true, 3, ORIENTATION_BOTLEFT)));
  EXPECT_EQ(scan(rig, 5, 200), (std::vector<std::uint8_t>(m_grey.rbegin(), m_grey.rend())));
  const std::vector<std::uint8_t> turned = scan(rig, 7, 200);
  constexpr std::ptrdiff_t kLine = kWidth * 3;
  for (std::ptrdiff_t y = 0; y < kHeight; ++y) {
    const auto line = turned.begin() + y * kLine;
    ASSERT_TRUE(std::equal(line, line + kLine, m_rgb.begin() + (kHeight - 1 - y) * kLine)) << y;
  }
}

TEST_F(SimImages, BitonalFilesGiveTheirRuns) {
  const std::vector<std::uint8_t> bits = {0x81, 0x40, 0x00, 0xFF};  // 10 pixels, 2 rows
  SimRig rig(device(writePnm("a.pbm", "P4 10 2\n", bits)));
  RecordingSink sink;
  rig.newRequest(0, 200);
  rig.area(25.4, 12.7, 25.4 + 1.27, 12.7 + 0.254);
  ASSERT_EQ(rig.scan(sink), 1);
  const auto* words = reinterpret_cast<const std::uint32_t*>(sink.bytes.data());
  const std::vector<std::uint32_t> want = {0, 0, 7, 7, 9, 9, RunEnd, 0, 8, 9, RunEnd, 0};
  EXPECT_EQ(std::vector<std::uint32_t>(words, words + sink.bytes.size() / 4), want);
}

TEST_F(SimImages, AreSampledAtOtherResolutionsAndTurned) {
  // Left half dark, right half bright, brighter below: the borders must stay where they are, whatever the way
  // there.
  std::vector<std::uint8_t> halves;
  for (int i = 0; i < 400 * 400; ++i) halves.push_back(i % 400 < 200 ? 40 : i < 400 * 200 ? 220 : 250);
  const std::string file = writePnm("h.pgm", "P5 400 400 255\n", halves);
  for (const int dpi : {50, 150, 600}) {
    RecordingSink straight, turned;
    SimRig rig(device(file));
    rig.newRequest(5, dpi);
    rig.area(25.4, 12.7, 76.2, 63.5);
    ASSERT_EQ(rig.scan(straight), 1);
    const std::int64_t half = straight.width / 2;
    for (const std::int64_t y : {std::int64_t{2}, straight.lineCount / 2, straight.lineCount - 3}) {
      EXPECT_EQ(straight.line(y)[half - 2], 40) << dpi;
      EXPECT_EQ(straight.line(y)[half + 1], y < straight.lineCount / 2 ? 220 : 250) << dpi;
    }
    SimRig skewed(device(file) + ",skew=30");
    skewed.newRequest(5, dpi);
    ASSERT_EQ(skewed.scan(turned), 1);
    const double scale = dpi / 25.4;
    const auto at = [&](double x, double y) {  // mm on the picture
      const double bx = 25.4 + x * 0.8660254 - y * 0.5;
      const double by = 12.7 + x * 0.5 + y * 0.8660254;
      return int{turned.line(static_cast<std::int64_t>(by * scale))[static_cast<std::ptrdiff_t>(bx * scale)]};
    };
    for (const double y : {2.0, 23.0, 28.0, 48.0}) {
      EXPECT_EQ(at(23, y), 40) << dpi;
      EXPECT_EQ(at(28, y), y < 25 ? 220 : 250) << dpi;
      EXPECT_EQ(at(-2, y), 22) << dpi;  // the bed
    }
  }
}

TEST_F(SimImages, ADamagedFileEndsTheScanByName) {
  const std::string file = writePnm("short.pgm", "P5 400 400 255\n", std::vector<std::uint8_t>(5000, 9));
  SimRig rig(device(file));
  RecordingSink sink;
  EXPECT_EQ(rig.scan(sink), 2);
  EXPECT_EQ(rig.fault().code, UnitFaultCode::InputOutput);
  EXPECT_NE(rig.fault().text.find("short.pgm"), std::string::npos);
  std::string why;
  EXPECT_FALSE(newSimScan("sim:images=" + writePnm("x.pgm", "hello", {}), &why));
  EXPECT_NE(why.find("x.pgm"), std::string::npos);
}

}  // namespace
}  // namespace quillbay
