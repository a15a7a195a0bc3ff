#pragma once
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace quillbay::testing {

/// A SANE configuration of the test process's own: one device of the `test` driver with large ranges and a picture
/// in which every pixel counts, and the `pnm` driver. SANE reads it once per process, so it is made before the
/// first test. Its folder also takes a test's files; it goes with the process.
class SaneConfig : public ::testing::Environment {
 public:
  static SaneConfig& instance() {
    static auto* config = static_cast<SaneConfig*>(::testing::AddGlobalTestEnvironment(new SaneConfig));
    return *config;
  }
  [[nodiscard]] const std::filesystem::path& folder() const noexcept { return m_folder; }

  void SetUp() override {
    std::string pattern = (std::filesystem::temp_directory_path() / "quillbay-sane-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    m_folder = pattern;
    std::ofstream(m_folder / "dll.conf") << "test\npnm\n";
    std::ofstream(m_folder / "pnm.conf") << "";
    std::ofstream(m_folder / "test.conf") << "number_of_devices 1\nmode Gray\ndepth 8\nhand-scanner false\n"
                                             "three-pass false\nthree-pass-order RGB\nresolution_min 1.0\n"
                                             "resolution_max 9600.0\nresolution_quant 1.0\nresolution 50.0\n"
                                             "test-picture \"Color pattern\"\ngeometry_min 0.0\n"
                                             "geometry_max 2000.0\ngeometry_quant 1.0\ntl_x 0.0\ntl_y 0.0\n"
                                             "br_x 80.0\nbr_y 100.0\n";
    setenv("SANE_CONFIG_DIR", m_folder.c_str(), 1);
    unsetenv("SANE_DEFAULT_DEVICE");
    unsetenv("QUILLBAY_SANE_USER");
    unsetenv("QUILLBAY_SANE_PASSWORD");
  }
  void TearDown() override {
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
  }

 private:
  std::filesystem::path m_folder;
};

/// In each test file that uses SANE.
inline SaneConfig& saneConfig = SaneConfig::instance();

}  // namespace quillbay::testing
