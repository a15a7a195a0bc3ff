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

/// A folder with one random picture, in colour and in grey.
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
  SimRig rig(device(writePnm("a.ppm", ("P6\n" + header).c_str(), m_rgb) + ":" +
                    writePnm("b.pgm", ("P5\n" + header).c_str(), m_grey)));
  for (const bool grey : {false, true, false /* the first again */})
    EXPECT_EQ(scan(rig, grey ? 5 : 7, 200), grey ? m_grey : m_rgb);
}

TEST_F(SimImages, AreSampledAtOtherResolutions) {
  // Left half dark, right half bright, brighter below: the borders must stay where they are, whatever the way
  // there.
  std::vector<std::uint8_t> halves;
  for (int i = 0; i < 400 * 400; ++i) halves.push_back(i % 400 < 200 ? 40 : i < 400 * 200 ? 220 : 250);
  const std::string file = writePnm("h.pgm", "P5 400 400 255\n", halves);
  for (const int dpi : {50, 150, 600}) {
    RecordingSink straight;
    SimRig rig(device(file));
    rig.newRequest(5, dpi);
    rig.area(25.4, 12.7, 76.2, 63.5);
    ASSERT_EQ(rig.scan(straight), 1);
    const std::int64_t half = straight.width / 2;
    for (const std::int64_t y : {std::int64_t{2}, straight.lineCount / 2, straight.lineCount - 3}) {
      EXPECT_EQ(straight.line(y)[half - 2], 40) << dpi;
      EXPECT_EQ(straight.line(y)[half + 1], y < straight.lineCount / 2 ? 220 : 250) << dpi;
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
